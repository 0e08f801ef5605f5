#include "mandor/util/internal/cp1252.h"

#include <string>

#include "mandor/util/internal/text.h"

namespace mandor {

namespace {

// Code points of the bytes 0x80-0x9F. The undefined bytes map to the C1
// control character of the same value.
constexpr char32_t kHighTable[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80-87
    0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88-8F
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90-97
    0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98-9F
};

// The end of the run of ASCII bytes starting at i.
size_t AsciiRunEnd(std::string_view text, size_t i) {
  while (i < text.size() && static_cast<uint8_t>(text[i]) < 0x80) ++i;
  return i;
}

}  // namespace

char32_t Windows1252ToCodePoint(uint8_t byte) {
  if (byte >= 0x80 && byte <= 0x9F) return kHighTable[byte - 0x80];
  return byte;
}

std::optional<uint8_t> CodePointToWindows1252(char32_t code_point) {
  if (code_point < 0x80 || (code_point >= 0xA0 && code_point <= 0xFF)) {
    return static_cast<uint8_t>(code_point);
  }
  for (int k = 0; k < 32; ++k) {
    if (kHighTable[k] == code_point) return static_cast<uint8_t>(0x80 + k);
  }
  return std::nullopt;
}

namespace {

// The UTF-8 to single-byte loop: `encode` maps a code point to its byte or
// nothing, `unmappable` appends what stands for a code point without one.
template <class Encode, class Unmappable>
std::string EncodeSingleByte(std::string_view utf8, Encode&& encode, Unmappable&& unmappable) {
  std::string out;
  out.reserve(utf8.size());
  size_t i = 0;
  while (i < utf8.size()) {
    // Runs of ASCII are the same in both encodings: copied in one go.
    const size_t ascii_end = AsciiRunEnd(utf8, i);
    if (ascii_end > i) {
      out.append(utf8.substr(i, ascii_end - i));
      i = ascii_end;
      continue;
    }
    const Utf8Char c = DecodeUtf8(utf8, i);
    i += c.length;
    if (!c.valid) {
      out += '?';  // an invalid byte: skip it alone and resynchronise
    } else if (const std::optional<uint8_t> byte = encode(c.code)) {
      out += static_cast<char>(*byte);
    } else {
      unmappable(out, c.code);
    }
  }
  return out;
}

}  // namespace

std::string Utf8ToWindows1252(std::string_view utf8) {
  return EncodeSingleByte(utf8, CodePointToWindows1252, [](std::string& out, char32_t) { out += '?'; });
}

std::string Utf8ToSingleByteXml(std::string_view utf8, SingleByteCharset charset) {
  const auto reference = [](std::string& out, char32_t cp) {
    out += "&#";
    out += std::to_string(static_cast<uint32_t>(cp));
    out += ';';
  };
  if (charset == SingleByteCharset::kWindows1252) return EncodeSingleByte(utf8, CodePointToWindows1252, reference);
  const auto latin1 = [](char32_t cp) -> std::optional<uint8_t> {
    if (cp <= 0xFF) return static_cast<uint8_t>(cp);
    return std::nullopt;
  };
  return EncodeSingleByte(utf8, latin1, reference);
}

std::string Windows1252ToUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 4);
  size_t i = 0;
  while (i < bytes.size()) {
    const size_t ascii_end = AsciiRunEnd(bytes, i);
    out.append(bytes.substr(i, ascii_end - i));
    if (ascii_end == bytes.size()) break;
    AppendUtf8(out, Windows1252ToCodePoint(static_cast<uint8_t>(bytes[ascii_end])));
    i = ascii_end + 1;
  }
  return out;
}

}  // namespace mandor
