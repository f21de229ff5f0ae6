#include "assistant/list_view.h"

#include <QHeaderView>
#include <algorithm>

#include "platform/ui/mouse_pointer.h"

namespace assistant {

ListView::ListView(QWidget* parent) : QTreeView(parent) {
  setModel(&model_);
  setRootIsDecorated(false);
  setItemsExpandable(false);
  // Every row is one line high: the view then asks only for the rows it shows.
  setUniformRowHeights(true);
  setAllColumnsShowFocus(true);
  setAlternatingRowColors(true);
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setSelectionBehavior(QAbstractItemView::SelectRows);
  setSelectionMode(QAbstractItemView::SingleSelection);
  header()->setSectionsClickable(true);
  header()->setSortIndicatorShown(false);
  header()->setStretchLastSection(false);
  header()->setDefaultSectionSize(110);
  connect(header(), &QHeaderView::sectionClicked, this, [this](int section) { emit ColumnClick(section + 1); });
  connect(this, &QAbstractItemView::clicked, this, [this](const QModelIndex& index) { emit ItemClick(index.row()); });
  connect(this, &QAbstractItemView::doubleClicked, this,
          [this](const QModelIndex& index) { emit ItemDblClick(index.row()); });
  // The keyboard moves the current row as a click would choose it.
  connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this, [this](const QModelIndex& current) {
    if (current.isValid() && hasFocus() && !quiet_) emit ItemClick(current.row());
  });
}

void ListView::SetReportView() { setHeaderHidden(false); }

void ListView::SetSorted(bool sorted) {
  sorted_ = sorted;
  if (sorted_) SortRows(sortKey_, sortOrder_, SortKind::kText);
}

bool ListView::SortRows(int column, Qt::SortOrder order, SortKind kind) {
  platform::WaitCursor wait;
  return model_.Sort(column, order, kind, &platform::LetWindowsPaint);
}

ListView::Place ListView::CurrentPlace() const {
  Place place;
  place.sort = model_.CurrentSort();
  if (place.sort) place.sortCaption = model_.ColumnCaption(place.sort->column);
  place.current = currentIndex().row();
  place.currentText = model_.ItemText(place.current, 0);
  place.top = indexAt(QPoint(0, 0)).row();
  place.topText = model_.ItemText(place.top, 0);
  return place;
}

int ListView::RowAgain(int row, const QString& text) const {
  if (row < 0) return -1;
  if (model_.ShowsTableRows()) return std::min(row, model_.ItemCount() - 1);
  for (int candidate = 0; candidate < model_.ItemCount(); ++candidate) {
    if (model_.ItemText(candidate, 0) == text) return candidate;
  }
  return -1;
}

void ListView::ReturnTo(const Place& place) {
  if (place.sort && model_.ColumnCaption(place.sort->column) == place.sortCaption) {
    SortRows(place.sort->column, place.sort->order, place.sort->kind);
  }
  const int current = RowAgain(place.current, place.currentText);
  if (current >= 0) {
    quiet_ = true;
    setCurrentIndex(model_.index(current, 0));
    quiet_ = false;
  }
  const int top = RowAgain(place.top, place.topText);
  if (top >= 0) scrollTo(model_.index(top, 0), QAbstractItemView::PositionAtTop);
}

}  // namespace assistant
