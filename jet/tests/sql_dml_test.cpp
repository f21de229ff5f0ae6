// INSERT, UPDATE and DELETE run by the query engine on copies of real
// Access files: the rows they change are read back by our reader and by
// mdbtools, every index is checked, and refusals leave the file unchanged.
#include <gtest/gtest.h>

#include <algorithm>

#include "jet/create.h"
#include "jet/query.h"
#include "jet/text_form.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

std::shared_ptr<QueryEngine> Writer(const std::string& path) {
  OpenOptions options;
  options.writable = true;
  std::shared_ptr<QueryEngine> engine;
  Status s = QueryEngine::ForFile(path, options, &engine);
  EXPECT_TRUE(s.ok()) << s.ToString();
  return engine;
}

int64_t Exec(QueryEngine& engine, const std::string& sql, const std::vector<Value>& params = {}) {
  int64_t affected = -1;
  Status s = engine.Execute(sql, params, &affected);
  EXPECT_TRUE(s.ok()) << sql << ": " << s.ToString();
  return affected;
}

std::vector<Row> Select(QueryEngine& engine, const std::string& sql) {
  QueryResult result;
  Status s = engine.RunSql(sql, {}, &result);
  EXPECT_TRUE(s.ok()) << sql << ": " << s.ToString();
  return result.rows;
}

std::vector<std::string> Column(const std::vector<Row>& rows, size_t column) {
  std::vector<std::string> out;
  for (const Row& r : rows) out.push_back(r[column].is_null() ? "<null>" : CanonicalText(r[column]));
  return out;
}

Value Text(const std::string& s) { return Value(ColumnType::kText, s); }
Value Long(int64_t v) { return Value(ColumnType::kLong, v); }

std::string RunJetdump(const std::string& args, int* rc) {
  return RunCommand(std::string("'") + JETDUMP_PATH + "' " + args + " 2>&1", rc);
}

constexpr char kReports[] = "tblExportableResults";
constexpr char kLinks[] = "tblExportableResults_UserQueries";
constexpr char kQueries[] = "tblUserQueries";

// A GUID as Access writes it in SQL, {guid {...}}, and a Guid parameter
// given as the same text, stand for the stored bytes: mdbtools reads back
// what was written, and a literal in either case finds the row.
TEST(SqlDml, GuidLiteralsAndParametersMeanTheStoredGuid) {
  const std::string path = NewDatabase("jet-sql-dml-tests", "guids.mdb");
  ASSERT_TRUE(CreateTables(path, {{"Tags", {{"ID", ColumnType::kLong}, {"Tag", ColumnType::kGuid}}, {}, ""}}, {}).ok());
  auto engine = Writer(path);
  EXPECT_EQ(Exec(*engine, "INSERT INTO Tags (ID, Tag) VALUES (1, {guid {12345678-9ABC-DEF0-1122-334455667788}})"), 1);
  EXPECT_EQ(Exec(*engine, "PARAMETERS p Guid; INSERT INTO Tags (ID, Tag) VALUES (2, p)",
                 {Text("{00000000-0000-0000-0000-0000000000FF}")}),
            1);
  EXPECT_EQ(Column(Select(*engine, "SELECT ID FROM Tags WHERE Tag = {GUID  {12345678-9abc-def0-1122-334455667788}}"), 0),
            std::vector<std::string>{"1"});
  QueryResult r;
  EXPECT_EQ(engine->RunSql("SELECT {guid {1234}}", {}, &r).jet_error(), 3075);
  EXPECT_EQ(engine->RunSql("SELECT {guid {12345678-9ABC-DEF0-1122-334455667788}", {}, &r).jet_error(), 3075);
  engine.reset();
  // mdbtools writes the last two groups as one.
  const std::string csv = MdbExport(path, "Tags");
  EXPECT_NE(csv.find("1,\"{12345678-9ABC-DEF0-1122334455667788}\""), std::string::npos) << csv;
  EXPECT_NE(csv.find("2,\"{00000000-0000-0000-00000000000000FF}\""), std::string::npos) << csv;
}

TEST(SqlDml, ChangesRowsThatOurReaderMdbtoolsAndEveryIndexAgreeOn) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "dml-change.mdb");
  {
    auto engine = Writer(path);
    ASSERT_TRUE(engine);
    EXPECT_EQ(1, Exec(*engine, "UPDATE tblExportableResults SET tblExportableResults.Description = 'Rewritten' "
                              "WHERE (((tblExportableResults.OutputID)=2));"));
    EXPECT_EQ(3, Exec(*engine, "DELETE tblExportableResults_UserQueries.QueryID, "
                              "tblExportableResults_UserQueries.OutputID FROM tblExportableResults_UserQueries "
                              "WHERE (((tblExportableResults_UserQueries.OutputID)=1));"));
    EXPECT_EQ(1, Exec(*engine, "DELETE tblExportableResults.* FROM tblExportableResults WHERE OutputID = 4"));
    EXPECT_EQ(1, Exec(*engine, "INSERT INTO tblExportableResults (Abbreviation, Author, DateCreated, Description) "
                              "VALUES ('Weekly', 'ana', #2024-03-01 13:30#, 'Made by SQL')"));
    // Every report gets a link to query 10 that it lacks.
    EXPECT_EQ(6, Exec(*engine, "INSERT INTO tblExportableResults_UserQueries (OutputID, QueryID) "
                              "SELECT OutputID, 10 FROM tblExportableResults WHERE OutputID NOT IN "
                              "(SELECT OutputID FROM tblExportableResults_UserQueries WHERE QueryID = 10)"));
    // A change is seen by the next SELECT of the same engine.
    auto rows = Select(*engine, "SELECT Description FROM tblExportableResults WHERE Abbreviation = 'Weekly'");
    EXPECT_EQ(std::vector<std::string>{"Made by SQL"}, Column(rows, 0));
  }
  auto db = OpenForReading(path);
  std::vector<Row> reports = AllRows(*db, kReports);
  // The new row may take the slot the deleted one left, so scan order is not id order.
  std::sort(reports.begin(), reports.end(), [](const Row& a, const Row& b) { return a[0].as_int() < b[0].as_int(); });
  std::vector<std::string> ids = Column(reports, 0);
  EXPECT_EQ(std::vector<std::string>({"1", "2", "3", "5", "6", "7", "8"}), ids);
  EXPECT_EQ("Rewritten", CanonicalText(reports[1][4]));
  EXPECT_EQ("2024-03-01 13:30:00", CanonicalText(reports.back()[2]));
  const std::string exported = MdbExport(path, kReports);
  EXPECT_NE(std::string::npos, exported.find("\"Rewritten\""));
  EXPECT_NE(std::string::npos, exported.find("8,\"Weekly\""));
  EXPECT_EQ(std::string::npos, exported.find("\n4,"));
  EXPECT_EQ(14, MdbExportRowCount(path, kLinks));
  EXPECT_EQ(14u, AllRows(*db, kLinks).size());
  for (const char* table : {kReports, kLinks, kQueries}) ExpectIndexesInStep(path, table);
}

TEST(SqlDml, UpdatesThroughJoinsAndConvertsValuesToTheColumnsTypes) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "dml-join.mdb");
  {
    auto engine = Writer(path);
    ASSERT_TRUE(engine);
    // Only queries linked to report 3 change; the join brings each once.
    EXPECT_EQ(2, Exec(*engine, "UPDATE tblUserQueries INNER JOIN tblExportableResults_UserQueries AS L "
                              "ON tblUserQueries.QueryID = L.QueryID SET tblUserQueries.ExcelTargetRow = '12' "
                              "WHERE L.OutputID = 3"));
    auto rows = Select(*engine, "SELECT QueryID FROM tblUserQueries WHERE ExcelTargetRow = 12 ORDER BY 1");
    EXPECT_EQ(std::vector<std::string>({"8", "9"}), Column(rows, 0));
    // Text that reads as a date goes into a Date/Time column; a number into text.
    EXPECT_EQ(1, Exec(*engine, "UPDATE tblExportableResults SET DateCreated = '2001-02-03', "
                              "Description = 1.5 * 2 WHERE OutputID = 1"));
    rows = Select(*engine, "SELECT DateCreated, Description FROM tblExportableResults WHERE OutputID = 1");
    EXPECT_EQ("2001-02-03 00:00:00", Column(rows, 0)[0]);
    EXPECT_EQ("3", Column(rows, 1)[0]);
  }
  EXPECT_NE(std::string::npos, MdbExport(path, kReports).find("\"02/03/01 00:00:00\""));
  for (const char* table : {kReports, kQueries}) ExpectIndexesInStep(path, table);
}

TEST(SqlDml, NewRowsTakeTheColumnsDefaultValues) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "dml-defaults.mdb");
  auto engine = Writer(path);
  ASSERT_TRUE(engine);
  EXPECT_EQ(1, Exec(*engine, "INSERT INTO Products (ProductName, UnitsInStock) VALUES ('Kelp', 40)"));
  auto rows = Select(*engine, "SELECT UnitsInStock, UnitsOnOrder, ReorderLevel, Discontinued, UnitPrice "
                              "FROM Products WHERE ProductName = 'Kelp'");
  ASSERT_EQ(1u, rows.size());
  // Given values win; the others are the defaults 0, 0, 0, =No and 0.
  EXPECT_EQ(std::vector<std::string>({"40", "0", "0", "0", "0"}),
            std::vector<std::string>({CanonicalText(rows[0][0]), CanonicalText(rows[0][1]), CanonicalText(rows[0][2]),
                                      CanonicalText(rows[0][3]), CanonicalText(rows[0][4])}));
  Row fresh;
  ASSERT_TRUE(engine->NewRow("Products", &fresh).ok());
  EXPECT_TRUE(fresh[0].is_null());  // the autonumber comes at insert
  engine.reset();
  ExpectIndexesInStep(path, "Products");
}

TEST(SqlDml, TakesParametersAndRunsSavedActionQueriesByName) {
  const std::string path = ScratchCopy("psc-adoquery-Northwind.mdb", "dml-saved.mdb");
  auto engine = Writer(path);
  ASSERT_TRUE(engine);
  int64_t affected = 0;
  ASSERT_TRUE(engine->ExecuteQuery("qry_ins_Categories", {Text("Seaweed"), Text("From the shore"), Value()},
                                   &affected).ok());
  EXPECT_EQ(1, affected);
  auto rows = Select(*engine, "SELECT CategoryID, Description FROM Categories WHERE CategoryName = 'Seaweed'");
  ASSERT_EQ(1u, rows.size());
  const int64_t id = rows[0][0].as_int();
  EXPECT_GT(id, 8);
  Status s = engine->ExecuteQuery("qry_del_Categories", {Long(id)}, &affected);
  ASSERT_TRUE(s.ok()) << s.ToString();
  EXPECT_EQ(1, affected);
  // Undeclared parameters are given by position too.
  EXPECT_EQ(2, Exec(*engine, "UPDATE Customers SET Phone = [new phone] WHERE CustomerID < [before]",
                   {Text("(555) 010-0000"), Text("ANTON")}));
  EXPECT_EQ(std::vector<std::string>({"(555) 010-0000", "(555) 010-0000"}),
            Column(Select(*engine, "SELECT Phone FROM Customers WHERE CustomerID IN ('ALFKI', 'ANATR')"), 0));
  s = engine->Execute("UPDATE Customers SET Phone = [new phone]", {}, &affected);
  EXPECT_EQ(3061, s.jet_error()) << s.ToString();
  s = engine->ExecuteQuery("Invoices", {}, &affected);
  EXPECT_FALSE(s.ok());
  engine.reset();
  ExpectIndexesInStep(path, "Categories");
  ExpectIndexesInStep(path, "Customers");
}

struct Refusal {
  const char* sql;
  int jet_error;
};

TEST(SqlDml, RefusedStatementsLeaveTheFileByteForByteUnchanged) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "dml-refused.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  const Refusal refusals[] = {
      {"INSERT INTO tblExportableResults (OutputID, Abbreviation) VALUES (1, 'again')", 3022},
      // The first rows would change before the duplicate is met.
      {"UPDATE tblExportableResults SET OutputID = IIf(OutputID = 1, 100, 2)", 3022},
      {"UPDATE tblExportableResults SET Abbreviation = String(300, 'x')", 3163},
      {"UPDATE tblExportableResults SET DateCreated = 'not a date'", 3464},
      {"UPDATE tblMissing SET x = 1", 3078},
      {"DELETE FROM tblExportableResults WHERE", 3075},
      {"DELETE FROM tblExportableResults WHERE OutputID = [which]", 3061},
      {"INSERT INTO tblExportableResults (NoSuchField) VALUES (1)", 3127},
      {"INSERT INTO tblExportableResults (Abbreviation, Author) VALUES ('one')", 3346},
      {"SELECT * FROM tblExportableResults", 3065},
  };
  auto engine = Writer(path);
  ASSERT_TRUE(engine);
  auto before_rows = Select(*engine, "SELECT * FROM tblExportableResults_UserQueries");
  for (const Refusal& r : refusals) {
    int64_t affected = -1;
    Status s = engine->Execute(r.sql, {}, &affected);
    EXPECT_EQ(r.jet_error, s.jet_error()) << r.sql << ": " << s.ToString();
    EXPECT_EQ(0, affected) << r.sql;
  }
  int64_t affected = 0;
  Status make_table = engine->Execute("SELECT * INTO tblCopy FROM tblExportableResults", {}, &affected);
  EXPECT_EQ(Status::Code::kUnsupported, make_table.code()) << make_table.ToString();
  EXPECT_EQ(before_rows.size(), Select(*engine, "SELECT * FROM tblExportableResults_UserQueries").size());
  engine.reset();
  EXPECT_TRUE(FileBytes(path) == before);
}

TEST(SqlDml, RequiredFieldsAreEnforcedWithJetsError) {
  const std::string path = ScratchCopy("psc-adoquery-Northwind.mdb", "dml-required.mdb");
  auto engine = Writer(path);
  ASSERT_TRUE(engine);
  int64_t affected = 0;
  Status s = engine->Execute("INSERT INTO Categories (Description) VALUES ('no name')", {}, &affected);
  EXPECT_EQ(3314, s.jet_error()) << s.ToString();
}

TEST(SqlDml, TransactionsSpanStatementsAndRollBackToTheOldFile) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "dml-transaction.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  auto engine = Writer(path);
  ASSERT_TRUE(engine);
  ASSERT_TRUE(engine->BeginTransaction().ok());
  EXPECT_EQ(11, Exec(*engine, "DELETE FROM tblExportableResults_UserQueries"));
  EXPECT_EQ(0u, Select(*engine, "SELECT * FROM tblExportableResults_UserQueries").size());
  ASSERT_TRUE(engine->Rollback().ok());
  EXPECT_EQ(11u, Select(*engine, "SELECT * FROM tblExportableResults_UserQueries").size());
  EXPECT_TRUE(FileBytes(path) == before);

  ASSERT_TRUE(engine->BeginTransaction().ok());
  EXPECT_EQ(2, Exec(*engine, "DELETE FROM tblExportableResults_UserQueries WHERE OutputID = 3"));
  EXPECT_EQ(1, Exec(*engine, "INSERT INTO tblExportableResults_UserQueries (OutputID, QueryID) VALUES (3, 1)"));
  ASSERT_TRUE(engine->Commit().ok());
  engine.reset();
  EXPECT_EQ(10, MdbExportRowCount(path, kLinks));
  ExpectIndexesInStep(path, kLinks);
}

TEST(SqlDml, AStatementThatFailsInsideATransactionTakesBackItsOwnChanges) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "dml-statement-undo.mdb");
  auto engine = Writer(path);
  ASSERT_TRUE(engine);
  ASSERT_TRUE(engine->BeginTransaction().ok());
  EXPECT_EQ(1, Exec(*engine, "UPDATE tblExportableResults SET Author = 'kept' WHERE OutputID = 7"));
  const char* failing[] = {
      "UPDATE tblExportableResults SET OutputID = IIf(OutputID = 1, 100, 2)",
      "INSERT INTO tblExportableResults (OutputID, Abbreviation) "
      "SELECT IIf(OutputID = 3, 101, OutputID + 100), 'copy' FROM tblExportableResults",
  };
  for (const char* sql : failing) {
    int64_t affected = -1;
    Status s = engine->Execute(sql, {}, &affected);
    EXPECT_EQ(3022, s.jet_error()) << sql << ": " << s.ToString();
  }
  ASSERT_TRUE(engine->Commit().ok());
  auto rows = Select(*engine, "SELECT OutputID, Author FROM tblExportableResults ORDER BY OutputID");
  EXPECT_EQ(std::vector<std::string>({"1", "2", "3", "4", "5", "6", "7"}), Column(rows, 0));
  EXPECT_EQ("kept", Column(rows, 1).back());
  engine.reset();
  ExpectIndexesInStep(path, kReports);
}

TEST(SqlDml, OneEngineServesTheFileAndBecomesWritableWhenAsked) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "dml-shared.mdb");
  std::shared_ptr<QueryEngine> reader;
  ASSERT_TRUE(QueryEngine::ForFile(path, {}, &reader).ok());
  EXPECT_FALSE(reader->database().writable());
  EXPECT_EQ(7u, Select(*reader, "SELECT * FROM tblExportableResults").size());
  int64_t affected = 0;
  EXPECT_EQ(3027, reader->Execute("DELETE FROM tblExportableResults", {}, &affected).jet_error());
  auto writer = Writer(path);
  ASSERT_TRUE(writer);
  EXPECT_EQ(reader.get(), writer.get());
  EXPECT_TRUE(reader->database().writable());
  EXPECT_EQ(1, Exec(*writer, "DELETE FROM tblExportableResults WHERE OutputID = 7"));
  EXPECT_EQ(6u, Select(*reader, "SELECT * FROM tblExportableResults").size());
}

TEST(SqlDml, TellsStatementsThatChangeDataByTheirText) {
  EXPECT_TRUE(QueryEngine::ChangesData("UPDATE t SET a = 1"));
  EXPECT_TRUE(QueryEngine::ChangesData("PARAMETERS x Long; DELETE FROM t WHERE a = x"));
  EXPECT_TRUE(QueryEngine::ChangesData("  insert into t values ("));  // does not parse, still a change
  EXPECT_FALSE(QueryEngine::ChangesData("SELECT * FROM t"));
  EXPECT_FALSE(QueryEngine::ChangesData("TRANSFORM Sum(a) SELECT b FROM t GROUP BY b PIVOT c"));
}

TEST(SqlDml, JetdumpRunsAllStatementsOfOneCallInOneTransaction) {
  const std::string path = ScratchCopy("reports-northwind.mdb", "dml-jetdump.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  int rc = 0;
  std::string out = RunJetdump("'" + path + "' --sql \"DELETE FROM tblExportableResults_UserQueries WHERE "
                               "OutputID = 1\" \"INSERT INTO tblExportableResults (OutputID) VALUES (2)\"",
                               &rc);
  EXPECT_NE(0, rc);
  EXPECT_NE(std::string::npos, out.find("3022")) << out;
  EXPECT_TRUE(FileBytes(path) == before);
  out = RunJetdump("'" + path + "' --sql \"DELETE FROM tblExportableResults_UserQueries WHERE OutputID = 1\" "
                   "\"UPDATE tblUserQueries SET Author = 'bo'\" \"SELECT Count(*) AS n FROM "
                   "tblExportableResults_UserQueries\"",
                   &rc);
  EXPECT_EQ(0, rc) << out;
  EXPECT_EQ("3 row(s) affected\n10 row(s) affected\nn\n8\n", out);
  EXPECT_EQ(8, MdbExportRowCount(path, kLinks));
  ExpectIndexesInStep(path, kLinks);
  ExpectIndexesInStep(path, kQueries);
}

}  // namespace
}  // namespace jet::testing
