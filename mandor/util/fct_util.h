// The string and number routines of the text marking format: splitting
// record lines, escaping the characters the format reserves ("|", "=" and
// line ends), reading a section and a key of a marking file, cleaning typed
// numbers, and moving decimal separators between the marking files (always a
// decimal comma) and the current locale.
//
// String arrays follow the classic layout the readers rely on: element 0 is
// never filled and the upper bound (size() - 1) is the number of parts. An
// empty vector is an undimensioned array.
//
// The Mandor methods of the same names forward here.
//
// Threading: single-threaded, as the whole model is; nothing locks.
// EstVirguleDecimale keeps its answer for the last decimal separator it saw
// in thread_local variables, since readers ask for it for every number: each
// thread keeps its own, so that a second thread can never read a half-written
// cache.
#ifndef MANDOR_UTIL_FCT_UTIL_H_
#define MANDOR_UTIL_FCT_UTIL_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mandor/util/platform.h"

namespace mandor {

using StringArray = std::vector<std::string>;

// Splits chaîne on the one-character Séparateur, trimming every part.
// "a = b" gives {"", "a", "b"}; "a=" gives {"", "a", ""}; "" gives {""}.
void DécomposerChaîne(std::string_view chaîne, StringArray& Paramètres, std::string_view Séparateur);

// Appends the characters of cString to Parametres(1..n) (n = the caller's
// upper bound), moving to the next slot at each cSep but never beyond n: the
// text after the last slot's separator runs on into it. Returns true when a
// separator was seen. Error 9 when text must go to a slot that does not exist.
bool SeparateString(std::string_view cString, StringArray& Parametres, std::string_view cSep);

// Escaping of reserved characters: iType 1 escapes (writing), any other value
// unescapes (reading). "|" <-> U+007F, "=" <-> "#", CR LF <-> U+00FF U+00FF.
// "#" is not escaped, so a "#" typed by a user reads back as "=".
std::string ChangeSepMarquage(std::string_view sValue, int16_t iType = 0);
std::string ChangeEgal(std::string_view sValue, int16_t iType = 0);
std::string ChangeCrLF(std::string_view sValue, int16_t iType = 0);
std::string ChangeCarSpec(std::string_view sValue, int16_t iType = 0);

// Replaces every occurrence of the character Car in Nombre by CarReplace,
// in place; returns the new text.
std::string EnleveCar(std::string& Nombre, std::string_view Car, std::string_view CarReplace = {});

// Cleans a number typed or read as text: drops spaces and no-break spaces,
// drops "," when both "." and "," occur, and turns "." into "," in a comma locale.
std::string EnlèveSéparateurs(std::string_view Nombre);

// Reads the lines of section cSection (a header such as "[Calage]", matched
// as a prefix) of an open file: elements 1..n, untrimmed, up to the next line
// holding "[" in its first three characters. An empty vector when the header
// is absent. Error 62 when the header is the file's last line.
StringArray ReadSection(TextFile& fich, std::string_view cSection);

// The text after the first "=" of the first line (1..n) whose trimmed text
// starts with the trimmed key, compared without regard to case; "" when no
// line matches, "0" when cLignes is undimensioned.
std::string FindValue(const StringArray& cLignes, std::string_view cValue);

// True when the current locale writes numbers with a decimal comma.
bool EstVirguleDecimale();
// s with its decimal separator turned into the current locale's.
std::string NombreVersLocal(std::string_view s);
// s with its points turned into commas when the locale uses a point.
std::string NombreVersFichier(std::string_view s);
// s with every find replaced by repl, when flag is true and s contains find.
std::string RemplacerSi(std::string_view s, std::string_view find, std::string_view repl, bool flag);

}  // namespace mandor

#endif  // MANDOR_UTIL_FCT_UTIL_H_
