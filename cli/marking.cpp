#include "cli/marking.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <iostream>
#include <set>
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"

namespace mandor_cli {

using mandor::cMarquage;
using mandor::CurrentPlatform;
using mandor::CChamp;
using mandor::CPage;
using mandor::Mandor;

MarkingKind KindOfPath(const std::string& path) {
  const std::string lower = mandor::LowerCase(path);
  if (mandor::EndsWith(lower, ".xnf")) return MarkingKind::kExtended;
  if (mandor::EndsWith(lower, ".cnf")) return MarkingKind::kStandard;
  return MarkingKind::kCatalogue;
}

PathParts SplitPath(const std::string& path) {
  const size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return {"./", path};
  return {path.substr(0, slash + 1), path.substr(slash + 1)};
}

std::string DocumentNameOf(const std::string& file) {
  const long length = static_cast<long>(mandor::CharLength(file));
  return length <= 4 ? std::string() : mandor::Left(file, length - 4);
}

namespace {

void OpenTextMarking(Marking& marking) {
  const PathParts parts = SplitPath(marking.path);
  const std::string name = DocumentNameOf(parts.file);
  auto document = std::make_shared<Mandor>();
  document->Répertoire_Document = parts.folder;
  marking.documents.push_back(document);
  try {
    document->Nom_Document(name);
  } catch (const std::exception&) {
    marking.failure = "\"" + parts.file + "\" gives the document name \"" + name +
                      "\", shorter than 3 characters";
    return;
  }
  try {
    if (marking.kind == MarkingKind::kExtended) {
      marking.loaded = document->RestaurerMarquageEx() != 0;
    } else {
      marking.loaded = document->RestaurerMarquageStd();
    }
  } catch (const mandor::Error& e) {
    // A reader that gives up clears the document name, which raises; the
    // reason has already been shown as a message.
    marking.loaded = false;
    if (!document->Nom_Document().empty()) marking.failure = e.what();
  }
}

void OpenCatalogue(Marking& marking) {
  marking.catalogue = std::make_shared<cMarquage>();
  // A bare file name gets "./" so that the catalogue (and so its documents)
  // know their folder.
  const std::string full_path = marking.path.find('/') == std::string::npos ? "./" + marking.path : marking.path;
  try {
    if (!marking.catalogue->XML_ReadCNF(full_path)) {
      marking.failure = "not a well-formed XML catalogue";
      return;
    }
  } catch (const mandor::Error& e) {
    marking.failure = e.what();
    return;
  }
  marking.loaded = true;
  for (const std::shared_ptr<Mandor>& document : *marking.catalogue) marking.documents.push_back(document);
}

// The values of a text marking carry the separator its writer's machine
// used (SepDecExt); read under a locale with the other one, "14,00" is not
// fourteen. Said once per run, whatever the number of markings.
void WarnOfSeparator(const Marking& marking) {
  static bool warned = false;
  if (warned) return;
  const std::string& ours = CurrentPlatform().locale().decimal_separator;
  for (const std::shared_ptr<Mandor>& document : marking.documents) {
    const std::string& theirs = document->SepDecExt;
    if (theirs.empty() || theirs == ours) continue;
    warned = true;
    std::cerr << "mandor: warning: " << marking.path << ": the values use the decimal separator \"" << theirs
              << "\" (SepDecExt) and the locale \"" << ours << "\"; pass --locale "
              << (theirs == "," ? "fr" : "en") << " to read them as written\n";
    return;
  }
}

}  // namespace

Marking OpenMarking(const std::string& path) {
  Marking marking;
  marking.path = path;
  marking.kind = KindOfPath(path);
  std::error_code ec;
  const std::filesystem::file_status status = std::filesystem::status(path, ec);
  if (path.empty() || !std::filesystem::exists(status)) {
    marking.failure = std::strerror(ENOENT);
    return marking;
  }
  if (std::filesystem::is_directory(status)) {
    marking.failure = std::string(std::strerror(EISDIR)) + ", not a marking";
    return marking;
  }
  if (marking.kind == MarkingKind::kCatalogue) {
    OpenCatalogue(marking);
  } else {
    OpenTextMarking(marking);
  }
  if (marking.loaded) WarnOfSeparator(marking);
  return marking;
}



Marking OpenLoadedMarking(const std::string& path) {
  Marking marking = OpenMarking(path);
  if (!marking.loaded) {
    throw CommandFailure(path + ": the marking could not be loaded" +
                         (marking.failure.empty() ? std::string() : " (" + marking.failure + ")"));
  }
  return marking;
}

std::vector<std::shared_ptr<Mandor>> SelectDocuments(const Marking& marking, const std::string& doc_id,
                                                     bool only_one) {
  if (!doc_id.empty()) {
    if (marking.kind != MarkingKind::kCatalogue) {
      throw UsageError("--doc picks a document of a catalogue; " + marking.path + " is a text marking");
    }
    for (const std::shared_ptr<Mandor>& document : marking.documents) {
      if (mandor::EqualsIgnoreCase(document->Id, doc_id)) return {document};
    }
    std::string known;
    for (const std::shared_ptr<Mandor>& document : marking.documents) {
      known += (known.empty() ? "" : ", ") + document->Id;
    }
    throw UsageError("no document \"" + doc_id + "\" in " + marking.path +
                     (known.empty() ? std::string(" (it has none)") : " (documents: " + known + ")"));
  }
  if (marking.documents.empty()) throw CommandFailure(marking.path + ": the catalogue holds no document");
  if (only_one) return {marking.documents.front()};
  return marking.documents;
}

std::string Num(float value) { return mandor::SingleToText(value, CurrentPlatform().locale()); }

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string DocumentLabel(const Mandor& doc) { return doc.Id.empty() ? Quoted(doc.Nom_Document()) : doc.Id; }

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

}  // namespace mandor_cli
