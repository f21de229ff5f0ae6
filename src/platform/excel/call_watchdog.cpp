#include "platform/excel/call_watchdog.h"

namespace excel {

CallWatchdog::CallWatchdog(std::function<void()> on_timeout)
    : on_timeout_(std::move(on_timeout)), thread_([this] { Watch(); }) {}

CallWatchdog::~CallWatchdog() {
  {
    std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

void CallWatchdog::Arm(std::chrono::milliseconds limit) {
  {
    std::lock_guard lock(mutex_);
    if (depth_++ > 0) return;
    deadline_ = std::chrono::steady_clock::now() + limit;
  }
  changed_.notify_all();
}

void CallWatchdog::Disarm() {
  {
    std::lock_guard lock(mutex_);
    if (depth_ > 0) --depth_;
  }
  changed_.notify_all();
}

bool CallWatchdog::Fired() const {
  std::lock_guard lock(mutex_);
  return fired_;
}

void CallWatchdog::Watch() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    if (depth_ == 0 || fired_) {
      changed_.wait(lock);
      continue;
    }
    const auto deadline = deadline_;
    if (changed_.wait_until(lock, deadline) == std::cv_status::timeout && depth_ > 0 && deadline_ == deadline &&
        !fired_) {
      fired_ = true;
      lock.unlock();
      on_timeout_();
      lock.lock();
    }
  }
}

}  // namespace excel
