#include "odbc/server_values.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "odbc/odbc_handles.h"
#include "sql/date_math.h"
#include "sql/decimal_math.h"

namespace jet::odbc {
namespace {

constexpr SQLULEN kLongestInlineText = 255;

ColumnDef Column(const ServerColumn& c, ColumnType type) {
  ColumnDef def;
  def.name = c.name;
  def.type = type;
  def.nullable = c.nullable;
  def.autonumber = c.autonumber && type == ColumnType::kLong;
  def.fixed = !(type == ColumnType::kText || type == ColumnType::kBinary || IsLongValueType(type));
  return def;
}

ColumnDef Sized(const ServerColumn& c, ColumnType inline_type, ColumnType long_type, int bytes_per_unit) {
  const bool fits = c.size > 0 && c.size <= kLongestInlineText;
  ColumnDef def = Column(c, fits ? inline_type : long_type);
  if (fits) def.size = static_cast<uint16_t>(c.size * bytes_per_unit);
  return def;
}

// Reads a cell in parts until the driver has no more.
template <typename Unit>
Status ReadLong(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT c_type, std::basic_string<Unit>* out, bool* null) {
  out->clear();
  *null = false;
  Unit buffer[4096];
  for (;;) {
    SQLLEN length = 0;
    SQLRETURN rc = SQLGetData(stmt, number, c_type, buffer, sizeof buffer, &length);
    if (rc == SQL_NO_DATA) return Status::OK();
    if (!Succeeded(rc)) return Status::IOError("reading a value from the server: " + Diagnostics(SQL_HANDLE_STMT, stmt));
    if (length == SQL_NULL_DATA) {
      *null = true;
      return Status::OK();
    }
    const size_t room = sizeof buffer / sizeof(Unit) - (c_type == SQL_C_BINARY ? 0 : 1);  // text ends in a 0
    const size_t got = length == SQL_NO_TOTAL || static_cast<size_t>(length) / sizeof(Unit) > room
                           ? room
                           : static_cast<size_t>(length) / sizeof(Unit);
    out->append(buffer, got);
    if (rc == SQL_SUCCESS) return Status::OK();
  }
}

template <typename T>
Status ReadFixed(SQLHSTMT stmt, SQLUSMALLINT number, SQLSMALLINT c_type, T* value, bool* null) {
  SQLLEN indicator = 0;
  SQLRETURN rc = SQLGetData(stmt, number, c_type, value, sizeof(T), &indicator);
  if (!Succeeded(rc)) return Status::IOError("reading a value from the server: " + Diagnostics(SQL_HANDLE_STMT, stmt));
  *null = indicator == SQL_NULL_DATA;
  return Status::OK();
}

}  // namespace

ColumnDef JetColumnFor(const ServerColumn& c) {
  switch (c.sql_type) {
    case SQL_BIT: return Column(c, ColumnType::kBoolean);
    case SQL_TINYINT: return Column(c, ColumnType::kByte);
    case SQL_SMALLINT: return Column(c, ColumnType::kInteger);
    case SQL_INTEGER: return Column(c, ColumnType::kLong);
    case SQL_REAL: return Column(c, ColumnType::kSingle);
    case SQL_FLOAT:
    case SQL_DOUBLE: return Column(c, ColumnType::kDouble);
    case SQL_TYPE_DATE:
    case SQL_TYPE_TIME:
    case SQL_TYPE_TIMESTAMP:
    case SQL_DATETIME: return Column(c, ColumnType::kDateTime);
    case SQL_GUID: return Column(c, ColumnType::kGuid);
    case SQL_NUMERIC:
    case SQL_DECIMAL: {
      if (c.size == 0 || c.size > 28) return Sized({c.name, SQL_VARCHAR, 255, 0, c.nullable}, ColumnType::kText,
                                                   ColumnType::kMemo, 2);
      ColumnDef def = Column(c, ColumnType::kDecimal);
      def.precision = static_cast<uint8_t>(c.size);
      def.scale = static_cast<uint8_t>(std::clamp<int>(c.digits, 0, static_cast<int>(c.size)));
      def.size = 17;
      return def;
    }
    case SQL_BINARY:
    case SQL_VARBINARY:
    case SQL_LONGVARBINARY: return Sized(c, ColumnType::kBinary, ColumnType::kOle, 1);
    case SQL_BIGINT: return Sized({c.name, SQL_VARCHAR, 255, 0, c.nullable}, ColumnType::kText, ColumnType::kMemo, 2);
    default: return Sized(c, ColumnType::kText, ColumnType::kMemo, 2);  // char, varchar, their wide forms, and the rest
  }
}

Status ReadCell(SQLHSTMT stmt, SQLUSMALLINT number, ColumnType type, Value* out) {
  bool null = false;
  switch (type) {
    case ColumnType::kBoolean: {
      unsigned char bit = 0;
      JET_RETURN_IF_ERROR(ReadFixed(stmt, number, SQL_C_BIT, &bit, &null));
      *out = null ? Value::Null(type) : Value(type, bit != 0);
      return Status::OK();
    }
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong: {
      SQLBIGINT n = 0;
      JET_RETURN_IF_ERROR(ReadFixed(stmt, number, SQL_C_SBIGINT, &n, &null));
      *out = null ? Value::Null(type) : Value(type, static_cast<int64_t>(n));
      return Status::OK();
    }
    case ColumnType::kSingle: {
      float f = 0;
      JET_RETURN_IF_ERROR(ReadFixed(stmt, number, SQL_C_FLOAT, &f, &null));
      *out = null ? Value::Null(type) : Value(type, f);
      return Status::OK();
    }
    case ColumnType::kDouble: {
      double d = 0;
      JET_RETURN_IF_ERROR(ReadFixed(stmt, number, SQL_C_DOUBLE, &d, &null));
      *out = null ? Value::Null(type) : Value(type, d);
      return Status::OK();
    }
    case ColumnType::kDateTime: {
      std::string text;
      JET_RETURN_IF_ERROR(ReadLong(stmt, number, SQL_C_CHAR, &text, &null));
      if (null) {
        *out = Value::Null(type);
        return Status::OK();
      }
      return DateTimeFromText(text, out);
    }
    case ColumnType::kGuid: {
      SQLGUID g{};
      JET_RETURN_IF_ERROR(ReadFixed(stmt, number, SQL_C_GUID, &g, &null));
      Guid bytes{};
      std::memcpy(bytes.data(), &g, bytes.size());  // Jet keeps a GUID in the same little-endian layout
      *out = null ? Value::Null(type) : Value(type, bytes);
      return Status::OK();
    }
    case ColumnType::kDecimal:
    case ColumnType::kCurrency: {
      std::basic_string<char> text;
      JET_RETURN_IF_ERROR(ReadLong(stmt, number, SQL_C_CHAR, &text, &null));
      if (null) {
        *out = Value::Null(type);
        return Status::OK();
      }
      return ExactNumberFromText(text, type, out);
    }
    case ColumnType::kBinary:
    case ColumnType::kOle: {
      std::basic_string<uint8_t> bytes;
      JET_RETURN_IF_ERROR(ReadLong(stmt, number, SQL_C_BINARY, &bytes, &null));
      *out = null ? Value::Null(type) : Value(type, Bytes(bytes.begin(), bytes.end()));
      return Status::OK();
    }
    default: {
      std::basic_string<SQLWCHAR> text;
      JET_RETURN_IF_ERROR(ReadLong(stmt, number, SQL_C_WCHAR, &text, &null));
      *out = null ? Value::Null(type) : Value(type, ToUtf8(text.data(), text.size()));
      return Status::OK();
    }
  }
}

Status ExactNumberFromText(const std::string& text, ColumnType type, Value* out) {
  std::optional<Decimal> d = sql::ParseDecimal(text);
  if (d && type == ColumnType::kCurrency) {
    // Currency counts ten-thousandths; the server's numeric(19,4) sends
    // exactly four places, so the digits only need lining up.
    unsigned __int128 scaled = d->magnitude;
    for (int s = d->scale; s < 4; ++s) scaled *= 10;
    for (int s = d->scale; s > 4; --s) scaled /= 10;
    if (scaled <= static_cast<unsigned __int128>(INT64_MAX)) {
      const auto n = static_cast<int64_t>(scaled);
      *out = Value(type, Currency{d->negative ? -n : n});
      return Status::OK();
    }
    d.reset();
  }
  if (!d) return Status::InvalidArgument("the server sent '" + text + "' for a number field", 3464);
  *out = Value(type, *d);
  return Status::OK();
}

namespace {

// Reads `count` digits (at least one, up to `count` when `exact` is false)
// at *at into *n.
bool Digits(std::string_view text, size_t* at, size_t count, bool exact, int64_t* n) {
  size_t read = 0;
  *n = 0;
  while (*at < text.size() && read < count && text[*at] >= '0' && text[*at] <= '9') {
    *n = *n * 10 + (text[(*at)++] - '0');
    ++read;
  }
  return exact ? read == count : read > 0;
}

bool Skip(std::string_view text, size_t* at, char c) {
  if (*at >= text.size() || text[*at] != c) return false;
  ++*at;
  return true;
}

bool ReadDate(std::string_view text, size_t* at, sql::CivilDateTime* c) {
  int64_t month = 0, day = 0;
  if (!Digits(text, at, 6, false, &c->year) || !Skip(text, at, '-') || !Digits(text, at, 2, true, &month) ||
      !Skip(text, at, '-') || !Digits(text, at, 2, true, &day))
    return false;
  c->month = static_cast<int>(month);
  c->day = static_cast<int>(day);
  return month >= 1 && month <= 12 && day >= 1 && day <= 31;
}

bool ReadTime(std::string_view text, size_t* at, sql::CivilDateTime* c) {
  int64_t hour = 0, minute = 0, second = 0, ignored = 0;
  if (!Digits(text, at, 2, true, &hour) || !Skip(text, at, ':') || !Digits(text, at, 2, true, &minute) ||
      !Skip(text, at, ':') || !Digits(text, at, 2, true, &second))
    return false;
  if (Skip(text, at, '.') && !Digits(text, at, 9, false, &ignored)) return false;
  if (*at < text.size() && (text[*at] == '+' || text[*at] == '-')) {
    ++*at;
    if (!Digits(text, at, 2, true, &ignored)) return false;
    while (Skip(text, at, ':'))
      if (!Digits(text, at, 2, true, &ignored)) return false;
  }
  c->hour = static_cast<int>(hour);
  c->minute = static_cast<int>(minute);
  c->second = static_cast<int>(second);
  return hour < 24 && minute < 60 && second < 60;
}

}  // namespace

Status DateTimeFromText(std::string_view text, Value* out) {
  sql::CivilDateTime c;
  size_t at = 0;
  const bool time_only = text.size() > 2 && text[2] == ':';
  bool read = time_only ? ReadTime(text, &at, &c) : ReadDate(text, &at, &c);
  if (read && !time_only && Skip(text, &at, ' ')) read = ReadTime(text, &at, &c);
  if (!read || at != text.size())
    return Status::InvalidArgument("the server sent '" + std::string(text) + "' for a date field", 3464);
  *out = Value(ColumnType::kDateTime, DateTime{sql::SerialFromCivil(c)});
  return Status::OK();
}

SQL_TIMESTAMP_STRUCT TimestampFromSerial(double serial) {
  const sql::CivilDateTime c = sql::CivilFromSerial(serial);
  SQL_TIMESTAMP_STRUCT t{};
  t.year = static_cast<SQLSMALLINT>(c.year);
  t.month = static_cast<SQLUSMALLINT>(c.month);
  t.day = static_cast<SQLUSMALLINT>(c.day);
  t.hour = static_cast<SQLUSMALLINT>(c.hour);
  t.minute = static_cast<SQLUSMALLINT>(c.minute);
  t.second = static_cast<SQLUSMALLINT>(c.second);
  return t;
}

}  // namespace jet::odbc
