#include "jet/value.h"

namespace jet {

bool HoldsKindOf(ColumnType type, const Value& value) {
  if (value.is_null()) return true;
  switch (type) {
    case ColumnType::kBoolean: return value.get_if<bool>();
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kComplex:
    case ColumnType::kBigInt: return value.get_if<int64_t>();
    case ColumnType::kCurrency: return value.get_if<Currency>();
    case ColumnType::kSingle: return value.get_if<float>();
    case ColumnType::kDouble: return value.get_if<double>();
    case ColumnType::kDateTime: return value.get_if<DateTime>();
    case ColumnType::kDecimal: return value.get_if<Decimal>();
    case ColumnType::kGuid: return value.get_if<Guid>();
    case ColumnType::kText:
    case ColumnType::kMemo: return value.get_if<std::string>();
    case ColumnType::kBinary:
    case ColumnType::kOle: return value.get_if<Bytes>();
  }
  return false;  // a type code this engine does not know
}

}  // namespace jet
