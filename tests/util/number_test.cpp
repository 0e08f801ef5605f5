#include "mandor/util/internal/number.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdint>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

const Locale kComma = Locale::Comma();
const Locale kPoint = Locale::Point();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(NumberTest, SingleAndDoubleToText) {
  const struct { float v; const Locale& l; const char* text; } singles[] = {
      {12.5f, kComma, "12,5"}, {-0.0f, kPoint, "0"}, {1.0f / 3.0f, kPoint, "0.3333333"},
      {-9999999.0f, kPoint, "-9999999"}, {12345678.0f, kComma, "1,234568E+07"}, {0.0001f, kPoint, "0.0001"},
      {0.00001f, kPoint, "1E-05"}, {float(kInf), kComma, "1,#INF"}};
  for (const auto& c : singles) EXPECT_EQ(SingleToText(c.v, c.l), c.text) << c.text;
  const struct { double v; const Locale& l; const char* text; } doubles[] = {
      {0.1 + 0.2, kComma, "0,3"}, {0.1f, kPoint, "0.100000001490116"}, {123456789012345.0, kPoint, "123456789012345"},
      {999999999999999.9, kPoint, "1E+15"}, {-1.5e-300, kPoint, "-1.5E-300"}, {std::nan(""), kPoint, "-1.#IND"},
      {4.9406564584124654e-324, kPoint, "4.94065645841247E-324"}};
  for (const auto& c : doubles) EXPECT_EQ(DoubleToText(c.v, c.l), c.text) << c.text;
}

TEST(NumberTest, IsNumericFollowsTheLocale) {
  const struct { const Locale& l; bool numeric; std::vector<const char*> texts; } cases[] = {
      {kComma, true, {" 12 ", "+0,5", ",5", "5,", "1 234,56", "1\xC2\xA0" "234", "1,5E+3", "2d-2", "&o17", "\t7\r\n"}},
      {kComma, false, {"", ",", "+,", "1.5", "1,2,3", "1  234", "12a", "1E+", "--1", "(1)", "&HG", "&H123456789", "1E400"}},
      {kPoint, true, {".5", "1,234.5", "-1.5e-3"}}, {kPoint, false, {",1", "1,,2", "1 234", "1.2.3", "."}}};
  for (const auto& c : cases) for (const char* s : c.texts) EXPECT_EQ(IsNumericText(s, c.l), c.numeric) << s;
}

TEST(NumberTest, ParseNumberAndToDouble) {
  const struct { const char* s; const Locale& l; std::optional<double> v; } cases[] = {
      {"12.5", kComma, std::nullopt}, {"1 234 567,25", kComma, 1234567.25}, {"1,234.5", kPoint, 1234.5},
      {"-,25", kComma, -0.25}, {"1,5D2", kComma, 150.0}, {"&HFFFF", kPoint, -1.0}, {"&H10000", kPoint, 65536.0},
      {"&HFFFFFFFF", kPoint, -1.0}, {"1E-400", kPoint, 0.0}};
  for (const auto& c : cases) EXPECT_EQ(ParseNumber(c.s, c.l), c.v) << c.s;
  EXPECT_EQ(ToDouble(" 2,54 ", kComma), 2.54);
  for (const auto& c : {std::pair{"", kTypeMismatch}, {"2.54", kTypeMismatch}, {"1E400", kOverflow},
                        {"1E999999999999999999999", kOverflow}})
    EXPECT_EQ(ErrorNumberOf([&] { ToDouble(c.first, kComma); }), c.second) << c.first;
}

// Plain numbers take a shortcut (one division); they must read exactly as
// the general conversion (correctly rounded, as from_chars) reads them.
TEST(NumberTest, PlainNumbersReadAsTheGeneralConversion) {
  auto reference = [](const std::string& text) {
    double v = 0;
    std::from_chars(text.data(), text.data() + text.size(), v);
    return v;
  };
  uint64_t state = 12345;
  for (int i = 0; i < 2000; ++i) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    const size_t digits = 1 + (state >> 60), point = (state >> 50) % (digits + 1);  // the shortcut stops at 15
    const std::string number = std::to_string(state >> 1).substr(0, digits);
    const std::string left = number.substr(0, point), right = number.substr(point);
    EXPECT_EQ(ParseNumber(left + "," + right, kComma), reference(left + "." + right)) << number << " " << point;
  }
  EXPECT_TRUE(std::signbit(*ParseNumber("-0", kPoint)));
  EXPECT_EQ(ParseNumber("0000000000000001,5", kComma), 1.5);  // 17 digits: the general way
  EXPECT_EQ(ParseNumber("9007199254740993", kPoint), 9007199254740992.0);
}

TEST(NumberTest, ValReadsTheLeadingNumber) {
  const struct { std::string s; double v; } cases[] = {
      {"0,5", 0.0}, {"  1615 198th Street", 1615198.0}, {" -\t1 2.\n5x", -12.5}, {"1.2.3", 1.2}, {"2D-2", 0.02},
      {"7E+x", 7.0}, {"&HFFFF", -1.0}, {"&O17z", 15.0}, {"0." + std::string(5000, '0') + "1", 0.0}};
  for (const auto& c : cases) EXPECT_EQ(Val(c.s), c.v) << c.s;
  for (const std::string& s :
       {std::string("1E999"), std::string("&H100000000"), std::string(5000, '9')})
    EXPECT_EQ(ErrorNumberOf([&] { Val(s); }), kOverflow) << s.size();
}

TEST(NumberTest, NarrowingRoundsHalfToEvenAndChecksTheRange) {
  const struct { double v; int i16; } halves[] = {
      {2.5, 2}, {3.5, 4}, {-2.5, -2}, {-0.5, 0}, {-32768.5, -32768}};
  for (const auto& c : halves) EXPECT_EQ(ToInt16(c.v), c.i16) << c.v;
  EXPECT_EQ(ToInt32(-2147483648.5), std::numeric_limits<int32_t>::min());
  EXPECT_EQ((std::vector{ToByte(254.5), ToByte(-0.5)}), (std::vector<uint8_t>{254, 0}));
  for (double v : {32767.5, -32769.0, std::nan("")}) EXPECT_EQ(ErrorNumberOf([&] { ToInt16(v); }), kOverflow) << v;
  EXPECT_EQ(ErrorNumberOf([&] { ToInt32(2147483647.5); }) + ErrorNumberOf([&] { ToByte(255.5); }) +
                ErrorNumberOf([&] { ToSingle(3.5e38); }) + ErrorNumberOf([&] { ToSingle(std::nan("")); }), 4 * kOverflow);
}

TEST(NumberTest, FormatNumber) {
  const std::string nbsp = "\xC2\xA0";
  const struct { double v; std::string picture; const Locale& l; std::string text; } cases[] = {
      // The pictures of the model, in both locales.
      // The model's pictures in both locales; rounding on the decimal text,
      // half away from zero, no sign on a zero; optional decimals.
      {1234567.891, "#,##0", kComma, "1" + nbsp + "234" + nbsp + "568"}, {1234567.891, "#,##0", kPoint, "1,234,568"},
      {-1234.5, "#,##0.00", kComma, "-1" + nbsp + "234,50"}, {999.9996, "#,##0.000", kPoint, "1,000.000"},
      {12, "###########0.", kComma, "12,"}, {0.04, "###.#", kComma, ","}, {2.675, "0.00", kPoint, "2.68"},
      {1.005, "0.00", kPoint, "1.01"}, {-0.5, "0", kPoint, "-1"}, {-0.004, "0.00", kPoint, "0.00"},
      {12, "0.0##", kPoint, "12.0"}, {12.3456, "0.0##", kPoint, "12.346"}, {0.25, "0%", kPoint, "25%"},
      {1e20, "#,##0", kPoint, "100,000,000,000,000,000,000"}, {-3, "Total: 0 €", kComma, "-Total: 3 €"},
      {1234567, "#,##0,", kPoint, "1,235"}, {2.5, "", kComma, "2,5"}, {kInf, "0.00", kPoint, "1.#INF"}};
  for (const auto& c : cases) {
    EXPECT_EQ(FormatNumber(c.v, c.picture, c.l), c.text) << c.v << " as " << c.picture;
  }
  EXPECT_EQ(FormatNumber(1.7e308, "0", kPoint).size(), 309u);
}

}  // namespace
}  // namespace mandor
