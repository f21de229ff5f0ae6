// basOutputReport: what the report editor does. A report is created, its
// description changed or the report deleted only through the report store;
// after each change the Export Assistant's report tree is shown afresh.
#pragma once

#include <QDate>
#include <QString>
#include <cstdint>

class frmOutputReport;

namespace basOutputReport {

// The editor's marker for a report not stored yet: opens in new-report mode.
constexpr std::int32_t kNewReport = -9999;

// Fills the editor with `outputId`'s report (or a new one) and shows it
// modally; returns when the dialog is closed.
void frmOutputReport_OnShow(std::int32_t outputId);

// Asks "Delete?" and deletes the report on Yes; true when it was deleted.
// The Export Assistant calls this directly, without the dialog.
bool frmOutputReport_OnDelete(const QString& reportName, std::int32_t outputId);

// Adds the typed report (new-report mode) or saves the shown report's
// description and closes.
void frmOutputReport_cmdOK_OnClick(frmOutputReport& form, bool newReport);

// Shows the report chosen in the combo box: labels, description, queries.
void frmOutputReport_cboScenName_OnClick(frmOutputReport& form);
// The empty name and description of a report to be created.
void frmOutputReport_cmdNew_OnClick(frmOutputReport& form);
void frmOutputReport_cmdDelete_OnClick(frmOutputReport& form);
void frmOutputReport_cmdAddQueries_OnClick(frmOutputReport& form);
void frmOutputReport_cmdDestination_OnClick(frmOutputReport& form);
void frmOutputReport_cmdParameters_OnClick(frmOutputReport& form);
// The button's own handler: the OK above, with the editor's last resort
// message for anything else that goes wrong.
void frmOutputReport_cmdOK_Click(frmOutputReport& form);
void frmOutputReport_txtNewReportName_OnKeyPress(frmOutputReport& form);
void frmOutputReport_txtDescription_OnKeyPress(frmOutputReport& form);

// Shows the open editor's report again (after its queries were changed);
// nothing when no editor is open.
void frmOutputReport_RefreshShownReport();

// The editor now open, or nullptr.
frmOutputReport* OpenReportEditor();

// Today as the editor shows a creation date: "dd-mmm-yyyy", month in English.
QString CreationDateText(const QDate& date);

}  // namespace basOutputReport
