#include "editors/query_grids.h"

#include <QHeaderView>
#include <QStringList>

#include "editors/cflex_grid.h"
#include "editors/flex_grid.h"

namespace editors {
namespace {

// Rows, columns, headings and style; `labels` from index 1, as HeaderString
// takes them, and the leading column left for row numbers or names.
void FormatGrid(FlexGrid& grid, int dataRows, QStringList labels, const QString& fixedHeading) {
  CFlexGrid flex;
  // Emptied first: the grid shows one query after another.
  grid.SetRows(1);
  grid.SetRows(dataRows + 1);
  grid.SetCols(static_cast<int>(labels.size()));
  std::int16_t count = static_cast<std::int16_t>(labels.size() - 1);
  std::int16_t leadingColumn = 1;
  grid.SetFormatString(flex.HeaderString(count, labels, leadingColumn).toString());
  grid.SetTextMatrix(0, 0, fixedHeading);
  flex.BasicStyle(grid);
  // The value column takes the free width, so long names and values show whole.
  grid.horizontalHeader()->setStretchLastSection(true);
  grid.setCurrentCell(dataRows > 0 ? 1 : 0, 1);
}

}  // namespace

void FormatMacroGrid(FlexGrid& grid, int macroRows) {
  FormatGrid(grid, macroRows, {QString(), QStringLiteral("Macro")}, QString());
  for (int row = 1; row < grid.Rows(); ++row) grid.SetTextMatrix(row, 0, QString::number(row));
  grid.setColumnWidth(0, grid.fontMetrics().horizontalAdvance(QStringLiteral("00000")));
}

void FormatParameterGrid(FlexGrid& grid, int parameterRows) {
  FormatGrid(grid, parameterRows, {QString(), QStringLiteral("Value")}, QStringLiteral("Parameter"));
  grid.resizeColumnToContents(0);
}

}  // namespace editors
