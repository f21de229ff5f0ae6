// A text-heavy table for the table browser's benchmark, added to a copy of
// the large sample: angler names that share long prefixes in mixed case,
// time blocks written as clock times or words, sites and free comments.
#pragma once

#include <string>

#include "jet/status.h"

namespace bench {

inline constexpr const char* kTextTable = "tblAnglerNotes";

jet::Status AddTextTable(const std::string& path, long rows);

}  // namespace bench
