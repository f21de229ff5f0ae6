// What Jet SQL expressions evaluate to: each table pairs an expression with
// the result Access gives for it under US-English settings, in the canonical
// text form (booleans 1/0, dates yyyy-MM-dd HH:mm:ss, Null \N). "#Error"
// stands for a run-time error (type mismatch, overflow), which Access shows
// in the cell.
#include <gtest/gtest.h>

#include <cstdio>

#include "jet/create.h"
#include "jet/query.h"
#include "jet/text_form.h"
#include "test_support.h"

namespace jet {
namespace {

struct Case {
  const char* expr;
  const char* access;
};

QueryEngine& Constants() {
  static std::shared_ptr<QueryEngine> engine = [] {
    std::shared_ptr<QueryEngine> e;
    Status s = QueryEngine::ForFile(testing::FixturePath("nwind.mdb"), {}, &e);
    EXPECT_TRUE(s.ok()) << s.ToString();
    return e;
  }();
  return *engine;
}

std::string Eval(QueryEngine& engine, const std::string& expr, ColumnType* type = nullptr) {
  QueryResult r;
  Status s = engine.RunSql("SELECT " + expr + " AS X", {}, &r);
  if (!s.ok()) return "#Error";
  if (r.rows.size() != 1 || r.rows[0].size() != 1) return "<no single value>";
  if (type) *type = r.columns[0].type;
  return CanonicalText(r.rows[0][0]);
}

void ExpectAccessResults(const std::vector<Case>& cases) {
  for (const Case& c : cases) EXPECT_EQ(Eval(Constants(), c.expr), c.access) << c.expr;
}

TEST(JetExpressions, ArithmeticAndConcatenation) {
  ExpectAccessResults({
      {"'1' + '2'", "12"},
      {"1 + '2'", "3"},
      {"Null + 1", "\\N"},
      {"'a' + Null", "\\N"},
      {"Null & 'a'", "a"},
      {"'a' & Null", "a"},
      {"Null & Null", "\\N"},
      {"Null * 2", "\\N"},
      {"Null \\ 2", "\\N"},
      {"Null Mod 2", "\\N"},
      {"-Null", "\\N"},
      {"1.5 & ''", "1.5"},
      {"-1.5 & 'x'", "-1.5x"},
      {"1 & 2", "12"},
      {"(1/3) & ''", "0.333333333333333"},
      {"#1/31/2001# & ''", "1/31/2001"},
      {"#1/31/2001 13:45# & ''", "1/31/2001 1:45:00 PM"},
      {"True & ''", "True"},
      {"7 \\ 2", "3"},
      {"7.5 \\ 2", "4"},   // operands rounded half to even first
      {"6.5 \\ 2", "3"},
      {"-7.5 \\ 2", "-4"},
      {"5.5 Mod 2", "0"},  // 6 Mod 2
      {"-7 Mod 3", "-1"},  // the dividend's sign
      {"7 Mod -3", "1"},
      {"2 ^ 3", "8"},
      {"2 ^ -1", "0.5"},
      {"5 / 2", "2.5"},
      {"5 \\ 0", "#Error"},
      {"5 Mod 0", "#Error"},
      {"32767 + 1", "32768"},
      {"CCur(1.1) * 3", "3.3"},
      {"CCur(10) / 4", "2.5"},
      // Integer literal minus Single is a Single, and Currency times Single
      // a Currency: the Order Details Extended figure of Access's sample.
      {"CCur(CCur(13.9) * 21 * (1 - CSng(0.15)) / 100) * 100", "248.12"},
  });
  // Result types: multiplication ranks Double above Currency, addition below.
  const struct {
    const char* expr;
    ColumnType type;
  } kTypes[] = {
      {"CCur(1.1) * 3", ColumnType::kCurrency},     {"CCur(1.1) * CSng(1.5)", ColumnType::kCurrency},
      {"CCur(1.1) * 1.5", ColumnType::kDouble},     {"CCur(1.1) + 1.25", ColumnType::kCurrency},
      {"CCur(1.1) / CCur(2)", ColumnType::kDouble}, {"2 ^ 2", ColumnType::kDouble},
      {"'a' & 1", ColumnType::kText},               {"CInt(1) + CInt(2)", ColumnType::kInteger},
      {"CInt(1) + CLng(2)", ColumnType::kLong},     {"#1/1/2001# + 1", ColumnType::kDateTime},
      {"#1/2/2001# - #1/1/2001#", ColumnType::kDouble},
      {"Abs(True)", ColumnType::kInteger},          {"Int(1 = 1)", ColumnType::kInteger},
      {"1 - CSng(0.15)", ColumnType::kSingle},      {"100000 - CSng(0.15)", ColumnType::kDouble},
      {"CCur(13.9) * 21 * (1 - CSng(0.15))", ColumnType::kCurrency},
  };
  for (const auto& c : kTypes) {
    ColumnType type = ColumnType::kText;
    Eval(Constants(), c.expr, &type);
    EXPECT_EQ(type, c.type) << c.expr;
  }
}

TEST(JetExpressions, TrueIsMinusOneAndLogicIsThreeValued) {
  ExpectAccessResults({
      {"True + 0", "-1"},
      {"(1 = 1) + 0", "-1"},
      {"(1 < 2) * 5", "-5"},
      {"-(1 < 2)", "1"},
      {"Abs(2 > 1)", "1"},
      {"Int(True)", "-1"},
      {"Fix(1 = 1)", "-1"},
      {"Abs('-2.5')", "2.5"},
      {"CInt(1 = 1)", "-1"},
      {"(1 = 1) = True", "1"},
      {"(2 > 1) = -1", "1"},
      {"(Not 0) + 0", "-1"},
      {"(Not (1 = 2)) + 0", "-1"},
      {"('a' Like 'A') + 0", "-1"},
      {"(1 In (1, 2)) + 0", "-1"},
      {"(Null Is Null) + 0", "-1"},
      {"(3 Between 1 And 5) + 0", "-1"},
      {"((1 = 1) And (2 = 2)) + 0", "-1"},
      {"Not Null", "\\N"},
      {"Null And False", "0"},
      {"Null And True", "\\N"},
      {"Null Or True", "1"},
      {"Null Or False", "\\N"},
      {"True Xor False", "1"},
      {"Null Between 1 And 2", "\\N"},
      {"1 In (1, Null)", "1"},
      {"2 In (1, Null)", "\\N"},
      {"2 Not In (1, Null)", "\\N"},
      {"Null = Null", "\\N"},
      {"IsNull(Null) + 0", "-1"},
      {"'abc' = 'ABC'", "1"},  // text compares case-blind
      {"'b' > 'A'", "1"},
      {"'10' < '9'", "1"},
      {"10 < '9'", "0"},       // a number against numeric text compares numbers
  });
}

TEST(JetExpressions, LikePatterns) {
  ExpectAccessResults({
      {"'abc' Like 'A*'", "1"},
      {"'abc' Like '*B*'", "1"},
      {"'abc' Like 'a?c'", "1"},
      {"'abc' Like 'a?'", "0"},
      {"'a1c' Like 'a#c'", "1"},
      {"'abc' Like 'a#c'", "0"},
      {"'b' Like '[a-c]'", "1"},
      {"'B' Like '[a-c]'", "1"},
      {"'b' Like '[!a-c]'", "0"},
      {"'d' Like '[!a-c]'", "1"},
      {"'a*' Like 'a[*]'", "1"},
      {"'ab' Like 'a[*]'", "0"},
      {"'a?' Like 'a[?]'", "1"},
      {"'a#' Like 'a[#]'", "1"},
      {"'a-' Like 'a[-]'", "1"},
      {"'' Like '*'", "1"},
      {"Null Like '*'", "\\N"},
      {"'abc' Not Like 'x*'", "1"},
      {"123 Like '1*'", "1"},
  });
}

TEST(JetExpressions, Conversions) {
  ExpectAccessResults({
      {"CInt(2.5)", "2"},
      {"CInt(3.5)", "4"},
      {"CInt(-2.5)", "-2"},
      {"CInt(-3.5)", "-4"},
      {"CInt('12.5')", "12"},
      {"CInt(' 7 ')", "7"},
      {"CInt('1,234')", "1234"},
      {"CInt('abc')", "#Error"},
      {"CInt(32767.5)", "#Error"},
      {"CInt(40000)", "#Error"},
      {"CLng(2.5)", "2"},
      {"CLng(2147483648)", "#Error"},
      {"CByte(255.5)", "#Error"},
      {"CByte(-1)", "#Error"},
      {"CLng(True)", "-1"},
      // Text holding a whole &H or &O number converts as the literal would.
      {"CLng('&H10')", "16"},
      {"CInt(' &HFFFF ')", "-1"},
      {"CCur('&O17')", "15"},
      {"CLng('&H')", "#Error"},
      {"CLng('&H10 x')", "#Error"},
      {"CDbl('1.5')", "1.5"},
      {"CDbl('$1,234.5')", "1234.5"},
      {"CDbl(#1/1/2001#)", "36892"},
      {"CCur(1.23456)", "1.2346"},
      {"CCur('1.23455')", "1.2346"},
      {"CCur('1.23445')", "1.2344"},
      {"CBool('True')", "1"},
      {"CBool('no')", "0"},
      {"CBool(5) + 0", "-1"},
      {"CBool('0')", "0"},
      {"CBool('abc')", "#Error"},
      {"CDate('1/31/2001')", "2001-01-31 00:00:00"},
      {"CDate('31-Jan-2001 10:30')", "2001-01-31 10:30:00"},
      {"CDate('January 31, 2001')", "2001-01-31 00:00:00"},
      {"CDate(36922.5)", "2001-01-31 12:00:00"},
      {"CDate('abc')", "#Error"},
      {"CStr(True)", "True"},
      {"CStr(False)", "False"},
      {"CStr(#1/31/2001#)", "1/31/2001"},
      {"CStr(#13:45:10#)", "1:45:10 PM"},
      {"CStr(1.5)", "1.5"},
      {"CStr(-0.5)", "-0.5"},
      {"CStr(1E-5)", "1E-05"},
      {"CStr(1E+20)", "1E+20"},
      {"CStr(CCur(2.5))", "2.5"},
      {"Int(-2.5)", "-3"},
      {"Fix(-2.5)", "-2"},
      {"Int(2.7)", "2"},
      {"Int(-0.5)", "-1"},
      {"Fix(-0.5)", "0"},
      {"Round(2.5)", "2"},
      {"Round(3.5)", "4"},
      {"Round(-2.5)", "-2"},
      {"Round(0.125, 2)", "0.12"},
      {"Round(0.135, 2)", "0.14"},
      {"Round(1.005, 2)", "1"},
      {"Round(CCur(2.345), 2)", "2.34"},
      {"Val('  1 2 3abc')", "123"},
      {"Val('&H1F')", "31"},
      {"Val('&O17')", "15"},
      {"Val('&HFFFF')", "-1"},
      {"Val('&H10000')", "65536"},
      {"Val('1e3')", "1000"},
      {"Val('')", "0"},
      {"Val('.5')", "0.5"},
      {"Val('-  5')", "-5"},
      {"Val('12.5.3')", "12.5"},
      {"Val('1,234')", "1"},
      {"Val('abc')", "0"},
      {"Val(Null)", "\\N"},
      {"Str(5)", " 5"},
      {"Str(-5)", "-5"},
      {"Str(1.5)", " 1.5"},
      {"Str(Null)", "\\N"},
      {"Str(CSng(1.1))", " 1.1"},  // a Single prints with its own seven digits
      {"CSng(1.1) & ''", "1.1"},
      {"Hex(255)", "FF"},
      {"Hex(-1)", "FFFF"},
      {"Hex(-32769)", "FFFF7FFF"},
      {"Hex(10.5)", "A"},
      {"Oct(8)", "10"},
      {"IsNumeric('1.5')", "1"},
      {"IsNumeric('abc')", "0"},
      {"IsNumeric(Null)", "0"},
      {"IsNumeric('$1,234.5')", "1"},
      {"IsNumeric('&H1F')", "1"},
      {"IsNumeric('1/31/2001')", "0"},
      {"IsNumeric(#1/31/2001#)", "0"},
      {"IsNumeric('')", "0"},
      {"IsDate('1/31/2001')", "1"},
      {"IsDate('abc')", "0"},
      {"CVar(5) + 1", "6"},
      {"IsEmpty(Null) + 0", "0"},
      // Ranges padded to the width of stop + 1, so that they sort as text.
      {"Partition(15, 0, 100, 10)", " 10: 19"},
      {"Partition(-1, 0, 99, 5)", "   : -1"},
      {"Partition(150, 0, 100, 10)", "101:   "},
      {"Partition(1005, 100, 1010, 20)", "1000:1010"},
      {"Partition(100, 0, 100, 5)", "100:100"},
      {"Partition(Null, 0, 100, 5)", "\\N"},
      {"Partition(5, 10, 5, 1)", "#Error"},
  });
}

TEST(JetExpressions, TextFunctions) {
  ExpectAccessResults({
      {"Left('abc', 2)", "ab"},
      {"Left('abc', 5)", "abc"},
      {"Left('abc', 0)", ""},
      {"Left(Null, 2)", "\\N"},
      {"Right('abc', 2)", "bc"},
      {"Right('abc', 5)", "abc"},
      {"Mid('abcdef', 3)", "cdef"},
      {"Mid('abcdef', 2, 2)", "bc"},
      {"Mid('abc', 5)", ""},
      {"Mid('abc', 2, 10)", "bc"},
      {"Mid(Null, 1, 1)", "\\N"},
      {"Len('abc')", "3"},
      {"Len('')", "0"},
      {"Len(Null)", "\\N"},
      {"Len(123)", "3"},
      {"Len('côte')", "4"},
      {"InStr('abcabc', 'c')", "3"},
      {"InStr('abcabc', 'C')", "3"},
      {"InStr(4, 'abcabc', 'c')", "6"},
      {"InStr(1, 'abcABC', 'C', 0)", "6"},
      {"InStr(1, 'abcABC', 'C', 1)", "3"},
      {"InStr('abc', 'x')", "0"},
      {"InStr('abc', '')", "1"},
      {"InStr(5, 'abc', 'a')", "0"},
      {"InStr(Null, 'a')", "\\N"},
      {"InStr('a', Null)", "\\N"},
      {"InStrRev('abcabc', 'c')", "6"},
      {"InStrRev('abcabc', 'c', 5)", "3"},
      {"InStrRev('abc', 'x')", "0"},
      {"InStrRev('abcabC', 'c')", "6"},
      {"InStrRev('abcabc', 'bc', 5)", "2"},
      {"InStrRev('abcabC', 'c', -1, 0)", "3"},
      {"Trim('  a b  ')", "a b"},
      {"LTrim('  a ') & '|'", "a |"},
      {"RTrim(' a  ') & '|'", " a|"},
      {"Trim(Null)", "\\N"},
      {"LTrim$(' a')", "a"},
      {"String$(2, 'a')", "aa"},
      {"AscW('A')", "65"},
      {"UCase('éa')", "ÉA"},
      {"LCase('ÉA')", "éa"},
      {"UCase('ÿŒš')", "ŸŒŠ"},
      {"LCase('ŸŒŠ')", "ÿœš"},
      {"'Ÿ' = 'ÿ'", "1"},
      {"UCase(Null)", "\\N"},
      {"Replace('aXbxc', 'x', '-')", "a-b-c"},
      {"Replace('abcabc', 'b', '', 1, 1)", "acabc"},
      {"Replace('abc', 'x', 'y')", "abc"},
      {"Space(3) & '|'", "   |"},
      {"String(3, 'ab')", "aaa"},
      {"String(2, 65)", "AA"},
      {"StrComp('a', 'B')", "-1"},
      {"StrComp('a', 'A')", "0"},
      {"StrComp('a', 'A', 0)", "1"},
      {"StrComp('b', 'a', 1)", "1"},
      {"StrComp(Null, 'a')", "\\N"},
      {"StrReverse('abc')", "cba"},
      {"Chr(65)", "A"},
      {"Chr(128)", "€"},
      {"Asc('A')", "65"},
      {"Asc('abc')", "97"},
      {"Asc('€')", "128"},  // the Windows-1252 code
      {"AscW('€')", "8364"},
      {"Asc('é')", "233"},
  });
}

TEST(JetExpressions, FormatNamedAndCustom) {
  ExpectAccessResults({
      {"Format(1234.5, 'General Number')", "1234.5"},
      {"Format(1234.5, 'Currency')", "$1,234.50"},
      {"Format(-1234.5, 'Currency')", "($1,234.50)"},
      {"Format(1234.5, 'Fixed')", "1234.50"},
      {"Format(0.5, 'Fixed')", "0.50"},
      {"Format(1234.5, 'Standard')", "1,234.50"},
      {"Format(0.125, 'Percent')", "12.50%"},
      {"Format(1234.5, 'Scientific')", "1.23E+03"},
      {"Format(0.000123, 'Scientific')", "1.23E-04"},
      {"Format(0, 'Yes/No')", "No"},
      {"Format(5, 'Yes/No')", "Yes"},
      {"Format(5, 'True/False')", "True"},
      {"Format(0, 'On/Off')", "Off"},
      {"Format(#1/31/2001 13:45:10#, 'General Date')", "1/31/2001 1:45:10 PM"},
      {"Format(#1/31/2001#, 'Long Date')", "Wednesday, January 31, 2001"},
      {"Format(#1/31/2001#, 'Medium Date')", "31-Jan-01"},
      {"Format(#1/31/2001#, 'Short Date')", "1/31/2001"},
      {"Format(#13:45:10#, 'Long Time')", "1:45:10 PM"},
      {"Format(#13:45:10#, 'Medium Time')", "01:45 PM"},
      {"Format(#13:45:10#, 'Short Time')", "13:45"},
      {"Format(#1/31/2001 13:45#, 'yyyy-mm-dd')", "2001-01-31"},
      {"Format(#1/31/2001 13:45#, 'dd-mmm-yyyy hh:nn')", "31-Jan-2001 13:45"},
      {"Format(#1/5/2001#, 'mmmm d, yyyy')", "January 5, 2001"},
      {"Format(#1/31/2001#, 'ddd')", "Wed"},
      {"Format(#1/31/2001#, 'dddd')", "Wednesday"},
      {"Format(#1/31/2001 8:05:03 PM#, 'h:nn:ss AM/PM')", "8:05:03 PM"},
      {"Format(#1/31/2001#, 'q')", "1"},
      {"Format(#1/31/2001#, 'ww')", "5"},
      {"Format(#1/31/2001#, 'y')", "31"},
      {"Format(#1/31/2001 9:05#, 'h:nn a/p')", "9:05 a"},
      {"Format(#1/31/2001 13:45:10#, 'ddddd')", "1/31/2001"},
      {"Format(#1/31/2001 13:45:10#, 'dddddd')", "Wednesday, January 31, 2001"},
      {"Format(#1/31/2001 13:45:10#, 'ttttt')", "1:45:10 PM"},
      {"Format(#1/31/2001 13:45:10#, 'c')", "1/31/2001 1:45:10 PM"},
      {"Format(#12/30/1899#, 'General Date')", "12:00:00 AM"},  // day 0 shows as a time
      {"Format(0.5, 'General Date')", "12:00:00 PM"},
      {"Format(36922, 'yyyy-mm-dd')", "2001-01-31"},
      {"Format('2001-01-31', 'yyyy')", "2001"},
      {"Format('abc', 'Short Date')", "abc"},
      {"Format('12', '0.00')", "12.00"},
      {"Format(3.14159, '0.00')", "3.14"},
      {"Format(1234567.891, '#,##0.00')", "1,234,567.89"},
      {"Format(0, '#,##0.00')", "0.00"},
      {"Format(1234, '#,##0')", "1,234"},
      {"Format(0.256, '0%')", "26%"},
      {"Format(42, '00000')", "00042"},
      {"Format(-3.5, '0.0')", "-3.5"},
      {"Format(0.5, '#.##')", ".5"},
      {"Format(-5, '0.00;(0.00)')", "(5.00)"},
      {"Format(0, '0.00;(0.00);\"zero\"')", "zero"},
      {"Format('ab', '@@@')", " ab"},
      {"Format('abcde', '@@@')", "abcde"},
      {"Format('ab', '!@@@') & '|'", "ab |"},
      {"Format('5551234', '@@@-@@@@')", "555-1234"},
      {"Format('abc', '>')", "ABC"},
      {"Format('ABC', '<')", "abc"},
      // Format rounds half away from zero on the printed digits (Round does not).
      {"Format(2.5, '0')", "3"},
      {"Format(-2.5, '0')", "-3"},
      {"Format(0.125, '0.00')", "0.13"},
      {"Format(1.005, '0.00')", "1.01"},
      {"Format(0.125, 'Standard')", "0.13"},
      {"Format(12345.675, 'Currency')", "$12,345.68"},
      {"Format(12345, '0.00E+00')", "1.23E+04"},
      {"Format(0.00012345, '0.00E-00')", "1.23E-04"},
      {"Format(-12345, '0.00E+00')", "-1.23E+04"},
      {"Format(99999, '0.0E+00')", "1.0E+05"},
      {"Format(12345, '0.0e+0')", "1.2e+4"},
      {"FormatNumber(1234.5)", "1,234.50"},
      {"FormatNumber(1234.567, 1)", "1,234.6"},
      {"FormatNumber(-0.5)", "-0.50"},
      {"FormatNumber(0.5, 2, 0)", ".50"},
      {"FormatNumber(-3, 0, -2, -1)", "(3)"},
      {"FormatNumber(1234.5, 2, -2, -2, 0)", "1234.50"},
      {"FormatCurrency(1234.5)", "$1,234.50"},
      {"FormatCurrency(-1234.5)", "($1,234.50)"},
      {"FormatPercent(0.125)", "12.50%"},
      {"FormatDateTime(#1/31/2001 13:45:10#)", "1/31/2001 1:45:10 PM"},
      {"FormatDateTime(#1/31/2001#, 1)", "Wednesday, January 31, 2001"},
      {"FormatDateTime(#1/31/2001 13:45:10#, 2)", "1/31/2001"},
      {"FormatDateTime(#1/31/2001 13:45:10#, 3)", "1:45:10 PM"},
      {"FormatDateTime(#1/31/2001 13:45:10#, 4)", "13:45"},
      {"Format(Null, '0.00')", "\\N"},
      {"Format(1234.5)", "1234.5"},
      {"Format(CSng(1.1), 'General Number')", "1.1"},
      {"Format(CCur(1.5), 'Currency')", "$1.50"},
      {"Format(#1/31/2001#)", "1/31/2001"},
  });
}

TEST(JetExpressions, DatesAndTimes) {
  ExpectAccessResults({
      {"#1/31/2001#", "2001-01-31 00:00:00"},
      {"#2001-01-31#", "2001-01-31 00:00:00"},
      {"#31-Jan-2001#", "2001-01-31 00:00:00"},
      {"#Jan 31, 2001#", "2001-01-31 00:00:00"},
      {"#1/31/01#", "2001-01-31 00:00:00"},
      {"#31/1/2001#", "2001-01-31 00:00:00"},  // no 31st month: day first
      {"#2001-01-31 10:00:00#", "2001-01-31 10:00:00"},
      {"#10:30 PM#", "1899-12-30 22:30:00"},
      {"DateValue('31/1/2001')", "2001-01-31 00:00:00"},
      {"DateAdd('m', 1, '1/31/2001')", "2001-02-28 00:00:00"},
      {"DateDiff('d', '1/1/2001', '1/31/2001')", "30"},
      {"#1/31/2001# = '1/31/2001'", "1"},
      {"#1/31/2001 1:30 PM#", "2001-01-31 13:30:00"},
      {"DateSerial(2001, 13, 1)", "2002-01-01 00:00:00"},
      {"DateSerial(2001, 3, 0)", "2001-02-28 00:00:00"},
      {"DateSerial(2001, 1, -1)", "2000-12-30 00:00:00"},
      {"DateSerial(2001, 0, 1)", "2000-12-01 00:00:00"},
      {"DateSerial(99, 1, 1)", "1999-01-01 00:00:00"},
      {"DateSerial(2001, 2, 29)", "2001-03-01 00:00:00"},
      {"TimeSerial(13, 45, 10)", "1899-12-30 13:45:10"},
      {"DateAdd('m', 1, #1/31/2001#)", "2001-02-28 00:00:00"},
      {"DateAdd('m', 1, #1/31/2000#)", "2000-02-29 00:00:00"},
      {"DateAdd('m', -1, #3/31/2001#)", "2001-02-28 00:00:00"},
      {"DateAdd('yyyy', 1, #2/29/2000#)", "2001-02-28 00:00:00"},
      {"DateAdd('q', 1, #1/31/2001#)", "2001-04-30 00:00:00"},
      {"DateAdd('ww', 1, #1/31/2001#)", "2001-02-07 00:00:00"},
      {"DateAdd('d', 1, #1/31/2001#)", "2001-02-01 00:00:00"},
      {"DateAdd('y', 1, #1/31/2001#)", "2001-02-01 00:00:00"},
      {"DateAdd('w', 1, #1/31/2001#)", "2001-02-01 00:00:00"},
      {"DateAdd('h', 25, #1/31/2001#)", "2001-02-01 01:00:00"},
      {"DateAdd('n', -1, #1/31/2001#)", "2001-01-30 23:59:00"},
      {"DateAdd('s', 30, #1/31/2001 10:00#)", "2001-01-31 10:00:30"},
      {"DateAdd('d', 1.7, #1/31/2001#)", "2001-02-02 00:00:00"},  // number rounded first
      {"DateAdd('x', 1, #1/31/2001#)", "#Error"},
      {"DateAdd('d', Null, #1/31/2001#)", "\\N"},
      {"DateDiff('yyyy', #12/31/2000#, #1/1/2001#)", "1"},
      {"DateDiff('q', #3/31/2001#, #4/1/2001#)", "1"},
      {"DateDiff('m', #1/31/2001#, #2/1/2001#)", "1"},
      {"DateDiff('m', #2/1/2001#, #1/31/2001#)", "-1"},
      {"DateDiff('d', #1/31/2001 23:00#, #2/1/2001 1:00#)", "1"},
      {"DateDiff('y', #1/1/2001#, #1/10/2001#)", "9"},
      {"DateDiff('w', #1/1/2001#, #1/14/2001#)", "1"},
      {"DateDiff('w', #1/1/2001#, #1/15/2001#)", "2"},
      {"DateDiff('w', #1/15/2001#, #1/1/2001#)", "-2"},
      {"DateDiff('ww', #1/6/2001#, #1/7/2001#)", "1"},  // Saturday to Sunday
      {"DateDiff('ww', #1/7/2001#, #1/13/2001#)", "0"},
      {"DateDiff('ww', #1/1/2001#, #1/8/2001#, 2)", "1"},
      {"DateDiff('ww', #1/2/2001#, #1/8/2001#, 2)", "1"},
      {"DateDiff('ww', #1/7/2001#, #1/1/2001#)", "-1"},
      {"DateDiff('h', #1/1/2001 10:59#, #1/1/2001 11:00#)", "1"},
      {"DateDiff('n', #1/1/2001 10:59:59#, #1/1/2001 11:00:00#)", "1"},
      {"DateDiff('s', #1/1/2001#, #1/2/2001#)", "86400"},
      {"DatePart('yyyy', #1/31/2001#)", "2001"},
      {"DatePart('q', #5/31/2001#)", "2"},
      {"DatePart('y', #12/31/2000#)", "366"},
      {"DatePart('w', #1/31/2001#)", "4"},
      {"DatePart('w', #1/31/2001#, 2)", "3"},
      {"DatePart('ww', #1/1/2005#)", "1"},
      {"DatePart('ww', #12/31/2005#)", "53"},
      {"DatePart('ww', #1/1/2005#, 1, 2)", "52"},  // first week with four days
      {"DatePart('ww', #1/1/2005#, 2, 3)", "52"},  // first full week
      {"DatePart('ww', #1/3/2005#, 2, 2)", "1"},
      {"DatePart('ww', #1/10/2005#, 2, 3)", "2"},
      {"Weekday(#1/31/2001#)", "4"},
      {"Weekday(#1/31/2001#, 2)", "3"},
      {"Weekday(#1/28/2001#, 1)", "1"},
      {"Year(#1/31/2001 13:45:10#)", "2001"},
      {"Month(#1/31/2001#)", "1"},
      {"Day(#1/31/2001#)", "31"},
      {"Hour(#1/31/2001 13:45:10#)", "13"},
      {"Minute(#1/31/2001 13:45:10#)", "45"},
      {"Second(#1/31/2001 13:45:10#)", "10"},
      {"Month('1/31/2001')", "1"},
      {"Year(Null)", "\\N"},
      // Before 1899-12-30 the day counts down but the time still counts up.
      {"CDbl(#12/29/1899 6:00#)", "-1.25"},
      {"Day(#12/29/1899 6:00#)", "29"},
      {"Hour(#12/29/1899 6:00#)", "6"},
      {"CDbl(#1/1/1800#)", "-36522"},
      {"DateAdd('h', 1, #12/29/1899 6:00#)", "1899-12-29 07:00:00"},
      {"DateDiff('d', #12/29/1899 18:00#, #12/30/1899 6:00#)", "1"},
      {"DateValue('1/31/2001 13:45')", "2001-01-31 00:00:00"},
      {"TimeValue('1/31/2001 13:45')", "1899-12-30 13:45:00"},
      {"MonthName(2)", "February"},
      {"MonthName(2, True)", "Feb"},
      {"WeekdayName(1)", "Sunday"},
      {"WeekdayName(1, True, 2)", "Mon"},
      {"WeekdayName(Weekday(#1/31/2001#))", "Wednesday"},
      {"#1/31/2001# + 1", "2001-02-01 00:00:00"},
      {"#2/1/2001# - #1/31/2001#", "1"},
      {"Date() = Int(Now())", "1"},
  });
  ColumnType type;
  Eval(Constants(), "Now()", &type);
  EXPECT_EQ(type, ColumnType::kDateTime);
  Eval(Constants(), "Date()", &type);
  EXPECT_EQ(type, ColumnType::kDateTime);
  Eval(Constants(), "DateAdd('d', 1, #1/31/2001#)", &type);
  EXPECT_EQ(type, ColumnType::kDateTime);
}

TEST(JetExpressions, NullHelpers) {
  ExpectAccessResults({
      {"IIf(1 = 1, 'a', 'b')", "a"},
      {"IIf(Null, 't', 'f')", "f"},
      {"IIf(1 = 1, 'a', 1 / 0)", "a"},
      {"IIf(1 = 2, 1, Null)", "\\N"},
      {"Nz(Null)", ""},  // a query's Nz gives a zero-length string
      {"Nz(Null) + 2", "2"},
      {"Nz(Null) & 2", "2"},
      {"Nz(5) + 1", "6"},
      {"Nz(1 = 1) = True", "1"},
      {"Nz(#1/31/2001#) & ''", "1/31/2001"},
      {"Nz(CCur(1.5)) * 2", "3"},
      {"Nz(Null, 0)", "0"},
      {"Nz(Null, 'z')", "z"},
      {"Nz('a', 'z')", "a"},
      {"Switch(1 = 2, 'a', 2 = 2, 'b')", "b"},
      {"Switch(1 = 2, 'a')", "\\N"},
      {"Choose(2, 'a', 'b')", "b"},
      {"Choose(3, 'a', 'b')", "\\N"},
      {"Choose(0, 'a')", "\\N"},
  });
}

// Aggregates, sorting and grouping over a table of our own with Nulls and
// text that differs only in case and accents.
TEST(JetExpressions, AggregatesSortingAndGrouping) {
  const std::string path = ::testing::TempDir() + "/expression_results.mdb";
  std::remove(path.c_str());
  ASSERT_TRUE(CreateDatabase(path, CreateOptions{}).ok());
  TableSpec t{"T",
              {{"ID", ColumnType::kLong}, {"K", ColumnType::kLong}, {"S", ColumnType::kText, 20},
               {"N", ColumnType::kInteger}, {"C", ColumnType::kCurrency}},
              {IndexSpec("PrimaryKey", {"ID"}, true)},
              ""};
  ASSERT_TRUE(CreateTables(path, {t}, CreateOptions{}).ok());
  OpenOptions writable;
  writable.writable = true;
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, writable, &engine).ok());
  int64_t affected = 0;
  for (const char* row : {"1, 1, 'b', 2, 0.1", "2, 1, 'ABC', Null, 0.2", "3, 1, Null, 5, Null",
                          "4, 2, 'abc', 4, 1.15", "5, 2, 'Éa', 4, 2.3", "6, 3, 'x', 7, 1"}) {
    Status s = engine->Execute(std::string("INSERT INTO T (ID, K, S, N, C) VALUES (") + row + ")", {}, &affected);
    ASSERT_TRUE(s.ok()) << row << ": " << s.ToString();
  }
  auto query = [&](const std::string& sql) {
    QueryResult r;
    Status s = engine->RunSql(sql, {}, &r);
    EXPECT_TRUE(s.ok()) << sql << ": " << s.ToString();
    std::string out;
    for (const Row& row : r.rows) AppendCsvRecord(&out, row);
    return out;
  };
  EXPECT_EQ(query("SELECT K, Sum(N), Avg(N), Min(S), Max(S), Count(*), Count(N), Count(S), First(N), Last(N), "
                  "First(S), Last(S) FROM T GROUP BY K ORDER BY K"),
            "1,7,3.5,ABC,b,3,2,2,2,5,b,\\N\n"
            "2,8,4,abc,Éa,2,2,2,4,4,abc,Éa\n"
            "3,7,7,x,x,1,1,1,7,7,x,x\n");
  EXPECT_EQ(query("SELECT K, StDev(N), Var(N), StDevP(N), VarP(N) FROM T GROUP BY K ORDER BY K"),
            "1,2.1213203435596424,4.5,1.5,2.25\n"
            "2,0,0,0,0\n"
            "3,\\N,\\N,0,0\n");
  // Whole numbers average to a Double; currency sums stay exact.
  QueryResult r;
  ASSERT_TRUE(engine->RunSql("SELECT Avg(N) AS A, Sum(C) AS S, Sum(N) AS SN FROM T", {}, &r).ok());
  EXPECT_EQ(r.columns[0].type, ColumnType::kDouble);
  EXPECT_EQ(r.columns[1].type, ColumnType::kCurrency);
  EXPECT_EQ(CanonicalText(r.rows[0][0]), "4.4");
  EXPECT_EQ(CanonicalText(r.rows[0][1]), "4.75");
  EXPECT_EQ(CanonicalText(r.rows[0][2]), "22");
  // Comparisons used as numbers count with -1.
  EXPECT_EQ(query("SELECT Sum(N > 3), Sum(IIf(N > 3, 1, 0)), Count(IIf(N > 3, 1, Null)) FROM T"), "-4,4,4\n");
  // Text sorts case- and accent-blind, Nulls first.
  EXPECT_EQ(query("SELECT S FROM T ORDER BY S, ID"), "\\N\nABC\nabc\nb\nÉa\nx\n");
  EXPECT_EQ(query("SELECT S FROM T ORDER BY S DESC, ID"), "x\nÉa\nb\nABC\nabc\n\\N\n");
  // Groups merge text that differs only in case.
  EXPECT_EQ(query("SELECT S, Count(*) FROM T GROUP BY S ORDER BY S"), "\\N,1\nABC,2\nb,1\nÉa,1\nx,1\n");
  EXPECT_EQ(query("SELECT DISTINCT S FROM T WHERE S Like 'a*'"), "ABC\n");
  EXPECT_EQ(query("SELECT ID FROM T WHERE S = 'abc' ORDER BY ID"), "2\n4\n");
  EXPECT_EQ(query("SELECT Nz(N), Nz(N) + 1 FROM T WHERE ID IN (2, 3) ORDER BY ID"), ",1\n5,6\n");
  EXPECT_EQ(query("SELECT ID FROM T WHERE (N > 3) = True ORDER BY ID"), "3\n4\n5\n6\n");
}

}  // namespace
}  // namespace jet
