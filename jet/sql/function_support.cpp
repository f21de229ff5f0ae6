#include "sql/function_support.h"

#include <charconv>
#include <cmath>
#include <cctype>
#include <cstdio>

#include "sql/date_math.h"

namespace jet::sql {

double ArgNumber(sqlite3_value* v) {
  switch (sqlite3_value_type(v)) {
    case SQLITE_INTEGER: return static_cast<double>(sqlite3_value_int64(v));
    case SQLITE_FLOAT: return sqlite3_value_double(v);
    case SQLITE_TEXT: {
      auto n = ParseNumberText(reinterpret_cast<const char*>(sqlite3_value_text(v)));
      if (n) return *n;
      auto d = ParseDateText(reinterpret_cast<const char*>(sqlite3_value_text(v)));
      return d ? *d : 0;
    }
    default: return 0;
  }
}

int64_t ArgInt(sqlite3_value* v) {
  if (sqlite3_value_type(v) == SQLITE_INTEGER) return sqlite3_value_int64(v);
  return RoundHalfEvenToInt(ArgNumber(v));
}

std::string ArgText(sqlite3_value* v) {
  switch (sqlite3_value_type(v)) {
    case SQLITE_INTEGER: return std::to_string(sqlite3_value_int64(v));
    case SQLITE_FLOAT: return NumberText(sqlite3_value_double(v));
    case SQLITE_NULL: return std::string();
    default: {
      const unsigned char* t = sqlite3_value_text(v);
      return std::string(reinterpret_cast<const char*>(t), sqlite3_value_bytes(v));
    }
  }
}

std::optional<double> ArgDate(sqlite3_value* v) {
  switch (sqlite3_value_type(v)) {
    case SQLITE_INTEGER:
    case SQLITE_FLOAT: return sqlite3_value_double(v);
    case SQLITE_TEXT: {
      std::string text = ArgText(v);
      if (auto d = ParseDateText(text)) return d;
      return ParseNumberText(text);
    }
    default: return std::nullopt;
  }
}

std::string GeneralDigits(double value, int digits) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::general, digits);
  std::string s(buf, r.ptr);
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

std::string FixedDigits(double value, int decimals) {
  char buf[400];
  auto r = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed, decimals);
  return std::string(buf, r.ptr);
}

std::string ScientificDigits(double value, int decimals) {
  char buf[64];
  auto r = std::to_chars(buf, buf + sizeof buf, value, std::chars_format::scientific, decimals);
  std::string s(buf, r.ptr);
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

std::string NumberText(double value) {
  if (std::isnan(value) || std::isinf(value)) return "0";
  if (value == std::trunc(value) && std::fabs(value) < 1e15) {
    return std::to_string(static_cast<int64_t>(value));
  }
  // VBA shows up to 15 significant digits.
  std::string s = GeneralDigits(value, 15);
  size_t e = s.find('E');
  std::string mantissa = e == std::string::npos ? s : s.substr(0, e);
  if (mantissa.find('.') != std::string::npos) {
    while (!mantissa.empty() && mantissa.back() == '0') mantissa.pop_back();
    if (!mantissa.empty() && mantissa.back() == '.') mantissa.pop_back();
  }
  if (e == std::string::npos) return mantissa;
  int exponent = std::atoi(s.c_str() + e + 1);
  char exp_buf[16];
  std::snprintf(exp_buf, sizeof exp_buf, "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
  return mantissa + exp_buf;
}

std::string CurrencyText(int64_t scaled) {
  bool negative = scaled < 0;
  uint64_t magnitude = negative ? 0 - static_cast<uint64_t>(scaled) : static_cast<uint64_t>(scaled);
  std::string s = std::to_string(magnitude / 10000);
  uint64_t frac = magnitude % 10000;
  if (frac) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "%04u", static_cast<unsigned>(frac));
    std::string f(buf);
    while (f.back() == '0') f.pop_back();
    s += "." + f;
  }
  return negative ? "-" + s : s;
}

std::string DateText(double serial) {
  int64_t days;
  int seconds;
  SplitSerial(serial, &days, &seconds);
  CivilDateTime c = CivilFromSerial(serial);
  char buf[64];
  std::string out;
  // Day 0 (December 30, 1899) is left out: it shows as a time alone, so
  // a zero date reads 12:00:00 AM.
  if (days != 0) {
    std::snprintf(buf, sizeof buf, "%d/%d/%lld", c.month, c.day, static_cast<long long>(c.year));
    out = buf;
  }
  if (seconds != 0 || days == 0) {
    int h12 = c.hour % 12 == 0 ? 12 : c.hour % 12;
    std::snprintf(buf, sizeof buf, "%d:%02d:%02d %s", h12, c.minute, c.second, c.hour < 12 ? "AM" : "PM");
    if (!out.empty()) out += " ";
    out += buf;
  }
  return out;
}

std::string TypedText(sqlite3_value* v, SqlType type) {
  if (IsNull(v)) return std::string();
  switch (type) {
    case SqlType::kDate:
      if (sqlite3_value_type(v) != SQLITE_TEXT) return DateText(sqlite3_value_double(v));
      break;
    case SqlType::kCurrency:
      if (sqlite3_value_type(v) == SQLITE_INTEGER) return CurrencyText(sqlite3_value_int64(v));
      break;
    case SqlType::kBoolean:
      if (sqlite3_value_type(v) != SQLITE_TEXT) return sqlite3_value_int64(v) != 0 ? "True" : "False";
      break;
    case SqlType::kSingle:
      if (sqlite3_value_type(v) == SQLITE_FLOAT) {
        double rounded = 0;
        std::string text = GeneralDigits(sqlite3_value_double(v), 7);
        std::from_chars(text.data(), text.data() + text.size(), rounded);
        return NumberText(rounded);
      }
      break;
    default: break;
  }
  return ArgText(v);
}

double RoundHalfEven(double value, int digits) {
  double scale = std::pow(10.0, digits);
  double scaled = value * scale;
  double r = std::nearbyint(scaled);
  // Values such as 2.5 come out of the multiplication a hair off; treat
  // anything within a few ulps of .5 as exactly .5.
  double diff = std::fabs(scaled - std::trunc(scaled));
  if (std::fabs(diff - 0.5) < 1e-9 * std::max(1.0, std::fabs(scaled))) {
    double lower = std::trunc(scaled);
    double upper = lower + (scaled < 0 ? -1 : 1);
    r = std::fmod(lower, 2.0) == 0 ? lower : upper;
  }
  return r / scale;
}

std::optional<int64_t> CheckedRoundHalfEvenToInt(double value) {
  const double r = RoundHalfEven(value, 0);
  // 2^63 is exact as a double; NaN fails both tests.
  if (!(r >= -9223372036854775808.0 && r < 9223372036854775808.0)) return std::nullopt;
  return static_cast<int64_t>(r);
}

int64_t RoundHalfEvenToInt(double value) {
  if (std::optional<int64_t> r = CheckedRoundHalfEvenToInt(value)) return *r;
  if (std::isnan(value)) return 0;
  return value < 0 ? INT64_MIN : INT64_MAX;
}

std::u32string DecodeUtf8(std::string_view s) {
  std::u32string out;
  out.reserve(s.size());
  for (size_t i = 0; i < s.size();) {
    unsigned char c = s[i];
    char32_t cp;
    int len;
    if (c < 0x80) { cp = c; len = 1; }
    else if ((c >> 5) == 6) { cp = c & 0x1F; len = 2; }
    else if ((c >> 4) == 14) { cp = c & 0x0F; len = 3; }
    else if ((c >> 3) == 30) { cp = c & 0x07; len = 4; }
    else { out.push_back(0xFFFD); ++i; continue; }
    if (i + len > s.size()) { out.push_back(0xFFFD); break; }
    for (int k = 1; k < len; ++k) cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
    out.push_back(cp);
    i += len;
  }
  return out;
}

std::string EncodeUtf8(std::u32string_view text) {
  std::string out;
  out.reserve(text.size());
  for (char32_t cp : text) {
    if (cp < 0x80) {
      out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
      out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
  }
  return out;
}

namespace {
char32_t FoldChar(char32_t c) {
  if (c >= 'A' && c <= 'Z') return c + 32;
  if (c < 0xC0) return c;
  if (c == 0x178) return 0xFF;  // Ÿ, whose small letter sits in Latin-1
  if ((c >= 0xC0 && c <= 0xDE && c != 0xD7)) return c + 32;
  if (c >= 0x100 && c <= 0x17F && c != 0x130 && c != 0x131 && c != 0x138 && c != 0x149 && c != 0x17F) {
    bool odd_lower = (c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E);
    if (odd_lower) return (c % 2 == 1) ? c + 1 : c;
    return (c % 2 == 0) ? c + 1 : c;
  }
  if (c >= 0x391 && c <= 0x3AB && c != 0x3A2) return c + 32;
  if (c >= 0x410 && c <= 0x42F) return c + 32;
  if (c >= 0x400 && c <= 0x40F) return c + 80;
  return c;
}
char32_t UpperChar(char32_t c) {
  if (c >= 'a' && c <= 'z') return c - 32;
  if (c < 0xE0) return c;
  if (c == 0xFF) return 0x178;
  if (c >= 0xE0 && c <= 0xFE && c != 0xF7) return c - 32;
  if (c >= 0x3B1 && c <= 0x3CB && c != 0x3C2) return c - 32;
  if (c >= 0x430 && c <= 0x44F) return c - 32;
  if (c >= 0x450 && c <= 0x45F) return c - 80;
  if (c >= 0x100 && c <= 0x17F && FoldChar(c) == c) {
    for (char32_t u = c - 1; u <= c; ++u)
      if (u != c && FoldChar(u) == c) return u;
  }
  return c;
}
}  // namespace

std::string FoldCase(std::string_view text) {
  bool ascii = true;
  for (unsigned char c : text) ascii = ascii && c < 0x80;
  if (ascii) {
    std::string out(text);
    for (char& c : out)
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    return out;
  }
  std::u32string cps = DecodeUtf8(text);
  for (char32_t& c : cps) c = FoldChar(c);
  return EncodeUtf8(cps);
}

std::string UpperCase(std::string_view text) {
  std::u32string cps = DecodeUtf8(text);
  for (char32_t& c : cps) c = UpperChar(c);
  return EncodeUtf8(cps);
}

void ResultText(sqlite3_context* ctx, const std::string& text) {
  sqlite3_result_text(ctx, text.data(), static_cast<int>(text.size()), SQLITE_TRANSIENT);
}

std::optional<int64_t> ToScaledCurrency(sqlite3_value* v) {
  switch (sqlite3_value_type(v)) {
    case SQLITE_INTEGER: {
      int64_t scaled;
      if (__builtin_mul_overflow(sqlite3_value_int64(v), int64_t{10000}, &scaled)) return std::nullopt;
      return scaled;
    }
    case SQLITE_FLOAT: return CheckedRoundHalfEvenToInt(sqlite3_value_double(v) * 10000.0);
    case SQLITE_TEXT: return ScaledCurrencyFromText(ArgText(v));
    default: return std::nullopt;
  }
}

std::optional<int64_t> ScaledCurrencyFromText(std::string_view text) {
  auto n = ParseNumberText(text);
  if (!n) return std::nullopt;
  // Far past Currency's range there is nothing to be exact about; near its
  // ends only the digits can tell.
  if (!(std::fabs(*n) < 1e15)) return std::nullopt;
  const std::optional<int64_t> rounded = CheckedRoundHalfEvenToInt(*n * 10000.0);
  std::string_view t = text;
  while (!t.empty() && t.front() == ' ') t.remove_prefix(1);
  while (!t.empty() && t.back() == ' ') t.remove_suffix(1);
  bool negative = !t.empty() && t[0] == '-';
  if (!t.empty() && (t[0] == '-' || t[0] == '+')) t.remove_prefix(1);
  // Plain decimal digits are rounded exactly; other forms (exponents and
  // the like) through the double.
  if (t.empty() || t.find_first_not_of("0123456789.") != std::string_view::npos || t.size() > 30) return rounded;
  size_t dot = t.find('.');
  if (dot != std::string_view::npos && t.find('.', dot + 1) != std::string_view::npos) return rounded;
  std::string whole(t.substr(0, dot));
  std::string frac = dot == std::string_view::npos ? "" : std::string(t.substr(dot + 1));
  while (frac.size() < 5) frac.push_back('0');
  int64_t w = whole.empty() ? 0 : std::stoll(whole);
  int64_t f = std::stoll(frac.substr(0, 4));
  int last = frac[4] - '0';
  bool rest = frac.find_first_not_of('0', 5) != std::string::npos;
  uint64_t scaled = static_cast<uint64_t>(w) * 10000 + static_cast<uint64_t>(f);
  if (last > 5 || (last == 5 && (rest || scaled % 2 == 1))) ++scaled;
  // The range reaches one further below zero than above it.
  if (scaled > (negative ? uint64_t{1} << 63 : uint64_t{INT64_MAX})) return std::nullopt;
  return negative ? static_cast<int64_t>(0 - scaled) : static_cast<int64_t>(scaled);
}

}  // namespace jet::sql
