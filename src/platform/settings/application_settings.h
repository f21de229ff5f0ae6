// Per-user settings of one application title, by section and key: where the
// windows remember their placement.
#pragma once

#include <QString>

namespace platform {

QString GetSetting(const QString& applicationName, const QString& section, const QString& key,
                   const QString& defaultValue = QString());
void SaveSetting(const QString& applicationName, const QString& section, const QString& key, const QString& value);

// A window's left, top, width and height in twips, stored as "MainLeft",
// "MainTop", "MainWidth" and "MainHeight".
struct WindowPlacement {
  float left = 0;
  float top = 0;
  float width = 0;
  float height = 0;
  bool operator==(const WindowPlacement&) const = default;
};

// Absent values take the defaults; a stored value that is not a number
// raises error 13 (type mismatch).
WindowPlacement ReadWindowPlacement(const QString& applicationName, const QString& section,
                                    const WindowPlacement& defaults);
void SaveWindowPlacement(const QString& applicationName, const QString& section, const WindowPlacement& placement);

}  // namespace platform
