// jetdump as its users run it: exit codes, help, listing, CSV output and the
// SQL shell.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "jet/create.h"
#include "shell_process.h"
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
  for (const char* option : {"--schema", "--csv", "--queries", "--encoding", "--map", "--shell"}) {
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

// A database of two fish, made afresh for each test.
std::string NewCatchDatabase(const std::string& name) {
  const std::string path = NewDatabase("jetdump-shell-tests", name);
  TableSpec fish;
  fish.name = "Catch";
  fish.columns = {{"Id", ColumnType::kLong}, {"Species", ColumnType::kText, 20}};
  fish.indexes = {{"PrimaryKey", {"Id"}, true}};
  EXPECT_TRUE(CreateTables(path, {fish}, {}).ok());
  int rc = -1;
  const std::string rows = "\"INSERT INTO Catch VALUES (1, 'Cod')\" \"INSERT INTO Catch VALUES (2, 'Ling')\"";
  const std::string out = Jetdump("'" + path + "' --sql " + rows, &rc);
  EXPECT_EQ(rc, 0) << out;
  return path;
}

std::string FileText(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(JetdumpCommand, ShellRunsEachLineOnItsOwnAndGoesOnAfterAFailure) {
  const std::string path = NewCatchDatabase("shell.mdb");
  const std::string input = path + ".sql", errors = path + ".stderr";
  // CR LF line ends and a blank line, as a script written on Windows has them.
  std::ofstream(input) << "SELECT Id, Species FROM Catch ORDER BY Id\r\n"
                          "\n"
                          "INSERT INTO Catch (Id, Species) VALUES (3, 'Hake')\r\n"
                          "INSERT INTO Catch (Id, Weight) VALUES (4, 1)\n"
                          "SELECT COUNT(*) AS Fish FROM Catch\n";
  auto shell = [&](const std::string& file, const std::string& statements, int* rc) {
    return RunCommand("'" + std::string(JETDUMP_PATH) + "' --shell '" + file + "' <'" + statements + "' 2>'" +
                          errors + "'",
                      rc);
  };
  int rc = -1;
  EXPECT_EQ(shell(path, input, &rc), "Id,Species\n1,Cod\n2,Ling\n\n1 row(s) affected\nFish\n3\n\n");
  EXPECT_EQ(rc, 0);
  // One message, for the unknown column alone: the blank line was no statement.
  const std::string error = FileText(errors);
  EXPECT_EQ(error.rfind("jetdump: ", 0), 0u) << error;
  EXPECT_NE(error.find("Weight"), std::string::npos) << error;
  EXPECT_EQ(std::count(error.begin(), error.end(), '\n'), 1) << error;
  // The insert was committed as it ran, and the failed one left nothing.
  EXPECT_EQ(Jetdump("'" + path + "' --sql 'SELECT Id FROM Catch ORDER BY Id'", &rc), "Id\n1\n2\n3\n");

  // A file that cannot be changed still answers queries; changes say why not.
  std::ofstream(input) << "SELECT COUNT(*) AS N FROM table1\nDELETE FROM table1\nSELECT COUNT(*) AS N FROM table1\n";
  EXPECT_EQ(shell(FixturePath("charsetGBK.mdb"), input, &rc), "N\n1\n\nN\n1\n\n");
  EXPECT_EQ(rc, 0);
  EXPECT_EQ(FileText(errors).rfind("jetdump: Read-only", 0), 0u) << FileText(errors);

  std::string missing = Jetdump("--shell /no/such.mdb </dev/null", &rc);
  EXPECT_EQ(rc, 1);
  EXPECT_NE(missing.find("jetdump: "), std::string::npos) << missing;
}

TEST(JetdumpCommand, ShellAnswersEachLineAtOnceAndSeesOtherProgramsCommits) {
  std::signal(SIGPIPE, SIG_IGN);  // a shell that died fails the checks, not the test program
  const std::string path = NewCatchDatabase("driven.mdb");
  ShellProcess shell(path);
  shell.Send("SELECT COUNT(*) AS Fish FROM Catch");
  EXPECT_EQ(shell.Answer("\n\n"), "Fish\n2\n\n");
  shell.Send("INSERT INTO Catch (Id, Species) VALUES (3, 'Hake')");
  EXPECT_EQ(shell.Answer(), "1 row(s) affected\n");

  // Another program changes the file while the shell waits for its next line:
  // the open shell keeps no lock that stops it, and nothing that hides it.
  int rc = -1;
  const std::string other = Jetdump("'" + path + "' --sql \"INSERT INTO Catch VALUES (4, 'Tusk')\"", &rc);
  EXPECT_EQ(rc, 0) << other;
  shell.Send("SELECT Id FROM Catch WHERE Id > 2 ORDER BY Id");
  EXPECT_EQ(shell.Answer("\n\n"), "Id\n3\n4\n\n");

  shell.Send("INSERT INTO Catch (Id, Species) VALUES (3, 'Again')");
  EXPECT_EQ(shell.Error().rfind("jetdump: ", 0), 0u);
  shell.Send("DELETE FROM Catch WHERE Id >= 3");
  EXPECT_EQ(shell.Answer(), "2 row(s) affected\n");
  EXPECT_EQ(shell.Finish(), 0);
}

}  // namespace
}  // namespace jet::testing
