// The TableReader of a table in this file.
#pragma once

#include <map>

#include "jet/table_reader.h"
#include "storage/index_seek.h"
#include "storage/table_layout.h"

namespace jet {

class Writer;

class LocalTableReader : public TableReader {
 public:
  // `writer` (null for a read-only file) tells whether the open transaction
  // has changed the table, whose index pages are then not yet written.
  LocalTableReader(const Pager& pager, const TextReader& text, std::shared_ptr<const TableLayout> layout,
                   ColumnSet wanted, const Writer* writer)
      : pager_(pager), text_(text), layout_(std::move(layout)), wanted_(std::move(wanted)), writer_(writer) {}

  Status Scan(std::unique_ptr<TableCursor>* cursor) override;
  Status Find(const IndexRange& range, std::vector<RowId>* rows) override;
  Status Read(RowId id, Row* row) override;

 private:
  Status Bounds(const IndexDef& index, const IndexRange& range, KeyBound* low, KeyBound* high) const;

  const Pager& pager_;
  const TextReader& text_;
  std::shared_ptr<const TableLayout> layout_;
  ColumnSet wanted_;
  const Writer* writer_;
  std::map<size_t, IndexSeeker> seekers_;  // by index position
};

}  // namespace jet
