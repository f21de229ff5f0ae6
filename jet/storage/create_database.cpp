#include "jet/create.h"

#include <cstring>
#include <vector>

#include "storage/catalog_writer.h"
#include "storage/page_rows.h"
#include "storage/property_blob_writer.h"
#include "storage/pager.h"
#include "storage/row_decoder.h"
#include "storage/table_layout.h"
#include "storage/table_writer.h"
#include "storage/tdef_writer.h"

namespace jet {
namespace {

constexpr uint32_t kPageSize = 4096;
constexpr uint32_t kMapPage = 1;
constexpr uint32_t kFirstTdefPage = 2;
constexpr size_t kInlineMapBytes = 64;  // 512 pages per inline map row
constexpr uint16_t kWesternCodePage = 1252;
constexpr uint16_t kGeneralSortOrder = 0x0409;

// The catalogue id of the database's own property row.
constexpr int64_t kDatabaseObject = 0x10000000;
constexpr int64_t kSystemFlag = int64_t(int32_t(0x80000000));

NewColumn Col(const char* name, ColumnType type, uint16_t size = 0, bool nullable = true) {
  NewColumn c;
  c.name = name;
  c.type = type;
  c.size = size ? size : static_cast<uint16_t>(FixedSize(type));
  c.nullable = nullable;
  return c;
}

NewIndex Idx(const char* name, std::vector<int> columns) {
  NewIndex i;
  i.name = name;
  i.columns = std::move(columns);
  return i;
}

// The system tables, in the order of their definition pages (2, 3, ...),
// each with its columns in the order Access numbers them.
std::vector<NewTable> SystemTables() {
  const auto kText = ColumnType::kText, kLong = ColumnType::kLong, kOle = ColumnType::kOle,
             kBin = ColumnType::kBinary, kMemo = ColumnType::kMemo;
  NewTable objects{"MSysObjects", true,
                   {Col("Id", kLong, 0, false), Col("ParentId", kLong), Col("Name", kText, 510),
                    Col("Type", ColumnType::kInteger), Col("DateCreate", ColumnType::kDateTime),
                    Col("DateUpdate", ColumnType::kDateTime), Col("Owner", kBin, 510), Col("Flags", kLong),
                    Col("Database", kMemo), Col("Connect", kMemo), Col("ForeignName", kText, 510),
                    Col("RmtInfoShort", kBin, 510), Col("RmtInfoLong", kOle), Col("Lv", kOle),
                    Col("LvProp", kOle), Col("LvModule", kOle), Col("LvExtra", kOle)},
                   {Idx("Id", {0}), Idx("ParentIdName", {1, 2})}};
  objects.indexes[0].primary = true;
  objects.indexes[1].unique = true;
  NewTable aces{"MSysACEs", true,
                {Col("ObjectId", kLong), Col("SID", kBin, 510), Col("ACM", kLong),
                 Col("FInheritable", ColumnType::kBoolean)},
                {Idx("ObjectId", {0})}};
  aces.indexes[0].required = true;
  NewTable queries{"MSysQueries", true,
                   {Col("ObjectId", kLong), Col("Attribute", ColumnType::kByte), Col("Order", kBin, 510),
                    Col("Name1", kText, 510), Col("Name2", kText, 510), Col("Expression", kMemo),
                    Col("Flag", ColumnType::kInteger), Col("LvExtra", kLong)},
                   {Idx("ObjectIdAttribute", {0, 1, 2})}};
  queries.indexes[0].primary = true;
  NewTable relationships{"MSysRelationships", true,
                         {Col("szRelationship", kText, 510), Col("grbit", kLong), Col("ccolumn", kLong),
                          Col("icolumn", kLong), Col("szObject", kText, 510), Col("szColumn", kText, 510),
                          Col("szReferencedObject", kText, 510), Col("szReferencedColumn", kText, 510)},
                         {Idx("szObject", {4}), Idx("szReferencedObject", {6}), Idx("szRelationship", {0})}};
  for (auto& i : relationships.indexes) i.ignore_nulls = true;
  return {objects, aces, queries, relationships};
}

// The header page. Bytes 0x18..0x97 are scrambled with RC4 under a fixed
// key; inside them sit the code page, the database key, the password (an
// empty one is stored as the creation date's whole days, repeated), the sort
// order and the creation date.
void BuildHeader(double created, uint8_t* page) {
  static constexpr char kMagic[] = "Standard Jet DB";
  page[1] = 0x01;
  std::memcpy(page + 4, kMagic, sizeof(kMagic));
  page[0x14] = 0x01;  // Jet 4
  constexpr size_t kMasked = 0x18;  // file offsets below, less this, index `plain`
  uint8_t plain[128] = {};
  Put16(plain + 0x3C - kMasked, kWesternCodePage);
  const uint32_t days = static_cast<uint32_t>(created);
  for (size_t i = 0; i < 40; i += 4) Put32(plain + 0x42 - kMasked + i, days);
  Put16(plain + 0x6E - kMasked, kGeneralSortOrder);
  std::memcpy(plain + 0x72 - kMasked, &created, sizeof(created));
  // RC4 keystream under the format's fixed key.
  uint8_t s[256];
  const uint8_t key[4] = {0xC7, 0xDA, 0x39, 0x6B};
  for (int i = 0; i < 256; ++i) s[i] = uint8_t(i);
  for (int i = 0, j = 0; i < 256; ++i) {
    j = (j + s[i] + key[i % 4]) & 0xFF;
    std::swap(s[i], s[j]);
  }
  for (size_t n = 0, i = 0, j = 0; n < sizeof(plain); ++n) {
    i = (i + 1) & 0xFF;
    j = (j + s[i]) & 0xFF;
    std::swap(s[i], s[j]);
    page[kMasked + n] = plain[n] ^ s[(s[i] + s[j]) & 0xFF];
  }
  // The per-user commit table, seeded the way an empty database fresh from
  // Access has it: a leading 1, then every two-byte slot holding 1 in its
  // high byte.
  for (size_t at = 0xE00; at < kPageSize; at += 2) page[at + 1] = 0x01;
  page[0xE00] = 0x01;
}

StoredRow EmptyInlineMap() {
  StoredRow r;
  r.bytes.assign(1 + 4 + kInlineMapBytes, 0);
  return r;
}

uint32_t RowPointer(uint32_t page, size_t row) { return page << 8 | static_cast<uint32_t>(row); }

void BuildLeaf(uint32_t owner, uint8_t* page) {
  page[0] = static_cast<uint8_t>(PageType::kIndexLeaf);
  page[1] = 0x01;
  Put16(page + 2, kPageSize - 0x1E0);
  Put32(page + 4, owner);
}

// Every page of the empty file: header, maps, definitions, empty index roots.
Status BuildPages(double created, std::vector<uint8_t>* file) {
  const std::vector<NewTable> tables = SystemTables();
  size_t index_count = 0;
  for (const auto& t : tables) index_count += t.indexes.size();
  const uint32_t first_root = kFirstTdefPage + static_cast<uint32_t>(tables.size());
  const uint32_t pages = first_root + static_cast<uint32_t>(index_count);
  file->assign(size_t(pages) * kPageSize, 0);
  BuildHeader(created, file->data());

  std::vector<StoredRow> map_rows{EmptyInlineMap()};  // row 0: the file's free pages
  uint32_t next_root = first_root;
  for (size_t n = 0; n < tables.size(); ++n) {
    const NewTable& t = tables[n];
    const uint32_t tdef_page = kFirstTdefPage + static_cast<uint32_t>(n);
    TdefPlacement where;
    where.usage_map = RowPointer(kMapPage, map_rows.size());
    map_rows.push_back(EmptyInlineMap());
    where.free_map = RowPointer(kMapPage, map_rows.size());
    map_rows.push_back(EmptyInlineMap());
    for (size_t i = 0; i < t.indexes.size(); ++i) {
      where.index_maps.push_back(RowPointer(kMapPage, map_rows.size()));
      StoredRow map = EmptyInlineMap();
      map.bytes[5 + next_root / 8] |= uint8_t(1u << (next_root % 8));  // owns its root
      map_rows.push_back(std::move(map));
      where.index_roots.push_back(next_root);
      BuildLeaf(tdef_page, file->data() + size_t(next_root) * kPageSize);
      ++next_root;
    }
    std::vector<uint8_t> tdef;
    JET_RETURN_IF_ERROR(EncodeTableDef(t, where, &tdef));
    if (TdefPageCount(tdef.size(), kPageSize) != 1) return Status::Corruption("a system table outgrew its page");
    const auto images = ChainTdefPages(tdef, {tdef_page}, kPageSize);
    std::memcpy(file->data() + size_t(tdef_page) * kPageSize, images[0].data(), kPageSize);
  }
  uint8_t* map_page = file->data() + size_t(kMapPage) * kPageSize;
  map_page[0] = static_cast<uint8_t>(PageType::kData);
  map_page[1] = 0x01;
  return StoreRows(map_rows, map_page, kPageSize);
}

struct CatalogEntry {
  int64_t id, parent;
  const char* name;
  int64_t type, flags;
  const Bytes& owner;
};

// The catalogue rows: containers, the database object and the system tables.
const std::vector<CatalogEntry>& CatalogEntries() {
  constexpr int64_t kContainer = kCatalogTypeContainer, kDatabase = kCatalogTypeDatabase, kTable = kCatalogTypeTable;
  static const std::vector<CatalogEntry> entries = {
      {kTablesContainerId, kRootContainerId, "Tables", kContainer, kSystemFlag, kEngineSid},
      {kDatabasesContainerId, kRootContainerId, "Databases", kContainer, kSystemFlag, kEngineSid},
      {kRelationshipsContainerId, kRootContainerId, "Relationships", kContainer, kSystemFlag, kEngineSid},
      {kDatabaseObject, kDatabasesContainerId, "MSysDb", kDatabase, kSystemFlag, kAdminSid},
      {2, kTablesContainerId, "MSysObjects", kTable, kSystemFlag, kEngineSid},
      {3, kTablesContainerId, "MSysACEs", kTable, kSystemFlag, kEngineSid},
      {4, kTablesContainerId, "MSysQueries", kTable, kSystemFlag, kEngineSid},
      {5, kTablesContainerId, "MSysRelationships", kTable, kSystemFlag, kEngineSid},
      // The containers Access adds for its own objects.
      {kSystemFlag + 0, kRootContainerId, "DataAccessPages", kContainer, 0, kAdminSid},
      {kSystemFlag + 1, kRootContainerId, "Forms", kContainer, 0, kAdminSid},
      {kSystemFlag + 2, kRootContainerId, "Modules", kContainer, 0, kAdminSid},
      {kSystemFlag + 3, kRootContainerId, "Reports", kContainer, 0, kAdminSid},
      {kSystemFlag + 4, kRootContainerId, "Scripts", kContainer, 0, kAdminSid},
      {kSystemFlag + 5, kRootContainerId, "SysRel", kContainer, 0, kAdminSid},
  };
  return entries;
}

struct AccessEntry {
  int64_t object;
  const Bytes& sid;
  int64_t rights;  // the ACM mask
  bool inherited;  // passed on to the objects made in a container
};

// The rights a new Access 2000 database grants on these objects (as its
// MSysACEs rows have them), less the group whose id each Access installation
// makes its own.
std::vector<AccessEntry> AccessEntries() {
  constexpr int64_t kAll = 0xFFFFF;
  std::vector<AccessEntry> aces = {
      {kTablesContainerId, kUsersGroupSid, 983294, true},
      {kTablesContainerId, kAdminSid, 1048319, true},
      {kTablesContainerId, kAdminsGroupSid, 1048319, true},
      {kDatabasesContainerId, kAdminSid, 393216, false},
      {kRelationshipsContainerId, kUsersGroupSid, 983294, true},
      {kRelationshipsContainerId, kAdminSid, 393217, false},
      {kRelationshipsContainerId, kAdminsGroupSid, kAll, true},
      {kDatabaseObject, kAdminSid, 393230, false},
      {kDatabaseObject, kAdminsGroupSid, 14, false},
      {2, kAdminSid, 393216, false},
      {2, kAdminsGroupSid, 20, false},
      {3, kAdminSid, 393216, false},
      {4, kAdminSid, 393216, false},
      {4, kAdminsGroupSid, 20, false},
      {5, kAdminSid, 917504, false},
      {5, kAdminsGroupSid, 20, false},
  };
  for (int64_t container = kSystemFlag; container <= kSystemFlag + 5; ++container) {
    for (const Bytes* sid : {&kAdminsGroupSid, &kAdminSid, &kUsersGroupSid}) aces.push_back({container, *sid, kAll, true});
  }
  return aces;
}

Row AccessRow(const TableDef& def, const AccessEntry& e) {
  Row row;
  for (const ColumnDef& c : def.columns) row.push_back(Value::Null(c.type));
  SetCatalogValue(def, "ObjectId", Value(ColumnType::kLong, e.object), &row);
  SetCatalogValue(def, "SID", Value(ColumnType::kBinary, e.sid), &row);
  SetCatalogValue(def, "ACM", Value(ColumnType::kLong, e.rights), &row);
  SetCatalogValue(def, "FInheritable", Value(ColumnType::kBoolean, e.inherited), &row);
  return row;
}

Row CatalogRow(const TableDef& def, const CatalogEntry& e, double created) {
  Row row = NewCatalogRow(def, e.id, e.parent, e.name, e.type, e.flags, created);
  SetCatalogValue(def, "Owner", Value(ColumnType::kBinary, e.owner), &row);
  if (e.id == kDatabaseObject) {
    // Access reads the file format it made from this property.
    const Bytes props = EncodePropertyBlob({{"", {{"AccessVersion", Value(ColumnType::kText, std::string("08.50"))}}}});
    SetCatalogValue(def, "LvProp", Value(ColumnType::kOle, props), &row);
  }
  return row;
}

Status LoadLayout(Pager* pager, const TextReader& text, uint32_t tdef_page, std::shared_ptr<const TableLayout>* out) {
  auto layout = std::make_shared<TableLayout>();
  JET_RETURN_IF_ERROR(ReadTableLayout(*pager, text, tdef_page, layout.get()));
  *out = std::move(layout);
  return Status::OK();
}

// The catalogue's rows and the rights on them, in one transaction.
Status FillCatalog(Pager* pager, FileSystem* fs, const std::string& path, double created) {
  TextReader text;
  std::shared_ptr<const TableLayout> objects, aces;
  JET_RETURN_IF_ERROR(LoadLayout(pager, text, kFirstTdefPage, &objects));
  JET_RETURN_IF_ERROR(LoadLayout(pager, text, kFirstTdefPage + 1, &aces));
  Writer writer(pager, &text, fs, path);
  for (const CatalogEntry& e : CatalogEntries()) {
    JET_RETURN_IF_ERROR(writer.Insert(objects, CatalogRow(*objects->def, e, created), nullptr));
  }
  for (const AccessEntry& e : AccessEntries()) {
    JET_RETURN_IF_ERROR(writer.Insert(aces, AccessRow(*aces->def, e), nullptr));
  }
  return writer.Commit();
}

}  // namespace

Status CreateDatabase(const std::string& path, const CreateOptions& options) {
  FileSystem* fs = options.file_system ? options.file_system : DefaultFileSystem();
  if (fs->Exists(path)) return Status::InvalidArgument("cannot create " + path + ": the file already exists");
  std::vector<uint8_t> bytes;
  JET_RETURN_IF_ERROR(BuildPages(options.created, &bytes));
  {
    std::unique_ptr<File> file;
    JET_RETURN_IF_ERROR(fs->Open(path, FileSystem::Mode::kCreate, &file));
    JET_RETURN_IF_ERROR(file->Write(0, bytes.data(), bytes.size()));
    JET_RETURN_IF_ERROR(file->Sync());
  }
  std::unique_ptr<File> file;
  JET_RETURN_IF_ERROR(fs->Open(path, FileSystem::Mode::kReadWrite, &file));
  std::unique_ptr<Pager> pager;
  JET_RETURN_IF_ERROR(Pager::OpenFile(std::move(file), &pager));
  Status s = FillCatalog(pager.get(), fs, path, options.created);
  if (!s.ok()) {
    pager.reset();
    fs->Remove(path);
    return Status::Corruption("cannot create " + path + ": " + s.message());
  }
  return Status::OK();
}

}  // namespace jet
