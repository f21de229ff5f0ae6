#include "platform/settings/cregistry.h"

#include <QSettings>

#include "platform/errors/app_error.h"

namespace {

// A read hands back at most this many characters and anything longer
// reads as absent, the way the family's own programs see it.
constexpr qsizetype kLongestReadableValue = 2047;

}  // namespace

void CRegistry::SetRegMainKey(const QString& path) {
  mainKey_ = path;
  // A key of blanks stays unset rather than becoming a lone "\".
  if (mainKey_.trimmed().isEmpty()) return;
  if (!mainKey_.endsWith(QLatin1Char('\\'))) mainKey_ += QLatin1Char('\\');
}

void CRegistry::CheckMainKey() const {
  if (mainKey_.trimmed().isEmpty()) {
    throw platform::AppError(kRegistryMainKeyNotSet,
                             QStringLiteral("The main registry key must be set before accessing the registry"),
                             QStringLiteral("Nalt_Registry"));
  }
}

QString CRegistry::ReadRegistry(const QString& section, const QString& valueName, const QString& defaultValue) const {
  CheckMainKey();
  const QString stored = ReadValue(section, valueName);
  return stored.isEmpty() ? defaultValue : stored;
}

void CRegistry::WriteRegistry(const QString& section, const QString& valueName, const QString& value) {
  CheckMainKey();
  WriteValue(section, valueName, value);
}

QString CRegistry::ReadValue(const QString& section, const QString& valueName) const {
  const platform::SettingsLocation location = platform::LocateRegistryKey(root_, mainKey_ + section);
  if (location.filePath.isEmpty()) return QString();
  const auto settings = platform::OpenSettings(location);
  const QVariant value = settings->value(valueName);
  // A value another program wrote with commas comes back as a list.
  const QString text =
      value.typeId() == QMetaType::QStringList ? value.toStringList().join(QLatin1Char(',')) : value.toString();
  return text.size() > kLongestReadableValue ? QString() : text;
}

void CRegistry::WriteValue(const QString& section, const QString& valueName, const QString& value) {
  const platform::SettingsLocation location = platform::LocateRegistryKey(root_, mainKey_ + section);
  if (location.filePath.isEmpty()) return;
  const auto settings = platform::OpenSettings(location);
  settings->setValue(valueName, value);
  settings->sync();
}
