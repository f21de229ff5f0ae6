// Prints table definitions: columns with type, size and properties; indexes
// with columns, flags and the distinct count the file stores.
#pragma once

#include <string>

#include "jet/database.h"

namespace jetdump {

// Every user table (and system ones when `system`), or just `table`.
int PrintSchema(jet::Database& db, const std::string& table, bool system);

}  // namespace jetdump
