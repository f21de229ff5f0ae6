// ReaderLease: the readers' lock kept for a few milliseconds after a read
// operation, so that the next one, as in a run of lookups, needs no lock
// call of its own. A helper thread gives the lock up when the lease runs out
// and then sleeps until the next lease: a program that sits idle holds no
// lock and makes no system call.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "jet/file_system.h"

namespace jet {

class ReaderLease {
 public:
  // The lock on `offset` of `file`, which must outlive this object.
  ReaderLease(File* file, uint64_t offset) : file_(file), offset_(offset) {}
  // Gives a running lease up.
  ~ReaderLease();
  ReaderLease(const ReaderLease&) = delete;
  ReaderLease& operator=(const ReaderLease&) = delete;

  // The caller holds the lock and is done with it: keep it `length` more.
  void Keep(std::chrono::nanoseconds length);
  // Takes the lock back from the lease: true when it was still held.
  bool Take();

 private:
  enum State { kNone, kLeased, kGivingUp };
  void GiveUpWhenDue();

  File* file_;
  uint64_t offset_;
  std::atomic<int> state_{kNone};
  std::atomic<std::chrono::steady_clock::rep> until_{0};
  std::atomic<bool> idle_{false};
  std::atomic<uint64_t> granted_{0};  // leases kept so far
  bool stopping_ = false;
  std::mutex mutex_;
  std::condition_variable leased_;
  std::thread giver_;
};

}  // namespace jet
