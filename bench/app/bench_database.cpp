#include "bench_database.h"

#include <QProcess>
#include <stdexcept>

#include "jet/create.h"
#include "jet/database.h"

namespace {

constexpr int kBenchKey = 1000;  // OutputID and QueryID of the benchmark's rows

void Check(const jet::Status& status, const char* step) {
  if (!status.ok()) throw std::runtime_error(std::string(step) + ": " + status.ToString());
}

void RunMksample(const QString& path, long interviews) {
  QProcess mksample;
  mksample.start(QStringLiteral(TABULON_MKSAMPLE),
                 {QStringLiteral("--large"), QString::number(interviews), QStringLiteral(TABULON_SURVEY_SCRIPT), path});
  if (!mksample.waitForFinished(-1) || mksample.exitCode() != 0)
    throw std::runtime_error("mksample failed: " + mksample.readAllStandardError().toStdString());
}

jet::QuerySpec AllInterviews() {
  jet::QuerySpec query;
  query.name = "qryAllInterviews";
  query.from = {{"tblInterview", "i"}, {"tblAccessSite", "s"}};
  query.joins = {{"i", "s", 1, "i.AccessSiteID = s.AccessSiteID"}};
  for (const char* column : {"i.[Record Num]", "s.SiteName", "i.InterviewDate", "i.Week", "i.FishingStartTime",
                             "i.[Soak Time (hrs)]", "i.Catch", "i.FishReleased"})
    query.columns.push_back({column, "", jet::QuerySpec::Role::kPlain});
  query.order_by = {{"i.[Record Num]", false}};
  return query;
}

jet::Value Text(const std::string& text) { return jet::Value(jet::ColumnType::kText, text); }
jet::Value Long(int number) { return jet::Value(jet::ColumnType::kLong, int64_t{number}); }
jet::Value Null() { return jet::Value(); }

// Null values take each column's own type, as the engine stores them.
jet::Row Typed(jet::Database& db, const std::string& table, jet::Row row) {
  std::shared_ptr<const jet::TableDef> def;
  Check(db.GetTableDef(table, &def), "reading a table definition");
  for (size_t i = 0; i < row.size(); ++i)
    row[i] = row[i].is_null() ? jet::Value::Null(def->columns[i].type) : jet::Value(def->columns[i].type, row[i].data());
  return row;
}

void AddReport(const std::string& path, const std::string& report) {
  jet::OpenOptions options;
  options.writable = true;
  std::unique_ptr<jet::Database> db;
  Check(jet::Database::Open(path, options, &db), "opening the database");
  Check(db->InsertRow("tblExportableResults",
                      Typed(*db, "tblExportableResults",
                            {Long(kBenchKey), Text(report), Null(), Text("Bench"), Text("Every interview")})),
        "adding the report");
  Check(db->InsertRow("tblUserQueries", Typed(*db, "tblUserQueries",
                                              {Long(kBenchKey), Text("qryAllInterviews"), Text("Bench"), Null(),
                                               Null(), Null(), Null(), Null(), Null()})),
        "adding the user query");
  Check(db->InsertRow("tblExportableResults_UserQueries",
                      Typed(*db, "tblExportableResults_UserQueries", {Long(kBenchKey), Long(kBenchKey)})),
        "linking the query to the report");
}

}  // namespace

BenchDatabase BuildBenchDatabase(const QString& folder, long interviews) {
  BenchDatabase bench{folder + QStringLiteral("/bench.mdb"), QStringLiteral("All interviews")};
  RunMksample(bench.path, interviews);
  Check(jet::CreateQueries(bench.path.toStdString(), {AllInterviews()}, jet::CreateOptions()), "adding the query");
  AddReport(bench.path.toStdString(), bench.report.toStdString());
  return bench;
}
