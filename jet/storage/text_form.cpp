#include "jet/text_form.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace jet {
namespace {

// Lays out shortest round-trip digits the way ECMAScript's Number#toString
// does: plain notation for 1e-6 <= |x| < 1e21, otherwise d.ddde±n.
template <typename Float>
std::string EcmaNumber(Float v) {
  if (std::isnan(v)) return "NaN";
  if (std::isinf(v)) return v < 0 ? "-Infinity" : "Infinity";
  if (v == 0) return "0";
  char buf[64];
  auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v, std::chars_format::scientific);
  std::string sci(buf, end);  // "-1.2345e+02"
  std::string out;
  size_t pos = 0;
  if (sci[0] == '-') {
    out = "-";
    pos = 1;
  }
  const size_t e_at = sci.find('e');
  std::string digits;
  for (size_t i = pos; i < e_at; ++i) if (sci[i] != '.') digits.push_back(sci[i]);
  const int exponent = std::stoi(sci.substr(e_at + 1));
  const int k = static_cast<int>(digits.size());
  const int n = exponent + 1;  // position of the decimal point
  if (k <= n && n <= 21) {
    out += digits + std::string(n - k, '0');
  } else if (0 < n && n <= 21) {
    out += digits.substr(0, n) + "." + digits.substr(n);
  } else if (-6 < n && n <= 0) {
    out += "0." + std::string(-n, '0') + digits;
  } else {
    out += digits.substr(0, 1);
    if (k > 1) out += "." + digits.substr(1);
    out += "e";
    out += n - 1 >= 0 ? "+" : "-";
    out += std::to_string(std::abs(n - 1));
  }
  return out;
}

// An unsigned magnitude with `scale` digits after the point, trailing zeros dropped.
std::string ScaledDecimal(bool negative, unsigned __int128 magnitude, int scale) {
  std::string digits;
  do {
    digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
    magnitude /= 10;
  } while (magnitude > 0);
  if (static_cast<int>(digits.size()) <= scale) digits.insert(0, scale - digits.size() + 1, '0');
  std::string whole = digits.substr(0, digits.size() - scale);
  std::string frac = digits.substr(digits.size() - scale);
  while (!frac.empty() && frac.back() == '0') frac.pop_back();
  std::string out = whole;
  if (!frac.empty()) out += "." + frac;
  if (negative && out != "0") out.insert(0, "-");
  return out;
}

// Days since 1970-01-01 -> civil year/month/day (proleptic Gregorian).
void CivilFromDays(int64_t days, int64_t* y, unsigned* m, unsigned* d) {
  days += 719468;
  const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const unsigned doe = static_cast<unsigned>(days - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  *d = doy - (153 * mp + 2) / 5 + 1;
  *m = mp < 10 ? mp + 3 : mp - 9;
  *y = static_cast<int64_t>(yoe) + era * 400 + (*m <= 2);
}

constexpr int64_t kJetEpochToUnixDays = 25569;  // 1899-12-30 .. 1970-01-01
constexpr int64_t kMillisPerDay = 86400000;

void AppendHex(std::string* out, const uint8_t* p, size_t n, bool upper) {
  const char* digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
  for (size_t i = 0; i < n; ++i) {
    out->push_back(digits[p[i] >> 4]);
    out->push_back(digits[p[i] & 0xF]);
  }
}

// The first three groups of a GUID are stored little-endian, the last two
// as bytes: the stored byte behind each written pair of digits.
constexpr uint8_t kGuidByteOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};

bool StartsGuidGroup(int i) { return i == 4 || i == 6 || i == 8 || i == 10; }

std::string FormatGuid(const Guid& g) {
  std::string out = "{";
  for (int i = 0; i < 16; ++i) {
    if (StartsGuidGroup(i)) out += "-";
    AppendHex(&out, &g[kGuidByteOrder[i]], 1, true);
  }
  return out + "}";
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::optional<Guid> ParseGuid(std::string_view text) {
  if (text.size() != 38 || text.front() != '{' || text.back() != '}') return std::nullopt;
  Guid g{};
  size_t at = 1;
  for (int i = 0; i < 16; ++i) {
    if (StartsGuidGroup(i) && text[at++] != '-') return std::nullopt;
    const int high = HexDigit(text[at]), low = HexDigit(text[at + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    g[kGuidByteOrder[i]] = static_cast<uint8_t>(high << 4 | low);
    at += 2;
  }
  return g;
}

std::string FormatDouble(double v) { return EcmaNumber(v); }
std::string FormatSingle(float v) { return EcmaNumber(v); }

std::string FormatCurrency(Currency c) {
  const bool negative = c.scaled < 0;
  const unsigned __int128 magnitude =
      negative ? static_cast<unsigned __int128>(-(static_cast<__int128>(c.scaled))) : c.scaled;
  return ScaledDecimal(negative, magnitude, 4);
}

std::string FormatDecimal(const Decimal& d) { return ScaledDecimal(d.negative, d.magnitude, d.scale); }

std::string FormatDateTime(DateTime dt) {
  // Sign-magnitude: the integer part (toward zero) is the day, the absolute
  // fraction the time of day.
  const double serial = dt.serial;
  if (!std::isfinite(serial) || std::fabs(serial) > 1e9) return FormatDouble(serial);  // no date at all
  int64_t day = static_cast<int64_t>(std::trunc(serial));
  int64_t ms = std::llround(std::fabs(serial - std::trunc(serial)) * kMillisPerDay);
  if (ms >= kMillisPerDay) {  // rounds up into the next day, away from zero
    ms -= kMillisPerDay;
    day += serial < 0 ? -1 : 1;
  }
  int64_t y;
  unsigned m, d;
  CivilFromDays(day - kJetEpochToUnixDays, &y, &m, &d);
  char buf[64];
  int len = std::snprintf(buf, sizeof buf, "%04lld-%02u-%02u %02lld:%02lld:%02lld", static_cast<long long>(y), m, d,
                          static_cast<long long>(ms / 3600000), static_cast<long long>(ms / 60000 % 60),
                          static_cast<long long>(ms / 1000 % 60));
  std::string out(buf, len);
  if (ms % 1000 != 0) {
    std::snprintf(buf, sizeof buf, ".%03lld", static_cast<long long>(ms % 1000));
    out += buf;
  }
  return out;
}

std::string CanonicalText(const Value& value) {
  struct Visitor {
    std::string operator()(std::monostate) const { return "\\N"; }
    std::string operator()(bool b) const { return b ? "1" : "0"; }
    std::string operator()(int64_t i) const { return std::to_string(i); }
    std::string operator()(float f) const { return FormatSingle(f); }
    std::string operator()(double d) const { return FormatDouble(d); }
    std::string operator()(Currency c) const { return FormatCurrency(c); }
    std::string operator()(DateTime dt) const { return FormatDateTime(dt); }
    std::string operator()(const Decimal& d) const { return FormatDecimal(d); }
    std::string operator()(const std::string& s) const { return s; }
    std::string operator()(const Bytes& b) const {
      std::string out;
      AppendHex(&out, b.data(), b.size(), false);
      return out;
    }
    std::string operator()(const Guid& g) const { return FormatGuid(g); }
  };
  return std::visit(Visitor{}, value.data());
}

void AppendCsvField(std::string* out, const std::string& text, bool is_null) {
  if (is_null) {
    *out += "\\N";
    return;
  }
  const bool quote = text == "\\N" || text.find_first_of(",\"\r\n") != std::string::npos;
  if (!quote) {
    *out += text;
    return;
  }
  out->push_back('"');
  for (char c : text) {
    if (c == '"') out->push_back('"');
    out->push_back(c);
  }
  out->push_back('"');
}

void AppendCsvRecord(std::string* out, const Row& row) {
  for (size_t i = 0; i < row.size(); ++i) {
    if (i) out->push_back(',');
    AppendCsvField(out, row[i].is_null() ? std::string() : CanonicalText(row[i]), row[i].is_null());
  }
  out->push_back('\n');
}

void AppendCsvHeader(std::string* out, const std::vector<std::string>& names) {
  for (size_t i = 0; i < names.size(); ++i) {
    if (i) out->push_back(',');
    AppendCsvField(out, names[i], false);
  }
  out->push_back('\n');
}

}  // namespace jet
