#include "storage/catalog_rows.h"

#include "storage/catalog_reader.h"
#include "storage/table_scan.h"

namespace jet {

Status LoadLayout(const Pager& pager, const TextReader& text, uint32_t tdef_page,
                  std::shared_ptr<const TableLayout>* layout) {
  auto read = std::make_shared<TableLayout>();
  JET_RETURN_IF_ERROR(ReadTableLayout(pager, text, tdef_page, read.get()));
  *layout = std::move(read);
  return Status::OK();
}

Status ReadPlacedCatalog(const Pager& pager, const TextReader& text, std::vector<PlacedEntry>* out) {
  CatalogContents catalog;
  JET_RETURN_IF_ERROR(ReadCatalog(pager, text, &catalog));
  std::shared_ptr<const TableLayout> layout;
  JET_RETURN_IF_ERROR(LoadLayout(pager, text, kCatalogTdefPage, &layout));
  std::vector<RowId> ids;
  JET_RETURN_IF_ERROR(FindRows(pager, text, layout, nullptr, &ids));
  // Both walks go through the rows in the same scan order.
  if (ids.size() != catalog.entries.size()) return Status::Corruption("the catalogue changed while it was read");
  out->clear();
  for (size_t i = 0; i < ids.size(); ++i) out->push_back({std::move(catalog.entries[i]), ids[i]});
  return Status::OK();
}

Status FindRows(const Pager& pager, const TextReader& text, const std::shared_ptr<const TableLayout>& layout,
                const std::function<bool(const Row&)>& match, std::vector<RowId>* ids) {
  std::unique_ptr<TableScan> scan;
  JET_RETURN_IF_ERROR(TableScan::Create(pager, text, layout, match != nullptr, &scan));
  while (scan->Next()) {
    if (!match || match(scan->row())) ids->push_back(scan->row_id());
  }
  return scan->status();
}

std::string TextField(const TableDef& def, const Row& row, const char* column) {
  const int n = def.FindColumn(column);
  if (n < 0 || static_cast<size_t>(n) >= row.size()) return {};
  const std::string* text = row[n].get_if<std::string>();
  return text ? *text : std::string();
}

}  // namespace jet
