// Finding the stored rows of the catalogue and of the other system tables,
// for the changes that rename or remove objects.
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "jet/catalog.h"
#include "jet/table_cursor.h"
#include "storage/table_layout.h"
#include "storage/text_reader.h"

namespace jet {

struct PlacedEntry {
  CatalogEntry entry;
  RowId id;  // where its MSysObjects row is stored
};

Status LoadLayout(const Pager& pager, const TextReader& text, uint32_t tdef_page,
                  std::shared_ptr<const TableLayout>* layout);

// Every catalogue row with its place, in scan order.
Status ReadPlacedCatalog(const Pager& pager, const TextReader& text, std::vector<PlacedEntry>* out);

// The places of the rows of a table that `match` picks.
Status FindRows(const Pager& pager, const TextReader& text, const std::shared_ptr<const TableLayout>& layout,
                const std::function<bool(const Row&)>& match, std::vector<RowId>* ids);

// A text field of `row` by column name; empty when Null or absent.
std::string TextField(const TableDef& def, const Row& row, const char* column);

}  // namespace jet
