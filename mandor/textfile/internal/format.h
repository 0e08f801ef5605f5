// The layout of the text marking files, as data: file extensions, section
// headers, keys, record column counts and column positions, the text forms
// of a source document's separator and of booleans, and the small helpers
// that build numbered keys, page section headers and generated identifiers.
//
// Two layouts share these names: the extended one (".xnf", the current
// layout, read tolerantly section by section) and the standard one (".cnf",
// the older layout, read strictly line by line). The reader
// (textfile/reader.cpp) and the writer (textfile/writer.cpp) both take every
// name and count from here, so that what one writes the other reads.
//
// Constants are plain character arrays so that they concatenate with
// std::string ("Section " + std::string(kSectionCalage)) and compare with it.
//
// Threading: the constants may be read from any thread. The helpers hold no
// state of their own but read the current platform's locale, so they follow
// the platform's single-threaded contract.
#ifndef MANDOR_TEXTFILE_INTERNAL_FORMAT_H_
#define MANDOR_TEXTFILE_INTERNAL_FORMAT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mandor::textfile {

// --- file names (appended to Répertoire_Document + Nom_Document) ---
inline constexpr char kExtendedExtension[] = ".xnf";  // extended layout
inline constexpr char kStandardExtension[] = ".cnf";  // standard layout
inline constexpr char kBackupExtension[] = ".xak";    // previous ".xnf"
inline constexpr char kDataExtension[] = ".txt";      // empty data file

// --- section headers, in file order ---
inline constexpr char kSectionCalage[] = "[Calage]";
inline constexpr char kSectionPresentation[] = "[Présentation]";
inline constexpr char kSectionConstantes[] = "[Constantes]";
inline constexpr char kSectionSource[] = "[Source]";
inline constexpr char kSectionChampsRecurrents[] = "[Champs Récurrents]";  // extended only
inline constexpr char kSectionReglesVerticales[] = "[Règles verticales]";
inline constexpr char kSectionPages[] = "[Pages]";
// "[Page " + n + "]" is built by PageSectionHeader.
inline constexpr char kPageSectionPrefix[] = "[Page ";
inline constexpr char kPageSectionSuffix[] = "]";

// --- [Calage] ---
inline constexpr char kKeyType[] = "Type";
inline constexpr char kKeyOrientation[] = "Orientation";
inline constexpr char kKeyVersion[] = "Version";  // extended only, never read
inline constexpr int kCalageVersion = 2;          // the value written for "Version"
// Type_calage = 2: two reference points.
inline constexpr int kCalageTwoPoints = 2;
inline constexpr char kKeyX1Pixel[] = "X1_pixel";
inline constexpr char kKeyY1Pixel[] = "Y1_pixel";
inline constexpr char kKeyX1Cm[] = "X1_cm";
inline constexpr char kKeyY1Cm[] = "Y1_cm";
inline constexpr char kKeyX2Pixel[] = "X2_pixel";
inline constexpr char kKeyY2Pixel[] = "Y2_pixel";
inline constexpr char kKeyX2Cm[] = "X2_cm";
inline constexpr char kKeyY2Cm[] = "Y2_cm";
// Type_calage = 1: sheet size and image origin.
inline constexpr int kCalageSheet = 1;
inline constexpr char kKeyLargeurCm[] = "largeur_cm";
inline constexpr char kKeyHauteurCm[] = "hauteur_cm";
inline constexpr char kKeyOrigineXCm[] = "origineX_cm";
inline constexpr char kKeyOrigineYCm[] = "origineY_cm";
inline constexpr char kKeyFondGris[] = "FondGris";  // extended only, last key
// The orientations the standard reader accepts: 0 (not set, as in a new
// document), 1 portrait, 2 landscape.
inline constexpr int16_t kOrientationUnset = 0;
inline constexpr int16_t kOrientationPortrait = 1;
inline constexpr int16_t kOrientationLandscape = 2;
bool IsKnownOrientation(int16_t orientation);

// --- [Présentation] ---
inline constexpr char kKeyFonte[] = "Fonte";
inline constexpr char kKeyPoints[] = "Points";
inline constexpr char kKeyGras[] = "Gras";          // extended only
inline constexpr char kKeySouligne[] = "Souligne";  // extended only
inline constexpr char kKeyItalique[] = "Italique";  // extended only
inline constexpr char kKeyBarre[] = "Barre";        // extended only
// Extended: the font colour. Standard: the currency index iDevise.
inline constexpr char kKeyCouleur[] = "Couleur";
inline constexpr char kKeyCouleurFond[] = "CouleurFond";  // extended only
inline constexpr char kKeyDefDevise[] = "DefDevise";      // extended only
inline constexpr char kKeyChampLargeurCm[] = "champ_largeur_cm";
inline constexpr char kKeyTypeDocument[] = "Type_document";

// --- [Constantes] ---
inline constexpr char kKeyTVA[] = "TVA";

// --- [Source] ---
inline constexpr char kKeyNombre[] = "Nombre";  // also [Règles verticales] and [Pages]
inline constexpr char kKeyDocumentPrefix[] = "Document_";
inline constexpr char kKeySeparateurPrefix[] = "Séparateur_";
inline constexpr char kSeparatorTabText[] = "TAB";          // a TAB separator
inline constexpr char kSeparatorUnknownText[] = "inconnu";  // leaves Séparateur unset
inline constexpr char kMdnSuffixUpper[] = ".MDN";
inline constexpr char kMdnSuffixLower[] = ".mdn";
// The extended reader makes one source record per number up to "Nombre",
// present or not, but never more than this many: a claimed count of two
// billion costs nothing.
inline constexpr long long kMaxSourceRecords = 1024;

// --- [Champs Récurrents] ---
inline constexpr char kKeyNombreChampsRecurrents[] = "Nombre_ChampsRecurrents";
inline constexpr char kKeyRecurrentPrefix[] = "R";

// --- [Règles verticales]: "Nombre", then one line per ruler keyed by the bare number.
inline constexpr char kKeyVerticalRulerPrefix[] = "";

// --- [Page n] ---
inline constexpr char kKeyNombreReglesH[] = "Nombre_règles_h";
inline constexpr char kKeyRulerPrefix[] = "r";
inline constexpr char kKeyImage[] = "Image";  // extended only
inline constexpr char kKeyNombreChamps[] = "Nombre_champs";
inline constexpr char kKeyFieldPrefix[] = "c";

// The extended reader looks these keys up in the spellings of the older
// readers. Keys are found without regard to case, so each names the same
// line as the key the writer writes (kKeyNombre, kKeyNombreReglesH,
// kKeyNombreChamps, kKeyFieldPrefix).
inline constexpr char kLookupNombre[] = "nombre";
inline constexpr char kLookupNombreReglesH[] = "nombre_règles_h";
inline constexpr char kLookupNombreChamps[] = "nombre_champs";
inline constexpr char kLookupFieldPrefix[] = "C";

// Key of a page in Mandor::Pages, and its CPage::Id: "page_" + n.
inline constexpr char kPageKeyPrefix[] = "page_";

// --- records ---
inline constexpr char kRecordSeparator[] = "|";
inline constexpr char kKeyValueSeparator[] = "=";

// The columns of the records are described in records.h.

// The formula column is escaped with ChangeCarSpec (type 1 on writing, 2 on
// reading) only for fields of this type hanging with this vertical type.
inline constexpr int16_t kEscapedFormulaTypeChamp = 3;
inline constexpr int16_t kEscapedFormulaAccrochageVType = 5;
inline constexpr int16_t kUnescapeType = 2;
inline constexpr int16_t kEscapeType = 1;

// The text that marks a quantity field in its Nom (case-sensitive).
inline constexpr char kQuantityMarker[] = "Qté";

// Formats of generated identifiers.
inline constexpr char kIdLineFormat[] = "00000";
inline constexpr char kIdPageFormat[] = "000";

// --- helpers ---

// prefix followed by n in decimal without leading zeros: ("c", 3) gives "c3",
// ("Document_", 12) gives "Document_12", ("", 7) gives "7".
std::string NumberedKey(std::string_view prefix, long long n);

// "[Page " + n + "]".
std::string PageSectionHeader(long long n);

// "page_" + n: the key of page n in Mandor::Pages and the page's Id.
std::string PageKey(long long n);


// Identifier given to a ruler without one: its line number formatted "00000".
std::string GeneratedRulerId(long long line);

// Identifier given to a field without one: page formatted "000", "_", line
// formatted "00000" ("001_00004").
std::string GeneratedFieldId(long long page, long long line);

// Text form of a Doc's Séparateur: a TAB is written "TAB", anything else
// (";", ",", "") as it stands.
std::string SeparatorToText(std::string_view separator);

// Séparateur read back from its text form: "TAB" gives a TAB; "inconnu"
// gives nothing (the separator is left unset); anything else its first
// character ("" for an empty text). The comparisons are exact.
std::optional<std::string> SeparatorFromText(std::string_view text);

// True when file_name ends with ".MDN" or ".mdn" (compared exactly).
bool IsMdnFileName(std::string_view file_name);

// Code B01: "1" or "0".
std::string Bool01Text(bool value);

// Reads a boolean written with code B (or B01): the current locale's texts,
// "True"/"False", "Vrai"/"Faux" (any case), or a number (0 false, any other
// value true, in either decimal separator). Nothing when the text is none of
// these (a blank text included).
std::optional<bool> ParseBoolText(std::string_view text);

// Code P: the current locale's default text of a float (its own separator).
std::string PixelText(float value);

// Code C: the locale's default text of a float with its decimal point, if
// any, turned into a comma: 21,5 in every locale.
std::string CentimetreText(float value);

// A number read from a marking file: its decimal separator brought to the
// current locale's (NombreVersLocal), then converted in the locale's rules.
// Error 13 when the text is not numeric (a blank text included), Error 6
// when it is too large.
double ParseFileNumber(std::string_view text);

}  // namespace mandor::textfile

#endif  // MANDOR_TEXTFILE_INTERNAL_FORMAT_H_
