// Value: one field of one row, typed as Jet typed it.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <variant>
#include <vector>

#include "jet/types.h"

namespace jet {

// Currency: an exact amount in ten-thousandths.
struct Currency {
  int64_t scaled = 0;
  friend bool operator==(Currency, Currency) = default;
};

// Decimal ("Numeric"): sign, 96-bit magnitude and the count of digits after the point.
struct Decimal {
  bool negative = false;
  unsigned __int128 magnitude = 0;
  uint8_t scale = 0;
  friend bool operator==(const Decimal&, const Decimal&) = default;
};

// Date/Time: days since 1899-12-30, time of day as the fraction (sign-magnitude
// for negative days: -1.25 is 1899-12-29 06:00).
struct DateTime {
  double serial = 0;
  friend bool operator==(DateTime, DateTime) = default;
};

using Guid = std::array<uint8_t, 16>;
using Bytes = std::vector<uint8_t>;

class Value {
 public:
  // Text is UTF-8. Byte, Integer, Long and BigInt are held as int64.
  using Data = std::variant<std::monostate, bool, int64_t, float, double, Currency, DateTime,
                            Decimal, std::string, Bytes, Guid>;

  Value() = default;  // Null
  Value(ColumnType type, Data data) : type_(type), data_(std::move(data)) {}

  static Value Null(ColumnType type) { return Value(type, std::monostate{}); }

  ColumnType type() const { return type_; }
  bool is_null() const { return std::holds_alternative<std::monostate>(data_); }
  const Data& data() const { return data_; }

  // The held value when it is a T, else nullptr (Null included). A value
  // decoded from the file has the kind its column's stored type gives, and a
  // damaged definition can give any type to any column, so code that reads
  // the file's own tables asks with these (or with the checked readers of
  // system_fields.h) rather than with the as_ accessors below.
  template <class T>
  const T* get_if() const noexcept {
    return std::get_if<T>(&data_);
  }

  // For values whose kind the caller made sure of: these throw
  // std::bad_variant_access on any other.
  bool as_bool() const { return std::get<bool>(data_); }
  int64_t as_int() const { return std::get<int64_t>(data_); }
  float as_float() const { return std::get<float>(data_); }
  double as_double() const { return std::get<double>(data_); }
  Currency as_currency() const { return std::get<Currency>(data_); }
  DateTime as_datetime() const { return std::get<DateTime>(data_); }
  const Decimal& as_decimal() const { return std::get<Decimal>(data_); }
  const std::string& as_text() const { return std::get<std::string>(data_); }
  const Bytes& as_bytes() const { return std::get<Bytes>(data_); }
  const Guid& as_guid() const { return std::get<Guid>(data_); }

  friend bool operator==(const Value&, const Value&) = default;

 private:
  ColumnType type_ = ColumnType::kText;
  Data data_;
};

using Row = std::vector<Value>;

// Whether `value` is Null or holds the kind a column of `type` decodes to
// (an int64 for Byte to Long, a string for Text and Memo, ...). The writer
// and the index keys take only such values; a damaged row can give others.
bool HoldsKindOf(ColumnType type, const Value& value);

}  // namespace jet
