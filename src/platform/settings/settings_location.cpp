#include "platform/settings/settings_location.h"

#include <QSettings>
#include <QStandardPaths>
#include <QStringList>

namespace platform {
namespace {

QStringList KeyComponents(const QString& keyPath) { return keyPath.split(QLatin1Char('\\'), Qt::SkipEmptyParts); }

#ifdef Q_OS_WIN
QString RootName(unsigned root) {
  switch (root) {
    case HKEY_CLASSES_ROOT:
      return QStringLiteral("HKEY_CLASSES_ROOT");
    case HKEY_CURRENT_USER:
      return QStringLiteral("HKEY_CURRENT_USER");
    case HKEY_LOCAL_MACHINE:
      return QStringLiteral("HKEY_LOCAL_MACHINE");
    case HKEY_USERS:
      return QStringLiteral("HKEY_USERS");
    default:
      return QString();
  }
}
#else
// The per-user root is the user's config folder; the machine root the first
// system-wide one (normally /etc/xdg, which a user cannot write to, as with
// HKEY_LOCAL_MACHINE). The other roots have nothing to stand for here.
QString ConfigFolderOf(unsigned root) {
  if (root == HKEY_CURRENT_USER) return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
  if (root == HKEY_LOCAL_MACHINE) {
    return QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation).mid(1).value(0);
  }
  return QString();
}
#endif

}  // namespace

SettingsLocation LocateRegistryKey(unsigned root, const QString& keyPath) {
  QStringList parts = KeyComponents(keyPath);
#ifdef Q_OS_WIN
  const QString rootName = RootName(root);
  if (rootName.isEmpty() || parts.isEmpty()) return {};
  return {rootName + QLatin1Char('\\') + parts.join(QLatin1Char('\\')), QString()};
#else
  const QString folder = ConfigFolderOf(root);
  if (folder.isEmpty() || parts.isEmpty()) return {};
  if (parts.size() > 1 && parts.first().compare(QLatin1String("Software"), Qt::CaseInsensitive) == 0) {
    parts.removeFirst();
  }
  // Organisation folder and application file, then groups.
  QString file = folder + QLatin1Char('/') + parts.takeFirst();
  if (!parts.isEmpty()) file += QLatin1Char('/') + parts.takeFirst();
  return {file + QStringLiteral(".conf"), parts.join(QLatin1Char('/'))};
#endif
}

SettingsLocation LocateApplicationSettings(const QString& applicationName, const QString& section) {
#ifdef Q_OS_WIN
  // Where every program of the family has always kept them.
  return LocateRegistryKey(HKEY_CURRENT_USER, QStringLiteral("Software\\VB and VBA Program Settings\\") +
                                                  applicationName + QLatin1Char('\\') + section);
#else
  return LocateRegistryKey(HKEY_CURRENT_USER, QStringLiteral("Software\\Varnel Technologies\\") + applicationName +
                                                  QLatin1Char('\\') + section);
#endif
}

std::unique_ptr<QSettings> OpenSettings(const SettingsLocation& location) {
#ifdef Q_OS_WIN
  auto settings = std::make_unique<QSettings>(location.filePath, QSettings::NativeFormat);
#else
  auto settings = std::make_unique<QSettings>(location.filePath, QSettings::IniFormat);
#endif
  if (!location.group.isEmpty()) settings->beginGroup(location.group);
  return settings;
}

}  // namespace platform
