#include <cmath>
#include <limits>

#include "jet/query.h"
#include "jet/text_form.h"
#include "sql/decimal_math.h"

namespace jet {
namespace {

Status Mismatch(const ColumnDef& column) {
  return Status::InvalidArgument("Data type mismatch in criteria expression: the value for '" + column.name +
                                     "' cannot be made a " + std::string(ColumnTypeName(column.type)) + ".",
                                 3464);
}

Status Overflow(const ColumnDef& column) {
  return Status::InvalidArgument("Numeric field overflow ('" + column.name + "').", 3349);
}

// The value as a number, when it is one (Boolean True is -1, as in Jet).
bool AsNumber(const Value& v, double* out) {
  const auto& d = v.data();
  if (auto b = std::get_if<bool>(&d)) *out = *b ? -1 : 0;
  else if (auto i = std::get_if<int64_t>(&d)) *out = static_cast<double>(*i);
  else if (auto f = std::get_if<float>(&d)) *out = *f;
  else if (auto x = std::get_if<double>(&d)) *out = *x;
  else if (auto c = std::get_if<Currency>(&d)) *out = static_cast<double>(c->scaled) / 10000.0;
  else if (auto t = std::get_if<DateTime>(&d)) *out = t->serial;
  else if (auto m = std::get_if<Decimal>(&d)) {
    *out = static_cast<double>(m->magnitude) / std::pow(10.0, m->scale);
    if (m->negative) *out = -*out;
  } else {
    return false;
  }
  return true;
}

Status FitInteger(double n, const ColumnDef& column, Value* out) {
  double lo = std::numeric_limits<int32_t>::min(), hi = std::numeric_limits<int32_t>::max();
  if (column.type == ColumnType::kByte) lo = 0, hi = 255;
  if (column.type == ColumnType::kInteger) lo = -32768, hi = 32767;
  if (column.type == ColumnType::kBigInt) lo = -9.2233720368547758e18, hi = 9.2233720368547758e18;
  const double rounded = std::nearbyint(n);  // halves go to the even number, as Jet rounds
  if (!(rounded >= lo && rounded <= hi)) return Overflow(column);
  *out = Value(column.type, static_cast<int64_t>(rounded));
  return Status::OK();
}

// An exact value into a Decimal column: rounded half to even at the
// column's places, refused when it needs more digits than its precision.
Status FitDecimal(const Decimal& exact, const ColumnDef& column, Value* out) {
  std::optional<Decimal> d = sql::WithScale(sql::RoundDecimal(exact, column.scale), column.scale);
  unsigned __int128 limit = 1;
  for (int i = 0; i < (column.precision ? column.precision : sql::kMaxDecimalScale); ++i) limit *= 10;
  if (!d || d->magnitude >= limit) return Overflow(column);
  *out = Value(ColumnType::kDecimal, *d);
  return Status::OK();
}

// The value as an exact Decimal, when it holds one, a whole number or Currency.
std::optional<Decimal> ExactDecimal(const Value& v) {
  const auto& d = v.data();
  if (auto m = std::get_if<Decimal>(&d)) return *m;
  if (auto i = std::get_if<int64_t>(&d)) return sql::DecimalFromInteger(*i);
  if (auto b = std::get_if<bool>(&d)) return sql::DecimalFromInteger(*b ? -1 : 0);
  if (auto c = std::get_if<Currency>(&d)) {
    Decimal m = sql::DecimalFromInteger(c->scaled);
    m.scale = 4;
    return m;
  }
  return std::nullopt;
}

Status FitNumber(double n, const ColumnDef& column, Value* out) {
  switch (column.type) {
    case ColumnType::kBoolean: *out = Value(column.type, n != 0); return Status::OK();
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kComplex:
    case ColumnType::kBigInt: return FitInteger(n, column, out);
    case ColumnType::kCurrency: {
      const double scaled = std::nearbyint(n * 10000.0);
      if (!(std::fabs(scaled) < 9.2e18)) return Overflow(column);
      *out = Value(column.type, Currency{static_cast<int64_t>(scaled)});
      return Status::OK();
    }
    case ColumnType::kSingle: *out = Value(column.type, static_cast<float>(n)); return Status::OK();
    case ColumnType::kDouble: *out = Value(column.type, n); return Status::OK();
    case ColumnType::kDateTime: *out = Value(column.type, DateTime{n}); return Status::OK();
    case ColumnType::kDecimal: {
      std::optional<Decimal> d = sql::DecimalFromDouble(n);
      if (!d) return Overflow(column);
      return FitDecimal(*d, column, out);
    }
    default: return Mismatch(column);
  }
}

bool IsTextual(ColumnType t) { return t == ColumnType::kText || t == ColumnType::kMemo; }

}  // namespace

Status FitToColumn(const Value& value, const ColumnDef& column, Value* out) {
  const ColumnType t = column.type;
  if (value.is_null()) {
    *out = Value::Null(t);
    return Status::OK();
  }
  const auto& d = value.data();
  if (IsTextual(t)) {
    if (auto s = std::get_if<std::string>(&d)) *out = Value(t, *s);
    else if (auto b = std::get_if<bool>(&d)) *out = Value(t, std::string(*b ? "-1" : "0"));
    else *out = Value(t, CanonicalText(value));
    return Status::OK();
  }
  if (auto s = std::get_if<std::string>(&d)) {
    if (t == ColumnType::kBinary || t == ColumnType::kOle) {
      *out = Value(t, Bytes(s->begin(), s->end()));
      return Status::OK();
    }
    Value converted;
    if (!ConvertParameterText(*s, t == ColumnType::kComplex ? ColumnType::kLong : t, &converted).ok())
      return Mismatch(column);
    return FitToColumn(converted, column, out);
  }
  if (t == ColumnType::kBinary || t == ColumnType::kOle) {
    if (auto b = std::get_if<Bytes>(&d)) *out = Value(t, *b);
    else return Mismatch(column);
    return Status::OK();
  }
  if (t == ColumnType::kGuid) {
    if (auto g = std::get_if<Guid>(&d)) *out = Value(t, *g);
    else if (auto b = std::get_if<Bytes>(&d); b && b->size() == 16) {
      Guid g;
      std::copy(b->begin(), b->end(), g.begin());
      *out = Value(t, g);
    } else {
      return Mismatch(column);
    }
    return Status::OK();
  }
  if (t == ColumnType::kDecimal) {
    if (std::optional<Decimal> exact = ExactDecimal(value)) return FitDecimal(*exact, column, out);
  }
  if (auto c = std::get_if<Currency>(&d); c && t == ColumnType::kCurrency) {
    *out = Value(t, *c);
    return Status::OK();
  }
  if (auto i = std::get_if<int64_t>(&d); i && t == ColumnType::kBigInt) {
    *out = Value(t, *i);
    return Status::OK();
  }
  double n = 0;
  if (!AsNumber(value, &n)) return Mismatch(column);
  return FitNumber(n, column, out);
}

}  // namespace jet
