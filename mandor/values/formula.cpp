#include "mandor/values/formula.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/locale.h"
#include "mandor/values/words.h"

namespace mandor::values {

namespace {

// --- syntax tree ---

enum class Op { kNumber, kField, kTva, kAdd, kSub, kMul, kDiv, kNeg, kSomme, kReport, kWords };

struct Node {
  Op op = Op::kNumber;
  double number = 0;
  int field = -1;   // kField
  int column = -1;  // kSomme, kReport
  int left = -1;
  int right = -1;
};

// The names a formula may use, and the columns SOMME and #REPORT may sum.
struct Names {
  std::unordered_map<std::string, int> fields;   // folded name -> field index
  std::unordered_map<std::string, int> columns;  // folded column -> column id
  size_t longest = 0;                            // longest field name, in bytes
};

struct ParsedFormula {
  std::vector<Node> nodes;  // nodes[root] is the formula
  int root = -1;
  bool aggregate = false;                // uses SOMME or #REPORT itself
  std::vector<int> fields;               // fields referred to
  std::vector<std::pair<Op, int>> sums;  // SOMME / #REPORT with their column
};

struct ParseError {
  std::string message;
};

bool IsBlank(char c) { return c == ' ' || c == '\t'; }
bool EndsName(char c) { return IsBlank(c) || c == '+' || c == '-' || c == '*' || c == '/' || c == '(' || c == ')'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

constexpr int kMaxDepth = 200;  // nesting of parentheses and signs

class Parser {
 public:
  Parser(std::string_view text, const Names& names, ParsedFormula& out) : s_(text), names_(names), out_(out) {}

  void Parse() {
    out_.root = Expr(0);
    SkipBlanks();
    if (p_ < s_.size()) Fail("unexpected \"" + std::string(s_.substr(p_, 1)) + "\"");
    if (out_.nodes[static_cast<size_t>(out_.root)].op != Op::kWords) {
      for (const Node& node : out_.nodes) {
        if (node.op == Op::kWords) Fail("LETTRES gives a text: it can only be the whole formula");
      }
    }
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw ParseError{"formula \"" + std::string(s_) + "\" does not parse: " + what + " at character " +
                     std::to_string(CharLength(s_.substr(0, p_)) + 1)};
  }

  void SkipBlanks() {
    while (p_ < s_.size() && IsBlank(s_[p_])) ++p_;
  }

  int Add(Node node) {
    out_.nodes.push_back(node);
    return static_cast<int>(out_.nodes.size() - 1);
  }

  int Binary(Op op, int left, int right) {
    Node node;
    node.op = op;
    node.left = left;
    node.right = right;
    return Add(node);
  }

  int Expr(int depth) {
    int left = Term(depth);
    for (;;) {
      SkipBlanks();
      if (p_ >= s_.size() || (s_[p_] != '+' && s_[p_] != '-')) return left;
      const Op op = s_[p_++] == '+' ? Op::kAdd : Op::kSub;
      left = Binary(op, left, Term(depth));
    }
  }

  int Term(int depth) {
    int left = Unary(depth);
    for (;;) {
      SkipBlanks();
      if (p_ >= s_.size() || (s_[p_] != '*' && s_[p_] != '/')) return left;
      const Op op = s_[p_++] == '*' ? Op::kMul : Op::kDiv;
      left = Binary(op, left, Unary(depth));
    }
  }

  int Unary(int depth) {
    if (depth > kMaxDepth) Fail("too deeply nested");
    SkipBlanks();
    if (p_ < s_.size() && (s_[p_] == '-' || s_[p_] == '+')) {
      const bool negate = s_[p_++] == '-';
      const int operand = Unary(depth + 1);
      return negate ? Binary(Op::kNeg, operand, -1) : operand;
    }
    return Primary(depth);
  }

  void Expect(char c) {
    SkipBlanks();
    if (p_ >= s_.size() || s_[p_] != c) Fail(std::string("expected \"") + c + "\"");
    ++p_;
  }

  int Primary(int depth) {
    SkipBlanks();
    if (p_ >= s_.size()) Fail("a number, a name or \"(\" expected");
    if (s_[p_] == '(') {
      ++p_;
      const int inner = Expr(depth + 1);
      Expect(')');
      return inner;
    }
    if (int call = Call(depth); call >= 0) return call;
    if (int ref = Reference(); ref >= 0) return ref;
    if (IsDigit(s_[p_])) return Number();
    // A word that is neither a function nor a known name.
    size_t end = p_;
    while (end < s_.size() && !EndsName(s_[end])) ++end;
    if (end == p_) Fail("unexpected \"" + std::string(s_.substr(p_, 1)) + "\"");
    const std::string word(s_.substr(p_, end - p_));
    size_t after = end;
    while (after < s_.size() && IsBlank(s_[after])) ++after;
    if (after < s_.size() && s_[after] == '(') throw ParseError{"unknown function \"" + word + "\""};
    throw ParseError{"unknown name \"" + word + "\""};
  }

  // SOMME(column), #REPORT(column), LETTRES(expr); -1 when no function starts
  // here. "=REPORT" is #REPORT as a text marking gives it back: its files
  // store "=" as "#", and reading turns every "#" into "=".
  int Call(int depth) {
    static constexpr std::pair<std::string_view, Op> kFunctions[] = {
        {"SOMME", Op::kSomme}, {"#REPORT", Op::kReport}, {"=REPORT", Op::kReport}, {"LETTRES", Op::kWords}};
    for (const auto& [name, op] : kFunctions) {
      if (s_.size() - p_ < name.size() || FoldCase(s_.substr(p_, name.size())) != name) continue;
      size_t q = p_ + name.size();
      while (q < s_.size() && IsBlank(s_[q])) ++q;
      if (q >= s_.size() || s_[q] != '(') continue;
      p_ = q + 1;
      Node node;
      node.op = op;
      if (op == Op::kWords) {
        node.left = Expr(depth + 1);
        Expect(')');
        return Add(node);
      }
      const size_t close = s_.find(')', p_);
      if (close == std::string_view::npos) Fail("expected \")\"");
      const std::string column = Trim(s_.substr(p_, close - p_));
      if (column.empty()) Fail("a column name expected");
      const auto found = names_.columns.find(FoldCase(column));
      if (found == names_.columns.end()) throw ParseError{"unknown column \"" + column + "\""};
      p_ = close + 1;
      node.column = found->second;
      out_.aggregate = true;
      out_.sums.emplace_back(op, node.column);
      return Add(node);
    }
    return -1;
  }

  // The longest known field name starting here, else TVA; -1 when none.
  int Reference() {
    const size_t limit = std::min(s_.size(), p_ + names_.longest);
    for (size_t end = limit; end > p_; --end) {
      if (end < s_.size() && !EndsName(s_[end])) continue;
      const auto found = names_.fields.find(FoldCase(s_.substr(p_, end - p_)));
      if (found == names_.fields.end()) continue;
      p_ = end;
      Node node;
      node.op = Op::kField;
      node.field = found->second;
      out_.fields.push_back(found->second);
      return Add(node);
    }
    if (s_.size() - p_ >= 3 && FoldCase(s_.substr(p_, 3)) == "TVA" && (s_.size() == p_ + 3 || EndsName(s_[p_ + 3]))) {
      p_ += 3;
      Node node;
      node.op = Op::kTva;
      return Add(node);
    }
    return -1;
  }

  int Number() {
    size_t end = p_;
    while (end < s_.size() && IsDigit(s_[end])) ++end;
    std::string digits(s_.substr(p_, end - p_));
    if (end + 1 < s_.size() && (s_[end] == '.' || s_[end] == ',') && IsDigit(s_[end + 1])) {
      digits += '.';
      ++end;
      while (end < s_.size() && IsDigit(s_[end])) digits += s_[end++];
    }
    double value = 0;
    const auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (ec != std::errc() || ptr != digits.data() + digits.size()) Fail("number out of range");
    p_ = end;
    Node node;
    node.op = Op::kNumber;
    node.number = value;
    return Add(node);
  }

  std::string_view s_;
  const Names& names_;
  ParsedFormula& out_;
  size_t p_ = 0;
};

// --- dependency graph ---

// Graph nodes: the fields first, then one "page sum" node per column and
// page with lines (the lines of that column on that page), then one
// "carried" node per column and page (the page sums of the earlier pages).
struct Graph {
  std::vector<std::vector<int>> deps;
};

// Post-order of every node reachable from any node, deps before the node,
// without recursion. Nodes on a cycle get their cycle (as node lists) in
// `cycles`; the order still holds every node once.
std::vector<int> PostOrder(const Graph& graph, std::vector<std::vector<int>>& cycles) {
  const size_t n = graph.deps.size();
  std::vector<uint8_t> state(n, 0);  // 0 new, 1 on the path, 2 done
  std::vector<int> order;
  order.reserve(n);
  std::vector<std::pair<int, size_t>> path;
  for (size_t start = 0; start < n; ++start) {
    if (state[start]) continue;
    path.emplace_back(static_cast<int>(start), 0);
    state[start] = 1;
    while (!path.empty()) {
      auto& [node, next] = path.back();
      const auto& deps = graph.deps[static_cast<size_t>(node)];
      if (next < deps.size()) {
        const int dep = deps[next++];
        if (state[static_cast<size_t>(dep)] == 0) {
          state[static_cast<size_t>(dep)] = 1;
          path.emplace_back(dep, 0);
        } else if (state[static_cast<size_t>(dep)] == 1) {
          std::vector<int> cycle;
          size_t k = path.size();
          while (k > 0 && path[k - 1].first != dep) --k;
          for (size_t j = k - 1; j < path.size(); ++j) cycle.push_back(path[j].first);
          cycles.push_back(std::move(cycle));
        }
        continue;
      }
      state[static_cast<size_t>(node)] = 2;
      order.push_back(node);
      path.pop_back();
    }
  }
  return order;
}

struct Outcome {
  std::optional<double> number;
  std::string text;
  std::string error;
  int culprit = -1;  // the field in error this node depends on (for messages)
  bool failed = false;
  bool malformed = false;  // failed on its own formula (parse error, cycle)
};

}  // namespace

double RoundToDecimals(double x, int decimals) {
  if (!std::isfinite(x)) return x;
  const int places = std::min(std::abs(decimals), 15);
  const std::string picture = places == 0 ? "0" : "0." + std::string(static_cast<size_t>(places), '0');
  const std::string text = FormatNumber(x, picture, Locale::Point());
  double rounded = x;
  std::from_chars(text.data(), text.data() + text.size(), rounded);
  return rounded == 0 ? 0.0 : rounded;  // no negative zero
}

std::vector<FormulaResult> ComputeFormulas(const std::vector<FormulaField>& fields, const FormulaContext& context) {
  const size_t n = fields.size();
  std::vector<FormulaResult> results(n);

  Names names;
  for (size_t i = 0; i < n; ++i) {
    const std::string& name = fields[i].name;
    if (name.empty()) continue;
    names.fields.emplace(FoldCase(name), static_cast<int>(i));
    names.longest = std::max(names.longest, name.size());
    if (!fields[i].column.empty()) {
      names.columns.emplace(FoldCase(fields[i].column), static_cast<int>(names.columns.size()));
    }
  }

  // Parse every formula once.
  std::vector<ParsedFormula> parsed(n);
  std::vector<std::string> parse_errors(n);
  for (size_t i = 0; i < n; ++i) {
    if (fields[i].formula.empty() || TrimView(fields[i].formula).empty()) continue;
    results[i].has_formula = true;
    try {
      Parser(fields[i].formula, names, parsed[i]).Parse();
    } catch (const ParseError& e) {
      parse_errors[i] = e.message;
      parsed[i] = ParsedFormula{};
    }
  }

  // A field is a total when its formula sums a column, or refers to a total.
  Graph refs;
  refs.deps.resize(n);
  for (size_t i = 0; i < n; ++i) refs.deps[i] = parsed[i].fields;
  std::vector<std::vector<int>> ignored_cycles;
  std::vector<bool> total(n, false);
  for (int i : PostOrder(refs, ignored_cycles)) {
    bool is_total = parsed[static_cast<size_t>(i)].aggregate;
    for (int dep : refs.deps[static_cast<size_t>(i)]) is_total = is_total || total[static_cast<size_t>(dep)];
    total[static_cast<size_t>(i)] = is_total;
  }

  // Page sums: the lines of each column, by page.
  const size_t columns = names.columns.size();
  std::vector<std::map<int, std::vector<int>>> lines(columns);  // column -> page -> fields
  for (size_t i = 0; i < n; ++i) {
    if (fields[i].column.empty() || total[i] || fields[i].name.empty()) continue;
    const int column = names.columns.at(FoldCase(fields[i].column));
    lines[static_cast<size_t>(column)][fields[i].page].push_back(static_cast<int>(i));
  }
  // The pages each column is asked about, so that they have carried nodes.
  std::vector<std::map<int, int>> page_sum(columns);  // column -> page -> node
  std::vector<std::map<int, int>> carried(columns);   // column -> page -> node
  Graph graph;
  graph.deps.resize(n);
  for (size_t c = 0; c < columns; ++c) {
    for (auto& [page, members] : lines[c]) {
      page_sum[c][page] = static_cast<int>(graph.deps.size());
      graph.deps.push_back(members);
    }
  }
  for (size_t i = 0; i < n; ++i) {
    for (const auto& [op, column] : parsed[i].sums) carried[static_cast<size_t>(column)][fields[i].page] = -1;
  }
  for (size_t c = 0; c < columns; ++c) {
    if (carried[c].empty()) continue;
    // Every page with lines or asked about, in order; each carried node
    // takes the previous one and the previous page's sum.
    std::map<int, int> pages;
    for (const auto& [page, node] : page_sum[c]) pages[page] = node;
    for (const auto& [page, node] : carried[c]) pages.emplace(page, -1);
    int previous_carried = -1;
    int previous_sum = -1;
    for (const auto& [page, sum] : pages) {
      std::vector<int> deps;
      if (previous_carried >= 0) deps.push_back(previous_carried);
      if (previous_sum >= 0) deps.push_back(previous_sum);
      const int node = static_cast<int>(graph.deps.size());
      graph.deps.push_back(std::move(deps));
      carried[c][page] = node;
      previous_carried = node;
      previous_sum = sum;
    }
  }
  for (size_t i = 0; i < n; ++i) {
    graph.deps[i] = parsed[i].fields;
    for (const auto& [op, column] : parsed[i].sums) {
      graph.deps[i].push_back(carried[static_cast<size_t>(column)].at(fields[i].page));
      if (op == Op::kSomme) {
        const auto found = page_sum[static_cast<size_t>(column)].find(fields[i].page);
        if (found != page_sum[static_cast<size_t>(column)].end()) graph.deps[i].push_back(found->second);
      }
    }
  }

  std::vector<std::vector<int>> cycles;
  const std::vector<int> order = PostOrder(graph, cycles);
  std::vector<Outcome> outcome(graph.deps.size());
  for (const auto& cycle : cycles) {
    std::string path;
    int first_field = -1;
    for (int node : cycle) {
      if (static_cast<size_t>(node) >= n) continue;
      if (first_field < 0) first_field = node;
      path += fields[static_cast<size_t>(node)].name + " -> ";
    }
    if (first_field < 0) continue;
    path += fields[static_cast<size_t>(first_field)].name;
    for (int node : cycle) {
      Outcome& o = outcome[static_cast<size_t>(node)];
      if (o.failed) continue;
      o.failed = true;
      o.malformed = true;
      o.error = "cycle: " + path;
      o.culprit = static_cast<size_t>(node) < n ? node : first_field;
    }
  }

  const auto fail = [&](Outcome& o, std::string error, int culprit) {
    o.failed = true;
    o.error = std::move(error);
    o.culprit = culprit;
  };

  for (int node_id : order) {
    const size_t id = static_cast<size_t>(node_id);
    Outcome& o = outcome[id];
    if (o.failed) continue;
    // A node whose inputs failed fails too, naming the first field in error.
    for (int dep : graph.deps[id]) {
      const Outcome& d = outcome[static_cast<size_t>(dep)];
      if (!d.failed) continue;
      const int culprit = static_cast<size_t>(dep) < n ? dep : d.culprit;
      fail(o, "depends on " + fields[static_cast<size_t>(culprit)].name + ", which cannot be computed", culprit);
      break;
    }
    if (o.failed) continue;

    if (id >= n) {
      // A page sum or a carried amount: the sum of its inputs.
      double sum = 0;
      for (int dep : graph.deps[id]) {
        const Outcome& d = outcome[static_cast<size_t>(dep)];
        if (d.number) {
          sum += *d.number;
        } else if (!d.text.empty()) {
          fail(o, fields[static_cast<size_t>(dep)].name + " holds \"" + d.text + "\", not a number", dep);
          break;
        }
      }
      if (!o.failed) o.number = sum;
      continue;
    }

    const FormulaField& field = fields[id];
    if (!results[id].has_formula) {
      o.number = field.number;
      if (!field.number) o.text = field.text;
      continue;
    }
    if (!parse_errors[id].empty()) {
      fail(o, parse_errors[id], node_id);
      o.malformed = true;
      continue;
    }

    // Evaluates the tree of the formula (its depth is bounded by the parser).
    const ParsedFormula& formula = parsed[id];
    std::string error;
    std::string text;
    auto eval = [&](auto&& self, int k) -> double {
      if (!error.empty()) return 0;
      const Node& node = formula.nodes[static_cast<size_t>(k)];
      switch (node.op) {
        case Op::kNumber:
          return node.number;
        case Op::kTva:
          return context.tva;
        case Op::kField: {
          const Outcome& d = outcome[static_cast<size_t>(node.field)];
          if (d.number) return *d.number;
          if (d.text.empty()) return 0;
          error = fields[static_cast<size_t>(node.field)].name + " holds \"" + d.text + "\", not a number";
          return 0;
        }
        case Op::kAdd:
          return self(self, node.left) + self(self, node.right);
        case Op::kSub:
          return self(self, node.left) - self(self, node.right);
        case Op::kMul:
          return self(self, node.left) * self(self, node.right);
        case Op::kDiv: {
          const double a = self(self, node.left);
          const double b = self(self, node.right);
          if (error.empty() && b == 0) error = "division by zero";
          return error.empty() ? a / b : 0;
        }
        case Op::kNeg:
          return -self(self, node.left);
        case Op::kSomme:
        case Op::kReport: {
          const size_t c = static_cast<size_t>(node.column);
          double sum = *outcome[static_cast<size_t>(carried[c].at(field.page))].number;
          if (node.op == Op::kSomme) {
            const auto found = page_sum[c].find(field.page);
            if (found != page_sum[c].end()) sum += *outcome[static_cast<size_t>(found->second)].number;
          }
          return sum;
        }
        case Op::kWords: {
          const double amount = self(self, node.left);
          if (!error.empty()) return 0;
          std::string why;
          if (auto words = AmountInWords(amount, context.currency, &why)) {
            text = *words;
          } else {
            error = why;
          }
          return 0;
        }
      }
      return 0;
    };
    const double value = eval(eval, formula.root);
    if (!error.empty()) {
      fail(o, error, node_id);
    } else if (formula.nodes[static_cast<size_t>(formula.root)].op == Op::kWords) {
      o.text = text;
    } else if (!std::isfinite(value)) {
      fail(o, "the result is not a finite number", node_id);
    } else {
      o.number = RoundToDecimals(value, field.decimals);
    }
  }

  for (size_t i = 0; i < n; ++i) {
    if (!results[i].has_formula) continue;
    const Outcome& o = outcome[i];
    if (o.failed) {
      results[i].error = o.error;
      results[i].malformed = o.malformed;
    } else {
      results[i].number = o.number;
      results[i].text = o.text;
    }
  }
  return results;
}

}  // namespace mandor::values
