// File dialog filters as the program writes them, "Description|*.ext|…",
// turned into the name filters of a Qt file dialog.
#pragma once

#include <QStringList>

namespace platform {

// One Qt name filter per description/pattern pair: the description as the
// user reads it, followed by the patterns in parentheses ("*.*" becomes "*",
// which is what it means; ";" between patterns becomes a blank). A trailing
// description without patterns is dropped.
QStringList QtNameFilters(const QString& filter);

// The extension of a Qt name filter's first pattern ("xls" for
// "Excel Files (*.xls)"); empty for "*" and for several extensions' worth.
QString FilterExtension(const QString& nameFilter);

}  // namespace platform
