// The canonical text form of values and rows, so that our output can be
// compared byte for byte with other readers:
//   Null `\N`; Boolean 1/0; integers plain; Single/Double shortest round-trip
//   digits laid out as ECMAScript prints numbers; Currency/Decimal plain with
//   trailing zeros stripped; Date/Time `yyyy-MM-dd HH:mm:ss[.SSS]`; binary as
//   lowercase hex; GUID `{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}`.
// CSV: fields joined by `,`, records ended by `\n`; a field is quoted (quotes
// doubled) when it holds `,` `"` CR or LF or is exactly `\N`.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/value.h"

namespace jet {

std::string CanonicalText(const Value& value);

// Pieces of the canonical form, shared with the query engine.
std::string FormatDouble(double v);
std::string FormatSingle(float v);
std::string FormatCurrency(Currency c);
std::string FormatDecimal(const Decimal& d);
std::string FormatDateTime(DateTime dt);
// The GUID the canonical text `{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}` stands
// for (hex digits in either case); nothing for any other text.
std::optional<Guid> ParseGuid(std::string_view text);

// Appends one CSV field (already in canonical text unless `is_null`).
void AppendCsvField(std::string* out, const std::string& text, bool is_null);
// Appends a whole record of values and the closing `\n`.
void AppendCsvRecord(std::string* out, const Row& row);
void AppendCsvHeader(std::string* out, const std::vector<std::string>& names);

}  // namespace jet
