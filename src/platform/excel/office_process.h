// The office as a child process: soffice.bin started directly in its own
// process group, bound to this process's life, listening on a named pipe.
#pragma once

#include <QString>
#include <memory>
#include <optional>
#include <sys/types.h>

namespace excel {

class OfficeProfile;

class OfficeProcess {
 public:
  // Starts the office headless with the program's private profile.
  OfficeProcess();
  ~OfficeProcess();  // kills the whole group
  OfficeProcess(const OfficeProcess&) = delete;
  OfficeProcess& operator=(const OfficeProcess&) = delete;

  // The UNO URL to connect with.
  QString ConnectUrl() const;
  pid_t Pid() const { return pid_; }
  bool IsRunning() { return !ExitCode().has_value(); }
  // The exit code once the child has ended (a signal counts as 128 + signal).
  std::optional<int> ExitCode();
  // Starts the office again with the same profile and pipe: the
  // answer to a first start that asks for a restart (exit code 81).
  void Respawn();
  // Documents can be loaded with a view (which recorded macros need for the
  // selection and the active cell) when the office has its desktop parts: a
  // headless desktop office keeps such views off any screen, while the
  // display-less build aborts on the first one.
  bool CanShowViews() const;
  // Ends the office at once (the watchdog's last resort and the destructor's way).
  void Kill();

  static QString ProgramFolder();

 private:
  pid_t Spawn();

  std::unique_ptr<OfficeProfile> profile_;
  QString pipe_name_;
  pid_t pid_ = -1;
  std::optional<int> exit_code_;
};

// The office marks a document it has open with a lock file beside it; an
// office that was killed leaves it behind, for the user to trip over.
void RemoveLockLeftFor(const QString& document);

}  // namespace excel
