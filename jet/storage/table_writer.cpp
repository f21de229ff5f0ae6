#include "storage/table_writer.h"

#include <algorithm>
#include <random>
#include <set>

#include "storage/data_page.h"
#include "storage/index_key.h"
#include "storage/index_writer.h"
#include "storage/journal.h"
#include "storage/long_value_writer.h"
#include "storage/page_room.h"
#include "storage/page_rows.h"
#include "storage/row_decoder.h"
#include "storage/row_storage_check.h"
#include "storage/row_encoder.h"
#include "storage/usage_map.h"
#include "storage/usage_map_writer.h"

namespace jet {

// Where things sit in a Jet 4 table definition.
constexpr size_t kTdefRowCount = 0x10;
constexpr size_t kTdefAutonumber = 0x14;
constexpr size_t kTdefColumnCount = 0x2D;
constexpr size_t kTdefIndexCount = 0x2F;
constexpr size_t kLogicalIndexEntry = 28;
constexpr size_t kColumnMapEntry = 10;
constexpr size_t kTdefRealIndexCount = 0x33;
constexpr size_t kTdefRealIndexStats = 0x3F;
constexpr size_t kRealIndexStatsEntry = 12;
constexpr size_t kColumnEntry = 25;
constexpr size_t kRealIndexBlock = 52;
constexpr size_t kRealIndexMap = 34;
constexpr size_t kTdefPageHeader = 8;

struct RealIndexState {
  const IndexDef* def = nullptr;  // a logical index on it, the primary key when there is one
  uint32_t root = 0;
  uint32_t map_pointer = 0;
  size_t stats_offset = 0;        // of its distinct count, in the joined definition
  IndexContents contents;
  bool changed = false;
};

// A live row as stored: where its bytes are, following an overflow pointer.
struct StoredRef {
  std::vector<StoredRow> rows;  // of the row's own page
  uint32_t target = 0;          // overflow: where the data lives
  std::vector<uint8_t> bytes;   // the row data
};

struct TableState {
  std::shared_ptr<const TableLayout> layout;
  std::vector<uint32_t> tdef_pages;
  int64_t row_count = 0;
  uint32_t autonumber = 0;
  bool changed = false;
  std::vector<RealIndexState> indexes;
  uint32_t insert_page = 0;  // the page the last insert went to
  // Long-value columns: their own owned and free-space maps (by column id),
  // and the page their values last went to.
  std::map<uint16_t, std::pair<uint32_t, uint32_t>> long_value_maps;
  std::map<uint16_t, uint32_t> long_value_page;
  std::map<uint16_t, std::set<uint32_t>> long_value_freed;  // pages where values were released
  // The table's data pages, each with the longest new row it takes once its
  // deleted rows are reclaimed.
  PageRoom room;
};

namespace {

uint32_t RowPointer(RowId id) { return id.page << 8 | id.row; }

Status NoCurrentRecord(RowId id) {
  return Status::NotFound("No current record (row " + std::to_string(id.row) + " of page " + std::to_string(id.page) + ")",
                          3021);
}

// The definition's bytes joined over its pages, and the pages.
Status ReadTdef(const Pager& pager, uint32_t first, std::vector<uint8_t>* bytes, std::vector<uint32_t>* pages) {
  for (uint32_t p = first; p != 0;) {
    if (pages->size() > 64) return Status::Corruption("table definition chain is too long");
    Page page;
    JET_RETURN_IF_ERROR(pager.ReadPageOfType(p, PageType::kTableDef, &page));
    pages->push_back(p);
    bytes->insert(bytes->end(), page.begin() + (bytes->empty() ? 0 : kTdefPageHeader), page.end());
    p = Get32(page.data() + 4);
  }
  return Status::OK();
}

Status PutTdef32(Pager* pager, const TableState& t, size_t offset, uint32_t value) {
  const size_t ps = pager->page_size();
  size_t page_index = 0, at = offset;
  if (offset >= ps) {
    page_index = 1 + (offset - ps) / (ps - kTdefPageHeader);
    at = kTdefPageHeader + (offset - ps) % (ps - kTdefPageHeader);
  }
  if (page_index >= t.tdef_pages.size() || at + 4 > ps) return Status::Corruption("table definition is shorter than it says");
  uint8_t* page = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(t.tdef_pages[page_index], &page));
  for (int i = 0; i < 4; ++i) page[at + i] = static_cast<uint8_t>(value >> (8 * i));
  return Status::OK();
}

// Finds each physical index's root, usage map and statistics in the definition.
Status LocateIndexes(const std::vector<uint8_t>& tdef, TableState* t) {
  ByteSpan in(tdef);
  if (!in.Has(0, kTdefRealIndexStats)) return Status::Corruption("table definition is truncated");
  const uint16_t columns = in.U16(kTdefColumnCount);
  const uint32_t reals = in.U32(kTdefRealIndexCount);
  size_t pos = kTdefRealIndexStats + size_t(reals) * kRealIndexStatsEntry + size_t(columns) * kColumnEntry;
  for (uint16_t c = 0; c < columns; ++c) {
    if (!in.Has(pos, 2) || !in.Has(pos + 2, in.U16(pos))) return Status::Corruption("table definition is truncated");
    pos += 2 + in.U16(pos);
  }
  if (!in.Has(pos, size_t(reals) * kRealIndexBlock)) return Status::Corruption("table definition is truncated");
  t->indexes.resize(reals);
  for (uint32_t i = 0; i < reals; ++i, pos += kRealIndexBlock) {
    RealIndexState& r = t->indexes[i];
    r.map_pointer = in.U32(pos + kRealIndexMap);
    r.root = in.U32(pos + kRealIndexMap + 4);
    r.stats_offset = kTdefRealIndexStats + size_t(i) * kRealIndexStatsEntry + 4;
  }
  for (const IndexDef& idx : t->layout->def->indexes) {
    RealIndexState& r = t->indexes[idx.real_index];
    if (!r.def || idx.primary) r.def = &idx;
  }
  // After the indexes' names: the usage maps of each long-value column.
  const uint32_t logical = in.U32(kTdefIndexCount);
  pos += size_t(logical) * kLogicalIndexEntry;
  for (uint32_t i = 0; i < logical && in.Has(pos, 2); ++i) pos += 2 + in.U16(pos);
  while (in.Has(pos, kColumnMapEntry) && in.U16(pos) != 0xFFFF) {
    t->long_value_maps[in.U16(pos)] = {in.U32(pos + 2), in.U32(pos + 6)};
    pos += kColumnMapEntry;
  }
  return Status::OK();
}

std::string IndexLabel(const RealIndexState& r) { return r.def ? "'" + r.def->name + "'" : "of the table"; }

class RowChange {
 public:
  RowChange(Pager* pager, TableState* t) : pager_(pager), t_(t) {}

  // Checks the row against the table's rules and encodes it; touches nothing.
  Status Prepare(Row* row, const Row* old_values, uint32_t self);
  Status Keys(const Row& row, std::vector<std::string>* keys) const;
  // Stores long values and builds the row bytes.
  Status Build(const Row& row, std::vector<uint8_t>* bytes);

 private:
  Status CheckIndexes(const Row& row, uint32_t self);
  Status LongValuePage(uint16_t column, size_t length, bool fresh, uint32_t* page);
  Status FillLongValuePage(uint16_t column, uint32_t page);

  Pager* pager_;
  TableState* t_;
  std::vector<FieldBytes> fields_;
  std::vector<std::vector<uint8_t>> long_values_;  // per column; empty when not a long value
  std::vector<std::string> keys_;
};

Status RowChange::Prepare(Row* row, const Row* old_values, uint32_t self) {
  const TableDef& def = *t_->layout->def;
  if (row->size() != def.columns.size()) {
    return Status::InvalidArgument("a row of '" + def.name + "' has " + std::to_string(def.columns.size()) +
                                   " fields, not " + std::to_string(row->size()));
  }
  fields_.assign(def.columns.size(), std::nullopt);
  long_values_.assign(def.columns.size(), {});
  for (size_t i = 0; i < def.columns.size(); ++i) {
    const ColumnDef& c = def.columns[i];
    Value& v = (*row)[i];
    if (c.autonumber && c.type == ColumnType::kLong && v.is_null()) {
      v = old_values ? (*old_values)[i] : Value(c.type, int64_t{t_->autonumber + 1});
    }
    if (c.guid_autonumber && v.is_null() && !old_values) {
      Guid g;
      std::random_device rd;
      for (auto& b : g) b = static_cast<uint8_t>(rd());
      g[7] = static_cast<uint8_t>((g[7] & 0x0F) | 0x40);  // a version-4 GUID, as Access makes them
      v = Value(c.type, g);
    }
    if (v.is_null() && !c.nullable && c.type != ColumnType::kBoolean) {
      return Status::InvalidArgument("The field '" + def.name + "." + c.name +
                                         "' cannot contain a Null value because the Required property for this field is set to True",
                                     3314);
    }
    if (IsLongValueType(c.type)) {
      if (v.is_null()) continue;
      JET_RETURN_IF_ERROR(LongValueBytes(c, v, &long_values_[i]));
      continue;
    }
    JET_RETURN_IF_ERROR(EncodeField(c, v, &fields_[i]));
  }
  // The row's size is known before any long value is stored: their fields
  // take a fixed 12 bytes, plus the value when it stays inline.
  std::vector<FieldBytes> sized = fields_;
  for (size_t i = 0; i < sized.size(); ++i) {
    if (IsLongValueType(def.columns[i].type) && !(*row)[i].is_null()) {
      sized[i] = std::vector<uint8_t>(LongValueFieldSize(long_values_[i].size()));
    }
  }
  if (BuildRow(*t_->layout, sized, *row).size() > kMaxRowBytes) {
    return Status::InvalidArgument("Record is too large ('" + def.name + "')", 3047);
  }
  return CheckIndexes(*row, self);
}

Status RowChange::Keys(const Row& row, std::vector<std::string>* keys) const {
  keys->assign(t_->indexes.size(), {});
  for (size_t i = 0; i < t_->indexes.size(); ++i) {
    const RealIndexState& r = t_->indexes[i];
    if (!r.def) continue;
    JET_RETURN_IF_ERROR(EncodeIndexKey(*t_->layout->def, *r.def, row, FileFormat::kJet4, &(*keys)[i]));
  }
  return Status::OK();
}

bool AnyNull(const IndexDef& idx, const Row& row, bool all) {
  size_t nulls = 0;
  for (const IndexColumn& c : idx.columns) nulls += row[c.column].is_null() ? 1 : 0;
  return all ? nulls == idx.columns.size() : nulls > 0;
}

Status RowChange::CheckIndexes(const Row& row, uint32_t self) {
  JET_RETURN_IF_ERROR(Keys(row, &keys_));
  for (size_t i = 0; i < t_->indexes.size(); ++i) {
    const RealIndexState& r = t_->indexes[i];
    if (!r.def) continue;
    if ((r.def->required || r.def->primary) && AnyNull(*r.def, row, false)) {
      return Status::InvalidArgument("Index or primary key cannot contain a Null value (index " + IndexLabel(r) + ")", 3058);
    }
    bool taken = false;
    if (r.def->unique && !AnyNull(*r.def, row, false)) JET_RETURN_IF_ERROR(r.contents.HasKey(keys_[i], self, &taken));
    if (taken) {
      return Status::InvalidArgument(
          "The changes you requested to the table were not successful because they would create duplicate values in the index " +
              IndexLabel(r),
          3022);
    }
  }
  return Status::OK();
}

Status LongValueRoom(const Pager& pager, uint32_t page_no, size_t length, bool* fits) {
  Page p;
  JET_RETURN_IF_ERROR(pager.ReadPage(page_no, &p));
  std::vector<StoredRow> rows;
  JET_RETURN_IF_ERROR(LoadRows(p, &rows));
  *fits = LongestNewRow(rows, pager.page_size()) >= length;
  return Status::OK();
}

// A page for a value of `column`: the one its values last went to while it
// has room, else one where released values left room, else a new one,
// entered in the column's own usage maps.
Status RowChange::LongValuePage(uint16_t column, size_t length, bool fresh, uint32_t* page) {
  uint32_t& current = t_->long_value_page[column];
  bool fits = false;
  if (current && !fresh) {
    JET_RETURN_IF_ERROR(LongValueRoom(*pager_, current, length, &fits));
    if (fits) {
      *page = current;
      return Status::OK();
    }
  }
  for (uint32_t freed : fresh ? std::set<uint32_t>{} : t_->long_value_freed[column]) {
    JET_RETURN_IF_ERROR(LongValueRoom(*pager_, freed, length, &fits));
    if (fits) {
      *page = freed;
      return FillLongValuePage(column, freed);
    }
  }
  JET_RETURN_IF_ERROR(AllocatePage(pager_, page));
  uint8_t* data = nullptr;
  JET_RETURN_IF_ERROR(pager_->MutablePage(*page, &data));
  InitLongValuePage(data, pager_->page_size());
  if (auto maps = t_->long_value_maps.find(column); maps != t_->long_value_maps.end() && maps->second.first) {
    auto grow = [this](uint32_t* p) { return AllocatePage(pager_, p); };
    JET_RETURN_IF_ERROR(SetMapBit(pager_, maps->second.first, *page, true, MapKind::kOwned, grow));
  }
  return fresh ? Status::OK() : FillLongValuePage(column, *page);
}

// The column's values go to `page` from now on; its free-space map, like a
// table's, names only that page.
Status RowChange::FillLongValuePage(uint16_t column, uint32_t page) {
  uint32_t& current = t_->long_value_page[column];
  auto maps = t_->long_value_maps.find(column);
  if (maps != t_->long_value_maps.end() && maps->second.second) {
    auto grow = [this](uint32_t* p) { return AllocatePage(pager_, p); };
    const uint32_t free_space = maps->second.second;
    if (current) JET_RETURN_IF_ERROR(SetMapBit(pager_, free_space, current, false, MapKind::kFreeSpace, grow));
    JET_RETURN_IF_ERROR(SetMapBit(pager_, free_space, page, true, MapKind::kFreeSpace, grow));
  }
  current = page;
  return Status::OK();
}

Status RowChange::Build(const Row& row, std::vector<uint8_t>* bytes) {
  const auto& columns = t_->layout->def->columns;
  for (size_t i = 0; i < columns.size(); ++i) {
    if (!IsLongValueType(columns[i].type) || row[i].is_null()) continue;
    std::vector<uint8_t> field;
    const uint16_t number = columns[i].number;
    auto pages = [this, number](size_t length, bool fresh, uint32_t* page) {
      return LongValuePage(number, length, fresh, page);
    };
    JET_RETURN_IF_ERROR(WriteLongValue(pager_, long_values_[i], pages, &field));
    fields_[i] = std::move(field);
  }
  *bytes = BuildRow(*t_->layout, fields_, row);
  return Status::OK();
}

Status LocateRow(const Pager& pager, const TableState& t, RowId id, StoredRef* ref) {
  Page page;
  if (id.page == 0 || id.page >= pager.page_count()) return NoCurrentRecord(id);
  JET_RETURN_IF_ERROR(pager.ReadPage(id.page, &page));
  DataPage data(page, false);
  if (page[0] != static_cast<uint8_t>(PageType::kData) || data.owner() != t.layout->def->tdef_page) return NoCurrentRecord(id);
  JET_RETURN_IF_ERROR(LoadRows(page, &ref->rows));
  if (id.row >= ref->rows.size() || (ref->rows[id.row].flags & kRowDeletedFlag)) return NoCurrentRecord(id);
  const StoredRow& row = ref->rows[id.row];
  if (!(row.flags & kRowOverflowFlag)) {
    ref->bytes = row.bytes;
    return Status::OK();
  }
  if (row.bytes.size() < 4) return Status::Corruption("overflow row pointer is truncated");
  ref->target = Get32(row.bytes.data());
  Page target;
  JET_RETURN_IF_ERROR(pager.ReadPageOfType(PointerPage(ref->target), PageType::kData, &target));
  ByteSpan bytes;
  JET_RETURN_IF_ERROR(DataPage(target, false).RowBytes(PointerRow(ref->target), &bytes));
  ref->bytes.assign(bytes.data(), bytes.data() + bytes.size());
  return Status::OK();
}

Status FreeRowLongValues(Pager* pager, TableState* t, const std::vector<uint8_t>& bytes) {
  for (const ColumnDef& c : t->layout->def->columns) {
    if (!IsLongValueType(c.type)) continue;
    ByteSpan field;
    JET_RETURN_IF_ERROR(VariableField(*t->layout, ByteSpan(bytes), c, &field));
    std::vector<uint32_t> freed;
    JET_RETURN_IF_ERROR(FreeLongValue(pager, field, &freed));
    t->long_value_freed[c.number].insert(freed.begin(), freed.end());
    // As Access does, the column's free-space map names the pages that now
    // have room, so the room is found again after the file is reopened.
    auto maps = t->long_value_maps.find(c.number);
    if (maps == t->long_value_maps.end() || !maps->second.second) continue;
    auto grow = [pager](uint32_t* p) { return AllocatePage(pager, p); };
    for (uint32_t page : freed)
      JET_RETURN_IF_ERROR(SetMapBit(pager, maps->second.second, page, true, MapKind::kFreedRoom, grow));
  }
  return Status::OK();
}

Status StoreTableRows(Pager* pager, TableState* t, uint32_t page_no, const std::vector<StoredRow>& rows) {
  uint8_t* page = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(page_no, &page));
  JET_RETURN_IF_ERROR(StoreRows(rows, page, pager->page_size()));
  t->room.Set(page_no, LongestNewRow(rows, pager->page_size()));
  return Status::OK();
}

Status SetRowAt(Pager* pager, TableState* t, uint32_t pointer, StoredRow row) {
  Page page;
  JET_RETURN_IF_ERROR(pager->ReadPage(PointerPage(pointer), &page));
  std::vector<StoredRow> rows;
  JET_RETURN_IF_ERROR(LoadRows(page, &rows));
  if (PointerRow(pointer) >= rows.size()) return Status::Corruption("row pointer leads nowhere");
  rows[PointerRow(pointer)] = std::move(row);
  return StoreTableRows(pager, t, PointerPage(pointer), rows);
}

// A page's rows with the room of its deleted rows reclaimed, and whether a
// new row of `length` bytes fits among them.
Status LoadForInsert(const Pager& pager, uint32_t page_no, size_t length, std::vector<StoredRow>* rows, bool* fits) {
  Page page;
  JET_RETURN_IF_ERROR(pager.ReadPage(page_no, &page));
  JET_RETURN_IF_ERROR(LoadRows(page, rows));
  ReclaimDeadSlots(rows);
  *fits = LongestNewRow(*rows, pager.page_size()) >= length;
  return Status::OK();
}

// Access keeps only the page being filled in the free-space map.
Status FillNext(Pager* pager, TableState* t, uint32_t page_no) {
  auto grow = [pager](uint32_t* p) { return AllocatePage(pager, p); };
  if (t->layout->free_map) {
    if (t->insert_page) {
      JET_RETURN_IF_ERROR(SetMapBit(pager, t->layout->free_map, t->insert_page, false, MapKind::kFreeSpace, grow));
    }
    JET_RETURN_IF_ERROR(SetMapBit(pager, t->layout->free_map, page_no, true, MapKind::kFreeSpace, grow));
  }
  t->insert_page = page_no;
  return Status::OK();
}

Status NewDataPage(Pager* pager, TableState* t, uint32_t* page_no) {
  JET_RETURN_IF_ERROR(AllocatePage(pager, page_no));
  uint8_t* data = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(*page_no, &data));
  InitDataPage(data, pager->page_size(), t->layout->def->tdef_page);
  auto grow = [pager](uint32_t* p) { return AllocatePage(pager, p); };
  JET_RETURN_IF_ERROR(SetMapBit(pager, t->layout->usage_map, *page_no, true, MapKind::kOwned, grow));
  t->room.Set(*page_no, LongestNewRow({}, pager->page_size()));
  return Status::OK();
}

// A data page of the table with room for `length` more bytes: the one the
// last insert used (at first the table's last page), else one where deleted
// rows left enough room, else a new one. A page whose room was only
// presumed (from the free-space map) is measured when tried.
Status PageWithRoom(Pager* pager, TableState* t, size_t length, uint32_t* page_no, std::vector<StoredRow>* rows) {
  if (t->insert_page == 0) t->insert_page = t->room.last_page();
  bool fits = false;
  if (t->insert_page != 0) {
    JET_RETURN_IF_ERROR(LoadForInsert(*pager, t->insert_page, length, rows, &fits));
    if (fits) {
      *page_no = t->insert_page;
      return Status::OK();
    }
    t->room.Set(t->insert_page, LongestNewRow(*rows, pager->page_size()));
  }
  for (uint32_t candidate = t->room.Find(length); candidate != 0; candidate = t->room.Find(length)) {
    JET_RETURN_IF_ERROR(LoadForInsert(*pager, candidate, length, rows, &fits));
    if (fits) {
      *page_no = candidate;
      return FillNext(pager, t, candidate);
    }
    t->room.Set(candidate, LongestNewRow(*rows, pager->page_size()));
  }
  JET_RETURN_IF_ERROR(NewDataPage(pager, t, page_no));
  rows->clear();
  return FillNext(pager, t, *page_no);
}

// The common insert: the row goes after the others on the page being
// filled, which is not taken apart. `appended` false when it cannot.
Status AppendToInsertPage(Pager* pager, TableState* t, const std::vector<uint8_t>& bytes, uint16_t flags,
                          uint32_t* pointer, bool* appended) {
  *appended = false;
  if (t->insert_page == 0) return Status::OK();
  Page page;
  JET_RETURN_IF_ERROR(pager->ReadPage(t->insert_page, &page));
  if (!CanAppendRow(page, pager->page_size(), bytes.size())) return Status::OK();
  uint8_t* data = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(t->insert_page, &data));
  size_t longest = 0;
  const size_t slot = AppendRow(data, pager->page_size(), bytes, flags, &longest);
  t->room.Set(t->insert_page, longest);
  *pointer = t->insert_page << 8 | static_cast<uint32_t>(slot);
  *appended = true;
  return Status::OK();
}

Status AddRow(Pager* pager, TableState* t, std::vector<uint8_t> bytes, uint16_t flags, uint32_t* pointer) {
  bool appended = false;
  JET_RETURN_IF_ERROR(AppendToInsertPage(pager, t, bytes, flags, pointer, &appended));
  if (appended) return Status::OK();
  uint32_t page_no = 0;
  std::vector<StoredRow> rows;
  JET_RETURN_IF_ERROR(PageWithRoom(pager, t, bytes.size(), &page_no, &rows));
  const size_t slot = SlotForNewRow(rows);
  if (slot == rows.size()) rows.emplace_back();
  rows[slot] = {std::move(bytes), flags};
  JET_RETURN_IF_ERROR(StoreTableRows(pager, t, page_no, rows));
  *pointer = page_no << 8 | static_cast<uint32_t>(slot);
  return Status::OK();
}

// Puts new bytes for a live row: in place when its page has room, else on
// another page behind an overflow pointer left where the row was, as Access
// moves rows. The row keeps its number either way.
Status ReplaceRow(Pager* pager, TableState* t, RowId id, StoredRef* ref, std::vector<uint8_t> bytes) {
  const uint32_t where = ref->target ? ref->target : RowPointer(id);
  Page page;
  JET_RETURN_IF_ERROR(pager->ReadPage(PointerPage(where), &page));
  std::vector<StoredRow> rows;
  JET_RETURN_IF_ERROR(LoadRows(page, &rows));
  ReclaimDeadSlots(&rows);
  StoredRow& slot = rows[PointerRow(where)];
  const size_t free = FreeSpace(rows, pager->page_size());
  if (free + slot.bytes.size() >= bytes.size()) {
    slot.bytes = std::move(bytes);
    return StoreTableRows(pager, t, PointerPage(where), rows);
  }
  if (ref->target) JET_RETURN_IF_ERROR(SetRowAt(pager, t, ref->target, {{}, kRowDeletedFlag | kRowOverflowFlag}));
  uint32_t moved = 0;
  // The moved data is hidden from scans; the pointer row stands for it.
  JET_RETURN_IF_ERROR(AddRow(pager, t, std::move(bytes), kRowDeletedFlag, &moved));
  std::vector<uint8_t> pointer(4);
  for (int i = 0; i < 4; ++i) pointer[i] = static_cast<uint8_t>(moved >> (8 * i));
  return SetRowAt(pager, t, RowPointer(id), {std::move(pointer), kRowOverflowFlag});
}

}  // namespace

Writer::Writer(Pager* pager, const TextReader* text, FileSystem* fs, std::string path)
    : pager_(pager), text_(text), fs_(fs), path_(std::move(path)) {}
Writer::~Writer() = default;

Status Writer::Applied(Status s) {
  if (!s.ok() && broken_.ok()) {
    broken_ = Status::IOError("an earlier change failed halfway (" + s.message() + "); the transaction must be rolled back");
  }
  return s;
}

// A table of up to this many data pages has its live rows counted and its
// pages' room measured on its first change, which puts right a stale stored
// count another program left.
constexpr size_t kCountedDataPages = 64;

Status CountRowsAndRoom(const Pager& pager, const std::vector<uint32_t>& mapped, TableState* t) {
  for (uint32_t p : mapped) {
    Page page;
    JET_RETURN_IF_ERROR(pager.ReadPage(p, &page));
    DataPage data(page, false);
    if (page[0] != static_cast<uint8_t>(PageType::kData) || data.owner() != t->layout->def->tdef_page) continue;
    std::vector<StoredRow> rows;
    JET_RETURN_IF_ERROR(LoadRows(page, &rows));
    t->room.Set(p, LongestNewRow(rows, pager.page_size()));
    for (const StoredRow& r : rows) t->row_count += (r.flags & kRowDeletedFlag) ? 0 : 1;
  }
  return Status::OK();
}

Status Writer::State(const std::shared_ptr<const TableLayout>& layout, TableState** state) {
  JET_RETURN_IF_ERROR(broken_);
  // A table joins the transaction only once all of it is read: one whose
  // indexes cannot be loaded leaves no half-made state behind for Commit.
  auto found = tables_.find(layout->def->tdef_page);
  if (found == tables_.end()) {
    JET_RETURN_IF_ERROR(CheckRowStorage(*layout));
    auto t = std::make_unique<TableState>();
    t->layout = layout;
    std::vector<uint8_t> tdef;
    JET_RETURN_IF_ERROR(ReadTdef(*pager_, layout->def->tdef_page, &tdef, &t->tdef_pages));
    ByteSpan in(tdef);
    t->autonumber = in.U32(kTdefAutonumber);
    JET_RETURN_IF_ERROR(LocateIndexes(tdef, t.get()));
    for (RealIndexState& r : t->indexes) {
      if (r.def) JET_RETURN_IF_ERROR(r.contents.Load(*pager_, r.root, r.def->distinct_count));
    }
    std::vector<uint32_t> mapped;
    JET_RETURN_IF_ERROR(ReadUsageMap(*pager_, layout->usage_map, &mapped));
    for (const auto& [column, maps] : t->long_value_maps) {
      std::vector<uint32_t> with_room;
      if (maps.second) JET_RETURN_IF_ERROR(ReadUsageMap(*pager_, maps.second, &with_room));
      t->long_value_freed[column].insert(with_room.begin(), with_room.end());
    }
    if (mapped.size() <= kCountedDataPages) {
      JET_RETURN_IF_ERROR(CountRowsAndRoom(*pager_, mapped, t.get()));
    } else {
      // A large table is not read whole for its first change: its stored
      // count is kept in step from here, and inserts look for room on the
      // pages its free-space map names (how much each takes is learnt when
      // one is tried).
      t->row_count = in.U32(kTdefRowCount);
      std::vector<uint32_t> with_room;
      if (layout->free_map) JET_RETURN_IF_ERROR(ReadUsageMap(*pager_, layout->free_map, &with_room));
      for (uint32_t p : with_room) {
        Page page;
        if (!std::binary_search(mapped.begin(), mapped.end(), p) || !pager_->ReadPage(p, &page).ok()) continue;
        if (page[0] == static_cast<uint8_t>(PageType::kData) && DataPage(page, false).owner() == layout->def->tdef_page)
          t->room.Set(p, pager_->page_size());
      }
    }
    found = tables_.emplace(layout->def->tdef_page, std::move(t)).first;
  }
  *state = found->second.get();
  return Status::OK();
}

Status Writer::Insert(const std::shared_ptr<const TableLayout>& layout, Row row, RowId* id) {
  TableState* t = nullptr;
  JET_RETURN_IF_ERROR(State(layout, &t));
  RowChange change(pager_, t);
  JET_RETURN_IF_ERROR(change.Prepare(&row, nullptr, 0));
  std::vector<std::string> keys;
  JET_RETURN_IF_ERROR(change.Keys(row, &keys));
  Status s = [&]() -> Status {
    std::vector<uint8_t> bytes;
    JET_RETURN_IF_ERROR(change.Build(row, &bytes));
    uint32_t pointer = 0;
    JET_RETURN_IF_ERROR(AddRow(pager_, t, std::move(bytes), 0, &pointer));
    for (size_t i = 0; i < t->indexes.size(); ++i) {
      RealIndexState& r = t->indexes[i];
      if (!r.def || (r.def->ignore_nulls && AnyNull(*r.def, row, true))) continue;
      r.contents.Insert(keys[i], pointer);
      r.changed = true;
    }
    for (size_t i = 0; i < row.size(); ++i) {
      const ColumnDef& c = layout->def->columns[i];
      const int64_t* number = row[i].get_if<int64_t>();
      if (c.autonumber && c.type == ColumnType::kLong && number && *number > int64_t(t->autonumber)) {
        t->autonumber = static_cast<uint32_t>(*number);
      }
    }
    ++t->row_count;
    t->changed = true;
    if (id) *id = {PointerPage(pointer), PointerRow(pointer)};
    return Status::OK();
  }();
  return Applied(s);
}

Status Writer::Existing(const std::shared_ptr<const TableLayout>& layout, RowId id, TableState** t, StoredRef* ref,
                        Row* values) {
  JET_RETURN_IF_ERROR(State(layout, t));
  JET_RETURN_IF_ERROR(LocateRow(*pager_, **t, id, ref));
  return RowDecoder(*pager_, *text_, *layout).Decode(ByteSpan(ref->bytes), values);
}

Status Writer::Read(const std::shared_ptr<const TableLayout>& layout, RowId id, Row* row) {
  TableState* t = nullptr;
  StoredRef ref;
  return Existing(layout, id, &t, &ref, row);
}

Status Writer::Update(const std::shared_ptr<const TableLayout>& layout, RowId id, Row row) {
  TableState* t = nullptr;
  StoredRef ref;
  Row old_values;
  JET_RETURN_IF_ERROR(Existing(layout, id, &t, &ref, &old_values));
  RowChange change(pager_, t);
  JET_RETURN_IF_ERROR(change.Prepare(&row, &old_values, RowPointer(id)));
  std::vector<std::string> old_keys, keys;
  JET_RETURN_IF_ERROR(change.Keys(old_values, &old_keys));
  JET_RETURN_IF_ERROR(change.Keys(row, &keys));
  Status s = [&]() -> Status {
    JET_RETURN_IF_ERROR(FreeRowLongValues(pager_, t, ref.bytes));
    std::vector<uint8_t> bytes;
    JET_RETURN_IF_ERROR(change.Build(row, &bytes));
    JET_RETURN_IF_ERROR(ReplaceRow(pager_, t, id, &ref, std::move(bytes)));
    for (size_t i = 0; i < t->indexes.size(); ++i) {
      RealIndexState& r = t->indexes[i];
      if (!r.def) continue;
      r.contents.Remove(old_keys[i], RowPointer(id));
      if (!(r.def->ignore_nulls && AnyNull(*r.def, row, true))) r.contents.Insert(keys[i], RowPointer(id));
      r.changed = true;
    }
    t->changed = true;
    return Status::OK();
  }();
  return Applied(s);
}

Status Writer::Delete(const std::shared_ptr<const TableLayout>& layout, RowId id) {
  TableState* t = nullptr;
  StoredRef ref;
  Row old_values;
  JET_RETURN_IF_ERROR(Existing(layout, id, &t, &ref, &old_values));
  RowChange change(pager_, t);
  std::vector<std::string> old_keys;
  JET_RETURN_IF_ERROR(change.Keys(old_values, &old_keys));
  Status s = [&]() -> Status {
    JET_RETURN_IF_ERROR(FreeRowLongValues(pager_, t, ref.bytes));
    if (ref.target) JET_RETURN_IF_ERROR(SetRowAt(pager_, t, ref.target, {{}, kRowDeletedFlag | kRowOverflowFlag}));
    // Access leaves a deleted row's bytes where they were and flags the slot
    // both deleted and moved; readers skip only slots flagged so.
    StoredRow deleted = ref.rows[id.row];
    deleted.flags = kRowDeletedFlag | kRowOverflowFlag;
    JET_RETURN_IF_ERROR(SetRowAt(pager_, t, RowPointer(id), std::move(deleted)));
    // The page has room again; Access records that in the free-space map.
    if (t->layout->free_map) {
      auto grow = [this](uint32_t* p) { return AllocatePage(pager_, p); };
      JET_RETURN_IF_ERROR(SetMapBit(pager_, t->layout->free_map, id.page, true, MapKind::kFreedRoom, grow));
    }
    for (size_t i = 0; i < t->indexes.size(); ++i) {
      RealIndexState& r = t->indexes[i];
      if (!r.def) continue;
      r.contents.Remove(old_keys[i], RowPointer(id));
      r.changed = true;
    }
    --t->row_count;
    t->changed = true;
    return Status::OK();
  }();
  return Applied(s);
}

bool Writer::HoldsChanges(uint32_t tdef_page) const {
  auto it = tables_.find(tdef_page);
  return it != tables_.end() && it->second->changed;
}

Status Writer::Commit() {
  JET_RETURN_IF_ERROR(broken_);
  for (auto& [tdef_page, t] : tables_) {
    if (!t->changed) continue;
    for (RealIndexState& r : t->indexes) {
      if (!r.changed) continue;
      JET_RETURN_IF_ERROR(Applied(r.contents.Write(pager_, tdef_page, r.root, r.map_pointer)));
      JET_RETURN_IF_ERROR(Applied(PutTdef32(pager_, *t, r.stats_offset, r.contents.DistinctKeys())));
    }
    JET_RETURN_IF_ERROR(Applied(PutTdef32(pager_, *t, kTdefRowCount, static_cast<uint32_t>(t->row_count))));
    JET_RETURN_IF_ERROR(Applied(PutTdef32(pager_, *t, kTdefAutonumber, t->autonumber)));
  }
  Status s = CommitPages(fs_, path_, pager_);
  if (!s.ok()) {
    tables_.clear();
    return s;
  }
  // What we know of each table is now what the file holds: keep it for the
  // next transaction rather than read every index again.
  for (auto& [tdef_page, t] : tables_) {
    t->changed = false;
    for (RealIndexState& r : t->indexes) r.changed = false;
  }
  return Status::OK();
}

void Writer::ForgetTables() { tables_.clear(); }

void Writer::Rollback() {
  pager_->DiscardChanges();
  tables_.clear();
  broken_ = Status::OK();
}

}  // namespace jet
