// RowDecoder: one stored row (fixed area, variable area, offset table, null
// mask) into the values of a table's columns.
#pragma once

#include "jet/table_cursor.h"
#include "jet/value.h"
#include "storage/byte_span.h"
#include "storage/table_layout.h"
#include "storage/text_reader.h"

namespace jet {

class RowDecoder {
 public:
  RowDecoder(const Pager& pager, const TextReader& text, const TableLayout& layout)
      : pager_(pager), text_(text), layout_(layout) {}

  // Columns outside `wanted` (when given and not empty) are left Null
  // without being read: a query that shows two columns of a wide table
  // reads no other text or memo.
  Status Decode(ByteSpan row, Row* values, const ColumnSet* wanted = nullptr) const;

 private:

  Status ReadVarOffsets(ByteSpan row, size_t mask_length, uint16_t var_count,
                        std::vector<uint16_t>* offsets) const;
  Status DecodeFixed(const ColumnDef& col, const uint8_t* p, Value* v) const;
  Status DecodeVariable(const ColumnDef& col, ByteSpan bytes, Value* v) const;

  const Pager& pager_;
  const TextReader& text_;
  const TableLayout& layout_;
  mutable std::vector<uint16_t> offsets_;  // the current row's variable-column offsets
};

// The var_count + 1 variable-column offsets of a Jet 3 row (the last one the
// end of the variable data), read through the row's jump table.
Status ReadJet3VarOffsets(ByteSpan row, size_t mask_length, uint16_t var_count, std::vector<uint16_t>* offsets);

// The size in the fixed area of a fixed-length type (0 for variable types).
size_t FixedSize(ColumnType type);

}  // namespace jet
