// Where a registry-shaped key lives. On Windows it is the registry itself;
// elsewhere "Software\Org\App\More" under the per-user root becomes the
// file Org/App.conf in the XDG config folder, with "More" and the section as
// groups inside it, as QSettings would place the same organisation and
// application.
#pragma once

#include <QString>
#include <memory>

class QSettings;

namespace platform {

// The registry roots, by their handle values.
enum RegistryRoot : unsigned {
  HKEY_CLASSES_ROOT = 0x80000000u,
  HKEY_CURRENT_USER = 0x80000001u,
  HKEY_LOCAL_MACHINE = 0x80000002u,
  HKEY_USERS = 0x80000003u,
};

struct SettingsLocation {
  QString filePath;  // the store: a registry path on Windows, a file elsewhere
  QString group;     // "/"-separated group inside the store; empty for its top
};

// nullopt-like empty filePath when the root has no store on this platform.
SettingsLocation LocateRegistryKey(unsigned root, const QString& keyPath);

// Per-user application settings (placements) of one application title.
SettingsLocation LocateApplicationSettings(const QString& applicationName, const QString& section);

// A QSettings opened on the location, positioned in its group.
std::unique_ptr<QSettings> OpenSettings(const SettingsLocation& location);

}  // namespace platform
