// Helpers shared by the code that adds objects to a database's catalogue:
// opening the file for such a change, and building one MSysObjects row.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "jet/create.h"
#include "jet/schema.h"
#include "storage/pager.h"

namespace jet {

// Catalogue ids of the containers and the row type of each kind of object.
constexpr int64_t kRootContainerId = 0x0F000000;
constexpr int64_t kTablesContainerId = 0x0F000001;
constexpr int64_t kDatabasesContainerId = 0x0F000002;
constexpr int64_t kRelationshipsContainerId = 0x0F000003;
constexpr int64_t kCatalogTypeTable = 1;
constexpr int64_t kCatalogTypeDatabase = 2;
constexpr int64_t kCatalogTypeContainer = 3;
constexpr int64_t kCatalogTypeOdbcLink = 4;
constexpr int64_t kCatalogTypeQuery = 5;
constexpr uint32_t kCatalogTdefPageNumber = 2;

// Security ids as a new Access 2000 database stores them (in its Owner
// column and MSysACEs; values seen in the empty database jackcess ships as
// its template): the engine owns the system objects, the Admin user what is
// made afterwards; the two groups get rights through MSysACEs.
inline const Bytes kEngineSid{0xA7, 0x31};
inline const Bytes kAdminSid{0xA6, 0x33};
inline const Bytes kAdminsGroupSid{0xA7, 0x33};
inline const Bytes kUsersGroupSid{0xA7, 0x36};

// Opens `path` for adding objects: a Jet 4 file in the General sort order,
// with no unfinished commit, locked against other writers and readers while
// `pager` lives (the change is short). `before` is the file as it was, for
// MakeChangeVisible once the change is written.
Status OpenForDefinitions(const std::string& path, FileSystem* fs, std::unique_ptr<Pager>* pager, FileStamp* before);

// An MSysObjects row (one value per column of `def`) with the given
// identity, owned by the Admin user; the rest Null. Both dates are `created`.
Row NewCatalogRow(const TableDef& def, int64_t id, int64_t parent, const std::string& name, int64_t type,
                  int64_t flags, double created);

// Sets one column of a row built by NewCatalogRow, when the column exists.
void SetCatalogValue(const TableDef& def, const char* column, Value value, Row* row);

// A name as catalogue lookups compare it: object names ignore case.
std::string FoldedName(const std::string& name);

// Checks a new table's definition, its name against those `taken` (folded).
Status CheckNewTable(const TableSpec& table, const std::set<std::string>& taken);
// Writes a new, empty table's definition pages, its usage maps and an empty
// root per index; `tdef_page` is the definition's page (the catalogue id).
Status WriteTableDefinition(Pager* pager, const TableSpec& table, uint32_t* tdef_page);

}  // namespace jet
