// The record tables of the text marking files, where the saved files cannot
// show it: the escaped formula column, blank columns and malformed ones. (The
// round trips and the described files prove the text of every column, the
// writer's files the value column.)

#include "mandor/textfile/internal/records.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>

#include "mandor/fields/champ.h"
#include "mandor/model/regle.h"
#include "tests/textfile/textfile_test_util.h"

namespace mandor {
namespace {

using namespace textfile;
using test_util::ErrorNumberOf;

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

class RecordsTest : public textfile_test::TextFileTest, public ::testing::WithParamInterface<bool> {
 protected:
  RecordsTest() { platform_->SetLocale(GetParam() ? Locale::Comma() : Locale::Point()); }
  // A field of the document, its font inheriting from the document's, as the reader makes them.
  std::shared_ptr<CChamp> NewField() {
    auto c = std::make_shared<CChamp>();
    c->oOwnerMandor(doc_);
    c->SetFontPropertiesFromFontClass(c->Font());
    return c;
  }
  // A calculated field on its total ruler, with a formula to escape.
  std::shared_ptr<CChamp> TotalField() {
    auto c = NewField();
    c->Nom("L1_PU");
    c->Accrochage_V_Type(5), c->Type_Champ(3), c->Formule("=Qté|PU"), c->Décimales(2);
    c->Bold(true);
    return c;
  }
  std::shared_ptr<Mandor> doc_ = std::make_shared<Mandor>();
};

TEST_P(RecordsTest, FormulaIsEscapedOnlyForCalculatedFieldsOnTheirTotalRuler) {
  const auto field = TotalField();
  for (Record<CChamp> record : {FieldRecord(), StdFieldRecord(), RecurrentRecord()}) {
    EXPECT_EQ(Split(Write(record, *field))[12], "#Qté\x7FPU");
  }
  field->Accrochage_V_Type(0);  // written as it stands, "|" included: one column more
  EXPECT_EQ(Split(Write(FieldRecord(), *field)).size(), 27u);
  field->HasTranslatted = true;
  EXPECT_EQ(Split(Write(FieldRecord(), *field))[12], "");

  // Read back: unescaped only once Type_Champ and Accrochage_V_Type say so.
  const std::string line = Write(FieldRecord(), *TotalField());
  RecordColumns cols = Split(line);
  const std::string escaped = "a#b\x7F" "c";
  cols[12] = escaped;
  const auto back = NewField();
  ApplyRecord(FieldRecord(), *back, cols);
  EXPECT_EQ(back->Formule(), "a=b|c");
  cols[8] = "0";
  ApplyRecord(FieldRecord(), *back, cols);
  EXPECT_EQ(back->Formule(), escaped);
}

TEST_P(RecordsTest, BlankColumnsKeepTheMemberButTransparentBecomesFalse) {
  const std::string line = Write(FieldRecord(), *TotalField());
  RecordColumns cols = Split(line);
  for (size_t i : {4, 13, 14, 19, 20, 23, 25}) cols[i] = " ";
  const auto field = NewField();
  field->FontSize(14), field->Décimales(3), field->FontColor(99), field->BackColor(5);
  field->Position_pixel_Top = 7;
  field->Bold(true);
  field->Transparent(true);
  ApplyRecord(FieldRecord(), *field, cols);
  EXPECT_EQ(std::make_tuple(field->FontSize(), field->Décimales(), field->Position_pixel_Top, field->FontColor(),
                            field->Bold(), field->BackColor(), field->Transparent()),
            std::make_tuple(14, 3, 7.0f, 99, true, 5, false));
  EXPECT_EQ(field->Nom(), "L1_PU");
  cols[2] = "";  // texts are set as they stand, blank or not
  ApplyRecord(FieldRecord(), *field, cols);
  EXPECT_EQ(field->Nom(), "");
}

TEST_P(RecordsTest, MalformedColumnsRaiseTheirErrors) {
  CRegle ruler;
  ruler.Nom = "Prix";
  const std::string line = Write(RulerRecord(), ruler);
  const RecordColumns good = Split(line);
  const struct { size_t column; const char* text; int error; } cases[] = {
      {4, "dix", kTypeMismatch}, {4, "32768", kOverflow} /* code I is 16-bit */, {4, "32767", 0},
      {7, "1e60", kOverflow} /* code P is a float */, {9, "2,5", 0}, {9, "2.5", 0},
      {11, "anything", 0} /* the reserved column is not read */};
  for (const auto& c : cases) {
    RecordColumns cols = good;
    cols[c.column] = c.text;
    EXPECT_EQ(ErrorNumberOf([&] { ApplyRecord(RulerRecord(), ruler, cols); }), c.error) << c.column << c.text;
  }
  EXPECT_EQ(ParseValue(Code::kLong, "2147483647"), 2147483647.0);
  EXPECT_EQ(ParseValue(Code::kBool, "Vrai") + ParseValue(Code::kBool, "0"), 1);
  EXPECT_EQ(ErrorNumberOf([] { ParseValue(Code::kLong, "2147483648"); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { ParseValue(Code::kBool, "peut-être"); }), kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([] { ParseValue(Code::kText, "x"); }), kInvalidArgument);
  // Only the library's own tables, with all their columns, are applied.
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
