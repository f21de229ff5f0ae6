#include "postgres/pg_text_values.h"

#include <charconv>
#include <cstdio>

#include "odbc/server_values.h"
#include "sql/date_math.h"

namespace jet::postgres {
namespace {

// Type numbers of PostgreSQL's catalogue (pg_type.oid), fixed since 7.x.
constexpr unsigned kInt8Oid = 20;
constexpr unsigned kFloat8Oid = 701;
constexpr unsigned kTimestampOid = 1114;

Status NotOfType(std::string_view text, const char* what) {
  return Status::InvalidArgument("the server sent '" + std::string(text) + "' for " + what, 3464);
}

template <typename Number>
bool Parse(std::string_view text, Number* n) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), *n);
  return error == std::errc() && end == text.data() + text.size() && !text.empty();
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Pairs of hex digits into bytes; dashes between them (a uuid's) skipped.
bool HexBytes(std::string_view hex, bool skip_dashes, Bytes* out) {
  out->clear();
  for (size_t i = 0; i < hex.size(); i += 2) {
    if (skip_dashes && hex[i] == '-') {
      --i;
      continue;
    }
    if (i + 1 >= hex.size()) return false;
    const int high = HexDigit(hex[i]), low = HexDigit(hex[i + 1]);
    if (high < 0 || low < 0) return false;
    out->push_back(static_cast<uint8_t>(high * 16 + low));
  }
  return true;
}

Status BooleanFromText(std::string_view text, Value* out) {
  if (text == "t" || text == "true" || text == "1") *out = Value(ColumnType::kBoolean, true);
  else if (text == "f" || text == "false" || text == "0") *out = Value(ColumnType::kBoolean, false);
  else return NotOfType(text, "a Yes/No field");
  return Status::OK();
}

// A uuid, 8-4-4-4-12 hex digits, in the layout Jet keeps a GUID: its first
// three groups little-endian, the rest as written.
Status GuidFromText(std::string_view text, Value* out) {
  Bytes b;
  if (!HexBytes(text, true, &b) || b.size() != 16) return NotOfType(text, "a Replication ID field");
  Guid g{b[3], b[2], b[1], b[0], b[5], b[4], b[7], b[6]};
  std::copy(b.begin() + 8, b.end(), g.begin() + 8);
  *out = Value(ColumnType::kGuid, g);
  return Status::OK();
}

}  // namespace

Status ValueFromText(std::string_view text, ColumnType type, Value* out) {
  switch (type) {
    case ColumnType::kBoolean: return BooleanFromText(text, out);
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong: {
      int64_t n = 0;
      if (!Parse(text, &n)) return NotOfType(text, "a number field");
      *out = Value(type, n);
      return Status::OK();
    }
    case ColumnType::kSingle: {
      float f = 0;
      if (!Parse(text, &f)) return NotOfType(text, "a number field");
      *out = Value(type, f);
      return Status::OK();
    }
    case ColumnType::kDouble: {
      double d = 0;
      if (!Parse(text, &d)) return NotOfType(text, "a number field");
      *out = Value(type, d);
      return Status::OK();
    }
    case ColumnType::kDateTime: return odbc::DateTimeFromText(text, out);
    case ColumnType::kDecimal:
    case ColumnType::kCurrency: return odbc::ExactNumberFromText(std::string(text), type, out);
    case ColumnType::kGuid: return GuidFromText(text, out);
    case ColumnType::kBinary:
    case ColumnType::kOle: {
      Bytes bytes;
      if (!text.starts_with("\\x") || !HexBytes(text.substr(2), false, &bytes)) return NotOfType(text, "a binary field");
      *out = Value(type, std::move(bytes));
      return Status::OK();
    }
    default: *out = Value(type, std::string(text)); return Status::OK();
  }
}

bool ParameterText(const Value& value, std::string* text, unsigned* type_oid) {
  char buffer[64];
  if (const int64_t* n = value.get_if<int64_t>()) {
    *text = std::to_string(*n);
    *type_oid = kInt8Oid;
  } else if (const double* d = value.get_if<double>()) {
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, *d).ptr;  // the shortest exact form
    *text = std::string(buffer, end);
    *type_oid = kFloat8Oid;
  } else if (const DateTime* date = value.get_if<DateTime>()) {
    const sql::CivilDateTime c = sql::CivilFromSerial(date->serial);
    if (c.year < 1 || c.year > 9999) return false;
    std::snprintf(buffer, sizeof buffer, "%04lld-%02d-%02d %02d:%02d:%02d", static_cast<long long>(c.year), c.month,
                  c.day, c.hour, c.minute, c.second);
    *text = buffer;
    *type_oid = kTimestampOid;
  } else {
    return false;
  }
  return true;
}

}  // namespace jet::postgres
