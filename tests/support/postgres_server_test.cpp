// The throw-away PostgreSQL server, seen as linked-table tests see it: through
// psql for setting up, through unixODBC and psqlODBC for the code under test.
#include "postgres_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sql.h>
#include <sqlext.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>

namespace testing_support {
namespace {

// One ODBC connection made with SQLDriverConnect, as a linked table makes it.
class OdbcSession {
 public:
  explicit OdbcSession(const std::string& connect) {
    SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_);
    SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
    SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_);
    SQLSetConnectAttr(connection_, SQL_ATTR_LOGIN_TIMEOUT, reinterpret_cast<SQLPOINTER>(10), 0);
    std::string text = connect;
    const SQLRETURN made = SQLDriverConnect(connection_, nullptr, reinterpret_cast<SQLCHAR*>(text.data()), SQL_NTS,
                                            nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT);
    connected_ = SQL_SUCCEEDED(made);
    if (!connected_) diagnostics_ = Diagnostics(SQL_HANDLE_DBC, connection_);
  }
  ~OdbcSession() {
    if (connected_) SQLDisconnect(connection_);
    SQLFreeHandle(SQL_HANDLE_DBC, connection_);
    SQLFreeHandle(SQL_HANDLE_ENV, environment_);
  }
  OdbcSession(const OdbcSession&) = delete;
  OdbcSession& operator=(const OdbcSession&) = delete;

  bool connected() const { return connected_; }
  const std::string& diagnostics() const { return diagnostics_; }

  // The first column of the first row; nothing, with the diagnostics kept, on failure.
  std::optional<std::string> Value(const std::string& sql) {
    SQLHSTMT statement = SQL_NULL_HSTMT;
    if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, connection_, &statement))) return std::nullopt;
    std::string query = sql;
    SQLCHAR value[256] = {};
    SQLLEN length = 0;
    const bool read = SQL_SUCCEEDED(SQLExecDirect(statement, reinterpret_cast<SQLCHAR*>(query.data()), SQL_NTS)) &&
                      SQL_SUCCEEDED(SQLFetch(statement)) &&
                      SQL_SUCCEEDED(SQLGetData(statement, 1, SQL_C_CHAR, value, sizeof value, &length));
    if (!read) diagnostics_ = Diagnostics(SQL_HANDLE_STMT, statement);
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
    if (!read) return std::nullopt;
    return std::string(reinterpret_cast<char*>(value));
  }

 private:
  static std::string Diagnostics(SQLSMALLINT type, SQLHANDLE handle) {
    std::string all;
    SQLCHAR state[6], message[1024];
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    for (SQLSMALLINT record = 1;
         SQL_SUCCEEDED(SQLGetDiagRec(type, handle, record, state, &native, message, sizeof message, &length));
         ++record) {
      all += std::string(reinterpret_cast<char*>(state)) + ": " + reinterpret_cast<char*>(message) + "\n";
    }
    return all;
  }

  SQLHENV environment_ = SQL_NULL_HENV;
  SQLHDBC connection_ = SQL_NULL_HDBC;
  bool connected_ = false;
  std::string diagnostics_;
};

// What SQLDriverConnect takes: Access's Connect without its "ODBC;".
std::string DriverConnect(const PostgresServer& server) {
  const std::string connect = server.odbc_connect();
  EXPECT_EQ(connect.rfind("ODBC;", 0), 0u) << connect;
  return connect.substr(5);
}

bool Listening(int port) {
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool accepted = connect(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
  close(probe);
  return accepted;
}

bool Contains(const std::string& text, const std::string& words) { return text.find(words) != std::string::npos; }

TEST(PostgresServer, ServesSqlAndOdbcUntilStopped) {
  PostgresServer server;
  ASSERT_TRUE(server.Start()) << server.error();
  std::string output;
  ASSERT_EQ(server.RunSql("CREATE TABLE sites (id integer PRIMARY KEY, name text);"
                          "INSERT INTO sites VALUES (1, 'Härnösand'), (2, 'Oulu');"
                          "SELECT id, name FROM sites ORDER BY id;",
                          &output),
            0)
      << output;
  EXPECT_EQ(output, "1|Härnösand\n2|Oulu\n");
  // The first failing statement ends the script: the row after it is never added.
  EXPECT_NE(server.RunSql("INSERT INTO sites VALUES (1, 'Umeå'); INSERT INTO sites VALUES (3, 'Luleå');", &output),
            0);
  EXPECT_TRUE(Contains(output, "duplicate key")) << output;
  EXPECT_EQ(server.RunSql("SELECT count(*) FROM sites", &output), 0) << output;
  EXPECT_EQ(output, "2\n");

  const std::string connect = DriverConnect(server);
  OdbcSession session(connect);
  ASSERT_TRUE(session.connected()) << session.diagnostics();
  EXPECT_EQ(session.Value("SELECT name FROM sites WHERE id = 2").value_or("(none)"), "Oulu") << session.diagnostics();

  std::string wrong_password = connect;
  wrong_password.replace(wrong_password.find(server.password()), server.password().size(), "guessed");
  OdbcSession intruder(wrong_password);
  EXPECT_FALSE(intruder.connected());
  EXPECT_TRUE(Contains(intruder.diagnostics(), "password authentication failed")) << intruder.diagnostics();

  ASSERT_TRUE(server.Stop()) << server.error();
  EXPECT_EQ(session.Value("SELECT name FROM sites WHERE id = 2"), std::nullopt) << "an open connection survived";
  EXPECT_FALSE(OdbcSession(connect).connected()) << "a new connection reached a stopped server";

  ASSERT_TRUE(server.Restart()) << server.error();
  OdbcSession again(connect);
  ASSERT_TRUE(again.connected()) << again.diagnostics();
  EXPECT_EQ(again.Value("SELECT name FROM sites WHERE id = 1").value_or("(none)"), "Härnösand")
      << again.diagnostics();
}

// A server started by a child process that then dies without cleaning up.
std::pair<std::string, int> AbandonedServer() {
  int channel[2];
  if (pipe(channel) != 0) return {};
  const pid_t child = fork();
  if (child == 0) {
    PostgresServer server;
    const std::string started = server.Start() ? server.folder() + " " + std::to_string(server.port()) : "";
    const ssize_t ignored = write(channel[1], started.data(), started.size());
    (void)ignored;
    _exit(0);
  }
  close(channel[1]);
  char buffer[512] = {};
  const ssize_t count = read(channel[0], buffer, sizeof buffer - 1);
  close(channel[0]);
  waitpid(child, nullptr, 0);
  const std::string answer(buffer, count > 0 ? static_cast<size_t>(count) : 0);
  const size_t space = answer.rfind(' ');
  if (space == std::string::npos) return {};
  return {answer.substr(0, space), std::stoi(answer.substr(space + 1))};
}

TEST(PostgresServer, LeavesNoServerBehind) {
  std::string folder;
  int port = 0;
  {
    PostgresServer first, second;
    ASSERT_TRUE(first.Start()) << first.error();
    ASSERT_TRUE(second.Start()) << second.error();
    EXPECT_NE(first.port(), second.port());
    EXPECT_NE(first.folder(), second.folder());
    folder = first.folder();
    port = first.port();
  }
  EXPECT_FALSE(std::filesystem::exists(folder));
  EXPECT_FALSE(Listening(port));

  const auto [orphan_folder, orphan_port] = AbandonedServer();
  ASSERT_FALSE(orphan_folder.empty()) << "the child could not start its server";
  ASSERT_TRUE(Listening(orphan_port));
  PostgresServer next;
  ASSERT_TRUE(next.Start()) << next.error();
  EXPECT_FALSE(std::filesystem::exists(orphan_folder));
  EXPECT_FALSE(Listening(orphan_port));
}

}  // namespace
}  // namespace testing_support
