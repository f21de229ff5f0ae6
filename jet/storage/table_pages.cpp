#include "storage/table_pages.h"

#include <set>

#include "storage/data_page.h"
#include "storage/long_value_writer.h"
#include "storage/page_rows.h"
#include "storage/row_encoder.h"
#include "storage/table_layout.h"
#include "storage/usage_map.h"

namespace jet {
namespace {

constexpr uint8_t kReferenceMap = 0x01;

// The row pointers of every usage map of the table.
std::vector<uint32_t> Maps(const TableLayout& layout) {
  std::vector<uint32_t> maps{layout.usage_map, layout.free_map};
  maps.insert(maps.end(), layout.index_maps.begin(), layout.index_maps.end());
  return maps;
}

// A map's own pages: a reference map's bitmap pages, and the page holding
// its row when every live row there is one of the table's maps.
Status MapPages(const Pager& pager, const TableLayout& layout, std::set<uint32_t>* pages) {
  const std::vector<uint32_t> maps = Maps(layout);
  const std::set<uint32_t> ours(maps.begin(), maps.end());
  for (uint32_t map : ours) {
    if (map == 0) continue;
    Page page;
    JET_RETURN_IF_ERROR(pager.ReadPageOfType(PointerPage(map), PageType::kData, &page));
    std::vector<StoredRow> rows;
    JET_RETURN_IF_ERROR(LoadRows(page, &rows));
    if (PointerRow(map) >= rows.size()) return Status::Corruption("usage map row " + std::to_string(map) + " does not exist");
    const StoredRow& row = rows[PointerRow(map)];
    for (size_t at = 1; !row.bytes.empty() && row.bytes[0] == kReferenceMap && at + 4 <= row.bytes.size(); at += 4) {
      Page bitmap;
      const uint32_t number = Get32(row.bytes.data() + at);
      if (number != 0 && pager.ReadPageOfType(number, PageType::kUsageMap, &bitmap).ok()) pages->insert(number);
    }
    bool only_ours = DataPage(page, false).owner() == 0 || DataPage(page, false).owner() == layout.def->tdef_page;
    for (size_t r = 0; r < rows.size() && only_ours; ++r) {
      only_ours = IsDeadSlot(rows[r]) || ours.count(PointerPage(map) << 8 | static_cast<uint32_t>(r));
    }
    if (only_ours) pages->insert(PointerPage(map));
  }
  return Status::OK();
}

// Releases the long values of the rows a scan reads (live rows, and the
// moved data of overflow rows); `emptied` gets the long-value pages then
// left without a live row.
Status ReleaseLongValues(Pager* pager, const TableLayout& layout, const std::vector<uint32_t>& data_pages,
                         std::set<uint32_t>* emptied) {
  std::set<uint32_t> rows;
  for (uint32_t p : data_pages) {
    Page page;
    JET_RETURN_IF_ERROR(pager->ReadPage(p, &page));
    std::vector<StoredRow> stored;
    JET_RETURN_IF_ERROR(LoadRows(page, &stored));
    for (size_t r = 0; r < stored.size(); ++r) {
      const StoredRow& row = stored[r];
      if (row.flags == 0) rows.insert(p << 8 | static_cast<uint32_t>(r));
      if (row.flags == kRowOverflowFlag && row.bytes.size() >= 4) rows.insert(Get32(row.bytes.data()));
    }
  }
  std::set<uint32_t> touched;
  for (uint32_t pointer : rows) {
    Page page;
    JET_RETURN_IF_ERROR(pager->ReadPageOfType(PointerPage(pointer), PageType::kData, &page));
    ByteSpan bytes;
    JET_RETURN_IF_ERROR(DataPage(page, false).RowBytes(PointerRow(pointer), &bytes));
    const std::vector<uint8_t> copy(bytes.data(), bytes.data() + bytes.size());
    for (const ColumnDef& c : layout.def->columns) {
      if (!IsLongValueType(c.type)) continue;
      ByteSpan field;
      JET_RETURN_IF_ERROR(VariableField(layout, ByteSpan(copy), c, &field));
      std::vector<uint32_t> freed;
      JET_RETURN_IF_ERROR(FreeLongValue(pager, field, &freed));
      touched.insert(freed.begin(), freed.end());
    }
  }
  for (uint32_t p : touched) {
    Page page;
    JET_RETURN_IF_ERROR(pager->ReadPage(p, &page));
    std::vector<StoredRow> stored;
    JET_RETURN_IF_ERROR(LoadRows(page, &stored));
    bool empty = DataPage(page, false).is_long_value_page();
    for (const StoredRow& row : stored) empty = empty && (row.flags & kRowDeletedFlag);
    if (empty) emptied->insert(p);
  }
  return Status::OK();
}

// Pages of the given type that name the table as theirs.
Status Owned(const Pager& pager, const std::vector<uint32_t>& candidates, std::initializer_list<PageType> types,
             uint32_t tdef_page, std::set<uint32_t>* pages) {
  for (uint32_t p : candidates) {
    Page page;
    JET_RETURN_IF_ERROR(pager.ReadPage(p, &page));
    bool typed = false;
    for (PageType t : types) typed = typed || page[0] == static_cast<uint8_t>(t);
    if (typed && Get32(page.data() + 4) == tdef_page) pages->insert(p);
  }
  return Status::OK();
}

}  // namespace

Status ReleaseTablePages(Pager* pager, const TextReader& text, uint32_t tdef_page, std::vector<uint32_t>* pages) {
  TableLayout layout;
  JET_RETURN_IF_ERROR(ReadTableLayout(*pager, text, tdef_page, &layout));
  std::set<uint32_t> found(layout.tdef_pages.begin(), layout.tdef_pages.end());
  std::vector<uint32_t> data;
  JET_RETURN_IF_ERROR(ReadUsageMap(*pager, layout.usage_map, &data));
  JET_RETURN_IF_ERROR(Owned(*pager, data, {PageType::kData}, tdef_page, &found));
  std::vector<uint32_t> index_pages;
  for (const IndexDef& index : layout.def->indexes) index_pages.push_back(index.first_page);
  for (uint32_t map : layout.index_maps) {
    std::vector<uint32_t> mapped;
    JET_RETURN_IF_ERROR(ReadUsageMap(*pager, map, &mapped));
    index_pages.insert(index_pages.end(), mapped.begin(), mapped.end());
  }
  JET_RETURN_IF_ERROR(
      Owned(*pager, index_pages, {PageType::kIndexIntermediate, PageType::kIndexLeaf}, tdef_page, &found));
  JET_RETURN_IF_ERROR(MapPages(*pager, layout, &found));
  std::vector<uint32_t> own_data;
  for (uint32_t p : data) {
    if (found.count(p)) own_data.push_back(p);
  }
  JET_RETURN_IF_ERROR(ReleaseLongValues(pager, layout, own_data, &found));
  found.erase(0);
  found.erase(1);
  pages->assign(found.begin(), found.end());
  return Status::OK();
}

}  // namespace jet
