#include "storage/reader_lease.h"

namespace jet {
namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

ReaderLease::~ReaderLease() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  leased_.notify_all();
  if (giver_.joinable()) giver_.join();
  if (state_.load() == kLeased) file_->Unlock(offset_);
}

void ReaderLease::Keep(std::chrono::nanoseconds length) {
  until_.store((Clock::now() + length).time_since_epoch().count());
  state_.store(kLeased);
  granted_.fetch_add(1);
  if (!giver_.joinable()) {
    giver_ = std::thread([this] { GiveUpWhenDue(); });
  } else if (idle_.load()) {
    { std::lock_guard<std::mutex> lock(mutex_); }  // the giver is waiting, or sees the lease itself
    leased_.notify_one();
  }
}

bool ReaderLease::Take() {
  int expected = kLeased;
  if (state_.compare_exchange_strong(expected, kNone)) return true;
  while (state_.load() == kGivingUp) std::this_thread::yield();  // its unlock must not undo our next lock
  return false;
}

void ReaderLease::GiveUpWhenDue() {
  uint64_t seen = 0;
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    idle_.store(true);
    leased_.wait(lock, [&] { return stopping_ || granted_.load() != seen; });
    idle_.store(false);
    // Wait until the lease runs out, however often it is renewed meanwhile,
    // then give it up, unless its holder has taken it back for a read: that
    // read's end leases it anew.
    for (;;) {
      if (stopping_) return;
      seen = granted_.load();
      const Clock::time_point until{Clock::duration(until_.load())};
      if (Clock::now() < until) {
        leased_.wait_until(lock, until, [&] { return stopping_; });
        continue;
      }
      int expected = kLeased;
      if (state_.compare_exchange_strong(expected, kGivingUp)) {
        file_->Unlock(offset_);
        state_.store(kNone);
      }
      break;
    }
  }
}

}  // namespace jet
