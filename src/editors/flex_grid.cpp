#include "editors/flex_grid.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPalette>
#include <algorithm>

namespace editors {

namespace {

constexpr unsigned kWindowBackground = 0x80000005u;

// The ANSI code a key press stands for, as a KeyPress event reports it;
// 0 for keys that type nothing (arrows, function keys).
int AnsiCode(const QKeyEvent& event) {
  switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      return 13;
    case Qt::Key_Escape:
      return 27;
    case Qt::Key_Backspace:
      return 8;
    default:
      break;
  }
  const QString text = event.text();
  if (text.size() != 1) return 0;
  const char16_t c = text.at(0).unicode();
  return (c >= 32 && c < 256) ? c : 0;
}

}  // namespace

QColor FamilyColour(unsigned colour) {
  if (colour == kWindowBackground) return QApplication::palette().color(QPalette::Base);
  return QColor(colour & 0xFF, (colour >> 8) & 0xFF, (colour >> 16) & 0xFF);
}

FlexGrid::FlexGrid(QWidget* parent) : QTableWidget(2, 2, parent) {
  // Headings and row numbers live in the fixed row and column themselves.
  horizontalHeader()->hide();
  verticalHeader()->hide();
  setEditTriggers(QAbstractItemView::NoEditTriggers);
  setSelectionMode(QAbstractItemView::SingleSelection);
  setTabKeyNavigation(false);
  StyleFixedCells();
  setCurrentCell(1, 1);
}

void FlexGrid::SetRows(int rows) {
  setRowCount(rows);
  StyleFixedCells();
}

void FlexGrid::SetCols(int cols) {
  setColumnCount(cols);
  StyleFixedCells();
}

int FlexGrid::Row() const { return currentRow() < 1 ? std::min(1, Rows() - 1) : currentRow(); }
void FlexGrid::SetRow(int row) { setCurrentCell(row, Col()); }
int FlexGrid::Col() const { return currentColumn() < 1 ? std::min(1, Cols() - 1) : currentColumn(); }
void FlexGrid::SetCol(int col) { setCurrentCell(Row(), col); }

QString FlexGrid::TextMatrix(int row, int col) const {
  const QTableWidgetItem* cell = item(row, col);
  return cell ? cell->text() : QString();
}

void FlexGrid::SetTextMatrix(int row, int col, const QString& text) {
  if (row < 0 || row >= Rows() || col < 0 || col >= Cols()) return;
  QTableWidgetItem* cell = item(row, col);
  if (!cell) {
    cell = new QTableWidgetItem;
    setItem(row, col, cell);
    StyleFixedCells();
  }
  cell->setText(text);
}

void FlexGrid::SetCellBackColor(unsigned colour) {
  QTableWidgetItem* cell = item(Row(), Col());
  if (!cell) {
    SetTextMatrix(Row(), Col(), QString());
    cell = item(Row(), Col());
  }
  if (cell) cell->setBackground(colour == kWindowBackground ? QBrush() : QBrush(FamilyColour(colour)));
}

unsigned FlexGrid::CellBackColor() const {
  const QTableWidgetItem* cell = item(Row(), Col());
  if (!cell || cell->background().style() == Qt::NoBrush) return kWindowBackground;
  const QColor c = cell->background().color();
  return static_cast<unsigned>(c.red()) | static_cast<unsigned>(c.green()) << 8 |
         static_cast<unsigned>(c.blue()) << 16;
}

void FlexGrid::SetBackColorSel(unsigned colour) {
  QPalette palette = this->palette();
  palette.setColor(QPalette::Highlight, FamilyColour(colour));
  palette.setColor(QPalette::HighlightedText, Qt::white);
  setPalette(palette);
}

void FlexGrid::SetFormatString(const QString& headings) {
  formatString_ = headings;
  const QStringList parts = headings.split(QLatin1Char('|'));
  if (parts.size() > Cols()) SetCols(static_cast<int>(parts.size()));
  for (int col = 0; col < parts.size(); ++col) SetTextMatrix(0, col, parts[col]);
  resizeColumnsToContents();
}

void FlexGrid::StyleFixedCells() {
  const QBrush fixed = QApplication::palette().brush(QPalette::Button);
  for (int row = 0; row < Rows(); ++row) {
    for (int col = 0; col < Cols(); ++col) {
      if (row != 0 && col != 0) continue;
      QTableWidgetItem* cell = item(row, col);
      if (!cell) {
        cell = new QTableWidgetItem;
        setItem(row, col, cell);
      }
      // The fixed cells can be read but not chosen.
      cell->setFlags(Qt::ItemIsEnabled);
      cell->setBackground(fixed);
    }
  }
}

void FlexGrid::keyPressEvent(QKeyEvent* event) {
  int key = AnsiCode(*event);
  if (key == 0) {
    QTableWidget::keyPressEvent(event);  // arrows and the like move the current cell
    KeepOffFixedCells();
    return;
  }
  emit KeyPress(key);
  event->accept();
}

void FlexGrid::mousePressEvent(QMouseEvent* event) {
  QTableWidget::mousePressEvent(event);
  KeepOffFixedCells();
}

void FlexGrid::mouseMoveEvent(QMouseEvent* event) {
  QTableWidget::mouseMoveEvent(event);
  KeepOffFixedCells();
}

void FlexGrid::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
  QTableWidget::currentChanged(current, previous);
  // A grid its window hides has no chosen cell to show.
  if (isVisibleTo(window())) setFocus(Qt::OtherFocusReason);
}

void FlexGrid::KeepOffFixedCells() {
  if (Rows() < 2 || Cols() < 2) return;
  if (currentRow() < 1 || currentColumn() < 1) setCurrentCell(std::max(currentRow(), 1), std::max(currentColumn(), 1));
}

}  // namespace editors
