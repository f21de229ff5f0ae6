// Saved queries of the fixtures: their rebuilt text, their parameters, and
// their results checked against the table data read directly.
#include <gtest/gtest.h>

#include <clocale>
#include <filesystem>
#include <set>

#include "jet/create.h"
#include "jet/query.h"
#include "jet/sort_order.h"
#include "jet/text_form.h"
#include "test_support.h"

namespace jet {
namespace {

using testing::FixturePath;

std::shared_ptr<QueryEngine> Engine(const std::string& file) {
  std::shared_ptr<QueryEngine> engine;
  Status s = QueryEngine::ForFile(FixturePath(file), {}, &engine);
  EXPECT_TRUE(s.ok()) << s.ToString();
  return engine;
}

std::vector<Value> Texts(std::initializer_list<const char*> values) {
  std::vector<Value> out;
  for (const char* v : values) out.emplace_back(ColumnType::kText, std::string(v));
  return out;
}

std::string Csv(const QueryResult& r) {
  std::string out;
  std::vector<std::string> names;
  for (const auto& c : r.columns) names.push_back(c.name);
  AppendCsvHeader(&out, names);
  for (const auto& row : r.rows) AppendCsvRecord(&out, row);
  return out;
}

// Every row of a table, through the reader alone.
std::vector<Row> TableRows(Database& db, const std::string& table, const TableDef** def) {
  std::unique_ptr<TableCursor> cursor;
  EXPECT_TRUE(db.OpenTable(table, &cursor).ok());
  std::vector<Row> rows;
  while (cursor->Next()) rows.push_back(cursor->row());
  static std::vector<std::shared_ptr<const TableDef>> keep;
  std::shared_ptr<const TableDef> d;
  EXPECT_TRUE(db.GetTableDef(table, &d).ok());
  keep.push_back(d);
  *def = d.get();
  return rows;
}

TEST(SavedQueryText, EveryKindAsAccessShowsIt) {
  for (const char* file : {"queryTestV1997.mdb", "queryTestV2003.mdb"}) {
    auto engine = Engine(file);
    SavedQuery q;
    ASSERT_TRUE(engine->GetQuery("SelectQuery", &q).ok());
    EXPECT_EQ(q.sql,
              "SELECT DISTINCT Table1.*, Table2.col1, Table2.col2, Table3.col3\r\n"
              "FROM (Table1 LEFT JOIN Table3 ON Table1.col1 = Table3.col1) INNER JOIN Table2 ON (Table3.col1 = "
              "Table2.col2) AND (Table3.col1 = Table2.col1)\r\n"
              "WHERE (((Table2.col2)=\"foo\" Or (Table2.col2) In (\"buzz\",\"bazz\")))\r\n"
              "ORDER BY Table2.col1;")
        << file;
    ASSERT_TRUE(engine->GetQuery("UpdateQuery", &q).ok());
    EXPECT_EQ(q.type, QueryType::kUpdate);
    EXPECT_EQ(q.sql,
              "PARAMETERS User Name Text;\r\nUPDATE Table1\r\nSET Table1.col1 = \"foo\", Table1.col2 = "
              "[Table2].[col3], [Table2].[col1] = [User Name]\r\nWHERE ((([Table2].[col1]) Is Not Null));");
    ASSERT_TRUE(engine->GetQuery("MakeTableQuery", &q).ok());
    EXPECT_EQ(q.sql,
              "SELECT Max(Table2.col1) AS MaxOfcol1, Table2.col2, Table3.col2 INTO Table4\r\n"
              "FROM (Table2 INNER JOIN Table1 ON Table2.col1 = Table1.col2) RIGHT JOIN Table3 ON Table1.col2 = "
              "Table3.col3\r\nGROUP BY Table2.col2, Table3.col2\r\n"
              "HAVING (((Max(Table2.col1))=\"buzz\") AND ((Table2.col2)<>\"blah\"));");
    ASSERT_TRUE(engine->GetQuery("CrosstabQuery", &q).ok());
    EXPECT_EQ(q.type, QueryType::kCrosstab);
    EXPECT_EQ(q.sql.rfind("TRANSFORM Count([Table2].[col2]) AS CountOfcol2\r\nSELECT ", 0), 0u);
    EXPECT_NE(q.sql.find("\r\nPIVOT [Table1].[col1];"), std::string::npos);
    ASSERT_TRUE(engine->GetQuery("UnionQuery", &q).ok());
    EXPECT_EQ(q.sql,
              "Select Table1.col1, Table1.col2\r\nwhere Table1.col1 = \"foo\"\r\nUNION\r\n"
              "Select Table2.col1, Table2.col2\r\nUNION ALL Select Table3.col1, Table3.col2\r\n"
              "where Table3.col3 > \"blah\";");
    ASSERT_TRUE(engine->GetQuery("AppendQuery", &q).ok());
    EXPECT_EQ(q.sql,
              "INSERT INTO Table3 (col2, col2, col3)\r\nSELECT [Table1].[col2], [Table2].[col2], "
              "[Table2].[col3]\r\nFROM Table3, Table1 INNER JOIN Table2 ON [Table1].[col1]=[Table2].[col1];");
    ASSERT_TRUE(engine->GetQuery("DataDefinitionQuery", &q).ok());
    EXPECT_EQ(q.sql.substr(0, 42), "CREATE TABLE Table5 (col1 CHAR, col2 CHAR)");
    EXPECT_EQ(engine->GetQuery("NoSuchQuery", &q).jet_error(), 3265);
  }
}

TEST(SavedQueryParameters, DeclaredFirstThenUndeclaredInOrderOfUse) {
  std::vector<QueryParameterInfo> p;
  auto nwind = Engine("nwind.mdb");
  ASSERT_TRUE(nwind->QueryParameters("Employee Sales by Country", &p).ok());
  ASSERT_EQ(p.size(), 2u);
  EXPECT_EQ(p[0].name, "Beginning Date");
  EXPECT_EQ(p[0].type, ColumnType::kDateTime);
  ASSERT_TRUE(nwind->QueryParameters("Invoices Filter", &p).ok());
  ASSERT_EQ(p.size(), 1u);
  EXPECT_EQ(p[0].name, "[Forms]![Orders]![OrderID]");
  EXPECT_FALSE(p[0].declared);

  // Declared as [Forms]![Sales by Year Dialog]![BeginningDate], used without some brackets: one parameter.
  auto np = Engine("npsmith88-Northwind.mdb");
  ASSERT_TRUE(np->QueryParameters("Sales by Year", &p).ok());
  EXPECT_EQ(p.size(), 2u);

  auto psc = Engine("psc-adoquery-Northwind.mdb");
  ASSERT_TRUE(psc->QueryParameters("qry_upd_Categories", &p).ok());
  ASSERT_EQ(p.size(), 4u);
  EXPECT_TRUE(p[2].declared);
  EXPECT_EQ(p[3].name, "pPicture");
  EXPECT_FALSE(p[3].declared);
}

TEST(SavedQueryRun, ResultsMatchTheTableData) {
  auto engine = Engine("nwind.mdb");
  Database& db = engine->database();
  const TableDef* orders_def;
  std::vector<Row> orders = TableRows(db, "Orders", &orders_def);
  int c_customer = orders_def->FindColumn("CustomerID"), c_date = orders_def->FindColumn("OrderDate"),
      c_shipped = orders_def->FindColumn("ShippedDate");

  // DISTINCTROW over a RIGHT JOIN: the customers with an order in 1995.
  std::set<std::string> customers_1995;
  double from = 34700, to = 35064;  // 1995-01-01 .. 1995-12-31
  for (const Row& r : orders)
    if (!r[c_date].is_null() && r[c_date].as_datetime().serial >= from && r[c_date].as_datetime().serial <= to)
      customers_1995.insert(r[c_customer].as_text());
  QueryResult result;
  ASSERT_TRUE(engine->RunQuery("Quarterly Orders", {}, &result).ok());
  EXPECT_EQ(result.rows.size(), customers_1995.size());

  // Two DateTime parameters given as text; rows are the orders shipped in range.
  size_t shipped = 0;
  for (const Row& r : orders)
    if (!r[c_shipped].is_null() && r[c_shipped].as_datetime().serial >= from &&
        r[c_shipped].as_datetime().serial <= to)
      ++shipped;
  ASSERT_TRUE(engine->RunQuery("Employee Sales by Country", Texts({"1-Jan-1995", "12/31/1995"}), &result).ok());
  EXPECT_EQ(result.rows.size(), shipped);
  EXPECT_EQ(result.columns[3].type, ColumnType::kDateTime);

  // Nested saved query with Currency kept exact: 10248's lines are 14*12 + 9.8*10 + 34.8*5.
  ASSERT_TRUE(engine->RunQuery("Order Subtotals", {}, &result).ok());
  EXPECT_EQ(result.rows.size(), orders.size());
  EXPECT_EQ(result.columns[1].type, ColumnType::kCurrency);
  EXPECT_EQ(result.rows[0][1].as_currency().scaled, 4400000);

  // An undeclared parameter, given as text, compared with a Long.
  ASSERT_TRUE(engine->RunQuery("Invoices Filter", Texts({"10250"}), &result).ok());
  EXPECT_EQ(result.rows.size(), 3u);

  // TOP 10 by price; the crosstab's fixed headings in their listed order.
  ASSERT_TRUE(engine->RunQuery("Ten Most Expensive Products", {}, &result).ok());
  EXPECT_EQ(result.rows.size(), 10u);
  EXPECT_EQ(result.rows[0][0].as_text(), "Côte de Blaye");
  ASSERT_TRUE(engine->RunQuery("Quarterly Orders by Product", {}, &result).ok());
  ASSERT_EQ(result.columns.size(), 7u);
  EXPECT_EQ(result.columns[3].name, "Qtr 1");
  EXPECT_EQ(result.columns[6].name, "Qtr 4");

  // The union: customers and suppliers together.
  const TableDef* def;
  size_t expected = TableRows(db, "Customers", &def).size() + TableRows(db, "Suppliers", &def).size();
  ASSERT_TRUE(engine->RunQuery("Customers and Suppliers by City", {}, &result).ok());
  EXPECT_EQ(result.rows.size(), expected);
  // An Access 97 file sorts in Access 97's order: Köln before København.
  std::vector<std::string> cities;
  for (const Row& row : result.rows) cities.push_back(row[0].as_text());
  for (size_t i = 1; i < cities.size(); ++i)
    EXPECT_LE(CompareGeneral(cities[i - 1], cities[i], SortOrderVersion::kGeneral97), 0) << cities[i];
  const auto at = [&](const std::string& city) { return std::find(cities.begin(), cities.end(), city) - cities.begin(); };
  EXPECT_LT(at("Köln"), at("København"));
  // Comparisons, DISTINCT and grouping follow the same order.
  ASSERT_TRUE(engine
                  ->RunSql("SELECT City, Count(*) AS N FROM Customers WHERE City > 'Köln' AND City < 'L' "
                           "GROUP BY City ORDER BY City",
                           {}, &result)
                  .ok());
  ASSERT_FALSE(result.rows.empty());
  EXPECT_EQ(result.rows[0][0].as_text(), "København");
}

// DISTINCTROW keeps one row per combination of records of the tables whose
// fields are shown, not per distinct value: the customers with orders, each
// once, though many share a country.
TEST(SavedQueryRun, DistinctRowKeepsEachRecordOfTheShownTables) {
  auto engine = Engine("nwind.mdb");
  Database& db = engine->database();
  const TableDef* orders_def;
  const TableDef* customers_def;
  std::vector<Row> orders = TableRows(db, "Orders", &orders_def);
  std::vector<Row> customers = TableRows(db, "Customers", &customers_def);
  std::set<std::string> ordering_ids;
  for (const Row& r : orders) ordering_ids.insert(r[orders_def->FindColumn("CustomerID")].as_text());
  size_t with_orders = 0;
  std::set<std::string> their_countries;
  for (const Row& r : customers) {
    if (!ordering_ids.count(r[customers_def->FindColumn("CustomerID")].as_text())) continue;
    ++with_orders;
    their_countries.insert(r[customers_def->FindColumn("Country")].as_text());
  }
  ASSERT_LT(their_countries.size(), with_orders);  // else the query below could not tell

  const std::string join = " FROM Customers INNER JOIN Orders ON Customers.CustomerID = Orders.CustomerID";
  QueryResult r;
  ASSERT_TRUE(engine->RunSql("SELECT DISTINCTROW Customers.Country" + join, {}, &r).ok());
  EXPECT_EQ(r.rows.size(), with_orders);
  ASSERT_TRUE(engine->RunSql("SELECT DISTINCT Customers.Country" + join, {}, &r).ok());
  EXPECT_EQ(r.rows.size(), their_countries.size());
  // With fields of every table shown, or over one table, nothing is dropped.
  ASSERT_TRUE(engine->RunSql("SELECT DISTINCTROW Customers.Country, Orders.ShipCountry" + join, {}, &r).ok());
  EXPECT_EQ(r.rows.size(), orders.size());
  ASSERT_TRUE(engine->RunSql("SELECT DISTINCTROW Country FROM Customers", {}, &r).ok());
  EXPECT_EQ(r.rows.size(), customers.size());
  // A saved query has no record identity: its rows count by all their fields.
  ASSERT_TRUE(engine
                  ->RunSql("SELECT DISTINCTROW [Order Subtotals].OrderID FROM [Order Subtotals] INNER JOIN "
                           "[Order Details] ON [Order Subtotals].OrderID = [Order Details].OrderID",
                           {}, &r)
                  .ok());
  EXPECT_EQ(r.rows.size(), orders.size());
  // Over groups it changes nothing.
  ASSERT_TRUE(engine->RunSql("SELECT DISTINCTROW Customers.Country, Count(*) AS N" + join + " GROUP BY Customers.Country",
                             {}, &r)
                  .ok());
  EXPECT_EQ(r.rows.size(), their_countries.size());
}

// Access keeps a query's own field captions with the query; they win over
// the source field's, also when the query is used by another one.
TEST(SavedQueryRun, OwnFieldCaptionsBeforeTheSourceFields) {
  auto engine = Engine("npsmith88-Northwind.mdb");
  QueryResult r;
  ASSERT_TRUE(engine->RunQuery("Ten Most Expensive Products", {}, &r).ok());
  ASSERT_EQ(r.columns.size(), 2u);
  EXPECT_EQ(r.columns[0].caption, "Ten Most Expensive Products");
  EXPECT_EQ(r.columns[1].caption, "Unit Price");
  ASSERT_TRUE(engine
                  ->RunSql("SELECT ProductSales, ProductName, ProductSales * 2 AS Twice FROM [Product Sales for 1997]",
                           {}, &r)
                  .ok());
  EXPECT_EQ(r.columns[0].caption, "Product Sales");
  EXPECT_EQ(r.columns[1].caption, "Product Name");
  EXPECT_EQ(r.columns[2].caption, "");
  // The same statement, not run as the saved query, has only the field's.
  ASSERT_TRUE(engine->RunSql("SELECT TOP 1 ProductName AS TenMostExpensiveProducts FROM Products", {}, &r).ok());
  EXPECT_EQ(r.columns[0].caption, "Product Name");
}

// A saved query over two linked tables reads the linked files' rows, found
// through a folder mapping when the stored C:\db path is not beside it.
// (table2's text column is spelled "filed2" in the linked file.)
TEST(SavedQueryRun, LinkedTablesRunThroughTheirLinks) {
  const auto dir = std::filesystem::path(::testing::TempDir()) / "query-over-links";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  const std::string path = (dir / "linked.mdb").string();
  std::filesystem::copy_file(FixturePath("linked.mdb"), path);
  QuerySpec both;
  both.name = "qryBothLinks";
  both.from = {{"Table1", ""}, {"table2", ""}};
  both.joins = {{"Table1", "table2", 1, "Table1.ID = table2.ID"}};
  both.columns = {{"Table1.field1", "Mine", QuerySpec::Role::kPlain},
                  {"table2.filed2", "Theirs", QuerySpec::Role::kPlain}};
  Status created = CreateQueries(path, {both}, CreateOptions{});
  ASSERT_TRUE(created.ok()) << created.ToString();

  OpenOptions mapped;
  mapped.folder_mappings.push_back({"C:\\DB", FixturePath("")});
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(path, mapped, &engine).ok());
  QueryResult r;
  Status s = engine->RunQuery("qryBothLinks", {}, &r);
  ASSERT_TRUE(s.ok()) << s.ToString();
  EXPECT_EQ(Csv(r), "Mine,Theirs\nciao bello,ciao brutto\n");
  ASSERT_TRUE(engine->RunSql("SELECT Count(*) AS N FROM Table1 WHERE field1 Like 'CIAO*'", {}, &r).ok());
  EXPECT_EQ(r.rows[0][0].as_int(), 1);
  engine.reset();

  // Without the mapping the link cannot be followed: an error naming the path.
  ASSERT_TRUE(QueryEngine::ForFile(path, {}, &engine).ok());
  s = engine->RunQuery("qryBothLinks", {}, &r);
  EXPECT_FALSE(s.ok());
  EXPECT_NE(s.message().find("C:\\db\\linkee1.mdb"), std::string::npos) << s.message();
  engine.reset();
  std::filesystem::remove_all(dir);
}

// FROM ... IN names a table of another Jet file, found as links are.
TEST(SavedQueryRun, TablesOfAnotherFileNamedByIn) {
  auto linked = Engine("linked.mdb");
  QueryResult r;
  ASSERT_TRUE(linked->RunSql("SELECT field1 FROM Table1 IN 'linkee1.mdb'", {}, &r).ok());
  EXPECT_EQ(Csv(r), "field1\nciao bello\n");
  // The stored C:\db path does not exist here: the file beside is used.
  ASSERT_TRUE(linked->RunSql("SELECT t.filed2 FROM table2 AS t IN '' [;DATABASE=C:\\db\\linkee2.mdb]", {}, &r).ok());
  EXPECT_EQ(Csv(r), "filed2\nciao brutto\n");
  EXPECT_EQ(linked->RunSql("SELECT * FROM Table1 IN 'nothere.mdb'", {}, &r).jet_error(), 3024);
  EXPECT_EQ(linked->RunSql("SELECT * FROM NoSuchTable IN 'linkee1.mdb'", {}, &r).jet_error(), 3078);
  EXPECT_EQ(linked->RunSql("SELECT * FROM Table1 IN 'c:\\data' [dBASE IV;]", {}, &r).jet_error(), 3170);
  // Their rows are only read: a statement that would change them is refused
  // before it touches anything (not applied to a local table of that name).
  int64_t affected = -1;
  for (const char* change : {"UPDATE Table1 IN 'linkee1.mdb' SET field1 = 'x'", "DELETE FROM Table1 IN 'linkee1.mdb'",
                             "INSERT INTO Table1 IN 'linkee1.mdb' (field1) VALUES ('x')",
                             "DELETE FROM Table1 IN '' [;DATABASE=linkee1.mdb]"}) {
    Status s = linked->Execute(change, {}, &affected);
    EXPECT_EQ(s.code(), Status::Code::kUnsupported) << change;
    EXPECT_NE(s.message().find("another database"), std::string::npos) << s.message();
    EXPECT_EQ(affected, 0) << change;
  }

  // A local table joined with one of another file: nwind's orders of the
  // customers this file has.
  auto engine = Engine("npsmith88-Northwind.mdb");
  const TableDef* def;
  std::set<std::string> here;
  for (const Row& row : TableRows(engine->database(), "Customers", &def))
    here.insert(row[def->FindColumn("CustomerID")].as_text());
  auto nwind = Engine("nwind.mdb");
  size_t expected = 0;
  for (const Row& row : TableRows(nwind->database(), "Orders", &def))
    expected += here.count(row[def->FindColumn("CustomerID")].as_text());
  ASSERT_TRUE(engine
                  ->RunSql("SELECT Count(*) AS N FROM Customers INNER JOIN Orders IN 'nwind.mdb' "
                           "ON Customers.CustomerID = Orders.CustomerID",
                           {}, &r)
                  .ok());
  EXPECT_EQ(r.rows[0][0].as_int(), static_cast<int64_t>(expected));
  // After the join, IN is the database of every table in it (Access's
  // source database): nwind's own 830 orders.
  ASSERT_TRUE(engine
                  ->RunSql("SELECT Count(*) AS N FROM Customers INNER JOIN Orders "
                           "ON Customers.CustomerID = Orders.CustomerID IN 'nwind.mdb'",
                           {}, &r)
                  .ok());
  EXPECT_EQ(r.rows[0][0].as_int(), 830);
}

TEST(SavedQueryRun, EveryFixtureSelectRunsWithItsParameters) {
  for (const char* file : {"nwind.mdb", "npsmith88-Northwind.mdb", "pivot.mdb", "accessLike.mdb",
                           "Gymnase2000.mdb", "xtreme.mdb", "psc-adoquery-Northwind.mdb", "parameters.accdb",
                           "reports-northwind.mdb"}) {
    auto engine = Engine(file);
    std::vector<SavedQuery> queries;
    ASSERT_TRUE(engine->ListQueries(&queries).ok());
    for (const SavedQuery& q : queries) {
      if (q.type != QueryType::kSelect && q.type != QueryType::kUnion && q.type != QueryType::kCrosstab) continue;
      std::vector<QueryParameterInfo> p;
      ASSERT_TRUE(engine->QueryParameters(q.name, &p).ok()) << file << ": " << q.name;
      std::vector<Value> values;
      for (const auto& param : p)
        values.emplace_back(ColumnType::kText, param.type == ColumnType::kDateTime ? "1/1/1995" : "1");
      QueryResult result;
      Status s = engine->RunQuery(q.name, values, &result);
      EXPECT_TRUE(s.ok()) << file << ": " << q.name << ": " << s.ToString();
    }
  }
}

TEST(SavedQueryRun, JetSemantics) {
  auto engine = Engine("reports-northwind.mdb");
  QueryResult r;
  ASSERT_TRUE(engine
                  ->RunSql("SELECT TOP 1 ProductName & '' AS N, Null + 1 AS A, 'a' & Null AS B, 'a' + Null AS C, "
                           "IIf(UnitPrice > 20, 'hi', 'lo') AS I, Format(#1/31/2001#, 'dd-mmm-yyyy') AS F, "
                           "DateSerial(2001, 14, 1) AS D, Round(2.5) AS R, 7 \\ 2 AS Q, -7 Mod 3 AS M, True AS T, "
                           "Nz(Null, 'z') AS Z, UCase(Left('côte', 2)) AS U "
                           "FROM Products WHERE ProductName Like 'C?TE*' ORDER BY ProductID",
                           {}, &r)
                  .ok());
  EXPECT_EQ(Csv(r),
            "N,A,B,C,I,F,D,R,Q,M,T,Z,U\nCôte de Blaye,\\N,a,\\N,hi,31-Jan-2001,2002-02-01 00:00:00,2,3,-1,1,z,CÔ\n");
  EXPECT_EQ(r.columns[6].type, ColumnType::kDateTime);

  // Text compares in General order: case and accents ignored.
  ASSERT_TRUE(engine->RunSql("SELECT Count(*) AS N FROM Customers WHERE CompanyName = 'ALFREDS FUTTERKISTE'", {}, &r).ok());
  EXPECT_EQ(r.rows[0][0].as_int(), 1);
  // Currency sums stay exact and typed.
  ASSERT_TRUE(engine->RunSql("SELECT Sum(UnitPrice) AS S FROM Products", {}, &r).ok());
  EXPECT_EQ(r.columns[0].type, ColumnType::kCurrency);
  EXPECT_EQ(FormatCurrency(r.rows[0][0].as_currency()), "2222.71");
  // TOP keeps the rows tied with the last one.
  ASSERT_TRUE(engine->RunSql("SELECT TOP 1 CategoryID FROM Products ORDER BY CategoryID", {}, &r).ok());
  QueryResult all;
  ASSERT_TRUE(engine->RunSql("SELECT ProductID FROM Products WHERE CategoryID = 1", {}, &all).ok());
  EXPECT_EQ(r.rows.size(), all.rows.size());
}

TEST(SavedQueryRun, ErrorsInJetTerms) {
  auto engine = Engine("reports-northwind.mdb");
  QueryResult r;
  EXPECT_EQ(engine->RunSql("SELECT * FROM NoSuchTable", {}, &r).jet_error(), 3078);
  EXPECT_EQ(engine->RunSql("SELECT * FROM Products WHERE ((ProductID = ", {}, &r).jet_error(), 3075);
  Status s = engine->RunSql("SELECT [Enter a date], NoSuchField FROM Products", {}, &r);
  EXPECT_EQ(s.jet_error(), 3061);
  EXPECT_EQ(s.message(), "Too few parameters. Expected 2.");
  EXPECT_EQ(engine->RunQuery("qryRetired", {}, &r).jet_error(), 3265);
  EXPECT_EQ(engine->RunSql("SELECT NoSuchFunction(1) FROM Products", {}, &r).jet_error(), 3085);
  // A length Space or String cannot make: past a Long, below nothing, or
  // more than the engine builds.
  EXPECT_EQ(engine->RunSql("SELECT Space(1E+300)", {}, &r).jet_error(), 6);
  EXPECT_EQ(engine->RunSql("SELECT String(-1, 'x')", {}, &r).jet_error(), 5);
  EXPECT_EQ(engine->RunSql("SELECT Len(Space(2000000))", {}, &r).jet_error(), 14);
}

// The report tables' statements, as the program builds them.
TEST(SavedQueryRun, ReportStatementsRun) {
  auto engine = Engine("reports-northwind.mdb");
  QueryResult list, members, users;
  ASSERT_TRUE(engine
                  ->RunSql("SELECT tblExportableResults.OutputID, tblExportableResults.Abbreviation From "
                           "tblExportableResults ORDER BY tblExportableResults.Abbreviation;",
                           {}, &list)
                  .ok());
  ASSERT_EQ(list.rows.size(), 7u);
  for (size_t i = 1; i < list.rows.size(); ++i)
    EXPECT_LE(CompareGeneral(list.rows[i - 1][1].as_text(), list.rows[i][1].as_text()), 0);
  std::string id = std::to_string(list.rows[0][0].as_int());
  ASSERT_TRUE(engine
                  ->RunSql("SELECT DISTINCT tblExportableResults.Abbreviation FROM tblUserQueries INNER JOIN "
                           "(tblExportableResults INNER JOIN tblExportableResults_UserQueries ON "
                           "tblExportableResults.OutputID = tblExportableResults_UserQueries.OutputID) ON "
                           "tblUserQueries.QueryID = tblExportableResults_UserQueries.QueryID WHERE "
                           "(((tblExportableResults_UserQueries.QueryID)=1));",
                           {}, &members)
                  .ok());
  ASSERT_TRUE(engine
                  ->RunSql("SELECT tblUserQueries.QueryID, tblUserQueries.QueryName From tblUserQueries WHERE "
                           "(((tblUserQueries.QueryID) Not In(1,2)));",
                           {}, &users)
                  .ok());
  EXPECT_EQ(users.rows.size(), 8u);
  ASSERT_TRUE(engine
                  ->RunSql("SELECT tblExportableResults.OutputID From tblExportableResults WHERE "
                           "(((tblExportableResults.Abbreviation)='O''Neil catch'));",
                           {}, &users)
                  .ok());
  EXPECT_EQ(users.rows.size(), 1u);
}

TEST(SavedQueryRun, SameResultsUnderAFrenchLocale) {
  auto engine = Engine("nwind.mdb");
  QueryResult before, after;
  const std::string sql = "SELECT Format(OrderDate, 'Medium Date') AS D, Freight * 1.5 AS F, CStr(Freight) AS S "
                          "FROM Orders WHERE OrderDate Between #1/1/95# And #1/31/95# ORDER BY OrderID";
  ASSERT_TRUE(engine->RunSql(sql, {}, &before).ok());
  std::vector<QueryParameterInfo> p;
  QueryResult params_before, params_after;
  ASSERT_TRUE(engine->RunQuery("Employee Sales by Country", Texts({"01-Jan-1995", "1/31/1995"}), &params_before).ok());
  const char* old = std::setlocale(LC_ALL, nullptr);
  std::string saved = old ? old : "C";
  ASSERT_NE(std::setlocale(LC_ALL, "fr_FR.UTF-8"), nullptr);
  Status s1 = engine->RunSql(sql, {}, &after);
  Status s2 = engine->RunQuery("Employee Sales by Country", Texts({"01-Jan-1995", "1/31/1995"}), &params_after);
  std::setlocale(LC_ALL, saved.c_str());
  ASSERT_TRUE(s1.ok() && s2.ok());
  EXPECT_EQ(Csv(before), Csv(after));
  EXPECT_EQ(Csv(params_before), Csv(params_after));
  EXPECT_FALSE(before.rows.empty());
}

}  // namespace
}  // namespace jet
