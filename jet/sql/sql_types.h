// The types the translator tracks for every expression, and how each one is
// held in SQLite: Boolean as -1/0, Currency as ten-thousandths in an
// INTEGER, Date/Time as the day number in a REAL, text as UTF-8.
#pragma once

#include "jet/types.h"

namespace jet::sql {

enum class SqlType : int {
  kNull = 0,  // the Null literal: takes the other operand's type
  kBoolean,
  kByte,
  kInteger,
  kLong,
  kCurrency,
  kSingle,
  kDouble,
  kDate,
  kText,
  kMemo,
  kBinary,
  kOle,
  kGuid,
  kDecimal,
  kBigInt,
  kVariant,  // not known until run time (an untyped parameter)
};

SqlType FromColumnType(ColumnType type);
// The type an output column reports; Null and Variant report Text.
ColumnType ToColumnType(SqlType type);

inline bool IsText(SqlType t) { return t == SqlType::kText || t == SqlType::kMemo; }
inline bool IsWholeNumber(SqlType t) {
  return t == SqlType::kBoolean || t == SqlType::kByte || t == SqlType::kInteger || t == SqlType::kLong ||
         t == SqlType::kBigInt;
}
inline bool IsNumber(SqlType t) {
  return IsWholeNumber(t) || t == SqlType::kCurrency || t == SqlType::kSingle || t == SqlType::kDouble ||
         t == SqlType::kDecimal;
}

// The result type of + - * on two numbers, in VBA's order of precision:
// Byte, Integer, Long, Single, Double, Currency, Decimal.
SqlType WiderNumber(SqlType a, SqlType b);

}  // namespace jet::sql
