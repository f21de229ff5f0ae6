// Several programs on one database file at once, each a real process: the
// SQL shell of jetdump, and children of this test that write through the
// engine. What must hold: nobody is refused while nobody is writing, every
// committed row lands and stays, and no read sees part of a commit.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "jet/create.h"
#include "jet/database.h"
#include "shell_process.h"
#include "storage/sharing_locks.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

constexpr char kTable[] = "Landing";

// A database with one table of two-row batches: Writer and Batch name the
// transaction that inserted a row.
std::string SharedDatabase(const std::string& name) {
  const std::string path = NewDatabase("jet-shared-file-tests", name);
  TableSpec landing{kTable,
                    {{"ID", ColumnType::kLong}, {"Writer", ColumnType::kLong}, {"Batch", ColumnType::kLong},
                     {"Note", ColumnType::kText, 50}},
                    {{"PrimaryKey", {"ID"}, true}, {"ByBatch", {"Writer", "Batch"}}},
                    ""};
  landing.columns[0].autonumber = true;
  TableSpec notes{"Notes", {{"Text", ColumnType::kText, 50}}, {}, ""};
  EXPECT_TRUE(CreateTables(path, {landing, notes}, {}).ok());
  return path;
}

Row BatchRow(int writer, int batch) {
  return {Value::Null(ColumnType::kLong), Value(ColumnType::kLong, int64_t(writer)),
          Value(ColumnType::kLong, int64_t(batch)), Value(ColumnType::kText, std::string("row"))};
}

// The Landing table's row count as the shell reports it; -1 when its answer
// is not one.
long CountIn(ShellProcess& shell) {
  shell.Send(std::string("SELECT COUNT(*) AS N FROM ") + kTable);
  const std::string csv = shell.Answer("\n\n");
  return csv.starts_with("N\n") ? std::stol(csv.substr(2)) : -1;
}

std::string Insert(ShellProcess& shell, const std::string& values) {
  shell.Send(std::string("INSERT INTO ") + kTable + " (Writer, Batch, Note) VALUES (" + values + ")");
  return shell.Answer();
}

// Runs `work` in a child process; its exit status is 0 when it returned true.
pid_t Child(const std::function<bool()>& work) {
  const pid_t pid = fork();
  if (pid == 0) _exit(work() ? 0 : 1);
  return pid;
}

int ExitStatus(pid_t pid) {
  int status = 0;
  waitpid(pid, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// `batches` transactions of two rows each, by writer number `writer`, a
// moment apart as people and jobs make them.
bool WriteBatches(const std::string& path, int writer, int batches) {
  OpenOptions options;
  options.writable = true;
  std::unique_ptr<Database> db;
  if (Status s = Database::Open(path, options, &db); !s.ok()) {
    std::fprintf(stderr, "writer %d: %s\n", writer, s.ToString().c_str());
    return false;
  }
  for (int batch = 1; batch <= batches; ++batch) {
    Status s = db->BeginTransaction();
    if (s.ok()) s = db->InsertRow(kTable, BatchRow(writer, batch));
    if (s.ok()) s = db->InsertRow(kTable, BatchRow(writer, batch));
    if (s.ok()) s = db->Commit();
    if (!s.ok()) {
      std::fprintf(stderr, "writer %d batch %d: %s\n", writer, batch, s.ToString().c_str());
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

// Every batch of each writer, found exactly twice in the file.
void ExpectBatches(const std::string& path, const std::map<int, int>& batches_by_writer) {
  auto db = OpenForReading(path);
  std::map<std::pair<int64_t, int64_t>, int> seen;
  for (const Row& row : AllRows(*db, kTable)) ++seen[{*row[1].get_if<int64_t>(), *row[2].get_if<int64_t>()}];
  size_t expected = 0;
  for (const auto& [writer, batches] : batches_by_writer) {
    for (int batch = 1; batch <= batches; ++batch) EXPECT_EQ((seen[{writer, batch}]), 2) << writer << "/" << batch;
    expected += batches;
  }
  EXPECT_EQ(seen.size(), expected);
}

void ExpectSoundFile(const std::string& path, long rows) {
  ExpectIndexesInStep(path, kTable);
  ExpectMapsConsistent(path, kTable);
  EXPECT_EQ(MdbExportRowCount(path, kTable), rows);
  EXPECT_FALSE(std::filesystem::exists(path + "-journal"));
}

TEST(SharedFile, AnOpenShellNeitherKeepsOthersOutNorMissesTheirRows) {
  const std::string path = SharedDatabase("two-shells.mdb");
  ShellProcess a(path);
  EXPECT_EQ(Insert(a, "1, 1, 'A'"), "1 row(s) affected\n");
  // A stays open, between statements, while B writes.
  ShellProcess b(path);
  EXPECT_EQ(Insert(b, "2, 1, 'B'"), "1 row(s) affected\n");
  EXPECT_EQ(CountIn(a), 2);
  a.Send(std::string("SELECT Note FROM ") + kTable + " ORDER BY Note");
  EXPECT_EQ(a.Answer("\n\n"), "Note\nA\nB\n\n");
  // And a writer that is no shell gets in at once too.
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(ExitStatus(Child([&] { return WriteBatches(path, 3, 1); })), 0);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
  EXPECT_EQ(CountIn(a), 4);
  EXPECT_EQ(CountIn(b), 4);
  EXPECT_EQ(a.Finish(), 0);
  EXPECT_EQ(b.Finish(), 0);
}

TEST(SharedFile, FourWritersAndAShellLoseNothingAndNoReadSeesHalfACommit) {
  const std::string path = SharedDatabase("stress.mdb");
  ShellProcess shell(path);
  ASSERT_EQ(CountIn(shell), 0);  // the shell is up before the writers start
  std::vector<pid_t> writers;
  for (int w = 1; w <= 4; ++w) writers.push_back(Child([&, w] { return WriteBatches(path, w, 25); }));
  long last = 0;
  int shell_notes = 0;
  std::set<long> counts;
  std::map<pid_t, int> exits;
  while (exits.size() < writers.size()) {
    for (pid_t pid : writers) {
      int status = 0;
      if (!exits.count(pid) && waitpid(pid, &status, WNOHANG) == pid) exits[pid] = status;
    }
    const long count = CountIn(shell);
    counts.insert(count);
    EXPECT_GE(count, last) << "a count went backwards";
    EXPECT_EQ(count % 2, 0) << "a read saw one row of a two-row commit";
    last = count;
    shell.Send("INSERT INTO Notes (Text) VALUES ('between')");
    if (shell.Answer() == "1 row(s) affected\n") ++shell_notes;
  }
  for (const auto& [pid, status] : exits) EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(CountIn(shell), 200);
  shell.Send("SELECT COUNT(*) AS N FROM Notes");
  EXPECT_EQ(shell.Answer("\n\n"), "N\n" + std::to_string(shell_notes) + "\n\n");
  EXPECT_EQ(shell.Finish(), 0);
  EXPECT_GT(counts.size(), 2u) << "the shell never read while others wrote";
  ExpectBatches(path, {{1, 25}, {2, 25}, {3, 25}, {4, 25}});
  ExpectSoundFile(path, 200);
}

TEST(SharedFile, ALongReadLetsAWaitingCommitThroughAndReadsAgain) {
  const std::string path = SharedDatabase("long-read.mdb");
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db->BeginTransaction().ok());
    for (int batch = 1; batch <= 1500; ++batch) {
      ASSERT_TRUE(db->InsertRow(kTable, BatchRow(1, batch)).ok());
      ASSERT_TRUE(db->InsertRow(kTable, BatchRow(1, batch)).ok());
    }
    ASSERT_TRUE(db->Commit().ok());
  }
  int started[2];
  ASSERT_EQ(pipe(started), 0);
  // A reader that takes seconds over a table of many pages.
  const pid_t reader = Child([&] {
    std::unique_ptr<Database> db;
    std::unique_ptr<TableCursor> cursor;
    if (!Database::Open(path, {}, &db).ok() || !db->OpenTable(kTable, &cursor).ok()) return false;
    (void)!write(started[1], "x", 1);
    int rows = 0;
    while (cursor->Next()) {
      ++rows;
      std::this_thread::sleep_for(std::chrono::microseconds(1000));
    }
    // It stopped part way and told why; once it is closed, the next read
    // sees the table whole.
    const Status stopped = cursor->status();
    cursor.reset();
    uint64_t count = 0;
    const Status counted = db->CountRows(kTable, &count);
    if (stopped.code() == Status::Code::kStale && rows < 3000 && counted.ok() && count == 3002) return true;
    std::fprintf(stderr, "reader: %s after %d rows, then %s, %llu rows\n", stopped.ToString().c_str(), rows,
                 counted.ToString().c_str(), static_cast<unsigned long long>(count));
    return false;
  });
  char c;
  ASSERT_EQ(read(started[0], &c, 1), 1);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  OpenOptions options;
  options.writable = true;
  options.lock_wait_ms = 1000;
  std::unique_ptr<Database> writer;
  ASSERT_TRUE(Database::Open(path, options, &writer).ok());
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(writer->BeginTransaction().ok());
  ASSERT_TRUE(writer->InsertRow(kTable, BatchRow(2, 1)).ok());
  ASSERT_TRUE(writer->InsertRow(kTable, BatchRow(2, 1)).ok());
  Status committed = writer->Commit();
  EXPECT_TRUE(committed.ok()) << committed.ToString();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
  EXPECT_EQ(ExitStatus(reader), 0);
  close(started[0]);
  close(started[1]);
}

TEST(SharedFile, AReadKeepsTheReadersLockOnlyBrieflyAfterItsOperation) {
  const std::string path = SharedDatabase("lease.mdb");
  auto reader = OpenForReading(path);
  std::unique_ptr<File> other;
  ASSERT_TRUE(DefaultFileSystem()->Open(path, FileSystem::Mode::kRead, &other).ok());
  auto readers_lock_held = [&] {
    bool locked = false;
    EXPECT_TRUE(other->IsLocked(kReadersLockByte, File::LockKind::kExclusive, &locked).ok());
    return locked;
  };
  ASSERT_TRUE(reader->Refresh().ok());
  EXPECT_TRUE(readers_lock_held());  // kept for the next read
  std::this_thread::sleep_for(std::chrono::milliseconds(150));
  EXPECT_FALSE(readers_lock_held());  // and given up by an idle program
  // A commit waits for a lease no longer than the lease.
  auto writer = OpenForWriting(path);
  ASSERT_TRUE(reader->Refresh().ok());
  const auto start = std::chrono::steady_clock::now();
  ASSERT_TRUE(writer->InsertRow(kTable, BatchRow(1, 1)).ok());
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  uint64_t count = 0;
  ASSERT_TRUE(reader->CountRows(kTable, &count).ok());
  EXPECT_EQ(count, 1u);
}

// Access and the family's programs take none of our locks: a run of reads
// that keeps the readers' lock throughout still sees a change they write,
// within a few milliseconds and a clock tick, not only once the run ends.
TEST(SharedFile, ARunOfReadsSeesAChangeWrittenWithoutOurLocks) {
  const std::string path = SharedDatabase("lockless.mdb");
  constexpr int64_t kBefore = 0x13572468, kAfter = 0x13572469;
  ASSERT_TRUE(OpenForWriting(path)->InsertRow(kTable, BatchRow(kBefore, 1)).ok());
  // Where the value lies in the file: the one place its four bytes occur.
  std::ifstream file(path, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const std::string before(reinterpret_cast<const char*>(&kBefore), 4);
  const size_t at = bytes.find(before);
  ASSERT_NE(at, std::string::npos);
  ASSERT_EQ(bytes.find(before, at + 1), std::string::npos);

  auto reader = OpenForReading(path);
  std::vector<RowId> rows;
  ASSERT_TRUE(reader->ListRowIds(kTable, &rows).ok());
  ASSERT_EQ(rows.size(), 1u);
  auto writer_column = [&] {
    Row row;
    EXPECT_TRUE(reader->ReadRowAt(kTable, rows[0], &row).ok());
    return row.size() > 1 ? row[1].as_int() : -1;
  };
  for (int i = 0; i < 50; ++i) ASSERT_EQ(writer_column(), kBefore);
  const int fd = ::open(path.c_str(), O_WRONLY);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(::pwrite(fd, &kAfter, 4, static_cast<off_t>(at)), 4);
  ::close(fd);
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
  int64_t seen = kBefore;
  while (seen == kBefore && std::chrono::steady_clock::now() < deadline) seen = writer_column();
  EXPECT_EQ(seen, kAfter);
}

// Kills the process at the `kill_at`th write to the database file once armed.
class KillingFiles : public ForwardingFileSystem {
 public:
  explicit KillingFiles(int kill_at) : kill_at_(kill_at) {}
  Status Open(const std::string& path, Mode mode, std::unique_ptr<File>* file) override {
    std::unique_ptr<File> real;
    JET_RETURN_IF_ERROR(ForwardingFileSystem::Open(path, mode, &real));
    if (path.ends_with(".mdb")) {
      *file = std::make_unique<Killing>(this, std::move(real));
    } else {
      *file = std::move(real);
    }
    return Status::OK();
  }
  bool armed = false;

 private:
  class Killing : public ForwardingFile {
   public:
    Killing(KillingFiles* fs, std::unique_ptr<File> real) : ForwardingFile(std::move(real)), fs_(fs) {}
    Status Write(uint64_t offset, const uint8_t* data, size_t length) override {
      if (fs_->armed && fs_->writes_++ == fs_->kill_at_) raise(SIGKILL);
      return ForwardingFile::Write(offset, data, length);
    }

   private:
    KillingFiles* fs_;
  };
  int kill_at_;
  int writes_ = 0;
};

TEST(SharedFile, AWriterKilledInItsCommitIsPutRightByTheNextWhileOthersWait) {
  for (int kill_at : {0, 1, 3}) {
    SCOPED_TRACE("killed at page write " + std::to_string(kill_at));
    const std::string path = SharedDatabase("killed-" + std::to_string(kill_at) + ".mdb");
    ASSERT_TRUE(WriteBatches(path, 1, 5));  // committed before: must survive
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t doomed = Child([&] {
      KillingFiles fs(kill_at);
      OpenOptions options;
      options.writable = true;
      options.file_system = &fs;
      std::unique_ptr<Database> db;
      if (!Database::Open(path, options, &db).ok() || !db->BeginTransaction().ok()) return false;
      for (int batch = 1; batch <= 40; ++batch) {
        if (!db->InsertRow(kTable, BatchRow(9, batch)).ok()) return false;
      }
      // Holding the writers' turn now: let the others queue up behind it.
      (void)!write(ready[1], "x", 1);
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      fs.armed = true;
      db->Commit();
      return false;  // never reached: the commit kills us
    });
    char c;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    close(ready[0]);
    close(ready[1]);
    std::vector<pid_t> waiting;
    for (int w = 2; w <= 3; ++w) waiting.push_back(Child([&, w] { return WriteBatches(path, w, 3); }));
    EXPECT_EQ(ExitStatus(doomed), 128 + SIGKILL);
    for (pid_t pid : waiting) EXPECT_EQ(ExitStatus(pid), 0);
    ExpectBatches(path, {{1, 5}, {2, 3}, {3, 3}});
    ExpectSoundFile(path, 22);
  }
}

}  // namespace
}  // namespace jet::testing
