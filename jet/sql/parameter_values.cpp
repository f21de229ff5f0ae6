// Parameter values given as text, converted as Jet converts them but with
// fixed rules, so a report runs the same on every machine.
#include <cmath>

#include "jet/query.h"
#include "jet/text_form.h"
#include "sql/date_math.h"
#include "sql/decimal_math.h"
#include "sql/function_support.h"

namespace jet {
namespace {

Status Mismatch(const std::string& text, ColumnType type) {
  return Status::InvalidArgument("Data type mismatch: '" + text + "' is not a valid " +
                                     std::string(ColumnTypeName(type)) + " value.",
                                 3464);
}

}  // namespace

Status ConvertParameterText(const std::string& text, ColumnType type, Value* out) {
  using sql::ParseDateText;
  using sql::ParseNumberText;
  switch (type) {
    case ColumnType::kText:
    case ColumnType::kMemo:
      *out = Value(type, text);
      return Status::OK();
    case ColumnType::kBoolean: {
      std::string f = sql::FoldCase(text);
      if (f == "true" || f == "yes" || f == "on" || f == "-1") *out = Value(type, true);
      else if (f == "false" || f == "no" || f == "off" || f == "0") *out = Value(type, false);
      else if (auto n = ParseNumberText(text)) *out = Value(type, *n != 0);
      else return Mismatch(text, type);
      return Status::OK();
    }
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kBigInt:
    case ColumnType::kComplex: {
      auto n = ParseNumberText(text);
      if (!n) return Mismatch(text, type);
      double r = sql::RoundHalfEven(*n);
      double lo = type == ColumnType::kByte ? 0 : type == ColumnType::kInteger ? -32768 : -2147483648.0;
      double hi = type == ColumnType::kByte ? 255 : type == ColumnType::kInteger ? 32767 : 2147483647.0;
      if (type == ColumnType::kBigInt) lo = -9.2e18, hi = 9.2e18;
      if (r < lo || r > hi) return Status::InvalidArgument("Overflow converting '" + text + "'.", 6);
      *out = Value(type, static_cast<int64_t>(r));
      return Status::OK();
    }
    case ColumnType::kCurrency: {
      if (!ParseNumberText(text)) return Mismatch(text, type);
      auto scaled = sql::ScaledCurrencyFromText(text);
      if (!scaled) return Status::InvalidArgument("Overflow converting '" + text + "'.", 6);
      *out = Value(type, Currency{*scaled});
      return Status::OK();
    }
    case ColumnType::kSingle: {
      auto n = ParseNumberText(text);
      if (!n) return Mismatch(text, type);
      *out = Value(type, static_cast<float>(*n));
      return Status::OK();
    }
    case ColumnType::kDouble: {
      auto n = ParseNumberText(text);
      if (!n) return Mismatch(text, type);
      *out = Value(ColumnType::kDouble, *n);
      return Status::OK();
    }
    case ColumnType::kDecimal: {
      if (!ParseNumberText(text)) return Mismatch(text, type);
      auto d = sql::ParseDecimal(text);  // the digits as written, not a double
      if (!d) return Status::InvalidArgument("Overflow converting '" + text + "'.", 6);
      *out = Value(type, *d);
      return Status::OK();
    }
    case ColumnType::kDateTime: {
      auto d = ParseDateText(text);
      if (!d) d = ParseNumberText(text);
      if (!d) return Mismatch(text, type);
      *out = Value(type, DateTime{*d});
      return Status::OK();
    }
    case ColumnType::kBinary:
    case ColumnType::kOle:
      *out = Value(type, Bytes(text.begin(), text.end()));
      return Status::OK();
    case ColumnType::kGuid:
      if (const std::optional<Guid> guid = ParseGuid(text)) {
        *out = Value(type, *guid);
        return Status::OK();
      }
      return Mismatch(text, type);
  }
  return Mismatch(text, type);
}

}  // namespace jet
