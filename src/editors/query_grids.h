// The look of the two query editors' grids: sized for their rows, headed,
// and styled through CFlexGrid like every grid of the editors.
#pragma once

namespace editors {

class FlexGrid;

// The macro grid: `macroRows` numbered rows of one "Macro" column.
void FormatMacroGrid(FlexGrid& grid, int macroRows);
// The parameter grid: one row a parameter, its name in the fixed column
// and its value in the one data column.
void FormatParameterGrid(FlexGrid& grid, int parameterRows);

}  // namespace editors
