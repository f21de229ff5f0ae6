// TableCursor: walks a table's live rows in the order Access scans them.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "jet/schema.h"
#include "jet/status.h"
#include "jet/value.h"

namespace jet {

// Where a row lives: data page and row number on it.
struct RowId {
  uint32_t page = 0;
  uint16_t row = 0;
  friend bool operator==(RowId, RowId) = default;
};

// Which columns of a table a reader needs, by position; empty for all.
using ColumnSet = std::vector<bool>;

class TableCursor {
 public:
  virtual ~TableCursor() = default;

  const TableDef& def() const { return *def_; }

  // Moves to the next live row. False at the end or on error (see status()).
  virtual bool Next() = 0;
  // The current row's values, one per column of def().columns.
  virtual const Row& row() const = 0;
  virtual RowId row_id() const = 0;
  virtual Status status() const = 0;

 protected:
  explicit TableCursor(std::shared_ptr<const TableDef> def) : def_(std::move(def)) {}
  std::shared_ptr<const TableDef> def_;
};

}  // namespace jet
