// Calendar arithmetic on Jet day numbers (days since 1899-12-30, the time of
// day as the fraction, sign-magnitude below zero), and the fixed, locale-free
// rules for reading dates and numbers written as text.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace jet::sql {

struct CivilDateTime {
  int64_t year = 1899;
  int month = 12, day = 30;
  int hour = 0, minute = 0, second = 0;
};

int64_t DaysFromCivil(int64_t y, int m, int d);
void CivilFromDays(int64_t days, int64_t* y, int* m, int* d);

// Day number <-> parts. The time is rounded to the second, as Access shows it.
double SerialFromCivil(const CivilDateTime& c);
CivilDateTime CivilFromSerial(double serial);
// The whole days and the seconds of the day of a serial (sign-magnitude).
void SplitSerial(double serial, int64_t* days, int* seconds);
// A day number from whole days (relative to 1899-12-30) and seconds of the day.
double JoinSerial(int64_t days, int seconds);

// Reads a date and/or time written as text: m/d/yyyy (US order always),
// yyyy-mm-dd, d-mmm-yyyy, d mmm yyyy, mmm d yyyy and English month names,
// each optionally followed by h:mm[:ss] [AM|PM]; or a time alone. Two-digit
// years 0-29 are 2000-2029, 30-99 are 1930-1999.
std::optional<double> ParseDateText(std::string_view text);

// Reads a number written with '.' as the decimal point; blanks around it
// are allowed, nothing else.
std::optional<double> ParseNumberText(std::string_view text);

// 1..12 from an English month name or its three-letter abbreviation; 0 if none.
int MonthFromName(std::string_view name);
std::string_view MonthName(int month, bool abbreviated);
std::string_view WeekdayName(int weekday /* 1 = Sunday */, bool abbreviated);
// 1 = Sunday ... 7 = Saturday.
int WeekdayOfDays(int64_t days);

}  // namespace jet::sql
