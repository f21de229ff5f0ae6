// Shows a file to the user in the desktop's default application for it.
#pragma once

#include <QString>

namespace excel {

// True when a graphical session is present to show anything in.
bool HasDesktopDisplay();
// Opens the file with the desktop's handler (xdg-open); does nothing without a display.
void OpenWithDesktop(const QString& file);

}  // namespace excel
