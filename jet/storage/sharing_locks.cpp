#include "storage/sharing_locks.h"

#include <algorithm>
#include <thread>

namespace jet {
namespace {

constexpr uint64_t kWriters = kWritersLockByte;
constexpr uint64_t kCommitPending = kCommitPendingLockByte;
constexpr uint64_t kReaders = kReadersLockByte;

// How often a long read looks for a pending commit.
constexpr auto kLookInterval = std::chrono::milliseconds(5);
// How long R stays held after an operation, for the next one.
constexpr auto kLease = std::chrono::milliseconds(20);
// Reads this close together make a run.
constexpr auto kRunGap = std::chrono::milliseconds(2);
// How long a read keeps a waiting commit out before it lets it through: a
// short read finishes instead, and never has to start again.
constexpr auto kLongestHold = std::chrono::milliseconds(250);

}  // namespace

SharingLocks::SharingLocks(File* file, std::string path, int wait_ms)
    : file_(file), path_(std::move(path)), wait_(std::max(wait_ms, 0)) {}

template <typename Attempt>
Status SharingLocks::WaitFor(Attempt attempt, const std::string& what) {
  Status s = attempt();
  if (s.code() != Status::Code::kBusy) return s;
  const auto deadline = std::chrono::steady_clock::now() + wait_;
  auto pause = std::chrono::microseconds(200);
  for (;; s = attempt()) {
    if (s.code() != Status::Code::kBusy) return s;
    if (std::chrono::steady_clock::now() >= deadline) {
      return Status::Busy("the database " + path_ + " " + what + " for longer than " +
                              std::to_string(wait_.count() / 1000.0).substr(0, 4) + " s",
                          3261);
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, std::chrono::microseconds(10000));
  }
}

Status SharingLocks::LockWriters() {
  if (writers_) return Status::OK();
  JET_RETURN_IF_ERROR(WaitFor([&] { return file_->TryLock(kWriters, File::LockKind::kExclusive); },
                              "was being changed by another program"));
  writers_ = true;
  return Status::OK();
}

void SharingLocks::UnlockWriters() {
  if (!writers_) return;
  file_->Unlock(kWriters);
  writers_ = false;
}

Status SharingLocks::BeginFileWrite() {
  if (lease_) lease_->Take();  // R, if still held, becomes the commit's
  // Only the holder of W ever takes P, so P is free.
  JET_RETURN_IF_ERROR(file_->TryLock(kCommitPending, File::LockKind::kExclusive));
  Status s = WaitFor([&] { return file_->TryLock(kReaders, File::LockKind::kExclusive); },
                     "was being read by another program");
  if (!s.ok()) file_->Unlock(kCommitPending);
  return s;
}

void SharingLocks::EndFileWrite() {
  if (readers_) {
    file_->TryLock(kReaders, File::LockKind::kShared);  // from exclusive: cannot conflict
  } else {
    file_->Unlock(kReaders);
  }
  file_->Unlock(kCommitPending);
}

// A pending commit, as seen within the last few milliseconds: P only keeps
// new reads from starving a commit, so a look that recent will do.
Status SharingLocks::CommitPending(bool* pending) {
  *pending = false;
  const auto now = std::chrono::steady_clock::now();
  if (now < no_commit_pending_until_) return Status::OK();
  JET_RETURN_IF_ERROR(file_->IsLocked(kCommitPending, File::LockKind::kShared, pending));
  if (!*pending) no_commit_pending_until_ = now + kLookInterval;
  return Status::OK();
}

Status SharingLocks::LockReaders(bool* kept) {
  if (kept) *kept = false;
  if (readers_) return Status::OK();
  if (lease_ && lease_->Take()) {
    bool pending = false;
    Status s = CommitPending(&pending);
    if (s.ok() && !pending) {
      readers_ = true;
      reading_since_ = std::chrono::steady_clock::now();
      if (kept) *kept = true;
      return Status::OK();
    }
    file_->Unlock(kReaders);  // the commit waiting for it comes first
    JET_RETURN_IF_ERROR(s);
  }
  Status s = WaitFor(
      [&]() -> Status {
        bool pending = false;
        JET_RETURN_IF_ERROR(CommitPending(&pending));
        if (pending) return Status::Busy("commit pending");
        return file_->TryLock(kReaders, File::LockKind::kShared);
      },
      "was being changed by another program");
  readers_ = s.ok();
  reading_since_ = std::chrono::steady_clock::now();
  return s;
}

void SharingLocks::FinishReading() {
  if (!readers_) return;
  readers_ = false;
  // Only reads that come in a run are worth a lease (and its thread).
  const auto now = std::chrono::steady_clock::now();
  const bool in_a_run = reading_since_ - last_finish_ < kRunGap;
  last_finish_ = now;
  if (!in_a_run) {
    file_->Unlock(kReaders);
    return;
  }
  if (!lease_) lease_ = std::make_unique<ReaderLease>(file_, kReaders);
  lease_->Keep(kLease);
}

void SharingLocks::UnlockReaders() {
  if (lease_) lease_->Take();
  file_->Unlock(kReaders);
  readers_ = false;
}

bool SharingLocks::ShouldLetCommitThrough() {
  const auto now = std::chrono::steady_clock::now();
  const auto patience = std::min<std::chrono::milliseconds>(wait_ / 4, kLongestHold);
  if (!readers_ || now < next_look_ || now - reading_since_ < patience) return false;
  next_look_ = now + kLookInterval;
  bool pending = false;
  return file_->IsLocked(kCommitPending, File::LockKind::kShared, &pending).ok() && pending;
}

}  // namespace jet
