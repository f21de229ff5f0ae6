// basEditReportQueries: the query choice of every report, kept in memory
// while the dialog is open and written for all reports in one transaction
// by OK. A report without queries, or with every query chosen, keeps one
// empty slot (the key 0) in the array that has nothing to hold.
#pragma once

#include <QVector>
#include <cstdint>

class frmEditReportQueries;

namespace basEditReportQueries {

using Key = std::int32_t;

// One per entry of the report combo, in the combo's order.
struct ReportQuerySelection {
  Key outputId = 0;
  // Written by OK in this order.
  QVector<Key> selectedQueries;
  QVector<Key> availableQueries;
};

// The dialog on `outputId`'s report, modal; returns when it is closed (after
// "List...", once the user query list editor has closed too).
void frmEditReportQueries_OnShow(Key outputId);

// Shows the combo's report and its two lists from its record.
void frmEditReportQueries_cboScenName_OnClick(frmEditReportQueries& form);
// Moves `queryId` into (or out of) record `comboIndex`'s chosen queries.
void frmEditReportQueries_cmdSelect_OnClick(frmEditReportQueries& form, int comboIndex, Key queryId);
void frmEditReportQueries_cmdUnselect_OnClick(frmEditReportQueries& form, int comboIndex, Key queryId);
// The same for the highlighted entry of the matching list (buttons and
// double-clicks); nothing when none is highlighted.
void frmEditReportQueries_SelectHighlighted(frmEditReportQueries& form);
void frmEditReportQueries_UnselectHighlighted(frmEditReportQueries& form);
// Writes every report's links in one transaction and closes.
void frmEditReportQueries_cmdOK_OnClick(frmEditReportQueries& form);
// Drops the choices, closes, and then opens the user query list editor.
void frmEditReportQueries_cmdAdd_OnClick(frmEditReportQueries& form);

// The open dialog's records (empty when none is open).
const QVector<ReportQuerySelection>& Selections();

// The keys that are real queries: an empty slot is no query.
QVector<Key> QueriesIn(const QVector<Key>& keys);

}  // namespace basEditReportQueries
