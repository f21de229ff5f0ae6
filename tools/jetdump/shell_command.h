// jetdump --shell: SQL statements read from standard input, one a line.
#pragma once

#include <string>

#include "jet/database.h"

namespace jetdump {

// Runs each line of standard input as soon as it is read, as a transaction
// of its own: a query prints its result as canonical CSV and an empty line,
// a change its count of rows, a failure its message on standard error.
// Returns 0 at the end of input, 1 when the file cannot be opened.
int RunShell(const std::string& file, const jet::OpenOptions& options);

}  // namespace jetdump
