// Runs a macro of a workbook's Basic/VBA project and tells whether it really
// ran. The office reports only a macro it cannot find; a macro that fails, or
// a project it cannot compile, returns as if all went well. So the macro is
// called from a small module of ours, added to the loaded workbook only, that
// traps errors and answers with a marker: no marker means no compiled project.
#pragma once

#include "platform/excel/macro_name.h"

namespace excel {

struct WorkbookState;

// Error 1004 with the office's own text when the macro is missing, fails or
// cannot be compiled.
void RunMacro(WorkbookState& book, const MacroName& name);

// The workbook's project has a Sub or Function of that name (in that module).
bool HasMacro(WorkbookState& book, const MacroName& name);

}  // namespace excel
