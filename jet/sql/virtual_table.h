// What our read-only SQLite virtual tables share: the module's table of
// functions, the objects SQLite asks to make and free, and errors.
#pragma once

#include <sqlite3.h>

#include <cstring>
#include <map>
#include <string>

#include "jet/status.h"
#include "sql/table_module.h"

namespace jet::sql {

// Gives SQLite the message of `s` for the statement that failed.
inline int FailVirtualTable(sqlite3_vtab* vtab, const Status& s) {
  sqlite3_free(vtab->zErrMsg);
  vtab->zErrMsg = sqlite3_mprintf("%s", s.message().c_str());
  return SQLITE_ERROR;
}

// xConnect for a table whose module was given a map of sources by name:
// CREATE VIRTUAL TABLE t USING module(t) reads sources->at("t"), whose
// definition gives the columns. `Table` holds `const Source* source`.
template <typename Table, typename Source>
int ConnectToSource(sqlite3* lite, void* aux, int argc, const char* const* argv, sqlite3_vtab** out, char** error) {
  const auto* sources = static_cast<const std::map<std::string, Source>*>(aux);
  auto it = argc > 3 ? sources->find(argv[3]) : sources->end();
  if (it == sources->end()) {
    *error = sqlite3_mprintf("no table is registered for this virtual table");
    return SQLITE_ERROR;
  }
  if (int rc = sqlite3_declare_vtab(lite, VirtualTableSchema(*it->second.def).c_str()); rc != SQLITE_OK) return rc;
  auto* table = new Table();
  table->source = &it->second;
  *out = table;
  return SQLITE_OK;
}

// A module whose table and cursor are `Table` and `Cursor`, made and freed
// with new and delete; the functions that read are the caller's.
template <typename Table, typename Cursor>
sqlite3_module ReadOnlyModule(decltype(sqlite3_module::xConnect) connect,
                              decltype(sqlite3_module::xBestIndex) best_index,
                              decltype(sqlite3_module::xFilter) filter, decltype(sqlite3_module::xNext) next,
                              decltype(sqlite3_module::xEof) eof, decltype(sqlite3_module::xColumn) column,
                              decltype(sqlite3_module::xRowid) rowid) {
  sqlite3_module m;
  std::memset(&m, 0, sizeof m);
  m.iVersion = 1;
  m.xCreate = connect;
  m.xConnect = connect;
  m.xBestIndex = best_index;
  m.xDisconnect = m.xDestroy = [](sqlite3_vtab* vtab) {
    delete static_cast<Table*>(vtab);
    return SQLITE_OK;
  };
  m.xOpen = [](sqlite3_vtab*, sqlite3_vtab_cursor** out) {
    *out = new Cursor();
    return SQLITE_OK;
  };
  m.xClose = [](sqlite3_vtab_cursor* c) {
    delete static_cast<Cursor*>(c);
    return SQLITE_OK;
  };
  m.xFilter = filter;
  m.xNext = next;
  m.xEof = eof;
  m.xColumn = column;
  m.xRowid = rowid;
  return m;
}

}  // namespace jet::sql
