// excel::Range: a block of cells of one worksheet, as Excel's Range object.
#pragma once

#include <QString>
#include <QVariant>
#include <functional>
#include <memory>

namespace dao {
class Recordset;
}

namespace excel {

struct SheetState;
struct RecordBlock;

class Range {
 public:
  Range(std::shared_ptr<SheetState> sheet, int top, int left, int bottom, int right);

  int Row() const { return top_; }
  int Column() const { return left_; }
  int RowsCount() const { return bottom_ - top_ + 1; }
  int ColumnsCount() const { return right_ - left_ + 1; }

  // The top-left cell's value: invalid for an empty cell, double or QString.
  QVariant Value() const;
  // Text: the top-left cell as it is shown, formatted ("TRUE", "14/07/2003").
  QString Text() const;
  // Sets every cell of the range. Text is taken as Excel takes typed input: a
  // leading apostrophe keeps the rest as text, numbers and dates are recognised.
  // A QDateTime becomes a date-formatted number, a bool TRUE/FALSE, an invalid
  // QVariant clears the cells.
  void SetValue(const QVariant& value);
  // Font.ColorIndex: Excel's default palette, 1..56.
  int FontColorIndex() const;
  void SetFontColorIndex(int index);
  // Writes the records from the current position to the end, downward and
  // rightward from the range's top-left cell, in one bulk call; the recordset
  // ends at EOF. Returns the number of rows written. With `placed`, a long
  // block goes in parts, and after each part `placed` hears the rows in
  // place so far and answers whether to go on: a person can stop the run
  // between parts.
  long CopyFromRecordset(dao::Recordset& records, const std::function<bool(long placed)>& placed = {});
  // EntireRow.Hidden of the range's first row (a filter hides rows).
  bool RowHidden() const;
  // EntireColumn.AutoFit for the range's columns.
  void AutoFitColumns();
  // AutoFilter(Field, Criteria1): shows the filter buttons on the range's
  // header row and keeps the rows whose `field`-th column (1-based) equals `criteria`.
  void AutoFilter(int field, const QString& criteria);

 private:
  static constexpr long kRowsPerPart = 2048;
  void PlaceRows(const RecordBlock& block, long first, long count, int fields);

  std::shared_ptr<SheetState> sheet_;
  int top_, left_, bottom_, right_;  // 1-based, inclusive
};

}  // namespace excel
