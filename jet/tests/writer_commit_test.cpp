// Commits that survive crashes, and opens that refuse to write: a writer
// killed at every write and sync of a commit, power lost at every point with
// unsynced writes dropped or reordered, a full disk, a second writer, files
// that must stay as they are.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>

#include "storage/fault_file_system.h"
#include "storage/journal.h"
#include "writer_test_helpers.h"

namespace jet::testing {
namespace {

constexpr char kFixture[] = "psc-adoquery-Northwind.mdb";
constexpr char kTable[] = "Categories";

Row Category(const std::string& name, size_t picture_bytes) {
  Bytes picture(picture_bytes);
  for (size_t i = 0; i < picture.size(); ++i) picture[i] = static_cast<uint8_t>(i * 31);
  return {Value::Null(ColumnType::kLong), Value(ColumnType::kText, name),
          Value(ColumnType::kMemo, std::string(700, 'm')), Value(ColumnType::kOle, picture)};
}

// One transaction touching data, long-value, index, map and definition pages.
Status ChangeCategories(Database& db) {
  std::vector<RowId> ids;
  std::vector<Row> rows = AllRows(db, kTable, &ids);
  JET_RETURN_IF_ERROR(db.BeginTransaction());
  JET_RETURN_IF_ERROR(db.InsertRow(kTable, Category("Smoked fish", 20000)));
  JET_RETURN_IF_ERROR(db.InsertRow(kTable, Category("Roe", 10)));
  Row changed = rows[0];
  changed[1] = Value(ColumnType::kText, std::string("Drinks"));
  JET_RETURN_IF_ERROR(db.UpdateRow(kTable, ids[0], changed));
  JET_RETURN_IF_ERROR(db.DeleteRow(kTable, ids[1]));
  return db.Commit();
}

void WriteFile(const std::string& path, const std::vector<uint8_t>& bytes) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::vector<Row> RowsOf(const std::string& path) {
  auto db = OpenForReading(path);
  return db ? AllRows(*db, kTable) : std::vector<Row>();
}

// The old rows and the rows a complete commit leaves.
struct States {
  std::vector<Row> before, after;
};

States ReferenceStates(const std::string& scratch_name) {
  const std::string path = ScratchCopy(kFixture, scratch_name);
  States states{RowsOf(path), {}};
  {
    auto db = OpenForWriting(path);
    EXPECT_TRUE(ChangeCategories(*db).ok());
  }
  states.after = RowsOf(path);
  EXPECT_NE(states.before, states.after);
  return states;
}

// Opening for writing recovers; the table must then hold one state or the
// other, whole. A reader before that already sees the state recovery leaves.
void ExpectOldOrNew(const std::string& path, const States& states, const std::string& where) {
  SCOPED_TRACE(where);
  const bool interrupted = std::filesystem::exists(JournalPath(path));
  const std::vector<Row> seen_by_reader = RowsOf(path);
  {
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
  }
  EXPECT_FALSE(std::filesystem::exists(JournalPath(path)));
  const std::vector<Row> rows = RowsOf(path);
  EXPECT_TRUE(rows == states.before || rows == states.after) << rows.size() << " rows, a mix";
  if (interrupted) {
    EXPECT_EQ(seen_by_reader, rows) << "a reader saw something other than what recovery left";
  }
  ExpectIndexesInStep(path, kTable);
}

TEST(WriterCommit, PowerLossAtEveryPointLeavesTheOldOrTheNewState) {
  const States states = ReferenceStates("reference-power.mdb");
  const std::string dir = ::testing::TempDir() + "jet-writer-tests/power/";
  std::filesystem::create_directories(dir);
  const std::string path = dir + "db.mdb";
  const std::vector<uint8_t> original = FileBytes(FixturePath(kFixture));
  int total = -1;
  for (int crash_at = 0; total < 0 || crash_at <= total; ++crash_at) {
    FaultFileSystem fs;
    fs.AddFile(path, original);
    {
      auto db = OpenForWriting(path, &fs);
      ASSERT_TRUE(db);
      const int opened = fs.operations();
      if (total >= 0) fs.CrashAfter(opened + crash_at);
      Status s = ChangeCategories(*db);
      if (total < 0) {
        ASSERT_TRUE(s.ok()) << s.ToString();
        total = fs.operations() - opened;
        ASSERT_GT(total, 4);
        continue;
      }
      EXPECT_EQ(s.ok(), crash_at >= total) << s.ToString();
      for (uint32_t seed = 0; seed < 6; ++seed) {
        for (const auto& p : std::filesystem::directory_iterator(dir)) std::filesystem::remove(p.path());
        for (const auto& [name, bytes] : fs.PowerLossImage(seed)) WriteFile(name, bytes);
        ExpectOldOrNew(path, states, "power lost after " + std::to_string(crash_at) + " of " + std::to_string(total) +
                                         " operations, seed " + std::to_string(seed));
      }
    }
  }
}

// Passes every call to the real files, and kills the process at the
// `kill_at`th write, sync, truncation or folder change.
class KillingFileSystem : public ForwardingFileSystem {
 public:
  explicit KillingFileSystem(int kill_at) : kill_at_(kill_at) {}
  void Tick() {
    if (counting_ && count_++ == kill_at_) raise(SIGKILL);
  }
  void StartCounting() { counting_ = true; }

  Status Open(const std::string& path, Mode mode, std::unique_ptr<File>* file) override;
  Status Remove(const std::string& path) override { return Tick(), ForwardingFileSystem::Remove(path); }
  Status Rename(const std::string& a, const std::string& b) override {
    return Tick(), ForwardingFileSystem::Rename(a, b);
  }
  Status SyncDirectory(const std::string& dir) override { return Tick(), ForwardingFileSystem::SyncDirectory(dir); }

 private:
  int kill_at_;
  int count_ = 0;
  bool counting_ = false;
};

class KillingFile : public ForwardingFile {
 public:
  KillingFile(KillingFileSystem* fs, std::unique_ptr<File> real) : ForwardingFile(std::move(real)), fs_(fs) {}
  Status Write(uint64_t o, const uint8_t* d, size_t n) override { return fs_->Tick(), ForwardingFile::Write(o, d, n); }
  Status Sync() override { return fs_->Tick(), ForwardingFile::Sync(); }
  Status Truncate(uint64_t size) override { return fs_->Tick(), ForwardingFile::Truncate(size); }

 private:
  KillingFileSystem* fs_;
};

Status KillingFileSystem::Open(const std::string& path, Mode mode, std::unique_ptr<File>* file) {
  std::unique_ptr<File> real;
  JET_RETURN_IF_ERROR(ForwardingFileSystem::Open(path, mode, &real));
  *file = std::make_unique<KillingFile>(this, std::move(real));
  return Status::OK();
}

TEST(WriterCommit, AWriterKilledAtEveryWriteAndSyncLeavesTheOldOrTheNewState) {
  const States states = ReferenceStates("reference-killed.mdb");
  bool finished = false;
  for (int kill_at = 0; !finished && kill_at < 200; ++kill_at) {
    const std::string path = ScratchCopy(kFixture, "killed.mdb");
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      KillingFileSystem fs(kill_at);
      OpenOptions options;
      options.writable = true;
      options.file_system = &fs;
      std::unique_ptr<Database> db;
      if (!Database::Open(path, options, &db).ok()) _exit(2);
      fs.StartCounting();
      _exit(ChangeCategories(*db).ok() ? 0 : 3);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    const bool killed = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    ASSERT_TRUE(killed || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) << "child status " << status;
    finished = !killed;
    ExpectOldOrNew(path, states, "killed at operation " + std::to_string(kill_at));
    if (finished) {
      EXPECT_EQ(RowsOf(path), states.after);
    }
  }
  EXPECT_TRUE(finished);
}

TEST(WriterCommit, AJournalIsSetAsideWhenTheFileChangedSince) {
  // Someone else writes to a page the journal recorded, or to the header page.
  for (const bool header : {false, true}) {
    SCOPED_TRACE(header ? "header changed" : "journaled page changed");
    const std::string path = ScratchCopy(kFixture, "changed-since.mdb");
    FaultFileSystem fs;
    fs.AddFile(path, FileBytes(path));
    {
      auto db = OpenForWriting(path, &fs);
      ASSERT_TRUE(db);
      fs.CrashAfter(fs.operations() + 4);  // the journal is durable; the database untouched
      EXPECT_FALSE(ChangeCategories(*db).ok());
    }
    ASSERT_TRUE(fs.Exists(JournalPath(path)));
    std::filesystem::remove(JournalPath(path) + ".set-aside");
    for (const auto& [name, bytes] : fs.PowerLossImage(1)) WriteFile(name, bytes);
    std::vector<uint8_t> bytes = FileBytes(path);
    const std::vector<uint8_t> journal = FileBytes(JournalPath(path));
    ASSERT_GE(journal.size(), 48u);
    const uint32_t page = header ? 0 : Get32(journal.data() + 40);  // the first page the journal names
    bytes[size_t(page) * 4096 + 0xD00] ^= 0xFF;
    WriteFile(path, bytes);
    auto db = OpenForWriting(path);
    ASSERT_TRUE(db);
    EXPECT_NE(db->open_notice().find("set aside"), std::string::npos) << db->open_notice();
    EXPECT_FALSE(std::filesystem::exists(JournalPath(path)));
    EXPECT_TRUE(std::filesystem::exists(JournalPath(path) + ".set-aside"));
    EXPECT_EQ(FileBytes(path), bytes);
  }
}

TEST(WriterCommit, ADiskThatFillsUpLeavesTheFileAsItWas) {
  const std::string path = "/data/full.mdb";
  const std::vector<uint8_t> original = FileBytes(FixturePath(kFixture));
  uint64_t journal_size = 0;
  {
    FaultFileSystem fs;
    fs.AddFile(path, original);
    auto db = OpenForWriting(path, &fs);
    ASSERT_TRUE(db);
    fs.CrashAfter(fs.operations() + 3);  // journal created, written, synced
    EXPECT_FALSE(ChangeCategories(*db).ok());
    journal_size = fs.Read(JournalPath(path)).size();
    ASSERT_GT(journal_size, 0u);
  }
  // Room for no journal at all; then room for the journal but not for the file to grow.
  for (uint64_t spare : {uint64_t{1000}, journal_size + 4096}) {
    SCOPED_TRACE(spare);
    FaultFileSystem fs;
    fs.AddFile(path, original);
    auto db = OpenForWriting(path, &fs);
    ASSERT_TRUE(db);
    uint64_t used = 0;
    for (const std::string& p : fs.Paths()) used += fs.Read(p).size();
    fs.SetCapacity(used + spare);
    Status s = ChangeCategories(*db);
    EXPECT_EQ(s.code(), Status::Code::kIOError);
    EXPECT_NE(s.message().find("disk full"), std::string::npos) << s.ToString();
    EXPECT_TRUE(fs.Read(path) == original);
    EXPECT_FALSE(fs.Exists(JournalPath(path)));
    // The database stays usable: the failed changes are gone, reads still work.
    EXPECT_FALSE(db->in_transaction());
    EXPECT_EQ(AllRows(*db, kTable).size(), 8u);
  }
}

TEST(WriterCommit, RollbackDropsEveryChange) {
  const std::string path = ScratchCopy(kFixture, "rollback.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  ASSERT_TRUE(db->BeginTransaction().ok());
  ASSERT_TRUE(db->InsertRow(kTable, Category("Gone", 9000)).ok());
  EXPECT_EQ(AllRows(*db, kTable).size(), 9u);
  ASSERT_TRUE(db->Rollback().ok());
  EXPECT_EQ(AllRows(*db, kTable).size(), 8u);
  EXPECT_EQ(db->Commit().jet_error(), 3034);
  db.reset();
  EXPECT_EQ(FileBytes(path), before);
}

TEST(WriterCommit, ATableWhoseIndexCannotBeReadIsRefusedAndTheCommitAfterWritesNothing) {
  const std::string path = ScratchCopy(kFixture, "damaged-index.mdb");
  uint32_t root = 0;
  {
    auto reader = OpenForReading(path);
    std::shared_ptr<const TableDef> def;
    ASSERT_TRUE(reader->GetTableDef(kTable, &def).ok());
    ASSERT_FALSE(def->indexes.empty());
    root = def->indexes[0].first_page;
  }
  {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(root) * 4096);
    file.put(static_cast<char>(0x7F));  // no page type at all
  }
  const std::vector<uint8_t> before = FileBytes(path);
  auto db = OpenForWriting(path);
  ASSERT_TRUE(db);
  ASSERT_TRUE(db->BeginTransaction().ok());
  EXPECT_FALSE(db->InsertRow(kTable, Category("Kelp", 10)).ok());
  EXPECT_FALSE(db->InsertRow(kTable, Category("Kelp", 10)).ok());  // asked again, refused again
  EXPECT_TRUE(db->Commit().ok());
  db.reset();
  EXPECT_EQ(FileBytes(path), before);
}

TEST(WriterCommit, WritesAreRefusedWhereTheyCannotBeDoneSafely) {
  struct Case {
    std::string fixture;
    std::string expected;  // in the message
    Status::Code code;
  };
  for (const Case& c : {Case{"queryTestV1997.mdb", "Access 97", Status::Code::kReadOnly},
                        Case{"parameters.accdb", "Access 2007", Status::Code::kReadOnly},
                        Case{"Gymnase2000.mdb", "sort order 1036", Status::Code::kUnsupported}}) {
    SCOPED_TRACE(c.fixture);
    const std::string path = ScratchCopy(c.fixture, "refused-" + c.fixture);
    const std::vector<uint8_t> before = FileBytes(path);
    OpenOptions options;
    options.writable = true;
    std::unique_ptr<Database> db;
    Status s = Database::Open(path, options, &db);
    EXPECT_EQ(s.code(), c.code);
    EXPECT_EQ(s.jet_error(), c.code == Status::Code::kReadOnly ? 3027 : 0);
    EXPECT_NE(s.message().find(c.expected), std::string::npos) << s.ToString();
    EXPECT_EQ(FileBytes(path), before);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(path).replace_extension(".ldb")));
  }

  const std::string path = ScratchCopy(kFixture, "guarded.mdb");
  const std::vector<uint8_t> before = FileBytes(path);
  chmod(path.c_str(), 0444);
  OpenOptions options;
  options.writable = true;
  std::unique_ptr<Database> db;
  if (geteuid() != 0) {  // root may write anyway
    Status s = Database::Open(path, options, &db);
    EXPECT_EQ(s.jet_error(), 3027) << s.ToString();
  }
  chmod(path.c_str(), 0644);

  auto writer = OpenForWriting(path);
  ASSERT_TRUE(writer);
  const std::string ldb = std::filesystem::path(path).replace_extension(".ldb");
  const std::vector<uint8_t> entry = FileBytes(ldb);
  ASSERT_EQ(entry.size(), 64u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(entry.data() + 32)), "Admin");
  // A second writer gets in; only a change waits for the first one's
  // transaction to end, and gives up after the wait.
  options.lock_wait_ms = 200;
  options.user_name = "Second";
  std::unique_ptr<Database> second;
  ASSERT_TRUE(Database::Open(path, options, &second).ok());
  ASSERT_TRUE(writer->BeginTransaction().ok());
  ASSERT_TRUE(writer->InsertRow(kTable, Category("Held", 5)).ok());
  const std::vector<uint8_t> held = FileBytes(path);
  const auto start = std::chrono::steady_clock::now();
  Status s = second->InsertRow(kTable, Category("Refused", 5));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
  EXPECT_EQ(FileBytes(path), held);
  EXPECT_EQ(s.code(), Status::Code::kBusy);
  EXPECT_EQ(s.jet_error(), 3260);
  EXPECT_NE(s.message().find("locked by user '"), std::string::npos) << s.ToString();
  // Readers are not kept out, and see only what is committed.
  EXPECT_EQ(RowsOf(path).size(), 8u);
  ASSERT_TRUE(writer->Commit().ok());
  EXPECT_EQ(RowsOf(path).size(), 9u);
  ASSERT_TRUE(second->InsertRow(kTable, Category("After", 5)).ok());
  EXPECT_EQ(AllRows(*writer, kTable).size(), 10u);  // the first sees the second's row
  second.reset();
  writer.reset();
  EXPECT_FALSE(std::filesystem::exists(ldb));
  EXPECT_NE(FileBytes(path), before);
}

}  // namespace
}  // namespace jet::testing
