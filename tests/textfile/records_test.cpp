// The record tables of the text marking files: the text each column is
// written as, how each is read back, and what a blank or a malformed column
// does, for every record kind of both layouts.

#include "mandor/textfile/internal/records.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "mandor/fields/champ.h"
#include "mandor/model/regle.h"
#include "mandor/util/error.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor {
namespace {

using namespace textfile;
using textfile_test::TextFileTest;

// The columns of a record line, split at every "|", from index 1: views
// into `line`, which must outlive them.
RecordColumns Split(const std::string& line) {
  RecordColumns cols(1);
  size_t start = 0;
  for (size_t bar; (bar = line.find('|', start)) != std::string::npos; start = bar + 1) {
    cols.push_back(std::string_view(line).substr(start, bar - start));
  }
  cols.push_back(std::string_view(line).substr(start));
  return cols;
}

template <class Object>
std::string Write(Record<Object> record, const Object& object, const RecordContext& context = {}) {
  std::string line;
  AppendRecord(line, record, object, context);
  return line;
}

// The number raised by f, or 0 when it raises nothing.
template <class F>
int ErrorNumberOf(F&& f) {
  try {
    f();
  } catch (const Error& e) {
    return e.number();
  }
  return 0;
}

std::shared_ptr<CRegle> SampleRuler() {
  auto r = std::make_shared<CRegle>();
  r->Id = "00002";
  r->Nom = "Prix";
  r->FontName("Arial");
  r->FontSize(10);
  r->FontSpecial(1);
  r->Décimales = 2;
  r->Position_cm_X = 12.9f;
  r->Position_cm_Y = 0.25f;
  r->Position_pixel_X = 1520;
  r->Position_pixel_Y = 0;
  r->largeur_cm = 3.5f;
  r->Imprimable = 1;
  return r;
}

// A field of `doc`, its font inheriting from the document's, as the reader makes them.
std::shared_ptr<CChamp> NewField(const std::shared_ptr<Mandor>& doc) {
  auto c = std::make_shared<CChamp>();
  c->oOwnerMandor(doc);
  c->SetFontPropertiesFromFontClass(c->Font());
  return c;
}

std::shared_ptr<CChamp> SampleField(const std::shared_ptr<Mandor>& doc) {
  auto c = NewField(doc);
  c->Id = "001_00004";
  c->Nom("L1_PU");
  c->FontName("Times");
  c->FontSize(9);
  c->FontSpecial(1);
  c->Accrochage_V("Prix");
  c->Accrochage_V_Type(5);
  c->Accrochage_H("L1");
  c->Accrochage_H_Type = 2;
  c->Type_Champ(3);
  c->Formule("=Qté|PU");
  c->Décimales(2);
  c->Position_pixel_Top = 400.5f;
  c->Position_pixel_Bottom = 450;
  c->Position_pixel_Left = 1520;
  c->Position_pixel_Right = 1900;
  c->Position_cm_Left = 12.9f;
  c->Position_cm_Top = 3.39f;
  c->Position_cm_Bottom = 3.81f;
  c->Position_cm_Right = 16.1f;
  c->Imprimable(1);
  c->FontColor(255);
  c->Bold(true);
  c->StrikeThrough(false);
  c->Underligne(true);
  c->BackColor(12632256);
  c->ChampRecurrentDeRef("Total_Prix");
  c->Transparent(true);
  c->InitialValue("1 250,00");
  return c;
}

class RecordsTest : public TextFileTest, public ::testing::WithParamInterface<bool> {
 protected:
  RecordsTest() {
    platform_->SetLocale(GetParam() ? Locale::Comma() : Locale::Point());
    // The recurrent field that the sample field refers to.
    auto master = NewField();
    master->Nom("Total_Prix");
    master->Recurrent(true);
    doc_->ChampsRecurrents.Add(master, master->Nom());
    doc_->Champs.Add(master, master->Nom());
  }
  std::shared_ptr<CChamp> SampleField() { return mandor::SampleField(doc_); }
  std::shared_ptr<CChamp> NewField() { return mandor::NewField(doc_); }
  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
};

TEST_P(RecordsTest, TablesHaveTheLayoutsColumnCountsAndSetters) {
  EXPECT_EQ(RulerRecord().size(), 11u);
  EXPECT_EQ(FieldRecord().size(), 25u);
  EXPECT_EQ(RecurrentRecord().size(), 23u);
  EXPECT_EQ(StdVerticalRulerRecord().size(), 9u);
  EXPECT_EQ(StdPageRulerRecord().size(), 8u);
  EXPECT_EQ(StdFieldRecord().size(), 18u);
  // Every column can be written, and has the accessors its code uses.
  auto check = [](auto record, const char* name) {
    for (size_t i = 0; i < record.size(); ++i) {
      const auto& column = record[i];
      SCOPED_TRACE(std::string(name) + " column " + std::to_string(i + 1) + " " + std::string(column.member));
      if (column.code == Code::kText) {
        EXPECT_NE(column.get_text, nullptr);
        EXPECT_EQ(column.get_number, nullptr);
      } else {
        EXPECT_NE(column.get_number, nullptr);
        EXPECT_EQ(column.get_text, nullptr);
      }
    }
  };
  check(RulerRecord(), "ruler");
  check(FieldRecord(), "field");
  check(RecurrentRecord(), "recurrent");
  check(StdVerticalRulerRecord(), "std vertical ruler");
  check(StdPageRulerRecord(), "std page ruler");
  check(StdFieldRecord(), "std field");
  // The recurrent record is the field record's first 23 columns but the value text.
  for (size_t i = 0; i < RecurrentRecord().size(); ++i) {
    if (i + 1 == kFieldValueColumn) {
      EXPECT_EQ(RecurrentRecord()[i].member, "InitialValue");
    } else {
      EXPECT_EQ(RecurrentRecord()[i].member, FieldRecord()[i].member) << "column " << i + 1;
    }
  }
  EXPECT_EQ(FieldRecord()[kFieldRecurrentRefColumn - 1].member, "ChampRecurrentDeRef");
}

TEST_P(RecordsTest, RulerRecordsAreWrittenWithTheirCodes) {
  const auto ruler = SampleRuler();
  // Centimetres carry a comma in every locale; the reserved last column is "0".
  const std::string font_special = std::to_string(ruler->FontSpecial());
  EXPECT_EQ(Write(RulerRecord(), *ruler), "00002|Prix|Arial|10|" + font_special + "|2|1520|0|3,5|1|0");
  EXPECT_EQ(Write(StdVerticalRulerRecord(), *ruler), "00002|Prix|12,9|0,25|2|1520|0|3,5|1");
  EXPECT_EQ(Write(StdPageRulerRecord(), *ruler), "00002|Prix|12,9|0,25|1520|0|3,5|1");
  // Pixels keep the locale's own separator.
  ruler->Position_pixel_Y = 12.5f;
  EXPECT_EQ(Split(Write(RulerRecord(), *ruler))[8], GetParam() ? "12,5" : "12.5");
}

TEST_P(RecordsTest, EveryRecordReadsBackWhatItWrote) {
  const auto ruler = SampleRuler();
  for (Record<CRegle> record : {RulerRecord(), StdVerticalRulerRecord(), StdPageRulerRecord()}) {
    const std::string line = Write(record, *ruler);
    CRegle back;
    ApplyRecord(record, back, Split(line));
    EXPECT_EQ(Write(record, back), line);
    EXPECT_EQ(back.Nom, ruler->Nom);
    EXPECT_EQ(back.Position_pixel_X, ruler->Position_pixel_X);
    EXPECT_EQ(back.largeur_cm, ruler->largeur_cm);
  }
  const auto field = SampleField();
  for (Record<CChamp> record : {FieldRecord(), StdFieldRecord()}) {
    const std::string line = Write(record, *field);
    const auto back_field = NewField();
    CChamp& back = *back_field;
    ApplyRecord(record, back, Split(line));
    EXPECT_EQ(Write(record, back), line);
    EXPECT_EQ(back.Formule(), field->Formule());
    EXPECT_EQ(back.Accrochage_V_Type(), 5);
    EXPECT_EQ(back.Position_pixel_Top, 400.5f);
    EXPECT_EQ(back.Décimales(), 2);
  }
  const auto back_field = NewField();
  CChamp& back = *back_field;
  ApplyRecord(FieldRecord(), back, Split(Write(FieldRecord(), *field)));
  EXPECT_TRUE(back.Bold());
  EXPECT_TRUE(back.Underligne());
  EXPECT_TRUE(back.Transparent());
  EXPECT_EQ(back.BackColor(), 12632256);
  EXPECT_EQ(back.ChampRecurrentDeRef(), "Total_Prix");
  EXPECT_EQ(back.Position_cm_Left, 0.0f) << "the extended record carries no centimetres";
}

TEST_P(RecordsTest, FormulaColumnIsEscapedOnlyForCalculatedFieldsOnTheirTotalRuler) {
  const auto field = SampleField();  // Type_Champ 3, Accrochage_V_Type 5
  const std::string escaped = "#Qté\x7FPU";
  EXPECT_EQ(Split(Write(FieldRecord(), *field))[12], escaped);
  EXPECT_EQ(Split(Write(StdFieldRecord(), *field))[12], escaped);
  EXPECT_EQ(Split(Write(RecurrentRecord(), *field)).size(), 24u);
  field->Accrochage_V_Type(0);
  // Written as it stands, "|" included: the line then has one column more.
  EXPECT_EQ(Split(Write(FieldRecord(), *field)).size(), 27u);
  field->HasTranslatted = true;
  EXPECT_EQ(Split(Write(FieldRecord(), *field))[12], "");

  // Read back: unescaped only once Type_Champ and Accrochage_V_Type say so.
  const auto back_field = NewField();
  CChamp& back = *back_field;
  const std::string line = Write(FieldRecord(), *SampleField());
  RecordColumns cols = Split(line);
  const std::string with_equals = "a#b\x7F" "c";
  cols[12] = with_equals;
  ApplyRecord(FieldRecord(), back, cols);
  EXPECT_EQ(back.Formule(), "a=b|c");
  cols[8] = "0";
  ApplyRecord(FieldRecord(), back, cols);
  EXPECT_EQ(back.Formule(), with_equals);
}

TEST_P(RecordsTest, ValueColumnComesFromTheSaveAndIsLeftToTheReader) {
  const auto field = SampleField();
  EXPECT_EQ(Split(Write(FieldRecord(), *field))[kFieldValueColumn], "");
  const std::string quantity = "1234.50";
  EXPECT_EQ(Split(Write(FieldRecord(), *field, {quantity}))[kFieldValueColumn], quantity);
  EXPECT_EQ(Split(Write(RecurrentRecord(), *field, {quantity}))[kFieldValueColumn], "1 250,00");

  const auto back_field = NewField();
  CChamp& back = *back_field;
  back.InitialValue("keep");
  ApplyRecord(FieldRecord(), back, Split(Write(FieldRecord(), *field, {quantity})));
  EXPECT_EQ(back.InitialValue(), "keep");
  ApplyRecord(RecurrentRecord(), back, Split(Write(RecurrentRecord(), *field)));
  EXPECT_EQ(back.InitialValue(), "keep");
}

TEST_P(RecordsTest, BlankColumnsKeepTheMemberButTransparentBecomesFalse) {
  const std::string line = Write(FieldRecord(), *SampleField());
  RecordColumns cols = Split(line);
  for (size_t i : {4, 13, 14, 19, 20, 23, 25}) cols[i] = " ";
  const auto field_ptr = NewField();
  CChamp& field = *field_ptr;
  field.FontSize(14);
  field.Décimales(3);
  field.Position_pixel_Top = 7;
  field.FontColor(99);
  field.Bold(true);
  field.BackColor(5);
  field.Transparent(true);
  ApplyRecord(FieldRecord(), field, cols);
  EXPECT_EQ(field.FontSize(), 14);
  EXPECT_EQ(field.Décimales(), 3);
  EXPECT_EQ(field.Position_pixel_Top, 7.0f);
  EXPECT_EQ(field.FontColor(), 99);
  EXPECT_TRUE(field.Bold());
  EXPECT_EQ(field.BackColor(), 5);
  EXPECT_FALSE(field.Transparent());
  // Texts are set as they stand, blank or not.
  EXPECT_EQ(field.Nom(), "L1_PU");
  cols[2] = "";
  ApplyRecord(FieldRecord(), field, cols);
  EXPECT_EQ(field.Nom(), "");
}

TEST_P(RecordsTest, MalformedColumnsRaiseTheirErrors) {
  const std::string line = Write(RulerRecord(), *SampleRuler());
  const RecordColumns good = Split(line);
  auto apply_with = [&](size_t column, std::string_view text) {
    RecordColumns cols = good;
    cols[column] = text;
    CRegle ruler;
    return ErrorNumberOf([&] { ApplyRecord(RulerRecord(), ruler, cols); });
  };
  EXPECT_EQ(apply_with(4, "dix"), kTypeMismatch);
  EXPECT_EQ(apply_with(4, "32768"), kOverflow) << "code I is 16-bit";
  EXPECT_EQ(apply_with(4, "32767"), 0);
  EXPECT_EQ(apply_with(7, "1e60"), kOverflow) << "code P is a float";
  EXPECT_EQ(apply_with(9, "2,5"), 0);
  EXPECT_EQ(apply_with(9, "2.5"), 0);
  EXPECT_EQ(apply_with(11, "anything"), 0) << "the reserved column is not read";

  EXPECT_EQ(ParseValue(Code::kLong, "2147483647"), 2147483647.0);
  EXPECT_EQ(ErrorNumberOf([] { ParseValue(Code::kLong, "2147483648"); }), kOverflow);
  EXPECT_EQ(ParseValue(Code::kBool, "Vrai"), 1);
  EXPECT_EQ(ParseValue(Code::kBool, "0"), 0);
  EXPECT_EQ(ErrorNumberOf([] { ParseValue(Code::kBool, "peut-être"); }), kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([] { ParseValue(Code::kText, "x"); }), kInvalidArgument);
  // Only the library's own tables, with all their columns, are applied.
  CRegle ruler;
  EXPECT_EQ(ErrorNumberOf([&] { ApplyRecord(RulerRecord().first(10), ruler, good); }), kInvalidArgument);
  EXPECT_EQ(ErrorNumberOf([&] { ApplyRecord(RulerRecord(), ruler, RecordColumns(good.begin(), good.end() - 1)); }),
            kInvalidArgument);
  std::string out;
  EXPECT_EQ(ErrorNumberOf([&] { AppendRecord(out, RulerRecord().last(3), ruler); }), kInvalidArgument);
  EXPECT_EQ(out, "");
  EXPECT_TRUE(IsBlank("   "));
  EXPECT_FALSE(IsBlank(" 0 "));
}

INSTANTIATE_TEST_SUITE_P(Locales, RecordsTest, ::testing::Bool(), textfile_test::LocaleName);

}  // namespace
}  // namespace mandor
