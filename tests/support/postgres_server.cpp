#include "postgres_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <pwd.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace testing_support {
namespace {

namespace fs = std::filesystem;

constexpr const char* kProgramFolder = "/usr/lib/postgresql/15/bin";
constexpr const char* kFolderPrefix = "tabulon-pg-";
// Holds the id of the test process that made the cluster.
constexpr const char* kOwnerFile = "owner";
constexpr int kStartSeconds = 30;
constexpr int kPortAttempts = 8;
// Longer than pg_ctl's own wait, so that pg_ctl is the one to report it.
constexpr std::chrono::seconds kProgramTimeout{kStartSeconds + 30};

std::string ProgramPath(const std::string& program) { return std::string(kProgramFolder) + "/" + program; }

// The server programs refuse to run as root; then they run as the account
// the Debian packages made for them.
std::optional<Account> PostgresAccount() {
  const passwd* entry = getpwnam("postgres");
  if (entry == nullptr) return std::nullopt;
  return Account{entry->pw_uid, entry->pw_gid};
}

// The server account must be able to reach the folder: as root, /tmp,
// not a TMPDIR that may lie under /root.
std::string TemporaryBase() {
  const char* tmpdir = std::getenv("TMPDIR");
  if (geteuid() == 0 || tmpdir == nullptr || *tmpdir == '\0') return "/tmp";
  return tmpdir;
}

std::string RandomPassword() {
  static constexpr char kLetters[] = "ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnopqrstuvwxyz23456789";
  std::random_device source;
  std::uniform_int_distribution<size_t> pick(0, sizeof kLetters - 2);
  std::string password;
  for (int i = 0; i < 24; ++i) password += kLetters[pick(source)];
  return password;
}

// A port the kernel reports free now; another process may still take it
// before the server binds it, which the caller retries.
int FreePort() {
  const int probe = socket(AF_INET, SOCK_STREAM, 0);
  if (probe < 0) return 0;
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  int port = 0;
  if (bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
      getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length) == 0) {
    port = ntohs(address.sin_port);
  }
  close(probe);
  return port;
}

bool WriteFile(const std::string& path, const std::string& text, std::ios::openmode mode = std::ios::trunc) {
  std::ofstream file(path, std::ios::out | mode);
  file << text;
  return static_cast<bool>(file.flush());
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

bool ProcessGone(pid_t pid) { return pid > 0 && kill(pid, 0) != 0 && errno == ESRCH; }

bool AbandonedCluster(const fs::path& folder) {
  if (folder.filename().string().rfind(kFolderPrefix, 0) != 0) return false;
  pid_t owner = 0;
  std::ifstream(folder / kOwnerFile) >> owner;
  return ProcessGone(owner);
}

// Stops the server of a cluster whose test process died before its
// destructor ran, as the account that runs it, and removes the cluster.
void RemoveCluster(const fs::path& folder) {
  struct stat info{};
  if (stat(folder.c_str(), &info) != 0) return;
  if (geteuid() != 0 && info.st_uid != geteuid()) return;
  ProgramOptions options;
  if (info.st_uid != geteuid()) options.account = Account{info.st_uid, info.st_gid};
  options.directory = folder.string();
  options.timeout = kProgramTimeout;
  RunProgram({ProgramPath("pg_ctl"), "stop", "-m", "immediate", "-D", (folder / "data").string()}, options);
  std::error_code ignored;
  fs::remove_all(folder, ignored);
}

void RemoveAbandonedClusters(const std::string& base) {
  std::error_code failed;
  for (const fs::directory_entry& entry : fs::directory_iterator(base, failed)) {
    if (entry.is_directory(failed) && AbandonedCluster(entry.path())) RemoveCluster(entry.path());
  }
}

bool PortTaken(const std::string& server_log) {
  return server_log.find("could not bind") != std::string::npos ||
         server_log.find("Address already in use") != std::string::npos;
}

}  // namespace

PostgresServer::PostgresServer() = default;

PostgresServer::~PostgresServer() {
  Stop();
  if (!folder_.empty()) {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
}

bool PostgresServer::Start() {
  if (!folder_.empty()) return Fail("Start() makes one cluster an object; this one already made " + folder_);
  if (geteuid() == 0) {
    server_account_ = PostgresAccount();
    if (!server_account_) return Fail("running as root needs the system account postgres to run the server");
  }
  RemoveAbandonedClusters(TemporaryBase());
  password_ = RandomPassword();
  return MakeFolder() && MakeCluster() && StartOnFreePort() && CreateDatabase();
}

bool PostgresServer::Stop() {
  if (!running_) return true;
  const ProgramResult stopped = RunServerProgram(
      "pg_ctl", {"stop", "-m", "immediate", "-w", "-t", std::to_string(kStartSeconds), "-D", DataFolder()});
  if (stopped.status != 0) return Fail("pg_ctl stop failed: " + stopped.output);
  running_ = false;
  return true;
}

bool PostgresServer::Restart() {
  if (folder_.empty()) return Fail("Restart() needs a cluster that Start() made");
  if (running_) return Fail("Restart() needs a stopped server");
  return StartOnPort();
}

std::string PostgresServer::odbc_connect() const {
  return "ODBC;DRIVER={PostgreSQL Unicode};SERVER=127.0.0.1;PORT=" + std::to_string(port_) + ";DATABASE=" +
         kDatabase + ";UID=" + kUser + ";PWD=" + password_;
}

int PostgresServer::RunSql(const std::string& sql, std::string* output) const {
  return RunSqlIn(kDatabase, sql, output);
}

bool PostgresServer::MakeFolder() {
  std::string pattern = TemporaryBase() + "/" + kFolderPrefix + "XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) return Fail("cannot make a folder like " + pattern);
  folder_ = pattern;
  if (!WriteFile(folder_ + "/" + kOwnerFile, std::to_string(getpid()))) return Fail("cannot write in " + folder_);
  if (server_account_ && chown(folder_.c_str(), server_account_->uid, server_account_->gid) != 0) {
    return Fail("cannot give " + folder_ + " to the postgres account");
  }
  return true;
}

bool PostgresServer::MakeCluster() {
  const std::string password_file = folder_ + "/password";
  if (!WriteFile(password_file, password_ + "\n")) return Fail("cannot write " + password_file);
  if (server_account_) chown(password_file.c_str(), server_account_->uid, server_account_->gid);
  // Socket connections (the harness's psql) are trusted; TCP ones, the
  // ones under test, must give the password.
  const ProgramResult made = RunServerProgram(
      "initdb", {"-D", DataFolder(), "-U", kUser, "--pwfile=" + password_file, "--auth-local=trust",
                 "--auth-host=scram-sha-256", "-E", "UTF8", "--locale=C", "--no-sync"});
  fs::remove(password_file);
  if (made.status != 0) return Fail("initdb failed: " + made.output);
  // A throw-away cluster need not survive the machine: no waiting for the
  // disk. Commits stay synchronous, so what was committed outlives Stop().
  const std::string settings = "\nlisten_addresses = '127.0.0.1'\nunix_socket_directories = '" + folder_ +
                               "'\nfsync = off\nfull_page_writes = off\n";
  if (!WriteFile(DataFolder() + "/postgresql.conf", settings, std::ios::app)) {
    return Fail("cannot configure the cluster in " + DataFolder());
  }
  return true;
}

bool PostgresServer::StartOnFreePort() {
  for (int attempt = 0; attempt < kPortAttempts; ++attempt) {
    port_ = FreePort();
    if (port_ == 0) return Fail("no free TCP port on 127.0.0.1");
    if (StartOnPort()) return true;
    if (!PortTaken(ServerLog())) return false;
  }
  return Fail("another process took each of " + std::to_string(kPortAttempts) + " free ports first");
}

bool PostgresServer::StartOnPort() {
  fs::remove(LogFile());
  const ProgramResult started =
      RunServerProgram("pg_ctl", {"start", "-w", "-t", std::to_string(kStartSeconds), "-D", DataFolder(), "-l",
                                  LogFile(), "-o", "-p " + std::to_string(port_)});
  if (started.status == 0) {
    running_ = true;
    return true;
  }
  // A server still coming up after the wait must not outlive this object.
  RunServerProgram("pg_ctl", {"stop", "-m", "immediate", "-D", DataFolder()});
  return Fail("the server did not start on port " + std::to_string(port_) + " within " +
              std::to_string(kStartSeconds) + " s: " + started.output + "\nserver log:\n" + ServerLog());
}

bool PostgresServer::CreateDatabase() {
  std::string output;
  if (RunSqlIn("postgres", std::string("CREATE DATABASE ") + kDatabase, &output) != 0) {
    return Fail("cannot create the database " + std::string(kDatabase) + ": " + output);
  }
  return true;
}

int PostgresServer::RunSqlIn(const std::string& database, const std::string& sql, std::string* output) const {
  output->clear();
  if (!running_) {
    *output = "the server is not running";
    return -1;
  }
  std::string script = folder_ + "/sql-XXXXXX";
  const int file = mkstemp(script.data());
  if (file >= 0) close(file);
  if (file < 0 || !WriteFile(script, sql)) {
    *output = "cannot write the SQL to " + script;
    return -1;
  }
  ProgramOptions options;
  // Notices (a DROP ... IF EXISTS with nothing to drop) would mix with rows.
  options.environment = {"PGOPTIONS=-c client_min_messages=warning", "PGCONNECT_TIMEOUT=10"};
  options.timeout = std::chrono::minutes(5);
  const ProgramResult ran =
      RunProgram({ProgramPath("psql"), "-X", "-A", "-t", "-q", "-v", "ON_ERROR_STOP=1", "-h", folder_, "-p",
                  std::to_string(port_), "-U", kUser, "-d", database, "-f", script},
                 options);
  fs::remove(script);
  *output = ran.output;
  return ran.status;
}

ProgramResult PostgresServer::RunServerProgram(const std::string& program,
                                               const std::vector<std::string>& arguments) const {
  std::vector<std::string> command{ProgramPath(program)};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ProgramOptions options;
  options.account = server_account_;
  options.directory = folder_;
  options.timeout = kProgramTimeout;
  ProgramResult result = RunProgram(command, options);
  if (result.timed_out) result.output += "\n(" + program + " was stopped after running too long)";
  return result;
}

std::string PostgresServer::DataFolder() const { return folder_ + "/data"; }

std::string PostgresServer::LogFile() const { return folder_ + "/server.log"; }

std::string PostgresServer::ServerLog() const {
  constexpr size_t kTail = 4000;
  const std::string log = ReadFile(LogFile());
  return log.size() > kTail ? log.substr(log.size() - kTail) : log;
}

bool PostgresServer::Fail(const std::string& message) {
  error_ = "PostgreSQL test server: " + message;
  return false;
}

}  // namespace testing_support
