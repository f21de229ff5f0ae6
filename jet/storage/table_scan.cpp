#include "storage/table_scan.h"

#include "storage/data_page.h"
#include "storage/usage_map.h"

namespace jet {

namespace {

// A moved row's slot holds where its data went: follow it (one hop, Access
// never chains them).
Status FollowOverflow(const Pager& pager, ByteSpan* bytes) {
  if (bytes->size() < 4) return Status::Corruption("overflow row pointer is truncated");
  const uint32_t target = bytes->U32(0);
  Page target_page;
  JET_RETURN_IF_ERROR(pager.ReadPageOfType(PointerPage(target), PageType::kData, &target_page));
  RowSlot slot;
  return DataPage(target_page, pager.is_jet3()).RowBytes(PointerRow(target), bytes, &slot);
}

}  // namespace

TableScan::TableScan(const Pager& pager, const TextReader& text,
                     std::shared_ptr<const TableLayout> layout, bool decode)
    : TableCursor(layout->def), pager_(pager), layout_(layout), decoder_(pager, text, *layout),
      decode_(decode) {}

Status TableScan::Create(const Pager& pager, const TextReader& text,
                         std::shared_ptr<const TableLayout> layout, bool decode,
                         std::unique_ptr<TableScan>* scan) {
  std::unique_ptr<TableScan> s(new TableScan(pager, text, layout, decode));
  std::vector<uint32_t> mapped;
  JET_RETURN_IF_ERROR(ReadUsageMap(pager, layout->usage_map, &mapped));
  // Keep only data pages that still belong to this table: a map may name a
  // page that was freed and reused since.
  const uint32_t owner = layout->def->tdef_page;
  for (uint32_t p : mapped) {
    pager.ReleaseReadPages();
    Page page;
    JET_RETURN_IF_ERROR(pager.ReadPage(p, &page));
    if (page[0] != static_cast<uint8_t>(PageType::kData)) continue;
    DataPage data(page, pager.is_jet3());
    if (data.owner() != owner) continue;
    s->pages_.push_back(p);
    // Note where overflow pointers lead so those rows are not read twice.
    for (uint16_t r = 0; r < data.row_count(); ++r) {
      RowSlot slot;
      ByteSpan bytes(nullptr, 0);
      if (!data.RowBytes(r, &bytes, &slot).ok() || slot.deleted || !slot.overflow) continue;
      if (bytes.size() >= 4) s->moved_rows_.insert(bytes.U32(0));
    }
  }
  *scan = std::move(s);
  return Status::OK();
}

bool TableScan::Advance(ByteSpan* bytes) {
  while (page_index_ < pages_.size()) {
    const uint32_t page_no = pages_[page_index_];
    Page page;
    if (Status s = pager_.ReadPage(page_no, &page); !s.ok()) return Fail(s);
    DataPage data(page, pager_.is_jet3());
    if (next_row_ >= data.row_count()) {
      ++page_index_;
      next_row_ = 0;
      continue;
    }
    const uint16_t r = next_row_++;
    RowSlot slot;
    if (Status s = data.RowBytes(r, bytes, &slot); !s.ok()) return Fail(s);
    if (slot.deleted || moved_rows_.count(page_no << 8 | r)) continue;
    id_ = {page_no, r};
    if (!slot.overflow) return true;

    if (Status s = FollowOverflow(pager_, bytes); !s.ok()) return Fail(s);
    return true;
  }
  return false;
}

Status TableScan::ReadAt(const Pager& pager, const TextReader& text, const TableLayout& layout, RowId id,
                         Row* row, const ColumnSet* wanted) {
  pager.ReleaseReadPages();
  Page page;
  JET_RETURN_IF_ERROR(pager.ReadPageOfType(id.page, PageType::kData, &page));
  DataPage data(page, pager.is_jet3());
  if (data.owner() != layout.def->tdef_page || id.row >= data.row_count()) {
    return Status::NotFound("no row at that place", 3021);
  }
  RowSlot slot;
  ByteSpan bytes(nullptr, 0);
  JET_RETURN_IF_ERROR(data.RowBytes(id.row, &bytes, &slot));
  if (slot.deleted) return Status::NotFound("the row at that place was deleted", 3021);
  if (slot.overflow) JET_RETURN_IF_ERROR(FollowOverflow(pager, &bytes));
  return RowDecoder(pager, text, layout).Decode(bytes, row, wanted);
}

bool TableScan::Next() {
  if (!status_.ok()) return false;
  pager_.ReleaseReadPages();  // nothing read for the previous row is in use now
  ByteSpan bytes(nullptr, 0);
  if (!Advance(&bytes)) return false;
  if (!decode_) return true;
  Status s = decoder_.Decode(bytes, &row_, &wanted_);
  if (!s.ok()) {
    return Fail(Status::Corruption(s.message() + " (table '" + def().name + "', page " +
                                   std::to_string(id_.page) + " row " + std::to_string(id_.row) + ")"));
  }
  return true;
}

}  // namespace jet
