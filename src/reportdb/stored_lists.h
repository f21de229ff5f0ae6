// The two lists a user query keeps in one text field each: the values for
// its saved query's parameters (DefaultQueryParameters) and the Excel macros
// run after its data is placed (ExcelMacros). Items are joined by "/" with
// no quoting, so an item can never hold a "/" itself.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>

namespace reportdb {

// The one writer of both lists: the items joined by "/". An empty list
// raises error 5; a list of one empty item gives "".
QString fnMakeString(const QStringList& items);

// Splits on every "/" with no limit. An empty text has no items at all, so
// a single empty parameter value does not survive a round trip.
QStringList SplitStoredList(const QString& text);

// The parameter values by position, untrimmed: blanks around a value are
// part of it. nullopt when the field is Null (the values are missing).
std::optional<QStringList> ReadQueryParameters(const QVariant& storedField);

// The macro names to run in order, each trimmed of blanks; none when the
// field is Null or empty.
QStringList ReadExcelMacros(const QVariant& storedField);

}  // namespace reportdb
