// FlexGrid: the editors' grid: one fixed row of headings and one fixed
// column of row numbers around the data cells, a current cell, and every key
// a person types handed to the owner first (KeyPress) with the chance to
// swallow it. The grid itself never edits a cell: CFlexGrid does, key by key.
#pragma once

#include <QTableWidget>

namespace editors {

class FlexGrid : public QTableWidget {
  Q_OBJECT

 public:
  explicit FlexGrid(QWidget* parent = nullptr);

  // Counts include the fixed row and column.
  int Rows() const { return rowCount(); }
  void SetRows(int rows);
  int Cols() const { return columnCount(); }
  void SetCols(int cols);

  // The current cell; data cells start at 1.
  int Row() const;
  void SetRow(int row);
  int Col() const;
  void SetCol(int col);

  QString Text() const { return TextMatrix(Row(), Col()); }
  void SetText(const QString& text) { SetTextMatrix(Row(), Col(), text); }
  QString TextMatrix(int row, int col) const;
  void SetTextMatrix(int row, int col, const QString& text);
  void RemoveItem(int row) { removeRow(row); }

  // Colours as the family writes them: &HBBGGRR, or a system colour
  // (&H80000005 is the window background).
  void SetCellBackColor(unsigned colour);
  unsigned CellBackColor() const;
  void SetBackColorSel(unsigned colour);
  // Headings separated by "|", one a column from column 0.
  void SetFormatString(const QString& headings);
  QString FormatString() const { return formatString_; }

 signals:
  // An ANSI character key; set `keyAscii` to 0 to swallow it.
  void KeyPress(int& keyAscii);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  // Every change of the current cell passes here, whether code, a key or a
  // click made it: the grid takes the keys, so that what is typed goes
  // into the cell that shows as chosen.
  void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

 private:
  // The fixed cells can be read but not chosen: a current cell among them
  // (a click on a row's number or name or on a heading, an arrow key) moves
  // onto the first data cell of its row or column.
  void KeepOffFixedCells();
  void StyleFixedCells();
  QString formatString_;
};

// &HBBGGRR (or a system colour) as a Qt colour.
QColor FamilyColour(unsigned colour);

}  // namespace editors
