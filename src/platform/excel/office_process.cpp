#include "platform/excel/office_process.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <csignal>
#include <vector>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/errors/app_error.h"
#include "platform/excel/office_profile.h"

namespace excel {
namespace {

QString UniquePipeName() {
  static int counter = 0;
  return QStringLiteral("tabulon_office_%1_%2_%3").arg(::getuid()).arg(::getpid()).arg(++counter);
}

int DecodeStatus(int status) {
  if (WIFEXITED(status)) return WEXITSTATUS(status);
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return -1;
}

}  // namespace

QString OfficeProcess::ProgramFolder() {
  const QByteArray overridden = qgetenv("TABULON_OFFICE_PROGRAM_DIR");
  return overridden.isEmpty() ? QStringLiteral(TABULON_OFFICE_PROGRAM_DIR) : QString::fromLocal8Bit(overridden);
}

OfficeProcess::OfficeProcess() : profile_(std::make_unique<OfficeProfile>()), pipe_name_(UniquePipeName()) {
  pid_ = Spawn();
}

OfficeProcess::~OfficeProcess() { Kill(); }

bool OfficeProcess::CanShowViews() const {
  return !QDir(ProgramFolder()).entryList({QStringLiteral("libvclplug_*.so")}, QDir::Files).isEmpty();
}

QString OfficeProcess::ConnectUrl() const {
  return QStringLiteral("uno:pipe,name=%1;urp;StarOffice.ComponentContext").arg(pipe_name_);
}

pid_t OfficeProcess::Spawn() {
  const QString program = ProgramFolder() + QStringLiteral("/soffice.bin");
  if (!QFileInfo(program).isExecutable())
    throw platform::AppError(1004,
                             QStringLiteral("LibreOffice is not installed: ") + program + QStringLiteral(" is missing"));

  std::vector<QByteArray> args = {
      QFile::encodeName(program),
      ("-env:UserInstallation=" + profile_->Url()).toUtf8(),
      "--accept=pipe,name=" + pipe_name_.toUtf8() + ";urp;StarOffice.ComponentContext",
      "--headless", "--norestore", "--nologo", "--nodefault", "--nolockcheck", "--nofirststartwizard",
  };
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  const pid_t parent = ::getpid();

  const pid_t pid = ::fork();
  if (pid < 0) throw platform::AppError(1004, QStringLiteral("Cannot start LibreOffice"));
  if (pid == 0) {
    // The child: its own group so the watchdog can end it with all helpers,
    // and killed with the thread that started it.
    ::setpgid(0, 0);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent) ::_exit(127);
    // Nothing of the office may reach the user's screen while it works, nor
    // our standard error: its warnings and, should it die, its crash report
    // are not the program's messages.
    if (const int null = ::open("/dev/null", O_RDWR); null >= 0) {
      ::dup2(null, STDIN_FILENO);
      ::dup2(null, STDOUT_FILENO);
      ::dup2(null, STDERR_FILENO);
      if (null > STDERR_FILENO) ::close(null);
    }
    ::unsetenv("DISPLAY");
    ::unsetenv("WAYLAND_DISPLAY");
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  ::setpgid(pid, pid);  // also from here, so the group exists before we might kill it
  exit_code_.reset();
  return pid;
}

std::optional<int> OfficeProcess::ExitCode() {
  if (exit_code_ || pid_ <= 0) return exit_code_;
  int status = 0;
  const pid_t done = ::waitpid(pid_, &status, WNOHANG);
  if (done == pid_) exit_code_ = DecodeStatus(status);
  return exit_code_;
}

void OfficeProcess::Respawn() {
  Kill();
  pid_ = Spawn();
}

void OfficeProcess::Kill() {
  if (pid_ <= 0) return;
  ::kill(-pid_, SIGKILL);
  if (!exit_code_) {
    int status = 0;
    if (::waitpid(pid_, &status, 0) == pid_) exit_code_ = DecodeStatus(status);
  }
  pid_ = -1;  // the group is gone; never signal a number the system may reuse
}

void RemoveLockLeftFor(const QString& document) {
  if (document.isEmpty()) return;
  const QFileInfo info(document);
  QFile::remove(info.absolutePath() + QStringLiteral("/.~lock.") + info.fileName() + QStringLiteral("#"));
}

}  // namespace excel
