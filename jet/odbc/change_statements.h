// The SQL that sends one row change to a server table: INSERT of the given
// columns, UPDATE of the set columns and DELETE, both WHERE the primary key
// equals the row's, with the values as parameters.
#pragma once

#include <string>
#include <vector>

#include "jet/server_tables.h"
#include "odbc/odbc_handles.h"

namespace jet::odbc {

// InvalidArgument when an update or delete has no key to find its row by.
// `returning` asks the server to send the inserted row back (PostgreSQL's
// RETURNING), so that numbers it gave are known.
Status ChangeStatement(const Connection& connection, const CatalogEntry& link, const TableDef& def,
                       const ServerChange& change, bool returning, std::string* sql, std::vector<Value>* parameters);

}  // namespace jet::odbc
