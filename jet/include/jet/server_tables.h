// Tables whose rows live on a database server, reached through links in the
// catalogue (ODBC links, as Access keeps them). The file holds only the link;
// the columns and rows come from the server each time they are asked for.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "jet/catalog.h"
#include "jet/path_mapping.h"
#include "jet/schema.h"
#include "jet/status.h"
#include "jet/table_cursor.h"

namespace jet {

// A condition on one column that the server can answer exactly: the rows it
// returns are a superset of those that meet it, and the caller checks again.
struct ServerCondition {
  enum class Op { kEqual, kLess, kLessOrEqual, kGreater, kGreaterOrEqual };
  size_t column = 0;
  Op op = Op::kEqual;
  Value value;  // a number or a date
};

struct ServerQuery {
  ColumnSet wanted;  // columns to fetch, by position; empty for all
  std::vector<ServerCondition> conditions;
  // In primary-key order, so that a listing made again gives each row the
  // same position.
  bool key_order = false;
};

// A change to one row of a server table. Rows are told apart by the
// server's primary key, read from `key_row`.
struct ServerChange {
  enum class Kind { kInsert, kUpdate, kDelete };
  Kind kind = Kind::kInsert;
  Row key_row;                  // update, delete: holds at least the key's values
  Row new_row;                  // insert, update: one value per column
  std::vector<size_t> columns;  // update: the columns to set; insert: those to give (the rest take the server's defaults)
};

class ServerTables {
 public:
  virtual ~ServerTables() = default;
  // The server table's columns as Access would show the link's fields, and
  // its primary key as the link's index.
  virtual Status GetTableDef(const CatalogEntry& link, std::shared_ptr<const TableDef>* def) = 0;
  // Streams the rows as the columns of `def` (the server's, or with the
  // types the file keeps for the link); cells of columns not wanted are Null.
  virtual Status OpenRows(const CatalogEntry& link, std::shared_ptr<const TableDef> def, const ServerQuery& query,
                          std::unique_ptr<TableCursor>* cursor) = 0;
  virtual Status CountRows(const CatalogEntry& link, uint64_t* count) = 0;

  // Sends a change inside a server transaction on the link's connection,
  // begun by its first change. ReadOnly (3027) for a table without a
  // primary key; 3167 when the row to change is no longer there. `stored`
  // (insert; may be null) receives the row as the server keeps it, with
  // the numbers the server gave.
  virtual Status Change(const CatalogEntry& link, const TableDef& def, const ServerChange& change, Row* stored) = 0;
  // Around one statement's changes inside a transaction: a mark before the
  // first, and at the end either the changes kept or just they taken back,
  // as Jet takes back a statement that fails inside a transaction.
  virtual Status MarkStatement(const CatalogEntry& link) = 0;
  virtual Status EndStatement(const CatalogEntry& link, bool keep) = 0;
  // Ends every server transaction the changes began.
  virtual Status Commit() = 0;
  virtual void Rollback() = 0;
};

// Every password in a connect string (or in a message quoting one) shown as
// "***": PWD=secret -> PWD=***.
std::string WithPasswordsHidden(const std::string& text);

// Server tables reached through unixODBC, with Windows drivers and data
// sources mapped to this machine's.
std::shared_ptr<ServerTables> MakeOdbcTables(std::vector<OdbcMapping> mappings);

}  // namespace jet
