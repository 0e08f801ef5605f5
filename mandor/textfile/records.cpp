#include "mandor/textfile/internal/records.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <type_traits>
#include <utility>

#include "mandor/fields/champ.h"
#include "mandor/model/regle.h"
#include "mandor/textfile/internal/format.h"
#include "mandor/util/error.h"
#include "mandor/util/fct_util.h"
#include "mandor/util/internal/number.h"
#include "mandor/util/platform.h"

namespace mandor::textfile {

namespace {

// Makers of the columns of one kind of object, so that the tables below read
// as the list of their columns.
template <class O>
struct Columns {
  static constexpr Column<O> Text(std::string_view member, std::string (*get)(const O&, const RecordContext&),
                                  void (*set)(O&, std::string_view)) {
    return {member, Code::kText, get, set, nullptr, nullptr, false};
  }
  static constexpr Column<O> Number(std::string_view member, Code code, double (*get)(const O&),
                                    void (*set)(O&, double), bool blank_is_false = false) {
    return {member, code, nullptr, nullptr, get, set, blank_is_false};
  }
};

using R = Columns<CRegle>;
using F = Columns<CChamp>;
using Ctx = RecordContext;

int16_t I16(double v) { return static_cast<int16_t>(v); }
int32_t I32(double v) { return static_cast<int32_t>(v); }
float F32(double v) { return static_cast<float>(v); }

// Column 12 of a field: empty once translated; escaped for the fields whose
// formulas may hold the record and key separators.
bool HasEscapedFormula(const CChamp& c) {
  return c.Type_Champ() == kEscapedFormulaTypeChamp && c.Accrochage_V_Type() == kEscapedFormulaAccrochageVType;
}
std::string FormulaText(const CChamp& c, const Ctx&) {
  if (c.HasTranslatted) return "";
  return HasEscapedFormula(c) ? ChangeCarSpec(c.Formule(), kEscapeType) : c.Formule();
}
// Read back after Type_Champ and Accrochage_V_Type, which come earlier in the record.
void SetFormulaText(CChamp& c, std::string_view text) {
  c.Formule(HasEscapedFormula(c) ? ChangeCarSpec(text, kUnescapeType) : std::string(text));
}

// --- the columns of a ruler ---
constexpr Column<CRegle> kRegleId =
    R::Text("Id", [](const CRegle& r, const Ctx&) { return r.Id; }, [](CRegle& r, std::string_view v) { r.Id = v; });
constexpr Column<CRegle> kRegleNom = R::Text(
    "Nom", [](const CRegle& r, const Ctx&) { return r.Nom; }, [](CRegle& r, std::string_view v) { r.Nom = v; });
constexpr Column<CRegle> kRegleFontName = R::Text(
    "FontName", [](const CRegle& r, const Ctx&) { return r.FontName(); },
    [](CRegle& r, std::string_view v) { r.FontName(std::string(v)); });
constexpr Column<CRegle> kRegleFontSize = R::Number(
    "FontSize", Code::kInt, [](const CRegle& r) -> double { return r.FontSize(); },
    [](CRegle& r, double v) { r.FontSize(I16(v)); });
constexpr Column<CRegle> kRegleFontSpecial = R::Number(
    "FontSpecial", Code::kInt, [](const CRegle& r) -> double { return r.FontSpecial(); },
    [](CRegle& r, double v) { r.FontSpecial(I16(v)); });
constexpr Column<CRegle> kRegleDecimales = R::Number(
    "Décimales", Code::kInt, [](const CRegle& r) -> double { return r.Décimales; },
    [](CRegle& r, double v) { r.Décimales = I16(v); });
constexpr Column<CRegle> kReglePixelX = R::Number(
    "Position_pixel_X", Code::kPixel, [](const CRegle& r) -> double { return r.Position_pixel_X; },
    [](CRegle& r, double v) { r.Position_pixel_X = F32(v); });
constexpr Column<CRegle> kReglePixelY = R::Number(
    "Position_pixel_Y", Code::kPixel, [](const CRegle& r) -> double { return r.Position_pixel_Y; },
    [](CRegle& r, double v) { r.Position_pixel_Y = F32(v); });
constexpr Column<CRegle> kRegleCmX = R::Number(
    "Position_cm_X", Code::kCentimetre, [](const CRegle& r) -> double { return r.Position_cm_X; },
    [](CRegle& r, double v) { r.Position_cm_X = F32(v); });
constexpr Column<CRegle> kRegleCmY = R::Number(
    "Position_cm_Y", Code::kCentimetre, [](const CRegle& r) -> double { return r.Position_cm_Y; },
    [](CRegle& r, double v) { r.Position_cm_Y = F32(v); });
constexpr Column<CRegle> kRegleLargeurCm = R::Number(
    "largeur_cm", Code::kCentimetre, [](const CRegle& r) -> double { return r.largeur_cm; },
    [](CRegle& r, double v) { r.largeur_cm = F32(v); });
constexpr Column<CRegle> kRegleImprimable = R::Number(
    "Imprimable", Code::kInt, [](const CRegle& r) -> double { return r.Imprimable; },
    [](CRegle& r, double v) { r.Imprimable = I16(v); });
// Always written "0", never applied.
constexpr Column<CRegle> kRegleReserved = R::Number("0", Code::kInt, [](const CRegle&) { return 0.0; }, nullptr);

// --- the columns of a field ---
constexpr Column<CChamp> kChampId =
    F::Text("Id", [](const CChamp& c, const Ctx&) { return c.Id; }, [](CChamp& c, std::string_view v) { c.Id = v; });
constexpr Column<CChamp> kChampNom = F::Text(
    "Nom", [](const CChamp& c, const Ctx&) { return c.Nom(); },
    [](CChamp& c, std::string_view v) { c.Nom(std::string(v)); });
constexpr Column<CChamp> kChampFontName = F::Text(
    "FontName", [](const CChamp& c, const Ctx&) { return c.FontName(); },
    [](CChamp& c, std::string_view v) { c.FontName(std::string(v)); });
constexpr Column<CChamp> kChampFontSize = F::Number(
    "FontSize", Code::kInt, [](const CChamp& c) -> double { return c.FontSize(); },
    [](CChamp& c, double v) { c.FontSize(I16(v)); });
constexpr Column<CChamp> kChampFontSpecial = F::Number(
    "FontSpecial", Code::kInt, [](const CChamp& c) -> double { return c.FontSpecial(); },
    [](CChamp& c, double v) { c.FontSpecial(I16(v)); });
// The reader learns the data's decimal separator from it (Mandor's reader).
constexpr Column<CChamp> kChampValueText =
    F::Text("value text", [](const CChamp&, const Ctx& ctx) { return std::string(ctx.value_text); }, nullptr);
// Formatted by the reader once Décimales is known.
constexpr Column<CChamp> kChampInitialValue =
    F::Text("InitialValue", [](const CChamp& c, const Ctx&) { return c.InitialValue(); }, nullptr);
constexpr Column<CChamp> kChampAccrochageV = F::Text(
    "Accrochage_V", [](const CChamp& c, const Ctx&) { return c.Accrochage_V(); },
    [](CChamp& c, std::string_view v) { c.Accrochage_V(std::string(v)); });
constexpr Column<CChamp> kChampAccrochageVType = F::Number(
    "Accrochage_V_Type", Code::kInt, [](const CChamp& c) -> double { return c.Accrochage_V_Type(); },
    [](CChamp& c, double v) { c.Accrochage_V_Type(I16(v)); });
constexpr Column<CChamp> kChampAccrochageH = F::Text(
    "Accrochage_H", [](const CChamp& c, const Ctx&) { return c.Accrochage_H(); },
    [](CChamp& c, std::string_view v) { c.Accrochage_H(std::string(v)); });
constexpr Column<CChamp> kChampAccrochageHType = F::Number(
    "Accrochage_H_Type", Code::kInt, [](const CChamp& c) -> double { return c.Accrochage_H_Type; },
    [](CChamp& c, double v) { c.Accrochage_H_Type = I16(v); });
constexpr Column<CChamp> kChampTypeChamp = F::Number(
    "Type_Champ", Code::kInt, [](const CChamp& c) -> double { return c.Type_Champ(); },
    [](CChamp& c, double v) { c.Type_Champ(I16(v)); });
constexpr Column<CChamp> kChampFormule = F::Text("Formule", FormulaText, SetFormulaText);
constexpr Column<CChamp> kChampDecimales = F::Number(
    "Décimales", Code::kInt, [](const CChamp& c) -> double { return c.Décimales(); },
    [](CChamp& c, double v) { c.Décimales(I16(v)); });
constexpr Column<CChamp> kChampPixelTop = F::Number(
    "Position_pixel_Top", Code::kPixel, [](const CChamp& c) -> double { return c.Position_pixel_Top; },
    [](CChamp& c, double v) { c.Position_pixel_Top = F32(v); });
constexpr Column<CChamp> kChampPixelBottom = F::Number(
    "Position_pixel_Bottom", Code::kPixel, [](const CChamp& c) -> double { return c.Position_pixel_Bottom; },
    [](CChamp& c, double v) { c.Position_pixel_Bottom = F32(v); });
constexpr Column<CChamp> kChampPixelLeft = F::Number(
    "Position_pixel_Left", Code::kPixel, [](const CChamp& c) -> double { return c.Position_pixel_Left; },
    [](CChamp& c, double v) { c.Position_pixel_Left = F32(v); });
constexpr Column<CChamp> kChampPixelRight = F::Number(
    "Position_pixel_Right", Code::kPixel, [](const CChamp& c) -> double { return c.Position_pixel_Right; },
    [](CChamp& c, double v) { c.Position_pixel_Right = F32(v); });
constexpr Column<CChamp> kChampCmLeft = F::Number(
    "Position_cm_Left", Code::kCentimetre, [](const CChamp& c) -> double { return c.Position_cm_Left; },
    [](CChamp& c, double v) { c.Position_cm_Left = F32(v); });
constexpr Column<CChamp> kChampCmTop = F::Number(
    "Position_cm_Top", Code::kCentimetre, [](const CChamp& c) -> double { return c.Position_cm_Top; },
    [](CChamp& c, double v) { c.Position_cm_Top = F32(v); });
constexpr Column<CChamp> kChampCmBottom = F::Number(
    "Position_cm_Bottom", Code::kCentimetre, [](const CChamp& c) -> double { return c.Position_cm_Bottom; },
    [](CChamp& c, double v) { c.Position_cm_Bottom = F32(v); });
constexpr Column<CChamp> kChampCmRight = F::Number(
    "Position_cm_Right", Code::kCentimetre, [](const CChamp& c) -> double { return c.Position_cm_Right; },
    [](CChamp& c, double v) { c.Position_cm_Right = F32(v); });
constexpr Column<CChamp> kChampImprimable = F::Number(
    "Imprimable", Code::kInt, [](const CChamp& c) -> double { return c.Imprimable(); },
    [](CChamp& c, double v) { c.Imprimable(I16(v)); });
constexpr Column<CChamp> kChampFontColor = F::Number(
    "FontColor", Code::kLong, [](const CChamp& c) -> double { return c.FontColor(); },
    [](CChamp& c, double v) { c.FontColor(I32(v)); });
constexpr Column<CChamp> kChampBold = F::Number(
    "Bold", Code::kBool, [](const CChamp& c) -> double { return c.Bold(); },
    [](CChamp& c, double v) { c.Bold(v != 0); });
constexpr Column<CChamp> kChampStrikeThrough = F::Number(
    "StrikeThrough", Code::kBool, [](const CChamp& c) -> double { return c.StrikeThrough(); },
    [](CChamp& c, double v) { c.StrikeThrough(v != 0); });
constexpr Column<CChamp> kChampUnderligne = F::Number(
    "Underligne", Code::kBool, [](const CChamp& c) -> double { return c.Underligne(); },
    [](CChamp& c, double v) { c.Underligne(v != 0); });
constexpr Column<CChamp> kChampBackColor = F::Number(
    "BackColor", Code::kLong, [](const CChamp& c) -> double { return c.BackColor(); },
    [](CChamp& c, double v) { c.BackColor(I32(v)); });
constexpr Column<CChamp> kChampRecurrentDeRef = F::Text(
    "ChampRecurrentDeRef", [](const CChamp& c, const Ctx&) { return c.ChampRecurrentDeRef(); },
    [](CChamp& c, std::string_view v) { c.ChampRecurrentDeRef(std::string(v)); });
// Unlike the font columns, a blank Transparent sets false.
constexpr Column<CChamp> kChampTransparent = F::Number(
    "Transparent", Code::kBool, [](const CChamp& c) -> double { return c.Transparent(); },
    [](CChamp& c, double v) { c.Transparent(v != 0); }, true);

// --- the records ---
constexpr std::array kRulerRecord{kRegleId,       kRegleNom,    kRegleFontName,  kRegleFontSize,
                                  kRegleFontSpecial, kRegleDecimales, kReglePixelX, kReglePixelY,
                                  kRegleLargeurCm, kRegleImprimable, kRegleReserved};

constexpr std::array kFieldRecord{
    kChampId,           kChampNom,         kChampFontName,       kChampFontSize,      kChampFontSpecial,
    kChampValueText,    kChampAccrochageV, kChampAccrochageVType, kChampAccrochageH,  kChampAccrochageHType,
    kChampTypeChamp,    kChampFormule,     kChampDecimales,      kChampPixelTop,      kChampPixelBottom,
    kChampPixelLeft,    kChampPixelRight,  kChampImprimable,     kChampFontColor,     kChampBold,
    kChampStrikeThrough, kChampUnderligne, kChampBackColor,      kChampRecurrentDeRef, kChampTransparent};

// The first 23 columns of the field record, the InitialValue in place of the value text.
constexpr auto kRecurrentRecord = [] {
  std::array<Column<CChamp>, 23> record{};
  for (size_t i = 0; i < record.size(); ++i) record[i] = kFieldRecord[i];
  record[kFieldValueColumn - 1] = kChampInitialValue;
  return record;
}();

constexpr std::array kStdVerticalRulerRecord{kRegleId,        kRegleNom,    kRegleCmX,
                                             kRegleCmY,       kRegleDecimales, kReglePixelX,
                                             kReglePixelY,    kRegleLargeurCm, kRegleImprimable};

constexpr std::array kStdPageRulerRecord{kRegleId,     kRegleNom,    kRegleCmX,       kRegleCmY,
                                         kReglePixelX, kReglePixelY, kRegleLargeurCm, kRegleImprimable};

constexpr std::array kStdFieldRecord{
    kChampId,          kChampNom,        kChampCmLeft,    kChampCmTop,       kChampCmBottom,       kChampCmRight,
    kChampAccrochageV, kChampAccrochageVType, kChampAccrochageH, kChampAccrochageHType, kChampTypeChamp,
    kChampFormule,     kChampDecimales,  kChampPixelTop,  kChampPixelBottom, kChampPixelLeft,      kChampPixelRight,
    kChampImprimable};

static_assert(kRulerRecord.size() == 11 && kFieldRecord.size() == 25 && kRecurrentRecord.size() == 23);
static_assert(kStdVerticalRulerRecord.size() == 9 && kStdPageRulerRecord.size() == 8 && kStdFieldRecord.size() == 18);

template <Code kCode>
double ParseAs(std::string_view text) {
  if constexpr (kCode == Code::kInt) {
    return ToInt16(ParseFileNumber(text));
  } else if constexpr (kCode == Code::kLong) {
    return ToInt32(ParseFileNumber(text));
  } else if constexpr (kCode == Code::kPixel || kCode == Code::kCentimetre) {
    return ToSingle(ParseFileNumber(text));
  } else {
    static_assert(kCode == Code::kBool, "texts are not numbers");
    const std::optional<bool> value = ParseBoolText(text);
    if (!value) ThrowError(kTypeMismatch);
    return *value ? 1 : 0;
  }
}

template <Code kCode>
void AppendNumberAs(std::string& line, double value, const Locale& locale) {
  if constexpr (kCode == Code::kInt || kCode == Code::kLong) {
    char buffer[24];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, static_cast<long long>(value));
    line.append(buffer, result.ptr);
  } else if constexpr (kCode == Code::kPixel) {
    AppendSingleText(line, static_cast<float>(value), locale);  // as PixelText writes it
  } else if constexpr (kCode == Code::kCentimetre) {
    line += CentimetreText(static_cast<float>(value));
  } else {
    static_assert(kCode == Code::kBool, "texts are not numbers");
    line += BoolToText(value != 0, locale);
  }
}

}  // namespace

Record<CRegle> RulerRecord() { return kRulerRecord; }
Record<CChamp> FieldRecord() { return kFieldRecord; }
Record<CChamp> RecurrentRecord() { return kRecurrentRecord; }
Record<CRegle> StdVerticalRulerRecord() { return kStdVerticalRulerRecord; }
Record<CRegle> StdPageRulerRecord() { return kStdPageRulerRecord; }
Record<CChamp> StdFieldRecord() { return kStdFieldRecord; }

bool IsBlank(std::string_view text) { return text.find_first_not_of(' ') == std::string_view::npos; }

double ParseValue(Code code, std::string_view text) {
  switch (code) {
    case Code::kInt:
      return ParseAs<Code::kInt>(text);
    case Code::kLong:
      return ParseAs<Code::kLong>(text);
    case Code::kPixel:
      return ParseAs<Code::kPixel>(text);
    case Code::kCentimetre:
      return ParseAs<Code::kCentimetre>(text);
    case Code::kBool:
      return ParseAs<Code::kBool>(text);
    case Code::kText:
      break;
  }
  ThrowError(kInvalidArgument);
}

namespace {

// A column appended with its code known at compile time.
template <Code kCode, class Object>
inline void AppendColumnAs(std::string& line, const Column<Object>& column, const Object& object,
                           const RecordContext& context, const Locale& locale) {
  if constexpr (kCode == Code::kText) {
    line += column.get_text(object, context);
  } else {
    AppendNumberAs<kCode>(line, column.get_number(object), locale);
  }
}

// A column applied with its code known at compile time.
template <Code kCode, class Object>
inline void ApplyColumnAs(const Column<Object>& column, Object& object, std::string_view text) {
  if constexpr (kCode == Code::kText) {
    if (column.set_text) column.set_text(object, text);
  } else {
    if (!column.set_number) return;
    if (!IsBlank(text)) {
      column.set_number(object, ParseAs<kCode>(text));
    } else if (column.blank_is_false) {
      column.set_number(object, 0);
    }
  }
}

// A table known at compile time is walked column by column in the code
// itself, so that each accessor is called directly and inlined rather than
// through its pointer: a marking has tens of thousands of records. These
// return false when `record` is not kTable.
template <const auto& kTable, class Object, size_t... I>
void AppendTable(std::string& line, const Object& object, const RecordContext& context, std::index_sequence<I...>) {
  const Locale& locale = CurrentPlatform().locale();
  ((I == 0 ? void() : void(line.append(kRecordSeparator, sizeof kRecordSeparator - 1)),
    AppendColumnAs<kTable[I].code>(line, kTable[I], object, context, locale)),
   ...);
}
template <const auto& kTable, class Object>
bool AppendIf(Record<Object> record, std::string& line, const Object& object, const RecordContext& context) {
  if (record.data() != kTable.data() || record.size() != kTable.size()) return false;
  AppendTable<kTable>(line, object, context, std::make_index_sequence<kTable.size()>());
  return true;
}

template <const auto& kTable, class Object, size_t... I>
void ApplyTable(Object& object, const RecordColumns& cols, std::index_sequence<I...>) {
  (ApplyColumnAs<kTable[I].code>(kTable[I], object, cols[I + 1]), ...);
}
template <const auto& kTable, class Object>
bool ApplyIf(Record<Object> record, Object& object, const RecordColumns& cols) {
  if (record.data() != kTable.data() || record.size() != kTable.size()) return false;
  ApplyTable<kTable>(object, cols, std::make_index_sequence<kTable.size()>());
  return true;
}

}  // namespace

template <class Object>
void AppendRecord(std::string& line, Record<Object> record, const Object& object, const RecordContext& context) {
  if constexpr (std::is_same_v<Object, CRegle>) {
    if (AppendIf<kRulerRecord>(record, line, object, context) ||
        AppendIf<kStdVerticalRulerRecord>(record, line, object, context) ||
        AppendIf<kStdPageRulerRecord>(record, line, object, context)) {
      return;
    }
  } else {
    if (AppendIf<kFieldRecord>(record, line, object, context) ||
        AppendIf<kRecurrentRecord>(record, line, object, context) ||
        AppendIf<kStdFieldRecord>(record, line, object, context)) {
      return;
    }
  }
  ThrowError(kInvalidArgument, "Not a record of the text marking files");
}

template <class Object>
void ApplyRecord(Record<Object> record, Object& object, const RecordColumns& cols) {
  if (cols.size() <= record.size()) ThrowError(kInvalidArgument, "A record holds fewer columns than its table");
  if constexpr (std::is_same_v<Object, CRegle>) {
    if (ApplyIf<kRulerRecord>(record, object, cols) || ApplyIf<kStdVerticalRulerRecord>(record, object, cols) ||
        ApplyIf<kStdPageRulerRecord>(record, object, cols)) {
      return;
    }
  } else {
    if (ApplyIf<kFieldRecord>(record, object, cols) || ApplyIf<kRecurrentRecord>(record, object, cols) ||
        ApplyIf<kStdFieldRecord>(record, object, cols)) {
      return;
    }
  }
  ThrowError(kInvalidArgument, "Not a record of the text marking files");
}

template void AppendRecord(std::string&, Record<CRegle>, const CRegle&, const RecordContext&);
template void AppendRecord(std::string&, Record<CChamp>, const CChamp&, const RecordContext&);
template void ApplyRecord(Record<CRegle>, CRegle&, const RecordColumns&);
template void ApplyRecord(Record<CChamp>, CChamp&, const RecordColumns&);

}  // namespace mandor::textfile
