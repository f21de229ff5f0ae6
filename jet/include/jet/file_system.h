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
  // Keeps every other writer out while this file stays open: Busy when one
  // already holds it.
  virtual Status LockForWriting() = 0;
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
};

// The operating system's files. Never deleted.
FileSystem* DefaultFileSystem();

}  // namespace jet
