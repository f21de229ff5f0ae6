#include "storage/change_watch.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace jet {
namespace {

// Longer than the clock tick of the file systems we expect to share a file
// on (jiffies of 1 to 10 ms on Linux, 100 ns on NTFS behind Samba).
constexpr int64_t kTickMarginNs = 20'000'000;
// How long our own commit waits for the clock to move on.
constexpr int kTouchAttempts = 1000;  // of 1 ms

int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

}  // namespace

Status ChangeWatch::Look(bool* changed) {
  last_look_ = std::chrono::steady_clock::now();
  JET_RETURN_IF_ERROR(fs_->Stamp(path_, &seen_));
  *changed = !(seen_ == accepted_);
  return Status::OK();
}

Status ChangeWatch::Accept() {
  const int64_t age = NowNs() - seen_.modified_ns;
  if (age < kTickMarginNs) {
    std::this_thread::sleep_for(std::chrono::nanoseconds(kTickMarginNs - std::max<int64_t>(age, 0)));
    JET_RETURN_IF_ERROR(fs_->Stamp(path_, &seen_));
  }
  accepted_ = seen_;
  return Status::OK();
}

Status MakeChangeVisible(FileSystem* fs, const std::string& path, const FileStamp& before, FileStamp* after) {
  JET_RETURN_IF_ERROR(fs->Stamp(path, after));
  for (int n = 0; after->modified_ns == before.modified_ns && n < kTouchAttempts; ++n) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    JET_RETURN_IF_ERROR(fs->Touch(path));
    JET_RETURN_IF_ERROR(fs->Stamp(path, after));
  }
  return Status::OK();
}

Status ChangeWatch::Moved(bool* moved) {
  JET_RETURN_IF_ERROR(fs_->Stamp(path_, &seen_));
  *moved = !(seen_ == accepted_);
  return Status::OK();
}

Status ChangeWatch::AcceptOwnCommit() {
  JET_RETURN_IF_ERROR(MakeChangeVisible(fs_, path_, accepted_, &seen_));
  accepted_ = seen_;
  return Status::OK();
}

}  // namespace jet
