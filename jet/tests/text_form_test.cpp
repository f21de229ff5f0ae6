// The canonical text form: the layout other readers are compared against
// byte for byte, so every rule is pinned here.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "jet/text_form.h"

namespace jet {
namespace {

TEST(CanonicalText, NumbersLaidOutAsEcmaScriptPrintsThem) {
  EXPECT_EQ(FormatDouble(1), "1");
  EXPECT_EQ(FormatDouble(1.5), "1.5");
  EXPECT_EQ(FormatDouble(-2.25), "-2.25");
  EXPECT_EQ(FormatDouble(0.000001), "0.000001");
  EXPECT_EQ(FormatDouble(1e-7), "1e-7");
  EXPECT_EQ(FormatDouble(1.5e21), "1.5e+21");
  EXPECT_EQ(FormatDouble(1e21), "1e+21");
  EXPECT_EQ(FormatDouble(123456789012345680000.0), "123456789012345680000");
  EXPECT_EQ(FormatDouble(0.1 + 0.2), "0.30000000000000004");
  EXPECT_EQ(FormatDouble(-0.0), "0");
  EXPECT_EQ(FormatDouble(std::numeric_limits<double>::quiet_NaN()), "NaN");
  EXPECT_EQ(FormatDouble(std::numeric_limits<double>::infinity()), "Infinity");
  EXPECT_EQ(FormatDouble(-std::numeric_limits<double>::infinity()), "-Infinity");
  EXPECT_EQ(FormatDouble(-1.25e-10), "-1.25e-10");
  // Single keeps single precision: 0.1f is "0.1", not 0.10000000149011612.
  EXPECT_EQ(FormatSingle(0.1f), "0.1");
  EXPECT_EQ(FormatSingle(3.4028235e38f), "3.4028235e+38");
  EXPECT_EQ(FormatSingle(16777216.0f), "16777216");
}

TEST(CanonicalText, CurrencyWithoutTrailingZeros) {
  EXPECT_EQ(FormatCurrency({123400}), "12.34");
  EXPECT_EQ(FormatCurrency({1000000}), "100");
  EXPECT_EQ(FormatCurrency({0}), "0");
  EXPECT_EQ(FormatCurrency({-5}), "-0.0005");
  EXPECT_EQ(FormatCurrency({std::numeric_limits<int64_t>::min()}), "-922337203685477.5808");
}

TEST(CanonicalText, DatesFromDaySerials) {
  EXPECT_EQ(FormatDateTime({0}), "1899-12-30 00:00:00");
  EXPECT_EQ(FormatDateTime({1}), "1899-12-31 00:00:00");
  EXPECT_EQ(FormatDateTime({36526.5}), "2000-01-01 12:00:00");
  // Negative serials: the day toward zero, the fraction's magnitude as time.
  EXPECT_EQ(FormatDateTime({-1.25}), "1899-12-29 06:00:00");
  EXPECT_EQ(FormatDateTime({-728}), "1898-01-01 00:00:00");
  EXPECT_EQ(FormatDateTime({2958465.999988426}), "9999-12-31 23:59:59");
  // Milliseconds only when present.
  EXPECT_EQ(FormatDateTime({0.5 + 1.0 / 86400000 * 250}), "1899-12-30 12:00:00.250");
  // A time that rounds to midnight carries into the next day.
  EXPECT_EQ(FormatDateTime({1.9999999999}), "1900-01-01 00:00:00");
  EXPECT_EQ(FormatDateTime({-1.9999999999}), "1899-12-28 00:00:00");
  EXPECT_EQ(FormatDateTime({60}), "1900-02-28 00:00:00");  // no 1900-02-29 in Jet
}

TEST(CanonicalText, ValuesAndCsvQuoting) {
  EXPECT_EQ(CanonicalText(Value()), "\\N");
  EXPECT_EQ(CanonicalText(Value(ColumnType::kBoolean, true)), "1");
  EXPECT_EQ(CanonicalText(Value(ColumnType::kBoolean, false)), "0");
  EXPECT_EQ(CanonicalText(Value(ColumnType::kInteger, int64_t{-32768})), "-32768");
  EXPECT_EQ(CanonicalText(Value(ColumnType::kOle, Bytes{0x00, 0xAB, 0x7F})), "00ab7f");
  Guid g = {0x78, 0x56, 0x34, 0x12, 0x34, 0x12, 0x78, 0x56, 0x9A, 0xBC, 0xDE, 0xF0, 0x01, 0x23, 0x45, 0x67};
  EXPECT_EQ(CanonicalText(Value(ColumnType::kGuid, g)), "{12345678-1234-5678-9ABC-DEF001234567}");

  std::string out;
  AppendCsvRecord(&out, Row{Value(ColumnType::kText, std::string("plain")), Value(ColumnType::kText, std::string("a,b")),
                            Value(ColumnType::kText, std::string("say \"hi\"")), Value::Null(ColumnType::kText),
                            Value(ColumnType::kText, std::string("\\N")), Value(ColumnType::kText, std::string("l1\r\nl2")),
                            Value(ColumnType::kText, std::string())});
  EXPECT_EQ(out, "plain,\"a,b\",\"say \"\"hi\"\"\",\\N,\"\\N\",\"l1\r\nl2\",\n");
  out.clear();
  AppendCsvHeader(&out, {"ID", "Unit, Price"});
  EXPECT_EQ(out, "ID,\"Unit, Price\"\n");
}

}  // namespace
}  // namespace jet
