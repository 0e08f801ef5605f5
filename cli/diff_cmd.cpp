#include "cli/diff_cmd.h"

#include <exception>
#include <map>
#include <memory>

#include "cli/json_dump.h"
#include "cli/marking.h"
#include "mandor/util/internal/text.h"

namespace mandor_cli {

using mandor::CChamp;
using mandor::CPage;
using mandor::Mandor;

namespace {

// A field and the page (counted from 1) that lists it, 0 for none.
struct Placed {
  std::shared_ptr<CChamp> field;
  long page = 0;
};

// The fields of a document under their names folded to lower case (names
// compare as collection keys do), in document order. A name several fields
// share (a recurrent field's copies on each page) gets "#2", "#3", ... from
// its second field on, so that the n-th of A meets the n-th of B.
std::vector<std::pair<std::string, Placed>> FieldsByName(const Mandor& doc) {
  std::map<const CChamp*, long> page_of;
  for (long i = 1; i <= doc.Pages.Count(); ++i) {
    const std::shared_ptr<CPage>& page = doc.Pages.Item(i);
    if (!page) continue;
    for (const std::shared_ptr<CChamp>& field : page->Champs) {
      if (field) page_of.emplace(field.get(), i);
    }
  }
  std::vector<std::pair<std::string, Placed>> fields;
  std::map<std::string, int> seen;
  for (const std::shared_ptr<CChamp>& field : AllFields(doc)) {
    const auto page = page_of.find(field.get());
    std::string name = mandor::LowerCase(field->Nom());
    const int occurrence = ++seen[name];
    if (occurrence > 1) name += "#" + std::to_string(occurrence);
    fields.push_back({std::move(name), {field, page == page_of.end() ? 0 : page->second}});
  }
  return fields;
}

std::string Number(float value) { return FloatJson(value).dump(); }

std::string PlaceText(const Placed& placed) {
  const CChamp& f = *placed.field;
  return "page " + std::to_string(placed.page) + " (" + Number(f.Position_pixel_Left) + ", " +
         Number(f.Position_pixel_Top) + ", " + Number(f.Position_pixel_Right) + ", " +
         Number(f.Position_pixel_Bottom) + ")";
}

std::string AnchorText(const CChamp& f) {
  return "H " + Quoted(f.Accrochage_H()) + " type " + std::to_string(f.Accrochage_H_Type) + ", V " +
         Quoted(f.Accrochage_V()) + " type " + std::to_string(f.Accrochage_V_Type());
}

std::string FontText(const CChamp& f) {
  std::string text = FieldFontText(f);
  try {
    text += ", colour " + std::to_string(f.FontColor()) + " on " + std::to_string(f.BackColor());
  } catch (const std::exception&) {
  }
  return text;
}

std::string ValueText(const CChamp& f) {
  try {
    return Quoted(f.valeur());
  } catch (const std::exception&) {
    return "none";
  }
}

}  // namespace

std::vector<FieldDifference> DiffDocuments(const Mandor& a, const Mandor& b) {
  const auto fields_a = FieldsByName(a);
  const auto fields_b = FieldsByName(b);
  std::map<std::string, const Placed*> in_b, in_a;
  for (const auto& [name, placed] : fields_b) in_b.emplace(name, &placed);
  for (const auto& [name, placed] : fields_a) in_a.emplace(name, &placed);

  std::vector<FieldDifference> differences;
  for (const auto& [name, placed] : fields_a) {
    const CChamp& fa = *placed.field;
    const auto other = in_b.find(name);
    if (other == in_b.end()) {
      differences.push_back({fa.Nom(), "removed", PlaceText(placed), ""});
      continue;
    }
    const CChamp& fb = *other->second->field;
    auto compare = [&](const char* kind, const std::string& ta, const std::string& tb) {
      if (ta != tb) differences.push_back({fa.Nom(), kind, ta, tb});
    };
    compare("moved", PlaceText(placed), PlaceText(*other->second));
    compare("re-anchored", AnchorText(fa), AnchorText(fb));
    compare("font", FontText(fa), FontText(fb));
    compare("formula", Quoted(fa.Formule()), Quoted(fb.Formule()));
    compare("value", ValueText(fa), ValueText(fb));
  }
  for (const auto& [name, placed] : fields_b) {
    if (in_a.count(name) == 0) differences.push_back({placed.field->Nom(), "added", "", PlaceText(placed)});
  }
  return differences;
}

void AddDiffOptions(CLI::App& diff, Options& options) {
  diff.add_option("A", options.path, std::string("The first marking. ") + kPathHelp)->required();
  diff.add_option("B", options.out, "The second marking, of either kind")->required();
  diff.add_option("--doc", options.doc_id,
                  "Image ID (mn1, mn2, ...) of the document to compare in each catalogue; default: the first");
  diff.add_option("--doc2", options.doc_id2, "Image ID of the document of B when it is not the one of --doc");
  diff.add_flag("--json", options.json,
                "One JSON object: a, b, and differences, each with field, kind, a and b");
}

int RunDiff(const Options& options, std::ostream& out) {
  const Marking marking_a = OpenLoadedMarking(options.path);
  const Marking marking_b = OpenLoadedMarking(options.out);
  // --doc names a catalogue's document; a text marking has just one.
  auto pick = [](const Marking& marking, const std::string& id) {
    return SelectDocuments(marking, marking.kind == MarkingKind::kCatalogue ? id : std::string(), true).front();
  };
  const std::shared_ptr<Mandor> a = pick(marking_a, options.doc_id);
  const std::shared_ptr<Mandor> b = pick(marking_b, options.doc_id2.empty() ? options.doc_id : options.doc_id2);
  const std::vector<FieldDifference> differences = DiffDocuments(*a, *b);

  const std::string label_a = options.path + (a->Id.empty() ? "" : " " + a->Id);
  const std::string label_b = options.out + (b->Id.empty() ? "" : " " + b->Id);
  if (options.json) {
    Json list = Json::array();
    for (const FieldDifference& d : differences) {
      list.push_back({{"field", d.field},
                      {"kind", d.kind},
                      {"a", d.a.empty() ? Json(nullptr) : Json(d.a)},
                      {"b", d.b.empty() ? Json(nullptr) : Json(d.b)}});
    }
    WriteJsonLine(out, {{"a", label_a}, {"b", label_b}, {"differences", std::move(list)}});
  } else {
    out << "--- " << label_a << "\n+++ " << label_b << "\n";
    for (const FieldDifference& d : differences) {
      out << d.kind << " " << Quoted(d.field) << ": ";
      if (d.kind == "added") {
        out << d.b;
      } else if (d.kind == "removed") {
        out << d.a;
      } else {
        out << d.a << " -> " << d.b;
      }
      out << "\n";
    }
    out << (differences.empty() ? std::string("no difference") : Count(static_cast<long>(differences.size()),
                                                                         "difference"))
        << "\n";
  }
  return differences.empty() ? 0 : 1;
}

}  // namespace mandor_cli
