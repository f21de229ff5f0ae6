#include "reportdb/sql_text.h"

#include "platform/errors/app_error.h"
#include "reportdb/vb_errors.h"

namespace reportdb {

QString QuoteSqlText(const QString& text) {
  QString literal;
  literal.reserve(text.size() + 2);
  literal += QLatin1Char('\'');
  for (const QChar c : text) {
    literal += c;
    if (c == QLatin1Char('\'')) literal += c;
  }
  literal += QLatin1Char('\'');
  return literal;
}

QString TrimBlanks(const QString& text) {
  qsizetype first = 0;
  qsizetype last = text.size();
  while (first < last && text.at(first) == QLatin1Char(' ')) ++first;
  while (last > first && text.at(last - 1) == QLatin1Char(' ')) --last;
  return text.mid(first, last - first);
}

QString JoinKeyList(const QVector<std::int32_t>& keys) {
  if (keys.isEmpty()) throw InvalidProcedureCall(QStringLiteral("JoinKeyList"));
  QString list;
  for (const std::int32_t key : keys) {
    if (!list.isEmpty()) list += QLatin1Char(',');
    list += QString::number(key);
  }
  return list;
}

}  // namespace reportdb
