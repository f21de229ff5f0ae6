// Mangled SQL: every select, union and crosstab query saved in a few real
// databases, damaged a few thousand deterministic ways — words dropped,
// doubled, swapped, stray brackets, quotes, keywords, huge numbers, odd date
// literals, the text cut short — and run through the whole query engine,
// built with AddressSanitizer and UndefinedBehaviorSanitizer. A saved query
// is text anybody may have edited; whatever it says, the answer is rows or an
// error in Jet's terms (a Jet error number and a message), never a crash.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "jet/query.h"
#include "jet/text_form.h"
#include "file_bytes.h"

namespace jet::testing {
namespace {

// xorshift64*: the same statements on every run and machine.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ull + 1) {}
  size_t Below(size_t n) {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return n ? (state_ * 0x2545F4914F6CDD1Dull) % n : 0;
  }

 private:
  uint64_t state_;
};

std::vector<std::string> Words(const std::string& sql) {
  std::vector<std::string> words;
  std::istringstream in(sql);
  for (std::string w; in >> w;) words.push_back(w);
  return words;
}

std::string Join(const std::vector<std::string>& words) {
  std::string out;
  for (const auto& w : words) out += (out.empty() ? "" : " ") + w;
  return out;
}

// Pieces that push the parser, the translator and the function library off
// their usual paths.
const char* const kStrays[] = {
    "(", ")", ",", "[", "]", "'", "\"", "#", "!", ".", "*", "&", "+", "-", "/", "\\", "^", "=", "<>",
    "SELECT", "FROM", "WHERE", "AND", "OR", "NOT", "NULL", "IN", "LIKE", "BETWEEN", "GROUP BY", "HAVING",
    "ORDER BY", "UNION", "TRANSFORM", "PIVOT", "TOP 0", "DISTINCT", "AS", "ON", "INNER JOIN", "LEFT JOIN",
    "99999999999999999999999", "-2147483649", "1e308", "0", "1/0", "#13/45/2001#", "#2/30/2000#", "#1/1/100#",
    "[Unknown Table].[x]", "[Forms]![Orders]![OrderID]", "IIf(", "Format(", "Mid(", "DateAdd('q',", "Nz(",
    "Switch(", "Choose(99,", "CInt(1e10)", "Space(-1)", "String(99999999,", "Left('x',-1)", "Sum(", "First(",
    "(SELECT", "Exists", "'unterminated", "[unclosed", "*/", ";",
};

std::string Mangle(const std::string& sql, Random& rnd) {
  std::vector<std::string> w = Words(sql);
  if (w.empty()) return sql;
  const size_t at = rnd.Below(w.size());
  switch (rnd.Below(6)) {
    case 0:
      w.erase(w.begin() + static_cast<long>(at));
      break;
    case 1:
      w.insert(w.begin() + static_cast<long>(at), w[at]);
      break;
    case 2:
      std::swap(w[at], w[rnd.Below(w.size())]);
      break;
    case 3:
      w.insert(w.begin() + static_cast<long>(at), kStrays[rnd.Below(std::size(kStrays))]);
      break;
    case 4:
      w[at] = kStrays[rnd.Below(std::size(kStrays))];
      break;
    default: {
      std::string text = Join(w);
      return text.substr(0, rnd.Below(text.size()));
    }
  }
  return Join(w);
}

bool IsRunnable(QueryType type) {
  return type == QueryType::kSelect || type == QueryType::kUnion || type == QueryType::kCrosstab;
}

TEST(MangledSql, EveryStatementGivesRowsOrAJetError) {
  const char* const files[] = {"nwind.mdb", "queryTestV2003.mdb", "pivot.mdb", "npsmith88-Northwind.mdb",
                               "accessLike.mdb"};
  int statements = 0, answered_with_rows = 0, refused = 0;
  std::map<std::string, int> unnumbered;  // messages of errors without a Jet number
  uint64_t seed = 1;
  for (const char* file : files) {
    std::shared_ptr<QueryEngine> engine;
    ASSERT_TRUE(QueryEngine::ForFile(std::string(TABULON_FIXTURES) + "/jet/" + file, {}, &engine).ok()) << file;
    std::vector<SavedQuery> queries;
    ASSERT_TRUE(engine->ListQueries(&queries).ok()) << file;
    for (const auto& query : queries) {
      if (!IsRunnable(query.type)) continue;
      for (int m = 0; m < 40; ++m, ++seed) {
        Random rnd(seed);
        std::string sql = query.sql;
        for (size_t k = 0, n = 1 + rnd.Below(3); k < n; ++k) sql = Mangle(sql, rnd);
        SCOPED_TRACE(std::string(file) + " / " + query.name + ": " + sql);
        // Parameters get a value each where the statement still declares
        // them, so the damage reaches execution and not only the count check.
        std::vector<QueryParameterInfo> declared;
        std::vector<Value> values;
        if (engine->SqlParameters(sql, &declared).ok()) values.assign(declared.size(), Value(ColumnType::kText, std::string("1")));
        QueryResult result;
        Status s = engine->RunSql(sql, values, &result);
        ++statements;
        if (s.ok()) {
          ++answered_with_rows;
          for (const auto& row : result.rows) EXPECT_EQ(row.size(), result.columns.size());
          continue;
        }
        ++refused;
        EXPECT_FALSE(s.message().empty());
        if (s.jet_error() == 0) ++unnumbered[s.message()];
      }
    }
  }
  for (const auto& [message, count] : unnumbered) ADD_FAILURE() << count << "× without a Jet number: " << message;
  // The damage must reach both outcomes, or the test proves nothing.
  EXPECT_GT(statements, 3000);
  EXPECT_GT(answered_with_rows, statements / 20);
  EXPECT_GT(refused, statements / 4);
  std::printf("mangled statements: %d, answered with rows: %d, refused: %d\n", statements, answered_with_rows,
              refused);
}

// Statements the mangling once found crashing the engine, kept as found.
TEST(MangledSql, StatementsThatOnceCrashedAreRefused) {
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(std::string(TABULON_FIXTURES) + "/jet/nwind.mdb", {}, &engine).ok());
  const char* const statements[] = {
      // a union sorted by something that is not one of its column names
      "SELECT City FROM Customers UNION SELECT City FROM Suppliers ORDER BY 1",
      "SELECT City FROM Customers UNION SELECT City FROM Suppliers ORDER BY Len(City)",
      // a function that takes a varying number of arguments, given too few
      // (Mid read a second argument that was not there)
      "SELECT Mid(CompanyName) FROM Customers",
      "SELECT Replace(City, 'a') FROM Customers",
      "SELECT DateDiff('d', OrderDate) FROM Orders",
      // Int and Fix, whose result takes their argument's type, given none
      // or two (found by the SQL fuzzer as "Int(" and a form feed ")")
      "SELECT Int() FROM Orders",
      "SELECT Fix(\f) FROM Orders",
      "SELECT Int(Freight, 2) FROM Orders",
  };
  for (const char* sql : statements) {
    QueryResult result;
    Status s = engine->RunSql(sql, {}, &result);
    EXPECT_EQ(s.jet_error(), 3075) << sql << ": " << s.ToString();
  }
  // Nested past what the engine follows (the SQL fuzzer ran the parse out of
  // stack with a thousand parentheses): Jet's "Query is too complex.",
  // whether the parse or SQLite finds the limit. Nested as deeply as real
  // queries are, they run.
  const auto repeated = [](const std::string& part, int n) {
    std::string text;
    while (n-- > 0) text += part;
    return text;
  };
  const std::string too_deep[] = {
      "SELECT " + repeated("(", 1000) + "1" + repeated(")", 1000) + " FROM Orders",
      "SELECT " + repeated("Freight + ", 5000) + "1 FROM Orders",
      "SELECT * FROM Orders WHERE " + repeated("NOT ", 1000) + "Freight > 1",
      "SELECT " + repeated("- ", 1000) + "Freight FROM Orders",
      "SELECT " + repeated("Abs(", 50) + "Freight" + repeated(")", 50) + " FROM Orders",
      repeated("SELECT OrderID FROM Orders UNION ", 600) + "SELECT OrderID FROM Orders",
  };
  for (const std::string& sql : too_deep) {
    QueryResult result;
    Status s = engine->RunSql(sql, {}, &result);
    EXPECT_EQ(s.jet_error(), 3360) << sql.substr(0, 60) << ": " << s.ToString();
  }
  const std::string deep_enough[] = {
      "SELECT " + repeated("(", 40) + "Freight" + repeated(")", 40) + " FROM Orders",
      "SELECT " + repeated("IIf(Freight > 1, ", 10) + "1" + repeated(", 0)", 10) + " FROM Orders",
      "SELECT * FROM Orders WHERE Freight = 0" + repeated(" OR Freight = 1", 60),
  };
  for (const std::string& sql : deep_enough) {
    QueryResult result;
    Status s = engine->RunSql(sql, {}, &result);
    EXPECT_TRUE(s.ok()) << sql.substr(0, 60) << ": " << s.ToString();
  }
  // A TOP count past any integer (the fuzzer's had 120 digits) keeps every row.
  QueryResult all, top;
  ASSERT_TRUE(engine->RunSql("SELECT OrderID FROM Orders", {}, &all).ok());
  Status s = engine->RunSql("SELECT TOP 7" + repeated("9", 119) + " OrderID FROM Orders ORDER BY OrderID", {}, &top);
  ASSERT_TRUE(s.ok()) << s.ToString();
  EXPECT_EQ(top.rows.size(), all.rows.size());
  // A saved delete query whose parts were lost reads back as a bare DELETE;
  // asking for its parameters once followed a query part it did not have.
  for (const char* sql : {"DELETE ;", "DELETE", "DELETE FROM", "DELETE * FROM Shippers WHERE"}) {
    std::vector<QueryParameterInfo> parameters;
    Status s = engine->SqlParameters(sql, &parameters);
    EXPECT_TRUE(s.ok() ? parameters.empty() : s.jet_error() > 0) << sql << ": " << s.ToString();
  }
}

// Numbers past the range of the type they are made into, as the SQL fuzzer
// first wrote them (CCur(1E+300) was a double made a 64-bit integer, which is
// undefined): Overflow, Jet's error 6, in the sanitized build; the ends of
// Currency's range still convert, exactly.
TEST(MangledSql, NumbersPastTheirTypesRangeOverflow) {
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(std::string(TABULON_FIXTURES) + "/jet/nwind.mdb", {}, &engine).ok());
  const auto run = [&](const std::string& expression, std::string* text) {
    QueryResult result;
    Status s = engine->RunSql("SELECT " + expression + " AS x FROM Shippers WHERE ShipperID = 1", {}, &result);
    if (s.ok() && result.rows.size() == 1) *text = CanonicalText(result.rows[0][0]);
    return s;
  };
  for (const char* overflow : {"CCur(1E+300)", "CCur('1e300')", "CCur(-1E+300)", "CCur('12345678901234567890')",
                               "CCur(9223372036854775807)", "CCur(922337203685478)", "CInt(1E+300)",
                               "CLng(-1E+300)"}) {
    std::string text;
    EXPECT_EQ(run(overflow, &text).jet_error(), 6) << overflow << " gave " << text;
  }
  for (const auto& [expression, expected] : std::vector<std::pair<const char*, const char*>>{
           {"CCur(' 1.23456 ')", "1.2346"},
           {"CCur('-922337203685477.5808')", "-922337203685477.5808"},
           {"CCur('922337203685477.5807')", "922337203685477.5807"}}) {
    std::string text;
    EXPECT_TRUE(run(expression, &text).ok()) << expression;
    EXPECT_EQ(text, expected) << expression;
  }
}

// Statements that change data, mangled the same way and run on a copy of a
// real database inside a transaction that is then rolled back: whatever each
// one does or fails to do, the file ends byte for byte as it began.
TEST(MangledSql, ChangesAreRowsOrAJetErrorAndRollBackToTheOldFile) {
  const char* const statements[] = {
      "UPDATE Products SET UnitPrice = UnitPrice * 1.1, ProductName = ProductName & ' (new)' WHERE CategoryID = 2",
      "DELETE * FROM [Order Details] WHERE Quantity < 5 AND Discount > 0",
      "INSERT INTO Shippers (CompanyName, Phone) VALUES ('Fast Freight', '(503) 555-0100')",
      "INSERT INTO Customers (CustomerID, CompanyName, City) SELECT Left(CompanyName, 4) & SupplierID, "
      "CompanyName, City FROM Suppliers WHERE SupplierID < 20",
      "UPDATE Orders INNER JOIN Customers ON Orders.CustomerID = Customers.CustomerID "
      "SET Orders.ShipCity = Customers.City, Orders.Freight = Orders.Freight + 1 WHERE Customers.Country = 'UK'",
      "DELETE Orders.*, Orders.ShipVia FROM Orders WHERE OrderDate > #5/1/1998# AND OrderID Not In "
      "(SELECT OrderID FROM [Order Details])",
      "UPDATE Employees SET Notes = Notes & String(300, 'x'), HireDate = DateAdd('m', 1, HireDate)",
  };
  const std::string path = ::testing::TempDir() + "mangled-dml-" + std::to_string(getpid()) + ".mdb";
  std::filesystem::copy_file(std::string(TABULON_FIXTURES) + "/jet/npsmith88-Northwind.mdb", path,
                             std::filesystem::copy_options::overwrite_existing);
  const auto original = FileBytes(path);
  int runs = 0, changed_rows = 0, refused = 0;
  {
    std::shared_ptr<QueryEngine> engine;
    OpenOptions writable;
    writable.writable = true;
    ASSERT_TRUE(QueryEngine::ForFile(path, writable, &engine).ok());
    uint64_t seed = 1;
    for (const char* statement : statements) {
      for (int m = 0; m < 40; ++m, ++seed) {
        Random rnd(seed);
        std::string sql = statement;
        for (size_t k = 0, n = rnd.Below(3); k < n; ++k) sql = Mangle(sql, rnd);
        SCOPED_TRACE(sql);
        ASSERT_TRUE(engine->BeginTransaction().ok());
        int64_t affected = 0;
        Status s = engine->Execute(sql, {}, &affected);
        ++runs;
        if (s.ok()) {
          changed_rows += affected > 0;
        } else {
          ++refused;
          EXPECT_GT(s.jet_error(), 0) << s.ToString();
        }
        ASSERT_TRUE(engine->Rollback().ok());
      }
    }
  }
  EXPECT_TRUE(FileBytes(path) == original);
  std::filesystem::remove(path);
  EXPECT_GT(changed_rows, runs / 10);
  EXPECT_GT(refused, runs / 4);
  std::printf("mangled changes: %d, that changed rows: %d, refused: %d\n", runs, changed_rows, refused);
}

}  // namespace
}  // namespace jet::testing
