#include "platform/ui/file_filter.h"

namespace platform {
namespace {

QString QtPatterns(const QString& patterns) {
  QStringList parts = patterns.split(QLatin1Char(';'), Qt::SkipEmptyParts);
  for (QString& part : parts) {
    part = part.trimmed();
    if (part == QLatin1String("*.*")) part = QStringLiteral("*");
  }
  return parts.join(QLatin1Char(' '));
}

}  // namespace

QStringList QtNameFilters(const QString& filter) {
  const QStringList pieces = filter.split(QLatin1Char('|'));
  QStringList nameFilters;
  for (qsizetype i = 0; i + 1 < pieces.size(); i += 2) {
    nameFilters.append(pieces.at(i) + QStringLiteral(" (") + QtPatterns(pieces.at(i + 1)) + QLatin1Char(')'));
  }
  return nameFilters;
}

QString FilterExtension(const QString& nameFilter) {
  const qsizetype open = nameFilter.lastIndexOf(QLatin1Char('('));
  const QString patterns = nameFilter.mid(open + 1).chopped(nameFilter.endsWith(QLatin1Char(')')) ? 1 : 0);
  const QString first = patterns.section(QLatin1Char(' '), 0, 0);
  if (!first.startsWith(QStringLiteral("*.")) || first.indexOf(QLatin1Char('*'), 1) >= 0) return QString();
  return first.mid(2);
}

}  // namespace platform
