#include "editors/bas_query_parameters.h"

#include <QLabel>
#include <QListWidget>

#include "app/error_guard.h"
#include "editors/editor_context.h"
#include "editors/flex_grid.h"
#include "editors/frm_query_parameters.h"
#include "editors/query_grids.h"
#include "platform/dao/dao.h"
#include "reportdb/report_store.h"
#include "reportdb/stored_lists.h"

namespace basQueryParameters {
namespace {

const QString kModule = QStringLiteral("basQueryParameters::");

reportdb::ReportStore& Store() { return *editors::Context().store; }

app::ErrorReport ReportFor(const char* procedure, const char* sentence) {
  return app::ReportForOperation(kModule + QLatin1String(procedure), QLatin1String(sentence));
}

QString TypeName(jet::ColumnType type) { return QString::fromUtf8(jet::ColumnTypeName(type)); }

bool IsTextType(jet::ColumnType type) { return type == jet::ColumnType::kText || type == jet::ColumnType::kMemo; }

// The saved query the user query names, with its parameters.
dao::QueryDef SavedQuery(const QString& name) {
  try {
    return Store().OwnDatabase()->QueryDefs(name);
  } catch (const platform::AppError& error) {
    throw platform::AppError(error.Number(), QStringLiteral("The saved query '") + name +
                                                 QStringLiteral("' is not in the database."));
  }
}

void UpdateContentsParameterGrid(frmQueryParameters& form, dao::ParameterList& parameters,
                                 const std::optional<QStringList>& values) {
  app::Guarded(
      [&] {
        editors::FlexGrid& grid = *form.msflxQueryParameters;
        // Shown before its first cell is chosen, which gives it the keys;
        // hidden, it hands them back to the list rather than to the buttons.
        const bool takesValues = parameters.Count() > 0;
        if (!takesValues && form.focusWidget() == &grid) form.lstUserQueries->setFocus();
        grid.setVisible(takesValues);
        form.lblNotParameterQuery->setVisible(!takesValues);
        form.parameterTypes.clear();
        editors::FormatParameterGrid(grid, parameters.Count());
        for (int i = 0; i < parameters.Count(); ++i) {
          grid.SetTextMatrix(i + 1, 0, parameters.Item(i).Name);
          grid.SetTextMatrix(i + 1, 1, values && i < values->size() ? values->at(i) : QString());
          form.parameterTypes << parameters.Item(i).Type;
        }
        grid.resizeColumnToContents(0);
        frmQueryParameters_ShowParameterType(form);
      },
      ReportFor("UpdateContentsParameterGrid", "Error showing the query's parameters."));
}

// Why the run could not use `value` for the parameter in `row`, or an
// empty text when it could.
QString ProblemWith(const frmQueryParameters& form, int row, const QString& value) {
  const QString name = form.msflxQueryParameters->TextMatrix(row, 0);
  const jet::ColumnType type = form.parameterTypes.at(row - 1);
  const QString subject = QStringLiteral("The value for [") + name + QStringLiteral("]");
  if (value.contains(QLatin1Char('/')))
    return subject + QStringLiteral(" contains '/', which separates the stored values; write it without "
                                    "(a date as 01-May-2021, for example).");
  if (IsTextType(type)) {
    // One empty value is stored as an empty list, which the run counts as none.
    if (value.isEmpty() && form.parameterTypes.size() == 1)
      return subject + QStringLiteral(" is empty; the query's only parameter needs a value.");
    return QString();
  }
  if (value.trimmed().isEmpty()) return subject + QStringLiteral(" is missing.");
  try {
    dao::ToParameterValue(value, type);
    return QString();
  } catch (const platform::AppError&) {
    if (type == jet::ColumnType::kDateTime)
      return subject + QStringLiteral(" is not a date (for example 01-May-2021).");
    if (type == jet::ColumnType::kBoolean) return subject + QStringLiteral(" is not Yes or No.");
    return subject + QStringLiteral(" cannot be read as a ") + TypeName(type) + QLatin1Char('.');
  }
}

}  // namespace

void frmQueryParameters_OnShow(std::int32_t queryId) {
  frmQueryParameters form;
  const bool shown = app::Guarded(
      [&] {
        const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
        Store().ShowUserQueryParameters(*form.lstUserQueries);
        form.HighlightQuery(queryId);
      },
      ReportFor("frmQueryParameters_OnShow", "Error listing the user queries."));
  if (shown && frmQueryParameters_ShowQuery(form, queryId)) form.exec();
}

bool frmQueryParameters_ShowQuery(frmQueryParameters& form, std::int32_t queryId) {
  return app::Guarded(
      [&] {
        const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
        const std::unique_ptr<dao::Recordset> row = Store().InitQueryParameters(queryId);
        if (row->IsEOF()) throw platform::AppError(3021, QStringLiteral("The user query no longer exists."));
        dao::QueryDef query = SavedQuery(form.QueryName(queryId));
        form.ShowAuthor(row->Fields(QStringLiteral("Author")).Value().toString().trimmed());
        UpdateContentsParameterGrid(form, query.Parameters(),
                                    reportdb::ReadQueryParameters(row->Fields(QStringLiteral("DefaultQueryParameters")).Value()));
        form.shownQueryId = queryId;
        form.changed = false;
      },
      ReportFor("frmQueryParameters_OnShow", "Error reading the query parameters."));
}

std::optional<QStringList> frmQueryParameters_UpdateUDT(frmQueryParameters& form) {
  std::optional<QStringList> result;
  app::Guarded(
      [&] {
        editors::FlexGrid& grid = *form.msflxQueryParameters;
        QStringList values;
        for (int row = 1; row <= form.parameterTypes.size(); ++row) {
          const QString value = grid.TextMatrix(row, 1);
          const QString problem = ProblemWith(form, row, value);
          if (!problem.isEmpty()) {
            editors::RefuseCell(form, grid, row, problem);
            return;
          }
          values << value;
        }
        result = values;
      },
      ReportFor("frmQueryParameters_UpdateUDT", "Error reading the values entered."));
  return result;
}

bool frmQueryParameters_Save(frmQueryParameters& form) {
  // A query without parameters has nothing to store.
  if (form.parameterTypes.isEmpty()) return true;
  const std::optional<QStringList> values = frmQueryParameters_UpdateUDT(form);
  if (!values) return false;
  const bool saved = app::Guarded(
      [&] {
        const reportdb::ReportStore::RaiseErrorsInstead raise(Store());
        Store().UpdateQueryParameters(form.shownQueryId, Store().fnMakeString(*values));
      },
      ReportFor("frmQueryParameters_cmdOK_OnClick", "Error saving the query parameters."));
  if (saved) frmQueryParameters_ShowQuery(form, form.shownQueryId);
  return saved;
}

void frmQueryParameters_lstUserQueries_OnClick(frmQueryParameters& form) {
  editors::ShowChosenQuery(
      form, [&] { return frmQueryParameters_Save(form); },
      [&](std::int32_t queryId) { return frmQueryParameters_ShowQuery(form, queryId); });
}

void frmQueryParameters_ShowParameterType(frmQueryParameters& form) {
  const int row = form.msflxQueryParameters->currentRow();
  const bool onParameter = row >= 1 && row <= form.parameterTypes.size();
  form.lblParameterType->setText(
      onParameter ? QStringLiteral("[") + form.msflxQueryParameters->TextMatrix(row, 0) +
                        QStringLiteral("] takes a value of type ") + TypeName(form.parameterTypes.at(row - 1)) +
                        QLatin1Char('.')
                  : QString());
}

void frmQueryParameters_cmdOK_OnClick(frmQueryParameters& form) {
  if (!form.changed || frmQueryParameters_Save(form)) form.accept();
}

}  // namespace basQueryParameters
