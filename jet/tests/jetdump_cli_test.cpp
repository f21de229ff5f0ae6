// jetdump as its users run it: exit codes, help, listing and CSV output.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "test_support.h"

namespace jet::testing {
namespace {

std::string Jetdump(const std::string& args, int* rc) {
  return RunCommand(std::string("'") + JETDUMP_PATH + "' " + args + " 2>&1", rc);
}

TEST(JetdumpCommand, ListsSchemasAndExportsWithClearFailures) {
  int rc = -1;
  std::string help = Jetdump("--help", &rc);
  EXPECT_EQ(rc, 0);
  for (const char* option : {"--schema", "--csv", "--queries", "--encoding", "--map"}) {
    EXPECT_NE(help.find(option), std::string::npos) << option;
  }

  const std::string nw = "'" + FixturePath("npsmith88-Northwind.mdb") + "'";
  std::string list = Jetdump(nw, &rc);
  EXPECT_EQ(rc, 0);
  EXPECT_NE(list.find("Customers\ttable\t91\n"), std::string::npos) << list;
  EXPECT_EQ(list.find("MSysObjects"), std::string::npos);
  EXPECT_NE(Jetdump("--system " + nw, &rc).find("MSysObjects\ttable (system)"), std::string::npos);

  std::string linked = Jetdump("'" + FixturePath("linked.mdb") + "'", &rc);
  EXPECT_NE(linked.find("Table1\tlinked\t1\tC:\\db\\linkee1.mdb\tTable1"), std::string::npos) << linked;

  std::string csv = Jetdump("--csv Shippers " + nw, &rc);
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(csv.substr(0, csv.find('\n')), "ShipperID,CompanyName,Phone");
  EXPECT_NE(csv.find("\n1,Speedy Express,(503) 555-9831\n"), std::string::npos) << csv;

  std::string schema = Jetdump("--schema Shippers " + nw, &rc);
  EXPECT_NE(schema.find("index PrimaryKey (ShipperID) primary unique required distinct=3"), std::string::npos) << schema;
  EXPECT_NE(schema.find("Caption=Shipper ID"), std::string::npos) << schema;

  // Options may come in any order around the database.
  EXPECT_NE(Jetdump("--schema " + nw + " --system", &rc).find("table MSysObjects"), std::string::npos);
  std::string queries = Jetdump("--queries '" + FixturePath("nwind.mdb") + "'", &rc);
  EXPECT_NE(queries.find("Employee Sales by Country"), std::string::npos);

  std::string missing = Jetdump("--csv Nope " + nw, &rc);
  EXPECT_EQ(rc, 1);
  EXPECT_NE(missing.find("Nope"), std::string::npos);
  Jetdump("--bogus " + nw, &rc);
  EXPECT_EQ(rc, 2);
  std::string nofile = Jetdump("/no/such.mdb", &rc);
  EXPECT_EQ(rc, 1);
  EXPECT_NE(nofile.find("/no/such.mdb"), std::string::npos);
  // Inputs that once aborted it, read where they lie: every command says
  // what is wrong with the file and exits 1.
  for (const auto& entry : std::filesystem::directory_iterator(std::string(TABULON_FIXTURES) + "/hostile")) {
    if (entry.path().extension() != ".mdb") continue;
    for (const char* command : {"", "--schema ", "--queries ", "--system --csv MSysObjects "}) {
      std::string out = Jetdump(command + ("'" + entry.path().string() + "'"), &rc);
      EXPECT_EQ(rc, 1) << command << entry.path() << ": " << out;
      EXPECT_NE(out.find("Corrupt database"), std::string::npos) << out;
    }
  }
}

TEST(JetdumpCommand, RunsASavedQueryWithParameterValuesAsDocumented) {
  int rc = -1;
  const std::string xtreme = "'" + FixturePath("xtreme.mdb") + "'";
  // Credit_Limits keeps the credits below minus the given limit.
  auto rows = [&](const std::string& value) {
    std::string out = Jetdump(xtreme + " --run Credit_Limits " + value, &rc);
    EXPECT_EQ(rc, 0) << out;
    return std::count(out.begin(), out.end(), '\n') - 1;
  };
  const long wide = rows("500");
  const long narrow = rows("2203.75");
  EXPECT_GT(wide, narrow);
  EXPECT_GT(narrow, 0);
  // \N is a Null limit, and a comparison with Null keeps no row.
  EXPECT_EQ(rows("'\\N'"), 0);

  // Values after the query would swallow a database named last.
  std::string late = Jetdump("--run Credit_Limits 500 " + xtreme, &rc);
  EXPECT_EQ(rc, 2);
  EXPECT_NE(late.find("give FILE before --run"), std::string::npos) << late;
}

}  // namespace
}  // namespace jet::testing
