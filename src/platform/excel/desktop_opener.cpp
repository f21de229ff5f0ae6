#include "platform/excel/desktop_opener.h"

#include <QProcess>
#include <QStandardPaths>

#include "platform/excel/office_process.h"

namespace excel {

bool HasDesktopDisplay() {
  return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

OpenCommand CommandToOpen(const QString& file, const QString& xdgOpen) {
  if (!xdgOpen.isEmpty()) return {xdgOpen, {file}};
  // A desktop without a handler still has the office the runs are made
  // with: a visible instance of its own shows the workbook rather than nothing.
  return {OfficeProcess::ProgramFolder() + QStringLiteral("/soffice"),
          {QStringLiteral("--nologo"), QStringLiteral("--norestore"), file}};
}

void OpenWithDesktop(const QString& file) {
  if (!HasDesktopDisplay()) return;
  const OpenCommand command = CommandToOpen(file, QStandardPaths::findExecutable(QStringLiteral("xdg-open")));
  QProcess::startDetached(command.program, command.arguments);
}

}  // namespace excel
