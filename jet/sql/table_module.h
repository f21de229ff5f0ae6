// Jet tables as SQLite virtual tables: a statement reads the file in place,
// only the columns it uses, and through a Jet index where its constraints
// allow, instead of reading a copy of the whole table.
#pragma once

#include <sqlite3.h>

#include <map>
#include <memory>
#include <string>

#include "jet/database.h"

namespace jet::sql {

// What one virtual table reads.
struct InPlaceSource {
  Database* db = nullptr;
  std::string table;  // its name in `db`
  std::shared_ptr<const TableDef> def;
  uint64_t* rows_read = nullptr;  // counts every row a statement reads in place
};

// The module's name: CREATE VIRTUAL TABLE t USING jettable(t) reads
// sources->at("t"). `sources` outlives the connection's tables.
constexpr const char* kTableModule = "jettable";
void RegisterTableModule(sqlite3* lite, const std::map<std::string, InPlaceSource>* sources);

// The column type SQLite declares for a Jet type: its affinity and, for
// text, the collation that gives Jet's order.
std::string DeclaredType(ColumnType type);

// How SQLite holds a Jet value: the same storage class whether the value
// is bound to a statement or returned by a virtual table.
struct LiteForm {
  int storage = SQLITE_NULL;  // SQLITE_INTEGER, SQLITE_FLOAT, SQLITE_TEXT, SQLITE_BLOB or SQLITE_NULL
  int64_t integer = 0;
  double real = 0;
  const void* bytes = nullptr;
  int size = 0;
  std::string owned;  // the bytes, when the form is made rather than borrowed
  const void* data() const { return owned.empty() ? bytes : owned.data(); }
};
LiteForm ToLiteForm(const Value& v);

// For a virtual table's xConnect: a table of columns c0, c1, ... of the
// definition's types.
std::string VirtualTableSchema(const TableDef& def);
// For a virtual table's xColumn: cell `i` of `row`, Null past its end.
void ResultValue(sqlite3_context* context, const Value& v);
void ResultCell(sqlite3_context* context, const Row& row, int i);

}  // namespace jet::sql
