// Table definitions as the file stores them: columns, indexes, properties.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "jet/value.h"

namespace jet {

// Properties stored in the catalogue (MSysObjects.LvProp): Caption, Description,
// Format, DefaultValue, ... Names are kept as stored; lookups ignore case.
class PropertyMap {
 public:
  void Set(const std::string& name, Value value);
  const Value* Find(const std::string& name) const;
  bool empty() const { return entries_.empty(); }
  const std::vector<std::pair<std::string, Value>>& entries() const { return entries_; }

 private:
  std::vector<std::pair<std::string, Value>> entries_;
};

struct ColumnDef {
  std::string name;
  ColumnType type = ColumnType::kText;
  uint16_t number = 0;        // column id, stable across deleted columns
  uint16_t var_index = 0;     // slot in the row's variable-length offset table
  uint16_t fixed_offset = 0;  // byte offset in the row's fixed area
  uint16_t size = 0;          // bytes (characters * 2 for Jet 4 text)
  uint8_t precision = 0;      // Decimal
  uint8_t scale = 0;          // Decimal
  uint16_t code_page = 0;     // Jet 3 text: the column's code page
  uint16_t sort_order = 0;    // text: collation id (General = 1033 / 0x409)
  uint8_t sort_order_version = 0;  // Jet 4 text: 0 General (2000-2007), 1 Access 2010's
  bool fixed = true;          // stored in the fixed area
  bool autonumber = false;
  bool guid_autonumber = false;
  bool compressed_unicode = false;  // Jet 4 text may use compression
  bool hyperlink = false;
  bool nullable = true;       // false when the column is required (also a property)
  PropertyMap properties;
};

struct IndexColumn {
  int column = 0;  // position in TableDef::columns
  bool ascending = true;
};

// A logical index (what DAO's Index shows). Several logical indexes may share
// one physical index tree ("real index").
struct IndexDef {
  std::string name;
  int number = 0;
  int real_index = 0;
  std::vector<IndexColumn> columns;
  bool primary = false;
  bool unique = false;
  bool required = false;      // nulls disallowed
  bool ignore_nulls = false;
  bool foreign_key = false;   // created for a relationship
  uint32_t distinct_count = 0;  // the statistic the file stores
  uint32_t first_page = 0;      // root page of the physical tree
  uint8_t real_flags = 0;       // raw flags of the physical index
};

struct TableDef {
  std::string name;
  uint32_t tdef_page = 0;
  uint32_t stored_row_count = 0;  // as the definition says; may be stale
  uint32_t last_autonumber = 0;
  uint8_t table_type = 0;         // 0x4E user, 0x53 system
  std::vector<ColumnDef> columns;  // in column-id order, as Access lists them
  std::vector<IndexDef> indexes;
  PropertyMap properties;

  // Position of the column named `name` (case-insensitive), or -1.
  int FindColumn(const std::string& name) const;
  // The primary key with its columns, or nullptr.
  const IndexDef* PrimaryKey() const;
};

}  // namespace jet
