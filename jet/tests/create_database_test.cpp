// New databases written from nothing: read back by our reader and by
// mdbtools, then changed by our writer with every index kept in step.
#include <gtest/gtest.h>

#include <cstdio>
#include <algorithm>
#include <map>
#include <set>

#include "jet/create.h"
#include "jet/database.h"
#include "test_support.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

std::string NewPath(const std::string& name) {
  const std::string path = ::testing::TempDir() + "/" + name;
  std::remove(path.c_str());
  std::remove((path + "-journal").c_str());
  return path;
}

std::string CreateFresh(const std::string& name) {
  const std::string path = NewPath(name);
  Status s = CreateDatabase(path, CreateOptions{});
  EXPECT_TRUE(s.ok()) << s.ToString();
  return path;
}

TEST(CreateDatabase, OurReaderSeesTheSystemTablesAndContainers) {
  const std::string path = CreateFresh("create_catalog.mdb");
  auto db = OpenForReading(path);
  ASSERT_NE(db, nullptr);
  EXPECT_EQ(db->format(), FileFormat::kJet4);
  EXPECT_EQ(db->sort_order(), 0x0409);
  for (const char* table : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"}) {
    std::shared_ptr<const TableDef> def;
    Status s = db->GetTableDef(table, &def);
    ASSERT_TRUE(s.ok()) << table << ": " << s.ToString();
    EXPECT_FALSE(def->columns.empty()) << table;
  }
  std::vector<std::string> names;
  for (const CatalogEntry& e : db->catalog()) names.push_back(e.name);
  for (const char* name : {"Tables", "Databases", "Relationships", "MSysDb", "Forms", "Reports", "Modules"}) {
    EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
  }
  uint64_t count = 0;
  ASSERT_TRUE(db->CountRows("MSysObjects", &count).ok());
  EXPECT_EQ(count, 14u);
  ExpectIndexesInStep(path, "MSysObjects");
}

TEST(CreateDatabase, MdbtoolsListsAndExportsIt) {
  const std::string path = CreateFresh("create_mdbtools.mdb");
  int code = -1;
  const std::string tables = RunCommand("mdb-tables -S -1 '" + path + "' 2>&1", &code);
  EXPECT_EQ(code, 0) << tables;
  for (const char* t : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"}) {
    EXPECT_NE(tables.find(t), std::string::npos) << tables;
  }
  EXPECT_EQ(MdbExportRowCount(path, "MSysObjects"), 14);
  const std::string exported = MdbExport(path, "MSysObjects");
  EXPECT_NE(exported.find("\"MSysRelationships\""), std::string::npos) << exported;
  const std::string schema = RunCommand("mdb-schema '" + path + "' 2>&1", &code);
  EXPECT_EQ(code, 0) << schema;
}

TEST(CreateDatabase, TheWriterChangesASystemTableWithItsIndexesInStep) {
  const std::string path = CreateFresh("create_write.mdb");
  const long rights = MdbExportRowCount(path, "MSysACEs");
  {
    auto db = OpenForWriting(path);
    ASSERT_NE(db, nullptr);
    ASSERT_TRUE(db->BeginTransaction().ok());
    for (int i = 0; i < 300; ++i) {
      // In the order Access numbers the columns: ObjectId, SID, ACM, FInheritable.
      Row row{Value(ColumnType::kLong, int64_t(1000 - i)), Value::Null(ColumnType::kBinary),
              Value(ColumnType::kLong, int64_t(i * 7)), Value(ColumnType::kBoolean, i % 2 == 0)};
      Status s = db->InsertRow("MSysACEs", row);
      ASSERT_TRUE(s.ok()) << s.ToString();
    }
    ASSERT_TRUE(db->Commit().ok());
  }
  ExpectIndexesInStep(path, "MSysACEs");
  EXPECT_EQ(MdbExportRowCount(path, "MSysACEs"), rights + 300);
}

// What Access itself adds to a database it made: the document properties
// and layout its own windows keep, and the table of its forms' and modules'
// private storage.
const std::set<std::string> kMadeByAccessItself = {"AccessLayout", "SummaryInfo", "UserDefined", "MSysAccessObjects"};

std::string Hex(const Value& v) {
  std::string out;
  if (v.is_null()) return out;
  for (uint8_t b : std::get<Bytes>(v.data())) out += "0123456789abcdef"[b >> 4], out += "0123456789abcdef"[b & 15];
  return out;
}

// Each catalogue row's identity, place, kind, flags and owner, by name.
std::map<std::string, std::string> CatalogueStructure(const std::string& path) {
  auto db = OpenForReading(path);
  std::shared_ptr<const TableDef> def;
  EXPECT_TRUE(db->GetTableDef("MSysObjects", &def).ok());
  std::map<std::string, std::string> rows;
  for (const Row& r : AllRows(*db, "MSysObjects")) {
    auto field = [&](const char* column) { return r[def->FindColumn(column)]; };
    const std::string name = field("Name").as_text();
    if (kMadeByAccessItself.count(name)) continue;
    rows[name] = std::to_string(field("Id").as_int()) + " in " + std::to_string(field("ParentId").as_int()) +
                 " type " + std::to_string(field("Type").as_int()) + " flags " +
                 std::to_string(field("Flags").as_int()) + " owner " + Hex(field("Owner"));
  }
  return rows;
}

// The rights granted: object, security id, mask, inheritance. Ids longer
// than two bytes belong to the installation that made the file.
std::multiset<std::string> Rights(const std::string& path, const std::set<int64_t>& objects) {
  auto db = OpenForReading(path);
  std::shared_ptr<const TableDef> def;
  EXPECT_TRUE(db->GetTableDef("MSysACEs", &def).ok());
  std::multiset<std::string> rights;
  for (const Row& r : AllRows(*db, "MSysACEs")) {
    auto field = [&](const char* column) { return r[def->FindColumn(column)]; };
    const std::string sid = Hex(field("SID"));
    if (sid.size() > 4 || !objects.count(field("ObjectId").as_int())) continue;
    rights.insert(std::to_string(field("ObjectId").as_int()) + " " + sid + " " +
                  std::to_string(field("ACM").as_int()) + (field("FInheritable").as_bool() ? " inherited" : ""));
  }
  return rights;
}

std::string MsysDbProperties(const std::string& path) {
  auto db = OpenForReading(path);
  std::shared_ptr<const TableDef> def;
  EXPECT_TRUE(db->GetTableDef("MSysObjects", &def).ok());
  for (const Row& r : AllRows(*db, "MSysObjects")) {
    if (r[def->FindColumn("Name")].as_text() == "MSysDb") return Hex(r[def->FindColumn("LvProp")]);
  }
  return "";
}

TEST(CreateDatabase, ItsCatalogueHasTheStructureOfOneAccessMade) {
  const std::string ours = CreateFresh("create_like_access.mdb");
  const std::string access = FixturePath("jackcess-empty.mdb");
  const std::map<std::string, std::string> structure = CatalogueStructure(ours);
  EXPECT_EQ(structure.size(), 14u);
  EXPECT_EQ(structure, CatalogueStructure(access));

  std::set<int64_t> objects;
  {
    auto db = OpenForReading(ours);
    for (const CatalogEntry& e : db->catalog()) objects.insert(e.id);
  }
  EXPECT_EQ(Rights(ours, objects), Rights(access, objects));
  EXPECT_EQ(Rights(ours, objects).size(), 34u);

  // The database object names the file format Access reads it as: the
  // property's name and its value block are as Access writes them.
  const std::string version = MsysDbProperties(ours);
  for (const char* part : {"410063006300650073007300560065007200730069006f006e",  // "AccessVersion"
                           "1200000a00000a00300038002e0035003000"}) {              // Text "08.50"
    EXPECT_NE(version.find(part), std::string::npos) << part;
    EXPECT_NE(MsysDbProperties(access).find(part), std::string::npos) << part;
  }

  // mdbtools lists the same system tables, but for Access's own one.
  auto listed = [](const std::string& path) { return RunCommand("mdb-tables -S -1 '" + path + "' 2>/dev/null"); };
  std::string access_tables = listed(access);
  access_tables.erase(access_tables.find("MSysAccessObjects\n"), std::string("MSysAccessObjects\n").size());
  EXPECT_EQ(listed(ours), access_tables);
  for (const char* table : {"MSysObjects", "MSysACEs", "MSysQueries", "MSysRelationships"}) {
    EXPECT_EQ(RunCommand("mdb-schema -T " + std::string(table) + " '" + ours + "' 2>&1"),
              RunCommand("mdb-schema -T " + std::string(table) + " '" + access + "' 2>&1"))
        << table;
  }
}

TEST(CreateDatabase, RefusesAnExistingFileAndLeavesItAlone) {
  const std::string path = CreateFresh("create_twice.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  Status s = CreateDatabase(path, CreateOptions{});
  EXPECT_FALSE(s.ok());
  EXPECT_NE(s.message().find("already exists"), std::string::npos) << s.ToString();
  EXPECT_EQ(FileBytes(path), before);
}

TEST(CreateDatabase, SameInputsGiveTheSameBytes) {
  const std::string a = CreateFresh("create_same_a.mdb");
  const std::string b = CreateFresh("create_same_b.mdb");
  EXPECT_EQ(FileBytes(a), FileBytes(b));
}

}  // namespace
}  // namespace jet::testing
