// A statement's rows fetched a block at a time into bound column buffers:
// one driver call a block instead of one a cell. Every column must have a
// bounded size (no Memo or OLE Object); a statement with such columns is
// read cell by cell with ReadCell instead.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include <vector>

#include "jet/schema.h"
#include "jet/status.h"
#include "jet/value.h"

namespace jet::odbc {

class BoundRows {
 public:
  // Whether a column of `def` can be bound to a buffer of fixed size.
  static bool Bindable(const ColumnDef& def);

  // Binds result columns 1..n to `columns` (each Bindable) and sets the
  // statement to fetch as many rows a call as fit in about a megabyte.
  // False, with the statement left fetching one row a call, when the
  // driver refuses.
  bool Bind(SQLHSTMT stmt, const std::vector<const ColumnDef*>& columns);
  // Fetches the next block: SQL_NO_DATA at the end, SQL_ERROR when the
  // call or one of its rows failed.
  SQLRETURN FetchBlock(SQLHSTMT stmt);
  size_t rows() const { return fetched_; }
  // Row `row` (0-based, below rows()) of result column `column` (0-based).
  // InvalidArgument for a Decimal the server sent as something else.
  Status Read(size_t row, size_t column, Value* out) const;

 private:
  struct Buffer {
    ColumnType type;
    SQLSMALLINT c_type;
    SQLLEN width;  // bytes a row
    std::vector<char> bytes;
    std::vector<SQLLEN> indicators;
  };
  std::vector<Buffer> buffers_;
  std::vector<SQLUSMALLINT> row_status_;
  SQLULEN fetched_ = 0;
};

}  // namespace jet::odbc
