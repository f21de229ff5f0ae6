// FileSystem: every byte the writer reads or writes goes through this, so
// tests can put a disk underneath that loses unsynced writes or fills up.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "jet/status.h"

namespace jet {

class File {
 public:
  virtual ~File() = default;
  // Reads exactly `length` bytes; IOError on a short read.
  virtual Status Read(uint64_t offset, size_t length, uint8_t* out) = 0;
  virtual Status Write(uint64_t offset, const uint8_t* data, size_t length) = 0;
  // Makes every earlier write durable.
  virtual Status Sync() = 0;
  virtual Status Size(uint64_t* size) = 0;
  virtual Status Truncate(uint64_t size) = 0;

  // Byte-range locks shared between programs (open-file-description locks
  // on POSIX: they belong to this open file, not to the process, so closing
  // another descriptor of the same file does not drop them). TryLock never
  // waits: Busy when another open file holds a conflicting lock. Taking a
  // range this file already holds changes the lock's kind.
  enum class LockKind { kShared, kExclusive };
  virtual Status TryLock(uint64_t offset, LockKind kind) = 0;
  virtual void Unlock(uint64_t offset) = 0;
  // Whether another open file holds a lock on the byte that `kind` would
  // conflict with.
  virtual Status IsLocked(uint64_t offset, LockKind kind, bool* locked) = 0;
};

// What tells one state of a file from the next without reading it: which
// file the path names, its length and its change times (nanoseconds since
// the epoch).
struct FileStamp {
  uint64_t device = 0;
  uint64_t inode = 0;
  uint64_t size = 0;
  int64_t modified_ns = 0;
  int64_t changed_ns = 0;
  bool operator==(const FileStamp&) const = default;
};

class FileSystem {
 public:
  virtual ~FileSystem() = default;

  enum class Mode { kRead, kReadWrite, kCreate };  // kCreate truncates
  virtual Status Open(const std::string& path, Mode mode, std::unique_ptr<File>* file) = 0;
  virtual bool Exists(const std::string& path) = 0;
  // Whether this process may write to the file at `path`.
  virtual bool IsWritable(const std::string& path) = 0;
  virtual Status Remove(const std::string& path) = 0;
  virtual Status Rename(const std::string& from, const std::string& to) = 0;
  // Makes the creations, removals and renames in `directory` durable.
  virtual Status SyncDirectory(const std::string& directory) = 0;
  virtual Status Stamp(const std::string& path, FileStamp* stamp) = 0;
  // Rewrites the file's modification time to now.
  virtual Status Touch(const std::string& path) = 0;
};

// The operating system's files. Never deleted.
FileSystem* DefaultFileSystem();

// Pass every call on to real files: bases for the files of tests and
// benchmarks that watch or interrupt some of the calls.
class ForwardingFile : public File {
 public:
  explicit ForwardingFile(std::unique_ptr<File> real) : real_(std::move(real)) {}
  Status Read(uint64_t offset, size_t length, uint8_t* out) override { return real_->Read(offset, length, out); }
  Status Write(uint64_t offset, const uint8_t* data, size_t length) override {
    return real_->Write(offset, data, length);
  }
  Status Sync() override { return real_->Sync(); }
  Status Size(uint64_t* size) override { return real_->Size(size); }
  Status Truncate(uint64_t size) override { return real_->Truncate(size); }
  Status TryLock(uint64_t offset, LockKind kind) override { return real_->TryLock(offset, kind); }
  void Unlock(uint64_t offset) override { real_->Unlock(offset); }
  Status IsLocked(uint64_t offset, LockKind kind, bool* locked) override {
    return real_->IsLocked(offset, kind, locked);
  }

 private:
  std::unique_ptr<File> real_;
};

class ForwardingFileSystem : public FileSystem {
 public:
  explicit ForwardingFileSystem(FileSystem* real = DefaultFileSystem()) : real_(real) {}
  Status Open(const std::string& path, Mode mode, std::unique_ptr<File>* file) override {
    return real_->Open(path, mode, file);
  }
  bool Exists(const std::string& path) override { return real_->Exists(path); }
  bool IsWritable(const std::string& path) override { return real_->IsWritable(path); }
  Status Remove(const std::string& path) override { return real_->Remove(path); }
  Status Rename(const std::string& from, const std::string& to) override { return real_->Rename(from, to); }
  Status SyncDirectory(const std::string& directory) override { return real_->SyncDirectory(directory); }
  Status Stamp(const std::string& path, FileStamp* stamp) override { return real_->Stamp(path, stamp); }
  Status Touch(const std::string& path) override { return real_->Touch(path); }

 private:
  FileSystem* real_;
};

}  // namespace jet
