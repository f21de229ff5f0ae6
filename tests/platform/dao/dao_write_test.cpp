// The DAO facade changing a copy of the report database: the report tables'
// action statements through Database.Execute, new rows through a table
// recordset, workspace transactions, and the errors callers test by number.
// Every change is read back through the facade, by mdbtools and through
// every index of the changed tables.
#include <gtest/gtest.h>

#include <QDateTime>
#include <functional>

#include "platform/dao/dao.h"
#include "platform/errors/app_error.h"
#include "reportdb/sql_catalogue.h"
#include "writer_test_helpers.h"

namespace {

using jet::testing::ExpectIndexesInStep;
using jet::testing::FileBytes;
using jet::testing::MdbExport;
using jet::testing::ScratchCopy;

constexpr char kReports[] = "tblExportableResults";
constexpr char kLinks[] = "tblExportableResults_UserQueries";
constexpr char kQueries[] = "tblUserQueries";

std::string Copy(const std::string& name) { return ScratchCopy("reports-northwind.mdb", name); }

std::shared_ptr<dao::Database> Open(const std::string& path, bool read_only = false) {
  return dao::DBEngine::Workspaces(0).OpenDatabase(QString::fromStdString(path), false, read_only);
}

int ErrorNumberOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const platform::AppError& e) {
    return e.Number();
  }
  return 0;
}

QStringList Column(dao::Database& db, const QString& sql, int field = 0) {
  auto rs = db.OpenRecordset(sql);
  QStringList values;
  for (rs->MoveFirst(); !rs->IsEOF(); rs->MoveNext()) values << rs->Value(field).toString();
  return values;
}

void ExpectReportTablesInStep(const std::string& path) {
  for (const char* table : {kReports, kLinks, kQueries}) ExpectIndexesInStep(path, table);
}

TEST(DaoWrite, CatalogueActionStatementsChangeTheReportTables) {
  const std::string path = Copy("dao-catalogue.mdb");
  using namespace reportdb::sql;
  {
    auto db = Open(path);
    db->Execute(UpdateReportDescription(2, "Customers, suppliers and shippers."));
    EXPECT_EQ(1, db->RecordsAffected());
    db->Execute(DeleteReport(4));
    EXPECT_EQ(1, db->RecordsAffected());
    db->Execute(DeleteReportLinks(1));
    EXPECT_EQ(3, db->RecordsAffected());
    db->Execute(UpdateQueryDestination(8, "  C:\\Templates\\Catch.xlt ", "Week 9", 5, 3, "Tidy;Totals", "ana"));
    EXPECT_EQ(1, db->RecordsAffected());
    db->Execute(UpdateQueryParameters(9, "01-Jan-2001/31-Dec-2001", "bo"));
    EXPECT_EQ(1, db->RecordsAffected());
    db->Execute(DeleteUserQuery(10));
    EXPECT_EQ(1, db->RecordsAffected());

    // Read back through the facade: the statements the program reads with.
    EXPECT_EQ(QStringList{"Customers, suppliers and shippers."}, Column(*db, ReportDetails(2), 2));
    EXPECT_EQ(0, db->OpenRecordset(ReportDetails(4))->RecordCount());
    EXPECT_EQ(0, db->OpenRecordset(ReportMembersByKey(1))->RecordCount());
    auto destination = db->OpenRecordset(UserQueryForRun(8));
    ASSERT_EQ(1, destination->RecordCount());
    EXPECT_EQ("C:\\Templates\\Catch.xlt", destination->Fields("ExcelTemplate").Value().toString());
    EXPECT_EQ("Week 9", destination->Fields("ExcelSheetName").Value().toString());
    EXPECT_EQ(5, destination->Fields("ExcelTargetRow").Value().toInt());
    EXPECT_EQ(QStringList{"bo"}, Column(*db, "SELECT Author FROM tblUserQueries WHERE QueryID = 9"));
    EXPECT_EQ(9, db->OpenRecordset(UserQueriesByName())->RecordCount());
  }
  const std::string reports = MdbExport(path, kReports);
  EXPECT_NE(std::string::npos, reports.find("\"Customers, suppliers and shippers.\""));
  EXPECT_EQ(std::string::npos, reports.find("\n4,"));
  const std::string queries = MdbExport(path, kQueries);
  EXPECT_NE(std::string::npos, queries.find("\"C:\\Templates\\Catch.xlt\",\"Week 9\",5,3,\"Tidy;Totals\""));
  EXPECT_NE(std::string::npos, queries.find("\"01-Jan-2001/31-Dec-2001\""));
  EXPECT_EQ(std::string::npos, queries.find("\n10,"));
  EXPECT_EQ(std::string::npos, MdbExport(path, kLinks).find("\n1,"));
  ExpectReportTablesInStep(path);
}

TEST(DaoWrite, StatementErrorsComeWithJetsNumbersAndChangeNothing) {
  const std::string path = Copy("dao-errors.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  auto db = Open(path);
  using namespace reportdb::sql;
  // An apostrophe in a description breaks the statement, as it does in Jet.
  const int broken = ErrorNumberOf([&] { db->Execute(UpdateReportDescription(2, "O'Neil's catch")); });
  EXPECT_TRUE(broken == 3075 || broken == 3142 || broken == 3144) << broken;  // Jet's syntax errors
  EXPECT_EQ(3022, ErrorNumberOf([&] { db->Execute("UPDATE tblExportableResults SET OutputID = 3 WHERE OutputID = 2"); }));
  EXPECT_EQ(3078, ErrorNumberOf([&] { db->Execute("DELETE FROM tblNoSuchTable"); }));
  EXPECT_EQ(3061, ErrorNumberOf([&] { db->Execute("DELETE FROM tblUserQueries WHERE QueryID = [Which]"); }));
  EXPECT_EQ(3065, ErrorNumberOf([&] { db->Execute("SELECT * FROM tblUserQueries"); }));
  EXPECT_EQ(3219, ErrorNumberOf([&] { db->OpenRecordset(ReportList(), dao::dbOpenTable); }));
  try {
    db->Execute("INSERT INTO tblExportableResults (OutputID, Abbreviation) VALUES (1, 'Twice')");
    ADD_FAILURE() << "a duplicate key was accepted";
  } catch (const platform::AppError& e) {
    EXPECT_EQ(3022, e.Number());
    EXPECT_TRUE(e.Description().contains("duplicate values")) << e.Description().toStdString();
  }
  auto rs = db->OpenRecordset(kReports, dao::dbOpenTable);
  rs->AddNew();
  rs->Fields("OutputID") = 2;
  rs->Fields("Abbreviation") = QStringLiteral("Again");
  EXPECT_EQ(3022, ErrorNumberOf([&] { rs->Update(); }));
  EXPECT_EQ(3020, ErrorNumberOf([&] { rs->CancelUpdate(), rs->Update(); }));
  EXPECT_EQ(3020, ErrorNumberOf([&] { rs->Fields("Author") = QStringLiteral("x"); }));
  EXPECT_EQ(3265, ErrorNumberOf([&] { rs->Fields("NoSuchField"); }));
  EXPECT_EQ(7, rs->RecordCount());
  EXPECT_EQ(7, db->OpenRecordset(ReportList())->RecordCount());
  db.reset();
  rs.reset();
  EXPECT_TRUE(FileBytes(path) == before);
}

TEST(DaoWrite, SavedActionQueriesRunByName) {
  const std::string path = ScratchCopy("psc-adoquery-Northwind.mdb", "dao-saved-action.mdb");
  auto db = Open(path);
  // Its parameter has no value here, as in DAO without a QueryDef.
  EXPECT_EQ(3061, ErrorNumberOf([&] { db->Execute("qry_del_Categories"); }));
  db->Execute("DELETE FROM Categories WHERE CategoryName = 'No such category'");
  EXPECT_EQ(0, db->RecordsAffected());
  db->Execute("UPDATE Categories SET Description = 'Shellfish and fish.' WHERE CategoryName = 'Seafood'");
  EXPECT_EQ(1, db->RecordsAffected());
  EXPECT_EQ(QStringList{"Shellfish and fish."},
            Column(*db, "SELECT Description FROM Categories WHERE CategoryName = 'Seafood'"));
  db.reset();
  ExpectIndexesInStep(path, "Categories");
}

TEST(DaoWrite, AddNewGivesTheNewAutonumberThroughLastModified) {
  const std::string path = Copy("dao-addnew.mdb");
  {
    auto db = Open(path);
    auto rs = db->OpenRecordset(kReports, dao::dbOpenTable);
    ASSERT_EQ(7, rs->RecordCount());
    rs->AddNew();
    EXPECT_FALSE(rs->Fields("OutputID").Value().isValid());
    rs->Fields("Abbreviation") = QStringLiteral("Night catch");
    rs->Fields("DateCreated") = QDateTime(QDate(2024, 5, 6), QTime(21, 15));
    rs->Fields("Author") = QStringLiteral("Ana Núñez");
    rs->Fields("Description") = QStringLiteral("Made through a table recordset.");
    rs->Update();
    rs->SetBookmark(rs->LastModified());
    EXPECT_EQ(8, rs->Fields("OutputID").Value().toInt());
    EXPECT_EQ("Ana Núñez", rs->Fields("Author").Value().toString());
    const QByteArray added = rs->Bookmark();
    // A second row takes the next number; the first stays reachable.
    rs->AddNew();
    rs->Fields("Abbreviation") = QStringLiteral("Dawn catch");
    rs->Update();
    rs->SetBookmark(rs->LastModified());
    EXPECT_EQ(9, rs->Fields("OutputID").Value().toInt());
    rs->SetBookmark(added);
    EXPECT_EQ("Night catch", rs->Fields("Abbreviation").Value().toString());
    // Edit changes the current row in place.
    rs->Edit();
    rs->Fields("Description") = QStringLiteral("Edited.");
    rs->Update();
    EXPECT_EQ(added, rs->LastModified());
    EXPECT_EQ(QStringList{"Edited."}, Column(*db, reportdb::sql::ReportDetails(8), 2));
    EXPECT_EQ(3159, ErrorNumberOf([&] { rs->SetBookmark("12345"); }));
  }
  const std::string exported = MdbExport(path, kReports);
  EXPECT_NE(std::string::npos, exported.find("8,\"Night catch\",\"05/06/24 21:15:00\",\"Ana Núñez\",\"Edited.\""))
      << exported;
  EXPECT_NE(std::string::npos, exported.find("9,\"Dawn catch\""));
  ExpectReportTablesInStep(path);
}

TEST(DaoWrite, AddNewStartsFromTheDefaultValues) {
  const std::string path = Copy("dao-defaults.mdb");
  auto db = Open(path);
  auto rs = db->OpenRecordset("Products", dao::dbOpenTable);
  rs->AddNew();
  EXPECT_EQ(0, rs->Fields("UnitsOnOrder").Value().toInt());
  EXPECT_FALSE(rs->Fields("Discontinued").Value().toBool());
  rs->Fields("ProductName") = QStringLiteral("Dulse");
  rs->Fields("UnitsOnOrder") = 12;
  rs->Update();
  rs->SetBookmark(rs->LastModified());
  EXPECT_EQ(12, rs->Fields("UnitsOnOrder").Value().toInt());
  EXPECT_EQ(0, rs->Fields("UnitsInStock").Value().toInt());
  EXPECT_EQ(78, rs->Fields("ProductID").Value().toInt());
  db.reset();
  rs.reset();
  ExpectIndexesInStep(path, "Products");
}

TEST(DaoWrite, WorkspaceTransactionsSpanExecuteAndAddNew) {
  const std::string path = Copy("dao-transaction.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  dao::Workspace& ws = dao::DBEngine::Workspaces(0);
  auto db = Open(path);
  auto links = [&] { return db->OpenRecordset("SELECT * FROM tblExportableResults_UserQueries")->RecordCount(); };

  ws.BeginTrans();
  db->Execute(reportdb::sql::DeleteReportLinks(1));
  auto rs = db->OpenRecordset(kLinks, dao::dbOpenTable);
  rs->AddNew();
  rs->Fields("OutputID") = 1;
  rs->Fields("QueryID") = 9;
  rs->Update();
  EXPECT_EQ(9, links());  // seen inside the transaction
  ws.Rollback();
  EXPECT_EQ(11, links());
  EXPECT_TRUE(FileBytes(path) == before);
  EXPECT_EQ(3034, ErrorNumberOf([&] { ws.CommitTrans(); }));

  // Replacing every link of a report in one transaction, as the editor does.
  ws.BeginTrans();
  EXPECT_EQ(3003, ErrorNumberOf([&] { ws.BeginTrans(); }));
  db->Execute(reportdb::sql::DeleteReportLinks(3));
  for (int query : {1, 2, 4}) {
    rs->AddNew();
    rs->Fields("OutputID") = 3;
    rs->Fields("QueryID") = query;
    rs->Update();
  }
  ws.CommitTrans();
  EXPECT_EQ(QStringList({"1", "2", "4"}), Column(*db, reportdb::sql::ReportQueryKeysForRun(3)));
  db.reset();
  rs.reset();
  EXPECT_EQ(12, jet::testing::MdbExportRowCount(path, kLinks));
  ExpectReportTablesInStep(path);
}

TEST(DaoWrite, TwoHandlesOnOneFileSeeEachOthersChanges) {
  const std::string path = Copy("dao-two-handles.mdb");
  auto first = Open(path);
  auto second = Open(path);
  EXPECT_EQ(7, second->OpenRecordset(reportdb::sql::ReportList())->RecordCount());  // fills the cache
  first->Execute(reportdb::sql::DeleteReport(5));
  EXPECT_EQ(6, second->OpenRecordset(reportdb::sql::ReportList())->RecordCount());
  auto rs = second->OpenRecordset(kReports, dao::dbOpenTable);
  rs->AddNew();
  rs->Fields("Abbreviation") = QStringLiteral("From the second");
  rs->Update();
  EXPECT_EQ(QStringList{"From the second"},
            Column(*first, "SELECT Abbreviation FROM tblExportableResults WHERE OutputID = 8"));
  // A handle opened read-only shares the rows but refuses to change them.
  auto reader = Open(path, true);
  EXPECT_EQ(7, reader->OpenRecordset(reportdb::sql::ReportList())->RecordCount());
  EXPECT_EQ(3027, ErrorNumberOf([&] { reader->Execute(reportdb::sql::DeleteReport(1)); }));
  auto read_only_rs = reader->OpenRecordset(kReports, dao::dbOpenTable);
  read_only_rs->AddNew();
  EXPECT_EQ(3027, ErrorNumberOf([&] { read_only_rs->Update(); }));
}

TEST(DaoWrite, ReadingLeavesTheFileAndItsFolderUntouched) {
  const std::string path = Copy("dao-read.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  {
    auto db = Open(path);
    EXPECT_EQ(7, db->OpenRecordset(reportdb::sql::ReportList())->RecordCount());
    EXPECT_FALSE(db->engine().database().writable());
  }
  EXPECT_TRUE(FileBytes(path) == before);
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(path).replace_extension(".ldb")));
}

}  // namespace
