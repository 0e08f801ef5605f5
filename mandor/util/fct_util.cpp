#include "mandor/util/fct_util.h"

#include <algorithm>

#include "mandor/util/error.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"

namespace mandor {

namespace {

constexpr std::string_view kCrLf = "\r\n";
constexpr std::string_view kEscapedBar = "\x7F";             // U+007F
constexpr std::string_view kEscapedCrLf = "\xC3\xBF\xC3\xBF";  // U+00FF U+00FF

// Byte length of the UTF-8 character starting at s[i] (1 for a stray byte).
size_t CharBytes(std::string_view s, size_t i) { return DecodeUtf8(s, i).length; }

}  // namespace

void DécomposerChaîne(std::string_view chaîne, StringArray& Paramètres, std::string_view Séparateur) {
  Paramètres.assign(1, std::string());
  std::string_view s = TrimView(chaîne);
  if (s.empty()) return;
  if (Séparateur.empty()) {  // never found, as a search for "" past the start would not split
    Paramètres.emplace_back(s);
    return;
  }
  size_t p = s.find(Séparateur);
  if (p == std::string_view::npos) {
    Paramètres.emplace_back(s);
    return;
  }
  // The separator is taken to be one character: skip its first character only.
  size_t sep_len = CharBytes(Séparateur, 0);
  for (;;) {
    Paramètres.emplace_back(TrimView(s.substr(0, p)));
    if (p + sep_len >= s.size()) {  // separator was the last character
      Paramètres.emplace_back();
      return;
    }
    s = TrimView(s.substr(p + sep_len));
    p = s.find(Séparateur);
    if (p == std::string_view::npos) {
      if (!s.empty()) Paramètres.emplace_back(s);
      return;
    }
  }
}

bool SeparateString(std::string_view cString, StringArray& Parametres, std::string_view cSep) {
  const size_t n = Parametres.empty() ? 0 : Parametres.size() - 1;
  size_t k = 1;
  bool seen = false;
  for (size_t i = 0; i < cString.size();) {
    size_t len = CharBytes(cString, i);
    std::string_view c = cString.substr(i, len);
    if (c == cSep) {
      seen = true;
      if (k < n) ++k;
    } else {
      if (k > n) ThrowError(kSubscriptOutOfRange);
      Parametres[k].append(c);
    }
    i += len;
  }
  return seen;
}

std::string ChangeSepMarquage(std::string_view sValue, int16_t iType) {
  return iType == 1 ? ReplaceAll(sValue, "|", kEscapedBar) : ReplaceAll(sValue, kEscapedBar, "|");
}

std::string ChangeEgal(std::string_view sValue, int16_t iType) {
  return iType == 1 ? ReplaceAll(sValue, "=", "#") : ReplaceAll(sValue, "#", "=");
}

std::string ChangeCrLF(std::string_view sValue, int16_t iType) {
  return iType == 1 ? ReplaceAll(sValue, kCrLf, kEscapedCrLf) : ReplaceAll(sValue, kEscapedCrLf, kCrLf);
}

std::string ChangeCarSpec(std::string_view sValue, int16_t iType) {
  return ChangeCrLF(ChangeEgal(ChangeSepMarquage(sValue, iType), iType), iType);
}

std::string EnleveCar(std::string& Nombre, std::string_view Car, std::string_view CarReplace) {
  // Car is one character; replacing all occurrences in one pass gives the
  // same text as searching again from the start after each replacement, and
  // cannot loop when CarReplace contains Car.
  if (!Car.empty()) Nombre = ReplaceAll(Nombre, Car.substr(0, CharBytes(Car, 0)), CarReplace);
  return Nombre;
}

std::string EnlèveSéparateurs(std::string_view Nombre) {
  // In place on one copy: the spaces, then the no-break spaces (which the
  // first removal may join), then the commas when there are points too.
  std::string s(Nombre);
  s.erase(std::remove(s.begin(), s.end(), ' '), s.end());
  if (s.find("\xC2\xA0") != std::string::npos) s = ReplaceAll(s, "\xC2\xA0", "");
  if (s.find('.') != std::string::npos && s.find(',') != std::string::npos) {
    s.erase(std::remove(s.begin(), s.end(), ','), s.end());
  }
  if (EstVirguleDecimale()) std::replace(s.begin(), s.end(), '.', ',');
  return s;
}

StringArray ReadSection(TextFile& fich, std::string_view cSection) {
  fich.Rewind();
  for (;;) {
    if (fich.AtEnd()) return {};
    if (std::string_view(fich.ReadLine()).substr(0, cSection.size()) == cSection) break;
  }
  StringArray lines(1);
  std::string line = fich.ReadLine();  // Error 62 when the header was the last line
  for (;;) {
    size_t bracket = line.find('[');
    if (bracket != std::string::npos && bracket < 3) break;
    lines.push_back(std::move(line));
    if (fich.AtEnd()) break;
    line = fich.ReadLine();
  }
  return lines;
}

std::string FindValue(const StringArray& cLignes, std::string_view cValue) {
  if (cLignes.empty()) return "0";  // undimensioned array: the bound look-up fails
  std::string key = Trim(cValue);
  size_t key_chars = CharLength(key);
  for (size_t i = 1; i < cLignes.size(); ++i) {
    const std::string& line = cLignes[i];
    if (EqualsIgnoreCase(Left(Trim(line), static_cast<long>(key_chars)), key)) {
      size_t eq = line.find('=');
      return eq == std::string::npos ? std::string() : line.substr(eq + 1);
    }
  }
  return "";
}

bool EstVirguleDecimale() {
  // The text of 0.15 depends on the locale's decimal separator alone, and
  // readers ask for every number: the answer is kept for the last separator.
  const Locale& locale = CurrentPlatform().locale();
  thread_local std::string separator;
  thread_local bool known = false;
  thread_local bool comma = false;
  if (!known || separator != locale.decimal_separator) {
    comma = DoubleToText(0.15, locale).find(',') != std::string::npos;
    separator = locale.decimal_separator;
    known = true;
  }
  return comma;
}

std::string NombreVersLocal(std::string_view s) {
  return EstVirguleDecimale() ? ReplaceAll(s, ".", ",") : ReplaceAll(s, ",", ".");
}

std::string NombreVersFichier(std::string_view s) {
  if (!EstVirguleDecimale() && s.find('.') != std::string_view::npos) return ReplaceAll(s, ".", ",");
  return std::string(s);
}

std::string RemplacerSi(std::string_view s, std::string_view find, std::string_view repl, bool flag) {
  if (flag && !find.empty() && s.find(find) != std::string_view::npos) return ReplaceAll(s, find, repl);
  return std::string(s);
}

}  // namespace mandor
