// Restoring a document's marking from its text marking file.
//
// The extended layout (".xnf") is read section by section: each section is
// looked up by name, keys are found without regard to case, and record lines
// that are missing or do not have the right number of columns are skipped.
// The standard layout (".cnf") is read strictly line by line, in the order it
// was written; anything out of place is reported to the user and ends the
// read with a false result.
//
// Counts in the files are never trusted: loops over numbered lines visit only
// the numbers that some line of the section can answer to, and the page loop
// stops at the first page section that is not there, so a huge count costs
// nothing.

#include <algorithm>
#include <cstdint>
#include <exception>
#include <limits>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mandor/fields/champ.h"
#include "mandor/model/internal/reading_order.h"
#include "mandor/model/mandor.h"
#include "mandor/model/marquage.h"
#include "mandor/textfile/internal/format.h"
#include "mandor/textfile/internal/records.h"
#include "mandor/util/error.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/internal/text.h"
#include "mandor/util/platform.h"

namespace mandor {

namespace tf = textfile;

namespace {

constexpr char kExErrorPrefix[] = "ERREUR dans RestaurerMarquageEx: ";
constexpr char kStdErrorPrefix[] = "ERREUR dans RestaurerMarquageStd: ";
constexpr char kMissingSectionPrefix[] = "Section ";
constexpr char kMissingSectionSuffix[] = " absente du fichier ";

// The document as a shared pointer, for the back-links of the objects the
// reader creates. Error 5 when the document is not held by a shared_ptr.
std::shared_ptr<Mandor> SelfOf(Mandor& doc) {
  std::shared_ptr<Mandor> self = doc.weak_from_this().lock();
  if (!self) ThrowError(kInvalidArgument, "The document is not held by a shared_ptr");
  return self;
}

using tf::IsBlank;

// Conversions of values read from a file, by their code. A blank value
// leaves the target unchanged; any other value that does not convert raises
// Error 13 (or 6 when it is out of range), which ends the read.
int16_t ToInt16Value(std::string_view text) { return static_cast<int16_t>(tf::ParseValue(tf::Code::kInt, text)); }
int32_t ToInt32Value(std::string_view text) { return static_cast<int32_t>(tf::ParseValue(tf::Code::kLong, text)); }
float ToSingleValue(std::string_view text) { return static_cast<float>(tf::ParseValue(tf::Code::kPixel, text)); }
bool ToBoolValue(std::string_view text) { return tf::ParseValue(tf::Code::kBool, text) != 0; }

template <class Set>
void ApplyInt16(std::string_view text, Set set) {
  if (!IsBlank(text)) set(ToInt16Value(text));
}
template <class Set>
void ApplyInt32(std::string_view text, Set set) {
  if (!IsBlank(text)) set(ToInt32Value(text));
}
template <class Set>
void ApplySingle(std::string_view text, Set set) {
  if (!IsBlank(text)) set(ToSingleValue(text));
}
template <class Set>
void ApplyBool(std::string_view text, Set set) {
  if (!IsBlank(text)) set(ToBoolValue(text));
}

// The count held by a key: 0 when blank.
long long CountOf(std::string_view text) { return IsBlank(text) ? 0 : ToInt32Value(text); }

// For every i in 1..limit, the value FindValue(lines, prefix + i) gives when
// a line answers to that key, built in one pass over the lines. A line
// answers to the key prefix + i when its trimmed text starts with it
// (without regard to case), so "c12=" answers to c1 and c12; the first such
// line wins. Only the numbers written at the start of some line can appear,
// whatever the limit.
bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Numbers in increasing order with their values: views into the section's lines.
using NumberedLines = std::vector<std::pair<long long, std::string_view>>;

NumberedLines NumberedValues(const StringArray& lines, std::string_view prefix, long long limit) {
  // The first line of each number: numbers up to the count of lines (nearly
  // all of them) in an array, the others in a map; every array number is
  // smaller than every map number.
  constexpr size_t kNone = std::numeric_limits<size_t>::max();
  const long long dense_limit = std::clamp<long long>(limit, 0, static_cast<long long>(lines.size()));
  std::vector<size_t> first_dense(static_cast<size_t>(dense_limit) + 1, kNone);
  std::map<long long, size_t> first_sparse;
  const std::string folded_prefix = FoldCase(prefix);
  const long prefix_chars = static_cast<long>(CharLength(prefix));
  const bool ascii_prefix = IsAscii(folded_prefix);
  for (size_t j = 1; j < lines.size(); ++j) {
    const std::string_view text = TrimView(lines[j]);
    size_t head_size = folded_prefix.size();
    if (ascii_prefix && IsAscii(text.substr(0, head_size))) {
      // Without other characters the head is the prefix's bytes, compared as they fold.
      if (text.size() < head_size || !EqualsIgnoreCase(text.substr(0, head_size), folded_prefix)) continue;
    } else {
      const std::string head = Left(text, prefix_chars);
      if (FoldCase(head) != folded_prefix) continue;
      head_size = head.size();
    }
    const std::string_view rest = text.substr(head_size);
    if (rest.empty() || rest[0] < '1' || rest[0] > '9') continue;  // numbers have no leading zero
    long long value = 0;
    for (size_t k = 0; k < rest.size() && k < 18 && rest[k] >= '0' && rest[k] <= '9'; ++k) {
      value = value * 10 + (rest[k] - '0');
      if (value > limit) break;
      if (static_cast<unsigned long long>(value) < first_dense.size()) {
        if (first_dense[static_cast<size_t>(value)] == kNone) first_dense[static_cast<size_t>(value)] = j;
      } else {
        first_sparse.emplace(value, j);
      }
    }
  }
  NumberedLines values;
  values.reserve(first_sparse.size() + static_cast<size_t>(dense_limit));
  auto add = [&](long long number, size_t j) {
    const std::string_view line = lines[j];
    const size_t eq = line.find('=');
    values.emplace_back(number, eq == std::string_view::npos ? std::string_view() : line.substr(eq + 1));
  };
  for (size_t number = 1; number < first_dense.size(); ++number) {
    if (first_dense[number] != kNone) add(static_cast<long long>(number), first_dense[number]);
  }
  for (const auto& [number, j] : first_sparse) add(number, j);
  return values;
}

template <class Map>
std::string ValueOf(const Map& values, long long number) {
  auto it = values.find(number);
  return it == values.end() ? std::string() : std::string(it->second);
}

std::string ValueOf(const NumberedLines& values, long long number) {
  auto it = std::lower_bound(values.begin(), values.end(), number,
                             [](const auto& entry, long long n) { return entry.first < n; });
  return it == values.end() || it->first != number ? std::string() : std::string(it->second);
}

using tf::RecordColumns;

// Splits a record into exactly `columns` columns (cols[1..columns]); false,
// without splitting, when the value holds another number of columns. The
// record is cut at each separator in one pass, as SeparateString cuts it
// (the separator is ASCII, never part of a longer character), without copying
// the columns.
bool SplitRecord(std::string_view value, size_t columns, RecordColumns& cols) {
  static_assert(sizeof(tf::kRecordSeparator) == 2 && static_cast<unsigned char>(tf::kRecordSeparator[0]) < 0x80);
  const char separator = tf::kRecordSeparator[0];
  const size_t count = columns;
  cols.resize(count + 1);
  std::string_view* col = cols.data() + 1;
  std::string_view* const last = cols.data() + count;
  const char* start = value.data();
  const char* const end = start + value.size();
  // Cuts the record at the separator at p; false when there are too many columns.
  auto cut = [&](const char* p) {
    if (col == last) return false;
    *col++ = std::string_view(start, static_cast<size_t>(p - start));
    start = p + 1;
    return true;
  };
  for (const char* p = start; p != end; ++p) {
    if (*p == separator && !cut(p)) return false;
  }
  if (col != last) return false;  // too few columns
  *col = std::string_view(start, static_cast<size_t>(end - start));
  cols[0] = std::string_view();
  return true;
}

// The number of columns a record holds, for the messages of the standard reader.
long long ColumnCount(std::string_view value) {
  return std::count(value.begin(), value.end(), tf::kRecordSeparator[0]) + 1;
}

// A number as the standard reader's messages show it (picture "###").
std::string MessageNumber(long long n) {
  return FormatNumber(static_cast<double>(n), "###", CurrentPlatform().locale());
}

// A value text with its separators removed and formatted with the field's
// display picture; a text that is not a number stays as it is.
std::string FormattedValue(const Mandor& doc, const std::shared_ptr<CChamp>& field, std::string_view text) {
  const std::string cleaned = doc.EnlèveSéparateurs(text);
  const Locale& locale = CurrentPlatform().locale();
  const std::optional<double> number = ParseNumber(cleaned, locale);
  if (!number) return cleaned;
  return FormatNumber(*number, FormatNombre(*field), locale);
}

// A new field of the document, its font inheriting from the document's.
std::shared_ptr<CChamp> NewField(const std::shared_ptr<Mandor>& doc) {
  auto field = std::make_shared<CChamp>();
  field->oOwnerMandor(doc);
  field->SetFontPropertiesFromFontClass(field->Font());
  return field;
}

// A new ruler of the document, filled from a record of either layout.
std::shared_ptr<CRegle> RulerFromRecord(const std::shared_ptr<Mandor>& doc, tf::Record<CRegle> record,
                                        const RecordColumns& cols) {
  auto ruler = std::make_shared<CRegle>();
  ruler->oOwnerMandor(doc);
  tf::ApplyRecord(record, *ruler, cols);
  return ruler;
}

// The objects of the extended layout are marked as of the current version.
template <class Object>
void MarkNewVersion(Object& object) {
  bool new_version = true;
  object.ToggleVersion(new_version);
}

// Builds Docs from the numbered source lines and takes FichierMDN from them.
// Shared by both layouts: `files` and `separators` map a source's number to
// its "Document_" and "Séparateur_" values.
template <class Map>
void SetSources(Mandor& doc, long long count, const Map& files, const Map& separators) {
  for (long long i = 1; i <= count; ++i) {
    auto source = std::make_shared<Doc>();
    source->Fichier = ValueOf(files, i);
    if (std::optional<std::string> separator = tf::SeparatorFromText(ValueOf(separators, i))) {
      source->Séparateur = *separator;
    }
    doc.Docs.Add(source);
  }
  doc.FichierMDN.clear();
  for (const auto& source : doc.Docs) {
    if (tf::IsMdnFileName(source->Fichier)) doc.FichierMDN = source->Fichier;
  }
}

// Default currency from "DefDevise": an index, or a code looked up in the
// catalogue's currency table (the code alone when the table lacks it).
void SetDefaultCurrency(Mandor& doc, const std::string& text) {
  if (IsBlank(text)) return;
  if (IsNumericText(NombreVersLocal(text), CurrentPlatform().locale())) {
    doc.iDevise(ToInt16Value(text));
    return;
  }
  if (auto catalogue = doc.oOwnerMarquage(); catalogue && catalogue->oDevises) {
    const int16_t position = catalogue->oDevises->FindPos(text);
    if (position < catalogue->oDevises->Count()) {
      doc.iDevise(position);
      return;
    }
  }
  doc.Devise(text);
}

// Registers the recurrent fields as masters in the document's Champs and the
// page fields that refer to one of them in champsContenantReference, so that
// a change of formula settings travels between a master and its copies.
void LinkRecurrentFields(Mandor& doc) {
  for (const auto& master : doc.ChampsRecurrents) {
    const std::string name = master->Nom();
    if (!name.empty() && !doc.Champs.Contains(name)) doc.Champs.Add(master, name);
  }
  if (doc.ChampsRecurrents.Count() == 0) return;
  for (const auto& page : doc.Pages) {
    for (const auto& field : page->Champs) {
      const std::string ref = field->ChampRecurrentDeRef();
      if (ref.empty() || !doc.ChampsRecurrents.Contains(ref)) continue;
      // Copies on several pages may share a name: only the first takes the key.
      const std::string name = field->Nom();
      doc.champsContenantReference.Add(field, doc.champsContenantReference.Contains(name) ? "" : name);
    }
  }
}

// Every line of an open file, read from its start.
std::vector<std::string> AllLines(TextFile& file) {
  file.Rewind();
  return file.ReadRemainingLines();
}

// For each page number, the first line that starts with its section header
// "[Page n]" (what ReadSection would find), in one pass over the file.
std::map<long long, size_t> PageHeaderLines(const std::vector<std::string>& lines) {
  const std::string_view prefix = tf::kPageSectionPrefix;
  std::map<long long, size_t> found;
  for (size_t j = 0; j < lines.size(); ++j) {
    std::string_view line = lines[j];
    if (line.substr(0, prefix.size()) != prefix) continue;
    line.remove_prefix(prefix.size());
    size_t k = 0;
    long long value = 0;
    while (k < line.size() && k < 18 && line[k] >= '0' && line[k] <= '9') value = value * 10 + (line[k++] - '0');
    if (k == 0 || line[0] == '0' || k >= line.size() || line[k] != tf::kPageSectionSuffix[0]) continue;
    found.emplace(value, j);
  }
  return found;
}

// The lines of the section whose header is lines[header], as ReadSection
// returns them: up to the next header line. Error 62 when the header is the
// last line. The lines are moved out of `lines`: sections do not overlap, and
// each is taken once.
StringArray SectionAfter(std::vector<std::string>& lines, size_t header) {
  if (header + 1 >= lines.size()) ThrowError(kInputPastEndOfFile);
  StringArray section(1);
  for (size_t j = header + 1; j < lines.size(); ++j) {
    const size_t bracket = lines[j].find('[');
    if (bracket != std::string::npos && bracket < 3) break;
    section.push_back(std::move(lines[j]));
  }
  return section;
}

// Inserts a field of the page being read where InsérerChamp would put it,
// through the page's reading-order index (the page's fields are filled only
// here, so the index knows every one of them).
void InsertInReadingOrder(const Mandor& doc, Collection<CChamp>& champs, ReadingOrder& order,
                          const std::shared_ptr<CChamp>& field) {
  if (order.Count() != champs.Count()) {
    doc.InsérerChamp(champs, field);
    return;
  }
  const float bottom = field->Position_pixel_Bottom;
  const float right = field->Position_pixel_Right;
  const long position = order.InsertionPoint(bottom, right);
  if (position > champs.Count()) {
    champs.Add(field, field->Nom());
  } else {
    champs.AddBefore(field, field->Nom(), position);
  }
  order.Insert(position, bottom, right);
}

// A message of the standard reader that ends the read.
struct StdReadFailure {
  std::string message;
};

}  // namespace

// --- choice of the layout ---

bool Mandor::RestaurerMarquage() {
  const std::string base = Répertoire_Document + Nom_Document();
  Platform& platform = CurrentPlatform();
  if (platform.FileExists(base + tf::kExtendedExtension)) return RestaurerMarquageEx() != 0;
  if (platform.FileExists(base + tf::kStandardExtension)) return RestaurerMarquageStd();
  return false;
}

// --- extended layout ---

int16_t Mandor::RestaurerMarquageEx() {
  const std::string path = Répertoire_Document + Nom_Document() + tf::kExtendedExtension;
  std::unique_ptr<TextFile> file;
  try {
    file = CurrentPlatform().OpenTextFile(path, OpenMode::kInput);
    MarquageRAZ();

    // Reads a section; a mandatory one that is missing ends the read.
    auto section = [&](const char* header, bool mandatory, StringArray& lines) {
      lines = ReadSection(*file, header);
      if (lines.empty() && mandatory) {
        CloseFileError(file.get(), kMissingSectionPrefix + std::string(header) + kMissingSectionSuffix + path);
        return false;
      }
      return !lines.empty();
    };

    StringArray lines;
    if (!section(tf::kSectionCalage, true, lines)) return 0;
    ExtractCalage(lines);
    if (!section(tf::kSectionPresentation, true, lines)) return 0;
    ExtractPresentation(lines);
    if (!section(tf::kSectionConstantes, true, lines)) return 0;
    ExtractConstante(lines);
    if (!section(tf::kSectionSource, true, lines)) return 0;
    ExtractSource(lines);
    if (section(tf::kSectionChampsRecurrents, false, lines)) ExtractChampsRecurrents(lines);
    if (!section(tf::kSectionReglesVerticales, true, lines)) return 0;
    ExtractRegles_V(lines);
    if (!section(tf::kSectionPages, true, lines)) return 0;
    if (!ExtractPages(lines, *file)) return 0;
    file->Close();
    return -1;
  } catch (const std::exception& e) {
    CurrentPlatform().Message(kExErrorPrefix + std::string(e.what()), kDefaultMessageTitle,
                              MessageStyle::kCritical);
    return 0;
  }
}

void Mandor::ExtractCalage(StringArray& cLignes) {
  auto value = [&](const char* key) { return FindValue(cLignes, key); };
  ApplyInt16(value(tf::kKeyType), [&](int16_t v) { Type_calage = v; });
  ApplyInt16(value(tf::kKeyOrientation), [&](int16_t v) { Orientation = v; });
  const std::pair<const char*, float Mandor::*> coordinates[] = {
      {tf::kKeyX1Pixel, &Mandor::X1_pixel},           {tf::kKeyY1Pixel, &Mandor::Y1_pixel},
      {tf::kKeyX1Cm, &Mandor::X1_cm},                 {tf::kKeyY1Cm, &Mandor::Y1_cm},
      {tf::kKeyX2Pixel, &Mandor::X2_pixel},           {tf::kKeyY2Pixel, &Mandor::Y2_pixel},
      {tf::kKeyX2Cm, &Mandor::X2_cm},                 {tf::kKeyY2Cm, &Mandor::Y2_cm},
      {tf::kKeyLargeurCm, &Mandor::feuille_cm_largeur}, {tf::kKeyHauteurCm, &Mandor::feuille_cm_hauteur},
      {tf::kKeyOrigineXCm, &Mandor::image_OrigineX_cm}, {tf::kKeyOrigineYCm, &Mandor::image_OrigineY_cm},
  };
  for (const auto& coordinate : coordinates) {
    float Mandor::*member = coordinate.second;
    ApplySingle(value(coordinate.first), [&](float v) { this->*member = v; });
  }
  ApplyBool(value(tf::kKeyFondGris), [&](bool v) { bFondGrise = v; });
}

void Mandor::ExtractPresentation(StringArray& cLignes) {
  auto value = [&](const char* key) { return FindValue(cLignes, key); };
  std::shared_ptr<CFont> font = Font();
  font->Name(value(tf::kKeyFonte));
  ApplyInt16(value(tf::kKeyPoints), [&](int16_t v) { font->Size(v); });
  ApplyInt32(value(tf::kKeyCouleur), [&](int32_t v) { font->Color(v); });
  ApplyBool(value(tf::kKeyGras), [&](bool v) { font->Bold(v); });
  ApplyBool(value(tf::kKeyItalique), [&](bool v) { font->Italic(v); });
  ApplyBool(value(tf::kKeyBarre), [&](bool v) { font->StrikeThrough(v); });
  ApplyBool(value(tf::kKeySouligne), [&](bool v) { font->Underline(v); });
  ApplyInt32(value(tf::kKeyCouleurFond), [&](int32_t v) { font->BackColor(v); });
  SetDefaultCurrency(*this, value(tf::kKeyDefDevise));
  ApplySingle(value(tf::kKeyChampLargeurCm), [&](float v) { champ_largeur_cm = v; });
  Type_Document = value(tf::kKeyTypeDocument);
}

void Mandor::ExtractConstante(StringArray& cLignes) {
  ApplySingle(FindValue(cLignes, tf::kKeyTVA), [&](float v) { TVA = v; });
}

void Mandor::ExtractSource(StringArray& cLignes) {
  // One record per number up to "Nombre", whether or not its lines are
  // present (a missing one has an empty file name); a claimed count beyond
  // any real marking stops at kMaxSourceRecords, so that it costs nothing.
  const long long count = std::min(CountOf(FindValue(cLignes, tf::kKeyNombre)), tf::kMaxSourceRecords);
  SetSources(*this, count, NumberedValues(cLignes, tf::kKeyDocumentPrefix, count),
             NumberedValues(cLignes, tf::kKeySeparateurPrefix, count));
}

void Mandor::ExtractChampsRecurrents(StringArray& cLignes) {
  auto self = SelfOf(*this);
  const long long count = CountOf(FindValue(cLignes, tf::kKeyNombreChampsRecurrents));
  const tf::Record<CChamp> record = tf::RecurrentRecord();
  RecordColumns cols;
  for (const auto& [i, value] : NumberedValues(cLignes, tf::kKeyRecurrentPrefix, count)) {
    if (!SplitRecord(value, record.size(), cols)) continue;
    auto field = NewField(self);
    MarkNewVersion(*field);
    tf::ApplyRecord(record, *field, cols);
    field->NumChamp = ToInt16(static_cast<double>(i));
    field->InitialValue(FormattedValue(*this, field, cols[tf::kFieldValueColumn]));
    field->Recurrent(true);
    ChampsRecurrents.Add(field, field->Nom());
  }
}

void Mandor::ExtractRegles_V(StringArray& cLignes) {
  auto self = SelfOf(*this);
  const long long count = CountOf(FindValue(cLignes, tf::kLookupNombre));
  const tf::Record<CRegle> record = tf::RulerRecord();
  RecordColumns cols;
  for (const auto& [i, value] : NumberedValues(cLignes, tf::kKeyVerticalRulerPrefix, count)) {
    if (!SplitRecord(value, record.size(), cols)) continue;
    auto ruler = RulerFromRecord(self, record, cols);
    MarkNewVersion(*ruler);
    Regles_V.Add(ruler, ruler->Nom);
  }
}

bool Mandor::ExtractPages(StringArray& cLignes, TextFile& fich) {
  const long long count = CountOf(FindValue(cLignes, tf::kLookupNombre));
  if (count > 0) {
    std::vector<std::string> lines = AllLines(fich);
    const std::map<long long, size_t> headers = PageHeaderLines(lines);
    for (long long p = 1; p <= count; ++p) {
      auto header = headers.find(p);
      if (header == headers.end()) {
        // This message carries no file name.
        CloseFileError(&fich, kMissingSectionPrefix + tf::PageSectionHeader(p) + kMissingSectionSuffix);
        return false;
      }
      StringArray page_lines = SectionAfter(lines, header->second);
      int16_t page = ToInt16(static_cast<double>(p));
      ExtractPage(page_lines, page);
    }
  }
  LinkRecurrentFields(*this);
  return true;
}

void Mandor::ExtractPage(StringArray& cLignes, int16_t& iPage) {
  auto self = SelfOf(*this);
  auto page = std::make_shared<CPage>();
  page->oOwnerMandor = self;
  page->Id = tf::PageKey(iPage);
  Pages.Add(page, page->Id);

  const long long ruler_count = CountOf(FindValue(cLignes, tf::kLookupNombreReglesH));
  const std::string image = FindValue(cLignes, tf::kKeyImage);
  if (!image.empty()) page->NoImage = Val(image) == 0;

  // Each ruler and field takes a line: the counts the section announces
  // cannot ask for more room than that.
  const auto room_for = [&](long long count) {
    return static_cast<size_t>(std::clamp<long long>(count, 0, static_cast<long long>(cLignes.size())));
  };
  page->Regles_H.Reserve(room_for(ruler_count));
  RecordColumns cols;
  const tf::Record<CRegle> ruler_record = tf::RulerRecord();
  for (const auto& [i, value] : NumberedValues(cLignes, tf::kKeyRulerPrefix, ruler_count)) {
    if (!SplitRecord(value, ruler_record.size(), cols)) continue;
    auto ruler = RulerFromRecord(self, ruler_record, cols);
    MarkNewVersion(*ruler);
    ruler->Page(page);
    page->Regles_H.Add(ruler, ruler->Nom);
  }

  const long long field_count = CountOf(FindValue(cLignes, tf::kLookupNombreChamps));
  page->Champs.Reserve(room_for(field_count));
  ReadingOrder order;
  const tf::Record<CChamp> field_record = tf::FieldRecord();
  for (const auto& [i, value] : NumberedValues(cLignes, tf::kLookupFieldPrefix, field_count)) {
    if (!SplitRecord(value, field_record.size(), cols)) continue;
    auto field = NewField(self);
    // The page first, so that Accrochage_H finds the page's rulers.
    field->oOwnerPage = page;
    field->Page = iPage;
    MarkNewVersion(*field);
    tf::ApplyRecord(field_record, *field, cols);
    field->NumChamp = ToInt16(static_cast<double>(i));
    // The value text tells the decimal separator of the document's data.
    const std::string_view value_text = cols[tf::kFieldValueColumn];
    if (value_text.find('.') != std::string::npos) {
      SepDecExt = ".";
    } else if (value_text.find(',') != std::string::npos) {
      SepDecExt = ",";
    }
    if (!value_text.empty()) field->InitialValue(FormattedValue(*this, field, value_text));
    InsertInReadingOrder(*this, page->Champs, order, field);
  }
}

// --- standard layout ---

bool Mandor::RestaurerMarquageStd() {
  const std::string path = Répertoire_Document + Nom_Document() + tf::kStandardExtension;
  std::unique_ptr<TextFile> file;
  try {
    file = CurrentPlatform().OpenTextFile(path, OpenMode::kInput);
    MarquageRAZ();
    auto self = SelfOf(*this);

    // The next line must be the section header; the message shows what was read instead.
    auto expect_header = [&](const std::string& header, const std::string& message) {
      const std::string line = file->ReadLine();
      if (Trim(line) != header) throw StdReadFailure{message + line};
    };
    auto expect_section = [&](const char* header) {
      expect_header(header, "ERREUR: attendu " + std::string(header) + ", lu: ");
    };
    auto read = [&](const std::string& key) { return LireValeurParamètre(*file, key); };

    // [Calage]
    expect_section(tf::kSectionCalage);
    ApplyInt16(read(tf::kKeyType), [&](int16_t v) { Type_calage = v; });
    const std::string orientation = read(tf::kKeyOrientation);
    if (!IsBlank(orientation)) {
      Orientation = ToInt16Value(orientation);
      if (!tf::IsKnownOrientation(Orientation)) {
        throw StdReadFailure{"ERREUR: orientation inconnue pour le document " + Nom_Document()};
      }
    }
    if (Type_calage == tf::kCalageTwoPoints) {
      ApplySingle(read(tf::kKeyX1Pixel), [&](float v) { X1_pixel = v; });
      ApplySingle(read(tf::kKeyY1Pixel), [&](float v) { Y1_pixel = v; });
      ApplySingle(read(tf::kKeyX1Cm), [&](float v) { X1_cm = v; });
      ApplySingle(read(tf::kKeyY1Cm), [&](float v) { Y1_cm = v; });
      ApplySingle(read(tf::kKeyX2Pixel), [&](float v) { X2_pixel = v; });
      ApplySingle(read(tf::kKeyY2Pixel), [&](float v) { Y2_pixel = v; });
      ApplySingle(read(tf::kKeyX2Cm), [&](float v) { X2_cm = v; });
      ApplySingle(read(tf::kKeyY2Cm), [&](float v) { Y2_cm = v; });
    } else if (Type_calage == tf::kCalageSheet) {
      ApplySingle(read(tf::kKeyLargeurCm), [&](float v) { feuille_cm_largeur = v; });
      ApplySingle(read(tf::kKeyHauteurCm), [&](float v) { feuille_cm_hauteur = v; });
      ApplySingle(read(tf::kKeyOrigineXCm), [&](float v) { image_OrigineX_cm = v; });
      ApplySingle(read(tf::kKeyOrigineYCm), [&](float v) { image_OrigineY_cm = v; });
    }

    // [Présentation]: "Couleur" holds the currency index in this layout.
    expect_section(tf::kSectionPresentation);
    FonteName_nombre(read(tf::kKeyFonte));
    ApplyInt16(read(tf::kKeyPoints), [&](int16_t v) { FonteSize_nombre(v); });
    ApplyInt16(read(tf::kKeyCouleur), [&](int16_t v) { iDevise(v); });
    ApplySingle(read(tf::kKeyChampLargeurCm), [&](float v) { champ_largeur_cm = v; });
    const std::string type_document = read(tf::kKeyTypeDocument);
    if (type_document != DOCUMENT_DETAIL() && type_document != DOCUMENT_PRIX() && type_document != DOCUMENT_AE()) {
      throw StdReadFailure{"ERREUR: type de document inconnu: " + type_document + "\n" +
                           "Nom du document: " + Nom_Document()};
    }
    Type_Document = type_document;

    // [Constantes]
    expect_section(tf::kSectionConstantes);
    ApplySingle(read(tf::kKeyTVA), [&](float v) { TVA = v; });

    // [Source]: a count beyond the end of the file stops there; the next
    // header then reports the truncation.
    expect_section(tf::kSectionSource);
    {
      const long long count = CountOf(read(tf::kKeyNombre));
      std::map<long long, std::string> files;
      std::map<long long, std::string> separators;
      long long read_count = 0;
      for (long long i = 1; i <= count && !file->AtEnd(); ++i) {
        files[i] = read(tf::NumberedKey(tf::kKeyDocumentPrefix, i));
        separators[i] = read(tf::NumberedKey(tf::kKeySeparateurPrefix, i));
        read_count = i;
      }
      SetSources(*this, read_count, files, separators);
    }

    // [Règles verticales]
    expect_section(tf::kSectionReglesVerticales);
    // The next numbered line, split into `cols` (views into `value`). A
    // missing line and a wrong number of columns end the read with these messages.
    std::string value;
    RecordColumns cols;
    auto read_record = [&](std::string_view record_name, const std::string& key, size_t columns,
                           const std::string& missing, const std::string& where) {
      value = read(key);
      if (value.empty()) throw StdReadFailure{missing};
      if (!SplitRecord(value, columns, cols)) {
        // The vertical rulers' message reads "paramètres au lieu de", the pages' "paramètres trouvés au lieu de".
        throw StdReadFailure{"ERREUR de format à la lecture du paramètre " + std::string(record_name) + where +
                             "\nValeur: " + value + "\n" + MessageNumber(ColumnCount(value)) + " paramètres" +
                             (record_name.empty() ? "" : " trouvés") + " au lieu de " +
                             MessageNumber(static_cast<long long>(columns)) + "\nFichier: " + path};
      }
    };
    const tf::Record<CRegle> vruler_record = tf::StdVerticalRulerRecord();
    const long long vruler_count = CountOf(read(tf::kKeyNombre));
    for (long long i = 1; i <= vruler_count; ++i) {
      read_record(tf::kKeyVerticalRulerPrefix, tf::NumberedKey(tf::kKeyVerticalRulerPrefix, i), vruler_record.size(),
                  "ERREUR: impossible de retrouver la règle verticale " + MessageNumber(i),
                  MessageNumber(i) + " de la section Règles verticales");
      auto ruler = RulerFromRecord(self, vruler_record, cols);
      Regles_V.Add(ruler, ruler->Nom);
    }

    // [Pages], then each [Page n]
    expect_section(tf::kSectionPages);
    const tf::Record<CRegle> ruler_record = tf::StdPageRulerRecord();
    const tf::Record<CChamp> field_record = tf::StdFieldRecord();
    const long long page_count = CountOf(read(tf::kKeyNombre));
    for (long long n = 1; n <= page_count; ++n) {
      expect_header(tf::PageSectionHeader(n), "ERREUR: attendu " + std::string(tf::kPageSectionPrefix) +
                                                  std::to_string(n) + " lu: ");
      auto page = std::make_shared<CPage>();
      page->oOwnerMandor = self;
      page->Id = tf::PageKey(n);
      Pages.Add(page, page->Id);
      const int16_t page_number = ToInt16(static_cast<double>(n));
      const std::string in_page = " de la page " + MessageNumber(n);

      const long long ruler_count = CountOf(read(tf::kKeyNombreReglesH));
      for (long long i = 1; i <= ruler_count; ++i) {
        read_record(tf::kKeyRulerPrefix, tf::NumberedKey(tf::kKeyRulerPrefix, i), ruler_record.size(),
                    "ERREUR: impossible de retrouver la règle horizontale " + MessageNumber(i) + " dans la page " +
                        MessageNumber(n),
                    MessageNumber(i) + in_page);
        auto ruler = RulerFromRecord(self, ruler_record, cols);
        ruler->Page(page);
        page->Regles_H.Add(ruler, ruler->Nom);
      }

      const long long field_count = CountOf(read(tf::kKeyNombreChamps));
      ReadingOrder order;
      for (long long i = 1; i <= field_count; ++i) {
        read_record(tf::kKeyFieldPrefix, tf::NumberedKey(tf::kKeyFieldPrefix, i), field_record.size(),
                    "ERREUR: impossible de retrouver le champ " + std::string(tf::kKeyFieldPrefix) + MessageNumber(i) +
                        " dans la page " + MessageNumber(n),
                    MessageNumber(i) + in_page);
        auto field = NewField(self);
        field->oOwnerPage = page;
        field->Page = page_number;
        tf::ApplyRecord(field_record, *field, cols);
        field->NumChamp = ToInt16(static_cast<double>(i));
        InsertInReadingOrder(*this, page->Champs, order, field);
      }
    }
    file->Close();
    return true;
  } catch (const StdReadFailure& failure) {
    CurrentPlatform().Message(failure.message, kDefaultMessageTitle, MessageStyle::kPlain);
    if (file) file->Close();
    return false;
  } catch (const std::exception& e) {
    CurrentPlatform().Message(kStdErrorPrefix + std::string(e.what()), kDefaultMessageTitle,
                              MessageStyle::kCritical);
    return false;
  }
}

}  // namespace mandor
