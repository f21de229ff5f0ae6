#include <algorithm>
#include <cstring>
#include <set>

#include "jet/create.h"
#include "storage/catalog_reader.h"
#include "storage/catalog_writer.h"
#include "storage/change_watch.h"
#include "storage/page_rows.h"
#include "storage/property_blob_writer.h"
#include "storage/row_decoder.h"
#include "storage/table_layout.h"
#include "storage/table_writer.h"
#include "storage/tdef_writer.h"
#include "storage/usage_map_writer.h"

namespace jet {
namespace {

constexpr size_t kInlineMapBytes = 64;
constexpr size_t kIndexLeafEntries = 0x1E0;
// A reference map names one bitmap page per slot; each covers 32,736 pages,
// so 17 slots reach the 2 GB a Jet 4 file may have.
constexpr size_t kReferenceSlots = 17;

bool Same(const std::string& a, const std::string& b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) { return std::tolower(x) == std::tolower(y); });
}

int FindColumn(const TableSpec& t, const std::string& name) {
  for (size_t i = 0; i < t.columns.size(); ++i) {
    if (Same(t.columns[i].name, name)) return static_cast<int>(i);
  }
  return -1;
}

Status Bad(const TableSpec& t, const std::string& why) {
  return Status::InvalidArgument("cannot create table '" + t.name + "': " + why);
}

Status CheckColumns(const TableSpec& t) {
  for (size_t i = 0; i < t.columns.size(); ++i) {
    const ColumnSpec& c = t.columns[i];
    if (c.name.empty() || c.name.size() > 64) return Bad(t, "a column name must have 1 to 64 characters");
    if (FindColumn(t, c.name) != static_cast<int>(i)) return Bad(t, "the column '" + c.name + "' appears twice");
    const bool sized = c.type == ColumnType::kText || c.type == ColumnType::kBinary;
    if (sized && (c.size < 1 || c.size > 255)) {
      return Bad(t, "the column '" + c.name + "' needs a size from 1 to 255");
    }
    if (!sized && FixedSize(c.type) == 0 && c.type != ColumnType::kBoolean && c.type != ColumnType::kMemo &&
        c.type != ColumnType::kOle) {
      return Bad(t, "the column '" + c.name + "' has a type new tables cannot have");
    }
    if (c.type == ColumnType::kDecimal && (c.precision < 1 || c.precision > 28 || c.scale < 0 || c.scale > c.precision)) {
      return Bad(t, "the Decimal column '" + c.name + "' needs a precision from 1 to 28 and a scale from 0 to it");
    }
    if (c.autonumber && c.type != ColumnType::kLong) {
      return Bad(t, "only a Long Integer column can be an autonumber ('" + c.name + "')");
    }
  }
  return Status::OK();
}

Status CheckIndexes(const TableSpec& t) {
  int primaries = 0;
  for (size_t i = 0; i < t.indexes.size(); ++i) {
    const IndexSpec& idx = t.indexes[i];
    if (idx.name.empty()) return Bad(t, "an index needs a name");
    for (size_t j = 0; j < i; ++j) {
      if (Same(t.indexes[j].name, idx.name)) return Bad(t, "the index '" + idx.name + "' appears twice");
    }
    if (idx.columns.empty() || idx.columns.size() > 10) {
      return Bad(t, "the index '" + idx.name + "' must have 1 to 10 columns");
    }
    for (const std::string& col : idx.columns) {
      const int n = FindColumn(t, col);
      if (n < 0) return Bad(t, "the index '" + idx.name + "' names a missing column '" + col + "'");
      const ColumnType type = t.columns[n].type;
      if (type == ColumnType::kMemo || type == ColumnType::kOle) {
        return Bad(t, "Memo and OLE columns cannot be indexed ('" + col + "')");
      }
    }
    primaries += idx.primary;
  }
  if (primaries > 1) return Bad(t, "a table has at most one primary key");
  return Status::OK();
}

Status CheckSpec(const TableSpec& t, const std::set<std::string>& taken) {
  if (t.name.empty() || t.name.size() > 64) return Bad(t, "a table name must have 1 to 64 characters");
  std::string lower = t.name;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char ch) { return std::tolower(ch); });
  if (taken.count(lower)) return Bad(t, "an object of that name already exists");
  if (t.columns.empty() || t.columns.size() > 255) return Bad(t, "a table has 1 to 255 columns");
  if (t.indexes.size() > 32) return Bad(t, "a table has at most 32 indexes");
  JET_RETURN_IF_ERROR(CheckColumns(t));
  return CheckIndexes(t);
}

NewTable Describe(const TableSpec& t) {
  NewTable out;
  out.name = t.name;
  for (const ColumnSpec& c : t.columns) {
    NewColumn n;
    n.name = c.name;
    n.type = c.type;
    n.size = c.type == ColumnType::kText ? static_cast<uint16_t>(c.size * 2)
              : c.type == ColumnType::kBinary ? static_cast<uint16_t>(c.size)
                                              : static_cast<uint16_t>(FixedSize(c.type));
    if (c.type == ColumnType::kDecimal) {
      n.precision = static_cast<uint8_t>(c.precision);
      n.scale = static_cast<uint8_t>(c.scale);
    }
    n.nullable = !c.required && !c.autonumber;
    n.autonumber = c.autonumber;
    out.columns.push_back(std::move(n));
  }
  for (const IndexSpec& i : t.indexes) {
    NewIndex n;
    n.name = i.name;
    for (const std::string& col : i.columns) n.columns.push_back(FindColumn(t, col));
    n.primary = i.primary;
    n.unique = i.unique || i.primary;
    n.ignore_nulls = i.ignore_nulls;
    n.required = i.primary;
    out.indexes.push_back(std::move(n));
  }
  return out;
}

Bytes Properties(const TableSpec& t) {
  std::vector<PropertyBlock> blocks;
  if (!t.description.empty()) blocks.push_back({"", {{"Description", Value(ColumnType::kText, t.description)}}});
  for (const ColumnSpec& c : t.columns) {
    PropertyBlock b{c.name, {}};
    if (!c.caption.empty()) b.values.push_back({"Caption", Value(ColumnType::kText, c.caption)});
    if (!c.description.empty()) b.values.push_back({"Description", Value(ColumnType::kText, c.description)});
    if (!c.format.empty()) b.values.push_back({"Format", Value(ColumnType::kText, c.format)});
    if (c.required) b.values.push_back({"Required", Value(ColumnType::kBoolean, true)});
    if (!b.values.empty()) blocks.push_back(std::move(b));
  }
  return blocks.empty() ? Bytes{} : EncodePropertyBlob(blocks);
}

uint32_t RowPointer(uint32_t page, size_t row) { return page << 8 | static_cast<uint32_t>(row); }

// An empty inline map row whose window starts at `start`.
StoredRow InlineMap(uint32_t start) {
  StoredRow r;
  r.bytes.assign(1 + 4 + kInlineMapBytes, 0);
  start &= ~7u;
  for (int i = 0; i < 4; ++i) r.bytes[1 + i] = uint8_t(start >> (8 * i));
  return r;
}

// The owned-pages maps of a table and of its indexes name bitmap pages, so
// they can record pages anywhere in the file however big the table grows.
StoredRow ReferenceMap() {
  StoredRow r;
  r.bytes.assign(1 + 4 * kReferenceSlots, 0);
  r.bytes[0] = 0x01;
  return r;
}

// Writes the definition, its maps page and an empty root per index; returns
// the definition's page.
Status LayOut(Pager* pager, const NewTable& table, uint32_t* tdef_page) {
  uint32_t map_page = 0;
  JET_RETURN_IF_ERROR(AllocatePage(pager, tdef_page));
  JET_RETURN_IF_ERROR(AllocatePage(pager, &map_page));
  const uint32_t start = std::min(*tdef_page, map_page);
  std::vector<StoredRow> rows{ReferenceMap(), InlineMap(start)};
  TdefPlacement where{RowPointer(map_page, 0), RowPointer(map_page, 1), {}, {}};
  for (size_t i = 0; i < table.indexes.size(); ++i) {
    uint32_t root = 0;
    JET_RETURN_IF_ERROR(AllocatePage(pager, &root));
    uint8_t* leaf = nullptr;
    JET_RETURN_IF_ERROR(pager->MutablePage(root, &leaf));
    std::memset(leaf, 0, pager->page_size());
    leaf[0] = static_cast<uint8_t>(PageType::kIndexLeaf);
    leaf[1] = 0x01;
    const uint32_t free_bytes = pager->page_size() - kIndexLeafEntries;
    leaf[2] = uint8_t(free_bytes);
    leaf[3] = uint8_t(free_bytes >> 8);
    for (int k = 0; k < 4; ++k) leaf[4 + k] = uint8_t(*tdef_page >> (8 * k));
    where.index_roots.push_back(root);
    where.index_maps.push_back(RowPointer(map_page, rows.size()));
    rows.push_back(ReferenceMap());
  }
  uint8_t* maps = nullptr;
  JET_RETURN_IF_ERROR(pager->MutablePage(map_page, &maps));
  std::memset(maps, 0, pager->page_size());
  maps[0] = static_cast<uint8_t>(PageType::kData);
  maps[1] = 0x01;
  JET_RETURN_IF_ERROR(StoreRows(rows, maps, pager->page_size()));
  auto allocate = [pager](uint32_t* p) { return AllocatePage(pager, p); };
  for (size_t i = 0; i < where.index_roots.size(); ++i) {
    JET_RETURN_IF_ERROR(SetMapBit(pager, where.index_maps[i], where.index_roots[i], true, MapKind::kOwned, allocate));
  }
  std::vector<uint8_t> tdef;
  JET_RETURN_IF_ERROR(EncodeTableDef(table, where, &tdef));
  std::vector<uint32_t> pages{*tdef_page};
  while (pages.size() < TdefPageCount(tdef.size(), pager->page_size())) {
    pages.emplace_back();
    JET_RETURN_IF_ERROR(AllocatePage(pager, &pages.back()));
  }
  const auto images = ChainTdefPages(tdef, pages, pager->page_size());
  for (size_t n = 0; n < pages.size(); ++n) {
    uint8_t* page = nullptr;
    JET_RETURN_IF_ERROR(pager->MutablePage(pages[n], &page));
    std::memcpy(page, images[n].data(), images[n].size());
  }
  return Status::OK();
}

Row CatalogRow(const TableDef& def, const TableSpec& wanted, uint32_t tdef_page, double created) {
  Row row = NewCatalogRow(def, tdef_page, kTablesContainerId, wanted.name, kCatalogTypeTable, 0, created);
  Bytes props = Properties(wanted);
  if (!props.empty()) SetCatalogValue(def, "LvProp", Value(ColumnType::kOle, std::move(props)), &row);
  return row;
}

Status AddTables(Pager* pager, FileSystem* fs, const std::string& path, const std::vector<TableSpec>& tables,
                 double created) {
  TextReader text;
  CatalogContents catalog;
  JET_RETURN_IF_ERROR(ReadCatalog(*pager, text, &catalog));
  std::set<std::string> taken;
  for (const CatalogEntry& e : catalog.entries) {
    std::string lower = e.name;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char ch) { return std::tolower(ch); });
    taken.insert(lower);
  }
  for (const TableSpec& t : tables) {
    JET_RETURN_IF_ERROR(CheckSpec(t, taken));
    std::string lower = t.name;
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char ch) { return std::tolower(ch); });
    taken.insert(lower);
  }
  auto layout = std::make_shared<TableLayout>();
  JET_RETURN_IF_ERROR(ReadTableLayout(*pager, text, kCatalogTdefPageNumber, layout.get()));
  std::shared_ptr<const TableLayout> objects = layout;
  Writer writer(pager, &text, fs, path);
  for (const TableSpec& t : tables) {
    uint32_t tdef_page = 0;
    Status s = LayOut(pager, Describe(t), &tdef_page);
    if (s.ok()) s = writer.Insert(objects, CatalogRow(*layout->def, t, tdef_page, created), nullptr);
    if (!s.ok()) {
      writer.Rollback();
      return s;
    }
  }
  return writer.Commit();
}

}  // namespace

Status CheckNewTable(const TableSpec& table, const std::set<std::string>& taken) { return CheckSpec(table, taken); }

Status WriteTableDefinition(Pager* pager, const TableSpec& table, uint32_t* tdef_page) {
  return LayOut(pager, Describe(table), tdef_page);
}

Status CreateTables(const std::string& path, const std::vector<TableSpec>& tables, const CreateOptions& options) {
  FileSystem* fs = options.file_system ? options.file_system : DefaultFileSystem();
  std::unique_ptr<Pager> pager;
  FileStamp before, after;
  JET_RETURN_IF_ERROR(OpenForDefinitions(path, fs, &pager, &before));
  JET_RETURN_IF_ERROR(AddTables(pager.get(), fs, path, tables, options.created));
  return MakeChangeVisible(fs, path, before, &after);
}

}  // namespace jet
