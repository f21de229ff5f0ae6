// Row changes written to copies of real Access files, read back by our reader
// and by mdbtools, with every index checked against the rows.
#include <gtest/gtest.h>

#include <algorithm>

#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

constexpr char kReports[] = "tblExportableResults";

Row Report(const std::string& abbreviation, const std::string& description) {
  return {Value::Null(ColumnType::kLong), Value(ColumnType::kText, abbreviation),
          Value(ColumnType::kDateTime, DateTime{45000.5}), Value(ColumnType::kText, std::string("Ana Núñez")),
          Value(ColumnType::kMemo, description)};
}

std::string Text(size_t length, char first) {
  std::string s;
  for (size_t i = 0; i < length; ++i) s.push_back(static_cast<char>(first + i % 23));
  return s;
}

const Row* FindByText(const std::vector<Row>& rows, int column, const std::string& text) {
  for (const Row& r : rows) {
    if (!r[column].is_null() && r[column].as_text() == text) return &r;
  }
  return nullptr;
}

TEST(WriterRows, InsertsRowsWithEveryLongValueFormAndKeepsThePrimaryKey) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "insert.mdb");
  int64_t max_before = 0;
  {
    auto db = OpenForReading(path);
    for (const Row& r : AllRows(*db, kReports)) max_before = std::max(max_before, r[0].as_int());
  }
  const std::string single = Text(3000, 'a');   // one long-value row
  const std::string chain = Text(20000, 'A');   // a chain over several pages
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    ASSERT_TRUE(db->BeginTransaction().ok());
    RowId id;
    for (const auto& [name, memo] : std::vector<std::pair<std::string, std::string>>{
             {"inline", "short memo"}, {"single", single}, {"chain", chain}, {"empty", ""}}) {
      Status s = db->InsertRow(kReports, Report(name, memo), &id);
      ASSERT_TRUE(s.ok()) << s.ToString();
    }
    // The transaction's own rows are visible to its reads before commit.
    EXPECT_EQ(AllRows(*db, kReports).size(), 11u);
    Status s = db->Commit();
    ASSERT_TRUE(s.ok()) << s.ToString();
  }
  auto db = OpenForReading(path);
  const std::vector<Row> rows = AllRows(*db, kReports);
  ASSERT_EQ(rows.size(), 11u);
  const Row* r = FindByText(rows, 1, "chain");
  ASSERT_TRUE(r);
  EXPECT_EQ((*r)[4].as_text(), chain);
  EXPECT_EQ((*r)[0].as_int(), max_before + 3);
  EXPECT_EQ((*r)[3].as_text(), "Ana Núñez");
  EXPECT_EQ((*r)[2].as_datetime().serial, 45000.5);
  EXPECT_EQ(FindByText(rows, 1, "single")->at(4).as_text(), single);
  EXPECT_EQ(FindByText(rows, 1, "inline")->at(4).as_text(), "short memo");
  EXPECT_EQ(FindByText(rows, 1, "empty")->at(4).as_text(), "");
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef(kReports, &def).ok());
  EXPECT_EQ(def->stored_row_count, 11u);
  EXPECT_EQ(def->last_autonumber, uint32_t(max_before + 4));
  ExpectIndexesInStep(path, kReports);

  const std::string csv = MdbExport(path, kReports);
  EXPECT_EQ(std::count(csv.begin(), csv.end(), '\n'), 12) << csv.substr(0, 300);
  EXPECT_NE(csv.find(chain), std::string::npos);
}

}  // namespace
}  // namespace jet::testing
