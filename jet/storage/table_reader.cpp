#include "storage/table_reader.h"

#include "storage/index_key.h"
#include "storage/table_scan.h"
#include "storage/table_writer.h"

namespace jet {

Status LocalTableReader::Scan(std::unique_ptr<TableCursor>* cursor) {
  std::unique_ptr<TableScan> scan;
  JET_RETURN_IF_ERROR(TableScan::Create(pager_, text_, layout_, true, &scan));
  scan->set_wanted(wanted_);
  *cursor = std::move(scan);
  return Status::OK();
}

Status LocalTableReader::Read(RowId id, Row* row) {
  return TableScan::ReadAt(pager_, text_, *layout_, id, row, &wanted_);
}

// The key bytes of the equal columns lead both bounds; the bounded column's
// bytes follow, low and high swapped when that column is stored descending.
Status LocalTableReader::Bounds(const IndexDef& index, const IndexRange& range, KeyBound* low,
                                KeyBound* high) const {
  const TableDef& def = *layout_->def;
  const size_t bounded = range.equal.size();
  const bool has_bound = range.lower || range.upper;
  if (bounded + (has_bound ? 1 : 0) > index.columns.size() || (bounded == 0 && !has_bound)) {
    return Status::InvalidArgument("the range names more columns than the index has");
  }
  std::string prefix;
  for (size_t i = 0; i < bounded; ++i) {
    const IndexColumn& c = index.columns[i];
    JET_RETURN_IF_ERROR(AppendIndexColumnKey(def.columns[c.column], range.equal[i], c.ascending, pager_.format(), &prefix));
  }
  *low = {!prefix.empty(), prefix, true};
  *high = *low;
  if (!has_bound) return Status::OK();
  const IndexColumn& c = index.columns[bounded];
  KeyBound* from_lower = c.ascending ? low : high;
  KeyBound* from_upper = c.ascending ? high : low;
  if (range.lower) {
    std::string key = prefix;
    JET_RETURN_IF_ERROR(AppendIndexColumnKey(def.columns[c.column], *range.lower, c.ascending, pager_.format(), &key));
    *from_lower = {true, std::move(key), range.lower_inclusive};
  }
  if (range.upper) {
    std::string key = prefix;
    JET_RETURN_IF_ERROR(AppendIndexColumnKey(def.columns[c.column], *range.upper, c.ascending, pager_.format(), &key));
    *from_upper = {true, std::move(key), range.upper_inclusive};
  }
  return Status::OK();
}

Status LocalTableReader::Find(const IndexRange& range, std::vector<RowId>* rows) {
  const TableDef& def = *layout_->def;
  if (range.index >= def.indexes.size()) return Status::InvalidArgument("no such index");
  if (writer_ && writer_->HoldsChanges(def.tdef_page)) {
    return Status::Unsupported("the table's indexes are written when the transaction commits");
  }
  const IndexDef& index = def.indexes[range.index];
  KeyBound low, high;
  Status keyed = Bounds(index, range, &low, &high);
  if (!keyed.ok()) return Status::Unsupported(keyed.message());
  auto it = seekers_.find(range.index);
  if (it == seekers_.end()) it = seekers_.emplace(range.index, IndexSeeker(pager_, index.first_page)).first;
  return it->second.Find(low, high, rows);
}

}  // namespace jet
