#include "sql/sql_types.h"

namespace jet::sql {

SqlType FromColumnType(ColumnType type) {
  switch (type) {
    case ColumnType::kBoolean: return SqlType::kBoolean;
    case ColumnType::kByte: return SqlType::kByte;
    case ColumnType::kInteger: return SqlType::kInteger;
    case ColumnType::kLong: return SqlType::kLong;
    case ColumnType::kCurrency: return SqlType::kCurrency;
    case ColumnType::kSingle: return SqlType::kSingle;
    case ColumnType::kDouble: return SqlType::kDouble;
    case ColumnType::kDateTime: return SqlType::kDate;
    case ColumnType::kBinary: return SqlType::kBinary;
    case ColumnType::kText: return SqlType::kText;
    case ColumnType::kOle: return SqlType::kOle;
    case ColumnType::kMemo: return SqlType::kMemo;
    case ColumnType::kGuid: return SqlType::kGuid;
    case ColumnType::kDecimal: return SqlType::kDecimal;
    case ColumnType::kComplex: return SqlType::kLong;
    case ColumnType::kBigInt: return SqlType::kBigInt;
  }
  return SqlType::kVariant;
}

ColumnType ToColumnType(SqlType type) {
  switch (type) {
    case SqlType::kBoolean: return ColumnType::kBoolean;
    case SqlType::kByte: return ColumnType::kByte;
    case SqlType::kInteger: return ColumnType::kInteger;
    case SqlType::kLong: return ColumnType::kLong;
    case SqlType::kCurrency: return ColumnType::kCurrency;
    case SqlType::kSingle: return ColumnType::kSingle;
    case SqlType::kDouble: return ColumnType::kDouble;
    case SqlType::kDate: return ColumnType::kDateTime;
    case SqlType::kMemo: return ColumnType::kMemo;
    case SqlType::kBinary: return ColumnType::kBinary;
    case SqlType::kOle: return ColumnType::kOle;
    case SqlType::kGuid: return ColumnType::kGuid;
    case SqlType::kDecimal: return ColumnType::kDecimal;
    case SqlType::kBigInt: return ColumnType::kBigInt;
    case SqlType::kNull:
    case SqlType::kText:
    case SqlType::kVariant: return ColumnType::kText;
  }
  return ColumnType::kText;
}

namespace {
int Rank(SqlType t) {
  switch (t) {
    case SqlType::kBoolean:
    case SqlType::kByte: return 1;
    case SqlType::kInteger: return 2;
    case SqlType::kLong: return 3;
    case SqlType::kBigInt: return 4;
    case SqlType::kSingle: return 5;
    case SqlType::kDouble: return 6;
    case SqlType::kCurrency: return 7;
    case SqlType::kDecimal: return 8;
    default: return 6;
  }
}
}  // namespace

SqlType WiderNumber(SqlType a, SqlType b) {
  if (a == SqlType::kNull) return b;
  if (b == SqlType::kNull) return a;
  if (a == SqlType::kVariant || b == SqlType::kVariant) return SqlType::kDouble;
  // Single with Long is Double, as VBA has it.
  if ((a == SqlType::kSingle && (b == SqlType::kLong || b == SqlType::kBigInt)) ||
      (b == SqlType::kSingle && (a == SqlType::kLong || a == SqlType::kBigInt)))
    return SqlType::kDouble;
  SqlType wider = Rank(a) >= Rank(b) ? a : b;
  if (wider == SqlType::kBoolean) return SqlType::kInteger;
  if (!IsNumber(wider)) return SqlType::kDouble;
  return wider;
}

}  // namespace jet::sql
