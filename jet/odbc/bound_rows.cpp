#include "odbc/bound_rows.h"

#include <algorithm>
#include <cstring>

#include "odbc/odbc_handles.h"
#include "odbc/server_values.h"

namespace jet::odbc {
namespace {

// A decimal of up to 28 digits as text, with its sign and point.
constexpr SQLLEN kDecimalText = 64;
// A date and time as text, with a zone and digits of a second.
constexpr SQLLEN kDateTimeText = 48;
// Rows a fetch: as many as fit in this many bytes, within these bounds.
constexpr SQLLEN kBlockBytes = 1 << 20;
constexpr SQLULEN kFewestRows = 16;
constexpr SQLULEN kMostRows = 1024;

// The C type a column is bound as and the bytes one value takes.
std::pair<SQLSMALLINT, SQLLEN> CForm(const ColumnDef& def) {
  switch (def.type) {
    case ColumnType::kBoolean: return {SQL_C_BIT, sizeof(unsigned char)};
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong: return {SQL_C_SBIGINT, sizeof(SQLBIGINT)};
    case ColumnType::kSingle: return {SQL_C_FLOAT, sizeof(float)};
    case ColumnType::kDouble: return {SQL_C_DOUBLE, sizeof(double)};
    // As text: reading it ourselves is several times cheaper than the
    // driver's conversion, which is most of a large read's cost.
    case ColumnType::kDateTime: return {SQL_C_CHAR, kDateTimeText};
    case ColumnType::kGuid: return {SQL_C_GUID, sizeof(SQLGUID)};
    case ColumnType::kDecimal:
    case ColumnType::kCurrency: return {SQL_C_CHAR, kDecimalText};
    case ColumnType::kBinary: return {SQL_C_BINARY, std::max<SQLLEN>(def.size, 1)};
    // A Text of n characters: each may take two UTF-16 units, and a 0 ends it.
    default: return {SQL_C_WCHAR, static_cast<SQLLEN>((def.size + 1) * sizeof(SQLWCHAR))};
  }
}

// The bytes of a value the buffer holds: its length, or the buffer's room
// when the driver gave no total.
size_t Held(SQLLEN length, SQLLEN room) {
  return static_cast<size_t>(length == SQL_NO_TOTAL || length > room ? room : std::max<SQLLEN>(length, 0));
}

template <typename T>
T At(const char* bytes) {
  T value;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

}  // namespace

bool BoundRows::Bindable(const ColumnDef& def) {
  switch (def.type) {
    case ColumnType::kText:
    case ColumnType::kBinary: return def.size > 0;
    case ColumnType::kBoolean:
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kSingle:
    case ColumnType::kDouble:
    case ColumnType::kDateTime:
    case ColumnType::kGuid:
    case ColumnType::kDecimal:
    case ColumnType::kCurrency: return true;
    default: return false;
  }
}

bool BoundRows::Bind(SQLHSTMT stmt, const std::vector<const ColumnDef*>& columns) {
  buffers_.clear();
  SQLLEN row_bytes = 1;
  for (const ColumnDef* c : columns) row_bytes += CForm(*c).second;
  const SQLULEN block = std::clamp<SQLULEN>(kBlockBytes / row_bytes, kFewestRows, kMostRows);
  row_status_.assign(block, SQL_ROW_NOROW);
  bool bound = Succeeded(SQLSetStmtAttr(stmt, SQL_ATTR_ROW_BIND_TYPE, reinterpret_cast<SQLPOINTER>(SQL_BIND_BY_COLUMN), 0)) &&
               Succeeded(SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(block), 0)) &&
               Succeeded(SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0)) &&
               Succeeded(SQLSetStmtAttr(stmt, SQL_ATTR_ROW_STATUS_PTR, row_status_.data(), 0));
  buffers_.reserve(columns.size());
  for (size_t i = 0; bound && i < columns.size(); ++i) {
    const auto [c_type, width] = CForm(*columns[i]);
    Buffer& b = buffers_.emplace_back(Buffer{columns[i]->type, c_type, width, std::vector<char>(width * block),
                                             std::vector<SQLLEN>(block)});
    bound = Succeeded(SQLBindCol(stmt, static_cast<SQLUSMALLINT>(i + 1), c_type, b.bytes.data(), width,
                                 b.indicators.data()));
  }
  if (bound) return true;
  SQLFreeStmt(stmt, SQL_UNBIND);
  SQLSetStmtAttr(stmt, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(1), 0);
  SQLSetStmtAttr(stmt, SQL_ATTR_ROWS_FETCHED_PTR, nullptr, 0);
  SQLSetStmtAttr(stmt, SQL_ATTR_ROW_STATUS_PTR, nullptr, 0);
  buffers_.clear();
  return false;
}

SQLRETURN BoundRows::FetchBlock(SQLHSTMT stmt) {
  fetched_ = 0;
  const SQLRETURN rc = SQLFetch(stmt);
  if (!Succeeded(rc)) return rc;
  for (SQLULEN i = 0; i < fetched_; ++i) {
    if (row_status_[i] == SQL_ROW_ERROR) return SQL_ERROR;
  }
  return fetched_ > 0 ? rc : SQL_NO_DATA;
}

Status BoundRows::Read(size_t row, size_t column, Value* out) const {
  const Buffer& b = buffers_[column];
  const SQLLEN length = b.indicators[row];
  if (length == SQL_NULL_DATA) {
    *out = Value::Null(b.type);
    return Status::OK();
  }
  const char* at = b.bytes.data() + row * b.width;
  switch (b.type) {
    case ColumnType::kBoolean: *out = Value(b.type, At<unsigned char>(at) != 0); return Status::OK();
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong: *out = Value(b.type, static_cast<int64_t>(At<SQLBIGINT>(at))); return Status::OK();
    case ColumnType::kSingle: *out = Value(b.type, At<float>(at)); return Status::OK();
    case ColumnType::kDouble: *out = Value(b.type, At<double>(at)); return Status::OK();
    case ColumnType::kDateTime: return DateTimeFromText(std::string_view(at, strnlen(at, b.width)), out);
    case ColumnType::kGuid: {
      Guid bytes{};
      std::memcpy(bytes.data(), at, bytes.size());  // Jet keeps a GUID in the same little-endian layout
      *out = Value(b.type, bytes);
      return Status::OK();
    }
    case ColumnType::kDecimal:
    case ColumnType::kCurrency: return ExactNumberFromText(std::string(at, strnlen(at, b.width)), b.type, out);
    case ColumnType::kBinary: {
      const auto* bytes = reinterpret_cast<const uint8_t*>(at);
      *out = Value(b.type, Bytes(bytes, bytes + Held(length, b.width)));
      return Status::OK();
    }
    default: {
      const size_t units = Held(length, b.width - static_cast<SQLLEN>(sizeof(SQLWCHAR))) / sizeof(SQLWCHAR);
      *out = Value(b.type, ToUtf8(reinterpret_cast<const SQLWCHAR*>(at), units));
      return Status::OK();
    }
  }
}

}  // namespace jet::odbc
