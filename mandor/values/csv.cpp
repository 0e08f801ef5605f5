#include "mandor/values/csv.h"

#include <optional>

#include "mandor/util/internal/cp1252.h"
#include "mandor/util/internal/text.h"
#include "mandor/values/amount.h"

namespace mandor::values {

namespace {

// True when bytes are well-formed UTF-8.
bool IsUtf8(std::string_view bytes) {
  for (size_t i = 0; i < bytes.size();) {
    const Utf8Char c = DecodeUtf8(bytes, i);
    if (!c.valid) return false;
    i += c.length;
  }
  return true;
}

// Splits one line into fields; nullopt for an unterminated quote.
std::optional<std::vector<std::string>> SplitLine(std::string_view line, char separator) {
  std::vector<std::string> fields;
  std::string field;
  bool quoted = false;      // inside quotes
  bool was_quoted = false;  // this field had quotes (kept untrimmed)
  for (size_t i = 0; i < line.size(); ++i) {
    const char c = line[i];
    if (quoted) {
      if (c == '"' && i + 1 < line.size() && line[i + 1] == '"') {
        field += '"';
        ++i;
      } else if (c == '"') {
        quoted = false;
      } else {
        field += c;
      }
    } else if (c == '"' && Trim(field).empty()) {
      quoted = was_quoted = true;
      field.clear();
    } else if (c == separator) {
      fields.push_back(was_quoted ? field : Trim(field));
      field.clear();
      was_quoted = false;
    } else if (!(was_quoted && c == ' ')) {
      field += c;
    }
  }
  if (quoted) return std::nullopt;
  fields.push_back(was_quoted ? field : Trim(field));
  return fields;
}

bool HasSeparatorOutsideQuotes(std::string_view line, char separator) {
  bool quoted = false;
  for (char c : line) {
    if (c == '"') quoted = !quoted;
    if (c == separator && !quoted) return true;
  }
  return false;
}

}  // namespace

CsvResult ReadValueFile(std::string_view bytes, const std::function<bool(const std::string&)>& is_known) {
  CsvResult result;
  if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  const std::string text = IsUtf8(bytes) ? std::string(bytes) : Windows1252ToUtf8(bytes);

  std::vector<std::string_view> lines;
  for (size_t start = 0; start <= text.size();) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::string_view line(text.data() + start, end - start);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    lines.push_back(line);
    start = end + 1;
  }
  char separator = ',';
  for (std::string_view line : lines) {
    if (TrimView(line).empty()) continue;
    if (HasSeparatorOutsideQuotes(line, ';')) separator = ';';
    break;
  }
  bool first = true;
  for (size_t i = 0; i < lines.size(); ++i) {
    const int number = static_cast<int>(i) + 1;
    if (TrimView(lines[i]).empty()) continue;
    const auto fields = SplitLine(lines[i], separator);
    if (!fields) {
      result.errors.push_back("line " + std::to_string(number) + ": a quote is not closed");
      first = false;
      continue;
    }
    if (fields->size() != 2) {
      result.errors.push_back("line " + std::to_string(number) + ": " + std::to_string(fields->size()) +
                              " fields where a name and a value are expected (separator \"" +
                              std::string(1, separator) + "\")");
      first = false;
      continue;
    }
    const bool header = first && !is_known((*fields)[0]) && !ReadAmount((*fields)[1]);
    first = false;
    if (header) continue;
    if ((*fields)[0].empty()) {
      result.errors.push_back("line " + std::to_string(number) + ": the name is empty");
      continue;
    }
    result.pairs.push_back(NameValue{(*fields)[0], (*fields)[1], number});
  }
  return result;
}

}  // namespace mandor::values
