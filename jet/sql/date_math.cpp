#include "sql/date_math.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "sql/lexer.h"

namespace jet::sql {
namespace {

constexpr std::string_view kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                                        "July",    "August",   "September", "October", "November", "December"};
constexpr std::string_view kMonthsShort[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                             "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
constexpr std::string_view kDays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                      "Thursday", "Friday", "Saturday"};
constexpr std::string_view kDaysShort[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

const int64_t kEpochDays = DaysFromCivil(1899, 12, 30);

// Splits text into runs of digits, runs of letters, and the separators
// between them (kept so that ':' marks a time).
struct Piece {
  enum Kind { kNumber, kWord, kColon, kSlash, kDash, kOther } kind;
  std::string text;
};

std::vector<Piece> Pieces(std::string_view text) {
  std::vector<Piece> out;
  size_t i = 0;
  while (i < text.size()) {
    unsigned char c = text[i];
    if (std::isdigit(c)) {
      size_t e = i;
      while (e < text.size() && std::isdigit(static_cast<unsigned char>(text[e]))) ++e;
      out.push_back({Piece::kNumber, std::string(text.substr(i, e - i))});
      i = e;
    } else if (std::isalpha(c)) {
      size_t e = i;
      while (e < text.size() && std::isalpha(static_cast<unsigned char>(text[e]))) ++e;
      out.push_back({Piece::kWord, std::string(text.substr(i, e - i))});
      i = e;
    } else {
      if (c == ':') out.push_back({Piece::kColon, ":"});
      else if (c == '/') out.push_back({Piece::kSlash, "/"});
      else if (c == '-') out.push_back({Piece::kDash, "-"});
      else if (c == '.') out.push_back({Piece::kOther, "."});
      else if (!std::isspace(c) && c != ',') return {};
      ++i;
    }
  }
  return out;
}

int64_t FullYear(int64_t y, size_t digits) {
  if (digits <= 2) return y < 30 ? 2000 + y : 1900 + y;
  return y;
}

bool ValidDate(int64_t y, int m, int d) {
  if (y < 100 || y > 9999 || m < 1 || m > 12 || d < 1) return false;
  static const int kLen[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (d > kLen[m - 1]) return false;
  if (m == 2 && d == 29) return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
  return true;
}

}  // namespace

int64_t DaysFromCivil(int64_t y, int m, int d) {
  y -= m <= 2;
  const int64_t era = (y >= 0 ? y : y - 399) / 400;
  const int64_t yoe = y - era * 400;
  const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t z, int64_t* y, int* m, int* d) {
  z += 719468;
  const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const int64_t doe = z - era * 146097;
  const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const int64_t mp = (5 * doy + 2) / 153;
  *d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  *m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  *y = yoe + era * 400 + (*m <= 2);
}

void SplitSerial(double serial, int64_t* days, int* seconds) {
  double whole = std::trunc(serial);
  double frac = std::fabs(serial - whole);
  int64_t d = static_cast<int64_t>(whole);
  int64_t s = std::llround(frac * 86400.0);
  if (s >= 86400) {
    s -= 86400;
    d += serial < 0 ? -1 : 1;
  }
  *days = d;
  *seconds = static_cast<int>(s);
}

double JoinSerial(int64_t days, int seconds) {
  double frac = seconds / 86400.0;
  return days >= 0 ? static_cast<double>(days) + frac : static_cast<double>(days) - frac;
}

double SerialFromCivil(const CivilDateTime& c) {
  int64_t days = DaysFromCivil(c.year, c.month, c.day) - kEpochDays;
  return JoinSerial(days, c.hour * 3600 + c.minute * 60 + c.second);
}

CivilDateTime CivilFromSerial(double serial) {
  int64_t days;
  int seconds;
  SplitSerial(serial, &days, &seconds);
  CivilDateTime c;
  CivilFromDays(days + kEpochDays, &c.year, &c.month, &c.day);
  c.hour = seconds / 3600;
  c.minute = seconds / 60 % 60;
  c.second = seconds % 60;
  return c;
}

int WeekdayOfDays(int64_t days) {
  // 1899-12-30 was a Saturday (7).
  int64_t w = (days + 6) % 7;
  if (w < 0) w += 7;
  return static_cast<int>(w) + 1;
}

int MonthFromName(std::string_view name) {
  for (int i = 0; i < 12; ++i) {
    if (WordIs(name, kMonths[i]) || WordIs(name, kMonthsShort[i])) return i + 1;
  }
  if (WordIs(name, "Sept")) return 9;
  return 0;
}

std::string_view MonthName(int month, bool abbreviated) {
  if (month < 1 || month > 12) return {};
  return abbreviated ? kMonthsShort[month - 1] : kMonths[month - 1];
}

std::string_view WeekdayName(int weekday, bool abbreviated) {
  if (weekday < 1 || weekday > 7) return {};
  return abbreviated ? kDaysShort[weekday - 1] : kDays[weekday - 1];
}

std::optional<double> ParseDateText(std::string_view text) {
  std::vector<Piece> p = Pieces(text);
  if (p.empty()) return std::nullopt;
  // The time: the numbers around the first ':' and an optional AM/PM.
  size_t colon = p.size();
  for (size_t i = 0; i < p.size(); ++i)
    if (p[i].kind == Piece::kColon) { colon = i; break; }
  int hour = 0, minute = 0, second = 0;
  size_t date_end = p.size();
  if (colon < p.size()) {
    if (colon == 0 || p[colon - 1].kind != Piece::kNumber || colon + 1 >= p.size() ||
        p[colon + 1].kind != Piece::kNumber)
      return std::nullopt;
    date_end = colon - 1;
    hour = std::atoi(p[colon - 1].text.c_str());
    minute = std::atoi(p[colon + 1].text.c_str());
    size_t i = colon + 2;
    if (i + 1 < p.size() && p[i].kind == Piece::kColon && p[i + 1].kind == Piece::kNumber) {
      second = std::atoi(p[i + 1].text.c_str());
      i += 2;
    }
    if (i < p.size() && p[i].kind == Piece::kWord) {
      bool pm = WordIs(p[i].text, "PM") || WordIs(p[i].text, "P");
      bool am = WordIs(p[i].text, "AM") || WordIs(p[i].text, "A");
      if (!pm && !am) return std::nullopt;
      if (hour < 1 || hour > 12) return std::nullopt;
      hour = hour % 12 + (pm ? 12 : 0);
      ++i;
    }
    if (i != p.size()) return std::nullopt;
    if (hour > 23 || minute > 59 || second > 59) return std::nullopt;
  }
  // The date: numbers and at most one month name, separators dropped.
  std::vector<const Piece*> parts;
  for (size_t i = 0; i < date_end; ++i)
    if (p[i].kind == Piece::kNumber || p[i].kind == Piece::kWord) parts.push_back(&p[i]);
  CivilDateTime c;
  c.hour = hour;
  c.minute = minute;
  c.second = second;
  if (parts.empty()) {
    if (colon == p.size()) return std::nullopt;
    return SerialFromCivil(c);
  }
  if (parts.size() != 3 && parts.size() != 2) return std::nullopt;
  int word_at = -1;
  for (size_t i = 0; i < parts.size(); ++i)
    if (parts[i]->kind == Piece::kWord) {
      if (word_at >= 0) return std::nullopt;
      word_at = static_cast<int>(i);
    }
  auto num = [](const Piece* piece) { return std::atoll(piece->text.c_str()); };
  int64_t y;
  int m, d;
  if (word_at >= 0) {
    m = MonthFromName(parts[word_at]->text);
    if (m == 0) return std::nullopt;
    std::vector<const Piece*> nums;
    for (size_t i = 0; i < parts.size(); ++i)
      if (static_cast<int>(i) != word_at) nums.push_back(parts[i]);
    if (nums.size() == 1) {  // "Jan 2001": the first of the month
      d = 1;
      y = FullYear(num(nums[0]), nums[0]->text.size());
    } else if (nums[0]->text.size() >= 3) {  // 2001-Jan-31
      y = num(nums[0]);
      d = static_cast<int>(num(nums[1]));
    } else {  // 31-Jan-2001, Jan 31 2001
      d = static_cast<int>(num(nums[0]));
      y = FullYear(num(nums[1]), nums[1]->text.size());
    }
  } else if (parts.size() == 3 && parts[0]->text.size() >= 3) {  // yyyy-mm-dd
    y = num(parts[0]);
    m = static_cast<int>(num(parts[1]));
    d = static_cast<int>(num(parts[2]));
  } else if (parts.size() == 3) {  // m/d/y
    m = static_cast<int>(num(parts[0]));
    d = static_cast<int>(num(parts[1]));
    y = FullYear(num(parts[2]), parts[2]->text.size());
    // A first number that cannot be a month is the day: Access reads
    // #31/1/2001# as January 31 rather than refusing it.
    if (m > 12 && d >= 1 && d <= 12) std::swap(m, d);
  } else {  // m/d of no year is not accepted: the result would depend on today
    return std::nullopt;
  }
  if (!ValidDate(y, m, d)) return std::nullopt;
  c.year = y;
  c.month = m;
  c.day = d;
  return SerialFromCivil(c);
}

std::optional<double> ParseNumberText(std::string_view text) {
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) text.remove_prefix(1);
  while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.remove_suffix(1);
  if (text.empty()) return std::nullopt;
  size_t i = 0;
  if (text[i] == '+' || text[i] == '-') ++i;
  bool digits = false;
  while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, digits = true;
  if (i < text.size() && text[i] == '.') {
    ++i;
    while (i < text.size() && std::isdigit(static_cast<unsigned char>(text[i]))) ++i, digits = true;
  }
  if (!digits) return std::nullopt;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    size_t j = i + 1;
    if (j < text.size() && (text[j] == '+' || text[j] == '-')) ++j;
    size_t k = j;
    while (k < text.size() && std::isdigit(static_cast<unsigned char>(text[k]))) ++k;
    if (k == j) return std::nullopt;
    i = k;
  }
  if (i != text.size()) return std::nullopt;
  // from_chars ignores the locale, unlike strtod.
  double value = 0;
  std::string_view body = text[0] == '+' ? text.substr(1) : text;
  auto result = std::from_chars(body.data(), body.data() + body.size(), value);
  if (result.ec != std::errc()) return std::nullopt;
  return value;
}

}  // namespace jet::sql
