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

}  // namespace platform
