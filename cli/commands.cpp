#include "cli/commands.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <sstream>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "cli/json_dump.h"
#include "cli/output.h"
#include "cli/marking.h"
#include "cli/render.h"
#include "cli/values_cmd.h"
#include "mandor/mandor.h"
#include "mandor/util/internal/text.h"
#include "mandor/values/values.h"

namespace mandor_cli {

using mandor::CChamp;
using mandor::CPage;
using mandor::CRegle;
using mandor::Mandor;

namespace {

// "Arial 10 bold italic".
std::string FontText(const std::shared_ptr<mandor::CFont>& font) {
  if (!font) return "none";
  std::string text = font->Name() + " " + std::to_string(font->Size());
  if (font->Bold()) text += " bold";
  if (font->Italic()) text += " italic";
  if (font->Underline()) text += " underlined";
  if (font->StrikeThrough()) text += " struck";
  return text;
}

// Up to `limit` names, then how many more.
std::string NameList(const std::vector<std::string>& names, size_t limit = 8) {
  std::string text;
  for (size_t i = 0; i < names.size() && i < limit; ++i) text += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > limit) text += ", ... (" + std::to_string(names.size() - limit) + " more)";
  return text;
}

long HorizontalRulerCount(const Mandor& doc) {
  if (doc.Regles_H.Count() > 0) return doc.Regles_H.Count();
  long count = 0;
  for (const std::shared_ptr<CPage>& page : doc.Pages) {
    if (page) count += page->Regles_H.Count();
  }
  return count;
}

std::string CalibrationText(const Mandor& doc) {
  std::string text = "type " + std::to_string(doc.Type_calage) +
                     (doc.Type_calage == 1 ? " (sheet size)" : doc.Type_calage == 2 ? " (two points)" : " (none)") +
                     ", orientation " + std::to_string(doc.Orientation);
  if (doc.Type_calage == 1) {
    text += "; sheet " + Num(doc.feuille_cm_largeur) + " x " + Num(doc.feuille_cm_hauteur) + " cm, image " +
            std::to_string(doc.image_pixels_largeur) + " x " + std::to_string(doc.image_pixels_hauteur) +
            " px, origin " + Num(doc.image_OrigineX_cm) + " x " + Num(doc.image_OrigineY_cm) + " cm";
  } else if (doc.Type_calage == 2) {
    text += "; (" + Num(doc.X1_pixel) + ", " + Num(doc.Y1_pixel) + ") px = (" + Num(doc.X1_cm) + ", " +
            Num(doc.Y1_cm) + ") cm, (" + Num(doc.X2_pixel) + ", " + Num(doc.Y2_pixel) + ") px = (" +
            Num(doc.X2_cm) + ", " + Num(doc.Y2_cm) + ") cm";
  }
  text += "; field width " + Num(doc.champ_largeur_cm) + " cm";
  if (doc.bFondGrise) text += "; grey background";
  return text;
}

// What `info` counts among a document's fields.
struct FieldCounts {
  long fields = 0, masters = 0, copies = 0, formulas = 0, contract = 0;
  std::map<std::string, long> fonts;  // font text -> fields
};

FieldCounts CountFields(const Mandor& doc) {
  FieldCounts counts;
  for (const std::shared_ptr<CChamp>& field : AllFields(doc)) {
    ++counts.fields;
    if (!field->ChampRecurrentDeRef().empty()) {
      ++counts.copies;
    } else if (field->Recurrent() || doc.ChampsRecurrents.Contains(field->Nom())) {
      ++counts.masters;
    }
    if (!field->Formule().empty()) ++counts.formulas;
    if (field->IsDataContrat()) ++counts.contract;
    ++counts.fonts[FieldFontText(*field)];
  }
  return counts;
}

// The summary of `info` as JSON: the same facts, with numbers as numbers.
Json DocumentInfoJson(const Mandor& doc) {
  Json json = Json::object();
  json["Id"] = doc.Id;
  json["Nom_Document"] = doc.Nom_Document();
  json["Type_Document"] = doc.Type_Document;
  json["folder"] = doc.Répertoire_Document;
  Json pages = Json::array();
  for (const std::shared_ptr<CPage>& page : doc.Pages) {
    if (!page) continue;
    pages.push_back({{"Id", page->Id}, {"width", FloatJson(page->Width)}, {"height", FloatJson(page->Height)},
                     {"hResolution", page->hResolution()}, {"vResolution", page->vResolution()},
                     {"rows", page->Regles_H.Count()}, {"fields", page->Champs.Count()},
                     {"NoImage", page->NoImage}});
  }
  json["pages"] = std::move(pages);
  Json columns = Json::array();
  for (const std::shared_ptr<CRegle>& ruler : doc.Regles_V) {
    if (ruler) columns.push_back(ruler->Nom);
  }
  json["rulers"] = {{"vertical", std::move(columns)}, {"horizontal", HorizontalRulerCount(doc)}};
  const FieldCounts counts = CountFields(doc);
  Json fonts = Json::object();
  for (const auto& [font, count] : counts.fonts) fonts[font] = count;
  json["fields"] = {{"count", counts.fields},       {"recurrent", counts.masters},
                    {"recurrent_copies", counts.copies}, {"with_formula", counts.formulas},
                    {"data_contract", counts.contract},  {"hidden", doc.ChampsCachés.Count()},
                    {"fonts", std::move(fonts)}};
  json["calibration"] = {{"Type_calage", doc.Type_calage}, {"Orientation", doc.Orientation},
                         {"champ_largeur_cm", FloatJson(doc.champ_largeur_cm)}, {"bFondGrise", doc.bFondGrise}};
  json["currency"] = {{"Devise", doc.Devise()}, {"iDevise", doc.iDevise()}, {"Decimales", doc.Decimales},
                      {"TVA", FloatJson(doc.TVA)}};
  json["font"] = FontText(doc.Font());
  Json sources = Json::array();
  for (const std::shared_ptr<mandor::Doc>& source : doc.Docs) {
    if (source) sources.push_back({{"Fichier", source->Fichier}, {"Séparateur", source->Séparateur}});
  }
  json["sources"] = std::move(sources);
  return json;
}

Json InfoJson(const Marking& marking, const std::vector<std::shared_ptr<Mandor>>& documents) {
  Json json = Json::object();
  json["path"] = marking.path;
  json["kind"] = KindName(marking.kind);
  if (marking.catalogue) {
    const mandor::cMarquage& catalogue = *marking.catalogue;
    json["catalogue"] = {{"Name", catalogue.Name()},
                         {"documents", catalogue.Count()},
                         {"font", FontText(catalogue.Font)},
                         {"default_currency", catalogue.oDevises ? Json(catalogue.oDevises->Defaut()) : Json()}};
  } else {
    json["catalogue"] = nullptr;
  }
  Json docs = Json::array();
  for (const std::shared_ptr<Mandor>& document : documents) docs.push_back(DocumentInfoJson(*document));
  json["documents"] = std::move(docs);
  return json;
}

void WriteDocumentInfo(const Mandor& doc, std::ostream& out) {
  out << "document " << (doc.Id.empty() ? std::string() : doc.Id + " ") << Quoted(doc.Nom_Document());
  if (!doc.Type_Document.empty()) out << " (" << doc.Type_Document << ")";
  out << "\n";
  out << "  folder:      " << doc.Répertoire_Document << "\n";

  out << "  pages:       " << doc.Pages.Count() << "\n";
  // One line per page, numbered as `render --page` counts them.
  constexpr long kPagesShown = 20;
  for (long i = 1; i <= doc.Pages.Count() && i <= kPagesShown; ++i) {
    const std::shared_ptr<CPage>& page = doc.Pages.Item(i);
    if (!page) continue;
    out << "    page " << i << ": ";
    if (page->Width > 0 && page->Height > 0) out << Num(page->Width) << " x " << Num(page->Height) << " px at ";
    out << page->hResolution() << " x " << page->vResolution() << " dpi, " << Count(page->Regles_H.Count(), "row")
        << ", " << Count(page->Champs.Count(), "field") << (page->NoImage ? ", no image" : "") << "\n";
  }
  if (doc.Pages.Count() > kPagesShown) out << "    ... " << doc.Pages.Count() - kPagesShown << " more\n";

  std::vector<std::string> columns;
  for (const std::shared_ptr<CRegle>& ruler : doc.Regles_V) {
    if (ruler) columns.push_back(ruler->Nom);
  }
  out << "  rulers:      " << doc.Regles_V.Count() << " vertical";
  if (!columns.empty()) out << " (" << NameList(columns) << ")";
  out << ", " << HorizontalRulerCount(doc) << " horizontal\n";

  const FieldCounts counts = CountFields(doc);
  out << "  fields:      " << counts.fields << " (" << counts.masters << " recurrent, " << counts.copies
      << " recurrent copies, " << counts.formulas << " with a formula, " << counts.contract << " data contract, "
      << doc.ChampsCachés.Count() << " hidden)\n";

  out << "  calibration: " << CalibrationText(doc) << "\n";

  out << "  currency:    " << (doc.Devise().empty() ? std::string("-") : doc.Devise()) << " (index "
      << doc.iDevise() << "), " << doc.Decimales << " decimals, VAT " << Num(doc.TVA) << " %\n";

  std::vector<std::string> font_counts;
  for (const auto& [font, count] : counts.fonts) font_counts.push_back(font + " (" + std::to_string(count) + ")");
  out << "  fonts:       document " << FontText(doc.Font());
  if (!font_counts.empty()) out << "; fields " << NameList(font_counts, 6);
  out << "\n";

  std::vector<std::string> sources;
  for (const std::shared_ptr<mandor::Doc>& source : doc.Docs) {
    if (!source) continue;
    const std::string separator = source->Séparateur == "\t" ? "TAB" : source->Séparateur;
    sources.push_back(source->Fichier + (separator.empty() ? "" : " [" + separator + "]"));
  }
  if (!sources.empty()) out << "  sources:     " << NameList(sources) << "\n";
}

}  // namespace

int RunInfo(const Options& options, std::ostream& out) {
  const Marking marking = OpenLoadedMarking(options.path);
  const auto documents = SelectDocuments(marking, options.doc_id, false);
  if (options.json) {
    WriteJsonLine(out, InfoJson(marking, documents));
    return 0;
  }
  out << options.path << ": " << KindName(marking.kind) << "\n";
  if (marking.catalogue) {
    const mandor::cMarquage& catalogue = *marking.catalogue;
    out << "catalogue " << Quoted(catalogue.Name()) << ": " << Count(catalogue.Count(), "document") << ", font "
        << FontText(catalogue.Font);
    if (catalogue.oDevises) out << ", default currency " << catalogue.oDevises->Defaut();
    out << "\n";
  }
  for (const std::shared_ptr<Mandor>& document : documents) WriteDocumentInfo(*document, out);
  return 0;
}

int RunDump(const Options& options, std::ostream& out) {
  const Marking marking = OpenLoadedMarking(options.path);
  const auto documents = SelectDocuments(marking, options.doc_id, false);
  if (options.calage) {
    for (const std::shared_ptr<Mandor>& document : documents) document->CalculerParamètresCalage();
  }
  const CliPlatform* platform = CurrentCliPlatform();
  static const std::vector<RecordedMessage> kNone;
  WriteDump(out, marking.catalogue, documents, platform ? platform->messages() : kNone);
  return 0;
}

int RunConvert(const Options& options, std::ostream& out, std::ostream& err) {
  const MarkingKind target_kind = KindOfPath(options.out);
  if (target_kind == MarkingKind::kCatalogue) {
    throw UsageError("the output must end with \".xnf\" or \".cnf\": " + options.out);
  }
  const PathParts target = SplitPath(options.out);
  const std::string name = DocumentNameOf(target.file);
  if (mandor::CharLength(name) < 3) {
    throw UsageError("the output name must have at least 3 characters before its ending: " + options.out);
  }
  const Marking marking = OpenLoadedMarking(options.path);
  std::shared_ptr<Mandor> document = SelectDocuments(marking, options.doc_id, true).front();

  // The file the writer will create, spelt as it spells it.
  const std::string written = target.folder + name + (target_kind == MarkingKind::kExtended ? ".xnf" : ".cnf");
  if (std::filesystem::exists(written) &&
      !mandor::CurrentPlatform().AskYesNo("Replace the existing file " + written + "?", "mandor")) {
    throw CommandFailure(written + " exists: not replaced (--yes replaces it)");
  }

  // The new name must not change what kind of document this is (the name
  // setter guesses the kind from a ".det" or ".bpx" ending).
  const std::string type = document->Type_Document;
  document->Répertoire_Document = target.folder;
  document->Nom_Document(name);
  document->Type_Document = type;

  CliPlatform* platform = CurrentCliPlatform();
  if (platform) platform->ClearFileError();
  auto reason = [&] {
    return platform && !platform->last_file_error().empty() ? " (" + platform->last_file_error() + ")"
                                                            : std::string();
  };
  if (target_kind == MarkingKind::kExtended) {
    document->SauvegarderMarquageEx(false);
    // A failed save has told the user and cleared the document name.
    if (document->Nom_Document().empty()) throw CommandFailure("could not write " + written + reason());
  } else {
    if (type != document->DOCUMENT_DETAIL() && type != document->DOCUMENT_PRIX() && type != document->DOCUMENT_AE()) {
      err << "mandor: warning: the standard layout knows the document types " << document->DOCUMENT_DETAIL() << ", "
          << document->DOCUMENT_PRIX() << " and " << document->DOCUMENT_AE() << " only; " << options.out
          << " (type " << Quoted(type) << ") will not read back\n";
    }
    try {
      document->SauvegarderMarquageStd();
    } catch (const mandor::Error& e) {
      throw CommandFailure("could not write " + written + ": " + e.what());
    }
  }
  out << "wrote " << written << " (" << KindName(target_kind) << ", " << Count(document->Pages.Count(), "page")
      << ", " << Count(static_cast<long>(AllFields(*document).size()), "field") << ")\n";
  return 0;
}

namespace {

// A folder of its own under the system's temporary folder, removed with its
// content when the object goes.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "mandor-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
      throw CommandFailure(std::string("cannot create a temporary folder: ") + std::strerror(errno));
    }
    path_ = pattern;
  }
  ~ScratchFolder() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// Saves the chosen documents of a loaded catalogue into its own file, one line per document on `out`; the number that failed.
// The catalogue's writer rebuilds the page-level cells (TA1, TD2, ...) from
// the model, which holds no values: their values are taken before the save
// and written back after it, so that a save keeps what `fill` and `compute` stored.
int SaveDocuments(const Marking& marking, const std::string& doc_id, const std::string& verb, std::ostream& out) {
  CliPlatform* platform = CurrentCliPlatform();
  const std::vector<std::shared_ptr<Mandor>> documents = SelectDocuments(marking, doc_id, false);
  std::vector<mandor::values::FieldValue> page_values;
  try {
    const auto book = mandor::values::ValueBook::ForCatalogue(marking.catalogue);
    for (const auto& document : documents) {
      for (auto& value : book->Values(document)) {
        if (value.place == mandor::values::Place::kPageCell && !value.text.empty()) page_values.push_back(value);
      }
    }
  } catch (const std::exception&) {
    // A workbook the book cannot load is one the save cannot write either: it says why.
  }
  int failures = 0;
  for (std::shared_ptr<Mandor> document : documents) {
    bool saved = false;
    std::string reason;
    if (platform) platform->ClearFileError();
    try {
      saved = document->SauvegarderMarquageXml(document);
    } catch (const mandor::Error& e) {
      reason = std::string(": ") + e.what();
    }
    if (!saved && reason.empty() && platform && !platform->last_file_error().empty()) {
      reason = ": " + platform->last_file_error();
    }
    const std::string label = document->Id + " " + Quoted(document->Nom_Document());
    if (saved) {
      out << verb << " " << label << "\n";
    } else {
      out << "could not save " << label << reason << "\n";
      ++failures;
    }
  }
  // Nothing to put back when no document was written: the file is as it was.
  if (!page_values.empty() && static_cast<size_t>(failures) < documents.size()) {
    const auto book = mandor::values::ValueBook::ForCatalogue(marking.catalogue);
    book->Restore(page_values);
    book->Save();
  }
  return failures;
}

}  // namespace

int RunSave(const Options& options, std::ostream& out) {
  if (KindOfPath(options.path) != MarkingKind::kCatalogue) {
    throw UsageError("save writes a catalogue back; " + options.path + " is a text marking (use convert)");
  }
  mandor::Platform& platform = mandor::CurrentPlatform();
  if (options.dry_run) {
    // The save runs on a copy; what differs between the copy and the file
    // is what a save would change.
    const Marking marking = OpenLoadedMarking(options.path);
    SelectDocuments(marking, options.doc_id, false);  // a wrong --doc is a usage error here too
    ScratchFolder scratch;
    const std::string copy = scratch.path() + "/" + SplitPath(options.path).file;
    platform.CopyFile(options.path, copy);
    std::ostringstream lines;
    const int failures = SaveDocuments(OpenLoadedMarking(copy), options.doc_id, "would save", lines);
    std::string report = lines.str();
    for (size_t at = report.find(copy); at != std::string::npos; at = report.find(copy, at + options.path.size())) {
      report.replace(at, copy.size(), options.path);
    }
    out << report;
    const bool same = platform.ReadFileBytes(copy) == platform.ReadFileBytes(options.path);
    out << options.path << (same ? " would not change" : " would change") << "; nothing written (dry run)\n";
    if (failures > 0) throw CommandFailure(std::to_string(failures) + " document(s) could not be saved");
    return 0;
  }
  const Marking marking = OpenLoadedMarking(options.path);
  SelectDocuments(marking, options.doc_id, false);  // a wrong --doc before any backup
  if (!options.no_backup) {
    // One generation: the catalogue as it was before this save.
    const std::string backup = options.path + ".bak";
    platform.CopyFile(options.path, backup);
    out << "kept the previous catalogue as " << backup << "\n";
  }
  const int failures = SaveDocuments(marking, options.doc_id, "saved", out);
  if (failures > 0) throw CommandFailure(std::to_string(failures) + " document(s) not saved");
  out << "saved into " << options.path << "\n";
  return 0;
}

int RunRender(const Options& options, std::ostream& out) {
  const RenderFormat format = RenderFormatOf(options.output);
  if (format == RenderFormat::kUnknown) {
    throw UsageError("the picture must end with \".svg\" or \".png\": " + options.output);
  }
  if (!(options.scale > 0) || options.scale > 16) throw UsageError("--scale must be above 0 and at most 16");
  const Marking marking = OpenLoadedMarking(options.path);
  const std::shared_ptr<Mandor> document = SelectDocuments(marking, options.doc_id, true).front();
  const long count = document->Pages.Count();
  if (options.page < 1 || options.page > count) {
    throw UsageError("no page " + std::to_string(options.page) + ": " +
                     (document->Id.empty() ? Quoted(document->Nom_Document()) : document->Id) + " has " +
                     std::to_string(count) + " page" + (count == 1 ? "" : "s"));
  }
  ShowValues(marking, document);
  const RenderResult result = RenderPage(*document, options.page, options.scale, format, options.output);
  out << "wrote " << options.output << " (page " << options.page << " of "
      << (document->Id.empty() ? Quoted(document->Nom_Document()) : document->Id + " " + Quoted(document->Nom_Document()))
      << ", " << result.width << " x " << result.height << " px";
  if (!result.image.empty()) out << ", over " << result.image;
  out << ")\n";
  return 0;
}

}  // namespace mandor_cli
