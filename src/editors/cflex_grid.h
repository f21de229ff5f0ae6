// CFlexGrid: in-cell editing and the common look for the editors' grids.
// A FlexGrid edits nothing by itself; each key a person types reaches
// FreeInCellEdit, which appends it to the current cell (there is no caret),
// takes the last character off for Backspace, puts the cell back for Esc
// and walks on for Enter. Made fresh for each use: it keeps no grid.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <cstdint>

namespace dao {
class Database;
}

namespace editors {

class FlexGrid;

class CFlexGrid {
 public:
  // Grows the grid to `rowCount` + 1 rows; with `numberRow` the new last row
  // shows its number in the fixed column. Overflow (error 6) at 32767.
  void AddRow(FlexGrid& grid, std::int16_t rowCount, bool& numberRow);
  // Removes a row while the grid has two or more; the rows below keep
  // their numbers.
  void DeleteRow(FlexGrid& grid, std::int16_t row);
  // One key press on the current cell (`keyCode` the ANSI code; set to 0
  // when the key is swallowed). `restore` is what Esc puts back. Row and
  // column are taken from the grid's current cell.
  void FreeInCellEdit(FlexGrid& grid, const QVariant& restore, std::int32_t row, std::int32_t col,
                      std::int16_t& keyCode, bool numericOnly);
  bool RowValuesChanged() const { return false; }

  std::int16_t NumberRows() const { return numberRows_; }
  void SetNumberRows(std::int16_t rows) { numberRows_ = rows; }
  std::int16_t NumberColumns() const { return numberColumns_; }
  void SetNumberColumns(std::int16_t columns) { numberColumns_ = columns; }

  // Headings for the grid's format string: labels 1 to `labelCount` of
  // `labels` (index 0 unused) joined by " | ", after "| " when
  // `leadingEmptyColumn` is non-zero. Error 9 for a label past the array.
  QVariant HeaderString(std::int16_t& labelCount, QStringList& labels, std::int16_t& leadingEmptyColumn);
  void BasicStyle(FlexGrid& grid);
  // The rows of `sql` on `database` into the grid, from column 0 when they
  // have more fields than the grid has data columns, else from column 1.
  void PopulateGridSQL(FlexGrid& grid, dao::Database& database, const QString& sql, bool numberRows);

 private:
  static void CommitAndMove(FlexGrid& grid);
  std::int16_t numberRows_ = 0;
  std::int16_t numberColumns_ = 0;
};

}  // namespace editors
