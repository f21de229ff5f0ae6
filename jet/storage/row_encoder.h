// RowEncoder: the values of one row into the bytes Jet 4 stores — count,
// fixed area, variable area, offset table, null mask — the inverse of
// RowDecoder. Long values arrive already stored, as their 12-byte headers.
#pragma once

#include <optional>
#include <vector>

#include "jet/value.h"
#include "storage/byte_span.h"
#include "storage/table_layout.h"

namespace jet {

using FieldBytes = std::optional<std::vector<uint8_t>>;  // nullopt: Null

// The stored form of a value that is not a long value: fixed-size bytes, or
// text as (compressed) UCS-2. InvalidArgument 3163 when it is too long for
// its column, 3464 when it is not of the column's type.
Status EncodeField(const ColumnDef& column, const Value& value, FieldBytes* out);

// Memo text or OLE bytes as a long value holds them.
Status LongValueBytes(const ColumnDef& column, const Value& value, std::vector<uint8_t>* out);

// The counts a written row carries: its columns (deleted ids included) and,
// when any column lives in the variable area, its variable columns, from
// the definition's header and its columns alike.
struct RowCounts {
  size_t columns = 0;
  size_t variable = 0;
  bool has_variable = false;
};
RowCounts WrittenRowCounts(const TableLayout& layout);

// The row: `fields` and `values` run parallel to layout.def->columns
// (values only matter for Boolean columns, which live in the null mask).
std::vector<uint8_t> BuildRow(const TableLayout& layout, const std::vector<FieldBytes>& fields, const Row& values);

// The stored bytes of a variable column in a stored row; empty when Null or absent.
Status VariableField(const TableLayout& layout, ByteSpan row, const ColumnDef& column, ByteSpan* field);

}  // namespace jet
