// Every call into the office runs under a deadline: an office that hangs is
// killed (its whole process group), so the call fails instead of blocking the
// program forever.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace excel {

class CallWatchdog {
 public:
  // `on_timeout` runs on the watchdog's own thread when a deadline passes.
  explicit CallWatchdog(std::function<void()> on_timeout);
  ~CallWatchdog();
  CallWatchdog(const CallWatchdog&) = delete;
  CallWatchdog& operator=(const CallWatchdog&) = delete;

  // Nested arms keep the outermost deadline: one user-level operation may make
  // many office calls.
  void Arm(std::chrono::milliseconds limit);
  void Disarm();
  bool Fired() const;

 private:
  void Watch();

  std::function<void()> on_timeout_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  int depth_ = 0;
  std::chrono::steady_clock::time_point deadline_;
  bool fired_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

// Arms the watchdog for the life of one office operation.
class WatchedCall {
 public:
  WatchedCall(CallWatchdog& watchdog, std::chrono::milliseconds limit) : watchdog_(watchdog) { watchdog_.Arm(limit); }
  ~WatchedCall() { watchdog_.Disarm(); }
  WatchedCall(const WatchedCall&) = delete;
  WatchedCall& operator=(const WatchedCall&) = delete;

 private:
  CallWatchdog& watchdog_;
};

}  // namespace excel
