// Every user table of every real Access file we may write, changed through
// the writer the way a user's edits change it: one row's text rewritten
// (through an index where the table has one), one row deleted and then put
// back. Afterwards each index agrees with the rows, mdbtools reads the same
// number of rows and sees the new text, and no other table has moved. Then
// each table is emptied and filled again in one transaction.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

std::vector<std::string> JetFixtures() {
  std::vector<std::string> files;
  for (const auto& e : std::filesystem::directory_iterator(std::string(TABULON_FIXTURES) + "/jet")) {
    if (e.path().extension() == ".mdb") files.push_back(e.path().filename().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<std::string> UserTables(Database& db) {
  std::vector<std::string> tables;
  for (const auto& entry : db.catalog()) {
    if (entry.kind == ObjectKind::kTable && !entry.system) tables.push_back(entry.name);
  }
  return tables;
}

// Columns whose values other rows depend on: unique keys and the columns
// of relationships, where a new value would be refused or orphan rows.
bool InKeyIndex(const TableDef& def, int column) {
  for (const IndexDef& index : def.indexes) {
    if (!index.unique && !index.primary && !index.foreign_key) continue;
    for (const IndexColumn& c : index.columns)
      if (c.column == column) return true;
  }
  return false;
}

bool InAnyIndex(const TableDef& def, int column) {
  for (const IndexDef& index : def.indexes)
    for (const IndexColumn& c : index.columns)
      if (c.column == column) return true;
  return false;
}

// The text column to rewrite: one in a plain index if there is one, so the
// index is rewritten too, else any text column outside key indexes; -1
// when the table has none.
int TextColumnToRewrite(const TableDef& def) {
  int fallback = -1;
  for (size_t i = 0; i < def.columns.size(); ++i) {
    const int c = static_cast<int>(i);
    if (def.columns[i].type != ColumnType::kText || InKeyIndex(def, c)) continue;
    if (InAnyIndex(def, c)) return c;
    if (fallback < 0) fallback = c;
  }
  return fallback;
}

std::map<std::string, std::vector<Row>> Contents(Database& db) {
  std::map<std::string, std::vector<Row>> contents;
  for (const auto& table : UserTables(db)) contents[table] = AllRows(db, table);
  return contents;
}

Status InOwnTransaction(Database& db, const std::function<Status()>& change) {
  JET_RETURN_IF_ERROR(db.BeginTransaction());
  Status s = change();
  if (!s.ok()) {
    (void)db.Rollback();
    return s;
  }
  return db.Commit();
}

struct SweepCounts {
  int tables = 0, rewritten = 0, deleted_and_restored = 0, refused_by_relationships = 0;
};

// Changes `table` of the writable file at `path` and checks the result.
void SweepTable(const std::string& path, const std::string& table, SweepCounts* counts) {
  SCOPED_TRACE(table);
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  const auto before = Contents(*db);
  std::vector<RowId> ids;
  const std::vector<Row> rows = AllRows(*db, table, &ids);
  if (rows.empty()) return;
  ++counts->tables;
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef(table, &def).ok());

  std::string marker;
  const int text = TextColumnToRewrite(*def);
  Row rewritten = rows.front();
  if (text >= 0) {
    const size_t room = std::max<size_t>(1, def->columns[text].size / 2);
    marker = std::string("Swept ") + std::to_string(counts->tables);
    marker.resize(std::min(marker.size(), room));
    rewritten[text] = Value(ColumnType::kText, marker);
  }
  Status s = InOwnTransaction(*db, [&] { return db->UpdateRow(table, ids.front(), rewritten); });
  ASSERT_TRUE(s.ok()) << "rewriting a row: " << s.ToString();
  counts->rewritten += text >= 0;

  // Delete the last row and put it back, each in a transaction of its own.
  const Row& last = ids.size() > 1 ? rows.back() : rewritten;
  s = InOwnTransaction(*db, [&] { return db->DeleteRow(table, ids.back()); });
  if (s.jet_error() == 3200) {
    ++counts->refused_by_relationships;
  } else {
    ASSERT_TRUE(s.ok()) << "deleting a row: " << s.ToString();
    ExpectIndexesInStep(path, table);  // also when that was the table's only row
    s = InOwnTransaction(*db, [&] { return db->InsertRow(table, last); });
    ASSERT_TRUE(s.ok()) << "putting the row back: " << s.ToString();
    ++counts->deleted_and_restored;
  }
  db.reset();

  ExpectIndexesInStep(path, table);
  auto reader = OpenForReading(path);
  ASSERT_TRUE(reader);
  auto after = Contents(*reader);
  EXPECT_EQ(after[table].size(), rows.size());
  EXPECT_EQ(MdbExportRowCount(path, table), static_cast<long>(rows.size()));
  if (!marker.empty()) {
    EXPECT_NE(MdbExport(path, table).find(marker), std::string::npos);
  }
  for (const auto& [other, other_rows] : before) {
    if (other == table) continue;
    EXPECT_TRUE(after[other] == other_rows) << other << " changed";
  }
}

// Empties `table` and fills it again in one transaction: every index
// collapses to an empty root and grows back.
void EmptyAndRefill(const std::string& path, const std::string& table, SweepCounts* counts) {
  SCOPED_TRACE(table);
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  std::vector<RowId> ids;
  const std::vector<Row> rows = AllRows(*db, table, &ids);
  if (rows.empty()) return;
  Status s = InOwnTransaction(*db, [&] {
    for (const RowId& id : ids) JET_RETURN_IF_ERROR(db->DeleteRow(table, id));
    for (const Row& row : rows) JET_RETURN_IF_ERROR(db->InsertRow(table, row));
    return Status::OK();
  });
  if (s.jet_error() == 3200) {
    ++counts->refused_by_relationships;
    return;
  }
  ASSERT_TRUE(s.ok()) << s.ToString();
  ++counts->deleted_and_restored;
  db.reset();
  ExpectIndexesInStep(path, table);
  auto reader = OpenForReading(path);
  ASSERT_TRUE(reader);
  EXPECT_EQ(AllRows(*reader, table).size(), rows.size());
  EXPECT_EQ(MdbExportRowCount(path, table), static_cast<long>(rows.size()));
}

class EveryWritableFixture : public ::testing::TestWithParam<std::string> {};

TEST_P(EveryWritableFixture, EachTableTakesARewriteADeleteAndAnInsert) {
  const std::string file = GetParam();
  const std::string path = ScratchCopy(file, "sweep-" + file);
  std::unique_ptr<Database> db;
  OpenOptions writable;
  writable.writable = true;
  Status s = Database::Open(path, writable, &db);
  if (!s.ok()) {
    // Only files this engine must not write are refused: Access 97 files and
    // databases in another sort order, each with its reason.
    EXPECT_TRUE(s.code() == Status::Code::kReadOnly || s.code() == Status::Code::kUnsupported) << s.ToString();
    EXPECT_FALSE(s.message().empty());
    return;
  }
  const std::vector<std::string> tables = UserTables(*db);
  db.reset();
  SweepCounts counts;
  for (const auto& table : tables) SweepTable(path, table, &counts);
  for (const auto& table : tables) EmptyAndRefill(path, table, &counts);
  RecordProperty("tables", counts.tables);
  std::printf("%s: %d tables, %d rewritten, %d deleted and restored, %d kept by relationships\n", file.c_str(),
              counts.tables, counts.rewritten, counts.deleted_and_restored, counts.refused_by_relationships);
}

INSTANTIATE_TEST_SUITE_P(Fixtures, EveryWritableFixture, ::testing::ValuesIn(JetFixtures()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                           std::string name = info.param;
                           for (char& c : name)
                             if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                           return name;
                         });

}  // namespace
}  // namespace jet::testing
