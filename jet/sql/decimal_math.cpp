#include "sql/decimal_math.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <vector>

#include "sql/function_support.h"

namespace jet::sql {
namespace {

using u128 = unsigned __int128;
constexpr u128 kLimit = static_cast<u128>(1) << 96;  // a Decimal's magnitude stays below

// A value with no sign on zero.
Decimal Make(bool negative, u128 magnitude, int scale) {
  Decimal d;
  d.negative = negative && magnitude != 0;
  d.magnitude = magnitude;
  d.scale = static_cast<uint8_t>(scale);
  return d;
}

u128 PowerOfTen(int n) {
  u128 p = 1;
  while (n-- > 0) p *= 10;
  return p;
}

// An exact intermediate of any length: base 10^9 limbs, lowest first. Only
// products and long texts need it; sums of aligned values fit 128 bits.
using Limbs = std::vector<uint32_t>;
constexpr uint32_t kLimbBase = 1000000000;

Limbs ToLimbs(u128 v) {
  Limbs out;
  do {
    out.push_back(static_cast<uint32_t>(v % kLimbBase));
    v /= kLimbBase;
  } while (v != 0);
  return out;
}

// The value when it is below 2^96.
std::optional<u128> SmallValue(const Limbs& limbs) {
  for (size_t i = 4; i < limbs.size(); ++i)
    if (limbs[i] != 0) return std::nullopt;
  u128 v = 0;
  for (size_t i = std::min<size_t>(limbs.size(), 4); i-- > 0;) v = v * kLimbBase + limbs[i];
  if (v >= kLimit) return std::nullopt;
  return v;
}

int DivideByTen(Limbs* limbs) {
  uint64_t rest = 0;
  for (size_t i = limbs->size(); i-- > 0;) {
    const uint64_t part = rest * kLimbBase + (*limbs)[i];
    (*limbs)[i] = static_cast<uint32_t>(part / 10);
    rest = part % 10;
  }
  return static_cast<int>(rest);
}

// An exact magnitude at `scale` places, brought within a Decimal's limits:
// places beyond 28, and those that keep it from fitting 96 bits, are
// dropped with rounding half to even. Nothing when the whole part is too big.
std::optional<Decimal> Fit(bool negative, Limbs magnitude, int scale) {
  int last = 0;         // the most recently dropped digit
  bool sticky = false;  // any digit dropped before it was not zero
  std::optional<u128> small = SmallValue(magnitude);
  while (scale > kMaxDecimalScale || !small) {
    if (scale == 0) return std::nullopt;
    sticky = sticky || last != 0;
    last = DivideByTen(&magnitude);
    --scale;
    small = SmallValue(magnitude);
  }
  u128 m = *small;
  if (last > 5 || (last == 5 && (sticky || (m & 1) != 0))) {
    if (++m == kLimit) return Fit(negative, ToLimbs(m), scale);
  }
  return Make(negative, m, scale);
}

std::optional<Decimal> Fit(bool negative, u128 magnitude, int scale) {
  if (magnitude < kLimit && scale <= kMaxDecimalScale) return Make(negative, magnitude, scale);
  return Fit(negative, ToLimbs(magnitude), scale);
}

// The magnitude at `scale` (>= d.scale) places, when it fits 127 bits.
std::optional<u128> ScaledUp(const Decimal& d, int scale) {
  u128 m = d.magnitude;
  for (int s = d.scale; s < scale; ++s) {
    if (m > (static_cast<u128>(1) << 123)) return std::nullopt;
    m *= 10;
  }
  return m;
}

}  // namespace

std::optional<Decimal> ParseDecimal(std::string_view text) {
  size_t i = 0, n = text.size();
  while (i < n && text[i] == ' ') ++i;
  while (n > i && text[n - 1] == ' ') --n;
  bool negative = false;
  if (i < n && (text[i] == '-' || text[i] == '+')) negative = text[i++] == '-';
  std::string digits;
  int scale = 0;
  bool point = false, any = false;
  for (; i < n; ++i) {
    const char c = text[i];
    if (c == '.' && !point) {
      point = true;
    } else if (std::isdigit(static_cast<unsigned char>(c))) {
      any = true;
      if (digits.empty() && c == '0') {
        if (point) ++scale;  // a leading zero after the point still counts as a place
        continue;
      }
      digits.push_back(c);
      if (point) ++scale;
    } else {
      break;
    }
  }
  if (!any) return std::nullopt;
  if (i < n) {
    if (text[i] != 'e' && text[i] != 'E') return std::nullopt;
    ++i;
    bool down = false;
    if (i < n && (text[i] == '-' || text[i] == '+')) down = text[i++] == '-';
    if (i == n) return std::nullopt;
    int exponent = 0;
    for (; i < n; ++i) {
      if (!std::isdigit(static_cast<unsigned char>(text[i]))) return std::nullopt;
      if (exponent < 10000) exponent = exponent * 10 + (text[i] - '0');
    }
    scale += down ? exponent : -exponent;
  }
  if (digits.empty()) return Make(false, 0, std::clamp(scale, 0, kMaxDecimalScale));
  if (scale < 0) {
    if (-scale + static_cast<int>(digits.size()) > 30) return std::nullopt;  // 2^96 has 29 digits
    digits.append(static_cast<size_t>(-scale), '0');
    scale = 0;
  }
  // Digits far below the 28th place cannot change how the value rounds
  // beyond being not all zero, so a long tail is cut to one sticky digit.
  const int keep_places = kMaxDecimalScale + 2;
  if (scale > keep_places) {
    const int cut = std::min<int>(scale - keep_places, static_cast<int>(digits.size()));
    const bool nonzero_tail = digits.find_first_not_of('0', digits.size() - cut) != std::string::npos;
    digits.resize(digits.size() - cut);
    scale -= cut;
    if (digits.empty() || scale > keep_places) return Decimal{};
    if (nonzero_tail) digits.push_back('1'), ++scale;
  }
  Limbs limbs;
  for (size_t end = digits.size(); end > 0;) {
    const size_t begin = end >= 9 ? end - 9 : 0;
    limbs.push_back(static_cast<uint32_t>(std::stoul(digits.substr(begin, end - begin))));
    end = begin;
  }
  return Fit(negative, std::move(limbs), scale);
}

std::optional<Decimal> DecimalFromDouble(double v) {
  if (!std::isfinite(v)) return std::nullopt;
  return ParseDecimal(GeneralDigits(v, 15));
}

Decimal DecimalFromInteger(int64_t v) {
  Decimal d;
  d.negative = v < 0;
  d.magnitude = v < 0 ? static_cast<u128>(-(v + 1)) + 1 : static_cast<u128>(v);
  return d;
}

std::optional<Decimal> AddDecimals(const Decimal& a, const Decimal& b) {
  int scale = std::max(a.scale, b.scale);
  std::optional<u128> x = ScaledUp(a, scale), y = ScaledUp(b, scale);
  // Aligning would pass 127 bits only when the sum has far more than 28
  // significant digits; the finer operand is rounded to what can be kept.
  while (!x || !y) {
    --scale;
    x = ScaledUp(RoundDecimal(a, std::min<int>(a.scale, scale)), scale);
    y = ScaledUp(RoundDecimal(b, std::min<int>(b.scale, scale)), scale);
  }
  if (a.negative == b.negative) return Fit(a.negative, *x + *y, scale);
  if (*x >= *y) return Fit(a.negative, *x - *y, scale);
  return Fit(b.negative, *y - *x, scale);
}

std::optional<Decimal> MultiplyDecimals(const Decimal& a, const Decimal& b) {
  const bool negative = a.negative != b.negative;
  const int scale = a.scale + b.scale;
  u128 product = 0;
  if (!__builtin_mul_overflow(a.magnitude, b.magnitude, &product)) return Fit(negative, product, scale);
  const Limbs x = ToLimbs(a.magnitude), y = ToLimbs(b.magnitude);
  std::vector<uint64_t> wide(x.size() + y.size() + 1, 0);
  for (size_t i = 0; i < x.size(); ++i) {
    uint64_t carry = 0;
    for (size_t j = 0; j < y.size(); ++j) {
      const uint64_t t = wide[i + j] + static_cast<uint64_t>(x[i]) * y[j] + carry;
      wide[i + j] = t % kLimbBase;
      carry = t / kLimbBase;
    }
    for (size_t k = i + y.size(); carry != 0; ++k) {
      const uint64_t t = wide[k] + carry;
      wide[k] = t % kLimbBase;
      carry = t / kLimbBase;
    }
  }
  return Fit(negative, Limbs(wide.begin(), wide.end()), scale);
}

Decimal NegateDecimal(Decimal d) {
  d.negative = !d.negative && d.magnitude != 0;
  return d;
}

Decimal RoundDecimal(const Decimal& d, int places) {
  places = std::clamp(places, 0, kMaxDecimalScale);
  if (d.scale <= places) return d;
  const u128 unit = PowerOfTen(d.scale - places);
  u128 q = d.magnitude / unit;
  const u128 r = d.magnitude % unit;
  if (r > unit / 2 || (r == unit / 2 && (q & 1) != 0)) ++q;
  return Make(d.negative, q, places);
}

Decimal TruncateDecimal(const Decimal& d) { return Make(d.negative, d.magnitude / PowerOfTen(d.scale), 0); }

std::optional<Decimal> WithScale(const Decimal& d, int scale) {
  if (scale < 0 || scale > kMaxDecimalScale) return std::nullopt;
  if (scale < d.scale) {
    if (d.magnitude % PowerOfTen(d.scale - scale) != 0) return std::nullopt;
    return RoundDecimal(d, scale);
  }
  std::optional<u128> m = ScaledUp(d, scale);
  if (!m || *m >= kLimit) return std::nullopt;
  return Make(d.negative, *m, scale);
}

int CompareDecimals(const Decimal& a, const Decimal& b) {
  const bool a_negative = a.negative && a.magnitude != 0, b_negative = b.negative && b.magnitude != 0;
  if (a_negative != b_negative) return a_negative ? -1 : 1;
  // Whole parts first, then the fractions brought to 28 places: both stay
  // within 128 bits, whatever the two scales.
  const u128 a_unit = PowerOfTen(a.scale), b_unit = PowerOfTen(b.scale);
  const u128 a_whole = a.magnitude / a_unit, b_whole = b.magnitude / b_unit;
  int order = 0;
  if (a_whole != b_whole) {
    order = a_whole < b_whole ? -1 : 1;
  } else {
    const u128 a_part = (a.magnitude % a_unit) * PowerOfTen(kMaxDecimalScale - a.scale);
    const u128 b_part = (b.magnitude % b_unit) * PowerOfTen(kMaxDecimalScale - b.scale);
    order = a_part == b_part ? 0 : a_part < b_part ? -1 : 1;
  }
  return a_negative ? -order : order;
}

}  // namespace jet::sql
