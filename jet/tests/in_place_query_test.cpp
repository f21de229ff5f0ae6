// Tables read in place (virtual tables over the file, sought through their
// indexes) give exactly what the copied tables give, and see the rows of
// the open transaction.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "jet/create.h"
#include "jet/query.h"
#include "jet/text_form.h"
#include "test_support.h"

namespace jet {
namespace {

// The columns with their types, then the rows in sorted order: where a
// statement leaves the order open (no ORDER BY, or ties), SQLite's plan for
// a copy and for a virtual table may differ.
std::string Csv(const QueryResult& r) {
  std::string out;
  std::vector<std::string> names;
  for (const auto& c : r.columns) names.push_back(c.name + ":" + std::string(ColumnTypeName(c.type)));
  AppendCsvHeader(&out, names);
  std::vector<std::string> rows;
  for (const auto& row : r.rows) {
    std::string line;
    AppendCsvRecord(&line, row);
    rows.push_back(std::move(line));
  }
  std::sort(rows.begin(), rows.end());
  for (const std::string& line : rows) out += line;
  return out;
}

// The results of every saved select of a file, copied or read in place.
std::map<std::string, std::string> SavedQueryResults(QueryEngine& engine) {
  std::map<std::string, std::string> out;
  std::vector<SavedQuery> queries;
  EXPECT_TRUE(engine.ListQueries(&queries).ok());
  for (const SavedQuery& q : queries) {
    if (q.type != QueryType::kSelect && q.type != QueryType::kUnion && q.type != QueryType::kCrosstab) continue;
    std::vector<QueryParameterInfo> p;
    if (!engine.QueryParameters(q.name, &p).ok()) continue;
    std::vector<Value> values;
    for (const auto& param : p)
      values.emplace_back(ColumnType::kText, param.type == ColumnType::kDateTime ? "1/1/1995" : "1");
    QueryResult result;
    Status s = engine.RunQuery(q.name, values, &result);
    out[q.name] = s.ok() ? Csv(result) : "error: " + s.ToString();
  }
  return out;
}

std::string Answer(QueryEngine& engine, const std::string& sql, const std::vector<Value>& values = {}) {
  QueryResult r;
  Status s = engine.RunSql(sql, values, &r);
  return s.ok() ? Csv(r) : "error: " + s.ToString();
}

TEST(InPlaceReading, EveryFixtureQueryGivesWhatTheCopyGives) {
  uint64_t read_in_place = 0;
  for (const char* file : {"nwind.mdb", "npsmith88-Northwind.mdb", "pivot.mdb", "accessLike.mdb", "Gymnase2000.mdb",
                           "xtreme.mdb", "psc-adoquery-Northwind.mdb", "parameters.accdb", "reports-northwind.mdb",
                           "queryTestV1997.mdb", "queryTestV2003.mdb", "linked.mdb"}) {
    SCOPED_TRACE(file);
    std::shared_ptr<QueryEngine> engine;
    ASSERT_TRUE(QueryEngine::ForFile(testing::FixturePath(file), {}, &engine).ok()) << file;
    engine->set_copy_row_limit(QueryEngine::kDefaultCopyRowLimit);
    const auto copied = SavedQueryResults(*engine);
    engine->set_copy_row_limit(0);
    const uint64_t read_before = engine->rows_read_in_place();
    const auto in_place = SavedQueryResults(*engine);
    engine->set_copy_row_limit(QueryEngine::kDefaultCopyRowLimit);
    ASSERT_EQ(copied.size(), in_place.size()) << file;
    for (const auto& [name, csv] : copied) EXPECT_TRUE(in_place.at(name) == csv) << name;
    read_in_place += engine->rows_read_in_place() - read_before;
  }
  EXPECT_GT(read_in_place, 10000u);
}

TEST(InPlaceReading, DescendingIndexRangesOfAFixture) {
  // CD_AGENTE is indexed descending: the bounds swap ends in its keys.
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(testing::FixturePath("compIndexTestV2000.mdb"), {}, &engine).ok());
  const std::vector<std::string> wheres = {"CD_AGENTE = 100",  "CD_AGENTE > 400", "CD_AGENTE <= 37",
                                           "CD_AGENTE BETWEEN 50 AND 60", "CD_AGENTE > 10 AND CD_AGENTE < 12.5"};
  for (const std::string& where : wheres) {
    const std::string sql = "SELECT * FROM Table1 WHERE " + where + " ORDER BY CD_AGENTE, 2";
    engine->set_copy_row_limit(QueryEngine::kDefaultCopyRowLimit);
    const std::string copied = Answer(*engine, sql);
    engine->set_copy_row_limit(0);
    const uint64_t before = engine->rows_read_in_place();
    EXPECT_EQ(Answer(*engine, sql), copied) << where;
    EXPECT_LT(engine->rows_read_in_place() - before, 511u) << where << " was not sought through the index";
  }
  engine->set_copy_row_limit(QueryEngine::kDefaultCopyRowLimit);
}

// A table with an index on each seekable type, Nulls and repeated keys
// among its rows, filled from a fixed seed.
std::string MakeSurveyTable(const std::string& name, int rows) {
  const std::string path = testing::NewDatabase("jet-in-place-tests", name);
  TableSpec t;
  t.name = "Visits";
  t.columns = {{"Id", ColumnType::kLong},     {"Site", ColumnType::kLong},       {"Day", ColumnType::kDateTime},
               {"Fee", ColumnType::kCurrency}, {"Ratio", ColumnType::kDouble},   {"Crew", ColumnType::kInteger},
               {"Score", ColumnType::kSingle}, {"Gear", ColumnType::kByte},      {"Note", ColumnType::kText, 20}};
  t.columns[0].autonumber = true;
  t.indexes = {{"PrimaryKey", {"Id"}, true}, {"SiteDay", {"Site", "Day"}}, {"Fee", {"Fee"}},
               {"Ratio", {"Ratio"}},         {"Crew", {"Crew"}},           {"Score", {"Score"}},
               {"Gear", {"Gear"}}};
  EXPECT_TRUE(CreateTables(path, {t}, {}).ok());
  OpenOptions options;
  options.writable = true;
  std::unique_ptr<Database> db;
  EXPECT_TRUE(Database::Open(path, options, &db).ok());
  std::mt19937 random(20261124);
  auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  EXPECT_TRUE(db->BeginTransaction().ok());
  for (int i = 0; i < rows; ++i) {
    auto maybe = [&](Value v) { return pick(12) == 0 ? Value::Null(v.type()) : v; };
    Row row = {Value::Null(ColumnType::kLong),
               maybe(Value(ColumnType::kLong, int64_t{pick(40) - 5})),
               maybe(Value(ColumnType::kDateTime, DateTime{44197.0 + pick(400) + pick(4) / 4.0})),
               maybe(Value(ColumnType::kCurrency, Currency{int64_t{pick(2000) - 1000} * 25})),
               maybe(Value(ColumnType::kDouble, (pick(1000) - 500) / 8.0)),
               maybe(Value(ColumnType::kInteger, int64_t{pick(600) - 300})),
               maybe(Value(ColumnType::kSingle, static_cast<float>(pick(100)) / 3.0f)),
               maybe(Value(ColumnType::kByte, int64_t{pick(256)})),
               Value(ColumnType::kText, std::string(1, static_cast<char>('a' + pick(26))))};
    Status s = db->InsertRow("Visits", row);
    EXPECT_TRUE(s.ok()) << s.ToString();
  }
  EXPECT_TRUE(db->Commit().ok());
  return path;
}

// A seeded mix of constraints on the indexed columns, with constants and
// parameters of every kind a statement may bring (whole, fractional, text,
// Null, out of the column's range); the index must give every row a scan of
// the copy keeps.
TEST(InPlaceReading, IndexRangesKeepEveryRowAScanKeeps) {
  const std::string path = MakeSurveyTable("ranges.mdb", 3000);
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, {}, &engine).ok());
  const std::vector<std::string> columns = {"Site", "Day", "Fee", "Ratio", "Crew", "Score", "Gear", "Id"};
  const std::vector<std::string> constants = {"3",     "-2",   "2.5",     "0",         "#3/1/2021#", "44300.25",
                                              "'7'",   "Null", "1E+300",  "-70000",    "12.75",      "255",
                                              "11.1",  "3.3333333333333335"};
  const std::vector<std::string> operators = {"=", "<", "<=", ">", ">="};
  std::mt19937 random(7);
  auto pick = [&](size_t n) { return random() % n; };
  uint64_t read_in_place = 0;
  int statements = 0;
  for (int i = 0; i < 300; ++i) {
    const std::string column = columns[pick(columns.size())];
    std::string where = column + " " + operators[pick(operators.size())] + " " + constants[pick(constants.size())];
    if (pick(3) == 0) where = column + " BETWEEN " + constants[pick(constants.size())] + " AND " + constants[pick(constants.size())];
    if (pick(4) == 0) where = "Site = " + constants[pick(3)] + " AND Day " + operators[1 + pick(4)] + " #6/1/2021#";
    const std::string sql = "SELECT Id, Site, Day, Fee, Ratio, Crew, Score, Gear FROM Visits WHERE " + where +
                            " ORDER BY Id";
    engine->set_copy_row_limit(QueryEngine::kDefaultCopyRowLimit);
    const std::string copied = Answer(*engine, sql);
    engine->set_copy_row_limit(0);
    const uint64_t before = engine->rows_read_in_place();
    ASSERT_EQ(Answer(*engine, sql), copied) << sql;
    read_in_place += engine->rows_read_in_place() - before;
    ++statements;
  }
  // Parameters arrive typed as the statement declares them, or as text.
  for (const char* value : {"5", "2.5", "x", "03/15/2021"}) {
    for (const char* sql : {"PARAMETERS [S] Long; SELECT Id FROM Visits WHERE Site = [S] ORDER BY Id",
                            "PARAMETERS [D] DateTime; SELECT Id FROM Visits WHERE Day >= [D] ORDER BY Id",
                            "SELECT Id FROM Visits WHERE Ratio < [R] ORDER BY Id"}) {
      const std::vector<Value> values = {Value(ColumnType::kText, std::string(value))};
      engine->set_copy_row_limit(QueryEngine::kDefaultCopyRowLimit);
      const std::string copied = Answer(*engine, sql, values);
      engine->set_copy_row_limit(0);
      EXPECT_EQ(Answer(*engine, sql, values), copied) << sql << " with " << value;
    }
  }
  engine->set_copy_row_limit(QueryEngine::kDefaultCopyRowLimit);
  // Most constraints narrow the rows: far fewer are read than whole scans would.
  EXPECT_LT(read_in_place, uint64_t{3000} * statements * 3 / 4);
}

TEST(InPlaceReading, SeesTheOpenTransactionsRowsAndWhatItCommits) {
  const std::string path = MakeSurveyTable("transaction.mdb", 500);
  OpenOptions options;
  options.writable = true;
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, options, &engine).ok());
  engine->set_copy_row_limit(0);
  const std::string count = "SELECT Count(*) AS N FROM Visits WHERE Site = 77";
  EXPECT_EQ(Answer(*engine, count), "N:Long Integer\n0\n");

  ASSERT_TRUE(engine->BeginTransaction().ok());
  Row row;
  ASSERT_TRUE(engine->NewRow("Visits", &row).ok());
  row[1] = Value(ColumnType::kLong, int64_t{77});
  ASSERT_TRUE(engine->database().InsertRow("Visits", row).ok());
  EXPECT_EQ(Answer(*engine, count), "N:Long Integer\n1\n");  // the index waits for the commit; the rows do not
  int64_t affected = 0;
  ASSERT_TRUE(engine->Execute("INSERT INTO Visits (Site, Crew) VALUES (77, 4)", {}, &affected).ok());
  EXPECT_EQ(Answer(*engine, count), "N:Long Integer\n2\n");
  ASSERT_TRUE(engine->Commit().ok());

  const uint64_t before = engine->rows_read_in_place();
  EXPECT_EQ(Answer(*engine, count), "N:Long Integer\n2\n");
  EXPECT_EQ(engine->rows_read_in_place() - before, 2u);  // sought through SiteDay

  ASSERT_TRUE(engine->Execute("DELETE FROM Visits WHERE Site = 77 AND Crew = 4", {}, &affected).ok());
  EXPECT_EQ(affected, 1);
  EXPECT_EQ(Answer(*engine, count), "N:Long Integer\n1\n");
}

}  // namespace
}  // namespace jet
