// ListView: the Export Assistant's report-style list: column headers, items
// with sub-items, a click on a header, and the control's own text sort
// (SortKey, SortOrder, Sorted) beside the column sorts of
// MListViewExtensions. Rows come from a ListViewModel, so a table of any
// length is listed without an item per row.
#pragma once

#include <QTreeView>
#include <optional>

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
  // Orders the rows by one column under the hourglass, the windows painted
  // while a long table is read (ListViewModel::Sort).
  bool SortRows(int column, Qt::SortOrder order, SortKind kind);

  // Where the user is in the list: the sort, the current row and the row at
  // the top. A row of items is known by its first column's text; a table's
  // row, of which there may be millions, by its position.
  struct Place {
    std::optional<ListSort> sort;
    QString sortCaption;
    int current = -1;
    QString currentText;
    int top = -1;
    QString topText;
  };
  Place CurrentPlace() const;
  // After the list was filled again: the same sort where the same column is
  // there, and the same rows current and on top where they still are. The
  // current row is chosen without telling anyone, as no one clicked it.
  void ReturnTo(const Place& place);

 signals:
  // A click on a column header: its 1-based index, as the family counts them.
  void ColumnClick(int index);
  void ItemClick(int row);
  void ItemDblClick(int row);

 private:
  int RowAgain(int row, const QString& text) const;

  ListViewModel model_;
  int sortKey_ = 0;
  Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
  bool sorted_ = false;
  bool quiet_ = false;
};

}  // namespace assistant
