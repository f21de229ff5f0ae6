// ListView: the Export Assistant's report-style list: column headers, items
// with sub-items, a click on a header, and the control's own text sort
// (SortKey, SortOrder, Sorted) beside the column sorts of
// MListViewExtensions. Rows come from a ListViewModel, so a table of any
// length is listed without an item per row.
#pragma once

#include <QTreeView>

#include "assistant/list_view_model.h"

namespace assistant {

class ListView : public QTreeView {
  Q_OBJECT

 public:
  explicit ListView(QWidget* parent = nullptr);

  ListViewModel& Model() { return model_; }
  const ListViewModel& Model() const { return model_; }

  // The control's report view is the only one this program uses; asking
  // for it again is harmless.
  void SetReportView();

  // The control's own sort: by the column SortKey (0-based), in SortOrder,
  // comparing texts; done whenever Sorted is set true.
  int SortKey() const { return sortKey_; }
  void SetSortKey(int column) { sortKey_ = column; }
  Qt::SortOrder SortOrder() const { return sortOrder_; }
  void SetSortOrder(Qt::SortOrder order) { sortOrder_ = order; }
  bool Sorted() const { return sorted_; }
  void SetSorted(bool sorted);

 signals:
  // A click on a column header: its 1-based index, as the family counts them.
  void ColumnClick(int index);
  void ItemClick(int row);
  void ItemDblClick(int row);

 private:
  ListViewModel model_;
  int sortKey_ = 0;
  Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
  bool sorted_ = false;
};

}  // namespace assistant
