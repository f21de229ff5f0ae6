// FaultFileSystem: files in memory, for tests of what survives a crash. It
// remembers which writes were synced, so it can show the disk a restart
// would find after a power loss (unsynced writes dropped or reordered), stop
// working after a given number of operations, or run out of space.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jet/file_system.h"

namespace jet {

class FaultFileSystem : public FileSystem {
 public:
  using Contents = std::vector<uint8_t>;

  FaultFileSystem();
  ~FaultFileSystem() override;

  // A durable file, as if written and synced long ago.
  void AddFile(const std::string& path, Contents contents);
  // What a reader sees now; empty when absent.
  Contents Read(const std::string& path) const;
  std::vector<std::string> Paths() const;

  // After `count` more writes, syncs, truncations and folder changes, every
  // such operation fails as if the machine had stopped.
  void CrashAfter(int count) { crash_after_ = count; }
  // Writes that would take all files together past `bytes` fail: disk full.
  void SetCapacity(uint64_t bytes) { capacity_ = bytes; }
  int operations() const { return operations_; }

  // The files a restart would find if power failed now: each unsynced write
  // kept or lost and the kept ones applied in a shuffled order, unsynced
  // folder changes kept or lost as a whole — all chosen by `seed`.
  std::map<std::string, Contents> PowerLossImage(uint32_t seed) const;

  Status Open(const std::string& path, Mode mode, std::unique_ptr<File>* file) override;
  bool Exists(const std::string& path) override;
  bool IsWritable(const std::string& path) override;
  Status Remove(const std::string& path) override;
  Status Rename(const std::string& from, const std::string& to) override;
  Status SyncDirectory(const std::string& directory) override;
  Status Stamp(const std::string& path, FileStamp* stamp) override;
  Status Touch(const std::string& path) override;

  struct Node;

 private:
  friend class FaultFile;
  Status Operation();
  uint64_t TotalSize() const;

  std::map<std::string, std::shared_ptr<Node>> names_;          // as seen now
  std::map<std::string, std::shared_ptr<Node>> durable_names_;  // as of the last folder sync
  int crash_after_ = -1;
  int operations_ = 0;
  uint64_t capacity_ = UINT64_MAX;
};

}  // namespace jet
