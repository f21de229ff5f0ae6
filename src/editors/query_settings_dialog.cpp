#include "editors/query_settings_dialog.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "editors/cflex_grid.h"
#include "editors/field_colours.h"
#include "editors/flex_grid.h"
#include "platform/ui/dialogs.h"

namespace editors {

QuerySettingsDialog::QuerySettingsDialog(const QString& title, QWidget* parent) : QDialog(parent) {
  setWindowTitle(title);
  setModal(true);
  lstUserQueries = new QListWidget(this);
  lblAuthor = new QLabel(this);
  cmdOK = new QPushButton(QStringLiteral("OK"), this);
  cmdCancel = new QPushButton(QStringLiteral("&Cancel"), this);
  cmdOK->setDefault(true);
  // Enter belongs to the grid, where it walks to the next cell.
  cmdOK->setAutoDefault(false);
  cmdCancel->setAutoDefault(false);
  connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
  lstUserQueries->installEventFilter(this);
  lstUserQueries->viewport()->installEventFilter(this);  // where the clicks land
}

bool QuerySettingsDialog::BrowsingListByKeys() const { return lstUserQueries->hasFocus() && listByKeys_; }

bool QuerySettingsDialog::eventFilter(QObject* watched, QEvent* event) {
  if (watched == lstUserQueries && event->type() == QEvent::KeyPress) listByKeys_ = true;
  if (watched == lstUserQueries->viewport() && event->type() == QEvent::MouseButtonPress) listByKeys_ = false;
  return QDialog::eventFilter(watched, event);
}

void QuerySettingsDialog::SetFields(QLayout* fields, QWidget* first, QWidget* last) {
  auto* queries = new QLabel(QStringLiteral("&Queries:"), this);
  queries->setBuddy(lstUserQueries);
  auto* list = new QVBoxLayout;
  list->addWidget(queries);
  list->addWidget(lstUserQueries);
  lstUserQueries->setMinimumWidth(200);

  auto* right = new QVBoxLayout;
  right->addWidget(lblAuthor);
  right->addLayout(fields, 1);

  auto* panes = new QHBoxLayout;
  panes->addLayout(list);
  panes->addLayout(right, 1);

  auto* buttons = new QHBoxLayout;
  buttons->addStretch();
  buttons->addWidget(cmdOK);
  buttons->addWidget(cmdCancel);

  auto* whole = new QVBoxLayout(this);
  whole->addLayout(panes, 1);
  whole->addLayout(buttons);

  setTabOrder(lstUserQueries, first);
  setTabOrder(last, cmdOK);
  setTabOrder(cmdOK, cmdCancel);
}

bool QuerySettingsDialog::HighlightQuery(std::int32_t queryId) {
  const QSignalBlocker quiet(lstUserQueries);
  for (int i = 0; i < lstUserQueries->count(); ++i) {
    if (lstUserQueries->item(i)->data(Qt::UserRole).toInt() == queryId) {
      lstUserQueries->setCurrentRow(i);
      return true;
    }
  }
  return false;
}

QString QuerySettingsDialog::QueryName(std::int32_t queryId) const {
  for (int i = 0; i < lstUserQueries->count(); ++i) {
    if (lstUserQueries->item(i)->data(Qt::UserRole).toInt() == queryId) return lstUserQueries->item(i)->text();
  }
  return QString();
}

void QuerySettingsDialog::EditByKeys(FlexGrid& grid) {
  connect(&grid, &QTableWidget::currentCellChanged, this,
          [this, &grid](int row, int col) { restoreText_ = grid.TextMatrix(row, col); });
  connect(&grid, &FlexGrid::KeyPress, this, [this, &grid](int& key) {
    const QString before = grid.Text();
    std::int16_t code = static_cast<std::int16_t>(key);
    CFlexGrid().FreeInCellEdit(grid, restoreText_, grid.Row(), grid.Col(), code, false);
    key = code;
    if (grid.Text() != before) changed = true;
  });
}

void QuerySettingsDialog::ShowAuthor(const QString& author) {
  lblAuthor->setText(QStringLiteral("Author: ") + (author.isEmpty() ? QStringLiteral("(not recorded)") : author));
}

namespace {

bool MayLeaveShownQuery(QuerySettingsDialog& form, const std::function<bool()>& save) {
  if (!form.changed) return true;
  const int answer = platform::dialogs().MsgBox(
      QStringLiteral("Save the changes to '") + form.ShownQueryName() + QStringLiteral("'?"),
      platform::vbYesNoCancel | platform::vbQuestion, form.windowTitle());
  if (answer == platform::vbYes) return save();
  return answer == platform::vbNo;
}

}  // namespace

void ShowChosenQuery(QuerySettingsDialog& form, const std::function<bool()>& save,
                     const std::function<bool(std::int32_t queryId)>& show) {
  const QListWidgetItem* chosen = form.lstUserQueries->currentItem();
  if (!chosen) return;
  const std::int32_t queryId = chosen->data(Qt::UserRole).toInt();
  if (queryId == form.shownQueryId) return;
  // A grid takes the keys when its first cell is chosen; someone going
  // through the list with the arrow keys keeps them in the list.
  const bool browsing = form.BrowsingListByKeys();
  if (!MayLeaveShownQuery(form, save) || !show(queryId)) {
    form.HighlightQuery(form.shownQueryId);
    return;
  }
  if (browsing) form.lstUserQueries->setFocus();
}

void RefuseValue(QuerySettingsDialog& form, QWidget& field, const QString& problem) {
  platform::dialogs().MsgBox(problem, platform::vbExclamation, form.windowTitle());
  field.setFocus();
}

void RefuseCell(QuerySettingsDialog& form, FlexGrid& grid, int row, const QString& problem) {
  grid.setCurrentCell(row, 1);
  grid.SetCellBackColor(kRefusedCell);
  grid.clearSelection();
  RefuseValue(form, grid, problem);
}

}  // namespace editors
