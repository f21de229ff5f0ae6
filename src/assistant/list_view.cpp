#include "assistant/list_view.h"

#include <QHeaderView>

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
    if (current.isValid() && hasFocus()) emit ItemClick(current.row());
  });
}

void ListView::SetReportView() { setHeaderHidden(false); }

void ListView::SetSorted(bool sorted) {
  sorted_ = sorted;
  if (sorted_) model_.Sort(sortKey_, sortOrder_, SortKind::kText);
}

}  // namespace assistant
