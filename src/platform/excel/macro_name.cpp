#include "platform/excel/macro_name.h"

#include <QRegularExpression>

namespace excel {
namespace {

bool IsIdentifier(const QString& text) {
  static const QRegularExpression kIdentifier(QStringLiteral("^[A-Za-z_][A-Za-z0-9_]*$"));
  return kIdentifier.match(text).hasMatch();
}

}  // namespace

std::optional<MacroName> ParseMacroName(const QString& text) {
  MacroName name;
  QString rest = text.trimmed();
  const int bang = rest.lastIndexOf(QLatin1Char('!'));
  if (bang >= 0) {
    name.book = rest.left(bang).trimmed();
    if (name.book.size() >= 2 && name.book.startsWith(QLatin1Char('\'')) && name.book.endsWith(QLatin1Char('\'')))
      name.book = name.book.mid(1, name.book.size() - 2);
    if (name.book.isEmpty()) return std::nullopt;
    rest = rest.mid(bang + 1).trimmed();
  }
  const QStringList parts = rest.split(QLatin1Char('.'));
  if (parts.size() > 2) return std::nullopt;
  name.procedure = parts.last();
  if (parts.size() == 2) name.module = parts.first();
  if (!IsIdentifier(name.procedure) || (parts.size() == 2 && !IsIdentifier(name.module))) return std::nullopt;
  return name;
}

}  // namespace excel
