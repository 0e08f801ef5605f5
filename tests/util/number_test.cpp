#include "mandor/util/number.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <string>

#include "mandor/util/error.h"
#include "tests/test_util.h"

namespace mandor {
namespace {

using test_util::ErrorNumberOf;

const Locale kComma = Locale::Comma();
const Locale kPoint = Locale::Point();
const std::string kNbsp = "\xC2\xA0";

TEST(NumberTest, SingleToText) {
  EXPECT_EQ(SingleToText(1520.0f, kComma), "1520");
  EXPECT_EQ(SingleToText(12.5f, kComma), "12,5");
  EXPECT_EQ(SingleToText(12.5f, kPoint), "12.5");
  EXPECT_EQ(SingleToText(0.1f, kComma), "0,1");
  EXPECT_EQ(SingleToText(-0.5f, kComma), "-0,5");
  EXPECT_EQ(SingleToText(0.0f, kComma), "0");
  EXPECT_EQ(SingleToText(-0.0f, kPoint), "0");
  EXPECT_EQ(SingleToText(2.54f, kPoint), "2.54");
  EXPECT_EQ(SingleToText(1.0f / 3.0f, kPoint), "0.3333333");
  EXPECT_EQ(SingleToText(1234567.0f, kPoint), "1234567");
  EXPECT_EQ(SingleToText(12345678.0f, kComma), "1,234568E+07");
  EXPECT_EQ(SingleToText(1e7f, kPoint), "1E+07");
  EXPECT_EQ(SingleToText(1.5e20f, kComma), "1,5E+20");
  EXPECT_EQ(SingleToText(0.0001f, kPoint), "0.0001");
  EXPECT_EQ(SingleToText(0.00001f, kPoint), "1E-05");
  EXPECT_EQ(SingleToText(1.5e-8f, kPoint), "1.5E-08");
  EXPECT_EQ(SingleToText(-3.25e-30f, kComma), "-3,25E-30");
  EXPECT_EQ(SingleToText(std::numeric_limits<float>::infinity(), kComma), "1,#INF");
}

TEST(NumberTest, DoubleToText) {
  EXPECT_EQ(DoubleToText(0.1 + 0.2, kComma), "0,3");
  EXPECT_EQ(DoubleToText(1.0 / 3.0, kPoint), "0.333333333333333");
  EXPECT_EQ(DoubleToText(0.1f, kPoint), "0.100000001490116");
  EXPECT_EQ(DoubleToText(-1234.5, kComma), "-1234,5");
  EXPECT_EQ(DoubleToText(123456789012345.0, kPoint), "123456789012345");
  EXPECT_EQ(DoubleToText(1e15, kPoint), "1E+15");
  EXPECT_EQ(DoubleToText(999999999999999.9, kPoint), "1E+15");
  EXPECT_EQ(DoubleToText(1.25e100, kComma), "1,25E+100");
  EXPECT_EQ(DoubleToText(-1.5e-300, kPoint), "-1.5E-300");
  EXPECT_EQ(DoubleToText(0.000123, kPoint), "0.000123");
  EXPECT_EQ(DoubleToText(0.0, kPoint), "0");
  EXPECT_EQ(DoubleToText(std::nan(""), kPoint), "-1.#IND");
  EXPECT_EQ(DoubleToText(-std::numeric_limits<double>::infinity(), kPoint), "-1.#INF");
}

TEST(NumberTest, BoolToText) {
  EXPECT_EQ(BoolToText(true, kComma), "Vrai");
  EXPECT_EQ(BoolToText(false, kComma), "Faux");
  EXPECT_EQ(BoolToText(true, kPoint), "True");
  EXPECT_EQ(BoolToText(false, kPoint), "False");
}

TEST(NumberTest, IsNumericFollowsTheLocale) {
  for (const char* s : {"12", " 12 ", "-12", "+0,5", ",5", "5,", "1 234,56", "1" "\xC2\xA0" "234",
                        "1,5E+3", "2d-2", "&H1F", "&o17", "\t7\r\n"}) {
    EXPECT_TRUE(IsNumericText(s, kComma)) << s;
  }
  for (const char* s : {"", "   ", ",", "-", "+,", "1.5", "1,2,3", "1  234", " 1 234 5,6,7", "12a",
                        "1E", "1E+", "E5", "--1", "1-", "(1)", "&H", "&HG", "&H123456789", "1E400"}) {
    EXPECT_FALSE(IsNumericText(s, kComma)) << s;
  }
  for (const char* s : {"1.5", ".5", "1,234.5", "1,2", "-1.5e-3"}) {
    EXPECT_TRUE(IsNumericText(s, kPoint)) << s;
  }
  for (const char* s : {"1,5,", ",1", "1,,2", "1 234", "1.2.3", "."}) {
    EXPECT_FALSE(IsNumericText(s, kPoint)) << s;
  }
}

TEST(NumberTest, ParseNumberAndToDouble) {
  EXPECT_EQ(ParseNumber("12,5", kComma), 12.5);
  EXPECT_EQ(ParseNumber("12.5", kPoint), 12.5);
  EXPECT_EQ(ParseNumber("12.5", kComma), std::nullopt);
  EXPECT_EQ(ParseNumber("1 234 567,25", kComma), 1234567.25);
  EXPECT_EQ(ParseNumber("1,234.5", kPoint), 1234.5);
  EXPECT_EQ(ParseNumber("-,25", kComma), -0.25);
  EXPECT_EQ(ParseNumber("1,5D2", kComma), 150.0);
  EXPECT_EQ(ParseNumber("&H1F", kPoint), 31.0);
  EXPECT_EQ(ParseNumber("&HFFFF", kPoint), -1.0);
  EXPECT_EQ(ParseNumber("&H10000", kPoint), 65536.0);
  EXPECT_EQ(ParseNumber("&HFFFFFFFF", kPoint), -1.0);
  EXPECT_EQ(ParseNumber("1E-400", kPoint), 0.0);
  EXPECT_EQ(ParseNumber("0,1", kComma), 0.1);
  EXPECT_EQ(ToDouble(" 2,54 ", kComma), 2.54);
  EXPECT_EQ(ErrorNumberOf([] { ToDouble("abc", kComma); }), kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([] { ToDouble("", kPoint); }), kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([] { ToDouble("2.54", kComma); }), kTypeMismatch);
  EXPECT_EQ(ErrorNumberOf([] { ToDouble("1E400", kPoint); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { ToDouble("1E999999999999999999999", kPoint); }), kOverflow);
  // A number printed by DoubleToText reads back to the same text.
  for (double v : {0.1, -1234.5678, 1e-7, 3.14159265358979, 6.02e23}) {
    for (const Locale& l : {kComma, kPoint}) {
      const std::string text = DoubleToText(v, l);
      ASSERT_TRUE(IsNumericText(text, l)) << text;
      EXPECT_EQ(DoubleToText(ToDouble(text, l), l), text);
    }
  }
}

TEST(NumberTest, ValReadsTheLeadingNumber) {
  EXPECT_EQ(Val("12abc"), 12.0);
  EXPECT_EQ(Val("0,5"), 0.0);
  EXPECT_EQ(Val("0.5"), 0.5);
  EXPECT_EQ(Val(""), 0.0);
  EXPECT_EQ(Val("abc"), 0.0);
  EXPECT_EQ(Val("."), 0.0);
  EXPECT_EQ(Val("-"), 0.0);
  EXPECT_EQ(Val("  1615 198th Street"), 1615198.0);
  EXPECT_EQ(Val(" -\t1 2.\n5x"), -12.5);
  EXPECT_EQ(Val("+.5"), 0.5);
  EXPECT_EQ(Val("1.2.3"), 1.2);
  EXPECT_EQ(Val("1e3"), 1000.0);
  EXPECT_EQ(Val("2D-2"), 0.02);
  EXPECT_EQ(Val("7E"), 7.0);
  EXPECT_EQ(Val("7E+x"), 7.0);
  EXPECT_EQ(Val("--1"), 0.0);
  EXPECT_EQ(Val("&H10"), 16.0);
  EXPECT_EQ(Val("&HFFFF"), -1.0);
  EXPECT_EQ(Val("&O17z"), 15.0);
  EXPECT_EQ(Val("&Hxyz"), 0.0);
  EXPECT_EQ(Val("1E-999"), 0.0);
  EXPECT_EQ(ErrorNumberOf([] { Val("1E999"); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { Val("&H100000000"); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { Val(std::string(5000, '9')); }), kOverflow);
  EXPECT_EQ(Val("0." + std::string(5000, '0') + "1"), 0.0);
}

TEST(NumberTest, IntegerConversionsRoundHalfToEven) {
  EXPECT_EQ(ToInt16(2.5), 2);
  EXPECT_EQ(ToInt16(3.5), 4);
  EXPECT_EQ(ToInt16(-2.5), -2);
  EXPECT_EQ(ToInt16(-3.5), -4);
  EXPECT_EQ(ToInt16(2.4999), 2);
  EXPECT_EQ(ToInt16(-0.5), 0);
  EXPECT_EQ(ToInt16(32767.4), 32767);
  EXPECT_EQ(ToInt16(-32768.5), -32768);
  EXPECT_EQ(ErrorNumberOf([] { ToInt16(32767.5); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { ToInt16(-32769); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { ToInt16(std::nan("")); }), kOverflow);
  EXPECT_EQ(ToInt32(2147483647.4), 2147483647);
  EXPECT_EQ(ToInt32(-2147483648.5), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(ToInt32(1e9 + 0.5), 1000000000);
  EXPECT_EQ(ErrorNumberOf([] { ToInt32(2147483647.5); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { ToInt32(std::numeric_limits<double>::infinity()); }), kOverflow);
  EXPECT_EQ(ToByte(254.5), 254);
  EXPECT_EQ(ToByte(255.49), 255);
  EXPECT_EQ(ToByte(-0.5), 0);
  EXPECT_EQ(ErrorNumberOf([] { ToByte(-0.6); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { ToByte(255.5); }), kOverflow);
}

TEST(NumberTest, ToSingleChecksTheRange) {
  EXPECT_EQ(ToSingle(0.1), 0.1f);
  EXPECT_EQ(ToSingle(-2.5), -2.5f);
  EXPECT_EQ(ToSingle(3.40282346638529e38), FLT_MAX);
  EXPECT_EQ(ErrorNumberOf([] { ToSingle(3.5e38); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { ToSingle(-1e300); }), kOverflow);
  EXPECT_EQ(ErrorNumberOf([] { ToSingle(std::nan("")); }), kOverflow);
}

TEST(NumberTest, FormatNumberPicturesOfTheModel) {
  EXPECT_EQ(FormatNumber(1234567.891, "#,##0", kComma), "1" + kNbsp + "234" + kNbsp + "568");
  EXPECT_EQ(FormatNumber(1234567.891, "#,##0", kPoint), "1,234,568");
  EXPECT_EQ(FormatNumber(1234.5, "#,##0.00", kComma), "1" + kNbsp + "234,50");
  EXPECT_EQ(FormatNumber(1234.5, "#,##0.00", kPoint), "1,234.50");
  EXPECT_EQ(FormatNumber(0.5, "#,##0.000", kPoint), "0.500");
  EXPECT_EQ(FormatNumber(999.9996, "#,##0.000", kPoint), "1,000.000");
  EXPECT_EQ(FormatNumber(12, "###########0.", kComma), "12,");
  EXPECT_EQ(FormatNumber(12, "###########0.", kPoint), "12.");
  EXPECT_EQ(FormatNumber(0, "###########0.", kPoint), "0.");
  EXPECT_EQ(FormatNumber(1234.567, "###########0.00", kComma), "1234,57");
  EXPECT_EQ(FormatNumber(12.34, "###.#", kPoint), "12.3");
  EXPECT_EQ(FormatNumber(0.04, "###.#", kPoint), ".");
  EXPECT_EQ(FormatNumber(0.04, "###.#", kComma), ",");
  EXPECT_EQ(FormatNumber(0.06, "###.#", kPoint), ".1");
  EXPECT_EQ(FormatNumber(12.5, "0", kPoint), "13");
  EXPECT_EQ(FormatNumber(3.14159, "0.00", kComma), "3,14");
  EXPECT_EQ(FormatNumber(0, "#", kPoint), "");
  EXPECT_EQ(FormatNumber(5, "000", kPoint), "005");
}

TEST(NumberTest, FormatNumberRoundsTheDecimalText) {
  EXPECT_EQ(FormatNumber(0.125, "0.00", kPoint), "0.13");
  EXPECT_EQ(FormatNumber(2.675, "0.00", kPoint), "2.68");
  EXPECT_EQ(FormatNumber(1.005, "0.00", kPoint), "1.01");
  EXPECT_EQ(FormatNumber(-2.675, "0.00", kPoint), "-2.68");
  EXPECT_EQ(FormatNumber(0.5, "0", kPoint), "1");
  EXPECT_EQ(FormatNumber(-0.5, "0", kPoint), "-1");
  EXPECT_EQ(FormatNumber(9.995, "0.00", kPoint), "10.00");
  EXPECT_EQ(FormatNumber(0.0049, "0.00", kPoint), "0.00");
  // A negative value rounded to zero shows no sign.
  EXPECT_EQ(FormatNumber(-0.004, "0.00", kPoint), "0.00");
  EXPECT_EQ(FormatNumber(-1234.5, "#,##0.00", kComma), "-1" + kNbsp + "234,50");
  // Optional decimals drop their trailing zeros, mandatory ones stay.
  EXPECT_EQ(FormatNumber(12.5, "0.0##", kPoint), "12.5");
  EXPECT_EQ(FormatNumber(12, "0.0##", kPoint), "12.0");
  EXPECT_EQ(FormatNumber(12.3456, "0.0##", kPoint), "12.346");
}

TEST(NumberTest, FormatNumberBeyondThePicture) {
  EXPECT_EQ(FormatNumber(123456, "0", kPoint), "123456");
  EXPECT_EQ(FormatNumber(1e20, "#,##0", kPoint), "100,000,000,000,000,000,000");
  EXPECT_EQ(FormatNumber(1e-20, "0.00", kPoint), "0.00");
  EXPECT_EQ(FormatNumber(1.7e308, "0", kPoint).size(), 309u);
  EXPECT_EQ(FormatNumber(0.25, "0%", kPoint), "25%");
  EXPECT_EQ(FormatNumber(-3, "Total: 0 €", kComma), "-Total: 3 €");
  EXPECT_EQ(FormatNumber(1234567, "#,##0,", kPoint), "1,235");
  EXPECT_EQ(FormatNumber(2.5, "", kComma), "2,5");
  EXPECT_EQ(FormatNumber(2.5, "abc", kComma), "abc");
  EXPECT_EQ(FormatNumber(std::numeric_limits<double>::infinity(), "0.00", kPoint), "1.#INF");
}

}  // namespace
}  // namespace mandor
