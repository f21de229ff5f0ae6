// Decimal stays exact: the arithmetic against 128-bit integers, and a
// database made here with Decimal columns of several precisions and scales,
// whose values come back from queries digit for digit as they were written.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <sstream>

#include "jet/create.h"
#include "jet/query.h"
#include "jet/text_form.h"
#include "sql/decimal_math.h"
#include "test_support.h"

namespace jet {
namespace {

using sql::ParseDecimal;
using i128 = __int128;

Decimal D(std::string_view text) {
  std::optional<Decimal> d = ParseDecimal(text);
  EXPECT_TRUE(d) << text;
  return d.value_or(Decimal{});
}

// The value as a signed integer at `scale` places (the test keeps it small).
i128 Scaled(const Decimal& d, int scale) {
  i128 m = static_cast<i128>(d.magnitude);
  for (int s = d.scale; s < scale; ++s) m *= 10;
  return d.negative ? -m : m;
}

TEST(DecimalMath, TextReadsAndPrintsExactly) {
  EXPECT_EQ(FormatDecimal(D("-0012.5000")), "-12.5");
  EXPECT_EQ(D("-0012.5000").scale, 4);  // the places written are kept
  EXPECT_EQ(FormatDecimal(D(" .05 ")), "0.05");
  EXPECT_EQ(FormatDecimal(D("-0.000")), "0");
  EXPECT_EQ(D("-0.000").scale, 3);
  EXPECT_EQ(FormatDecimal(D("1.0e+20")), "100000000000000000000");
  EXPECT_EQ(FormatDecimal(D("25E-3")), "0.025");
  EXPECT_EQ(FormatDecimal(D("79228162514264337593543950335")), "79228162514264337593543950335");
  EXPECT_FALSE(ParseDecimal("79228162514264337593543950336"));  // 2^96
  EXPECT_FALSE(ParseDecimal("1e29"));
  for (const char* bad : {"", "-", ".", "1.2.3", "12abc", "1e", "e5", "--1"}) EXPECT_FALSE(ParseDecimal(bad)) << bad;
  // Beyond 28 places the digits round half to even, with every digit counted.
  EXPECT_EQ(FormatDecimal(D("0.00000000000000000000000000025")), "0.0000000000000000000000000002");
  EXPECT_EQ(FormatDecimal(D("0.000000000000000000000000000250000000000000000001")),
            "0.0000000000000000000000000003");
  EXPECT_EQ(FormatDecimal(D("0.00000000000000000000000000035")), "0.0000000000000000000000000004");
  EXPECT_EQ(FormatDecimal(D("1e-40")), "0");
  // A value too long for 96 bits at its places keeps fewer of them; here
  // rounding up reaches 2^96 itself, so one more place goes.
  EXPECT_EQ(FormatDecimal(D("7922816251426433759354395033.54")), "7922816251426433759354395033.5");
  EXPECT_EQ(FormatDecimal(D("7922816251426433759354395033.56")), "7922816251426433759354395034");
  EXPECT_EQ(FormatDecimal(*sql::DecimalFromDouble(0.1 + 0.2)), "0.3");  // 15 digits, as CDec
  EXPECT_EQ(FormatDecimal(sql::DecimalFromInteger(INT64_MIN)), "-9223372036854775808");
}

TEST(DecimalMath, ArithmeticAndOrderAgreeWithWideIntegers) {
  std::mt19937_64 random(14);
  auto pick = [&](int digits, int scale) {
    std::string text = random() % 2 ? "-" : "";
    for (int i = 0; i < digits; ++i) {
      if (i == digits - scale) text += '.';
      text += static_cast<char>('0' + random() % 10);
    }
    return D(text);
  };
  for (int round = 0; round < 20000; ++round) {
    const int sa = static_cast<int>(random() % 10), sb = static_cast<int>(random() % 10);
    const Decimal a = pick(sa + 1 + static_cast<int>(random() % 9), sa);
    const Decimal b = pick(sb + 1 + static_cast<int>(random() % 9), sb);
    const int scale = std::max(sa, sb);
    const i128 x = Scaled(a, scale), y = Scaled(b, scale);
    SCOPED_TRACE(FormatDecimal(a) + " and " + FormatDecimal(b));
    std::optional<Decimal> sum = sql::AddDecimals(a, b);
    ASSERT_TRUE(sum);
    EXPECT_EQ(Scaled(*sum, scale), x + y);
    std::optional<Decimal> difference = sql::AddDecimals(a, sql::NegateDecimal(b));
    EXPECT_EQ(Scaled(*difference, scale), x - y);
    // A product of up to 36 digits keeps what fits 96 bits, rounded half to even.
    std::optional<Decimal> product = sql::MultiplyDecimals(a, b);
    ASSERT_TRUE(product);
    i128 exact = Scaled(a, sa) * Scaled(b, sb), unit = 1;
    for (int s = product->scale; s < sa + sb; ++s) unit *= 10;
    i128 kept = exact / unit, rest = exact % unit;
    if (rest < 0) rest = -rest;
    if (rest * 2 > unit || (rest * 2 == unit && kept % 2 != 0)) kept += exact < 0 ? -1 : 1;
    EXPECT_EQ(Scaled(*product, product->scale), kept);
    EXPECT_TRUE(unit == 1 || product->magnitude * 10 >= (static_cast<unsigned __int128>(1) << 96) ||
                product->scale == 0)
        << "places were dropped that fitted";
    EXPECT_EQ(sql::CompareDecimals(a, b), x < y ? -1 : x > y ? 1 : 0);
  }
}

TEST(DecimalMath, LongResultsRoundAndTooLargeOnesOverflow) {
  // 128 bits are passed on the way: 96-bit magnitudes multiplied.
  const Decimal big = D("79228162514264337593543950335");
  EXPECT_FALSE(sql::MultiplyDecimals(big, D("2")));
  EXPECT_FALSE(sql::AddDecimals(big, D("1")));
  // ...334.5 needs 30 digits: the half goes to the even neighbour.
  EXPECT_EQ(FormatDecimal(*sql::AddDecimals(big, D("-0.5"))), "79228162514264337593543950334");
  EXPECT_EQ(FormatDecimal(*sql::MultiplyDecimals(D("1234567890.123456789"), D("9876543210.987654321"))),
            "12193263113702179522.374638011");  // of ...522.374638011112635269, what 96 bits hold
  EXPECT_EQ(FormatDecimal(*sql::MultiplyDecimals(D("0.0000000000000001"), D("0.0000000000000001"))), "0");
  EXPECT_EQ(FormatDecimal(*sql::AddDecimals(D("10000000000000000000000000000"), D("0.0000000001"))),
            "10000000000000000000000000000");
  // Half to even, and equal values whatever their places.
  EXPECT_EQ(FormatDecimal(sql::RoundDecimal(D("2.345"), 2)), "2.34");
  EXPECT_EQ(FormatDecimal(sql::RoundDecimal(D("-2.355"), 2)), "-2.36");
  EXPECT_EQ(sql::CompareDecimals(D("1.50"), D("1.5")), 0);
  EXPECT_EQ(sql::CompareDecimals(D("-0.0"), D("0")), 0);
  EXPECT_EQ(sql::CompareDecimals(D("7922816251426433759354395033"), D("7922816251426433759354395033.5")), -1);
  EXPECT_EQ(sql::CompareDecimals(D("-0.00000000000000000000000001"), D("-0.000000000000000000000000009")), -1);
  EXPECT_FALSE(sql::WithScale(D("1.25"), 1));
  EXPECT_EQ(sql::WithScale(D("1.2"), 4)->magnitude, 12000u);
}

// --- A database of Decimal columns ---

struct Column {
  const char* name;
  int precision, scale;
};
constexpr Column kColumns[] = {{"Small", 5, 2}, {"Money", 18, 4}, {"Whole", 28, 0}, {"Fine", 28, 10}, {"Count", 10, 0}};

// Each row: Small, Money, Whole, Fine, Count; "" is Null. Values at the
// edges of their precision, and pairs a double cannot tell apart.
const std::vector<std::vector<std::string>> kRows = {
    {"999.99", "12345678901234.5678", "9999999999999999999999999999", "123456789012345678.9012345678", "1"},
    {"-999.99", "12345678901234.5679", "9999999999999999999999999998", "-0.0000000001", "9999999999"},
    {"0.01", "-0.0001", "-9999999999999999999999999999", "0.1", "-9999999999"},
    {"", "0", "", "100000000000000000.0000000001", ""},
    {"12.5", "12345678901234.5678", "1", "0.3", "42"},
};

Decimal AtScale(const std::string& text, int scale) { return *sql::WithScale(D(text), scale); }

std::string MakeAmounts() {
  // ctest runs each test of the suite as its own process, side by side.
  const std::string path = testing::NewDatabase("jet-decimal-tests", "amounts-" + std::to_string(getpid()) + ".mdb");
  TableSpec t;
  t.name = "Amounts";
  t.columns.push_back({"Id", ColumnType::kLong});
  for (const Column& c : kColumns) {
    ColumnSpec column(c.name, ColumnType::kDecimal);
    column.precision = c.precision;
    column.scale = c.scale;
    t.columns.push_back(column);
  }
  t.indexes = {{"PrimaryKey", {"Id"}, true}, {"Money", {"Money"}}};
  EXPECT_TRUE(CreateTables(path, {t}, {}).ok());
  OpenOptions options;
  options.writable = true;
  std::unique_ptr<Database> db;
  EXPECT_TRUE(Database::Open(path, options, &db).ok());
  EXPECT_TRUE(db->BeginTransaction().ok());
  for (size_t r = 0; r < kRows.size(); ++r) {
    Row row = {Value(ColumnType::kLong, static_cast<int64_t>(r + 1))};
    for (size_t c = 0; c < std::size(kColumns); ++c) {
      const std::string& text = kRows[r][c];
      row.push_back(text.empty() ? Value::Null(ColumnType::kDecimal)
                                 : Value(ColumnType::kDecimal, AtScale(text, kColumns[c].scale)));
    }
    Status s = db->InsertRow("Amounts", row);
    EXPECT_TRUE(s.ok()) << s.ToString();
  }
  EXPECT_TRUE(db->Commit().ok());
  return path;
}

class DecimalQueries : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { path_ = new std::string(MakeAmounts()); }
  static void TearDownTestSuite() { delete path_; }

  void SetUp() override {
    OpenOptions options;
    options.writable = true;
    ASSERT_TRUE(QueryEngine::ForFile(*path_, options, &engine_).ok());
  }

  QueryResult Run(const std::string& sql, const std::vector<Value>& values = {}) {
    QueryResult r;
    Status s = engine_->RunSql(sql, values, &r);
    EXPECT_TRUE(s.ok()) << sql << ": " << s.ToString();
    return r;
  }
  // One column of a result as exact texts, Null as "Null".
  std::vector<std::string> Texts(const std::string& sql, const std::vector<Value>& values = {}) {
    std::vector<std::string> out;
    for (const Row& row : Run(sql, values).rows) {
      if (row[0].is_null()) out.push_back("Null");
      else if (row[0].type() == ColumnType::kDecimal) out.push_back(FormatDecimal(row[0].as_decimal()));
      else out.push_back(CanonicalText(row[0]));
    }
    return out;
  }
  static Value Text(const std::string& s) { return Value(ColumnType::kText, s); }

  static std::string* path_;
  std::shared_ptr<QueryEngine> engine_;
};
std::string* DecimalQueries::path_ = nullptr;

TEST_F(DecimalQueries, EveryValueComesBackAsWrittenAtItsColumnsPlaces) {
  for (int copy_limit : {0, static_cast<int>(QueryEngine::kDefaultCopyRowLimit)}) {
    engine_->set_copy_row_limit(copy_limit);  // read in place, and copied
    QueryResult r = Run("SELECT * FROM Amounts ORDER BY Id");
    ASSERT_EQ(r.rows.size(), kRows.size());
    for (size_t c = 0; c < std::size(kColumns); ++c) EXPECT_EQ(r.columns[c + 1].type, ColumnType::kDecimal);
    for (size_t i = 0; i < kRows.size(); ++i) {
      for (size_t c = 0; c < std::size(kColumns); ++c) {
        const Value& v = r.rows[i][c + 1];
        if (kRows[i][c].empty()) {
          EXPECT_TRUE(v.is_null());
        } else {
          ASSERT_EQ(v.type(), ColumnType::kDecimal);
          EXPECT_EQ(v.as_decimal(), AtScale(kRows[i][c], kColumns[c].scale)) << kColumns[c].name << " row " << i;
        }
      }
    }
  }
}

TEST_F(DecimalQueries, ComparisonsOrderAndGroupsTellApartWhatADoubleCannot) {
  const std::string pick = "PARAMETERS [Amount] Decimal; SELECT Id FROM Amounts WHERE Money = [Amount] ORDER BY Id";
  EXPECT_EQ(Texts(pick, {Text("12345678901234.5678")}), (std::vector<std::string>{"1", "5"}));
  EXPECT_EQ(Texts(pick, {Text("12345678901234.5679")}), (std::vector<std::string>{"2"}));
  EXPECT_EQ(Texts("PARAMETERS [W] Decimal; SELECT Id FROM Amounts WHERE Whole > [W] ORDER BY Id",
                  {Text("9999999999999999999999999998")}),
            (std::vector<std::string>{"1"}));
  EXPECT_EQ(Texts("SELECT Id FROM Amounts WHERE Small BETWEEN -1 AND 12.5 ORDER BY Id"),
            (std::vector<std::string>{"3", "5"}));
  EXPECT_EQ(Texts("SELECT Id FROM Amounts WHERE Fine IN (0.1, 0.3) ORDER BY Id"), (std::vector<std::string>{"3", "5"}));
  EXPECT_EQ(Texts("SELECT Id FROM Amounts WHERE Fine > Small ORDER BY Id"), (std::vector<std::string>{"1", "2", "3"}));
  EXPECT_EQ(Texts("SELECT Whole FROM Amounts ORDER BY Whole DESC"),
            (std::vector<std::string>{"9999999999999999999999999999", "9999999999999999999999999998", "1",
                                      "-9999999999999999999999999999", "Null"}));
  EXPECT_EQ(Texts("SELECT Fine FROM Amounts ORDER BY Fine"),
            (std::vector<std::string>{"-0.0000000001", "0.1", "0.3", "100000000000000000.0000000001",
                                      "123456789012345678.9012345678"}));
  EXPECT_EQ(Texts("SELECT Money FROM Amounts GROUP BY Money ORDER BY Money"),
            (std::vector<std::string>{"-0.0001", "0", "12345678901234.5678", "12345678901234.5679"}));
  EXPECT_EQ(Texts("SELECT DISTINCT Money FROM Amounts WHERE Money > 1 ORDER BY Money"),
            (std::vector<std::string>{"12345678901234.5678", "12345678901234.5679"}));
  EXPECT_EQ(Texts("SELECT Max(Whole) FROM Amounts"), (std::vector<std::string>{"9999999999999999999999999999"}));
  EXPECT_EQ(Texts("SELECT Min(Fine * 1) FROM Amounts"), (std::vector<std::string>{"-0.0000000001"}));
  EXPECT_EQ(Texts("SELECT TOP 1 Money FROM Amounts ORDER BY Money DESC"),
            (std::vector<std::string>{"12345678901234.5679"}));
}

TEST_F(DecimalQueries, ArithmeticAndAggregatesAreExact) {
  EXPECT_EQ(Texts("SELECT Sum(Money) FROM Amounts"), (std::vector<std::string>{"37037036703703.7034"}));
  EXPECT_EQ(Texts("SELECT Sum(Fine) FROM Amounts"), (std::vector<std::string>{"223456789012345679.3012345678"}));
  EXPECT_EQ(Texts("SELECT Sum(Whole) FROM Amounts WHERE Id < 3"),
            (std::vector<std::string>{"19999999999999999999999999997"}));
  EXPECT_EQ(Texts("SELECT Fine + Small FROM Amounts WHERE Id = 1"),
            (std::vector<std::string>{"123456789012346678.8912345678"}));
  EXPECT_EQ(Texts("SELECT Money * 3 FROM Amounts WHERE Id = 2"), (std::vector<std::string>{"37037036703703.7037"}));
  EXPECT_EQ(Texts("SELECT Money - Fine FROM Amounts WHERE Id = 2"), (std::vector<std::string>{"12345678901234.5679000001"}));
  EXPECT_EQ(Texts("SELECT -Whole FROM Amounts WHERE Id = 3"), (std::vector<std::string>{"9999999999999999999999999999"}));
  EXPECT_EQ(Texts("SELECT Abs(Small), Round(Fine, 3) FROM Amounts WHERE Id = 2"), (std::vector<std::string>{"999.99"}));
  EXPECT_EQ(Texts("SELECT Round(Fine, 4) FROM Amounts WHERE Id = 1"), (std::vector<std::string>{"123456789012345678.9012"}));
  EXPECT_EQ(Texts("SELECT Int(Small) FROM Amounts WHERE Id = 2"), (std::vector<std::string>{"-1000"}));
  EXPECT_EQ(Texts("SELECT Fix(Small) FROM Amounts WHERE Id = 2"), (std::vector<std::string>{"-999"}));
  EXPECT_EQ(Texts("SELECT CDec('0.1') + CDec('0.2') FROM Amounts WHERE Id = 1"), (std::vector<std::string>{"0.3"}));
  EXPECT_EQ(Texts("SELECT IIf(Id = 1, Money, 0) FROM Amounts WHERE Id = 1"),
            (std::vector<std::string>{"12345678901234.5678"}));
  EXPECT_EQ(Texts("SELECT Small & '' FROM Amounts WHERE Id = 5"), (std::vector<std::string>{"12.5"}));
  // Beyond 96 bits a query stops with Jet's Overflow rather than a wrong value.
  QueryResult r;
  EXPECT_FALSE(engine_->RunSql("SELECT Whole * 8 FROM Amounts WHERE Id = 1", {}, &r).ok());
}

TEST_F(DecimalQueries, ActionQueriesWriteExactValuesAndRefuseTooManyDigits) {
  const std::string copy = testing::NewDatabase("jet-decimal-tests", "changed-" + std::to_string(getpid()) + ".mdb");
  std::filesystem::copy_file(*path_, copy, std::filesystem::copy_options::overwrite_existing);
  OpenOptions options;
  options.writable = true;
  std::shared_ptr<QueryEngine> engine;
  ASSERT_TRUE(QueryEngine::ForFile(copy, options, &engine).ok());
  int64_t affected = 0;
  ASSERT_TRUE(engine->Execute("UPDATE Amounts SET Money = Money + Fine WHERE Id = 2", {}, &affected).ok());
  EXPECT_EQ(affected, 1);
  ASSERT_TRUE(engine
                  ->Execute("PARAMETERS [F] Decimal, [W] Decimal; INSERT INTO Amounts (Id, Fine, Whole) VALUES (6, [F], [W])",
                            {Text("-98765432109876543.2109876543"), Text("1234567890123456789012345678")}, &affected)
                  .ok());
  QueryResult r;
  ASSERT_TRUE(engine->RunSql("SELECT Money, Fine, Whole FROM Amounts WHERE Id IN (2, 6) ORDER BY Id", {}, &r).ok());
  ASSERT_EQ(r.rows.size(), 2u);
  EXPECT_EQ(r.rows[0][0].as_decimal(), AtScale("12345678901234.5679", 4));  // half to even at four places
  EXPECT_EQ(r.rows[1][1].as_decimal(), AtScale("-98765432109876543.2109876543", 10));
  EXPECT_EQ(r.rows[1][2].as_decimal(), AtScale("1234567890123456789012345678", 0));
  // Small is Decimal(5,2): a thousand does not fit, and nothing is written.
  Status s = engine->Execute("UPDATE Amounts SET Small = 1000 WHERE Id = 1", {}, &affected);
  EXPECT_FALSE(s.ok());
  ASSERT_TRUE(engine->RunSql("SELECT Small FROM Amounts WHERE Id = 1", {}, &r).ok());
  EXPECT_EQ(r.rows[0][0].as_decimal(), AtScale("999.99", 2));
}

// mdbtools reads the Decimal columns we wrote as the values we wrote.
TEST_F(DecimalQueries, MdbExportReadsTheWrittenValues) {
  int status = -1;
  std::istringstream csv(testing::RunCommand("mdb-export '" + *path_ + "' Amounts", &status));
  ASSERT_EQ(status, 0);
  std::string line;
  std::getline(csv, line);  // the header
  for (const auto& row : kRows) {
    ASSERT_TRUE(std::getline(csv, line));
    std::vector<std::string> fields;
    std::istringstream cells(line);
    for (std::string field; std::getline(cells, field, ',');) fields.push_back(field);
    fields.resize(std::size(kColumns) + 1);
    for (size_t c = 0; c < std::size(kColumns); ++c) {
      const std::string& got = fields[c + 1];
      if (row[c].empty()) {
        EXPECT_EQ(got, "");
      } else {
        std::optional<Decimal> read = ParseDecimal(got);
        ASSERT_TRUE(read) << got;
        EXPECT_EQ(sql::CompareDecimals(*read, D(row[c])), 0) << got << " for " << row[c];
      }
    }
  }
}

}  // namespace
}  // namespace jet
