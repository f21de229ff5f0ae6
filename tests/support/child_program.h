// Runs another program to its end, with what it prints gathered, for test
// harnesses that drive server tools. Plain POSIX: no Qt.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace testing_support {

// The account a program runs under when it must not run as root.
struct Account {
  uid_t uid = 0;
  gid_t gid = 0;
};

struct ProgramOptions {
  // Extra NAME=value settings on top of this process's environment.
  std::vector<std::string> environment;
  std::optional<Account> account;
  // Where the program starts: one the account may enter.
  std::string directory;
  std::chrono::milliseconds timeout{60000};
};

struct ProgramResult {
  // The exit status; -1 when the program could not be started, was killed
  // by a signal or ran past its time.
  int status = -1;
  bool timed_out = false;
  // Standard output and standard error, interleaved as written.
  std::string output;
};

// `arguments[0]` is the program's absolute path. A program still running at
// its time is killed, so a caller never waits longer than that.
ProgramResult RunProgram(const std::vector<std::string>& arguments, const ProgramOptions& options = {});

}  // namespace testing_support
