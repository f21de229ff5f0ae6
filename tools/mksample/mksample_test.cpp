// The sample survey database as mksample builds it from samples/survey.txt:
// every table readable through every index, the report tables filled as the
// export assistant expects, the saved queries running with the parameters
// the reports store, and the same bytes from the same seed.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <set>

#include "jet/database.h"
#include "jet/query.h"
#include "test_support.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

std::string Build(const std::string& name, const std::string& extra = "", int* code = nullptr) {
  const std::string path = ::testing::TempDir() + "/" + name;
  std::remove(path.c_str());
  int rc = -1;
  const std::string out = RunCommand(std::string(MKSAMPLE_PATH) + " --templates /opt/tabulon/templates " + extra +
                                         " '" + SURVEY_SCRIPT + "' '" + path + "' 2>&1",
                                     &rc);
  if (code) *code = rc;
  else EXPECT_EQ(rc, 0) << out;
  return path;
}

std::vector<std::string> Split(const std::string& s) {
  std::vector<std::string> items;
  size_t start = 0;
  for (size_t slash; (slash = s.find('/', start)) != std::string::npos; start = slash + 1) {
    items.push_back(s.substr(start, slash - start));
  }
  items.push_back(s.substr(start));
  return items;
}

class SampleDatabase : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { path_ = new std::string(Build("survey_test.mdb")); }
  static void TearDownTestSuite() { delete path_; }
  static std::string* path_;
};
std::string* SampleDatabase::path_ = nullptr;

TEST_F(SampleDatabase, EveryTableIsReadThroughEveryIndexAndByMdbtools) {
  auto db = OpenForReading(*path_);
  ASSERT_NE(db, nullptr);
  const std::pair<const char*, uint64_t> expected[] = {
      {"tblManagementUnit", 6}, {"tblAccessSite", 12},       {"tblInterview", 3000},
      {"tblEffortCount", 1200}, {"tblOUT_WeeklyCatch", 400}, {"tblExportableResults", 4},
      {"tblUserQueries", 9},    {"tblExportableResults_UserQueries", 10}};
  for (const auto& [table, rows] : expected) {
    uint64_t count = 0;
    ASSERT_TRUE(db->CountRows(table, &count).ok()) << table;
    EXPECT_EQ(count, rows) << table;
    EXPECT_EQ(MdbExportRowCount(*path_, table), long(rows)) << table;
  }
  for (const CatalogEntry& e : db->catalog()) {
    if (e.kind == ObjectKind::kTable) ExpectIndexesInStep(*path_, e.name);
  }
}

TEST_F(SampleDatabase, TheBrowserSortColumnsAllOccur) {
  auto db = OpenForReading(*path_);
  std::set<std::string> columns;
  for (const CatalogEntry& e : db->catalog()) {
    if (e.kind != ObjectKind::kTable || e.system) continue;
    std::shared_ptr<const TableDef> def;
    ASSERT_TRUE(db->GetTableDef(e.name, &def).ok());
    for (const ColumnDef& c : def->columns) columns.insert(c.name);
  }
  for (const char* name : {"Record Num", "ManagementUnitID", "EstimateID", "UserID", "GearTypeID", "Week", "Catch",
                           "UnitsOfGear", "FishReleased", "TimeBlockID", "NumberMarked", "PrimaryObserverID",
                           "Soak Time (hrs)", "Gear Count", "Total Count", "Year", "NumberDaysOpen",
                           "ObserverGearCount", "AccessSiteID", "NumberWithClips", "InterviewDate",
                           "FishingStartTime", "FishingEndTime", "Time In MU", "StartOpening", "EndOpening",
                           "SurveyStartDate", "Time Block"}) {
    EXPECT_EQ(columns.count(name), 1u) << name;
  }
  EXPECT_NE(db->FindTable("tblESTIMATE_DEFINITION"), nullptr);
}

TEST_F(SampleDatabase, EveryUserQueryRunsWithItsStoredParameters) {
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(*path_, OpenOptions{}, &engine).ok());
  QueryResult rows;
  ASSERT_TRUE(engine->RunSql("SELECT QueryName, ExcelTemplate, ExcelMacros, DefaultQueryParameters FROM "
                             "tblUserQueries ORDER BY QueryID",
                             {}, &rows)
                  .ok());
  ASSERT_EQ(rows.rows.size(), 9u);
  int with_template = 0, with_parameters = 0;
  for (const Row& r : rows.rows) {
    const std::string name = r[0].as_text();
    std::vector<QueryParameterInfo> declared;
    ASSERT_TRUE(engine->QueryParameters(name, &declared).ok()) << name;
    std::vector<Value> values;
    if (!r[3].is_null()) {
      const std::vector<std::string> items = Split(r[3].as_text());
      ASSERT_EQ(items.size(), declared.size()) << name;
      for (size_t i = 0; i < items.size(); ++i) {
        Value v;
        ASSERT_TRUE(ConvertParameterText(items[i], declared[i].type, &v).ok()) << name << " " << items[i];
        values.push_back(v);
      }
      ++with_parameters;
    } else {
      EXPECT_TRUE(declared.empty()) << name;
    }
    if (!r[1].is_null() && !r[1].as_text().empty()) {
      EXPECT_EQ(r[1].as_text(), "/opt/tabulon/templates/CatchSummary.xls");
      ASSERT_FALSE(r[2].is_null()) << name;
      for (const std::string& macro : Split(r[2].as_text())) {
        EXPECT_NE(macro.find("Catch"), macro.find("Totals")) << macro;  // one of the template's two macros
      }
      ++with_template;
    }
    QueryResult result;
    Status s = engine->RunQuery(name, values, &result);
    ASSERT_TRUE(s.ok()) << name << ": " << s.ToString();
    EXPECT_FALSE(result.rows.empty()) << name;
  }
  EXPECT_EQ(with_template, 3);
  EXPECT_EQ(with_parameters, 4);
}

TEST_F(SampleDatabase, ReportQueriesGiveTheAnswersOfTheRawRows) {
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(*path_, OpenOptions{}, &engine).ok());
  QueryResult weekly, raw, all_counts;
  ASSERT_TRUE(engine->RunQuery("qryCatchByWeek", {Value(ColumnType::kDateTime, DateTime{0.0}),
                                                  Value(ColumnType::kDateTime, DateTime{80000.0})},
                               &weekly)
                  .ok());
  ASSERT_TRUE(engine->RunSql("SELECT Sum(Catch), Count(*) FROM tblInterview", {}, &raw).ok());
  int64_t catch_sum = 0, interviews = 0;
  for (const Row& r : weekly.rows) {
    catch_sum += r[2].as_int();
    interviews += r[4].as_int();
  }
  EXPECT_EQ(catch_sum, raw.rows[0][0].as_int());
  EXPECT_EQ(interviews, 3000);
  ASSERT_TRUE(engine->RunQuery("qryAllCounts", {}, &all_counts).ok());
  EXPECT_EQ(all_counts.rows.size(), 1200u);  // the union keeps every count row
}

TEST(Mksample, SameSeedSameBytesOtherSeedOtherRows) {
  const std::string a = Build("survey_a.mdb");
  const std::string b = Build("survey_b.mdb");
  const std::string c = Build("survey_c.mdb", "--seed 7");
  EXPECT_EQ(FileBytes(a), FileBytes(b));
  EXPECT_NE(MdbExport(a, "tblInterview"), MdbExport(c, "tblInterview"));
}

// Big enough that the table's and its indexes' pages spread over more of the
// file than a map kept inside one row could record.
TEST(Mksample, LargeVariantSetsTheInterviewCount) {
  const std::string path = Build("survey_large.mdb", "--large 200000");
  EXPECT_EQ(MdbExportRowCount(path, "tblInterview"), 200000);
  ExpectIndexesInStep(path, "tblInterview");
}

TEST(Mksample, ABrokenScriptIsRefusedByLineAndLeavesNoFile) {
  const std::string script = ::testing::TempDir() + "/broken.txt";
  const std::string output = ::testing::TempDir() + "/broken.mdb";
  std::ofstream(script) << "TABLE t\n  COLUMN a long\n  COLUMN b whatever\nEND\n";
  int code = 0;
  const std::string out = RunCommand(std::string(MKSAMPLE_PATH) + " '" + script + "' '" + output + "' 2>&1", &code);
  EXPECT_EQ(code, 1);
  EXPECT_NE(out.find("line 3: unknown column type 'whatever'"), std::string::npos) << out;
  EXPECT_FALSE(std::ifstream(output).good());
  const std::string usage = RunCommand(std::string(MKSAMPLE_PATH) + " 2>&1", &code);
  EXPECT_EQ(code, 2);
  EXPECT_NE(usage.find("usage: mksample"), std::string::npos);
}

}  // namespace
}  // namespace jet::testing
