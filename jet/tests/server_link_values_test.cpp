// Values of every field type moved to a PostgreSQL server by jetdump
// --upsize and read back through the link, both ways the engine reads a
// server: PostgreSQL's own stream where the connect string names the server,
// and ODBC where it names a data source (a block of rows at a time when
// every column has a bounded size, a cell at a time when a Memo or a Binary,
// bytea on the server, is among them). Each reads as the local copy has it,
// Nulls and the edges of each type included.
#include <gtest/gtest.h>

#include <fstream>

#include "jet/create.h"
#include "sql/decimal_math.h"
#include "postgres_server.h"
#include "test_support.h"
#include "writer_test_helpers.h"

namespace jet {
namespace {

using testing::RunCommand;
using testing_support::PostgresServer;

constexpr int kRows = 2500;  // more than one block of fetched rows

// Binary becomes bytea, which has no bounded size on the server: it goes
// with the Memo.
TableSpec EveryType(const std::string& name, bool with_long_values) {
  TableSpec t;
  t.name = name;
  ColumnSpec amount{"Amount", ColumnType::kDecimal};
  amount.precision = 18;
  amount.scale = 4;
  t.columns = {{"ID", ColumnType::kLong},      {"Kept", ColumnType::kBoolean},   {"Gear", ColumnType::kByte},
               {"Catch", ColumnType::kInteger}, {"Weight", ColumnType::kSingle}, {"Soak", ColumnType::kDouble},
               {"Seen", ColumnType::kDateTime}, {"Angler", ColumnType::kText, 12}, {"Batch", ColumnType::kGuid},
               amount};
  if (with_long_values) t.columns.insert(t.columns.end(), {{"Tag", ColumnType::kBinary, 6}, {"Notes", ColumnType::kMemo}});
  t.indexes = {IndexSpec{"PrimaryKey", {"ID"}, true}};
  return t;
}

// Row i: Nulls in every nullable field of each seventh row, extremes in the
// first two, and text that needs two UTF-16 units a character.
Row EveryTypeRow(int i, bool with_long_values) {
  const bool null = i % 7 == 3;
  auto maybe = [&](Value v) { return null ? Value::Null(v.type()) : v; };
  const int64_t big = i == 0 ? 2147483647 : i == 1 ? -2147483647 : i * 7919;
  Guid guid{};
  for (size_t b = 0; b < guid.size(); ++b) guid[b] = static_cast<uint8_t>(i * 31 + b);
  const std::string angler = i == 0 ? "\xF0\x9F\x90\x9F\xF0\x9F\x90\x9F fish" : i == 1 ? "" : "Angler " + std::to_string(i);
  Row row{Value(ColumnType::kLong, int64_t{i}),
          maybe(Value(ColumnType::kBoolean, i % 2 == 0)),
          maybe(Value(ColumnType::kByte, int64_t{i % 256})),
          maybe(Value(ColumnType::kInteger, int64_t{i == 0 ? 32767 : i == 1 ? -32768 : i % 1000})),
          maybe(Value(ColumnType::kSingle, static_cast<float>(i) / 8)),
          maybe(Value(ColumnType::kDouble, i == 0 ? 1e300 : i * -0.125)),
          maybe(Value(ColumnType::kDateTime, DateTime{i == 0 ? -650000.0 : 44317.0 + i + (i % 86400) / 86400.0})),
          maybe(Value(ColumnType::kText, angler)),
          maybe(Value(ColumnType::kGuid, guid)),
          maybe(Value(ColumnType::kDecimal, *sql::ParseDecimal(std::to_string(big) + ".0625")))};
  if (with_long_values) {
    row.push_back(maybe(Value(ColumnType::kBinary, Bytes{0, static_cast<uint8_t>(i), 255, 10, 9})));
    row.push_back(maybe(Value(ColumnType::kMemo, std::string(5000 + i, 'n'))));
  }
  return row;
}

TEST(ServerLinkValues, EveryFieldTypeReadsBackAsTheLocalCopyHasIt) {
  PostgresServer server;
  ASSERT_TRUE(server.Start()) << server.error();
  const std::string path = testing::NewDatabase("server_link_values", "types.mdb");
  ASSERT_TRUE(CreateTables(path, {EveryType("tblBounded", false), EveryType("tblWithMemo", true)}, {}).ok());
  {
    auto db = testing::OpenForWriting(path);
    ASSERT_TRUE(db->BeginTransaction().ok());
    for (int i = 0; i < kRows; ++i) {
      ASSERT_TRUE(db->InsertRow("tblBounded", EveryTypeRow(i, false)).ok()) << i;
      ASSERT_TRUE(db->InsertRow("tblWithMemo", EveryTypeRow(i, true)).ok()) << i;
    }
    ASSERT_TRUE(db->Commit().ok());
  }
  int rc = -1;
  const std::string jetdump = std::string(JETDUMP_PATH) + " --odbc-map '{PostgreSQL Unicode}={PostgreSQL Unicode};PWD=" +
                              server.password() + "' ";
  const std::string moved = RunCommand(jetdump + path + " --upsize '" + server.odbc_connect() + "' 2>&1", &rc);
  ASSERT_EQ(rc, 0) << moved;
  const std::string odbc_ini = server.folder() + "/odbc.ini";
  std::ofstream(odbc_ini) << "[TabulonSurvey]\nDriver=PostgreSQL Unicode\nServername=127.0.0.1\nPort="
                          << server.port() << "\nDatabase=survey\n";
  const std::string through_dsn = "ODBCINI=" + odbc_ini + " " + std::string(JETDUMP_PATH) +
                                  " --odbc-map '{PostgreSQL Unicode}=TabulonSurvey;PWD=" + server.password() + "' ";
  for (const std::string table : {"tblBounded", "tblWithMemo"}) {
    const std::string local = RunCommand(jetdump + "--csv " + table + "_local " + path);
    ASSERT_GT(local.size(), 1000u);
    EXPECT_EQ(RunCommand(jetdump + "--csv " + table + " " + path + " 2>&1"), local) << table;
    EXPECT_EQ(RunCommand(through_dsn + "--csv " + table + " " + path + " 2>&1"), local) << table << " through ODBC";
  }
}

}  // namespace
}  // namespace jet
