// How a database value reads in the Export Assistant's lists, and the
// readings the column sorts take back from that text.
#pragma once

#include <QDateTime>
#include <QString>
#include <QVariant>
#include <optional>

namespace assistant {

// Null is empty; Yes/No reads "True"/"False"; a date alone reads
// "yyyy-mm-dd", a time alone "hh:mm:ss" (Jet keeps a time on 30 Dec 1899),
// both together "yyyy-mm-dd hh:mm:ss"; numbers in their shortest exact form.
QString ValueText(const QVariant& value);

// The date (and time) a cell's text stands for: the forms ValueText writes,
// and the usual written dates ("15-Mar-2021", "3/15/2021"); nothing for
// any other text, an empty one included.
std::optional<QDateTime> DateFromText(const QString& text);

// A whole number that fits 32 bits (spaces around it allowed, and a
// fraction rounded as a conversion to Long does); nothing otherwise.
std::optional<qint32> NumberFromText(const QString& text);

// Minutes after midnight of the first clock time written in the text
// ("06:00-10:00", "6:30 PM to 9 PM"); nothing when it holds none.
std::optional<int> FirstClockTime(const QString& text);

}  // namespace assistant
