// The rows of an Export Assistant list: column captions, then items that
// are either added one by one (a report's queries, a query's settings) or
// read from a table as they scroll into view (the table browser, where a
// table may hold millions of rows). A sort reorders a view of the rows
// without touching them.
#pragma once

#include <QAbstractTableModel>
#include <QCache>
#include <QStringList>
#include <memory>
#include <optional>
#include <vector>

namespace dao {
class TableRows;
}

namespace assistant {

// How a column's texts are compared.
enum class SortKind { kText, kDate, kNumber, kTimeBlock };

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
  // when a cell of a date or number column does not read as one.
  bool Sort(int column, Qt::SortOrder order, SortKind kind);
  // The sort in force since the rows were last filled; none while unsorted.
  const std::optional<ListSort>& CurrentSort() const { return sort_; }

  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

 private:
  int SourceRow(int row) const;
  const QStringList& SourceTexts(int sourceRow) const;
  QStringList ColumnTexts(int column) const;
  void ResetOrder();

  QStringList captions_;
  std::vector<QStringList> items_;
  std::unique_ptr<dao::TableRows> table_;
  // Table rows already turned to text, by source row; bounded.
  mutable QCache<int, QStringList> tableTexts_;
  // Shown row -> source row; empty while unsorted.
  std::vector<int> order_;
  std::optional<ListSort> sort_;
};

}  // namespace assistant
