// Which local ODBC driver or data source stands for each Windows one named
// by the survey database's ODBC links, as the family's settings file says:
// section "TabulonODBC", values "Map1", "Map2", ... each "FROM=TO[;KEY=VALUE...]"
// (for example {SQL Server}={ODBC Driver 18 for SQL Server};PWD=secret).
// A password given there is used to connect and is never written to the file.
#pragma once

#include <vector>

#include "jet/path_mapping.h"

class CRegistry;

namespace app {

// The mappings from Map1 on, up to the first absent value; a value that is
// not FROM=TO is left out.
std::vector<jet::OdbcMapping> ReadOdbcMappings(const CRegistry& registry);

// Hands them to the database layer, for every database opened after this.
void ApplyOdbcMappingSetting(const CRegistry& registry);

}  // namespace app
