// Moving a database's tables to a server: each table made there with its
// columns, keys and indexes, its rows copied, and in the file replaced by an
// ODBC link of the same name (the local table kept as NAME_local until it is
// dropped).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "jet/path_mapping.h"
#include "jet/status.h"

namespace jet {

struct UpsizeOptions {
  // An ODBC connect string as Access keeps it in a link:
  // "ODBC;DRIVER={PostgreSQL Unicode};SERVER=...;PORT=...;DATABASE=...;UID=...;PWD=...".
  // The links keep it without the password.
  std::string connect;
  // The tables to move; empty: every local data table except the report tables.
  std::vector<std::string> tables;
  // Remove the local copies (NAME_local) once the links are in place.
  bool drop_local = false;
  // Maps the connect string's driver to this machine's (as for reading links).
  std::vector<OdbcMapping> mappings;
  // Told each table as it is copied: its name and rows copied so far.
  std::function<void(const std::string& table, uint64_t rows)> progress;
};

struct UpsizedTable {
  std::string name;
  uint64_t rows = 0;
};

// Refuses, changing neither the file nor the server, when a table's name is
// taken on the server, a value cannot be stored there, or the connection
// fails midway (tables made on the server are dropped again).
Status Upsize(const std::string& path, const UpsizeOptions& options, std::vector<UpsizedTable>* moved);

}  // namespace jet
