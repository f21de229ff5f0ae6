#include "editors/macro_warning.h"

#include <QFileInfo>

#include "editors/query_settings_dialog.h"
#include "export/excel_slots.h"
#include "platform/errors/app_error.h"
#include "platform/excel/application.h"
#include "platform/excel/macro_check.h"
#include "platform/excel/template_path.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/mouse_pointer.h"

namespace editors {
namespace {

QStringList Added(const QString& templateBefore, const QStringList& before, const QString& templatePath,
                  const QStringList& macros) {
  if (templatePath.compare(templateBefore, Qt::CaseInsensitive) != 0) return macros;
  QStringList added;
  for (const QString& macro : macros) {
    if (!before.contains(macro, Qt::CaseInsensitive)) added << macro;
  }
  return added;
}

// The template as a run opens it; empty for a new workbook.
QString LocalTemplate(const QString& stored) {
  if (stored.isEmpty() || !excel::IsExcelTemplatePath(stored)) return QString();
  return excel::ResolveTemplatePath(stored, gTemplateSearch.database_folder, gTemplateSearch.mappings);
}

void ShowWarning(QuerySettingsDialog& form, const QString& text) {
  platform::dialogs().MsgBox(QString(text).replace(QLatin1Char('\n'), QStringLiteral("\r\n")),
                             platform::vbExclamation, form.windowTitle());
}

}  // namespace

void WarnAboutAddedMacros(QuerySettingsDialog& form, const QString& templateBefore, const QStringList& before,
                          const QString& templatePath, const QStringList& macros) {
  const QStringList added = Added(templateBefore, before, templatePath, macros);
  const QString local = LocalTemplate(templatePath);
  // A template that is not on this computer is checked where it is run.
  if (added.isEmpty() || (!local.isEmpty() && !QFileInfo(local).isFile())) return;
  std::vector<excel::MacroFinding> findings;
  try {
    platform::SetMousePointer(platform::vbHourglass);
    findings = excel::CheckTemplateMacros(*excel::Application::Create(), local, added);
    platform::SetMousePointer(platform::vbDefault);
  } catch (const platform::AppError& error) {
    platform::SetMousePointer(platform::vbDefault);
    return ShowWarning(form, QStringLiteral("The macros added could not be checked: ") + error.Description());
  }
  if (findings.empty()) return;
  if (excel::AllDiffer(findings))
    return ShowWarning(form, QStringLiteral("The office runs some calls of the macros added otherwise than Excel:\n\n") +
                                 excel::FindingsText(findings) + QStringLiteral("\n\nThe destination is saved as it is."));
  ShowWarning(form, QStringLiteral("The office will not run all of the macros added:\n\n") +
                        excel::FindingsText(findings) +
                        QStringLiteral("\n\nThe destination is saved as it is; a report run stops at what cannot run."));
}

}  // namespace editors
