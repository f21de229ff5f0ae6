// What a saved sheet shows beyond its cells, from its BIFF records: formula
// results, column widths, hidden rows, page setup, and the workbook's defined names.
#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

#include "biff_records.h"

namespace biff {

struct PageSetup {
  bool landscape = false;
  bool fit_to_pages = false;  // scaled to fit_wide by fit_tall pages, not by a zoom
  int fit_wide = 0;
  int fit_tall = 0;
  QString header;  // with Excel's codes: "&CTitle"
  QString footer;

  bool operator==(const PageSetup&) const = default;
};

// The value a formula cell (1-based) was saved with, when it is a number.
std::optional<double> FormulaResult(const Substream& sheet, int row, int column);
// 1/256 of a character's width; 0 when no COLINFO record gives it.
int ColumnWidth(const Substream& sheet, int column);
// 1-based rows the ROW records mark hidden.
QList<int> HiddenRows(const Substream& sheet);
PageSetup PageSetupOf(const Substream& sheet);
// Each name as "Name" when the workbook's, "Sheet!Name" when a sheet's own;
// built-in names as Excel spells them (Print_Area, _FilterDatabase).
QStringList DefinedNames(const Workbook& book);

}  // namespace biff
