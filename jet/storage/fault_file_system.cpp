#include "storage/fault_file_system.h"

#include <algorithm>
#include <mutex>
#include <random>
#include <set>

namespace jet {

// One pending change of a file since its last sync: a write, or a
// truncation when `bytes` is empty and `truncate` is set.
struct PendingChange {
  uint64_t offset = 0;
  std::vector<uint8_t> bytes;
  bool truncate = false;
};

struct FaultFileSystem::Node {
  Contents current;
  Contents durable;
  std::vector<PendingChange> pending;
  uint64_t changes = 0;  // stands in for the modification time
  struct ByteLock {
    const void* exclusive = nullptr;
    std::set<const void*> shared;
  };
  std::map<uint64_t, ByteLock> locks;
  std::mutex locks_mutex;  // a reader's lease is given up on another thread
};

namespace {

void Apply(const PendingChange& change, FaultFileSystem::Contents* contents) {
  if (change.truncate) {
    contents->resize(change.offset);
    return;
  }
  if (contents->size() < change.offset + change.bytes.size()) contents->resize(change.offset + change.bytes.size());
  std::copy(change.bytes.begin(), change.bytes.end(), contents->begin() + change.offset);
}

}  // namespace

class FaultFile : public File {
 public:
  FaultFile(FaultFileSystem* fs, std::shared_ptr<FaultFileSystem::Node> node, bool writable)
      : fs_(fs), node_(std::move(node)), writable_(writable) {}
  ~FaultFile() override {
    std::lock_guard<std::mutex> guard(node_->locks_mutex);
    for (auto& [offset, lock] : node_->locks) {
      if (lock.exclusive == this) lock.exclusive = nullptr;
      lock.shared.erase(this);
    }
  }

  Status Read(uint64_t offset, size_t length, uint8_t* out) override {
    if (offset + length > node_->current.size()) return Status::IOError("unexpected end of file");
    std::copy_n(node_->current.begin() + offset, length, out);
    return Status::OK();
  }

  Status Write(uint64_t offset, const uint8_t* data, size_t length) override {
    if (!writable_) return Status::IOError("file is open for reading only");
    JET_RETURN_IF_ERROR(fs_->Operation());
    const uint64_t end = offset + length;
    if (end > node_->current.size() && fs_->TotalSize() + (end - node_->current.size()) > fs_->capacity_) {
      return Status::IOError("cannot write: disk full");
    }
    PendingChange change{offset, std::vector<uint8_t>(data, data + length), false};
    Apply(change, &node_->current);
    ++node_->changes;
    node_->pending.push_back(std::move(change));
    return Status::OK();
  }

  Status Sync() override {
    JET_RETURN_IF_ERROR(fs_->Operation());
    node_->durable = node_->current;
    node_->pending.clear();
    return Status::OK();
  }

  Status Size(uint64_t* size) override {
    *size = node_->current.size();
    return Status::OK();
  }

  Status Truncate(uint64_t size) override {
    JET_RETURN_IF_ERROR(fs_->Operation());
    PendingChange change{size, {}, true};
    Apply(change, &node_->current);
    ++node_->changes;
    node_->pending.push_back(std::move(change));
    return Status::OK();
  }

  Status TryLock(uint64_t offset, LockKind kind) override {
    std::lock_guard<std::mutex> guard(node_->locks_mutex);
    bool held = false;
    JET_RETURN_IF_ERROR(Conflicts(offset, kind, &held));
    if (held) return Status::Busy("the database is being changed by another program", 3261);
    auto& lock = node_->locks[offset];
    lock.shared.erase(this);
    if (lock.exclusive == this) lock.exclusive = nullptr;
    if (kind == LockKind::kShared) {
      lock.shared.insert(this);
    } else {
      lock.exclusive = this;
    }
    return Status::OK();
  }

  void Unlock(uint64_t offset) override {
    std::lock_guard<std::mutex> guard(node_->locks_mutex);
    auto& lock = node_->locks[offset];
    lock.shared.erase(this);
    if (lock.exclusive == this) lock.exclusive = nullptr;
  }

  Status IsLocked(uint64_t offset, LockKind kind, bool* locked) override {
    std::lock_guard<std::mutex> guard(node_->locks_mutex);
    return Conflicts(offset, kind, locked);
  }

 private:
  Status Conflicts(uint64_t offset, LockKind kind, bool* locked) {
    const auto& lock = node_->locks[offset];
    const bool other_exclusive = lock.exclusive && lock.exclusive != this;
    const bool other_shared = lock.shared.size() > (lock.shared.count(this) ? 1u : 0u);
    *locked = other_exclusive || (kind == LockKind::kExclusive && other_shared);
    return Status::OK();
  }

  FaultFileSystem* fs_;
  std::shared_ptr<FaultFileSystem::Node> node_;
  bool writable_;
};

FaultFileSystem::FaultFileSystem() = default;
FaultFileSystem::~FaultFileSystem() = default;

void FaultFileSystem::AddFile(const std::string& path, Contents contents) {
  auto node = std::make_shared<Node>();
  node->current = contents;
  node->durable = std::move(contents);
  names_[path] = node;
  durable_names_[path] = node;
}

FaultFileSystem::Contents FaultFileSystem::Read(const std::string& path) const {
  auto it = names_.find(path);
  return it == names_.end() ? Contents() : it->second->current;
}

std::vector<std::string> FaultFileSystem::Paths() const {
  std::vector<std::string> paths;
  for (const auto& [path, node] : names_) paths.push_back(path);
  return paths;
}

Status FaultFileSystem::Operation() {
  if (crash_after_ >= 0 && operations_ >= crash_after_) return Status::IOError("simulated crash: the disk is gone");
  ++operations_;
  return Status::OK();
}

uint64_t FaultFileSystem::TotalSize() const {
  uint64_t total = 0;
  for (const auto& [path, node] : names_) total += node->current.size();
  return total;
}

std::map<std::string, FaultFileSystem::Contents> FaultFileSystem::PowerLossImage(uint32_t seed) const {
  std::mt19937 random(seed);
  const auto& names = (random() & 1) ? names_ : durable_names_;
  std::map<std::string, Contents> image;
  for (const auto& [path, node] : names) {
    Contents contents = node->durable;
    std::vector<const PendingChange*> kept;
    for (const PendingChange& change : node->pending) {
      if (random() & 1) kept.push_back(&change);
    }
    std::shuffle(kept.begin(), kept.end(), random);
    for (const PendingChange* change : kept) Apply(*change, &contents);
    image[path] = std::move(contents);
  }
  return image;
}

Status FaultFileSystem::Open(const std::string& path, Mode mode, std::unique_ptr<File>* file) {
  auto it = names_.find(path);
  if (mode == Mode::kCreate) {
    JET_RETURN_IF_ERROR(Operation());
    if (it == names_.end()) {
      it = names_.emplace(path, std::make_shared<Node>()).first;
    } else {
      PendingChange change{0, {}, true};
      Apply(change, &it->second->current);
      it->second->pending.push_back(change);
    }
  } else if (it == names_.end()) {
    return Status::NotFound("file not found: " + path);
  }
  *file = std::make_unique<FaultFile>(this, it->second, mode != Mode::kRead);
  return Status::OK();
}

bool FaultFileSystem::Exists(const std::string& path) { return names_.count(path) > 0; }
bool FaultFileSystem::IsWritable(const std::string& path) { return names_.count(path) > 0; }

Status FaultFileSystem::Remove(const std::string& path) {
  JET_RETURN_IF_ERROR(Operation());
  names_.erase(path);
  return Status::OK();
}

Status FaultFileSystem::Rename(const std::string& from, const std::string& to) {
  JET_RETURN_IF_ERROR(Operation());
  auto it = names_.find(from);
  if (it == names_.end()) return Status::NotFound("file not found: " + from);
  names_[to] = it->second;
  names_.erase(from);
  return Status::OK();
}

Status FaultFileSystem::SyncDirectory(const std::string&) {
  JET_RETURN_IF_ERROR(Operation());
  durable_names_ = names_;
  return Status::OK();
}

Status FaultFileSystem::Stamp(const std::string& path, FileStamp* stamp) {
  auto it = names_.find(path);
  if (it == names_.end()) return Status::NotFound("file not found: " + path);
  const Node& node = *it->second;
  *stamp = {0, reinterpret_cast<uintptr_t>(&node), node.current.size(), int64_t(node.changes), int64_t(node.changes)};
  return Status::OK();
}

Status FaultFileSystem::Touch(const std::string& path) {
  auto it = names_.find(path);
  if (it == names_.end()) return Status::NotFound("file not found: " + path);
  ++it->second->changes;
  return Status::OK();
}

}  // namespace jet
