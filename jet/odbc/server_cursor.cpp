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
  if (!started_) Bind();
  if (!(bound_ ? ReadFromBlock() : ReadFromDriver())) {
    done_ = true;
    statement_.reset();  // ends the server's cursor now rather than with the cursor object
    return false;
  }
  ++count_;
  return true;
}

void ServerCursor::Bind() {
  started_ = true;
  std::vector<const ColumnDef*> columns;
  for (size_t column : selected_) {
    if (!BoundRows::Bindable(def_->columns[column])) return;
    columns.push_back(&def_->columns[column]);
  }
  bound_ = block_.Bind(statement_->handle(), columns);
}

bool ServerCursor::ReadFromBlock() {
  if (next_in_block_ >= block_.rows()) {
    next_in_block_ = 0;
    const SQLRETURN rc = block_.FetchBlock(statement_->handle());
    if (rc == SQL_NO_DATA || !Succeeded(rc)) {
      status_ = rc == SQL_NO_DATA ? Status::OK() : Failed(rc);
      return false;
    }
  }
  const size_t row = next_in_block_++;
  for (size_t i = 0; i < selected_.size(); ++i) {
    status_ = block_.Read(row, i, &row_[selected_[i]]);
    if (!status_.ok()) return false;
  }
  return true;
}

bool ServerCursor::ReadFromDriver() {
  const SQLRETURN rc = SQLFetch(statement_->handle());
  if (rc == SQL_NO_DATA || !Succeeded(rc)) {
    if (rc != SQL_NO_DATA) status_ = Failed(rc);
    return false;
  }
  for (size_t i = 0; i < selected_.size(); ++i) {
    const size_t column = selected_[i];
    status_ = ReadCell(statement_->handle(), static_cast<SQLUSMALLINT>(i + 1), def_->columns[column].type, &row_[column]);
    if (!status_.ok()) return false;
  }
  return true;
}

Status ServerCursor::Failed(SQLRETURN rc) const {
  return statement_->Failed(rc, "reading the linked table '" + table_ + "' from the server");
}

}  // namespace jet::odbc
