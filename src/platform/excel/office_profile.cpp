#include "platform/excel/office_profile.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QUrl>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include "platform/errors/app_error.h"

namespace excel {
namespace {

// Settings the office reads at start. VBA Load/Executable make .xls macros
// callable; Save keeps a template's VBA project in the saved output; the
// remaining keys keep the office from asking or restoring anything.
constexpr char kRegistryModifications[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<oor:items xmlns:oor="http://openoffice.org/2001/registry" xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">
<item oor:path="/org.openoffice.Office.Calc/Filter/Import/VBA"><prop oor:name="Load" oor:op="fuse"><value>true</value></prop></item>
<item oor:path="/org.openoffice.Office.Calc/Filter/Import/VBA"><prop oor:name="Executable" oor:op="fuse"><value>true</value></prop></item>
<item oor:path="/org.openoffice.Office.Calc/Filter/Import/VBA"><prop oor:name="Save" oor:op="fuse"><value>true</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Security/Scripting"><prop oor:name="MacroSecurityLevel" oor:op="fuse"><value>0</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Security/Scripting"><prop oor:name="DisableMacrosExecution" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Setup/Office"><prop oor:name="ooSetupInstCompleted" oor:op="fuse"><value>true</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Misc"><prop oor:name="FirstRun" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Misc"><prop oor:name="ShowTipOfTheDay" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Office.Recovery/RecoveryInfo"><prop oor:name="Enabled" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Office.Recovery/AutoSave"><prop oor:name="Enabled" oor:op="fuse"><value>false</value></prop></item>
<item oor:path="/org.openoffice.Office.Common/Save/Document"><prop oor:name="WarnAlienFormat" oor:op="fuse"><value>false</value></prop></item>
</oor:items>
)";

QString CacheRoot() {
  QString base = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
  if (base.isEmpty()) base = QDir::tempPath();
  return base + QStringLiteral("/Tabulon");
}

}  // namespace

OfficeProfile::OfficeProfile() {
  const QString root = CacheRoot();
  if (!QDir().mkpath(root))
    throw platform::AppError(1004, QStringLiteral("Cannot create the office profile folder ") + root);
  for (int slot = 0; slot < 64; ++slot) {
    const QString folder = root + QStringLiteral("/office-profile-%1").arg(slot);
    const QByteArray lock_path = QFile::encodeName(folder + QStringLiteral(".lock"));
    const int fd = ::open(lock_path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) continue;
    if (::flock(fd, LOCK_EX | LOCK_NB) == 0) {
      folder_ = folder;
      lock_fd_ = fd;
      WriteSettings();
      return;
    }
    ::close(fd);
  }
  throw platform::AppError(1004, QStringLiteral("No free office profile under ") + root);
}

OfficeProfile::~OfficeProfile() {
  if (lock_fd_ >= 0) ::close(lock_fd_);
}

QString OfficeProfile::Url() const { return QUrl::fromLocalFile(folder_).toString(QUrl::FullyEncoded); }

void OfficeProfile::WriteSettings() const {
  // The office merges its own changes into this file; ours are rewritten on
  // every start so a damaged or foreign profile cannot switch macros off.
  const QString user = folder_ + QStringLiteral("/user");
  QDir().mkpath(user);
  QFile file(user + QStringLiteral("/registrymodifications.xcu"));
  if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
    throw platform::AppError(1004, QStringLiteral("Cannot write the office profile in ") + folder_);
  file.write(kRegistryModifications);
}

}  // namespace excel
