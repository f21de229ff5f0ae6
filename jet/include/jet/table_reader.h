// TableReader: one table read in parts, for a query that needs only some of
// its rows and columns: a scan, a key range of one of its indexes, or single
// rows by their place, each decoding only the wanted columns.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "jet/table_cursor.h"

namespace jet {

// The rows of an index whose first columns equal `equal` and whose next
// column (if a bound is given) lies between `lower` and `upper`. Values are
// of their columns' types.
struct IndexRange {
  size_t index = 0;  // position in TableDef::indexes
  std::vector<Value> equal;
  std::optional<Value> lower;
  std::optional<Value> upper;
  bool lower_inclusive = true;
  bool upper_inclusive = true;
};

class TableReader {
 public:
  virtual ~TableReader() = default;

  // A cursor over every live row in scan order.
  virtual Status Scan(std::unique_ptr<TableCursor>* cursor) = 0;
  // The places of the rows in `range`, in index order. Unsupported when the
  // index cannot answer it (its pages wait for the open transaction's commit,
  // or its keys are not plain byte order for these values): scan instead.
  virtual Status Find(const IndexRange& range, std::vector<RowId>* rows) = 0;
  // The row at `id`, a place Scan or Find gave.
  virtual Status Read(RowId id, Row* row) = 0;
};

}  // namespace jet
