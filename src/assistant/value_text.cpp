#include "assistant/value_text.h"

#include <QLocale>
#include <QRegularExpression>
#include <cmath>
#include <limits>

namespace assistant {

namespace {

// Where Jet puts a time that has no date.
const QDate kJetZeroDate(1899, 12, 30);

QString DateTimeText(const QDateTime& when) {
  const bool hasTime = when.time() != QTime(0, 0);
  if (when.date() == kJetZeroDate && hasTime) return when.time().toString(QStringLiteral("HH:mm:ss"));
  const QString date = when.date().toString(QStringLiteral("yyyy-MM-dd"));
  return hasTime ? date + when.time().toString(QStringLiteral(" HH:mm:ss")) : date;
}

}  // namespace

QString ValueText(const QVariant& value) {
  if (!value.isValid() || value.isNull()) return QString();
  switch (value.typeId()) {
    case QMetaType::Bool:
      return value.toBool() ? QStringLiteral("True") : QStringLiteral("False");
    case QMetaType::QDateTime:
      return DateTimeText(value.toDateTime());
    case QMetaType::Double:
      return QString::number(value.toDouble(), 'g', 15);
    default:
      return value.toString();
  }
}

std::optional<QDateTime> DateFromText(const QString& text) {
  const QString t = text.trimmed();
  if (t.isEmpty()) return std::nullopt;
  static const char* const kDateTimeForms[] = {"yyyy-MM-dd HH:mm:ss", "yyyy-MM-dd HH:mm", "d-MMM-yyyy HH:mm:ss",
                                               "M/d/yyyy H:mm:ss",    "M/d/yyyy h:mm:ss AP"};
  static const char* const kDateForms[] = {"yyyy-MM-dd", "d-MMM-yyyy", "dd-MMM-yyyy", "M/d/yyyy", "d MMMM yyyy"};
  static const char* const kTimeForms[] = {"HH:mm:ss", "H:mm", "h:mm:ss AP", "h:mm AP"};
  const QLocale english(QLocale::English, QLocale::UnitedStates);
  for (const char* form : kDateTimeForms) {
    const QDateTime when = english.toDateTime(t, QString::fromLatin1(form));
    if (when.isValid()) return when;
  }
  for (const char* form : kDateForms) {
    const QDate date = english.toDate(t, QString::fromLatin1(form));
    if (date.isValid()) return QDateTime(date, QTime(0, 0));
  }
  for (const char* form : kTimeForms) {
    const QTime time = english.toTime(t, QString::fromLatin1(form));
    if (time.isValid()) return QDateTime(kJetZeroDate, time);
  }
  return std::nullopt;
}

std::optional<qint32> NumberFromText(const QString& text) {
  bool ok = false;
  const double number = text.trimmed().toDouble(&ok);
  if (!ok || !std::isfinite(number)) return std::nullopt;
  // Conversion to Long rounds halves to even.
  const double rounded = std::nearbyint(number);
  if (rounded < std::numeric_limits<qint32>::min() || rounded > std::numeric_limits<qint32>::max()) {
    return std::nullopt;
  }
  return static_cast<qint32>(rounded);
}

std::optional<int> FirstClockTime(const QString& text) {
  static const QRegularExpression clock(QStringLiteral(R"((\d{1,2}):(\d{2})(?::\d{2})?\s*([AaPp][Mm])?)"));
  const QRegularExpressionMatch match = clock.match(text);
  if (!match.hasMatch()) return std::nullopt;
  int hour = match.captured(1).toInt();
  const int minute = match.captured(2).toInt();
  if (hour > 23 || minute > 59) return std::nullopt;
  const QString half = match.captured(3).toUpper();
  if (half == QStringLiteral("PM") && hour < 12) hour += 12;
  if (half == QStringLiteral("AM") && hour == 12) hour = 0;
  return hour * 60 + minute;
}

}  // namespace assistant
