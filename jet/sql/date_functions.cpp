// Jet's date functions over day numbers.
#include <cmath>
#include <ctime>

#include "sql/date_math.h"
#include "sql/function_support.h"
#include "sql/lexer.h"

namespace jet::sql {
namespace {

const int64_t kEpoch = DaysFromCivil(1899, 12, 30);

bool DateArg(sqlite3_context* ctx, sqlite3_value* v, CivilDateTime* c, double* serial = nullptr) {
  auto d = ArgDate(v);
  if (!d) {
    sqlite3_result_null(ctx);
    return false;
  }
  if (serial) *serial = *d;
  *c = CivilFromSerial(*d);
  return true;
}

#define JET_DATE_PART(Name, expr)                                 \
  void Name(sqlite3_context* ctx, int, sqlite3_value** argv) {   \
    CivilDateTime c;                                              \
    if (!DateArg(ctx, argv[0], &c)) return;                       \
    sqlite3_result_int64(ctx, (expr));                            \
  }
JET_DATE_PART(Year, c.year)
JET_DATE_PART(Month, c.month)
JET_DATE_PART(Day, c.day)
JET_DATE_PART(Hour, c.hour)
JET_DATE_PART(Minute, c.minute)
JET_DATE_PART(Second, c.second)
#undef JET_DATE_PART

int64_t DaysOf(const CivilDateTime& c) { return DaysFromCivil(c.year, c.month, c.day) - kEpoch; }

int WeekdayFrom(const CivilDateTime& c, int first_day) {
  int w = WeekdayOfDays(DaysOf(c));  // 1 = Sunday
  if (first_day < 1 || first_day > 7) first_day = 1;
  return (w - first_day + 7) % 7 + 1;
}

// The first day of the week holding `days`, weeks starting on `first_day`.
int64_t WeekStart(int64_t days, int first_day) {
  return days - (WeekdayOfDays(days) - first_day + 7) % 7;
}

// The first day of week 1 of `year`: the week of January 1 (first_week 1),
// the first week with four days of the year (2), or the first whole week (3).
int64_t FirstWeekStart(int64_t year, int first_day, int first_week) {
  int64_t jan1 = DaysFromCivil(year, 1, 1) - kEpoch;
  int64_t start = WeekStart(jan1, first_day);
  if (first_week == 2 && jan1 - start > 3) start += 7;
  if (first_week == 3 && start != jan1) start += 7;
  return start;
}

// DatePart("ww"): 0 for either argument means the system's setting, which
// for US English is Sunday and the week of January 1.
int WeekOfYear(const CivilDateTime& c, int first_day, int first_week) {
  if (first_day < 1 || first_day > 7) first_day = 1;
  if (first_week < 1 || first_week > 3) first_week = 1;
  int64_t days = DaysOf(c);
  int64_t start = WeekStart(days, first_day);
  int64_t week1 = FirstWeekStart(c.year, first_day, first_week);
  if (start < week1) week1 = FirstWeekStart(c.year - 1, first_day, first_week);
  // Late December may already be in next year's week 1.
  else if (first_week == 2 && start >= FirstWeekStart(c.year + 1, first_day, first_week)) return 1;
  return static_cast<int>((start - week1) / 7 + 1);
}

void Weekday(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  CivilDateTime c;
  if (!DateArg(ctx, argv[0], &c)) return;
  sqlite3_result_int(ctx, WeekdayFrom(c, argc > 1 ? static_cast<int>(ArgInt(argv[1])) : 1));
}

// Months and days that run over are carried, as DateSerial does.
double SerialFromParts(int64_t y, int64_t m, int64_t d, int seconds) {
  if (y >= 0 && y < 100) y += y < 30 ? 2000 : 1900;
  int64_t months = y * 12 + (m - 1);
  int64_t yy = months >= 0 ? months / 12 : (months - 11) / 12;
  int mm = static_cast<int>(months - yy * 12) + 1;
  int64_t days = DaysFromCivil(yy, mm, 1) - kEpoch + (d - 1);
  return JoinSerial(days, seconds);
}

void DateSerial(sqlite3_context* ctx, int, sqlite3_value** argv) {
  for (int i = 0; i < 3; ++i)
    if (IsNull(argv[i])) return sqlite3_result_null(ctx);
  sqlite3_result_double(ctx, SerialFromParts(ArgInt(argv[0]), ArgInt(argv[1]), ArgInt(argv[2]), 0));
}

void TimeSerial(sqlite3_context* ctx, int, sqlite3_value** argv) {
  for (int i = 0; i < 3; ++i)
    if (IsNull(argv[i])) return sqlite3_result_null(ctx);
  int64_t s = ArgInt(argv[0]) * 3600 + ArgInt(argv[1]) * 60 + ArgInt(argv[2]);
  sqlite3_result_double(ctx, static_cast<double>(s) / 86400.0);
}

int SecondsOf(const CivilDateTime& c) { return c.hour * 3600 + c.minute * 60 + c.second; }

std::string Interval(sqlite3_value* v) { return FoldCase(ArgText(v)); }

void DateAdd(sqlite3_context* ctx, int, sqlite3_value** argv) {
  if (IsNull(argv[0]) || IsNull(argv[1]) || IsNull(argv[2])) return sqlite3_result_null(ctx);
  CivilDateTime c;
  double serial;
  if (!DateArg(ctx, argv[2], &c, &serial)) return;
  std::string iv = Interval(argv[0]);
  // A number of intervals that is not whole is rounded to the nearest one
  // first (half to even, as CLng does).
  int64_t n = RoundHalfEvenToInt(ArgNumber(argv[1]));
  int64_t months = 0;
  if (iv == "yyyy") months = n * 12;
  else if (iv == "q") months = n * 3;
  else if (iv == "m") months = n;
  if (months != 0 || iv == "yyyy" || iv == "q" || iv == "m") {
    int64_t total = c.year * 12 + (c.month - 1) + months;
    int64_t y = total >= 0 ? total / 12 : (total - 11) / 12;
    int m = static_cast<int>(total - y * 12) + 1;
    static const int kLen[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    int last = kLen[m - 1] + ((m == 2 && ((y % 4 == 0 && y % 100 != 0) || y % 400 == 0)) ? 1 : 0);
    int d = c.day > last ? last : c.day;
    return sqlite3_result_double(ctx, JoinSerial(DaysFromCivil(y, m, d) - kEpoch, SecondsOf(c)));
  }
  int64_t seconds = 0;
  if (iv == "d" || iv == "y" || iv == "w") seconds = n * 86400;
  else if (iv == "ww") seconds = n * 7 * 86400;
  else if (iv == "h") seconds = n * 3600;
  else if (iv == "n") seconds = n * 60;
  else if (iv == "s") seconds = n;
  else return sqlite3_result_error(ctx, "Invalid procedure call or argument", -1);
  int64_t total = DaysOf(c) * 86400 + SecondsOf(c) + seconds;
  int64_t days = total >= 0 ? total / 86400 : (total - 86399) / 86400;
  sqlite3_result_double(ctx, JoinSerial(days, static_cast<int>(total - days * 86400)));
}

int64_t FloorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

void DateDiff(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (IsNull(argv[0]) || IsNull(argv[1]) || IsNull(argv[2])) return sqlite3_result_null(ctx);
  CivilDateTime a, b;
  if (!DateArg(ctx, argv[1], &a) || !DateArg(ctx, argv[2], &b)) return;
  std::string iv = Interval(argv[0]);
  int64_t da = DaysOf(a), db = DaysOf(b);
  int64_t sa = da * 86400 + SecondsOf(a), sb = db * 86400 + SecondsOf(b);
  int64_t r;
  if (iv == "yyyy") r = b.year - a.year;
  else if (iv == "q") r = (b.year * 4 + (b.month - 1) / 3) - (a.year * 4 + (a.month - 1) / 3);
  else if (iv == "m") r = (b.year * 12 + b.month) - (a.year * 12 + a.month);
  else if (iv == "d" || iv == "y") r = db - da;
  else if (iv == "w") r = (db - da) / 7;
  else if (iv == "ww") {
    int first = argc > 3 ? static_cast<int>(ArgInt(argv[3])) : 1;
    if (first < 1 || first > 7) first = 1;
    // Week boundaries crossed: count the first days of week after a up to b.
    auto week_index = [&](int64_t days) { return FloorDiv(days - (first - 7) - 0, 7); };
    r = week_index(db) - week_index(da);
  } else if (iv == "h") r = FloorDiv(sb, 3600) - FloorDiv(sa, 3600);
  else if (iv == "n") r = FloorDiv(sb, 60) - FloorDiv(sa, 60);
  else if (iv == "s") r = sb - sa;
  else return sqlite3_result_error(ctx, "Invalid procedure call or argument", -1);
  sqlite3_result_int64(ctx, r);
}

void DatePart(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (IsNull(argv[0]) || IsNull(argv[1])) return sqlite3_result_null(ctx);
  CivilDateTime c;
  if (!DateArg(ctx, argv[1], &c)) return;
  std::string iv = Interval(argv[0]);
  int first = argc > 2 ? static_cast<int>(ArgInt(argv[2])) : 1;
  int64_t r;
  if (iv == "yyyy") r = c.year;
  else if (iv == "q") r = (c.month - 1) / 3 + 1;
  else if (iv == "m") r = c.month;
  else if (iv == "y") r = DaysFromCivil(c.year, c.month, c.day) - DaysFromCivil(c.year, 1, 1) + 1;
  else if (iv == "d") r = c.day;
  else if (iv == "w") r = WeekdayFrom(c, first);
  else if (iv == "ww") r = WeekOfYear(c, first, argc > 3 ? static_cast<int>(ArgInt(argv[3])) : 1);
  else if (iv == "h") r = c.hour;
  else if (iv == "n") r = c.minute;
  else if (iv == "s") r = c.second;
  else return sqlite3_result_error(ctx, "Invalid procedure call or argument", -1);
  sqlite3_result_int64(ctx, r);
}

double NowSerial() {
  std::time_t t = std::time(nullptr);
  std::tm local{};
  localtime_r(&t, &local);
  CivilDateTime c;
  c.year = local.tm_year + 1900;
  c.month = local.tm_mon + 1;
  c.day = local.tm_mday;
  c.hour = local.tm_hour;
  c.minute = local.tm_min;
  c.second = local.tm_sec;
  return SerialFromCivil(c);
}
void Now(sqlite3_context* ctx, int, sqlite3_value**) { sqlite3_result_double(ctx, NowSerial()); }
void Today(sqlite3_context* ctx, int, sqlite3_value**) { sqlite3_result_double(ctx, std::trunc(NowSerial())); }
void TimeNow(sqlite3_context* ctx, int, sqlite3_value**) {
  double s = NowSerial();
  sqlite3_result_double(ctx, s - std::trunc(s));
}

void DateValue(sqlite3_context* ctx, int, sqlite3_value** argv) {
  auto d = ArgDate(argv[0]);
  if (!d) return sqlite3_result_null(ctx);
  sqlite3_result_double(ctx, std::trunc(*d));
}
void TimeValue(sqlite3_context* ctx, int, sqlite3_value** argv) {
  auto d = ArgDate(argv[0]);
  if (!d) return sqlite3_result_null(ctx);
  sqlite3_result_double(ctx, std::fabs(*d - std::trunc(*d)));
}
void MonthNameFn(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (IsNull(argv[0])) return sqlite3_result_null(ctx);
  ResultText(ctx, std::string(MonthName(static_cast<int>(ArgInt(argv[0])), argc > 1 && ArgNumber(argv[1]) != 0)));
}
// WeekdayName(n [, abbreviate [, firstdayofweek]]): n counts from the
// first day of the week, Sunday unless the third argument says otherwise.
void WeekdayNameFn(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (IsNull(argv[0])) return sqlite3_result_null(ctx);
  int n = static_cast<int>(ArgInt(argv[0]));
  if (n < 1 || n > 7) return sqlite3_result_error(ctx, "Invalid procedure call or argument", -1);
  int first = argc > 2 && !IsNull(argv[2]) ? static_cast<int>(ArgInt(argv[2])) : 1;
  if (first < 1 || first > 7) first = 1;
  int weekday = (n - 1 + first - 1) % 7 + 1;
  ResultText(ctx, std::string(WeekdayName(weekday, argc > 1 && !IsNull(argv[1]) && ArgNumber(argv[1]) != 0)));
}

struct Fn {
  const char* name;
  int args;
  void (*fn)(sqlite3_context*, int, sqlite3_value**);
  bool deterministic;
};

constexpr Fn kFunctions[] = {
    {"jet_year", 1, Year, true},          {"jet_month", 1, Month, true},
    {"jet_day", 1, Day, true},            {"jet_hour", 1, Hour, true},
    {"jet_minute", 1, Minute, true},      {"jet_second", 1, Second, true},
    {"jet_weekday", -1, Weekday, true},   {"jet_dateserial", 3, DateSerial, true},
    {"jet_timeserial", 3, TimeSerial, true}, {"jet_dateadd", 3, DateAdd, true},
    {"jet_datediff", -1, DateDiff, true}, {"jet_datepart", -1, DatePart, true},
    {"jet_now", 0, Now, false},           {"jet_date", 0, Today, false},
    {"jet_time", 0, TimeNow, false},      {"jet_datevalue", 1, DateValue, true},
    {"jet_timevalue", 1, TimeValue, true}, {"jet_monthname", -1, MonthNameFn, true},
    {"jet_weekdayname", -1, WeekdayNameFn, true},
};

}  // namespace

void RegisterDateFunctions(sqlite3* db) {
  for (const Fn& f : kFunctions) {
    sqlite3_create_function(db, f.name, f.args, SQLITE_UTF8 | (f.deterministic ? SQLITE_DETERMINISTIC : 0),
                            nullptr, f.fn, nullptr, nullptr);
  }
}

}  // namespace jet::sql
