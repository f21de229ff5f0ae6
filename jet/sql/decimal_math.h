// Jet's Decimal, exact: a magnitude below 2^96 with 0 to 28 digits after
// the point. Queries carry Decimal values through SQLite as their shortest
// text ("-12.5"), compared by the JETDECIMAL collation, and compute on them
// with these functions, so no value passes through a double on the way.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "jet/value.h"

namespace jet::sql {

constexpr int kMaxDecimalScale = 28;

// The shortest text of a value is FormatDecimal's (jet/text_form.h), which
// ParseDecimal reads back to the same number.

// Reads "-12.50", "+3", ".5", "1e5" or "1.0e+20", blanks around allowed.
// Digits beyond 28 places round half to even; a value of 2^96 or more, or
// text that is not a number, gives nothing.
std::optional<Decimal> ParseDecimal(std::string_view text);

// A Double as CDec takes it: to 15 significant digits.
std::optional<Decimal> DecimalFromDouble(double v);
Decimal DecimalFromInteger(int64_t v);

// Results too long for 28 places are rounded half to even; nothing when
// the whole part does not fit (Jet's "Overflow").
std::optional<Decimal> AddDecimals(const Decimal& a, const Decimal& b);
std::optional<Decimal> MultiplyDecimals(const Decimal& a, const Decimal& b);
Decimal NegateDecimal(Decimal d);
// Half to even at `places` digits after the point (0 to 28).
Decimal RoundDecimal(const Decimal& d, int places);
// The whole part, toward zero.
Decimal TruncateDecimal(const Decimal& d);
// The same number with exactly `scale` places, when that loses no digit
// and fits; otherwise nothing.
std::optional<Decimal> WithScale(const Decimal& d, int scale);

// -1, 0 or 1; 1.5 and 1.50 are equal.
int CompareDecimals(const Decimal& a, const Decimal& b);

}  // namespace jet::sql
