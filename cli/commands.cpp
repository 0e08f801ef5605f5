#include "cli/commands.h"

#include <exception>
#include <map>
#include <memory>
#include <set>
#include <vector>

#include "cli/json_dump.h"
#include "cli/marking.h"
#include "cli/render.h"
#include "cli/values_cmd.h"
#include "mandor/mandor.h"
#include "mandor/values/values.h"

namespace mandor_cli {

using mandor::CChamp;
using mandor::CPage;
using mandor::CRegle;
using mandor::Mandor;

namespace {

const mandor::Locale& CurrentLocale() { return mandor::CurrentPlatform().locale(); }

std::string Num(float value) { return mandor::SingleToText(value, CurrentLocale()); }

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

// "1 field", "3 fields".
std::string Count(long count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

const char* KindName(MarkingKind kind) {
  switch (kind) {
    case MarkingKind::kExtended:
      return "extended text marking (.xnf)";
    case MarkingKind::kStandard:
      return "standard text marking (.cnf)";
    case MarkingKind::kCatalogue:
      break;
  }
  return "catalogue";
}

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

// The same text for a field, through its own font properties.
std::string FieldFontText(const CChamp& field) {
  try {
    std::string text = field.FontName() + " " + std::to_string(field.FontSize());
    if (field.Bold()) text += " bold";
    if (field.Italic()) text += " italic";
    if (field.Underligne()) text += " underlined";
    if (field.StrikeThrough()) text += " struck";
    return text;
  } catch (const std::exception&) {
    return "no font";
  }
}

// Up to `limit` names, then how many more.
std::string NameList(const std::vector<std::string>& names, size_t limit = 8) {
  std::string text;
  for (size_t i = 0; i < names.size() && i < limit; ++i) text += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > limit) text += ", ... (" + std::to_string(names.size() - limit) + " more)";
  return text;
}

// Every distinct field of the document: its Champs, the fields of its pages
// and its recurrent fields (a field is counted once wherever it is listed).
std::vector<std::shared_ptr<CChamp>> AllFields(const Mandor& doc) { return mandor::values::AllFields(doc); }

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

  const std::vector<std::shared_ptr<CChamp>> fields = AllFields(doc);
  long masters = 0, copies = 0, formulas = 0, contract = 0;
  std::map<std::string, long> fonts;
  for (const std::shared_ptr<CChamp>& field : fields) {
    if (!field->ChampRecurrentDeRef().empty()) {
      ++copies;
    } else if (field->Recurrent() || doc.ChampsRecurrents.Contains(field->Nom())) {
      ++masters;
    }
    if (!field->Formule().empty()) ++formulas;
    if (field->IsDataContrat()) ++contract;
    ++fonts[FieldFontText(*field)];
  }
  out << "  fields:      " << fields.size() << " (" << masters << " recurrent, " << copies << " recurrent copies, "
      << formulas << " with a formula, " << contract << " data contract, " << doc.ChampsCachés.Count()
      << " hidden)\n";

  out << "  calibration: " << CalibrationText(doc) << "\n";

  out << "  currency:    " << (doc.Devise().empty() ? std::string("-") : doc.Devise()) << " (index "
      << doc.iDevise() << "), " << doc.Decimales << " decimals, VAT " << Num(doc.TVA) << " %\n";

  std::vector<std::string> font_counts;
  for (const auto& [font, count] : fonts) font_counts.push_back(font + " (" + std::to_string(count) + ")");
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

// Problems worth telling about in a marking that loaded.
std::vector<std::string> Warnings(const Mandor& doc) {
  std::vector<std::string> warnings;
  const std::string where = doc.Id.empty() ? Quoted(doc.Nom_Document()) : doc.Id;
  for (const std::shared_ptr<CPage>& page : doc.Pages) {
    if (!page) continue;
    if (page->hResolution() <= 0 || page->vResolution() <= 0) {
      warnings.push_back(where + ": page " + page->Id + " has a resolution of 0 dpi");
    }
    for (const std::shared_ptr<CChamp>& field : page->Champs) {
      if (!field) continue;
      const std::string name = where + ": page " + page->Id + ": field " + Quoted(field->Nom());
      if (!field->Accrochage_V().empty() && !field->oRegleV()) {
        warnings.push_back(name + " hangs on the vertical ruler " + Quoted(field->Accrochage_V()) +
                           ", which does not exist");
      }
      if (!field->Accrochage_H().empty() && !field->oRegleH()) {
        warnings.push_back(name + " hangs on the horizontal ruler " + Quoted(field->Accrochage_H()) +
                           ", which does not exist");
      }
      if (field->Position_pixel_Right < field->Position_pixel_Left ||
          field->Position_pixel_Bottom < field->Position_pixel_Top) {
        warnings.push_back(name + " has its right or bottom edge before its left or top edge");
      } else if (page->Width > 0 && page->Height > 0 &&
                 (field->Position_pixel_Left < 0 || field->Position_pixel_Top < 0 ||
                  field->Position_pixel_Right > page->Width || field->Position_pixel_Bottom > page->Height)) {
        warnings.push_back(name + " lies partly outside the page (" + Num(page->Width) + " x " + Num(page->Height) +
                           " px)");
      }
      const std::string master = field->ChampRecurrentDeRef();
      if (!master.empty() && !doc.ChampsRecurrents.Contains(master) && !doc.Champs.Contains(master)) {
        warnings.push_back(name + " repeats the recurrent field " + Quoted(master) + ", which does not exist");
      }
    }
  }
  return warnings;
}

}  // namespace

int RunInfo(const Options& options, std::ostream& out) {
  const Marking marking = OpenLoadedMarking(options.path);
  const auto documents = SelectDocuments(marking, options.doc_id, false);
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

int RunDump(const Options& options, const CliPlatform& platform, std::ostream& out) {
  const Marking marking = OpenLoadedMarking(options.path);
  const auto documents = SelectDocuments(marking, options.doc_id, false);
  if (options.calage) {
    for (const std::shared_ptr<Mandor>& document : documents) document->CalculerParamètresCalage();
  }
  out << DumpText(DumpJson(marking.catalogue, documents, platform.messages())) << "\n";
  return 0;
}

int RunCheck(const Options& options, const CliPlatform& platform, std::ostream& out) {
  const Marking marking = OpenMarking(options.path);
  if (!marking.loaded) {
    out << options.path << ": NOT LOADED (" << KindName(marking.kind) << ")";
    if (!marking.failure.empty()) out << ": " << marking.failure;
    out << "\n";
    if (!platform.messages().empty()) out << platform.messages().size() << " message(s) on standard error\n";
    return 1;
  }
  long pages = 0;
  size_t fields = 0;
  std::vector<std::string> warnings;
  for (const std::shared_ptr<Mandor>& document : marking.documents) {
    pages += document->Pages.Count();
    fields += AllFields(*document).size();
    for (std::string& warning : Warnings(*document)) warnings.push_back(std::move(warning));
  }
  out << options.path << ": loaded (" << KindName(marking.kind) << "): "
      << Count(static_cast<long>(marking.documents.size()), "document") << ", " << Count(pages, "page") << ", "
      << Count(static_cast<long>(fields), "field") << "\n";
  for (const std::string& warning : warnings) out << "warning: " << warning << "\n";
  if (!platform.messages().empty()) out << platform.messages().size() << " message(s) on standard error\n";
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

  // The new name must not change what kind of document this is (the name
  // setter guesses the kind from a ".det" or ".bpx" ending).
  const std::string type = document->Type_Document;
  document->Répertoire_Document = target.folder;
  document->Nom_Document(name);
  document->Type_Document = type;

  if (target_kind == MarkingKind::kExtended) {
    document->SauvegarderMarquageEx(false);
    // A failed save has told the user and cleared the document name.
    if (document->Nom_Document().empty()) throw CommandFailure("could not write " + options.out);
  } else {
    if (type != document->DOCUMENT_DETAIL() && type != document->DOCUMENT_PRIX() && type != document->DOCUMENT_AE()) {
      err << "mandor: warning: the standard layout knows the document types " << document->DOCUMENT_DETAIL() << ", "
          << document->DOCUMENT_PRIX() << " and " << document->DOCUMENT_AE() << " only; " << options.out
          << " (type " << Quoted(type) << ") will not read back\n";
    }
    try {
      document->SauvegarderMarquageStd();
    } catch (const mandor::Error& e) {
      throw CommandFailure("could not write " + options.out + ": " + e.what());
    }
  }
  out << "wrote " << options.out << " (" << KindName(target_kind) << ", " << Count(document->Pages.Count(), "page")
      << ", " << Count(static_cast<long>(AllFields(*document).size()), "field") << ")\n";
  return 0;
}

int RunSave(const Options& options, std::ostream& out) {
  if (KindOfPath(options.path) != MarkingKind::kCatalogue) {
    throw UsageError("save writes a catalogue back; " + options.path + " is a text marking (use convert)");
  }
  const Marking marking = OpenLoadedMarking(options.path);
  int failures = 0;
  for (std::shared_ptr<Mandor> document : SelectDocuments(marking, options.doc_id, false)) {
    bool saved = false;
    std::string reason;
    try {
      saved = document->SauvegarderMarquageXml(document);
    } catch (const mandor::Error& e) {
      reason = std::string(": ") + e.what();
    }
    const std::string label = document->Id + " " + Quoted(document->Nom_Document());
    if (saved) {
      out << "saved " << label << " into " << marking.catalogue->FullPath() << "\n";
    } else {
      out << "could not save " << label << reason << "\n";
      ++failures;
    }
  }
  if (failures > 0) throw CommandFailure(std::to_string(failures) + " document(s) not saved");
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
