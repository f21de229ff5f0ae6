// The SQL sent to a server table, its values as parameters: the SELECT of a
// link's wanted columns under the conditions the server can answer, and the
// INSERT, UPDATE and DELETE of one row, found by its primary key.
#pragma once

#include <string>
#include <vector>

#include "jet/server_tables.h"
#include "odbc/odbc_handles.h"

namespace jet::odbc {

// How a statement marks its parameters: ODBC's '?', or libpq's $1, $2...
enum class ParameterMarks { kQuestion, kNumbered };

// `selected` receives the positions in `def` of the result's columns.
std::string SelectText(const Connection& connection, const CatalogEntry& link, const TableDef& def,
                       const ServerQuery& query, ParameterMarks marks, std::vector<size_t>* selected,
                       std::vector<Value>* parameters);

// InvalidArgument when an update or delete has no key to find its row by.
// `returning` asks the server to send the inserted row back (PostgreSQL's
// RETURNING), so that numbers it gave are known.
Status ChangeStatement(const Connection& connection, const CatalogEntry& link, const TableDef& def,
                       const ServerChange& change, bool returning, std::string* sql, std::vector<Value>* parameters);

}  // namespace jet::odbc
