// jetdump's SQL shell as a child process, driven one line at a time through
// pipes, as the tests of programs sharing a file drive it.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include <gtest/gtest.h>

namespace jet::testing {

// jetdump --shell as another program drives it: one line written, its
// answer read, then the next line.
class ShellProcess {
 public:
  explicit ShellProcess(const std::string& path) {
    int in[2], out[2], err[2];
    // Close-on-exec: another shell started later must not keep this one's
    // input open, or this one would never see its end.
    EXPECT_TRUE(pipe2(in, O_CLOEXEC) == 0 && pipe2(out, O_CLOEXEC) == 0 && pipe2(err, O_CLOEXEC) == 0);
    pid_ = fork();
    if (pid_ == 0) {
      dup2(in[0], 0), dup2(out[1], 1), dup2(err[1], 2);
      for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) close(fd);
      execl(JETDUMP_PATH, JETDUMP_PATH, "--shell", path.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
    close(in[0]), close(out[1]), close(err[1]);
    to_shell_ = in[1], from_shell_ = out[0], errors_ = err[0];
  }
  ~ShellProcess() {
    for (int fd : {to_shell_, from_shell_, errors_}) if (fd >= 0) close(fd);
    if (pid_ > 0) waitpid(pid_, nullptr, 0);
  }

  void Send(const std::string& line) {
    const std::string text = line + "\n";
    EXPECT_EQ(write(to_shell_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  // What the shell has written by the time `ending` arrives; what it had
  // written after ten quiet seconds when it never does.
  std::string Answer(const std::string& ending = "\n") { return ReadUntil(from_shell_, ending); }
  std::string Error() { return ReadUntil(errors_, "\n"); }
  // The exit status once the shell has seen the end of its input.
  int Finish() {
    close(to_shell_);
    to_shell_ = -1;
    int status = 0;
    waitpid(pid_, &status, 0);
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  static std::string ReadUntil(int fd, const std::string& ending) {
    std::string text;
    pollfd ready{fd, POLLIN, 0};
    while (!text.ends_with(ending) && poll(&ready, 1, 10000) > 0) {
      char buffer[4096];
      const ssize_t n = read(fd, buffer, sizeof buffer);
      if (n <= 0) break;
      text.append(buffer, static_cast<size_t>(n));
    }
    return text;
  }

  pid_t pid_ = -1;
  int to_shell_ = -1, from_shell_ = -1, errors_ = -1;
};

}  // namespace jet::testing
