// The macro modules of a loaded workbook are rewritten before any of its
// macros runs: recorder idioms the office lacks become what it has
// (MacroTranslations), and calls that would take the office or the
// workbook away from a run end the macro with a message instead
// (MacroGuards). Only the loaded copy is changed, never the template file.
//
// Every rule keeps a module's lines where they were: it changes a line in
// place, or blanks the lines it folds into another, so that the line the
// office names in an error is the line the user wrote.
#pragma once

#include <QString>
#include <vector>

namespace excel {

struct WorkbookState;

struct MacroSourceRule {
  const char* name;  // says what the rule does, e.g. "Debug.Print does nothing"
  QString (*apply)(const QString& source);
};

// The two tables, each defined in its own file.
const std::vector<MacroSourceRule>& MacroTranslations();
const std::vector<MacroSourceRule>& MacroGuards();

// One module's source after every guard, then every translation.
QString RewriteMacroSource(const QString& source);

// Rewrites every Basic module of the loaded workbook, once.
void RewriteLoadedMacros(WorkbookState& book);
// Puts back the modules as the user wrote them, before the workbook is
// saved: the saved workbook's macros are the template's, not our rewriting
// (whose error traps Excel's editor would not take). The next macro run
// rewrites them again.
void RestoreWrittenMacros(WorkbookState& book);

}  // namespace excel
