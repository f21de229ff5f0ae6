// Tables moved to a real PostgreSQL server by jetdump --upsize and read back
// through their ODBC links: every saved query of the sample survey answers
// as it did from the file, the server is asked only for what a statement
// needs, and what goes wrong (a missing driver, a wrong password, a server
// that stops, a name taken on the server, a value the server cannot hold)
// is said plainly and changes nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "jet/links.h"
#include "jet/query.h"
#include "jet/text_form.h"
#include "postgres_server.h"
#include "test_support.h"

namespace jet {
namespace {

namespace fs = std::filesystem;
using testing::RunCommand;
using testing_support::PostgresServer;

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

// The sample survey, made afresh in `folder` (the large one, with
// `interviews` rows of interviews, when given).
std::string SampleDatabase(const std::string& folder, int interviews = 0) {
  const std::string path = testing::NewDatabase(folder, "survey.mdb");
  fs::remove(path);
  int rc = -1;
  const std::string large = interviews ? " --large " + std::to_string(interviews) : "";
  RunCommand(std::string(MKSAMPLE_PATH) + large + " " + SURVEY_SCRIPT + " " + path + " 2>&1", &rc);
  EXPECT_EQ(rc, 0);
  return path;
}

// A value of each parameter's type that selects some of the sample's rows.
Value MadeUpValue(const QueryParameterInfo& p) {
  switch (p.type) {
    case ColumnType::kDateTime:
      return Value(ColumnType::kDateTime, DateTime{p.name.find("End") != std::string::npos ? 44470.0 : 44317.0});
    case ColumnType::kText:
    case ColumnType::kMemo: return Value(ColumnType::kText, std::string("north "));
    default: return Value(ColumnType::kLong, int64_t{p.name.find("Year") != std::string::npos ? 2021 : 3});
  }
}

// Every saved query that returns rows, run with made-up parameters, as text.
std::string AllAnswers(const std::string& path, const OpenOptions& options) {
  std::shared_ptr<QueryEngine> engine;
  Status s = QueryEngine::ForFile(path, options, &engine);
  EXPECT_TRUE(s.ok()) << s.ToString();
  if (!s.ok()) return "";
  std::vector<SavedQuery> queries;
  EXPECT_TRUE(engine->ListQueries(&queries).ok());
  std::string out;
  for (const SavedQuery& q : queries) {
    if (QueryEngine::ChangesData(q.sql) || q.type == QueryType::kDataDefinition) continue;
    std::vector<QueryParameterInfo> parameters;
    EXPECT_TRUE(engine->QueryParameters(q.name, &parameters).ok()) << q.name;
    std::vector<Value> values;
    for (const auto& p : parameters) values.push_back(MadeUpValue(p));
    QueryResult result;
    s = engine->RunQuery(q.name, values, &result);
    out += "== " + q.name + (s.ok() ? "" : " failed: " + s.message()) + "\n";
    std::vector<std::string> names;
    for (const auto& c : result.columns) names.push_back(c.name + "|" + c.caption + "|" + std::string(ColumnTypeName(c.type)));
    AppendCsvHeader(&out, names);
    // Without an ORDER BY the order of the rows is the plan's: compare them as a set.
    std::vector<std::string> records;
    for (const auto& row : result.rows) {
      records.emplace_back();
      AppendCsvRecord(&records.back(), row);
    }
    if (q.sql.find("ORDER BY") == std::string::npos) std::sort(records.begin(), records.end());
    for (const std::string& record : records) out += record;
  }
  return out;
}

class ServerLinks : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    server_ = new PostgresServer();
    ASSERT_TRUE(server_->Start()) << server_->error();
  }
  // Each test starts from an empty server database.
  void SetUp() override { ServerSql("DROP SCHEMA public CASCADE; CREATE SCHEMA public;"); }
  static void TearDownTestSuite() {
    delete server_;
    server_ = nullptr;
  }
  // The links keep no password: ours comes from the mapping, as an office's would.
  static OpenOptions WithPassword() {
    OpenOptions options;
    options.odbc_mappings.push_back(*ParseOdbcMapping("{PostgreSQL Unicode}={PostgreSQL Unicode};PWD=" +
                                                      server_->password()));
    return options;
  }
  static std::string Upsize(const std::string& path, const std::string& extra, int* rc) {
    return RunCommand(std::string(JETDUMP_PATH) + " " + path + " --upsize '" + server_->odbc_connect() + "' " + extra +
                          " 2>&1",
                      rc);
  }
  static std::string ServerSql(const std::string& sql) {
    std::string out;
    server_->RunSql(sql, &out);
    return out;
  }
  static PostgresServer* server_;
};

PostgresServer* ServerLinks::server_ = nullptr;

TEST_F(ServerLinks, UpsizedSampleAnswersEverySavedQueryAsTheFileDid) {
  const std::string path = SampleDatabase("server_links_sample");
  const std::string before = AllAnswers(path, {});
  ASSERT_NE(before.find("== qryCatchByWeek\n"), std::string::npos);

  int rc = -1;
  const std::string said = Upsize(path, "", &rc);
  ASSERT_EQ(rc, 0) << said;
  EXPECT_NE(said.find("tblInterview\t3000 rows"), std::string::npos) << said;
  EXPECT_EQ(ServerSql("SELECT count(*) FROM \"tblInterview\""), "3000\n");
  EXPECT_EQ(ServerSql("SELECT to_regclass('\"tblUserQueries\"') IS NULL"), "t\n") << "the report tables stay";

  // Our reader and mdbtools list the links, with the connect string and
  // without its password; the local tables stay beside them.
  const std::string listed = RunCommand(std::string(JETDUMP_PATH) + " " + path + " 2>&1");
  const std::string kept = "ODBC;DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=" + std::to_string(server_->port()) +
                           ";DATABASE=survey;UID=tabulon";
  EXPECT_NE(listed.find("tblInterview\tlinked-odbc\t"), std::string::npos) << listed;
  EXPECT_NE(listed.find("\ttblInterview\t" + kept + "\n"), std::string::npos) << listed;
  EXPECT_NE(listed.find("tblInterview_local\ttable\t3000"), std::string::npos) << listed;
  EXPECT_EQ(listed.find(server_->password()), std::string::npos);
  // mdbtools files an ODBC link (catalogue type 4) under "any", not "table".
  const std::string mdb_tables = RunCommand("mdb-tables -1 -t any " + path);
  EXPECT_NE(mdb_tables.find("\ntblInterview\n"), std::string::npos);
  EXPECT_NE(mdb_tables.find("\ntblInterview_local\n"), std::string::npos);
  const std::string objects = RunCommand("mdb-export " + path + " MSysObjects");
  EXPECT_NE(objects.find("\"" + kept + "\""), std::string::npos);
  EXPECT_NE(objects.find("\"tblInterview\""), std::string::npos);

  EXPECT_EQ(AllAnswers(path, WithPassword()), before);
  // The driver's own means of finding a password serve too.
  setenv("PGPASSWORD", server_->password().c_str(), 1);
  EXPECT_EQ(AllAnswers(path, {}), before);
  unsetenv("PGPASSWORD");
}

TEST_F(ServerLinks, AsksTheServerOnlyForTheColumnsAndRowsAStatementNeeds) {
  const std::string path = SampleDatabase("server_links_pushdown");
  int rc = -1;
  ASSERT_EQ((Upsize(path, "tblInterview", &rc), rc), 0);
  ServerSql("ALTER SYSTEM SET log_statement = 'all'; SELECT pg_reload_conf();");
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, WithPassword(), &engine).ok());
  engine->set_copy_row_limit(100);  // the 3,000 rows are then read from the server, not copied
  const size_t log_start = Slurp(server_->folder() + "/server.log").size();
  QueryResult result;
  Status s = engine->RunSql(
      "SELECT Catch FROM tblInterview WHERE InterviewDate >= #2021-06-01# AND InterviewDate < #2021-06-08# "
      "AND ManagementUnitID = 2 AND [Soak Time (hrs)] > 1.5",
      {}, &result);
  ASSERT_TRUE(s.ok()) << s.ToString();
  const std::string asked = Slurp(server_->folder() + "/server.log").substr(log_start);
  // The used columns only (dates as text, which is cheaper to read), and
  // each number and date condition as a WHERE; the dates a second wider,
  // since the server keeps fractions Jet rounds.
  EXPECT_NE(asked.find("SELECT \"InterviewDate\"::text, \"ManagementUnitID\", \"Soak Time (hrs)\", \"Catch\" FROM "
                       "\"tblInterview\" WHERE \"InterviewDate\" >= $1 AND \"InterviewDate\" <= $2 AND "
                       "\"ManagementUnitID\" = $3 AND \"Soak Time (hrs)\" > $4"),
            std::string::npos)
      << asked;
  EXPECT_NE(asked.find("$1 = '2021-05-31 23:59:59', $2 = '2021-06-08 00:00:01', $3 = '2', $4 = '1.5'"),
            std::string::npos)
      << asked;
  EXPECT_EQ(asked.find("\"Year\""), std::string::npos) << asked;

  QueryResult from_file;
  ASSERT_TRUE(engine->RunSql("SELECT Catch FROM tblInterview_local WHERE InterviewDate >= #2021-06-01# AND "
                             "InterviewDate < #2021-06-08# AND ManagementUnitID = 2 AND [Soak Time (hrs)] > 1.5",
                             {}, &from_file)
                  .ok());
  EXPECT_EQ(result.rows, from_file.rows);
  EXPECT_FALSE(result.rows.empty());
  ServerSql("ALTER SYSTEM RESET log_statement; SELECT pg_reload_conf();");
}

TEST_F(ServerLinks, ABrokenLinkIsNamedWithItsPasswordHiddenAndTheRestStillReads) {
  const std::string path = SampleDatabase("server_links_broken");
  int rc = -1;
  ASSERT_EQ((Upsize(path, "tblAccessSite tblGearType --drop-local", &rc), rc), 0);
  const std::string listed = RunCommand(std::string(JETDUMP_PATH) + " " + path + " 2>&1");
  EXPECT_EQ(listed.find("tblAccessSite_local"), std::string::npos) << listed;
  EXPECT_NE(listed.find("tblAccessSite\tlinked-odbc"), std::string::npos) << listed;
  std::string connect = server_->odbc_connect();
  connect.replace(connect.find("{PostgreSQL Unicode}"), 20, "{Survey SQL Driver}");
  OdbcLink no_driver{"tblNoDriver", connect, "tblGearType", "", {{"GearTypeID", ColumnType::kLong}}, {}};
  Status linked = ReplaceTablesByOdbcLinks(path, {no_driver}, {});
  ASSERT_TRUE(linked.ok()) << linked.ToString();

  auto refusal = [&](const OpenOptions& options, const std::string& sql) {
    std::shared_ptr<QueryEngine> engine;
    EXPECT_TRUE(QueryEngine::ForFile(path, options, &engine).ok());
    QueryResult result;
    Status s = engine->RunSql(sql, {}, &result);
    EXPECT_FALSE(s.ok()) << sql;
    EXPECT_EQ(s.message().find(server_->password()), std::string::npos) << s.message();
    QueryResult local;
    EXPECT_TRUE(engine->RunSql("SELECT Count(*) FROM tblInterview", {}, &local).ok()) << "the file still reads";
    return s.message();
  };
  std::string said = refusal(WithPassword(), "SELECT * FROM tblNoDriver");
  EXPECT_NE(said.find("'tblNoDriver'"), std::string::npos) << said;
  EXPECT_NE(said.find("DRIVER={Survey SQL Driver}"), std::string::npos) << said;
  EXPECT_NE(said.find("PWD=***"), std::string::npos) << said;

  OpenOptions wrong;
  wrong.odbc_mappings.push_back(*ParseOdbcMapping("{PostgreSQL Unicode}={PostgreSQL Unicode};PWD=not-it"));
  said = refusal(wrong, "SELECT * FROM tblAccessSite");
  EXPECT_NE(said.find("'tblAccessSite'"), std::string::npos) << said;
  EXPECT_NE(said.find("password authentication failed"), std::string::npos) << said;

  // A server that goes away mid-session: the next statement says so, and
  // once it is back the link reads again on a new connection.
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, WithPassword(), &engine).ok());
  QueryResult result;
  ASSERT_TRUE(engine->RunSql("SELECT * FROM tblAccessSite", {}, &result).ok());
  ASSERT_TRUE(server_->Stop());
  Status s = engine->RunSql("SELECT * FROM tblAccessSite", {}, &result);
  EXPECT_FALSE(s.ok());
  EXPECT_NE(s.message().find("'tblAccessSite'"), std::string::npos) << s.message();
  ASSERT_TRUE(server_->Restart()) << server_->error();
  s = engine->RunSql("SELECT * FROM tblAccessSite", {}, &result);
  EXPECT_TRUE(s.ok()) << s.ToString();
  EXPECT_EQ(result.rows.size(), 12u);
}

// The large sample moves whole, its report queries answer through the links
// as from the file, and a server that stops during a long read ends that
// read with the table named while the file and its own tables stay as
// they were.
TEST_F(ServerLinks, TheLargeSampleMovesAndAServerStoppingMidReadIsNamed) {
  constexpr int kInterviews = 1000000;
  const std::string path = SampleDatabase("server_links_large", kInterviews);
  const std::string jet_copy = path + ".jet.mdb";
  fs::copy_file(path, jet_copy, fs::copy_options::overwrite_existing);
  int rc = -1;
  const std::string moved = Upsize(path, "", &rc);
  ASSERT_EQ(rc, 0) << moved;
  std::string count;
  ASSERT_EQ(server_->RunSql("SELECT count(*) FROM \"tblInterview\"", &count), 0);
  EXPECT_NE(count.find(std::to_string(kInterviews)), std::string::npos) << count;
  const std::string mapping = " --odbc-map '{PostgreSQL Unicode}={PostgreSQL Unicode};PWD=" + server_->password() + "' ";
  for (const std::string run : {"--run qryCatchByWeek 2021-05-01 2021-09-30", "--run qryInterviewsAtSite 3"}) {
    const std::string through_links = RunCommand(std::string(JETDUMP_PATH) + mapping + path + " " + run + " 2>&1");
    EXPECT_GT(through_links.size(), 500u) << through_links;
    EXPECT_EQ(through_links, RunCommand(std::string(JETDUMP_PATH) + " " + jet_copy + " " + run + " 2>&1")) << run;
  }

  const std::string file_before = Slurp(path);
  std::unique_ptr<Database> db;
  OpenOptions options = WithPassword();
  options.server_tables = MakeOdbcTables(options.odbc_mappings);
  ASSERT_TRUE(Database::Open(path, options, &db).ok());
  std::unique_ptr<TableCursor> cursor;
  ASSERT_TRUE(db->OpenTable("tblInterview", &cursor).ok());
  ASSERT_TRUE(cursor->Next());
  ASSERT_TRUE(server_->Stop());
  uint64_t rows = 1;
  while (cursor->Next()) ++rows;
  EXPECT_LT(rows, static_cast<uint64_t>(kInterviews));
  EXPECT_FALSE(cursor->status().ok());
  EXPECT_NE(cursor->status().message().find("'tblInterview'"), std::string::npos) << cursor->status().ToString();
  cursor.reset();
  std::unique_ptr<TableCursor> local;
  ASSERT_TRUE(db->OpenTable("tblInterview_local", &local).ok());
  uint64_t local_rows = 0;
  while (local->Next()) ++local_rows;
  EXPECT_EQ(local_rows, static_cast<uint64_t>(kInterviews));
  local.reset();
  db.reset();
  EXPECT_TRUE(Slurp(path) == file_before);
  ASSERT_TRUE(server_->Restart()) << server_->error();
}

TEST_F(ServerLinks, UpsizeRefusalsLeaveTheFileAndTheServerAsTheyWere) {
  const std::string path = SampleDatabase("server_links_refusals");
  const std::string file_before = Slurp(path);
  const std::string tables_before = ServerSql("SELECT string_agg(tablename, ',' ORDER BY tablename) FROM pg_tables "
                                              "WHERE schemaname = 'public'");
  int rc = -1;
  // A name already taken on the server.
  ServerSql("CREATE TABLE \"tblUser\" (id integer)");
  std::string said = Upsize(path, "tblTimeBlock tblUser", &rc);
  EXPECT_NE(rc, 0);
  EXPECT_NE(said.find("A table named 'tblUser' already exists on the server"), std::string::npos) << said;
  EXPECT_EQ(Slurp(path), file_before);
  ServerSql("DROP TABLE \"tblUser\"");
  EXPECT_EQ(ServerSql("SELECT string_agg(tablename, ',' ORDER BY tablename) FROM pg_tables WHERE schemaname = "
                      "'public'"),
            tables_before);

  // A value the server cannot hold: the tables copied before it go too.
  std::shared_ptr<QueryEngine> engine;
  OpenOptions writable;
  writable.writable = true;
  ASSERT_TRUE(QueryEngine::ForFile(path, writable, &engine).ok());
  int64_t changed = 0;
  ASSERT_TRUE(engine->Execute("UPDATE tblUser SET UserName = 'nul' & Chr(0) & 'here' WHERE UserID = 2", {}, &changed).ok());
  ASSERT_EQ(changed, 1);
  engine.reset();
  const std::string file_with_nul = Slurp(path);
  said = Upsize(path, "tblTimeBlock tblUser", &rc);
  EXPECT_NE(rc, 0);
  EXPECT_NE(said.find("the field 'UserName' of the table 'tblUser'"), std::string::npos) << said;
  EXPECT_EQ(Slurp(path), file_with_nul);
  EXPECT_EQ(ServerSql("SELECT string_agg(tablename, ',' ORDER BY tablename) FROM pg_tables WHERE schemaname = "
                      "'public'"),
            tables_before);
}

}  // namespace
}  // namespace jet

namespace jet {
namespace {

TEST_F(ServerLinks, ChangesGoToTheServerInTheFilesTransaction) {
  const std::string path = SampleDatabase("server_links_changes");
  int rc = -1;
  ASSERT_EQ((Upsize(path, "tblUser tblExportableResults", &rc), rc), 0);
  OpenOptions options = WithPassword();
  options.writable = true;
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, options, &engine).ok());
  auto execute = [&](const std::string& sql) {
    int64_t affected = -1;
    Status s = engine->Execute(sql, {}, &affected);
    EXPECT_TRUE(s.ok()) << sql << ": " << s.ToString();
    return affected;
  };
  // Statements: rows found by the file's own rules (a join to a local
  // table, a case-blind text match), changed on the server by their keys.
  EXPECT_EQ(execute("UPDATE tblUser SET Initials = 'ZZ' WHERE UserName = 'ben carter'"), 1);
  EXPECT_EQ(execute("INSERT INTO tblUser (UserID, UserName) VALUES (9, 'Nine')"), 1);
  EXPECT_EQ(execute("DELETE FROM tblUser WHERE UserID IN (SELECT UserID FROM tblUser_local WHERE UserID = 3)"), 1);
  EXPECT_EQ(ServerSql("SELECT string_agg(\"UserID\" || ':' || coalesce(\"Initials\", '-'), ',' ORDER BY \"UserID\") "
                      "FROM \"tblUser\""),
            "1:AL,2:ZZ,4:DO,5:EB,6:FM,9:-\n");

  // One transaction over the file and the server: rolled back, neither
  // changes; committed, both do.
  const std::string server_before = ServerSql("SELECT count(*) FROM \"tblUser\"");
  const std::string file_before = Slurp(path);
  ASSERT_TRUE(engine->BeginTransaction().ok());
  execute("DELETE FROM tblUser WHERE UserID = 9");
  execute("UPDATE tblUser_local SET Initials = 'XX' WHERE UserID = 1");
  ASSERT_TRUE(engine->Rollback().ok());
  EXPECT_EQ(ServerSql("SELECT count(*) FROM \"tblUser\""), server_before);
  EXPECT_EQ(Slurp(path), file_before);
  ASSERT_TRUE(engine->BeginTransaction().ok());
  execute("DELETE FROM tblUser WHERE UserID = 9");
  execute("UPDATE tblUser_local SET Initials = 'XX' WHERE UserID = 1");
  ASSERT_TRUE(engine->Commit().ok());
  EXPECT_EQ(ServerSql("SELECT count(*) FROM \"tblUser\" WHERE \"UserID\" = 9"), "0\n");
  QueryResult local;
  ASSERT_TRUE(engine->RunSql("SELECT Initials FROM tblUser_local WHERE UserID = 1", {}, &local).ok());
  EXPECT_EQ(CanonicalText(local.rows.at(0).at(0)), "XX");
  // A statement that fails part way takes back its own changes on the
  // server, and only those: the transaction goes on.
  ASSERT_TRUE(engine->BeginTransaction().ok());
  execute("UPDATE tblUser SET Initials = 'KK' WHERE UserID = 1");
  int64_t changed = 0;
  EXPECT_FALSE(engine->Execute("UPDATE tblUser SET Initials = IIf(UserID = 6, 'TOO LONG', 'OK')", {}, &changed).ok());
  ASSERT_TRUE(engine->Commit().ok());
  EXPECT_EQ(ServerSql("SELECT string_agg(\"Initials\", ',' ORDER BY \"UserID\") FROM \"tblUser\""), "KK,ZZ,DO,EB,FM\n");

  // Rows by their places, as a table recordset edits them: a new report
  // gets its number from the server's identity, which goes on after the
  // file's highest.
  Database& db = engine->database();
  std::vector<RowId> ids;
  ASSERT_TRUE(db.ListRowIds("tblExportableResults", &ids).ok());
  ASSERT_EQ(ids.size(), 4u);
  Row row;
  ASSERT_TRUE(db.ReadRowAt("tblExportableResults", ids[1], &row).ok());
  row[1] = Value(ColumnType::kText, std::string("Renamed"));
  ASSERT_TRUE(db.UpdateRow("tblExportableResults", ids[1], row).ok());
  Row fresh(row.size());
  fresh[1] = Value(ColumnType::kText, std::string("New report"));
  RowId added;
  ASSERT_TRUE(db.InsertRow("tblExportableResults", fresh, &added).ok());
  ASSERT_TRUE(db.ReadRow("tblExportableResults", added, &row).ok());
  EXPECT_EQ(CanonicalText(row[0]), "5");
  ASSERT_TRUE(db.DeleteRow("tblExportableResults", ids[0]).ok());
  EXPECT_EQ(ServerSql("SELECT string_agg(\"OutputID\" || ':' || left(\"Abbreviation\", 7), ',' ORDER BY "
                      "\"OutputID\") FROM \"tblExportableResults\" WHERE \"OutputID\" IN (1, 2, 5)"),
            "2:Renamed,5:New rep\n");

  // Another user deleted the row meanwhile; a server table without a key
  // cannot be changed at all.
  ServerSql("DELETE FROM \"tblExportableResults\" WHERE \"OutputID\" = 2");
  Status s = db.UpdateRow("tblExportableResults", ids[1], row);
  EXPECT_EQ(s.jet_error(), 3167) << s.ToString();
  ServerSql("ALTER TABLE \"tblUser\" DROP CONSTRAINT \"tblUser_pkey\"");
  engine.reset();
  ASSERT_TRUE(QueryEngine::ForFile(path, options, &engine).ok());
  int64_t affected = 0;
  s = engine->Execute("UPDATE tblUser SET Initials = 'QQ'", {}, &affected);
  EXPECT_EQ(s.jet_error(), 3027) << s.ToString();
  EXPECT_EQ(ServerSql("SELECT count(*) FROM \"tblUser\" WHERE \"Initials\" = 'QQ'"), "0\n");
}

}  // namespace
}  // namespace jet

namespace jet {
namespace {

// A real database with relationships: they become the server's foreign
// keys, the local copies go with their relationships, and every saved query
// answers as before.
TEST_F(ServerLinks, NorthwindMovesWithItsRelationshipsAsForeignKeys) {
  const std::string path = testing::NewDatabase("server_links_northwind", "nw.mdb");
  fs::copy_file(testing::FixturePath("npsmith88-Northwind.mdb"), path, fs::copy_options::overwrite_existing);
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write);
  const std::string before = AllAnswers(path, {});
  int rc = -1;
  const std::string said = Upsize(path, "--drop-local", &rc);
  ASSERT_EQ(rc, 0) << said;
  EXPECT_EQ(AllAnswers(path, WithPassword()), before);
  EXPECT_EQ(RunCommand("mdb-tables -1 " + path + " | grep -c _local"), "0\n");
  EXPECT_EQ(RunCommand("mdb-export " + path + " MSysRelationships | grep -c Orders"), "0\n");
  EXPECT_EQ(ServerSql("SELECT count(*) FROM pg_constraint WHERE contype = 'f' AND conrelid = '\"Orders\"'::regclass"),
            "3\n");

  // The server now keeps the rows related: an order's customer cannot go.
  OpenOptions options = WithPassword();
  options.writable = true;
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, options, &engine).ok());
  int64_t affected = 0;
  Status s = engine->Execute("DELETE FROM Customers WHERE CustomerID = 'ALFKI'", {}, &affected);
  EXPECT_EQ(s.jet_error(), 3146) << s.ToString();
  EXPECT_NE(s.message().find("Customers"), std::string::npos) << s.message();
  EXPECT_EQ(ServerSql("SELECT count(*) FROM \"Customers\" WHERE \"CustomerID\" = 'ALFKI'"), "1\n");
}

}  // namespace
}  // namespace jet
