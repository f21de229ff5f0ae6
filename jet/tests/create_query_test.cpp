// Saved queries written into a new database: the SQL our reader rebuilds
// from them, what they return when run, and what mdbtools lists.
#include <gtest/gtest.h>

#include <cstdio>

#include "jet/create.h"
#include "jet/database.h"
#include "jet/query.h"
#include "test_support.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

using Role = QuerySpec::Role;

std::string CatchDatabase(const std::string& name) {
  const std::string path = ::testing::TempDir() + "/" + name;
  std::remove(path.c_str());
  EXPECT_TRUE(CreateDatabase(path, CreateOptions{}).ok());
  TableSpec gear{"tblGearType", {{"GearTypeID", ColumnType::kLong}, {"GearName", ColumnType::kText, 30}}, {}, ""};
  gear.indexes = {IndexSpec("PrimaryKey", {"GearTypeID"}, true)};
  TableSpec catches{"tblCatch",
                    {{"Year", ColumnType::kInteger}, {"Week", ColumnType::kInteger},
                     {"GearTypeID", ColumnType::kLong}, {"Catch", ColumnType::kLong},
                     {"InterviewDate", ColumnType::kDateTime}},
                    {},
                    ""};
  catches.indexes = {IndexSpec("GearTypeID", {"GearTypeID"})};
  Status s = CreateTables(path, {gear, catches}, CreateOptions{});
  EXPECT_TRUE(s.ok()) << s.ToString();
  auto db = OpenForWriting(path);
  EXPECT_NE(db, nullptr);
  EXPECT_TRUE(db->BeginTransaction().ok());
  for (int g = 1; g <= 3; ++g) {
    EXPECT_TRUE(db->InsertRow("tblGearType", {Value(ColumnType::kLong, int64_t(g)),
                                              Value(ColumnType::kText, "Gear " + std::to_string(g))})
                    .ok());
  }
  for (int i = 0; i < 60; ++i) {
    EXPECT_TRUE(db->InsertRow("tblCatch", {Value(ColumnType::kInteger, int64_t(2020 + i % 2)),
                                           Value(ColumnType::kInteger, int64_t(1 + i % 3)),
                                           Value(ColumnType::kLong, int64_t(1 + i % 3)),
                                           Value(ColumnType::kLong, int64_t(i)),
                                           Value(ColumnType::kDateTime, DateTime{44000.0 + i})})
                    .ok());
  }
  EXPECT_TRUE(db->Commit().ok());
  return path;
}

std::vector<QuerySpec> ReportQueries() {
  QuerySpec by_week;
  by_week.name = "qryCatchSince";
  by_week.parameters = {{"[Start Date]", ColumnType::kDateTime}, {"[Minimum Catch]", ColumnType::kLong}};
  by_week.from = {{"tblCatch", "c"}, {"tblGearType", ""}};
  by_week.joins = {{"c", "tblGearType", 1, "c.GearTypeID = tblGearType.GearTypeID"}};
  by_week.columns = {{"c.Week", "", Role::kPlain}, {"tblGearType.GearName", "Gear", Role::kPlain},
                     {"c.Catch", "", Role::kPlain}};
  by_week.where = "c.InterviewDate>=[Start Date] AND c.Catch>=[Minimum Catch]";
  by_week.order_by = {{"c.Catch", true}};

  QuerySpec crosstab;
  crosstab.name = "qryCatchByYearAndWeek";
  crosstab.type = QueryType::kCrosstab;
  crosstab.from = {{"tblCatch", ""}};
  crosstab.columns = {{"Sum(Catch)", "Total", Role::kValue}, {"Year", "", Role::kRowHeading},
                      {"Week", "", Role::kColumnHeading}};
  crosstab.group_by = {"Year"};

  QuerySpec both;
  both.name = "qryAllYears";
  both.type = QueryType::kUnion;
  both.union_first = "SELECT Year, Catch FROM tblCatch WHERE Year=2020";
  both.union_second = "SELECT Year, Catch FROM tblCatch WHERE Year=2021";
  both.union_all = true;

  QuerySpec on_query;
  on_query.name = "qryBigCatchSince";
  on_query.from = {{"qryCatchSince", ""}};
  on_query.columns = {{"Gear", "", Role::kPlain}, {"Sum(Catch)", "Total Catch", Role::kPlain}};
  on_query.group_by = {"Gear"};
  on_query.having = "Sum(Catch)>100";
  on_query.top = 5;

  QuerySpec cleanup;
  cleanup.name = "qryDeleteOld";
  cleanup.type = QueryType::kDelete;
  cleanup.parameters = {{"[Before Year]", ColumnType::kInteger}};
  cleanup.from = {{"tblCatch", ""}};
  cleanup.where = "Year<[Before Year]";
  return {by_week, crosstab, both, on_query, cleanup};
}

TEST(CreateQueries, OurReaderRebuildsTheirSql) {
  const std::string path = CatchDatabase("queries_sql.mdb");
  ASSERT_TRUE(CreateQueries(path, ReportQueries(), CreateOptions{}).ok());
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, OpenOptions{}, &engine).ok());
  SavedQuery q;
  ASSERT_TRUE(engine->GetQuery("qryCatchSince", &q).ok());
  EXPECT_EQ(q.type, QueryType::kSelect);
  EXPECT_EQ(q.sql,
            "PARAMETERS [Start Date] DateTime, [Minimum Catch] Long;\r\n"
            "SELECT c.Week, tblGearType.GearName AS Gear, c.Catch\r\n"
            "FROM tblCatch AS c INNER JOIN tblGearType ON c.GearTypeID = tblGearType.GearTypeID\r\n"
            "WHERE c.InterviewDate>=[Start Date] AND c.Catch>=[Minimum Catch]\r\n"
            "ORDER BY c.Catch DESC;");
  ASSERT_TRUE(engine->GetQuery("qryCatchByYearAndWeek", &q).ok());
  EXPECT_EQ(q.type, QueryType::kCrosstab);
  EXPECT_EQ(q.sql, "TRANSFORM Sum(Catch) AS Total\r\nSELECT Year\r\nFROM tblCatch\r\nGROUP BY Year\r\nPIVOT Week;");
  ASSERT_TRUE(engine->GetQuery("qryAllYears", &q).ok());
  EXPECT_EQ(q.type, QueryType::kUnion);
  EXPECT_EQ(q.sql,
            "SELECT Year, Catch FROM tblCatch WHERE Year=2020\r\nUNION ALL SELECT Year, Catch FROM tblCatch WHERE "
            "Year=2021;");
  ASSERT_TRUE(engine->GetQuery("qryBigCatchSince", &q).ok());
  EXPECT_EQ(q.sql,
            "SELECT TOP 5 Gear, Sum(Catch) AS [Total Catch]\r\nFROM qryCatchSince\r\nGROUP BY Gear\r\n"
            "HAVING Sum(Catch)>100;");
  ASSERT_TRUE(engine->GetQuery("qryDeleteOld", &q).ok());
  EXPECT_EQ(q.type, QueryType::kDelete);
  std::vector<QueryParameterInfo> params;
  ASSERT_TRUE(engine->QueryParameters("qryCatchSince", &params).ok());
  ASSERT_EQ(params.size(), 2u);
  EXPECT_EQ(params[0].type, ColumnType::kDateTime);
  EXPECT_EQ(params[1].type, ColumnType::kLong);
}

TEST(CreateQueries, TheyRunOnTheRowsWithTheirParameters) {
  const std::string path = CatchDatabase("queries_run.mdb");
  ASSERT_TRUE(CreateQueries(path, ReportQueries(), CreateOptions{}).ok());
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, OpenOptions{}, &engine).ok());
  QueryResult result;
  // Days 44050.. hold catches 50..59; of those, 55 and up pass the minimum.
  Status s = engine->RunQuery("qryCatchSince",
                              {Value(ColumnType::kDateTime, DateTime{44050.0}), Value(ColumnType::kLong, int64_t(55))},
                              &result);
  ASSERT_TRUE(s.ok()) << s.ToString();
  ASSERT_EQ(result.rows.size(), 5u);
  EXPECT_EQ(result.columns[1].name, "Gear");
  EXPECT_EQ(result.rows[0][2].as_int(), 59);
  ASSERT_TRUE(engine->RunQuery("qryAllYears", {}, &result).ok());
  EXPECT_EQ(result.rows.size(), 60u);
  s = engine->RunQuery("qryCatchByYearAndWeek", {}, &result);
  ASSERT_TRUE(s.ok()) << s.ToString();
  ASSERT_EQ(result.rows.size(), 2u);  // one row per year, one column per week
  EXPECT_EQ(result.columns.size(), 4u);
}

TEST(CreateQueries, MdbtoolsListsAndPrintsThem) {
  const std::string path = CatchDatabase("queries_mdbtools.mdb");
  ASSERT_TRUE(CreateQueries(path, ReportQueries(), CreateOptions{}).ok());
  int code = -1;
  const std::string listed = RunCommand("mdb-queries -L -1 '" + path + "' 2>&1", &code);
  EXPECT_EQ(code, 0) << listed;
  for (const QuerySpec& q : ReportQueries()) EXPECT_NE(listed.find(q.name), std::string::npos) << listed;
  const std::string text = RunCommand("mdb-queries '" + path + "' qryCatchSince 2>&1", &code);
  EXPECT_NE(text.find("tblGearType.GearName"), std::string::npos) << text;
  EXPECT_NE(text.find("c.InterviewDate>=[Start Date]"), std::string::npos) << text;
  ExpectIndexesInStep(path, "MSysQueries");
  ExpectIndexesInStep(path, "MSysObjects");
}

TEST(CreateQueries, BadQueriesAreRefusedAndLeaveTheFileAlone) {
  const std::string path = CatchDatabase("queries_refusals.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  QuerySpec clash = ReportQueries()[0];
  clash.name = "tblCatch";
  QuerySpec no_source = ReportQueries()[0];
  no_source.from.clear();
  QuerySpec half_union = ReportQueries()[2];
  half_union.union_second.clear();
  QuerySpec bad_crosstab = ReportQueries()[1];
  bad_crosstab.columns.pop_back();
  const std::pair<const char*, QuerySpec> cases[] = {{"already exists", clash},
                                                     {"no table", no_source},
                                                     {"both of its SELECT", half_union},
                                                     {"one column heading", bad_crosstab}};
  for (const auto& [why, wanted] : cases) {
    Status s = CreateQueries(path, {wanted}, CreateOptions{});
    EXPECT_EQ(s.code(), Status::Code::kInvalidArgument) << why;
    EXPECT_NE(s.message().find(why), std::string::npos) << s.ToString();
    EXPECT_EQ(FileBytes(path), before) << why;
  }
  // Two queries of one name in the same call: neither is written.
  Status s = CreateQueries(path, {ReportQueries()[0], ReportQueries()[0]}, CreateOptions{});
  EXPECT_FALSE(s.ok());
  EXPECT_EQ(FileBytes(path), before);
}

}  // namespace
}  // namespace jet::testing
