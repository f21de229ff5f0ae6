#include "editors/bas_query_destination.h"

#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>

#include "app/error_guard.h"
#include "editors/cflex_grid.h"
#include "editors/editor_context.h"
#include "editors/field_colours.h"
#include "editors/flex_grid.h"
#include "editors/frm_query_destination.h"
#include "editors/macro_warning.h"
#include "editors/query_grids.h"
#include "export/excel_slots.h"
#include "platform/dao/dao.h"
#include "platform/excel/template_path.h"
#include "platform/excel/template_sheets.h"
#include "platform/ui/dialogs.h"
#include "reportdb/report_store.h"
#include "reportdb/stored_lists.h"

namespace basQueryDestination {
namespace {

const QString kModule = QStringLiteral("basQueryDestination::");
// Characters Excel does not allow in a sheet name, and its longest name.
const QString kSheetNameForbidden = QStringLiteral(":\\/?*[]");
constexpr int kLongestSheetName = 31;

reportdb::ReportStore& Store() { return *editors::Context().store; }

app::ErrorReport ReportFor(const char* procedure, const char* sentence) {
  return app::ReportForOperation(kModule + QLatin1String(procedure), QLatin1String(sentence));
}

QString FieldText(dao::Recordset& row, const char* field) {
  return row.Fields(QLatin1String(field)).Value().toString().trimmed();
}

void UpdateContentsMacroGrid(frmQueryDestination& form, const QStringList& macros) {
  app::Guarded(
      [&] {
        editors::FlexGrid& grid = *form.msflxExcelMacros;
        editors::FormatMacroGrid(grid, std::max<int>(1, static_cast<int>(macros.size())));
        for (int i = 0; i < macros.size(); ++i) grid.SetTextMatrix(i + 1, 1, macros[i]);
      },
      ReportFor("UpdateContentsMacroGrid", "Error showing the query's macros."));
}

void ClearRefusals(frmQueryDestination& form) {
  for (QWidget* field : std::initializer_list<QWidget*>{form.txtTemplate, form.cboSheetName, form.txtTargetRow,
                                                        form.txtTargetColumn})
    editors::SetWindowColour(*field);
}

void Refuse(frmQueryDestination& form, QWidget& field, const QString& problem) {
  editors::SetFieldColour(field, editors::kRefused);
  editors::RefuseValue(form, field, problem);
}

std::optional<int> WholeNumberIn(const QString& text, int first, int last) {
  bool ok = false;
  const int value = text.trimmed().toInt(&ok);
  if (!ok || value < first || value > last) return std::nullopt;
  return value;
}

bool IsUsableSheetName(const QString& name) {
  if (name.size() > kLongestSheetName) return false;
  for (const QChar c : name) {
    if (kSheetNameForbidden.contains(c)) return false;
  }
  return true;
}

// The grid's macro names, top to bottom; empty rows are left out, as
// they name nothing to run.
std::optional<QStringList> MacrosOf(frmQueryDestination& form) {
  editors::FlexGrid& grid = *form.msflxExcelMacros;
  QStringList macros;
  for (int row = 1; row < grid.Rows(); ++row) {
    const QString macro = grid.TextMatrix(row, 1).trimmed();
    if (macro.isEmpty()) continue;
    if (macro.contains(QLatin1Char('/'))) {
      editors::RefuseCell(form, *form.msflxExcelMacros, row,
                          QStringLiteral("Macro %1 contains '/', which separates the stored macros; a macro name "
                                         "cannot contain it.")
                              .arg(row));
      return std::nullopt;
    }
    macros << macro;
  }
  return macros;
}

}  // namespace

QString ColumnLetters(int column) {
  QString letters;
  for (; column > 0; column = (column - 1) / 26) letters.prepend(QChar(u'A' + (column - 1) % 26));
  return letters;
}

void frmQueryDestination_OnShow(std::int32_t queryId) {
  frmQueryDestination form;
  const bool shown = app::Guarded(
      [&] {
        const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
        Store().ShowUserQueryDestination(*form.lstUserQueries);
        form.HighlightQuery(queryId);
      },
      ReportFor("frmQueryDestination_OnShow", "Error listing the user queries."));
  if (shown && frmQueryDestination_ShowQuery(form, queryId)) form.exec();
}

bool frmQueryDestination_ShowQuery(frmQueryDestination& form, std::int32_t queryId) {
  return app::Guarded(
      [&] {
        const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
        const std::unique_ptr<dao::Recordset> row = Store().InitQueryDestination(queryId);
        if (row->IsEOF()) throw platform::AppError(3021, QStringLiteral("The user query no longer exists."));
        form.ShowAuthor(FieldText(*row, "Author"));
        form.txtTemplate->setText(FieldText(*row, "ExcelTemplate"));
        frmQueryDestination_ShowTemplateSheets(form);
        form.cboSheetName->setEditText(FieldText(*row, "ExcelSheetName"));
        // The run places a query at row 1, column 1 when no column is stored.
        const bool placed = !row->Fields(QStringLiteral("ExcelTargetColumn")).Value().isNull();
        form.txtTargetRow->setText(placed ? FieldText(*row, "ExcelTargetRow") : QStringLiteral("1"));
        form.txtTargetColumn->setText(placed ? FieldText(*row, "ExcelTargetColumn") : QStringLiteral("1"));
        form.storedTemplate = form.txtTemplate->text();
        form.storedMacros = reportdb::ReadExcelMacros(row->Fields(QStringLiteral("ExcelMacros")).Value());
        UpdateContentsMacroGrid(form, form.storedMacros);
        ClearRefusals(form);
        form.shownQueryId = queryId;
        form.changed = false;
      },
      ReportFor("frmQueryDestination_OnShow", "Error reading the query destination."));
}

std::optional<QueryDestination> frmQueryDestination_UpdateUDT(frmQueryDestination& form) {
  std::optional<QueryDestination> result;
  app::Guarded(
      [&] {
        QueryDestination destination;
        destination.templatePath = form.txtTemplate->text().trimmed();
        if (!destination.templatePath.isEmpty() && !excel::IsExcelTemplatePath(destination.templatePath)) {
          Refuse(form, *form.txtTemplate,
                 QStringLiteral("The template must be a workbook (a name ending in .xls, .xlsx or .ods), or left "
                                "empty for a new workbook."));
          return;
        }
        destination.sheetName = form.cboSheetName->currentText().trimmed();
        if (!IsUsableSheetName(destination.sheetName)) {
          Refuse(form, *form.cboSheetName,
                 QStringLiteral("A sheet name has at most 31 characters and none of  : \\ / ? * [ ]"));
          return;
        }
        const auto row = WholeNumberIn(form.txtTargetRow->text(), 1, kLastTargetRow);
        if (!row) {
          Refuse(form, *form.txtTargetRow,
                 QStringLiteral("The target row must be a whole number from 1 to %1.").arg(kLastTargetRow));
          return;
        }
        const auto column = WholeNumberIn(form.txtTargetColumn->text(), 1, kLastTargetColumn);
        if (!column) {
          Refuse(form, *form.txtTargetColumn,
                 QStringLiteral("The target column must be a whole number from 1 to %1 (A to IV).")
                     .arg(kLastTargetColumn));
          return;
        }
        destination.targetRow = static_cast<std::int16_t>(*row);
        destination.targetColumn = static_cast<std::int16_t>(*column);
        const auto macros = MacrosOf(form);
        if (!macros) return;
        destination.macros = *macros;
        result = destination;
      },
      ReportFor("frmQueryDestination_UpdateUDT", "Error reading the destination entered."));
  return result;
}

bool frmQueryDestination_Save(frmQueryDestination& form) {
  const std::optional<QueryDestination> destination = frmQueryDestination_UpdateUDT(form);
  if (!destination) return false;
  editors::WarnAboutAddedMacros(form, form.storedTemplate, form.storedMacros, destination->templatePath,
                                destination->macros);
  const bool saved = app::Guarded(
      [&] {
        const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
        // No macros are stored as one empty item, the list writer's empty list.
        const QString macroList =
            Store().fnMakeString(destination->macros.isEmpty() ? QStringList{QString()} : destination->macros);
        Store().UpdateQueryDestination(form.shownQueryId, destination->templatePath, destination->sheetName,
                                       destination->targetRow, destination->targetColumn, macroList);
      },
      ReportFor("frmQueryDestination_cmdOK_OnClick", "Error saving the query destination."));
  if (saved) frmQueryDestination_ShowQuery(form, form.shownQueryId);
  return saved;
}

void frmQueryDestination_lstUserQueries_OnClick(frmQueryDestination& form) {
  editors::ShowChosenQuery(
      form, [&] { return frmQueryDestination_Save(form); },
      [&](std::int32_t queryId) { return frmQueryDestination_ShowQuery(form, queryId); });
}

void frmQueryDestination_cmdBrowse_OnClick(frmQueryDestination& form) {
  platform::FileDialogRequest request;
  request.title = QStringLiteral("Choose the Template");
  request.filter = QStringLiteral("Workbooks (*.xls;*.xlsx;*.ods)|*.xls;*.xlsx;*.ods|All Files (*.*)|*.*");
  request.flags = platform::cdlOFNFileMustExist | platform::cdlOFNHideReadOnly;
  const QString current =
      excel::ResolveTemplatePath(form.txtTemplate->text().trimmed(), gTemplateSearch.database_folder,
                                 gTemplateSearch.mappings);
  request.initialDir = QFileInfo(current).isFile() ? QFileInfo(current).absolutePath() : gTemplateSearch.database_folder;
  const std::optional<QString> chosen = platform::dialogs().ShowOpen(request);
  if (!chosen) return;
  form.txtTemplate->setText(*chosen);
  frmQueryDestination_FieldEdited(form, *form.txtTemplate);
  frmQueryDestination_ShowTemplateSheets(form);
}

void frmQueryDestination_ShowTemplateSheets(frmQueryDestination& form) {
  const QString stored = form.txtTemplate->text().trimmed();
  QStringList sheets;
  QString note;
  if (stored.isEmpty()) {
    sheets = excel::NewWorkbookSheetNames();
    note = QStringLiteral("No template: the records go into a new workbook.");
  } else {
    const QString local =
        excel::ResolveTemplatePath(stored, gTemplateSearch.database_folder, gTemplateSearch.mappings);
    sheets = excel::TemplateSheetNames(local);
    if (!QFileInfo(local).isFile()) note = QStringLiteral("The template is not on this computer; type the sheet name.");
    else if (sheets.isEmpty()) note = QStringLiteral("The template's sheets could not be read; type the sheet name.");
  }
  const QSignalBlocker quiet(form.cboSheetName);
  const QString typed = form.cboSheetName->currentText();
  form.cboSheetName->clear();
  form.cboSheetName->addItems(sheets);
  form.cboSheetName->setEditText(typed);
  form.lblTemplateNote->setText(note);
  form.lblTemplateNote->setVisible(!note.isEmpty());
}

void frmQueryDestination_ShowColumnLetter(frmQueryDestination& form) {
  const auto column = WholeNumberIn(form.txtTargetColumn->text(), 1, kLastTargetColumn);
  form.lblColumnLetter->setText(column ? QStringLiteral("(column ") + ColumnLetters(*column) + QLatin1Char(')')
                                       : QString());
}

void frmQueryDestination_FieldEdited(frmQueryDestination& form, QWidget& field) {
  form.changed = true;
  editors::SetWindowColour(field);
}

void frmQueryDestination_cmdAddMacro_OnClick(frmQueryDestination& form) {
  app::Guarded(
      [&] {
        editors::FlexGrid& grid = *form.msflxExcelMacros;
        bool numbered = true;
        editors::CFlexGrid().AddRow(grid, static_cast<std::int16_t>(grid.Rows()), numbered);
        grid.setCurrentCell(grid.Rows() - 1, 1);
      },
      app::ReportForHandler());
}

void frmQueryDestination_cmdRemoveMacro_OnClick(frmQueryDestination& form) {
  editors::FlexGrid& grid = *form.msflxExcelMacros;
  const int row = grid.Row();
  if (row < 1) return;
  if (!grid.TextMatrix(row, 1).trimmed().isEmpty()) form.changed = true;
  // The grid keeps one row to type into.
  if (grid.Rows() <= 2) {
    grid.SetTextMatrix(row, 1, QString());
  } else {
    editors::CFlexGrid().DeleteRow(grid, static_cast<std::int16_t>(row));
    for (int n = 1; n < grid.Rows(); ++n) grid.SetTextMatrix(n, 0, QString::number(n));
  }
  grid.setCurrentCell(std::min(row, grid.Rows() - 1), 1);
  // The last row emptied stays the current cell, so the keys are taken
  // back from the button here.
  grid.setFocus();
}

void frmQueryDestination_cmdOK_OnClick(frmQueryDestination& form) {
  if (!form.changed || frmQueryDestination_Save(form)) form.accept();
}

}  // namespace basQueryDestination
