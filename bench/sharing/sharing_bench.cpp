// What sharing the file costs: the look for other programs' changes on
// every read, and commits while other processes commit too.
//   sharing_bench lookups FILE N         N one-row lookups, alone and batched
//   sharing_bench commits FILE N OTHERS  N one-row commits with OTHERS writers busy
//   sharing_bench stress FILE            4 writers x 25 two-row transactions
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "jet/database.h"
#include "jet/query.h"

namespace {

using Clock = std::chrono::steady_clock;

double Millis(Clock::time_point since) {
  return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

int Fail(const jet::Status& s) {
  std::fprintf(stderr, "%s\n", s.ToString().c_str());
  return 1;
}

// Each lookup a read operation of its own (a look at the file, the readers'
// lock) against all of them inside one operation (nested: neither).
int Lookups(const std::string& file, int count) {
  std::shared_ptr<jet::QueryEngine> engine;
  if (auto s = jet::QueryEngine::ForFile(file, {}, &engine); !s.ok()) return Fail(s);
  const std::string sql = "SELECT * FROM tblInterview WHERE [Record Num] = [n]";
  auto run = [&](bool batched) -> double {
    std::unique_ptr<jet::ReadOperation> outer;
    if (batched) outer = std::make_unique<jet::ReadOperation>(engine->database());
    const auto start = Clock::now();
    for (int i = 1; i <= count; ++i) {
      jet::QueryResult result;
      auto s = engine->RunSql(sql, {jet::Value(jet::ColumnType::kLong, int64_t(i))}, &result);
      if (!s.ok() || result.rows.size() != 1) {
        Fail(s);
        return -1;
      }
    }
    return Millis(start);
  };
  // The look alone: an operation that reads nothing.
  auto start = Clock::now();
  for (int i = 0; i < count; ++i) {
    if (auto s = engine->database().Refresh(); !s.ok()) return Fail(s);
  }
  std::printf("%d empty read operations back to back: %.1f ms (%.2f us each)\n", count, Millis(start),
              1000.0 * Millis(start) / count);
  run(true);  // warm the cache of pages and translations
  // Alternating rounds, medians: the machine's own noise is of the size
  // measured here.
  std::vector<double> alone, batched;
  for (int round = 0; round < 9; ++round) {
    batched.push_back(run(true));
    alone.push_back(run(false));
  }
  std::sort(alone.begin(), alone.end());
  std::sort(batched.begin(), batched.end());
  const double a = alone[alone.size() / 2], b = batched[batched.size() / 2];
  std::printf("%d lookups, median of 9 rounds: %.1f ms each its own operation, %.1f ms in one (checks cost %+.1f%%)\n",
              count, a, b, 100.0 * (a - b) / b);
  return 0;
}

jet::OpenOptions Writable() {
  jet::OpenOptions options;
  options.writable = true;
  options.lock_wait_ms = 60000;
  return options;
}

// Commits a one-row change, again and again until killed.
[[noreturn]] void KeepCommitting(const std::string& file) {
  std::shared_ptr<jet::QueryEngine> engine;
  if (!jet::QueryEngine::ForFile(file, Writable(), &engine).ok()) _exit(1);
  for (;;) {
    int64_t affected = 0;
    if (auto s = engine->Execute("UPDATE tblInterview SET UnitsOfGear = UnitsOfGear WHERE [Record Num] = 2", {},
                                 &affected);
        !s.ok()) {
      _exit(Fail(s));
    }
  }
}

int Commits(const std::string& file, int count, int others) {
  std::vector<pid_t> busy;
  for (int i = 0; i < others; ++i) {
    const pid_t pid = fork();
    if (pid == 0) KeepCommitting(file);
    busy.push_back(pid);
  }
  std::shared_ptr<jet::QueryEngine> engine;
  if (auto s = jet::QueryEngine::ForFile(file, Writable(), &engine); !s.ok()) return Fail(s);
  std::vector<double> ms;
  for (int i = 0; i < count; ++i) {
    const auto start = Clock::now();
    int64_t affected = 0;
    if (auto s = engine->Execute("UPDATE tblInterview SET UnitsOfGear = UnitsOfGear WHERE [Record Num] = 1", {},
                                 &affected);
        !s.ok() || affected != 1) {
      return Fail(s);
    }
    ms.push_back(Millis(start));
  }
  int failed = 0;
  for (pid_t pid : busy) {
    int status = 0;
    if (waitpid(pid, &status, WNOHANG) == pid) ++failed;  // it stopped by itself: an error
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
  }
  if (failed > 0) std::printf("%d of the other writers failed\n", failed);
  std::sort(ms.begin(), ms.end());
  std::printf("%d one-row commits with %d other writers: median %.2f ms, 95th percentile %.2f ms\n", count, others,
              ms[ms.size() / 2], ms[ms.size() * 95 / 100]);
  return 0;
}

int Stress(const std::string& file) {
  constexpr int kWriters = 4, kTransactions = 25;
  const auto start = Clock::now();
  std::vector<pid_t> writers;
  for (int w = 0; w < kWriters; ++w) {
    const pid_t pid = fork();
    if (pid == 0) {
      std::unique_ptr<jet::Database> db;
      if (!jet::Database::Open(file, Writable(), &db).ok()) _exit(1);
      std::vector<jet::RowId> ids;
      jet::Row row;
      if (!db->ListRowIds("tblInterview", &ids).ok() || !db->ReadRowAt("tblInterview", ids[0], &row).ok()) _exit(1);
      row[0] = jet::Value::Null(jet::ColumnType::kLong);
      for (int t = 0; t < kTransactions; ++t) {
        jet::Status s = db->BeginTransaction();
        if (s.ok()) s = db->InsertRow("tblInterview", row);
        if (s.ok()) s = db->InsertRow("tblInterview", row);
        if (s.ok()) s = db->Commit();
        if (!s.ok()) _exit(Fail(s));
      }
      _exit(0);
    }
    writers.push_back(pid);
  }
  int failed = 0;
  for (pid_t pid : writers) {
    int status = 0;
    waitpid(pid, &status, 0);
    failed += !(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  }
  const double ms = Millis(start);
  std::printf("%d writers x %d two-row transactions: %.0f ms, %.1f commits/s, %d writers failed\n", kWriters,
              kTransactions, ms, kWriters * kTransactions * 1000.0 / ms, failed);
  return failed == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "lookups" && argc == 4) return Lookups(argv[2], std::stoi(argv[3]));
  if (mode == "commits" && argc == 5) return Commits(argv[2], std::stoi(argv[3]), std::stoi(argv[4]));
  if (mode == "stress" && argc == 3) return Stress(argv[2]);
  std::fprintf(stderr, "usage: sharing_bench lookups FILE N | commits FILE N OTHERS | stress FILE\n");
  return 2;
}
