// The database's catalogue (MSysObjects): tables, saved queries, links, ...
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace jet {

enum class ObjectKind {
  kTable,          // a local table (user or system)
  kLinkedTable,    // a table in another Jet file
  kLinkedOdbc,     // an ODBC (or other connect-string) link
  kQuery,
  kForm,
  kReport,
  kMacro,
  kModule,
  kRelationship,
  kOther,
};

struct CatalogEntry {
  int32_t id = 0;
  int32_t parent_id = 0;
  std::string name;
  int16_t raw_type = 0;   // MSysObjects.Type
  uint32_t flags = 0;     // MSysObjects.Flags
  ObjectKind kind = ObjectKind::kOther;
  bool system = false;    // MSys* tables and other system objects
  bool hidden = false;
  // Links: the file (Database), the table's name there (ForeignName), the
  // connect string, and for text links the source file name.
  std::string database;
  std::string foreign_name;
  std::string connect;
  std::string source_file;
  uint32_t tdef_page() const { return static_cast<uint32_t>(id) & 0x00FFFFFFu; }
  bool operator==(const CatalogEntry&) const = default;
};

}  // namespace jet
