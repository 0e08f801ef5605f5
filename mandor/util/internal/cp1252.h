// Conversion between UTF-8 (the encoding of every string in memory) and
// Windows-1252 (the encoding of the text marking files on disk). Conversion
// happens at the file boundary only.
//
// Windows-1252 is Latin-1 with printable characters in 0x80-0x9F (€, Œ, œ,
// Ÿ, typographic quotes, ...). Its five undefined bytes 0x81, 0x8D, 0x8F,
// 0x90 and 0x9D map to the control characters U+0081, U+008D, U+008F, U+0090
// and U+009D, so that any byte string survives a round trip through UTF-8.
//
// Threading: stateless functions of their arguments; safe from any thread.
#ifndef MANDOR_UTIL_INTERNAL_CP1252_H_
#define MANDOR_UTIL_INTERNAL_CP1252_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mandor {

// Encodes UTF-8 text to Windows-1252 bytes. A character that Windows-1252
// cannot hold (such as "中" or "→") becomes "?", and so does each byte that
// is not part of a valid UTF-8 sequence.
std::string Utf8ToWindows1252(std::string_view utf8);

// The single-byte encodings an XML catalogue may be written in.
enum class SingleByteCharset { kLatin1, kWindows1252 };

// Encodes the UTF-8 text of an XML document to a single-byte charset; each
// character the charset cannot hold (€ in ISO-8859-1, "→" in either) is
// written as a numeric character reference ("&#8364;"), which an XML reader
// turns back into the character. Meant for text and attribute values: a
// reference in a comment or CDATA section is not decoded. A byte that is not
// part of a valid UTF-8 sequence becomes "?".
std::string Utf8ToSingleByteXml(std::string_view utf8, SingleByteCharset charset);

// Decodes Windows-1252 bytes to UTF-8. Every byte has a meaning, so the
// result is always valid UTF-8 and converts back to the same bytes.
std::string Windows1252ToUtf8(std::string_view bytes);

// The Unicode code point of one Windows-1252 byte.
char32_t Windows1252ToCodePoint(uint8_t byte);

// The Windows-1252 byte of a code point, or nothing when it has none.
std::optional<uint8_t> CodePointToWindows1252(char32_t code_point);

}  // namespace mandor

#endif  // MANDOR_UTIL_INTERNAL_CP1252_H_
