#include "editors/bas_output_report.h"

#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalBlocker>

#include "app/error_guard.h"
#include "app/mglobals.h"
#include "editors/bas_edit_report_queries.h"
#include "editors/editor_context.h"
#include "editors/field_colours.h"
#include "editors/frm_output_report.h"
#include "editors/query_editors.h"
#include "platform/dao/dao.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/login_name.h"
#include "reportdb/report_store.h"
#include "reportdb/sql_text.h"

namespace basOutputReport {
namespace {

using reportdb::Key;

const QString kCrLf = QStringLiteral("\r\n");
const QString kPropertiesNotRead =
    QStringLiteral("Required User Report properties could not be found or read from the database.");

frmOutputReport* gOpenEditor = nullptr;

reportdb::ReportStore& Store() { return *editors::Context().store; }

QString CurrentUserName() { return platform::LoginName().trimmed(); }

// The report editor's last resort: the family's standard message, with the
// exclamation icon, under the application title.
app::ErrorReport ReportUnexpectedOkError() {
  static const CError fallback(QStringLiteral("Tabulon"));
  const CError& reporter = gError ? *gError : fallback;
  return app::ReportWithErrorDisplay(reporter, QStringLiteral("Unexpected error in frmOutputReport::cmdOK::Click"),
                                     platform::vbExclamation);
}

void RefreshTreeAfterSave() {
  if (editors::Context().refreshAfterSave) editors::Context().refreshAfterSave();
}

void RefreshTreeAfterDelete() {
  if (editors::Context().refreshAfterDelete) editors::Context().refreshAfterDelete();
}

Key SelectedReportKey(const frmOutputReport& form) {
  const int index = form.cboScenName->currentIndex();
  if (index < 0) throw platform::AppError(381, QStringLiteral("No report is selected."));
  return form.cboScenName->itemData(index).toInt();
}

// The buttons that act on the shown report (cmdNew and cmdOK aside).
void EnableReportButtons(frmOutputReport& form, bool enabled) {
  for (QPushButton* button : {form.cmdAddQueries, form.cmdDestination, form.cmdParameters, form.cmdDelete}) {
    button->setEnabled(enabled);
  }
}

void ShowReportProperties(frmOutputReport& form, Key outputId) {
  form.lblOutputID->setText(QString::number(outputId));
  const std::unique_ptr<dao::Recordset> report = Store().ShowOutputReport(outputId);
  if (!report || report->IsEOF()) return;
  form.lblAuthor->setText(report->Fields(QStringLiteral("Author")).Value().toString());
  const QVariant created = report->Fields(QStringLiteral("DateCreated")).Value();
  form.lblCreateDate->setText(created.isNull() ? QString() : CreationDateText(created.toDate()));
  form.SetDescriptionText(report->Fields(QStringLiteral("Description")).Value().toString());
}

// The report list with `outputId` chosen, and that report shown.
void ShowReport(frmOutputReport& form, Key outputId) {
  {
    const QSignalBlocker quiet(form.cboScenName);
    Store().InitReportList(*form.cboScenName, QVariant(outputId));
  }
  frmOutputReport_cboScenName_OnClick(form);
}

void LeaveNewReportMode(frmOutputReport& form) {
  form.txtNewReportName->hide();
  form.cboScenName->show();
  form.lstReportQueries->clear();
  editors::SetWindowColour(*form.lstReportQueries);
  EnableReportButtons(form, true);
  form.cmdNew->setEnabled(true);
}

// The store could not add the report (it said why): the typed name and
// description stay, ready for another try.
void BackToTypedNewReport(frmOutputReport& form) {
  form.cboScenName->hide();
  form.txtNewReportName->show();
  EnableReportButtons(form, false);
  form.cmdNew->setEnabled(false);
  form.cmdOK->setEnabled(true);
}

void AddTypedReport(frmOutputReport& form) {
  const QString name = reportdb::TrimBlanks(form.txtNewReportName->text());
  const QString description = reportdb::TrimBlanks(form.DescriptionText());
  LeaveNewReportMode(form);
  const Key outputId = Store().AddNewReport(name, QDate::currentDate(), CurrentUserName(), description);
  if (outputId == reportdb::kReportNameTaken) {
    frmOutputReport_cmdNew_OnClick(form);
  } else if (outputId == 0) {
    BackToTypedNewReport(form);
  } else {
    ShowReport(form, outputId);
  }
}

// False when the store could not save it (and said why).
bool SaveDescription(frmOutputReport& form) {
  return Store().UpdateReportDescription(SelectedReportKey(form), reportdb::TrimBlanks(form.DescriptionText()));
}

// The query highlighted in the report's list, or nothing.
std::optional<Key> HighlightedQuery(const frmOutputReport& form) {
  const QListWidgetItem* item = form.lstReportQueries->currentItem();
  if (!item) return std::nullopt;
  return item->data(Qt::UserRole).toInt();
}

// While an editor is open the module knows it, so the query selection can
// show its report afresh.
class OpenEditorScope {
 public:
  explicit OpenEditorScope(frmOutputReport& form) : previous_(gOpenEditor) { gOpenEditor = &form; }
  ~OpenEditorScope() { gOpenEditor = previous_; }
  OpenEditorScope(const OpenEditorScope&) = delete;
  OpenEditorScope& operator=(const OpenEditorScope&) = delete;

 private:
  frmOutputReport* previous_;
};

}  // namespace

QString CreationDateText(const QDate& date) { return QLocale::c().toString(date, QStringLiteral("dd-MMM-yyyy")); }

frmOutputReport* OpenReportEditor() { return gOpenEditor; }

void frmOutputReport_OnShow(std::int32_t outputId) {
  frmOutputReport form;
  const OpenEditorScope open(form);
  const bool filled = app::Guarded(
      [&] {
        if (outputId == kNewReport) {
          frmOutputReport_cmdNew_OnClick(form);
        } else {
          ShowReport(form, outputId);
        }
      },
      app::ReportForOperation(QStringLiteral("basOutputReport::frmOutputReport_OnShow"), kPropertiesNotRead));
  if (filled) form.exec();
}

void frmOutputReport_cboScenName_OnClick(frmOutputReport& form) {
  app::Guarded(
      [&] {
        const int index = form.cboScenName->currentIndex();
        EnableReportButtons(form, index >= 0);
        form.cmdOK->setEnabled(index >= 0);
        if (index < 0) return;
        const Key outputId = form.cboScenName->itemData(index).toInt();
        ShowReportProperties(form, outputId);
        Store().ShowReportQueriesByKey(*form.lstReportQueries, {}, 0, outputId);
      },
      app::ReportForOperation(QStringLiteral("frmOutputReport::cboScenName::Click"), kPropertiesNotRead));
}

void frmOutputReport_cmdNew_OnClick(frmOutputReport& form) {
  form.txtNewReportName->show();
  form.cboScenName->hide();
  form.txtNewReportName->setText(QStringLiteral("Enter report name here..."));
  form.SetDescriptionText(QStringLiteral("Enter meaningful description here...") + kCrLf + kCrLf +
                          QStringLiteral("*After you have saved the new report, you can add queries and specify "
                                         "their settings using the query buttons."));
  editors::SetFieldColour(*form.txtNewReportName, editors::kMustFillIn);
  editors::SetFieldColour(*form.txtDescription, editors::kMustFillIn);
  form.lstReportQueries->clear();
  editors::SetFieldColour(*form.lstReportQueries, editors::kNotYetUsable);
  EnableReportButtons(form, false);
  form.cmdNew->setEnabled(false);
  form.cmdOK->setEnabled(false);
  form.lblOutputID->clear();
  form.lblAuthor->setText(CurrentUserName());
  form.lblCreateDate->setText(CreationDateText(QDate::currentDate()));
  form.txtNewReportName->setFocus();
  form.txtNewReportName->selectAll();
}

void frmOutputReport_txtNewReportName_OnKeyPress(frmOutputReport& form) {
  editors::SetWindowColour(*form.txtNewReportName);
  form.cmdOK->setEnabled(true);
}

void frmOutputReport_txtDescription_OnKeyPress(frmOutputReport& form) { editors::SetWindowColour(*form.txtDescription); }

void frmOutputReport_cmdOK_OnClick(frmOutputReport& form, bool newReport) {
  app::Guarded(
      [&] {
        if (newReport) {
          AddTypedReport(form);
        } else {
          if (!SaveDescription(form)) return;
          form.accept();
        }
        RefreshTreeAfterSave();
      },
      app::ReportForOperation(QStringLiteral("basOutputReport::frmOutputReport_cmdOK_OnClick"),
                              QStringLiteral("Unable to update description field for the selected user report.")));
}

void frmOutputReport_cmdOK_Click(frmOutputReport& form) {
  app::Guarded([&] { frmOutputReport_cmdOK_OnClick(form, !form.cmdNew->isEnabled()); }, ReportUnexpectedOkError());
}

bool frmOutputReport_OnDelete(const QString& reportName, std::int32_t outputId) {
  bool deleted = false;
  app::Guarded(
      [&] {
        const int answer = platform::dialogs().MsgBox(
            QStringLiteral("This action is irreversible.") + kCrLf + kCrLf +
                QStringLiteral("Permanently delete the '") + reportName + QStringLiteral("' report?"),
            platform::vbYesNo | platform::vbQuestion | platform::vbDefaultButton2, QStringLiteral("Delete?"));
        if (answer != platform::vbYes) return;
        deleted = Store().DeleteReport(outputId);
      },
      app::ReportForOperation(QStringLiteral("basOutputReport::frmOutputReport_OnDelete"),
                              QStringLiteral("Required User Report not deleted from the database.")));
  return deleted;
}

void frmOutputReport_cmdDelete_OnClick(frmOutputReport& form) {
  const int index = form.cboScenName->currentIndex();
  if (index < 0) return;
  if (!frmOutputReport_OnDelete(form.cboScenName->currentText(), form.cboScenName->itemData(index).toInt())) return;
  {
    // The report is gone: nothing is chosen until the user picks another.
    const QSignalBlocker quiet(form.cboScenName);
    form.cboScenName->removeItem(index);
    form.cboScenName->setCurrentIndex(-1);
  }
  form.txtDescription->clear();
  form.lblOutputID->clear();
  form.lblAuthor->clear();
  form.lblCreateDate->clear();
  form.lstReportQueries->clear();
  EnableReportButtons(form, false);
  form.cmdOK->setEnabled(false);
  RefreshTreeAfterDelete();
}

void frmOutputReport_cmdAddQueries_OnClick(frmOutputReport& form) {
  const int index = form.cboScenName->currentIndex();
  if (index < 0) return;
  basEditReportQueries::frmEditReportQueries_OnShow(form.cboScenName->itemData(index).toInt());
}

void frmOutputReport_cmdDestination_OnClick(frmOutputReport& form) {
  if (const auto queryId = HighlightedQuery(form)) editors::ShowQueryDestinationEditor(*queryId);
}

void frmOutputReport_cmdParameters_OnClick(frmOutputReport& form) {
  if (const auto queryId = HighlightedQuery(form)) editors::ShowQueryParametersEditor(*queryId);
}

void frmOutputReport_RefreshShownReport() {
  if (gOpenEditor && !gOpenEditor->cboScenName->isHidden()) frmOutputReport_cboScenName_OnClick(*gOpenEditor);
}

}  // namespace basOutputReport
