#include "mandor/xml/internal/workbook.h"

#include <cstring>
#include <exception>
#include <sstream>

#include "mandor/util/error.h"
#include "mandor/util/internal/cp1252.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"

namespace mandor {

namespace {

// Everything is kept: the declaration, processing instructions, comments,
// the document type, whitespace between elements (the line breaks around the
// document element too, which only fragment parsing keeps), and attribute
// values as written (no whitespace conversion). Line ends are left alone
// too, so a CR LF file is written back with CR LF.
constexpr unsigned kParseOptions = (pugi::parse_full | pugi::parse_ws_pcdata | pugi::parse_fragment) &
                                   ~(pugi::parse_wconv_attribute | pugi::parse_eol);

// Nodes are written exactly as they are held; no declaration is added to a
// file that had none.
constexpr unsigned kSaveOptions = pugi::format_raw | pugi::format_no_declaration;

enum class FileEncoding { kUtf8, kUtf16, kLatin1, kWindows1252 };

FileEncoding EncodingNamed(std::string_view name) {
  const std::string folded = LowerCase(Trim(name));
  if (folded == "utf-16" || folded == "utf16" || folded == "ucs-2") return FileEncoding::kUtf16;
  if (folded == "iso-8859-1" || folded == "latin1" || folded == "latin-1" || folded == "iso8859-1") {
    return FileEncoding::kLatin1;
  }
  if (folded == "windows-1252" || folded == "cp1252") return FileEncoding::kWindows1252;
  return FileEncoding::kUtf8;
}

// The encoding an ASCII-compatible file declares in its first bytes
// (<?xml version="1.0" encoding="..."?>); UTF-8 when there is none.
FileEncoding DeclaredEncoding(std::string_view bytes) {
  if (bytes.substr(0, 5) != "<?xml") return FileEncoding::kUtf8;
  const size_t end = bytes.find("?>");
  const std::string_view declaration = bytes.substr(0, end);
  const size_t key = declaration.find("encoding");
  if (key == std::string_view::npos) return FileEncoding::kUtf8;
  const size_t open = declaration.find_first_of("\"'", key);
  if (open == std::string_view::npos) return FileEncoding::kUtf8;
  const size_t close = declaration.find(declaration[open], open + 1);
  if (close == std::string_view::npos) return FileEncoding::kUtf8;
  return EncodingNamed(declaration.substr(open + 1, close - open - 1));
}

// Fragment parsing accepts what a document may not hold at its top level:
// true when there is exactly one element there and no text but whitespace.
bool IsSingleDocument(const pugi::xml_document& doc) {
  int elements = 0;
  for (pugi::xml_node node = doc.first_child(); node; node = node.next_sibling()) {
    switch (node.type()) {
      case pugi::node_element:
        ++elements;
        break;
      case pugi::node_pcdata:
        if (node.value()[std::strspn(node.value(), " \t\r\n")] != '\0') return false;
        break;
      case pugi::node_cdata:
        return false;
      default:
        break;
    }
  }
  return elements == 1;
}

bool StartsWithBom(std::string_view bytes) {
  return bytes.substr(0, 3) == "\xEF\xBB\xBF" || bytes.substr(0, 2) == "\xFF\xFE" || bytes.substr(0, 2) == "\xFE\xFF";
}

}  // namespace

bool WorkbookDocument::Load(const std::string& path) {
  std::string bytes;
  try {
    bytes = CurrentPlatform().ReadFileBytes(path);
  } catch (const std::exception&) {
    doc_.reset();
    return false;
  }
  return LoadFromBytes(std::move(bytes));
}

// A UTF-8 catalogue (nearly all of them) is parsed where its bytes were
// read or converted instead of in a copy: a large workbook is tens of
// megabytes. The bytes get the terminating zero the copy would have had, so
// that the parse gives the same nodes.
bool WorkbookDocument::LoadFromBytes(std::string bytes) {
  doc_.reset();
  buffer_.clear();
  bom_ = StartsWithBom(bytes);
  pugi::xml_encoding encoding = pugi::encoding_auto;
  switch (DeclaredEncoding(bytes)) {
    case FileEncoding::kWindows1252:
      bytes = Windows1252ToUtf8(bytes);
      encoding = pugi::encoding_utf8;
      break;
    case FileEncoding::kLatin1:
      encoding = pugi::encoding_latin1;
      break;
    default:
      break;
  }
  // Without a UTF-16 or UTF-32 start, automatic detection finds UTF-8 too.
  const bool wide = bytes.size() >= 2 && (bytes[0] == '\0' || bytes[1] == '\0' || bytes.substr(0, 2) == "\xFF\xFE" ||
                                          bytes.substr(0, 2) == "\xFE\xFF");
  wide_ = wide;
  pugi::xml_parse_result result;
  if (encoding != pugi::encoding_latin1 && !wide) {
    buffer_ = std::move(bytes);
    buffer_.push_back('\0');
    result = doc_.load_buffer_inplace(buffer_.data(), buffer_.size(), kParseOptions, pugi::encoding_utf8);
  } else {
    result = doc_.load_buffer(bytes.data(), bytes.size(), kParseOptions, encoding);
  }
  if (!result || !IsSingleDocument(doc_)) {
    doc_.reset();
    buffer_ = std::string();
    return false;
  }
  return true;
}

std::string WorkbookDocument::ToBytes() const {
  FileEncoding encoding = FileEncoding::kUtf8;
  for (pugi::xml_node node = doc_.first_child(); node; node = node.next_sibling()) {
    if (node.type() == pugi::node_declaration) {
      encoding = EncodingNamed(node.attribute("encoding").value());
      break;
    }
  }
  // A file that declares UTF-16 but was read as 8-bit text is written back
  // as it was read: converting it would change (or drop) every byte that
  // is not valid UTF-8, and the names the document was read with with them.
  if (encoding == FileEncoding::kUtf16 && !wide_) encoding = FileEncoding::kUtf8;
  unsigned options = kSaveOptions;
  if (bom_ || encoding == FileEncoding::kUtf16) options |= pugi::format_write_bom;
  std::ostringstream out;
  switch (encoding) {
    case FileEncoding::kUtf16:
      doc_.save(out, "", options, pugi::encoding_utf16_le);
      return out.str();
    // What a single-byte charset cannot hold is written as a character
    // reference, so that a value the user typed reads back equal.
    case FileEncoding::kLatin1:
      doc_.save(out, "", options & ~pugi::format_write_bom, pugi::encoding_utf8);
      return Utf8ToSingleByteXml(out.str(), SingleByteCharset::kLatin1);
    case FileEncoding::kWindows1252:
      doc_.save(out, "", options & ~pugi::format_write_bom, pugi::encoding_utf8);
      return Utf8ToSingleByteXml(out.str(), SingleByteCharset::kWindows1252);
    case FileEncoding::kUtf8:
      break;
  }
  doc_.save(out, "", options, pugi::encoding_utf8);
  return out.str();
}

void WorkbookDocument::Save(const std::string& path) const { CurrentPlatform().ReplaceFileBytes(path, ToBytes()); }

}  // namespace mandor
