// The names of a query's result columns, which become a workbook's header
// row, as Access gives them: an alias as written; an unnamed expression
// Expr1000 plus its column's position; a field its name, qualified by its
// table or alias when another column has the same name; an earlier showing of
// a field shown again named as an expression.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "jet/create.h"
#include "jet/query.h"
#include "test_support.h"

namespace jet {
namespace {

using Names = std::vector<std::string>;

std::shared_ptr<QueryEngine> Engine(const std::string& path) {
  std::shared_ptr<QueryEngine> engine;
  Status s = QueryEngine::ForFile(path, {}, &engine);
  EXPECT_TRUE(s.ok()) << s.ToString();
  return engine;
}

Names NamesOf(const QueryResult& r) {
  Names names;
  for (const auto& c : r.columns) names.push_back(c.name);
  return names;
}

Names SqlNames(QueryEngine& engine, const std::string& sql) {
  QueryResult r;
  Status s = engine.RunSql(sql, {}, &r);
  EXPECT_TRUE(s.ok()) << sql << ": " << s.ToString();
  return NamesOf(r);
}

Names SavedQueryNames(QueryEngine& engine, const std::string& query, const std::vector<Value>& values = {}) {
  QueryResult r;
  Status s = engine.RunQuery(query, values, &r);
  EXPECT_TRUE(s.ok()) << query << ": " << s.ToString();
  return NamesOf(r);
}

TEST(QueryColumnNames, ExpressionsAreNumberedByTheirColumnsPosition) {
  const std::string path = testing::NewDatabase("jet-column-names", "names.mdb");
  TableSpec table{"q 1", {{"_eeeee£%", ColumnType::kText, 20}}, {}, {}};
  ASSERT_TRUE(CreateTables(path, {table}, CreateOptions{}).ok());
  auto engine = Engine(path);
  ASSERT_TRUE(engine);
  EXPECT_EQ(SqlNames(*engine, "SELECT [q 1].[_eeeee£%], 'EEE'&NULL, 'EEE'+NULL FROM [q 1]"),
            (Names{"_eeeee£%", "Expr1001", "Expr1002"}));
  // A column with an alias still counts in the positions.
  EXPECT_EQ(SqlNames(*engine, "SELECT 1 AS One, 2, Null, [_eeeee£%] & 'x' FROM [q 1]"),
            (Names{"One", "Expr1001", "Expr1002", "Expr1003"}));

  auto nwind = Engine(testing::FixturePath("nwind.mdb"));
  // Aggregates without an alias, beside grouped fields.
  EXPECT_EQ(SqlNames(*nwind, "SELECT ShipCountry, Count(*), ShipVia, Sum(Freight) AS Total, Max(OrderDate) "
                             "FROM Orders GROUP BY ShipCountry, ShipVia"),
            (Names{"ShipCountry", "Expr1001", "ShipVia", "Total", "Expr1004"}));
  // The same field shown three times: the last showing keeps the name.
  EXPECT_EQ(SqlNames(*nwind, "SELECT Orders.ShipCity, Orders.OrderID, ShipCity, Orders.Freight, Orders.ShipCity "
                             "FROM Orders"),
            (Names{"Expr1000", "OrderID", "Expr1002", "Freight", "ShipCity"}));
}

TEST(QueryColumnNames, SharedFieldNamesAreQualifiedByTheirSource) {
  auto nwind = Engine(testing::FixturePath("nwind.mdb"));
  // Invoices shows CompanyName of Customers and of Shippers; Invoices Filter
  // passes them on through Invoices.*.
  for (const Names& names :
       {SavedQueryNames(*nwind, "Invoices"),
        SavedQueryNames(*nwind, "Invoices Filter", {Value(ColumnType::kText, std::string("10250"))})}) {
    ASSERT_EQ(names.size(), 26u);
    EXPECT_EQ(names[6], "CustomerID");
    EXPECT_EQ(names[7], "Customers.CompanyName");
    EXPECT_EQ(names[9], "City");
    EXPECT_EQ(names[13], "Salesperson");
    EXPECT_EQ(names[18], "Shippers.CompanyName");
  }
  // Through an alias the qualifier is the alias; a field named like another
  // column's alias gives way to it.
  EXPECT_EQ(SqlNames(*nwind, "SELECT C.CompanyName, S.CompanyName, C.City, C.ContactName AS Phone, S.Phone "
                             "FROM Customers AS C, Shippers AS S"),
            (Names{"C.CompanyName", "S.CompanyName", "City", "Phone", "S.Phone"}));

  // * over a join: only the names both tables have are qualified, and only
  // when both are shown.
  const std::string join = " FROM Customers INNER JOIN Orders ON Customers.CustomerID = Orders.CustomerID";
  Names all = SqlNames(*nwind, "SELECT *" + join);
  ASSERT_EQ(all.size(), 25u);
  EXPECT_EQ(all[0], "Customers.CustomerID");
  EXPECT_EQ(all[1], "CompanyName");
  EXPECT_EQ(all[12], "Orders.CustomerID");
  EXPECT_EQ(all[13], "EmployeeID");
  Names orders = SqlNames(*nwind, "SELECT Orders.*, CompanyName" + join);
  EXPECT_EQ(orders[1], "CustomerID");
  EXPECT_EQ(orders.back(), "CompanyName");
  Names mixed = SqlNames(*nwind, "SELECT Customers.*, Orders.CustomerID" + join);
  EXPECT_EQ(mixed.front(), "Customers.CustomerID");
  EXPECT_EQ(mixed.back(), "Orders.CustomerID");

  // jetdump --run prints the same names as its header row.
  std::string header = testing::RunCommand(std::string("'") + JETDUMP_PATH + "' '" +
                                           testing::FixturePath("nwind.mdb") + "' --run Invoices");
  header = header.substr(0, header.find('\n'));
  std::string expected;
  for (const std::string& name : SavedQueryNames(*nwind, "Invoices")) expected += (expected.empty() ? "" : ",") + name;
  EXPECT_EQ(header, expected);
}

TEST(QueryColumnNames, UnionsTakeTheFirstPartsNames) {
  auto nwind = Engine(testing::FixturePath("nwind.mdb"));
  EXPECT_EQ(SavedQueryNames(*nwind, "Customers and Suppliers by City"),
            (Names{"City", "CompanyName", "ContactName", "Relationship"}));
  EXPECT_EQ(SqlNames(*nwind, "SELECT Customers.City, Suppliers.City, Len(Customers.Country) FROM Customers "
                             "INNER JOIN Suppliers ON Customers.Country = Suppliers.Country "
                             "UNION SELECT City AS A, Country AS B, 1 AS C FROM Employees "
                             "UNION SELECT ShipName, ShipCity, ShipVia FROM Orders"),
            (Names{"Customers.City", "Suppliers.City", "Expr1002"}));
}

TEST(QueryColumnNames, CrosstabHeadingsAreThePivotValuesAsText) {
  auto nwind = Engine(testing::FixturePath("nwind.mdb"));
  EXPECT_EQ(SavedQueryNames(*nwind, "Quarterly Orders by Product"),
            (Names{"ProductName", "CustomerID", "OrderYear", "Qtr 1", "Qtr 2", "Qtr 3", "Qtr 4"}));
  // Headings found in the data come in their order, a Null one as <>; an
  // unnamed row heading is an expression like any other.
  EXPECT_EQ(SqlNames(*nwind, "TRANSFORM Count(*) AS N SELECT Year(OrderDate) FROM Orders WHERE OrderID < 10300 "
                             "GROUP BY Year(OrderDate) PIVOT IIf(ShipVia = 1, Null, ShipVia)"),
            (Names{"Expr1000", "<>", "2", "3"}));
  // Listed headings are named by their values' text.
  EXPECT_EQ(SqlNames(*nwind, "TRANSFORM Count(*) AS N SELECT ShipVia FROM Orders GROUP BY ShipVia "
                             "PIVOT EmployeeID IN (1, -2, 3.50, 'x', #8/4/1994#)"),
            (Names{"ShipVia", "1", "-2", "3.5", "x", "8/4/1994"}));

  auto pivot = Engine(testing::FixturePath("pivot.mdb"));
  EXPECT_EQ(SavedQueryNames(*pivot, "q_trim"), (Names{"c_cod", "Total_Value", "Trim 1", "Trim 2"}));
  EXPECT_EQ(SavedQueryNames(*pivot, "q_stdev"), (Names{"c_dt", "Total_Value", "2013"}));
  // The row heading Sports.Libelle keeps its name: the pivot Sports_1.Libelle
  // is no column of the result.
  auto gym = Engine(testing::FixturePath("Gymnase2000.mdb"));
  Names sports = SavedQueryNames(*gym, "Requête croisée JxE");
  ASSERT_GT(sports.size(), 1u);
  EXPECT_EQ(sports[0], "Libelle");
}

}  // namespace
}  // namespace jet
