#include "platform/settings/application_settings.h"

#include <QLocale>
#include <QSettings>

#include "platform/errors/app_error.h"
#include "platform/settings/settings_location.h"

namespace platform {
namespace {

constexpr int kTypeMismatch = 13;

const QString kLeft = QStringLiteral("MainLeft");
const QString kTop = QStringLiteral("MainTop");
const QString kWidth = QStringLiteral("MainWidth");
const QString kHeight = QStringLiteral("MainHeight");

float ToSingle(const QString& text) {
  bool ok = false;
  const float value = QLocale::c().toFloat(text.trimmed(), &ok);
  if (!ok) throw AppError(kTypeMismatch, QStringLiteral("Type mismatch"));
  return value;
}

// Seven significant digits: all a single-precision number holds.
QString SingleAsText(float value) { return QString::number(static_cast<double>(value), 'g', 7); }

float ReadSingle(const QString& app, const QString& section, const QString& key, float defaultValue) {
  return ToSingle(GetSetting(app, section, key, SingleAsText(defaultValue)));
}

}  // namespace

QString GetSetting(const QString& applicationName, const QString& section, const QString& key,
                   const QString& defaultValue) {
  const auto settings = OpenSettings(LocateApplicationSettings(applicationName, section));
  return settings->value(key, defaultValue).toString();
}

void SaveSetting(const QString& applicationName, const QString& section, const QString& key, const QString& value) {
  const auto settings = OpenSettings(LocateApplicationSettings(applicationName, section));
  settings->setValue(key, value);
  settings->sync();
}

WindowPlacement ReadWindowPlacement(const QString& applicationName, const QString& section,
                                    const WindowPlacement& defaults) {
  return {ReadSingle(applicationName, section, kLeft, defaults.left),
          ReadSingle(applicationName, section, kTop, defaults.top),
          ReadSingle(applicationName, section, kWidth, defaults.width),
          ReadSingle(applicationName, section, kHeight, defaults.height)};
}

void SaveWindowPlacement(const QString& applicationName, const QString& section, const WindowPlacement& placement) {
  SaveSetting(applicationName, section, kLeft, SingleAsText(placement.left));
  SaveSetting(applicationName, section, kTop, SingleAsText(placement.top));
  SaveSetting(applicationName, section, kWidth, SingleAsText(placement.width));
  SaveSetting(applicationName, section, kHeight, SingleAsText(placement.height));
}

}  // namespace platform
