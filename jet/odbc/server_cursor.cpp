#include "odbc/server_cursor.h"

#include "odbc/server_values.h"

namespace jet::odbc {

ServerCursor::ServerCursor(std::shared_ptr<const TableDef> def, std::shared_ptr<Connection> connection,
                           std::unique_ptr<Statement> statement, std::vector<size_t> selected, std::string table)
    : TableCursor(std::move(def)),
      connection_(std::move(connection)),
      statement_(std::move(statement)),
      selected_(std::move(selected)),
      table_(std::move(table)) {
  row_.reserve(def_->columns.size());
  for (const ColumnDef& c : def_->columns) row_.push_back(Value::Null(c.type));
}

bool ServerCursor::Next() {
  if (done_) return false;
  SQLRETURN rc = SQLFetch(statement_->handle());
  if (rc == SQL_NO_DATA || !Succeeded(rc)) {
    if (rc != SQL_NO_DATA) status_ = statement_->Failed(rc, "reading the linked table '" + table_ + "' from the server");
    done_ = true;
    statement_.reset();  // ends the server's cursor now rather than with the cursor object
    return false;
  }
  for (size_t i = 0; i < selected_.size(); ++i) {
    const size_t column = selected_[i];
    status_ = ReadCell(statement_->handle(), static_cast<SQLUSMALLINT>(i + 1), def_->columns[column].type, &row_[column]);
    if (!status_.ok()) {
      done_ = true;
      return false;
    }
  }
  ++count_;
  return true;
}

}  // namespace jet::odbc
