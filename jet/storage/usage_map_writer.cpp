#include "storage/usage_map_writer.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

#include "storage/data_page.h"
#include "storage/page_rows.h"

namespace jet {
namespace {

constexpr uint8_t kInlineMap = 0x00;
constexpr uint8_t kReferenceMap = 0x01;
constexpr size_t kMapPageHeader = 4;
constexpr uint32_t kFreePageMap = 1 << 8;  // page 1, row 0
constexpr uint32_t kFreeSpaceWindow = 512;

uint32_t Read32(const std::vector<uint8_t>& b, size_t at) { return Get32(b.data() + at); }
void Write32(std::vector<uint8_t>* b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) (*b)[at + i] = static_cast<uint8_t>(v >> (8 * i));
}

struct MapRow {
  std::vector<StoredRow> rows;
  uint16_t index = 0;
  StoredRow& row() { return rows[index]; }
};

Status LoadMapRow(const Pager& pager, uint32_t map_pointer, MapRow* map) {
  Page page;
  JET_RETURN_IF_ERROR(pager.ReadPageOfType(PointerPage(map_pointer), PageType::kData, &page));
  JET_RETURN_IF_ERROR(LoadRows(page, &map->rows));
  map->index = PointerRow(map_pointer);
  if (map->index >= map->rows.size() || map->row().bytes.empty()) {
    return Status::Corruption("usage map row " + std::to_string(map_pointer) + " does not exist");
  }
  return Status::OK();
}

Status StoreMapRow(Pager* pager, uint32_t map_pointer, const MapRow& map) {
  uint8_t* page = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(PointerPage(map_pointer), &page));
  return StoreRows(map.rows, page, pager->page_size());
}

std::vector<uint32_t> InlinePages(const std::vector<uint8_t>& bytes) {
  const uint32_t start = Read32(bytes, 1);
  std::vector<uint32_t> set;
  for (size_t i = 5; i < bytes.size(); ++i) {
    for (int bit = 0; bit < 8; ++bit) {
      if (bytes[i] & (1u << bit)) set.push_back(start + uint32_t(i - 5) * 8 + bit);
    }
  }
  return set;
}

// Puts an inline map's window over `page`, keeping the row's length: a
// free-space map slides to the 512-page block holding it (it only hints
// where to insert next, so bits outside the new window are dropped); an
// empty owned map simply starts at the page.
void MoveWindow(std::vector<uint8_t>* bytes, uint32_t page, MapKind kind) {
  const std::vector<uint32_t> set = InlinePages(*bytes);
  const size_t length = bytes->size() - 5;
  const uint32_t start = kind == MapKind::kFreeSpace ? page / kFreeSpaceWindow * kFreeSpaceWindow : page / 8 * 8;
  std::fill(bytes->begin() + 1, bytes->end(), 0);
  Write32(bytes, 1, start);
  for (uint32_t p : set) {
    if (p < start || p - start >= length * 8) continue;
    (*bytes)[5 + (p - start) / 8] |= static_cast<uint8_t>(1u << ((p - start) % 8));
  }
}

uint32_t PagesPerMapPage(const Pager& pager) { return (pager.page_size() - kMapPageHeader) * 8; }

Status NewMapPage(Pager* pager, const std::function<Status(uint32_t*)>& allocate, uint32_t* number) {
  JET_RETURN_IF_ERROR(allocate(number));
  uint8_t* fresh = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(*number, &fresh));
  std::memset(fresh, 0, pager->page_size());
  fresh[0] = static_cast<uint8_t>(PageType::kUsageMap);
  fresh[1] = 0x01;
  return Status::OK();
}

void SetPageBit(uint8_t* map_page, uint32_t at, bool value) {
  uint8_t& byte = map_page[kMapPageHeader + at / 8];
  const uint8_t mask = static_cast<uint8_t>(1u << (at % 8));
  byte = value ? (byte | mask) : (byte & ~mask);
}

// An owned map that must record a page its inline window cannot reach
// becomes a reference map, as Access converts it: the row keeps its length
// (69 bytes address 17 bitmap pages, the whole of a 2 GB file) and names
// bitmap pages that take over every page the inline bits held.
Status ConvertToReference(Pager* pager, uint32_t map_pointer, std::vector<uint32_t> pages,
                          const std::function<Status(uint32_t*)>& allocate) {
  const uint32_t per_page = PagesPerMapPage(*pager);
  std::map<size_t, uint32_t> map_pages;  // slot -> bitmap page
  for (uint32_t p : pages) map_pages[p / per_page] = 0;
  // Allocating may change the row's own page (the free-page map can share
  // it), so the row is read again only once the bitmap pages exist.
  for (auto& [slot, number] : map_pages) JET_RETURN_IF_ERROR(NewMapPage(pager, allocate, &number));
  for (uint32_t p : pages) {
    uint8_t* bits = nullptr;
    JET_RETURN_IF_ERROR(pager->MutablePage(map_pages[p / per_page], &bits));
    SetPageBit(bits, p % per_page, true);
  }
  MapRow map;
  JET_RETURN_IF_ERROR(LoadMapRow(*pager, map_pointer, &map));
  std::vector<uint8_t>& bytes = map.row().bytes;
  const size_t slots = std::max((bytes.size() - 1) / 4, map_pages.rbegin()->first + 1);
  bytes.assign(1 + 4 * slots, 0);
  bytes[0] = kReferenceMap;
  for (const auto& [slot, number] : map_pages) Write32(&bytes, 1 + 4 * slot, number);
  if (!StoreMapRow(pager, map_pointer, map).ok()) {
    return Status::Unsupported("the table's usage map has no room to become a page-referenced map");
  }
  return Status::OK();
}

Status SetInline(Pager* pager, uint32_t map_pointer, MapRow* map, uint32_t page, bool value, MapKind kind,
                 const std::function<Status(uint32_t*)>& allocate) {
  std::vector<uint8_t>& bytes = map->row().bytes;
  if (bytes.size() < 5) return Status::Corruption("usage map is truncated");
  uint32_t start = Read32(bytes, 1);
  const bool inside = page >= start && uint64_t(page - start) < uint64_t(bytes.size() - 5) * 8;
  if (!inside) {
    if (!value) return Status::OK();
    std::vector<uint32_t> pages = InlinePages(bytes);
    if (kind != MapKind::kFreeSpace && !pages.empty()) {
      pages.push_back(page);
      return ConvertToReference(pager, map_pointer, std::move(pages), allocate);
    }
    MoveWindow(&bytes, page, kind);
    start = Read32(bytes, 1);
  }
  uint8_t& byte = bytes[5 + (page - start) / 8];
  const uint8_t mask = static_cast<uint8_t>(1u << ((page - start) % 8));
  if (inside && ((byte & mask) != 0) == value) return Status::OK();  // leave the page untouched
  byte = value ? (byte | mask) : (byte & ~mask);
  return StoreMapRow(pager, map_pointer, *map);
}

Status SetReference(Pager* pager, uint32_t map_pointer, MapRow* map, uint32_t page, bool value,
                    const std::function<Status(uint32_t*)>& allocate) {
  const uint32_t per_page = PagesPerMapPage(*pager);
  const size_t slot = page / per_page;
  if (1 + 4 * slot + 4 > map->row().bytes.size()) {
    if (!value) return Status::OK();
    return Status::Unsupported("page " + std::to_string(page) + " lies beyond what the usage map can address");
  }
  uint32_t map_page = Read32(map->row().bytes, 1 + 4 * slot);
  if (map_page == 0) {
    if (!value) return Status::OK();
    JET_RETURN_IF_ERROR(NewMapPage(pager, allocate, &map_page));
    JET_RETURN_IF_ERROR(LoadMapRow(*pager, map_pointer, map));  // allocating may have changed the row's page
    Write32(&map->row().bytes, 1 + 4 * slot, map_page);
    JET_RETURN_IF_ERROR(StoreMapRow(pager, map_pointer, *map));
  }
  Page check;
  JET_RETURN_IF_ERROR(pager->ReadPageOfType(map_page, PageType::kUsageMap, &check));
  const uint32_t at = page % per_page;
  const uint8_t mask = static_cast<uint8_t>(1u << (at % 8));
  if (((check[kMapPageHeader + at / 8] & mask) != 0) == value) return Status::OK();
  uint8_t* bits = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(map_page, &bits));
  SetPageBit(bits, at, value);
  return Status::OK();
}

bool BitSet(const uint8_t* bits, size_t length, uint64_t first, uint32_t from, uint32_t* page) {
  uint64_t begin = from > first ? from - first : 0;
  for (uint64_t i = begin; i < uint64_t(length) * 8; ++i) {
    if (bits[i / 8] == 0 && i % 8 == 0) {
      i += 7;
      continue;
    }
    if (bits[i / 8] & (1u << (i % 8))) {
      *page = static_cast<uint32_t>(first + i);
      return true;
    }
  }
  return false;
}

}  // namespace

Status SetMapBit(Pager* pager, uint32_t map_pointer, uint32_t page, bool value, MapKind kind,
                 const std::function<Status(uint32_t*)>& allocate) {
  MapRow map;
  JET_RETURN_IF_ERROR(LoadMapRow(*pager, map_pointer, &map));
  switch (map.row().bytes[0]) {
    case kInlineMap: return SetInline(pager, map_pointer, &map, page, value, kind, allocate);
    case kReferenceMap: return SetReference(pager, map_pointer, &map, page, value, allocate);
    default: return Status::Corruption("unknown usage map type");
  }
}

Status FindSetBit(const Pager& pager, uint32_t map_pointer, uint32_t from, uint32_t* page) {
  *page = 0;
  MapRow map;
  JET_RETURN_IF_ERROR(LoadMapRow(pager, map_pointer, &map));
  const std::vector<uint8_t>& bytes = map.row().bytes;
  if (bytes[0] == kInlineMap) {
    if (bytes.size() < 5) return Status::Corruption("usage map is truncated");
    BitSet(bytes.data() + 5, bytes.size() - 5, Read32(bytes, 1), from, page);
    return Status::OK();
  }
  if (bytes[0] != kReferenceMap) return Status::Corruption("unknown usage map type");
  const uint32_t per_page = PagesPerMapPage(pager);
  for (size_t k = 0; 1 + 4 * k + 4 <= bytes.size(); ++k) {
    const uint32_t map_page = Read32(bytes, 1 + 4 * k);
    if (map_page == 0 || uint64_t(k + 1) * per_page <= from) continue;
    Page bits;
    JET_RETURN_IF_ERROR(pager.ReadPageOfType(map_page, PageType::kUsageMap, &bits));
    if (BitSet(bits.data() + kMapPageHeader, bits.size() - kMapPageHeader, uint64_t(k) * per_page, from, page)) {
      return Status::OK();
    }
  }
  return Status::OK();
}

namespace {

// The free-page map grows by plain appends: it cannot take its own new
// pages from itself.
Status SetFreePageBit(Pager* pager, uint32_t page, bool free) {
  auto append = [pager](uint32_t* p) { return pager->AppendPage(p); };
  return SetMapBit(pager, kFreePageMap, page, free, MapKind::kOwned, append);
}

}  // namespace

Status AllocatePage(Pager* pager, uint32_t* page) {
  // Page 1's map is the one map where a set bit means free.
  uint32_t candidate = 0;
  JET_RETURN_IF_ERROR(FindSetBit(*pager, kFreePageMap, 2, &candidate));
  // A free bit past the end of the file is no room to grow into: a damaged
  // map may set one billions of pages on. Without a free page inside the
  // file, it grows by one page, whose bit is cleared should the map call it
  // free.
  if (candidate == 0 || candidate >= pager->page_count()) JET_RETURN_IF_ERROR(pager->AppendPage(&candidate));
  *page = candidate;
  return SetFreePageBit(pager, candidate, false);
}

Status FreePage(Pager* pager, uint32_t page) {
  uint8_t* data = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(page, &data));
  std::memset(data, 0, pager->page_size());
  const uint32_t end = pager->page_count();
  JET_RETURN_IF_ERROR(SetFreePageBit(pager, page, true));
  // Recording the page may have given the map bitmap pages of its own,
  // appended at the end. A damaged map may already call those pages free;
  // it must never hand them out. (Clearing a bit never allocates.)
  for (uint32_t p = end; p < pager->page_count(); ++p) {
    JET_RETURN_IF_ERROR(SetFreePageBit(pager, p, false));
  }
  return Status::OK();
}

}  // namespace jet
