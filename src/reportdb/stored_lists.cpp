#include "reportdb/stored_lists.h"

#include "reportdb/sql_text.h"
#include "reportdb/vb_errors.h"

namespace reportdb {
namespace {

const QChar kSeparator = QLatin1Char('/');

bool IsNull(const QVariant& field) { return !field.isValid() || field.isNull(); }

}  // namespace

QString fnMakeString(const QStringList& items) {
  if (items.isEmpty()) throw InvalidProcedureCall(QStringLiteral("fnMakeString"));
  return items.join(kSeparator);
}

QStringList SplitStoredList(const QString& text) {
  if (text.isEmpty()) return {};
  return text.split(kSeparator, Qt::KeepEmptyParts, Qt::CaseSensitive);
}

std::optional<QStringList> ReadQueryParameters(const QVariant& storedField) {
  if (IsNull(storedField)) return std::nullopt;
  return SplitStoredList(storedField.toString());
}

QStringList ReadExcelMacros(const QVariant& storedField) {
  if (IsNull(storedField)) return {};
  QStringList macros = SplitStoredList(storedField.toString());
  for (QString& name : macros) name = TrimBlanks(name);
  return macros;
}

}  // namespace reportdb
