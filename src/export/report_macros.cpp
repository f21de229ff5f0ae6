#include "export/report_macros.h"

#include <QFileInfo>

#include "export/cexcel_exporter.h"
#include "export/excel_slots.h"
#include "platform/dao/dao.h"
#include "platform/errors/app_error.h"
#include "platform/excel/application.h"
#include "platform/excel/macro_check.h"
#include "platform/excel/template_path.h"
#include "platform/ui/dialogs.h"
#include "reportdb/sql_catalogue.h"
#include "reportdb/stored_lists.h"

namespace basExporter {
namespace {

// As the run opens it: a stored name that is no workbook gives a new one.
QString LocalTemplate(const QString& stored) {
  if (stored.isEmpty() || !excel::IsExcelTemplatePath(stored)) return QString();
  return excel::ResolveTemplatePath(stored, gTemplateSearch.database_folder, gTemplateSearch.mappings);
}

}  // namespace

ReportMacros ReadReportMacros(dao::Database& database, std::int32_t outputId) {
  ReportMacros report;
  auto queries = database.OpenRecordset(reportdb::sql::ReportQueryKeysForRun(outputId));
  for (bool first = true; !queries->IsEOF(); queries->MoveNext(), first = false) {
    auto userQuery = database.OpenRecordset(reportdb::sql::UserQueryForRun(queries->Value(0).toInt()));
    if (userQuery->IsEOF()) continue;
    if (first) report.templatePath = LocalTemplate(userQuery->Value(0).toString().trimmed());
    for (const QString& macro : reportdb::ReadExcelMacros(userQuery->Value(6))) {
      if (!report.macros.contains(macro, Qt::CaseInsensitive)) report.macros << macro;
    }
  }
  return report;
}

// A call the office lacks stops the run only when the named macro itself
// makes it on every run, before any error handler of its own: then the macro
// fails for certain, after the records were placed for nothing. A call in
// a branch, a loop or a macro called from it may never be reached, and
// refusing it would refuse runs that work.
void CheckMacrosBeforeRun(const ReportMacros& report) {
  // A template that is not there is the workbook step's to tell.
  if (report.macros.isEmpty() || (!report.templatePath.isEmpty() && !QFileInfo::exists(report.templatePath))) return;
  const auto findings = excel::CheckTemplateMacros(*excel::Application::Create(), report.templatePath, report.macros);
  if (findings.empty()) return;
  const QString text = excel::FindingsText(findings);
  if (excel::AnyCannotRun(findings))
    throw platform::AppError(kErrMacro, text, QStringLiteral("CExcelExporter::RunExcelMacro"));
  const QString heading =
      excel::AllDiffer(findings)
          ? QStringLiteral("The report's macros make calls the office runs otherwise than Excel; check what they give:")
          : QStringLiteral("The report's macros make calls the office does not support; they may fail:");
  platform::dialogs().MsgBox(
      heading + QStringLiteral("\r\n\r\n") + QString(text).replace(QLatin1Char('\n'), QStringLiteral("\r\n")),
      platform::vbInformation, QStringLiteral("Excel Exporter"));
}

}  // namespace basExporter
