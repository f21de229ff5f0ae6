// Shows a file to the user in the desktop's default application for it.
#pragma once

#include <QString>
#include <QStringList>

namespace excel {

// True when a graphical session is present to show anything in.
bool HasDesktopDisplay();

// The program and arguments that show `file`: the desktop's handler
// (`xdgOpen`, the path of xdg-open) when the machine has one, else the
// installed office in a window of its own.
struct OpenCommand {
  QString program;
  QStringList arguments;
};
OpenCommand CommandToOpen(const QString& file, const QString& xdgOpen);

// Opens the file for the user; does nothing without a display.
void OpenWithDesktop(const QString& file);

}  // namespace excel
