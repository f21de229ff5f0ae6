// tabulon --check-macros [REPORT] [--database FILE]: the macro check of
// every destination of a report (of every report when none is named), run
// without a window, its findings printed and its exit status saying whether
// every macro can run.
#pragma once

#include <QString>
#include <QVector>
#include <cstdint>
#include <utility>

namespace dao {
class Database;
}

namespace app {

// `reports`: every report of the database, name and key. Prints one line a
// finding, each starting with its report's name, then a summary. Returns
// kBatchOk, or kBatchMacro when a macro cannot run.
int CheckReportMacros(dao::Database& database, const QVector<std::pair<QString, std::int32_t>>& reports);

}  // namespace app
