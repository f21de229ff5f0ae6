// Jet's arithmetic, conversion and math functions. Currency arrives and
// leaves as ten-thousandths (the translator scales it), so these stay exact.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

#include "sql/date_math.h"
#include "sql/function_support.h"
#include "sql/like_pattern.h"

namespace jet::sql {
namespace {

#define JET_NULL_IN_NULL_OUT                     \
  for (int i_ = 0; i_ < argc; ++i_)              \
    if (IsNull(argv[i_])) {                      \
      sqlite3_result_null(ctx);                  \
      return;                                    \
    }

void ResultNumber(sqlite3_context* ctx, double v) {
  if (std::isnan(v) || std::isinf(v)) {
    sqlite3_result_null(ctx);
    return;
  }
  sqlite3_result_double(ctx, v);
}

void Like(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  sqlite3_result_int(ctx, LikeMatches(ArgText(argv[0]), ArgText(argv[1])) ? 1 : 0);
}

// An &H (hex) or &O (octal) number at `text[at]`: an Integer when it fits
// 16 bits and a Long when it fits 32, so &HFFFF is -1. `end` is where its
// digits stop.
std::optional<double> RadixNumber(const std::string& text, size_t at, size_t* end) {
  if (at + 2 > text.size() || text[at] != '&') return std::nullopt;
  const char kind = static_cast<char>(std::toupper(static_cast<unsigned char>(text[at + 1])));
  if (kind != 'H' && kind != 'O') return std::nullopt;
  char* stop = nullptr;
  long long v = std::strtoll(text.c_str() + at + 2, &stop, kind == 'H' ? 16 : 8);
  *end = static_cast<size_t>(stop - text.c_str());
  if (v >= 0x8000 && v <= 0xFFFF) v -= 0x10000;
  else if (v >= 0x80000000LL && v <= 0xFFFFFFFFLL) v -= 0x100000000LL;
  return static_cast<double>(v);
}

// Val: the number at the start of the text; blanks inside are skipped.
double ValOf(const std::string& text) {
  std::string digits;
  size_t i = 0;
  while (i < text.size() && (text[i] == ' ' || text[i] == '\t')) ++i;
  size_t end = 0;
  if (auto radix = RadixNumber(text, i, &end)) return *radix;
  bool dot = false, exp = false;
  for (; i < text.size(); ++i) {
    char c = text[i];
    if (c == ' ' || c == '\t') continue;
    if (std::isdigit(static_cast<unsigned char>(c))) digits.push_back(c);
    else if ((c == '-' || c == '+') && (digits.empty() || digits.back() == 'E')) digits.push_back(c);
    else if (c == '.' && !dot && !exp) { dot = true; digits.push_back(c); }
    else if ((c == 'e' || c == 'E' || c == 'd' || c == 'D') && !exp && !digits.empty()) { exp = true; digits.push_back('E'); }
    else break;
  }
  while (!digits.empty() && (digits.back() == 'E' || digits.back() == '-' || digits.back() == '+')) digits.pop_back();
  auto n = ParseNumberText(digits);
  return n ? *n : 0;
}

void Val(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  if (sqlite3_value_type(argv[0]) != SQLITE_TEXT) {
    sqlite3_result_value(ctx, argv[0]);
    return;
  }
  double v = ValOf(ArgText(argv[0]));
  if (v == std::trunc(v) && std::fabs(v) < 9e15) sqlite3_result_int64(ctx, static_cast<int64_t>(v));
  else sqlite3_result_double(ctx, v);
}

// The number a conversion function (CInt, CDbl, ...) reads from its
// argument. Text must read as a number, as US settings write one ("1,234.5",
// "$12"), or as a date; anything else is VBA's error 13.
std::optional<double> ConversionNumber(sqlite3_value* v) {
  if (sqlite3_value_type(v) != SQLITE_TEXT) return ArgNumber(v);
  std::string text = ArgText(v);
  if (auto n = ParseNumberText(text)) return n;
  // A whole &H or &O number, blanks around it allowed.
  const size_t first = text.find_first_not_of(' ');
  size_t end = 0;
  if (first != std::string::npos) {
    const auto radix = RadixNumber(text, first, &end);
    if (radix && end > first + 2 && text.find_first_not_of(' ', end) == std::string::npos) return radix;
  }
  std::string plain;
  for (char c : text)
    if (c != ',' && c != '$') plain.push_back(c);
  if (plain.size() != text.size()) {
    if (auto n = ParseNumberText(plain)) return n;
  }
  return ParseDateText(text);
}

bool ReadConversionNumber(sqlite3_context* ctx, sqlite3_value* v, double* out) {
  auto n = ConversionNumber(v);
  if (!n) {
    sqlite3_result_error(ctx, "Type mismatch", -1);
    return false;
  }
  *out = *n;
  return true;
}

void IntegerConversion(sqlite3_context* ctx, sqlite3_value* v, int64_t lo, int64_t hi) {
  if (IsNull(v)) {
    sqlite3_result_null(ctx);
    return;
  }
  double d;
  if (!ReadConversionNumber(ctx, v, &d)) return;
  double r = RoundHalfEven(d);
  if (r < static_cast<double>(lo) || r > static_cast<double>(hi)) {
    sqlite3_result_error(ctx, "Overflow", -1);
    return;
  }
  sqlite3_result_int64(ctx, static_cast<int64_t>(r));
}
void CByte(sqlite3_context* ctx, int, sqlite3_value** argv) { IntegerConversion(ctx, argv[0], 0, 255); }
void CInt(sqlite3_context* ctx, int, sqlite3_value** argv) { IntegerConversion(ctx, argv[0], -32768, 32767); }
void CLng(sqlite3_context* ctx, int, sqlite3_value** argv) {
  IntegerConversion(ctx, argv[0], std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max());
}
void CDbl(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  double d;
  if (ReadConversionNumber(ctx, argv[0], &d)) ResultNumber(ctx, d);
}
void CSng(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  double d;
  if (ReadConversionNumber(ctx, argv[0], &d)) ResultNumber(ctx, static_cast<double>(static_cast<float>(d)));
}
void CCur(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  std::optional<int64_t> scaled = ToScaledCurrency(argv[0]);
  if (!scaled) {
    // Text the exact reading refused may still be a number to the
    // conversion rules; a number past Currency's range overflows.
    double d;
    if (!ReadConversionNumber(ctx, argv[0], &d)) return;
    scaled = CheckedRoundHalfEvenToInt(d * 10000.0);
    if (!scaled) return sqlite3_result_error(ctx, "Overflow", -1);
  }
  sqlite3_result_int64(ctx, *scaled);
}
void CBool(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  if (sqlite3_value_type(argv[0]) == SQLITE_TEXT) {
    std::string t = FoldCase(ArgText(argv[0]));
    if (t == "true" || t == "yes" || t == "on") return sqlite3_result_int(ctx, -1);
    if (t == "false" || t == "no" || t == "off") return sqlite3_result_int(ctx, 0);
  }
  double d;
  if (ReadConversionNumber(ctx, argv[0], &d)) sqlite3_result_int(ctx, d != 0 ? -1 : 0);
}
void CDate(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  auto d = ArgDate(argv[0]);
  if (!d) {
    sqlite3_result_error(ctx, "Type mismatch", -1);
    return;
  }
  sqlite3_result_double(ctx, *d);
}
// IsNumeric takes text as CDbl would read it: thousands separators, a
// dollar sign and &H/&O numbers are numbers; dates are not.
void IsNumeric(sqlite3_context* ctx, int, sqlite3_value** argv) {
  int t = sqlite3_value_type(argv[0]);
  bool yes = t == SQLITE_INTEGER || t == SQLITE_FLOAT;
  if (t == SQLITE_TEXT) {
    std::string text = ArgText(argv[0]);
    size_t i = text.find_first_not_of(' ');
    bool radix = i != std::string::npos && i + 2 < text.size() && text[i] == '&' &&
                 std::strchr("HhOo", text[i + 1]) != nullptr;
    yes = radix || (ConversionNumber(argv[0]) && !ParseDateText(text));
  }
  sqlite3_result_int(ctx, yes ? -1 : 0);
}
void IsDate(sqlite3_context* ctx, int, sqlite3_value** argv) {
  bool yes = sqlite3_value_type(argv[0]) == SQLITE_TEXT && ParseDateText(ArgText(argv[0]));
  sqlite3_result_int(ctx, yes ? -1 : 0);
}

// Str: a leading blank stands for the plus sign.
void Str(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  double d = ArgNumber(argv[0]);
  std::string text = sqlite3_value_type(argv[0]) == SQLITE_INTEGER ? ArgText(argv[0]) : NumberText(d);
  ResultText(ctx, d >= 0 ? " " + text : text);
}

// Hex and Oct round to a whole number first; negatives are shown as the
// two's complement of an Integer when they fit one, else of a Long.
void Radix(sqlite3_context* ctx, sqlite3_value* v, int bits_per_digit) {
  if (IsNull(v)) return sqlite3_result_null(ctx);
  double d;
  if (!ReadConversionNumber(ctx, v, &d)) return;
  double r = RoundHalfEven(d);
  if (r < -2147483648.0 || r > 4294967295.0) return sqlite3_result_error(ctx, "Overflow", -1);
  int64_t n = static_cast<int64_t>(r);
  uint64_t u = n >= 0 ? static_cast<uint64_t>(n) : n >= -32768 ? static_cast<uint64_t>(n + 65536)
                                                                : static_cast<uint64_t>(n + 4294967296LL);
  static const char kDigits[] = "0123456789ABCDEF";
  std::string out;
  const uint64_t mask = (1u << bits_per_digit) - 1;
  do {
    out.insert(out.begin(), kDigits[u & mask]);
    u >>= bits_per_digit;
  } while (u != 0);
  ResultText(ctx, out);
}
void Hex(sqlite3_context* ctx, int, sqlite3_value** argv) { Radix(ctx, argv[0], 4); }
void Oct(sqlite3_context* ctx, int, sqlite3_value** argv) { Radix(ctx, argv[0], 3); }

// Partition(number, start, stop, interval): "lower:upper" of the range that
// holds number, both sides padded with blanks to the width of stop + 1 so
// that the texts sort in order.
void Partition(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  int64_t n = ArgInt(argv[0]), start = ArgInt(argv[1]), stop = ArgInt(argv[2]), interval = ArgInt(argv[3]);
  if (start < 0 || stop <= start || interval < 1)
    return sqlite3_result_error(ctx, "Invalid procedure call or argument", -1);
  const size_t width = std::to_string(stop + 1).size();
  auto pad = [&](std::string t) { return t.size() < width ? std::string(width - t.size(), ' ') + t : t; };
  std::string lower, upper;
  if (n < start) {
    upper = std::to_string(start - 1);
  } else if (n > stop) {
    lower = std::to_string(stop + 1);
  } else {
    int64_t low = start + (n - start) / interval * interval;
    lower = std::to_string(low);
    upper = std::to_string(std::min(low + interval - 1, stop));
  }
  ResultText(ctx, pad(lower) + ":" + pad(upper));
}

void Int(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  if (sqlite3_value_type(argv[0]) == SQLITE_INTEGER) return sqlite3_result_value(ctx, argv[0]);
  ResultNumber(ctx, std::floor(ArgNumber(argv[0])));
}
void Fix(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  if (sqlite3_value_type(argv[0]) == SQLITE_INTEGER) return sqlite3_result_value(ctx, argv[0]);
  ResultNumber(ctx, std::trunc(ArgNumber(argv[0])));
}
void Round(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  int digits = argc > 1 ? static_cast<int>(ArgInt(argv[1])) : 0;
  if (sqlite3_value_type(argv[0]) == SQLITE_INTEGER && digits >= 0) return sqlite3_result_value(ctx, argv[0]);
  ResultNumber(ctx, RoundHalfEven(ArgNumber(argv[0]), digits));
}
// Round on Currency held as ten-thousandths, exact.
void RoundCurrency(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  int64_t scaled = sqlite3_value_int64(argv[0]);
  int digits = argc > 1 ? static_cast<int>(ArgInt(argv[1])) : 0;
  if (digits >= 4) return sqlite3_result_int64(ctx, scaled);
  int64_t unit = 1;
  for (int i = digits; i < 4; ++i) unit *= 10;
  int64_t q = scaled / unit, r = scaled % unit;
  int64_t twice = 2 * (r < 0 ? -r : r);
  if (twice > unit || (twice == unit && q % 2 != 0)) q += scaled < 0 ? -1 : 1;
  sqlite3_result_int64(ctx, q * unit);
}
void Sgn(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  double v = ArgNumber(argv[0]);
  sqlite3_result_int(ctx, v > 0 ? 1 : v < 0 ? -1 : 0);
}
template <double (*F)(double)>
void Math1(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  ResultNumber(ctx, F(ArgNumber(argv[0])));
}
double Sqrt(double v) { return v < 0 ? std::nan("") : std::sqrt(v); }
double Log(double v) { return v <= 0 ? std::nan("") : std::log(v); }
double Exp(double v) { return std::exp(v); }
double Sin(double v) { return std::sin(v); }
double Cos(double v) { return std::cos(v); }
double Tan(double v) { return std::tan(v); }
double Atn(double v) { return std::atan(v); }
double Abs(double v) { return std::fabs(v); }

void Power(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  ResultNumber(ctx, std::pow(ArgNumber(argv[0]), ArgNumber(argv[1])));
}
// a \ b: both rounded to whole numbers first, the quotient truncated.
void IntDiv(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  int64_t a = RoundHalfEvenToInt(ArgNumber(argv[0])), b = RoundHalfEvenToInt(ArgNumber(argv[1]));
  if (b == 0) return sqlite3_result_error(ctx, "Division by zero", -1);
  sqlite3_result_int64(ctx, a / b);
}
void Mod(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  int64_t a = RoundHalfEvenToInt(ArgNumber(argv[0])), b = RoundHalfEvenToInt(ArgNumber(argv[1]));
  if (b == 0) return sqlite3_result_error(ctx, "Division by zero", -1);
  sqlite3_result_int64(ctx, a % b);
}
void Divide(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  double b = ArgNumber(argv[1]);
  if (b == 0) return sqlite3_result_error(ctx, "Division by zero", -1);
  ResultNumber(ctx, ArgNumber(argv[0]) / b);
}
// Currency * Currency, both in ten-thousandths: the product rounded to even.
void CurrencyMultiply(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  __int128 p = static_cast<__int128>(sqlite3_value_int64(argv[0])) * sqlite3_value_int64(argv[1]);
  __int128 q = p / 10000, r = p % 10000;
  __int128 twice = 2 * (r < 0 ? -r : r);
  if (twice > 10000 || (twice == 10000 && q % 2 != 0)) q += p < 0 ? -1 : 1;
  sqlite3_result_int64(ctx, static_cast<int64_t>(q));
}

struct Fn {
  const char* name;
  int args;
  void (*fn)(sqlite3_context*, int, sqlite3_value**);
};

constexpr Fn kFunctions[] = {
    {"jet_like", 2, Like},          {"jet_val", 1, Val},          {"jet_cbyte", 1, CByte},
    {"jet_cint", 1, CInt},          {"jet_clng", 1, CLng},        {"jet_cdbl", 1, CDbl},
    {"jet_csng", 1, CSng},          {"jet_ccur", 1, CCur},        {"jet_cbool", 1, CBool},
    {"jet_cdate", 1, CDate},        {"jet_isnumeric", 1, IsNumeric}, {"jet_isdate", 1, IsDate},
    {"jet_int", 1, Int},            {"jet_fix", 1, Fix},          {"jet_round", -1, Round},
    {"jet_round_cur", -1, RoundCurrency}, {"jet_sgn", 1, Sgn},    {"jet_sqr", 1, Math1<Sqrt>},
    {"jet_log", 1, Math1<Log>},     {"jet_exp", 1, Math1<Exp>},   {"jet_sin", 1, Math1<Sin>},
    {"jet_cos", 1, Math1<Cos>},     {"jet_tan", 1, Math1<Tan>},   {"jet_atn", 1, Math1<Atn>},
    {"jet_abs", 1, Math1<Abs>},     {"jet_pow", 2, Power},        {"jet_intdiv", 2, IntDiv},
    {"jet_partition", 4, Partition},
    {"jet_str", 1, Str},            {"jet_hex", 1, Hex},          {"jet_oct", 1, Oct},
    {"jet_mod", 2, Mod},            {"jet_div", 2, Divide},       {"jet_cur_mul", 2, CurrencyMultiply},
};

}  // namespace

void RegisterNumberFunctions(sqlite3* db) {
  for (const Fn& f : kFunctions) {
    sqlite3_create_function(db, f.name, f.args, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, f.fn, nullptr,
                            nullptr);
  }
}

}  // namespace jet::sql
