// New databases written from nothing: read back by our reader and by
// mdbtools, then changed by our writer with every index kept in step.
#include <gtest/gtest.h>

#include <cstdio>
#include <algorithm>

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
  {
    auto db = OpenForWriting(path);
    ASSERT_NE(db, nullptr);
    ASSERT_TRUE(db->BeginTransaction().ok());
    for (int i = 0; i < 300; ++i) {
      Row row{Value(ColumnType::kLong, int64_t(i * 7)), Value(ColumnType::kBoolean, i % 2 == 0),
              Value(ColumnType::kLong, int64_t(1000 - i)), Value::Null(ColumnType::kBinary)};
      Status s = db->InsertRow("MSysACEs", row);
      ASSERT_TRUE(s.ok()) << s.ToString();
    }
    ASSERT_TRUE(db->Commit().ok());
  }
  ExpectIndexesInStep(path, "MSysACEs");
  EXPECT_EQ(MdbExportRowCount(path, "MSysACEs"), 300);
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
