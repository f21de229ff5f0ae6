// Tables added to a new database: definitions our reader and mdbtools read
// back, rows through the writer with every index in step, properties in the
// catalogue, and clear refusals of bad definitions.
#include <gtest/gtest.h>

#include <cstdio>

#include "jet/create.h"
#include "jet/database.h"
#include "test_support.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

std::string NewDatabase(const std::string& name) { return testing::NewDatabase("jet-create-table-tests", name); }

TableSpec Interviews() {
  TableSpec t;
  t.name = "tblInterview";
  t.description = "One angler interview";
  ColumnSpec id{"Record Num", ColumnType::kLong};
  id.autonumber = true;
  ColumnSpec site{"AccessSiteID", ColumnType::kLong};
  site.required = true;
  site.caption = "Access site";
  ColumnSpec date{"InterviewDate", ColumnType::kDateTime};
  date.format = "Short Date";
  ColumnSpec angler{"Angler", ColumnType::kText, 40};
  angler.description = "Angler's name as given";
  t.columns = {id, site, date, angler, {"Catch", ColumnType::kInteger}, {"Soak Time (hrs)", ColumnType::kDouble},
               {"Kept", ColumnType::kBoolean}, {"Comments", ColumnType::kMemo}, {"Fee", ColumnType::kCurrency}};
  IndexSpec pk{"PrimaryKey", {"Record Num"}};
  pk.primary = true;
  IndexSpec unique{"SiteDateAngler", {"AccessSiteID", "InterviewDate", "Angler"}};
  unique.unique = true;
  t.indexes = {pk, unique, {"InterviewDate", {"InterviewDate"}}, {"Angler", {"Angler"}}};
  return t;
}

Row InterviewRow(int i) {
  return Row{Value::Null(ColumnType::kLong),
             Value(ColumnType::kLong, int64_t(i % 17)),
             Value(ColumnType::kDateTime, DateTime{44000.0 + i / 17}),
             Value(ColumnType::kText, "Angler " + std::to_string((i * 37) % 1000)),
             Value(ColumnType::kInteger, int64_t(i % 9)),
             Value(ColumnType::kDouble, 0.5 * (i % 11)),
             Value(ColumnType::kBoolean, i % 3 == 0),
             i % 5 ? Value::Null(ColumnType::kMemo) : Value(ColumnType::kMemo, std::string(100 + i % 300, 'x')),
             Value::Null(ColumnType::kCurrency)};
}

TEST(CreateTables, DefinitionsReadBackWithPropertiesAndIndexes) {
  const std::string path = NewDatabase("table_defs.mdb");
  ASSERT_TRUE(CreateTables(path, {Interviews()}, CreateOptions{}).ok());
  auto db = OpenForReading(path);
  ASSERT_NE(db, nullptr);
  std::shared_ptr<const TableDef> def;
  ASSERT_TRUE(db->GetTableDef("tblInterview", &def).ok());
  ASSERT_EQ(def->columns.size(), 9u);
  EXPECT_EQ(def->columns[0].name, "Record Num");
  EXPECT_TRUE(def->columns[0].autonumber);
  EXPECT_FALSE(def->columns[1].nullable);
  EXPECT_EQ(def->columns[3].size, 80);
  EXPECT_EQ(def->columns[5].name, "Soak Time (hrs)");
  const Value* caption = def->columns[1].properties.Find("Caption");
  ASSERT_NE(caption, nullptr);
  EXPECT_EQ(caption->as_text(), "Access site");
  const Value* format = def->columns[2].properties.Find("Format");
  ASSERT_NE(format, nullptr);
  EXPECT_EQ(format->as_text(), "Short Date");
  const Value* description = def->properties.Find("Description");
  ASSERT_NE(description, nullptr);
  EXPECT_EQ(description->as_text(), "One angler interview");
  ASSERT_EQ(def->indexes.size(), 4u);
  EXPECT_TRUE(def->indexes[0].primary);
  EXPECT_TRUE(def->indexes[1].unique);
  EXPECT_EQ(def->indexes[1].columns.size(), 3u);
  EXPECT_FALSE(def->indexes[2].unique);

  int code = -1;
  const std::string schema = RunCommand("mdb-schema -T tblInterview '" + path + "' 2>&1", &code);
  EXPECT_EQ(code, 0) << schema;
  EXPECT_NE(schema.find("[Soak Time (hrs)]"), std::string::npos) << schema;
  EXPECT_NE(schema.find("[InterviewDate]"), std::string::npos) << schema;
  // mdbtools prints the indexes it read from the definition for this backend.
  const std::string indexes = RunCommand("mdb-schema -T tblInterview '" + path + "' postgres 2>&1", &code);
  EXPECT_NE(indexes.find("PRIMARY KEY (\"record num\")"), std::string::npos) << indexes;
  EXPECT_NE(indexes.find("CREATE UNIQUE INDEX \"tblinterview_sitedateangler_idx\" ON \"tblinterview\" "
                         "(\"accesssiteid\", \"interviewdate\", \"angler\")"),
            std::string::npos)
      << indexes;
}

TEST(CreateTables, RowsGoInThroughTheWriterWithEveryIndexInStep) {
  const std::string path = NewDatabase("table_rows.mdb");
  ASSERT_TRUE(CreateTables(path, {Interviews()}, CreateOptions{}).ok());
  constexpr int kRows = 2500;
  {
    auto db = OpenForWriting(path);
    ASSERT_NE(db, nullptr);
    ASSERT_TRUE(db->BeginTransaction().ok());
    for (int i = 0; i < kRows; ++i) {
      Status s = db->InsertRow("tblInterview", InterviewRow(i));
      ASSERT_TRUE(s.ok()) << i << ": " << s.ToString();
    }
    ASSERT_TRUE(db->Commit().ok());
  }
  ExpectIndexesInStep(path, "tblInterview");
  EXPECT_EQ(MdbExportRowCount(path, "tblInterview"), kRows);
  auto db = OpenForReading(path);
  const std::vector<Row> rows = AllRows(*db, "tblInterview");
  ASSERT_EQ(rows.size(), size_t(kRows));
  // Autonumbers are handed out 1, 2, 3, ... in insertion order.
  std::vector<int64_t> numbers;
  for (const Row& r : rows) numbers.push_back(r[0].as_int());
  std::sort(numbers.begin(), numbers.end());
  EXPECT_EQ(numbers.front(), 1);
  EXPECT_EQ(numbers.back(), kRows);
}

TEST(CreateTables, KeysAndRequiredColumnsAreEnforced) {
  const std::string path = NewDatabase("table_rules.mdb");
  ASSERT_TRUE(CreateTables(path, {Interviews()}, CreateOptions{}).ok());
  auto db = OpenForWriting(path);
  ASSERT_NE(db, nullptr);
  ASSERT_TRUE(db->InsertRow("tblInterview", InterviewRow(1)).ok());
  Status dup = db->InsertRow("tblInterview", InterviewRow(1));
  EXPECT_EQ(dup.jet_error(), 3022) << dup.ToString();
  Row missing = InterviewRow(2);
  missing[1] = Value::Null(ColumnType::kLong);
  Status required = db->InsertRow("tblInterview", missing);
  EXPECT_EQ(required.jet_error(), 3314) << required.ToString();
}

TEST(CreateTables, BadDefinitionsAreRefusedAndLeaveTheFileAlone) {
  const std::string path = NewDatabase("table_refusals.mdb");
  ASSERT_TRUE(CreateTables(path, {Interviews()}, CreateOptions{}).ok());
  const std::vector<uint8_t> before = FileBytes(path);
  struct Case {
    const char* what;
    TableSpec wanted;
  };
  TableSpec twice = Interviews();
  TableSpec no_column = Interviews();
  no_column.name = "tblOther";
  no_column.indexes.push_back({"Ghost", {"NoSuchColumn"}});
  TableSpec two_keys = no_column;
  two_keys.indexes.pop_back();
  two_keys.indexes.push_back(IndexSpec("Second", {"Angler"}, true));
  TableSpec long_text = no_column;
  long_text.indexes.pop_back();
  long_text.columns[3].size = 300;
  TableSpec memo_key = no_column;
  memo_key.indexes.back().columns = {"Comments"};
  TableSpec text_autonumber = long_text;
  text_autonumber.columns[3].size = 20;
  text_autonumber.columns[3].autonumber = true;
  TableSpec system_name = long_text;
  system_name.columns[3].size = 20;
  system_name.name = "MSysObjects";
  const Case cases[] = {{"already exists", twice},          {"missing column", no_column},
                        {"one primary key", two_keys},      {"size from 1 to 255", long_text},
                        {"cannot be indexed", memo_key},    {"autonumber", text_autonumber},
                        {"already exists", system_name}};
  for (const Case& c : cases) {
    Status s = CreateTables(path, {c.wanted}, CreateOptions{});
    EXPECT_EQ(s.code(), Status::Code::kInvalidArgument) << c.what << ": " << s.ToString();
    EXPECT_NE(s.message().find(c.what), std::string::npos) << s.ToString();
    EXPECT_EQ(FileBytes(path), before) << c.what;
  }
}

// A definition longer than a page: many columns with long names.
TableSpec Wide() {
  TableSpec t;
  t.name = "tblWideSurvey";
  const ColumnType types[] = {ColumnType::kLong, ColumnType::kText, ColumnType::kDouble};
  for (int i = 0; i < 180; ++i) {
    const std::string name = "Measurement " + std::to_string(i) + " of the creel survey, as the clerk recorded it";
    t.columns.push_back({name, types[i % 3], types[i % 3] == ColumnType::kText ? 20 : 0});
  }
  IndexSpec pk{"PrimaryKey", {t.columns[0].name}, true};
  t.indexes = {pk, {"ByLastText", {t.columns[178].name}}, {"ByLastNumber", {t.columns[179].name, t.columns[177].name}}};
  return t;
}

Row WideRow(const TableSpec& t, int n) {
  Row row;
  for (size_t i = 0; i < t.columns.size(); ++i) {
    switch (t.columns[i].type) {
      case ColumnType::kLong: row.emplace_back(ColumnType::kLong, int64_t(n * 1000 + int(i))); break;
      case ColumnType::kText: row.emplace_back(ColumnType::kText, "v" + std::to_string((n * 37 + i) % 101)); break;
      default: row.emplace_back(ColumnType::kDouble, n + i / 4.0); break;
    }
  }
  return row;
}

TEST(CreateTables, ADefinitionLongerThanAPageGoesOnOverFurtherPages) {
  const std::string path = NewDatabase("table_wide.mdb");
  const TableSpec wide = Wide();
  Status s = CreateTables(path, {wide, Interviews()}, CreateOptions{});
  ASSERT_TRUE(s.ok()) << s.ToString();
  std::vector<Row> written;
  {
    auto db = OpenForWriting(path);
    ASSERT_NE(db, nullptr);
    std::shared_ptr<const TableDef> def;
    ASSERT_TRUE(db->GetTableDef(wide.name, &def).ok());
    ASSERT_EQ(def->columns.size(), wide.columns.size());
    for (size_t i = 0; i < wide.columns.size(); ++i) EXPECT_EQ(def->columns[i].name, wide.columns[i].name);
    ASSERT_EQ(def->indexes.size(), 3u);
    std::unique_ptr<Pager> pager;
    ASSERT_TRUE(Pager::Open(path, &pager).ok());
    Page first;
    ASSERT_TRUE(pager->ReadPage(def->tdef_page, &first).ok());
    EXPECT_NE(Get32(first.data() + 4), 0u) << "the definition should go on over another page";
    ASSERT_TRUE(db->BeginTransaction().ok());
    for (int n = 0; n < 60; ++n) {
      written.push_back(WideRow(wide, (n * 7) % 60));
      s = db->InsertRow(wide.name, written.back());
      ASSERT_TRUE(s.ok()) << s.ToString();
    }
    ASSERT_TRUE(db->Commit().ok());
  }
  auto db = OpenForReading(path);
  EXPECT_EQ(AllRows(*db, wide.name), written);
  ExpectIndexesInStep(path, wide.name);
  ExpectIndexesInStep(path, "MSysObjects");
  EXPECT_EQ(MdbExportRowCount(path, wide.name), 60);
  EXPECT_NE(MdbExport(path, wide.name).find(wide.columns[179].name), std::string::npos);
  const std::string schema = RunCommand("mdb-schema -T '" + wide.name + "' '" + path + "' 2>&1");
  EXPECT_NE(schema.find("[" + wide.columns[179].name + "]"), std::string::npos) << schema.substr(0, 400);
  // The table made in the same commit after it is untouched by its length.
  EXPECT_TRUE(AllRows(*db, "tblInterview").empty());
  ExpectIndexesInStep(path, "tblInterview");
}

TEST(CreateTables, ManyTablesInOneCommitAllShowInTheCatalogue) {
  const std::string path = NewDatabase("table_many.mdb");
  std::vector<TableSpec> tables;
  for (int i = 0; i < 30; ++i) {
    TableSpec t;
    t.name = "tblOUT_" + std::to_string(i);
    t.columns = {{"EstimateID", ColumnType::kLong}, {"Week", ColumnType::kInteger}, {"Total Count", ColumnType::kDouble}};
    IndexSpec pk{"PrimaryKey", {"EstimateID", "Week"}};
    pk.primary = true;
    t.indexes = {pk};
    tables.push_back(t);
  }
  ASSERT_TRUE(CreateTables(path, tables, CreateOptions{}).ok());
  int code = -1;
  const std::string listed = RunCommand("mdb-tables -1 '" + path + "' 2>&1", &code);
  EXPECT_EQ(code, 0);
  for (const TableSpec& t : tables) EXPECT_NE(listed.find(t.name + "\n"), std::string::npos) << listed;
  auto db = OpenForWriting(path);
  ASSERT_NE(db, nullptr);
  for (int week = 1; week <= 52; ++week) {
    ASSERT_TRUE(db->InsertRow("tblOUT_29", {Value(ColumnType::kLong, int64_t(7)), Value(ColumnType::kInteger, int64_t(week)),
                                            Value(ColumnType::kDouble, week * 1.5)})
                    .ok());
  }
  db.reset();
  ExpectIndexesInStep(path, "tblOUT_29");
  ExpectIndexesInStep(path, "MSysObjects");
  EXPECT_EQ(MdbExportRowCount(path, "tblOUT_29"), 52);
}

}  // namespace
}  // namespace jet::testing
