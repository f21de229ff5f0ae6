// Helpers shared by the Jet functions registered in SQLite: reading
// arguments, Jet's text form of values, rounding and case folding.
#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "jet/sort_order.h"
#include "sql/sql_types.h"

namespace jet::sql {

// Registers every Jet function, aggregate and the JETGENERAL and JETDECIMAL
// collations; text compares in the General order of the file's version.
void RegisterJetFunctions(sqlite3* db, SortOrderVersion order);
void RegisterTextFunctions(sqlite3* db, SortOrderVersion order);
void RegisterNumberFunctions(sqlite3* db);
void RegisterDateFunctions(sqlite3* db);
void RegisterFormatFunction(sqlite3* db);
void RegisterAggregateFunctions(sqlite3* db);
void RegisterDecimalFunctions(sqlite3* db);

inline bool IsNull(sqlite3_value* v) { return sqlite3_value_type(v) == SQLITE_NULL; }
// A number from an argument: integers and reals as they are, text read as Val does.
double ArgNumber(sqlite3_value* v);
// Text of an argument: text as it is, numbers in Jet's form.
std::string ArgText(sqlite3_value* v);
// A day number from an argument: numbers as they are, text parsed as a date.
std::optional<double> ArgDate(sqlite3_value* v);
int64_t ArgInt(sqlite3_value* v);

// Jet's text for a value held as SQLite stores `type` (CStr and &).
std::string TypedText(sqlite3_value* v, SqlType type);
std::string NumberText(double value);
// printf-style %.<digits>G / %.<digits>f / %.<digits>E without the locale's decimal comma.
std::string GeneralDigits(double value, int digits);
std::string FixedDigits(double value, int decimals);
std::string ScientificDigits(double value, int decimals);
std::string CurrencyText(int64_t scaled);
// m/d/yyyy, h:nn:ss AM/PM, or both, as a US-English Access shows dates.
std::string DateText(double serial);

// Rounds half to even, as VBA's Round, CInt and CCur do.
double RoundHalfEven(double value, int digits = 0);
// The nearest whole number, halves to even; nullopt past the 64-bit range
// and for NaN.
std::optional<int64_t> CheckedRoundHalfEvenToInt(double value);
// The same, taking the nearest end of the range (0 for NaN) where there is
// no such number.
int64_t RoundHalfEvenToInt(double value);

// Lower-cases UTF-8 text for case-blind comparison (ASCII, Latin-1,
// Latin Extended-A, Greek and Cyrillic).
std::string FoldCase(std::string_view text);
std::string UpperCase(std::string_view text);
// Code points of UTF-8 text.
std::u32string DecodeUtf8(std::string_view text);
std::string EncodeUtf8(std::u32string_view text);

void ResultText(sqlite3_context* ctx, const std::string& text);

// Currency held as ten-thousandths: from a number or text; nullopt for
// what is no number and for a number past Currency's range.
std::optional<int64_t> ToScaledCurrency(sqlite3_value* v);
// Exact: the digits are read, not a double; rounds half to even. nullopt
// for what is no number and past the range.
std::optional<int64_t> ScaledCurrencyFromText(std::string_view text);

}  // namespace jet::sql
