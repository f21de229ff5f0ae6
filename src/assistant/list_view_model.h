// The rows of an Export Assistant list: column captions, then items that
// are either added one by one (a report's queries, a query's settings) or
// read from a table as they scroll into view (the table browser, where a
// table may hold millions of rows). A sort reorders a view of the rows
// without touching them.
#pragma once

#include <QAbstractTableModel>
#include <QCache>
#include <QStringList>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "assistant/column_ranks.h"

namespace dao {
class TableRows;
}

namespace assistant {

struct ListSort {
  int column = 0;
  Qt::SortOrder order = Qt::AscendingOrder;
  SortKind kind = SortKind::kText;
};

class ListViewModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  explicit ListViewModel(QObject* parent = nullptr);
  ~ListViewModel() override;

  void ClearColumnHeaders();
  void AddColumnHeader(const QString& caption);
  QString ColumnCaption(int column) const;

  // Drops the items (and any table behind them); the columns stay.
  void ClearItems();
  // An item: its text, then its sub-items' texts.
  void AddItem(const QStringList& texts);
  // Shows every row of `rows`, read a screenful at a time.
  void ShowTableRows(std::unique_ptr<dao::TableRows> rows);

  int ItemCount() const { return rowCount(); }
  // Rows read from a table as they are shown, rather than items.
  bool ShowsTableRows() const { return table_ != nullptr; }
  // The text at a shown row (sort applied) and column; empty off the end.
  QString ItemText(int row, int column) const;

  // Orders the shown rows by one column. False (and the order as it was)
  // when a cell of a date or number column does not read as one, or when the
  // rows were filled again meanwhile. A long table is read in slices, with
  // `betweenSlices` called after each (to keep the windows painted); the
  // column's keys are kept for its next sort while the rows stay.
  bool Sort(int column, Qt::SortOrder order, SortKind kind, const std::function<void()>& betweenSlices = {});
  // The sort in force since the rows were last filled; none while unsorted.
  const std::optional<ListSort>& CurrentSort() const { return sort_; }

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  int SourceRow(int row) const;
  const QStringList& SourceTexts(int sourceRow) const;
  // The column's ranks for the kind, read now or kept from an earlier sort;
  // null when a cell does not read as the kind or the rows changed meanwhile.
  std::shared_ptr<const std::vector<int>> Ranks(int column, SortKind kind, const std::function<void()>& betweenSlices);
  QVector<QVariant> CellValues(int column, int first, int count) const;
  // Forgets the order and the kept keys: the rows are about to change.
  void ForgetRows();

  QStringList captions_;
  std::vector<QStringList> items_;
  std::unique_ptr<dao::TableRows> table_;
  // Table rows already turned to text, by source row; bounded.
  mutable QCache<int, QStringList> tableTexts_;
  // Shown row -> source row; empty while unsorted.
  std::vector<int> order_;
  std::optional<ListSort> sort_;
  // Kept keys, by column and kind; a null entry when that sort cannot be made.
  std::map<std::pair<int, SortKind>, std::shared_ptr<const std::vector<int>>> ranks_;
  uint64_t listedAt_ = 0;  // the table's listing the kept keys belong to
  // Counts every change of the rows, so a sort notices one made while it
  // let the windows paint.
  uint64_t contents_ = 0;
};

}  // namespace assistant
