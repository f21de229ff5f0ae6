// Local tables replaced by links to a server's tables, and local tables
// removed: what our reader and mdbtools see afterwards, refusals that leave
// the file alone, crashes that leave one catalogue or the other, and pages
// that removed tables give back.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "jet/create.h"
#include "jet/database.h"
#include "jet/links.h"
#include "storage/fault_file_system.h"
#include "storage/journal.h"
#include "storage/table_layout.h"
#include "test_support.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

constexpr char kConnect[] = "ODBC;DRIVER={PostgreSQL Unicode};SERVER=db.example;DATABASE=survey;UID=me";

std::string CatchDatabase(const std::string& name) {
  const std::string path = ::testing::TempDir() + "/" + name;
  std::filesystem::remove(path);
  EXPECT_TRUE(CreateDatabase(path, CreateOptions{}).ok());
  TableSpec gear{"tblGearType", {{"GearTypeID", ColumnType::kLong}, {"GearName", ColumnType::kText, 30}}, {}, ""};
  gear.indexes = {IndexSpec("PrimaryKey", {"GearTypeID"}, true)};
  TableSpec catches{"tblCatch",
                    {{"CatchID", ColumnType::kLong}, {"GearTypeID", ColumnType::kLong},
                     {"Notes", ColumnType::kMemo}, {"Weight", ColumnType::kDouble}},
                    {IndexSpec("PrimaryKey", {"CatchID"}, true), IndexSpec("GearTypeID", {"GearTypeID"})},
                    ""};
  EXPECT_TRUE(CreateTables(path, {gear, catches}, CreateOptions{}).ok());
  auto db = OpenForWriting(path);
  EXPECT_TRUE(db && db->BeginTransaction().ok());
  for (int g = 1; g <= 3; ++g) {
    EXPECT_TRUE(db->InsertRow("tblGearType", {Value(ColumnType::kLong, int64_t(g)),
                                              Value(ColumnType::kText, "Gear " + std::to_string(g))}).ok());
  }
  for (int i = 0; i < 400; ++i) {
    // Long notes on some rows put values on long-value pages of their own.
    const std::string notes = i % 7 ? "net " + std::to_string(i) : std::string(1500 + i, 'n');
    EXPECT_TRUE(db->InsertRow("tblCatch", {Value(ColumnType::kLong, int64_t(i)), Value(ColumnType::kLong, int64_t(1 + i % 3)),
                                           Value(ColumnType::kMemo, notes), Value(ColumnType::kDouble, i * 0.25)}).ok());
  }
  EXPECT_TRUE(db->Commit().ok());
  return path;
}

OdbcLink Link(const std::string& name, const std::string& keep_local_as) {
  OdbcLink link;
  link.name = name;
  link.connect = kConnect;
  link.foreign_name = "public." + name;
  link.keep_local_as = keep_local_as;
  return link;
}

std::string Export(const std::string& path, const std::string& table) {
  int code = 0;
  const std::string out = RunCommand("mdb-export '" + path + "' '" + table + "' 2>&1", &code);
  EXPECT_EQ(code, 0) << out;
  return out;
}

size_t Count(const std::string& text, const std::string& piece) {
  size_t n = 0;
  for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++n;
  return n;
}

// A table as our reader and mdb-export see it.
struct Contents {
  std::vector<Row> rows;
  std::string exported;
};

Contents Read(const std::string& path, const std::string& table) {
  auto db = OpenForReading(path);
  return {db ? AllRows(*db, table) : std::vector<Row>{}, Export(path, table)};
}

// The link, the renamed table with every row, and each tool's view of them.
void ExpectReplaced(const std::string& path, const std::string& table, const std::string& kept, const Contents& was) {
  auto db = OpenForReading(path);
  ASSERT_TRUE(db && db->FindTable(table));
  const CatalogEntry& link = *db->FindTable(table);
  EXPECT_EQ(link.kind, ObjectKind::kLinkedOdbc);
  EXPECT_EQ(link.raw_type, 4);
  EXPECT_EQ(link.connect, kConnect);
  EXPECT_EQ(link.foreign_name, "public." + table);
  EXPECT_TRUE(link.database.empty());
  EXPECT_EQ(link.flags, 0x00100000u);
  EXPECT_EQ(AllRows(*db, kept), was.rows);
  EXPECT_EQ(Export(path, kept), was.exported);
  const std::string tables = RunCommand("mdb-tables -1 '" + path + "' 2>&1");
  EXPECT_NE(tables.find(kept + "\n"), std::string::npos) << tables;
  // mdbtools files catalogue type 4 with reports (type & 0x7F).
  const std::string links = RunCommand("mdb-tables -1 -t report '" + path + "' 2>&1");
  EXPECT_NE(links.find(table + "\n"), std::string::npos) << links;
  const std::string objects = Export(path, "MSysObjects");
  EXPECT_NE(objects.find(std::string("\"") + kConnect + "\""), std::string::npos) << objects;
  EXPECT_NE(objects.find("\"public." + table + "\""), std::string::npos);
  ExpectIndexesInStep(path, "MSysObjects");

  // The link has a definition of its own with the replaced table's columns
  // and keys, as Access keeps the server table's with a link.
  std::shared_ptr<const TableDef> local;
  ASSERT_TRUE(db->GetTableDef(kept, &local).ok());
  std::unique_ptr<Pager> pager;
  ASSERT_TRUE(Pager::Open(path, &pager).ok());
  TableLayout linked;
  ASSERT_TRUE(ReadTableLayout(*pager, TextReader(), link.tdef_page(), &linked).ok());
  ASSERT_EQ(linked.def->columns.size(), local->columns.size());
  for (size_t i = 0; i < local->columns.size(); ++i) {
    EXPECT_EQ(linked.def->columns[i].name, local->columns[i].name);
    EXPECT_EQ(linked.def->columns[i].type, local->columns[i].type);
    EXPECT_EQ(linked.def->columns[i].size, local->columns[i].size);
  }
  EXPECT_EQ(std::count_if(linked.def->indexes.begin(), linked.def->indexes.end(), [](auto& i) { return i.primary; }), 1);
  EXPECT_EQ(linked.def->stored_row_count, 0u);
}

TEST(OdbcLinkWrites, LinksReplaceTablesOfANewDatabaseAndOfAnAccessFile) {
  const std::string made = CatchDatabase("links_new.mdb");
  const Contents catches = Read(made, "tblCatch");
  auto open_reader = OpenForReading(made);
  ASSERT_TRUE(ReplaceTablesByOdbcLinks(made, {Link("tblCatch", "tblCatch_local")}, CreateOptions{}).ok());
  ExpectReplaced(made, "tblCatch", "tblCatch_local", catches);
  ASSERT_TRUE(open_reader->Refresh().ok());
  EXPECT_EQ(open_reader->FindTable("tblCatch")->kind, ObjectKind::kLinkedOdbc);

  // Access's Northwind: relationships name Orders, and follow it.
  const std::string path = ScratchCopy("npsmith88-Northwind.mdb", "links_northwind.mdb");
  const Contents orders = Read(path, "Orders");
  const std::string relations = Export(path, "MSysRelationships");
  OdbcLink log = Link("tblShipLog", "");
  log.connect = std::string(kConnect) + ";PWD=secret";
  log.columns = {{"ShipID", ColumnType::kLong}, {"Shipped", ColumnType::kDateTime}};
  log.indexes = {IndexSpec("PrimaryKey", {"ShipID"}, true)};
  Status s = ReplaceTablesByOdbcLinks(path, {Link("Orders", "Orders_local"), log}, CreateOptions{});
  ASSERT_TRUE(s.ok()) << s.ToString();
  ExpectReplaced(path, "Orders", "Orders_local", orders);
  const std::string renamed = Export(path, "MSysRelationships");
  EXPECT_EQ(Count(renamed, "\"Orders\""), 0u) << renamed;
  EXPECT_EQ(Count(renamed, "\"Orders_local\""), Count(relations, "\"Orders\""));
  EXPECT_GT(Count(relations, "\"Orders\""), 0u);
  auto db = OpenForReading(path);
  EXPECT_EQ(db->FindTable("tblShipLog")->kind, ObjectKind::kLinkedOdbc);
  EXPECT_EQ(db->FindTable("tblShipLog")->flags, 0x20100000u);  // it keeps its password
}

TEST(OdbcLinkWrites, RefusalsLeaveTheFileAlone) {
  const std::string path = CatchDatabase("links_refused.mdb");
  QuerySpec query;
  query.name = "qryCatch";
  query.from = {{"tblCatch", ""}};
  query.columns = {{"CatchID", "", QuerySpec::Role::kPlain}};
  ASSERT_TRUE(CreateQueries(path, {query}, CreateOptions{}).ok());
  const std::vector<uint8_t> before = FileBytes(path);
  const std::pair<const char*, std::vector<OdbcLink>> links[] = {
      {"already exists", {Link("tblCatch", "")}},
      {"already exists", {Link("qryCatch", "")}},
      {"no local table", {Link("tblMissing", "tblMissing_local")}},
      {"no local table", {Link("qryCatch", "qryCatch_local")}},
      {"already taken", {Link("tblCatch", "tblGearType")}},
      {"already taken", {Link("tblCatch", "x"), Link("tblGearType", "X")}},
      {"appears twice", {Link("tblCatch", "a"), Link("tblCatch", "b")}},
      {"names no columns", {Link("tblShipLog", "")}},
  };
  for (const auto& [why, wanted] : links) {
    Status s = ReplaceTablesByOdbcLinks(path, wanted, CreateOptions{});
    EXPECT_EQ(s.code(), Status::Code::kInvalidArgument) << why;
    EXPECT_NE(s.message().find(why), std::string::npos) << s.ToString();
    EXPECT_EQ(FileBytes(path), before) << why;
  }
  const std::pair<const char*, std::vector<std::string>> drops[] = {
      {"no table", {"tblMissing"}},
      {"system table", {"MSysACEs"}},
      {"named twice", {"tblCatch", "TBLCATCH"}},
  };
  for (const auto& [why, names] : drops) {
    Status s = DropTables(path, names, CreateOptions{});
    EXPECT_NE(s.message().find(why), std::string::npos) << s.ToString();
    EXPECT_EQ(FileBytes(path), before) << why;
  }
  // Relationships keep their tables: Northwind's Orders cannot go.
  const std::string northwind = ScratchCopy("npsmith88-Northwind.mdb", "drop_related.mdb");
  const std::vector<uint8_t> original = FileBytes(northwind);
  Status s = DropTables(northwind, {"Orders"}, CreateOptions{});
  EXPECT_NE(s.message().find("relationship"), std::string::npos) << s.ToString();
  EXPECT_EQ(FileBytes(northwind), original);
}

// Object names and kinds, the catalogue as a user sees it.
std::vector<std::pair<std::string, ObjectKind>> UserObjects(const std::string& path) {
  std::vector<std::pair<std::string, ObjectKind>> out;
  auto db = OpenForReading(path);
  if (!db) return out;
  for (const CatalogEntry& e : db->catalog()) {
    if (!e.system && e.parent_id == 0x0F000001) out.emplace_back(e.name, e.kind);
  }
  std::sort(out.begin(), out.end());
  return out;
}

void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

TEST(OdbcLinkWrites, APowerLossLeavesTheOldOrTheNewCatalogue) {
  const std::string made = CatchDatabase("links_crash_source.mdb");
  const std::vector<uint8_t> original = FileBytes(made);
  const auto old_objects = UserObjects(made);
  const std::vector<Row> old_rows = Read(made, "tblCatch").rows;
  ASSERT_TRUE(ReplaceTablesByOdbcLinks(made, {Link("tblCatch", "tblCatch_local")}, CreateOptions{}).ok());
  const auto new_objects = UserObjects(made);
  ASSERT_NE(old_objects, new_objects);

  const std::string dir = ::testing::TempDir() + "jet-link-crash/";
  std::filesystem::create_directories(dir);
  const std::string path = dir + "db.mdb";
  int total = -1;
  for (int crash_at = 0; total < 0 || crash_at <= total; ++crash_at) {
    FaultFileSystem fs;
    fs.AddFile(path, original);
    CreateOptions options;
    options.file_system = &fs;
    if (total >= 0) fs.CrashAfter(crash_at);
    Status s = ReplaceTablesByOdbcLinks(path, {Link("tblCatch", "tblCatch_local")}, options);
    if (total < 0) {
      ASSERT_TRUE(s.ok()) << s.ToString();
      total = fs.operations();
      continue;
    }
    for (uint32_t seed = 0; seed < 4; ++seed) {
      SCOPED_TRACE("power lost after " + std::to_string(crash_at) + " of " + std::to_string(total) + ", seed " +
                   std::to_string(seed));
      for (const auto& p : std::filesystem::directory_iterator(dir)) std::filesystem::remove(p.path());
      for (const auto& [name, bytes] : fs.PowerLossImage(seed)) WriteFile(name, bytes);
      OpenForWriting(path).reset();  // puts right an interrupted commit
      const auto objects = UserObjects(path);
      ASSERT_TRUE(objects == old_objects || objects == new_objects) << objects.size() << " objects, a mix";
      auto db = OpenForReading(path);
      EXPECT_EQ(AllRows(*db, objects == old_objects ? "tblCatch" : "tblCatch_local"), old_rows);
    }
  }
}

// The MSysACEs rows that give rights on object `id`.
size_t Rights(Database& db, int32_t id) {
  size_t n = 0;
  std::shared_ptr<const TableDef> def;
  EXPECT_TRUE(db.GetTableDef("MSysACEs", &def).ok());
  const int column = def->FindColumn("ObjectId");
  for (const Row& row : AllRows(db, "MSysACEs")) {
    const int64_t* object = row[column].get_if<int64_t>();
    n += object && *object == id;
  }
  return n;
}

TEST(OdbcLinkWrites, DroppedTablesGoAndGiveTheirPagesBack) {
  for (const std::string& fixture : {std::string(), std::string("psc-adoquery-Northwind.mdb")}) {
    SCOPED_TRACE(fixture.empty() ? "new database" : fixture);
    const std::string path = fixture.empty() ? CatchDatabase("drop_new.mdb") : ScratchCopy(fixture, "drop_fixture.mdb");
    const std::string gone = fixture.empty() ? "tblCatch" : "Categories";
    const std::string kept = fixture.empty() ? "tblGearType" : "Customers";
    const std::string kept_rows = Export(path, kept);
    const auto size_before = std::filesystem::file_size(path);
    const int32_t id = OpenForReading(path)->FindTable(gone)->id;
    EXPECT_EQ(Rights(*OpenForReading(path), id) > 0, !fixture.empty());  // Access keeps rights there
    Status s = DropTables(path, {gone}, CreateOptions{});
    ASSERT_TRUE(s.ok()) << s.ToString();
    EXPECT_EQ(std::filesystem::file_size(path), size_before);
    {
      auto db = OpenForReading(path);
      EXPECT_EQ(db->FindTable(gone), nullptr);
      EXPECT_EQ(Rights(*db, id), 0u);
    }
    const std::string tables = RunCommand("mdb-tables -1 '" + path + "' 2>&1");
    EXPECT_EQ(tables.find(gone + "\n"), std::string::npos) << tables;
    EXPECT_NE(tables.find(kept + "\n"), std::string::npos) << tables;
    EXPECT_EQ(Export(path, kept), kept_rows);
    ExpectIndexesInStep(path, "MSysObjects");

    // The pages it gave back take a new table and its rows: the file stays its size.
    TableSpec again{"tblAgain", {{"ID", ColumnType::kLong}, {"Notes", ColumnType::kMemo}}, {IndexSpec("PrimaryKey", {"ID"}, true)}, ""};
    ASSERT_TRUE(CreateTables(path, {again}, CreateOptions{}).ok());
    {
      auto db = OpenForWriting(path);
      ASSERT_TRUE(db->BeginTransaction().ok());
      for (int i = 0; i < 40; ++i) {
        ASSERT_TRUE(db->InsertRow("tblAgain", {Value(ColumnType::kLong, int64_t(i)),
                                               Value(ColumnType::kMemo, std::string(200, 'a'))}).ok());
      }
      ASSERT_TRUE(db->Commit().ok());
    }
    EXPECT_EQ(std::filesystem::file_size(path), size_before);
    EXPECT_EQ(Export(path, kept), kept_rows);
    ExpectIndexesInStep(path, "tblAgain");
  }
}

}  // namespace
}  // namespace jet::testing
