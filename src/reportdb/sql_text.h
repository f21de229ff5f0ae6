// The rules by which values are spliced into the report tables' SQL.
#pragma once

#include <QString>
#include <QVector>
#include <cstdint>

namespace reportdb {

// A text literal for Jet SQL: every apostrophe doubled, the whole in single
// quotes. O'Neil catch -> 'O''Neil catch'; an empty text -> ''.
QString QuoteSqlText(const QString& text);

// Leading and trailing blanks removed; tabs and line breaks are kept, as
// they are part of what the user typed.
QString TrimBlanks(const QString& text);

// Keys in plain decimal joined by "," (3,8,12). An empty list is refused
// with error 5: the statements that take it have no meaning without a key.
QString JoinKeyList(const QVector<std::int32_t>& keys);

}  // namespace reportdb
