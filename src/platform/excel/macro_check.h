// The macro check: what of a workbook's macros will not run in the office,
// told before a run. Every module of the project is compiled (one that does
// not compile stops every macro of the workbook), each named macro must
// exist, and the calls made by a named macro and by what it calls are looked
// up in the table of calls the office does not carry out. The check reads
// the source as the run will run it, after the macro rewriting.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace excel {

class Application;
class Workbook;

struct MacroFinding {
  enum class Kind { kModuleDoesNotCompile, kMacroMissing, kUnsupportedCall };
  Kind kind = Kind::kUnsupportedCall;
  QString macro;   // as the destination names it; empty for a module
  QString module;
  int line = 0;    // as the module is shown in Excel's editor; 0 when unknown
  QString code;    // the line or the call as written
  QString call;    // the table's name of the unsupported call
  QString advice;  // what to write instead
  // The call is made on every run of the named macro itself, with no error
  // handler before it: the macro will fail.
  bool certain = false;
  // The call runs, with another result than Excel's.
  bool differs = false;

  // No macro can run past it.
  bool CannotRun() const { return kind != Kind::kUnsupportedCall || certain; }
  // One paragraph for the user.
  QString Text() const;
};

// The findings for the macros `macros` (as Application.Run names them) of
// an open workbook. Loads nothing and changes nothing of the workbook.
std::vector<MacroFinding> CheckMacros(Workbook& book, const QStringList& macros);

// The same for a template file, opened and closed again for the check.
std::vector<MacroFinding> CheckTemplateMacros(Application& app, const QString& template_path,
                                              const QStringList& macros);

bool AnyCannotRun(const std::vector<MacroFinding>& findings);
// Every finding is a call that runs, with another result than Excel's.
bool AllDiffer(const std::vector<MacroFinding>& findings);
// The findings' texts, one paragraph each.
QString FindingsText(const std::vector<MacroFinding>& findings);

}  // namespace excel
