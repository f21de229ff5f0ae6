#include "platform/excel/desktop_opener.h"

#include <QProcess>
#include <QStandardPaths>

namespace excel {

bool HasDesktopDisplay() {
  return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

void OpenWithDesktop(const QString& file) {
  if (!HasDesktopDisplay()) return;
  const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
  if (opener.isEmpty()) return;
  QProcess::startDetached(opener, {file});
}

}  // namespace excel
