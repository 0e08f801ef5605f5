// WorkbookDocument is a catalogue workbook file held in memory as a pugixml
// document. Loading and saving go through the platform layer, and keep
// everything the model does not own exactly as it was: processing
// instructions (<?mso-application progid="Excel.Sheet"?>), comments,
// whitespace, styles, other worksheets and namespace declarations. The file
// is written back in the encoding its XML declaration names (UTF-8 when it
// names none, UTF-16, ISO-8859-1 or Windows-1252), through a temporary file
// renamed over the target, so that a failed save never leaves a truncated
// catalogue.
//
// Threading: single-threaded, as the whole model is: a workbook document is
// used by one thread at a time (the host's); nothing here locks, and nothing
// is shared between threads but what the platform holds.
#ifndef MANDOR_XML_INTERNAL_WORKBOOK_H_
#define MANDOR_XML_INTERNAL_WORKBOOK_H_

#include <string>
#include <string_view>

#include <pugixml.hpp>

namespace mandor {

class WorkbookDocument {
 public:
  WorkbookDocument() = default;
  WorkbookDocument(const WorkbookDocument&) = delete;
  WorkbookDocument& operator=(const WorkbookDocument&) = delete;

  // Reads and parses the file at path (no schema validation). False when the
  // file cannot be read or is not well-formed XML; the document is then empty.
  bool Load(const std::string& path);
  // Parses bytes as the content of a catalogue file; false when not
  // well-formed. The bytes are parsed where they are and kept by the
  // document (move them in to spare a copy).
  bool LoadFromBytes(std::string bytes);

  // Replaces the file at path with the document (Platform::ReplaceFileBytes:
  // a temporary file beside it, flushed, renamed over it). Throws
  // mandor::Error (the platform's error number, 75 for a failed write) on
  // failure; the target is then unchanged and the temporary file removed.
  void Save(const std::string& path) const;
  // The bytes Save writes.
  std::string ToBytes() const;

  pugi::xml_document& document() { return doc_; }
  const pugi::xml_document& document() const { return doc_; }
  // The document element (Workbook); null when nothing is loaded.
  pugi::xml_node Root() const { return doc_.document_element(); }

 private:
  // The bytes the document was parsed in, when it was parsed in place; they
  // hold its names and values, so they go after it.
  std::string buffer_;
  pugi::xml_document doc_;
  bool bom_ = false;   // the loaded file started with a byte-order mark
  bool wide_ = false;  // the loaded file was read as UTF-16
};

}  // namespace mandor

#endif  // MANDOR_XML_INTERNAL_WORKBOOK_H_
