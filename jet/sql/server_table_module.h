// ODBC-linked tables as SQLite virtual tables: a statement asks the server
// for the columns it uses and, as a WHERE the server answers, the number and
// date conditions it puts on them. SQLite checks every condition again on
// the rows that come back, so the server's own rules for text, or a date's
// fractions of a second, never change an answer.
#pragma once

#include <sqlite3.h>

#include <map>
#include <memory>
#include <string>

#include "jet/database.h"

namespace jet::sql {

struct ServerSource {
  Database* db = nullptr;
  std::string table;  // the link's name in `db`
  std::shared_ptr<const TableDef> def;
  double estimated_rows = 1e6;
};

// CREATE VIRTUAL TABLE t USING servertable(t) reads sources->at("t").
constexpr const char* kServerTableModule = "servertable";
void RegisterServerTableModule(sqlite3* lite, const std::map<std::string, ServerSource>* sources);

}  // namespace jet::sql
