// Encoding a new table's definition (TDEF) page for a Jet 4 file: the
// columns, physical and logical indexes and the row pointers of its usage
// maps, laid out exactly as table_layout.cpp reads them back.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "jet/status.h"
#include "jet/types.h"

namespace jet {

struct NewColumn {
  std::string name;
  ColumnType type = ColumnType::kLong;
  uint16_t size = 0;  // bytes; Text holds two per character
  bool nullable = true;
  bool autonumber = false;
};

struct NewIndex {
  std::string name;
  std::vector<int> columns;  // positions in NewTable::columns, ascending keys
  bool primary = false;
  bool unique = false;
  bool ignore_nulls = false;
  bool required = false;
};

struct NewTable {
  std::string name;
  bool system = false;
  std::vector<NewColumn> columns;
  std::vector<NewIndex> indexes;
};

// Where the table's other pieces already are.
struct TdefPlacement {
  uint32_t usage_map = 0;                // row pointer of the owned-pages map
  uint32_t free_map = 0;                 // row pointer of the free-space map
  std::vector<uint32_t> index_roots;     // one root page per index
  std::vector<uint32_t> index_maps;      // one map row pointer per index
};

// The UTF-8 name as the UCS-2 bytes definitions store.
std::vector<uint8_t> EncodeUcs2(const std::string& utf8);

// A one-page definition; InvalidArgument when the table does not fit one.
Status EncodeTableDef(const NewTable& table, const TdefPlacement& where, uint32_t page_size,
                      std::vector<uint8_t>* page);

}  // namespace jet
