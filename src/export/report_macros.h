// The macros a report's run will run and the workbook they run in, for the
// macro check before a run, and what the check lets through.
#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>

namespace dao {
class Database;
}
namespace basExporter {

struct ReportMacros {
  // The run's workbook comes from its first query's template, here the
  // file on this machine (empty: a new workbook); every query's macros run
  // in that one workbook.
  QString templatePath;
  QStringList macros;  // in the order they run, each once
};

ReportMacros ReadReportMacros(dao::Database& database, std::int32_t outputId);

// Before the run's workbook is made, on the template file: raises the macro
// error, naming what cannot run, when a module does not compile, a macro is
// missing or a call is certain to fail. Calls that may fail are told, and
// the run goes on. (Checked before, not in, the run's workbook: the check's
// scratch document becomes the office's current one, and the macros'
// ActiveSheet and unqualified Range follow the current document.)
void CheckMacrosBeforeRun(const ReportMacros& report);

}  // namespace basExporter
