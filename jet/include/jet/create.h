// Creating a new, empty Jet 4 database: the header page, the free-page map,
// the system tables Access keeps (MSysObjects, MSysACEs, MSysQueries,
// MSysRelationships) and the catalogue's container rows.
#pragma once

#include <string>

#include "jet/file_system.h"
#include "jet/status.h"

namespace jet {

struct CreateOptions {
  // The creation time stored in the header and on every catalogue row, as a
  // Jet date serial (days since 1899-12-30); fixed values give identical files.
  double created = 45000.5;
  // Where the file is written; the operating system's when null.
  FileSystem* file_system = nullptr;
};

// Writes a new database at `path`, which must not exist yet.
Status CreateDatabase(const std::string& path, const CreateOptions& options);

}  // namespace jet
