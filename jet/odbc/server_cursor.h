// A cursor over the rows a server statement returns, read as the link's
// columns: the wanted ones in the order they were selected, Null elsewhere.
// Rows come a block at a time into bound buffers when every selected column
// has a bounded size, and a row and a cell at a time otherwise. A second
// thread reads the next rows while the caller works on these: the driver
// spends most of its time waiting for the server, which then overlaps with
// the statement's own work.
#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "jet/table_cursor.h"
#include "odbc/bound_rows.h"
#include "odbc/odbc_handles.h"

namespace jet::odbc {

class ServerCursor : public TableCursor {
 public:
  // `selected` lists, in select-list order, the positions in `def` of the
  // statement's result columns.
  ServerCursor(std::shared_ptr<const TableDef> def, std::shared_ptr<Connection> connection,
               std::unique_ptr<Statement> statement, std::vector<size_t> selected, std::string table);
  ~ServerCursor() override;

  bool Next() override;
  const Row& row() const override { return row_; }
  RowId row_id() const override { return {static_cast<uint32_t>(count_ >> 16), static_cast<uint16_t>(count_)}; }
  Status status() const override { return status_; }

 private:
  // The reading thread: rows in batches, until the end, an error or Stop.
  void ReadAhead();
  // The selected cells of each row, row after row (a statement may select
  // no column at all, so the rows are counted too).
  struct Batch {
    std::vector<Value> cells;
    size_t rows = 0;
  };
  bool ReadBatch(Batch* batch, Status* failure);
  void Bind();
  bool ReadFromBlock(Value* cells, Status* failure);
  bool ReadFromDriver(Value* cells, Status* failure);
  Status Failed(SQLRETURN rc) const;
  void Stop();

  std::shared_ptr<Connection> connection_;  // kept while its statement lives
  BoundRows block_;                         // outlives the statement bound to it
  std::unique_ptr<Statement> statement_;
  std::vector<size_t> selected_;
  std::string table_;
  bool bound_ = false;
  size_t next_in_block_ = 0;

  // Between the threads.
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Batch> batches_;
  bool finished_ = false;  // the reader has sent its last batch
  bool stopping_ = false;
  Status reader_status_;
  std::thread reader_;

  // The caller's side.
  Batch batch_;
  size_t next_in_batch_ = 0;  // the next row
  Row row_;
  uint64_t count_ = 0;
  bool done_ = false;
  Status status_;
};

}  // namespace jet::odbc
