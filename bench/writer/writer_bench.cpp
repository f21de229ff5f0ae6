// Writer benchmark, on a scratch copy of a database the caller provides.
//   writer_bench inserts FILE N   N inserts into Employees (three indexes,
//                                 two of them on text) in one transaction
//   writer_bench interview FILE   one row committed into a large sample's
//                                 tblInterview: time and bytes written
//   writer_bench one-row FILE     one one-row commit: syncs, bytes written and
//                                 time, against one plain write and sync of
//                                 the same bytes in the same folder
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "jet/database.h"

namespace {

using Clock = std::chrono::steady_clock;

double Millis(Clock::time_point since) {
  return std::chrono::duration<double, std::milli>(Clock::now() - since).count();
}

// Counts what reaches the disk, passing every call on to the real files.
class CountingFileSystem : public jet::ForwardingFileSystem {
 public:
  int syncs = 0;
  uint64_t bytes = 0;

  class CountingFile : public jet::ForwardingFile {
   public:
    CountingFile(CountingFileSystem* fs, std::unique_ptr<jet::File> real)
        : ForwardingFile(std::move(real)), fs_(fs) {}
    jet::Status Write(uint64_t o, const uint8_t* d, size_t n) override {
      fs_->bytes += n;
      return ForwardingFile::Write(o, d, n);
    }
    jet::Status Sync() override {
      ++fs_->syncs;
      return ForwardingFile::Sync();
    }

   private:
    CountingFileSystem* fs_;
  };

  jet::Status Open(const std::string& path, Mode mode, std::unique_ptr<jet::File>* file) override {
    std::unique_ptr<jet::File> real;
    JET_RETURN_IF_ERROR(ForwardingFileSystem::Open(path, mode, &real));
    *file = std::make_unique<CountingFile>(this, std::move(real));
    return jet::Status::OK();
  }
  jet::Status SyncDirectory(const std::string& dir) override {
    ++syncs;
    return ForwardingFileSystem::SyncDirectory(dir);
  }
};

int Fail(const jet::Status& s) {
  std::fprintf(stderr, "%s\n", s.ToString().c_str());
  return 1;
}

jet::Row Employee(const jet::TableDef& def, int i) {
  jet::Row row;
  for (const auto& c : def.columns) row.push_back(jet::Value::Null(c.type));
  row[def.FindColumn("LastName")] = jet::Value(jet::ColumnType::kText, "Surname " + std::to_string(i * 7919 % 100000));
  row[def.FindColumn("FirstName")] = jet::Value(jet::ColumnType::kText, std::string("Ana"));
  row[def.FindColumn("PostalCode")] = jet::Value(jet::ColumnType::kText, std::to_string(90000 + i % 997));
  row[def.FindColumn("Address")] = jet::Value(jet::ColumnType::kText, std::to_string(i) + " Harbour Road");
  return row;
}

int Inserts(const std::string& file, int count) {
  jet::OpenOptions options;
  options.writable = true;
  std::unique_ptr<jet::Database> db;
  if (auto s = jet::Database::Open(file, options, &db); !s.ok()) return Fail(s);
  std::shared_ptr<const jet::TableDef> def;
  if (auto s = db->GetTableDef("Employees", &def); !s.ok()) return Fail(s);
  auto start = Clock::now();
  if (auto s = db->BeginTransaction(); !s.ok()) return Fail(s);
  for (int i = 0; i < count; ++i) {
    if (auto s = db->InsertRow("Employees", Employee(*def, i)); !s.ok()) return Fail(s);
  }
  const double insert_ms = Millis(start);
  auto commit_start = Clock::now();
  if (auto s = db->Commit(); !s.ok()) return Fail(s);
  std::printf("%d inserts into Employees (3 indexes) in one transaction: %.1f ms inserting + %.1f ms commit = %.1f ms\n",
              count, insert_ms, Millis(commit_start), Millis(start));
  return 0;
}

// The database at `file` opened for writing through `fs`.
jet::Status OpenCounted(const std::string& file, CountingFileSystem* fs, std::unique_ptr<jet::Database>* db) {
  jet::OpenOptions options;
  options.writable = true;
  options.file_system = fs;
  return jet::Database::Open(file, options, db);
}

// One plain write and sync of `length` bytes beside `file`, in ms: what the
// disk asks for the same bytes without a journal.
double PlainWriteMs(const std::string& file, uint64_t length) {
  const std::string plain = file + ".plain";
  std::vector<uint8_t> bytes(length, 0x5A);
  auto start = Clock::now();
  int fd = ::open(plain.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0 || ::write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) || ::fdatasync(fd) != 0) {
    std::perror(plain.c_str());
    return -1;
  }
  ::close(fd);
  const double ms = Millis(start);
  ::unlink(plain.c_str());
  return ms;
}

int OneRow(const std::string& file) {
  CountingFileSystem fs;
  std::unique_ptr<jet::Database> db;
  if (auto s = OpenCounted(file, &fs, &db); !s.ok()) return Fail(s);
  std::shared_ptr<const jet::TableDef> def;
  if (auto s = db->GetTableDef("Employees", &def); !s.ok()) return Fail(s);
  fs.syncs = 0;
  fs.bytes = 0;
  auto start = Clock::now();
  if (auto s = db->InsertRow("Employees", Employee(*def, 1)); !s.ok()) return Fail(s);
  const double commit_ms = Millis(start);
  std::printf("one-row commit: %d syncs, %llu bytes written, %.2f ms; one write+sync of the same bytes: %.2f ms\n",
              fs.syncs, static_cast<unsigned long long>(fs.bytes), commit_ms, PlainWriteMs(file, fs.bytes));
  return 0;
}

// One interview row appended to a large survey database's tblInterview
// (a copy of its first row with a new number) and committed: the time of
// the insert and of the commit, and the bytes that reach the disk.
int OneInterview(const std::string& file) {
  CountingFileSystem fs;
  std::unique_ptr<jet::Database> db;
  if (auto s = OpenCounted(file, &fs, &db); !s.ok()) return Fail(s);
  jet::Row row;
  {
    std::unique_ptr<jet::TableReader> reader;
    std::unique_ptr<jet::TableCursor> cursor;
    if (auto s = db->OpenReader("tblInterview", {}, &reader); !s.ok()) return Fail(s);
    std::vector<jet::RowId> first;
    jet::IndexRange range;  // the primary key's first row
    range.equal = {jet::Value(jet::ColumnType::kLong, int64_t{1})};
    if (auto s = reader->Find(range, &first); !s.ok() || first.empty()) return Fail(s);
    if (auto s = reader->Read(first[0], &row); !s.ok()) return Fail(s);
  }
  row[0] = jet::Value::Null(jet::ColumnType::kLong);
  fs.syncs = 0;
  fs.bytes = 0;
  auto start = Clock::now();
  if (auto s = db->BeginTransaction(); !s.ok()) return Fail(s);
  if (auto s = db->InsertRow("tblInterview", row); !s.ok()) return Fail(s);
  const double insert_ms = Millis(start);
  auto commit_start = Clock::now();
  if (auto s = db->Commit(); !s.ok()) return Fail(s);
  const double commit_ms = Millis(commit_start);
  std::printf("one interview committed, first change of the session: %.2f ms (insert %.2f + commit %.2f), "
              "%d syncs, %llu bytes written; one write+sync of the same bytes: %.2f ms\n",
              insert_ms + commit_ms, insert_ms, commit_ms, fs.syncs, static_cast<unsigned long long>(fs.bytes),
              PlainWriteMs(file, fs.bytes));
  fs.syncs = 0;
  fs.bytes = 0;
  start = Clock::now();
  if (auto s = db->InsertRow("tblInterview", row); !s.ok()) return Fail(s);
  std::printf("the next one, same session: %.2f ms, %d syncs, %llu bytes written\n", Millis(start), fs.syncs,
              static_cast<unsigned long long>(fs.bytes));
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "inserts" && argc == 4) return Inserts(argv[2], std::stoi(argv[3]));
  if (mode == "one-row" && argc == 3) return OneRow(argv[2]);
  if (mode == "interview" && argc == 3) return OneInterview(argv[2]);
  std::fprintf(stderr, "usage: writer_bench inserts FILE N | one-row FILE | interview FILE\n");
  return 2;
}
