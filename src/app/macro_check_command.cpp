#include "app/macro_check_command.h"

#include <cstdio>

#include "app/batch_run.h"
#include "export/report_macros.h"
#include "platform/errors/app_error.h"
#include "platform/excel/application.h"
#include "platform/excel/macro_check.h"

namespace app {
namespace {

struct Tally {
  int reports = 0;
  int macros = 0;
  int cannot_run = 0;
  int unsupported = 0;
};

void Print(const QString& report, const QString& text) {
  std::printf("%s: %s\n", report.toUtf8().constData(), text.toUtf8().constData());
}

void CheckReport(dao::Database& database, const std::pair<QString, std::int32_t>& report, Tally& tally) {
  const basExporter::ReportMacros run = basExporter::ReadReportMacros(database, report.second);
  if (run.macros.isEmpty()) return;
  ++tally.reports;
  tally.macros += static_cast<int>(run.macros.size());
  std::vector<excel::MacroFinding> findings;
  try {
    findings = excel::CheckTemplateMacros(*excel::Application::Create(), run.templatePath, run.macros);
  } catch (const platform::AppError& error) {
    ++tally.cannot_run;
    Print(report.first, QStringLiteral("The template cannot be opened, so no macro can run: ") + error.Description());
    return;
  }
  for (const excel::MacroFinding& finding : findings) {
    ++(finding.CannotRun() ? tally.cannot_run : tally.unsupported);
    Print(report.first, finding.Text());
  }
}

QString Counted(int count, const char* thing) {
  return QStringLiteral("%1 %2%3").arg(count).arg(QLatin1String(thing)).arg(count == 1 ? "" : "s");
}

QString Summary(const Tally& tally) {
  QString text = Counted(tally.macros, "macro") + QStringLiteral(" in ") + Counted(tally.reports, "report") +
                 QStringLiteral(" checked: ");
  if (tally.cannot_run == 0 && tally.unsupported == 0) return text + QStringLiteral("all can run.");
  return text + QStringLiteral("%1 cannot run, %2.").arg(tally.cannot_run).arg(Counted(tally.unsupported, "other finding"));
}

}  // namespace

int CheckReportMacros(dao::Database& database, const QVector<std::pair<QString, std::int32_t>>& reports) {
  Tally tally;
  for (const auto& report : reports) CheckReport(database, report, tally);
  std::printf("%s\n", Summary(tally).toUtf8().constData());
  return tally.cannot_run > 0 ? kBatchMacro : kBatchOk;
}

}  // namespace app
