// The DAO facade over real databases: the report tables' statements as the
// program issues them, saved queries with parameters by position, table
// definitions, and the errors callers test by number.
#include <gtest/gtest.h>

#include <QDateTime>

#include <cmath>
#include <functional>

#include "platform/dao/dao.h"
#include "platform/dao/table_rows.h"
#include "platform/errors/app_error.h"
#include "reportdb/sql_catalogue.h"

namespace {

QString Fixture(const char* name) { return QString(TABULON_FIXTURES) + "/jet/" + name; }

std::shared_ptr<dao::Database> OpenReports() {
  return dao::DBEngine::Workspaces(0).OpenDatabase(Fixture("reports-northwind.mdb"), false, false);
}

int ErrorNumberOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const platform::AppError& e) {
    return e.Number();
  }
  return 0;
}

QStringList Column(dao::Recordset& rs, int field) {
  QStringList values;
  for (rs.MoveFirst(); !rs.IsEOF(); rs.MoveNext()) values << rs.Value(field).toString();
  return values;
}

TEST(DaoReportTables, CatalogueStatementsRunOnTheReportTables) {
  auto db = OpenReports();
  using namespace reportdb::sql;

  auto list = db->OpenRecordset(ReportList());
  EXPECT_EQ(list->RecordCount(), 7);  // right after opening, before any move
  QStringList names = Column(*list, 1);
  EXPECT_EQ(names.first(), "Broken Parameters");  // ordered by name
  EXPECT_TRUE(names.contains("O'Neil catch"));

  // A name with an apostrophe goes through the quoting rule and is found.
  auto byName = db->OpenRecordset(ReportByName("O'Neil catch"));
  ASSERT_EQ(byName->RecordCount(), 1);
  EXPECT_EQ(byName->Value(0).toInt(), 3);
  EXPECT_EQ(db->OpenRecordset(ReportByName("o'neil CATCH"))->RecordCount(), 1);  // Jet ignores case

  // A run's queries come by key, ascending; links to missing queries included.
  auto keys = db->OpenRecordset(ReportQueryKeysForRun(7));
  EXPECT_EQ(Column(*keys, 0), (QStringList{"5", "6"}));
  auto run = db->OpenRecordset(UserQueryForRun(1));
  ASSERT_EQ(run->RecordCount(), 1);
  QStringList fields;
  for (int i = 0; i < run->FieldCount(); ++i) fields << run->Field(i).name;
  EXPECT_TRUE(fields.contains("DefaultQueryParameters"));
  EXPECT_EQ(run->Value(fields.indexOf("DefaultQueryParameters")).toString(), "01-Dec-1996/31-Dec-1996");
  EXPECT_EQ(run->Value(fields.indexOf("ExcelTemplate")).toString(), "C:\\Reports\\Templates\\Sales.xls");

  auto header = db->OpenRecordset(ReportHeaderForRun(3));
  ASSERT_EQ(header->RecordCount(), 1);
  EXPECT_FALSE(header->Value(2).isValid());  // a Null description stays Null

  auto details = db->OpenRecordset(ReportDetails(1));
  EXPECT_EQ(details->Value(0).toDateTime(), QDateTime(QDate(1997, 1, 15), QTime(0, 0)));

  EXPECT_EQ(db->OpenRecordset(ReportMembersByName(1))->RecordCount(), 3);
  EXPECT_EQ(db->OpenRecordset(ReportMembersForTree(1))->RecordCount(), 3);
  EXPECT_EQ(db->OpenRecordset(ReportMembersByKey(3))->RecordCount(), 2);
  EXPECT_EQ(db->OpenRecordset(ReportsUsingQuery(2))->RecordCount(), 1);  // the orphan link has no report
  EXPECT_EQ(db->OpenRecordset(UserQueriesByName())->RecordCount(), 10);
  EXPECT_EQ(db->OpenRecordset(UserQueriesNameFirst())->RecordCount(), 10);
  EXPECT_EQ(db->OpenRecordset(UserQueryByName("Invoices Filter"))->RecordCount(), 1);
  EXPECT_EQ(db->OpenRecordset(UserQueriesInKeys({1, 2, 3}, KeyOrder::kByName))->RecordCount(), 3);
  EXPECT_EQ(db->OpenRecordset(UserQueriesInKeys({3, 1}, KeyOrder::kByKey))->RecordCount(), 2);
  EXPECT_EQ(db->OpenRecordset(UserQueriesNotInKeys({1, 2, 3}))->RecordCount(), 7);
  EXPECT_EQ(db->OpenRecordset(QueryDestination(4))->RecordCount(), 1);
  EXPECT_EQ(db->OpenRecordset(QueryDestinationForProperties(4))->RecordCount(), 1);
  EXPECT_EQ(db->OpenRecordset(QueryParameters(6))->RecordCount(), 1);
  EXPECT_EQ(db->OpenRecordset(QueryParametersForProperties(6))->RecordCount(), 1);
}

TEST(DaoQueryDefs, ParametersByPositionAndTheErrorsARunMeets) {
  auto db = OpenReports();
  dao::QueryDef q = db->QueryDefs("Employee Sales by Country");
  ASSERT_EQ(q.Parameters().Count(), 2);
  EXPECT_EQ(q.Parameters().Item(0).Type, jet::ColumnType::kDateTime);
  EXPECT_EQ(ErrorNumberOf([&] { q.OpenRecordset(); }), 3061);  // nothing set yet
  q.Parameters().Item(0).Value = "01-Dec-1996";
  q.Parameters().Item(1).Value = "31-Dec-1996";
  auto rs = q.OpenRecordset();
  EXPECT_GT(rs->RecordCount(), 0);
  for (int i = 0; i < rs->FieldCount(); ++i) {
    if (rs->Field(i).name == "ShippedDate") {
      EXPECT_EQ(rs->Field(i).type, jet::ColumnType::kDateTime);
      EXPECT_EQ(rs->Value(i).typeId(), QMetaType::QDateTime);
    }
  }
  // Named with or without brackets.
  EXPECT_EQ(&q.Parameters().Item("[Beginning Date]"), &q.Parameters().Item(0));

  dao::QueryDef invoices = db->QueryDefs("Invoices Filter");
  ASSERT_EQ(invoices.Parameters().Count(), 1);
  invoices.Parameters().Item(0).Value = "10250";
  EXPECT_EQ(invoices.OpenRecordset()->RecordCount(), 3);

  EXPECT_EQ(ErrorNumberOf([&] { db->QueryDefs("qryRetired"); }), 3265);
  EXPECT_EQ(ErrorNumberOf([&] { q.Parameters().Item(2); }), 3265);
  EXPECT_EQ(ErrorNumberOf([&] { db->OpenRecordset("SELECT * FROM tblNothing;"); }), 3078);
  q.Parameters().Item(0).Value = "not a date";
  EXPECT_EQ(ErrorNumberOf([&] { q.OpenRecordset(); }), 3464);
  EXPECT_EQ(ErrorNumberOf([&] { dao::DBEngine::Workspaces(0).OpenDatabase(Fixture("missing.mdb")); }), 3024);
  EXPECT_EQ(ErrorNumberOf([&] { dao::DBEngine::Workspaces(0).OpenDatabase(Fixture("MANIFEST.md")); }), 3343);
}

// A query's field shows the Caption the query gives it, else its source
// field's; the Employees fields have no Caption of their own.
TEST(DaoQueryDefs, FieldCaptionsComeFromTheQueryThenTheSourceField) {
  auto db = OpenReports();
  dao::QueryDef q = db->QueryDefs("Employee Sales by Country");
  q.Parameters().Item(0).Value = "01-Dec-1996";
  q.Parameters().Item(1).Value = "31-Dec-1996";
  auto rs = q.OpenRecordset();
  QStringList captions;
  for (int i = 0; i < rs->FieldCount(); ++i) captions << rs->Field(i).name + "=" + rs->Field(i).caption;
  EXPECT_EQ(captions, (QStringList{"Country=", "LastName=Last Name", "FirstName=First Name",
                                   "ShippedDate=Shipped Date", "OrderID=Order ID", "SaleAmount=Sale Amount"}));
  auto top = db->OpenRecordset("Ten Most Expensive Products");
  EXPECT_EQ(top->Field(0).caption, "Ten Most Expensive Products");
  EXPECT_EQ(top->Field(1).caption, "Unit Price");
}

TEST(DaoTableDefs, AttributesLinksFieldsIndexesAndTableRecordsets) {
  auto db = OpenReports();
  bool sawSystem = false;
  for (const auto& t : db->TableDefs()) {
    if (t.Name == "MSysObjects") sawSystem = (t.Attributes & dao::dbSystemObject) != 0;
  }
  EXPECT_TRUE(sawSystem);
  dao::TableDef customers = db->TableDefs("Customers");
  EXPECT_EQ(customers.Attributes, 0);
  bool pk = false;
  for (const auto& idx : customers.Indexes) {
    if (idx.Primary) {
      pk = true;
      EXPECT_EQ(idx.Fields, QStringList{"CustomerID"});
      EXPECT_EQ(idx.DistinctCount, 86);  // as the file stores it, not a fresh count
    }
  }
  EXPECT_TRUE(pk);
  auto rs = db->OpenRecordset("Customers");  // a table by name
  EXPECT_EQ(rs->RecordCount(), 91);
  EXPECT_EQ(rs->Field(0).caption, "Customer ID");

  auto linked = dao::DBEngine::Workspaces(0).OpenDatabase(Fixture("linked.mdb"));
  dao::TableDef link = linked->TableDefs("Table1");
  EXPECT_EQ(link.Attributes & dao::dbAttachedTable, dao::dbAttachedTable);
  EXPECT_EQ(link.SourceTableName, "Table1");
  EXPECT_EQ(link.Connect, ";DATABASE=C:\\db\\linkee1.mdb");
  EXPECT_EQ(Column(*linked->OpenRecordset("Table1"), 1), QStringList{"ciao bello"});
  EXPECT_EQ(ErrorNumberOf([&] { db->TableDefs("NoSuchTable"); }), 3265);
}

}  // namespace

// A table read a row at a time by its place gives what a recordset over the
// whole table gives, in the same order: moved (overflow) rows, a Jet 3
// file and a table linked from another file included.
TEST(DaoTableRows, RowsByPlaceMatchTheWholeTable) {
  const struct {
    const char* file;
    const char* table;
  } cases[] = {{"overflowTestV2000.mdb", "Table1"}, {"nwind.mdb", "Orders"}, {"linked.mdb", "Table1"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.file) + " " + c.table);
    auto db = dao::DBEngine::Workspaces(0).OpenDatabase(Fixture(c.file), false, true);
    auto whole = db->OpenRecordset(QString::fromLatin1(c.table));
    auto rows = dao::TableRows::Open(*db, QString::fromLatin1(c.table));
    ASSERT_EQ(rows->RowCount(), whole->RecordCount());
    ASSERT_GT(rows->RowCount(), 0);
    ASSERT_EQ(rows->Fields().size(), whole->FieldCount());
    for (int i = 0; i < rows->RowCount(); ++i) ASSERT_EQ(rows->Row(i), whole->Rows()[i]) << "row " << i;
    // A slice of one column reads the same cells, and stops at the end.
    const int field = rows->Fields().size() - 1, first = rows->RowCount() / 2;
    const QVector<QVariant> slice = rows->ColumnValues(field, first, rows->RowCount());
    ASSERT_EQ(slice.size(), rows->RowCount() - first);
    for (int i = 0; i < slice.size(); ++i) ASSERT_EQ(slice[i], whole->Rows()[first + i][field]) << "row " << first + i;
    EXPECT_EQ(rows->Row(rows->RowCount()), QVector<QVariant>(rows->Fields().size()));
  }
}

// A damaged file can hold any eight bytes in a date column; those that are
// no date Jet has are the program's Overflow, never a crash, and the first
// and last days Jet knows are still dates.
TEST(DaoValues, DatesPastJetsCalendarAreOverflow) {
  const auto date = [](double serial) { return jet::Value(jet::ColumnType::kDateTime, jet::DateTime{serial}); };
  for (double serial : {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300, -657435.0, 2958466.0}) {
    EXPECT_EQ(ErrorNumberOf([&] { (void)dao::ToVariant(date(serial)); }), 6) << serial;
  }
  EXPECT_EQ(dao::ToVariant(date(-657434.0)).toDateTime(), QDateTime(QDate(100, 1, 1), QTime(0, 0)));
  EXPECT_EQ(dao::ToVariant(date(2958465.5)).toDateTime(), QDateTime(QDate(9999, 12, 31), QTime(12, 0)));
}
