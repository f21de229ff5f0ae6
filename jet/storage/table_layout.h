// Reading a table definition (TDEF) chain into a TableDef, plus the storage
// facts a scan needs that DAO callers do not see.
#pragma once

#include <memory>
#include <vector>

#include "jet/schema.h"
#include "storage/pager.h"
#include "storage/text_reader.h"

namespace jet {

struct TableLayout {
  std::shared_ptr<TableDef> def;
  uint32_t usage_map = 0;   // row pointer (page << 8 | row) of the owned-pages map
  uint32_t free_map = 0;    // row pointer of the pages-with-free-space map
  uint16_t max_cols = 0;    // column ids ever used, deleted ones included
  uint16_t var_cols = 0;
  std::vector<uint32_t> tdef_pages;  // the definition's pages, in chain order
  std::vector<uint32_t> index_maps;  // row pointer of each physical index's owned-pages map
};

Status ReadTableLayout(const Pager& pager, const TextReader& text, uint32_t tdef_page,
                       TableLayout* layout);

}  // namespace jet
