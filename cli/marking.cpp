#include "cli/marking.h"

#include <exception>

namespace mandor_cli {

using mandor::cMarquage;
using mandor::CurrentPlatform;
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

}  // namespace

Marking OpenMarking(const std::string& path) {
  if (path.empty() || !CurrentPlatform().FileExists(path)) throw UsageError("no such file: " + path);
  Marking marking;
  marking.path = path;
  marking.kind = KindOfPath(path);
  if (marking.kind == MarkingKind::kCatalogue) {
    OpenCatalogue(marking);
  } else {
    OpenTextMarking(marking);
  }
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

}  // namespace mandor_cli
