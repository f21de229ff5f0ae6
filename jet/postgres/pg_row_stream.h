// The rows of one SELECT on a PostgreSQL table, streamed a row at a time
// (libpq's single-row mode) as the link's columns. The server goes on
// sending while the rows are used, where ODBC's driver asks for a block,
// waits for all of it and converts it before the next is asked for; a large
// read through a link then takes about the time the server needs.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "jet/table_cursor.h"
#include "postgres/pg_session.h"

namespace jet::postgres {

class PgRowStream : public TableCursor {
 public:
  // Called with the session once its rows are all read, so that the next
  // statement can use it; a session left in any other state is closed.
  using GiveBack = std::function<void(std::unique_ptr<PgSession>)>;

  // Sends `sql` with `parameters` (texts of the types `type_oids`, $1...).
  // `selected` lists, in select-list order, the positions in `def` of the
  // result's columns; `table` names the link in messages.
  static Status Open(std::unique_ptr<PgSession> session, std::shared_ptr<const TableDef> def, const std::string& sql,
                     const std::vector<std::string>& parameters, const std::vector<unsigned>& type_oids,
                     std::vector<size_t> selected, std::string table, GiveBack give_back,
                     std::unique_ptr<TableCursor>* out);
  ~PgRowStream() override;

  bool Next() override;
  const Row& row() const override { return row_; }
  RowId row_id() const override { return {static_cast<uint32_t>(count_ >> 16), static_cast<uint16_t>(count_)}; }
  Status status() const override { return status_; }

 private:
  PgRowStream(std::unique_ptr<PgSession> session, std::shared_ptr<const TableDef> def, std::vector<size_t> selected,
              std::string table, GiveBack give_back);
  // After the last row: reads the end of the result and hands the session back.
  void Finish();
  void Fail(const Status& s);

  std::unique_ptr<PgSession> session_;
  std::vector<size_t> selected_;
  std::string table_;
  GiveBack give_back_;
  Row row_;
  uint64_t count_ = 0;
  bool done_ = false;
  Status status_;
};

}  // namespace jet::postgres
