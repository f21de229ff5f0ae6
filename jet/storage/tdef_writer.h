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
  uint8_t precision = 0, scale = 0;  // Decimal
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

// The definition as one run of bytes, as readers join its pages again;
// InvalidArgument for a table Jet cannot hold.
Status EncodeTableDef(const NewTable& table, const TdefPlacement& where, std::vector<uint8_t>* bytes);

// How many pages a definition of `length` bytes takes: a long one (many
// columns, long names) goes on over further pages, each after an 8-byte
// header of its own.
size_t TdefPageCount(size_t length, uint32_t page_size);
// The page images of a definition laid over `pages` (TdefPageCount of
// them, the first the table's definition page), each naming the next.
std::vector<std::vector<uint8_t>> ChainTdefPages(const std::vector<uint8_t>& bytes, const std::vector<uint32_t>& pages,
                                                 uint32_t page_size);

}  // namespace jet
