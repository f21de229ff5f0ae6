// TableScan: the rows of a table in Access's scan order — the pages its
// usage map names, ascending, and on each page the rows in slot order. A row
// moved to another page (overflow) is read where its pointer stands. Pages
// read for earlier rows are let go as the scan moves on (see
// Pager::ReleaseReadPages), so callers hold rows, never pages.
#pragma once

#include <unordered_set>
#include <vector>

#include "jet/table_cursor.h"
#include "storage/row_decoder.h"

namespace jet {

class TableScan : public TableCursor {
 public:
  // `decode` false walks the rows without decoding them (for counting).
  static Status Create(const Pager& pager, const TextReader& text,
                       std::shared_ptr<const TableLayout> layout, bool decode,
                       std::unique_ptr<TableScan>* scan);

  // Reads the one row at `id` (a place this scan gave), following its
  // overflow pointer as a scan does.
  static Status ReadAt(const Pager& pager, const TextReader& text, const TableLayout& layout, RowId id,
                       Row* row, const ColumnSet* wanted = nullptr);

  // Decode only these columns from now on (the others read as Null).
  void set_wanted(ColumnSet wanted) { wanted_ = std::move(wanted); }

  bool Next() override;
  const Row& row() const override { return row_; }
  RowId row_id() const override { return id_; }
  Status status() const override { return status_; }

 private:
  TableScan(const Pager& pager, const TextReader& text, std::shared_ptr<const TableLayout> layout,
            bool decode);
  // Finds the next live row; sets `bytes` to its data.
  bool Advance(ByteSpan* bytes);
  bool Fail(Status s) {
    status_ = std::move(s);
    return false;
  }

  const Pager& pager_;
  std::shared_ptr<const TableLayout> layout_;
  RowDecoder decoder_;
  bool decode_;
  ColumnSet wanted_;
  std::vector<uint32_t> pages_;
  // Rows that are the moved data of an overflow pointer: read through the
  // pointer, skipped where they physically stand.
  std::unordered_set<uint32_t> moved_rows_;
  size_t page_index_ = 0;
  uint16_t next_row_ = 0;
  Row row_;
  RowId id_;
  Status status_;
};

}  // namespace jet
