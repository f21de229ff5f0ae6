#include "child_program.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <thread>

extern char** environ;

namespace testing_support {
namespace {

using Clock = std::chrono::steady_clock;

std::string SettingName(const std::string& setting) { return setting.substr(0, setting.find('=')); }

// This process's environment with the extra settings replacing same-named ones.
std::vector<std::string> ChildEnvironment(const std::vector<std::string>& extra) {
  std::vector<std::string> settings;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string setting = *entry;
    bool replaced = false;
    for (const std::string& wanted : extra) replaced = replaced || SettingName(wanted) == SettingName(setting);
    if (!replaced) settings.push_back(setting);
  }
  settings.insert(settings.end(), extra.begin(), extra.end());
  return settings;
}

std::vector<char*> NullTerminated(std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  for (std::string& text : strings) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// The child's last word when it cannot become the program, in its output.
[[noreturn]] void GiveUp(const char* why) {
  const ssize_t ignored = write(2, why, strlen(why));
  (void)ignored;
  _exit(127);
}

// Between fork and exec only system calls: the parent may have threads.
[[noreturn]] void BecomeProgram(char* const* argv, char* const* envp, const ProgramOptions& options, int output) {
  const int nothing = open("/dev/null", O_RDONLY);
  if (nothing < 0 || dup2(nothing, 0) < 0 || dup2(output, 1) < 0 || dup2(output, 2) < 0) _exit(127);
  if (options.account && (setgroups(0, nullptr) != 0 || setgid(options.account->gid) != 0 ||
                          setuid(options.account->uid) != 0)) {
    GiveUp("cannot switch to the program's account\n");
  }
  if (!options.directory.empty() && chdir(options.directory.c_str()) != 0) GiveUp("cannot enter the folder\n");
  execve(argv[0], argv, envp);
  GiveUp("cannot run the program\n");
}

// Reads until the program closes its end or the deadline passes.
bool ReadToEnd(int from_program, Clock::time_point deadline, std::string& output) {
  char buffer[4096];
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    pollfd ready{from_program, POLLIN, 0};
    const int polled = poll(&ready, 1, static_cast<int>(left.count()));
    if (polled < 0 && errno == EINTR) continue;
    if (polled <= 0) return false;
    const ssize_t count = read(from_program, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return true;
    output.append(buffer, static_cast<size_t>(count));
  }
}

// The program may close its output and still run: waiting is bounded too.
bool AwaitExit(pid_t pid, Clock::time_point deadline, int& wait_status) {
  for (;;) {
    const pid_t done = waitpid(pid, &wait_status, WNOHANG);
    if (done == pid) return true;
    if (done < 0 && errno != EINTR) return false;
    if (Clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

}  // namespace

ProgramResult RunProgram(const std::vector<std::string>& arguments, const ProgramOptions& options) {
  ProgramResult result;
  std::vector<std::string> argument_copies = arguments;
  std::vector<std::string> settings = ChildEnvironment(options.environment);
  const std::vector<char*> argv = NullTerminated(argument_copies);
  const std::vector<char*> envp = NullTerminated(settings);

  int channel[2];
  if (arguments.empty() || pipe2(channel, O_CLOEXEC) != 0) return result;
  const pid_t pid = fork();
  if (pid == 0) BecomeProgram(argv.data(), envp.data(), options, channel[1]);
  close(channel[1]);
  if (pid < 0) {
    close(channel[0]);
    return result;
  }

  const Clock::time_point deadline = Clock::now() + options.timeout;
  int wait_status = 0;
  const bool finished = ReadToEnd(channel[0], deadline, result.output) && AwaitExit(pid, deadline, wait_status);
  close(channel[0]);
  if (!finished) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    result.timed_out = true;
    return result;
  }
  if (WIFEXITED(wait_status)) result.status = WEXITSTATUS(wait_status);
  return result;
}

}  // namespace testing_support
