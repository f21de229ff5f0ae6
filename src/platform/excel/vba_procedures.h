// The procedures of a macro module as statements of code, for following a
// named macro to what it calls and finding the calls it makes.
#pragma once

#include <QString>
#include <QStringList>
#include <vector>

namespace excel {

struct VbaStatement {
  int line = 0;   // the line it is on (or starts on), 1-based in the module's source
  QString code;   // continued lines joined, the comment left out
  QString mask;   // code with string literals' contents blanked
  // With the object of each enclosing With block written out before each
  // leading ".", as in `Selection.Font.ThemeColor = 5`.
  QString resolved;
  // Reached on every run of its procedure: in no If, loop or Select
  // block, after no On Error and no Exit.
  bool always_reached = false;
  bool in_one_line_branch = false;  // after the Then or Else of a one-line If
};

struct VbaProcedure {
  QString module;
  QString name;
  int first_line = 0;
  int last_line = 0;
  std::vector<VbaStatement> body;  // between the header and the End line
};

// Every statement of the source: lines joined where they continue, split
// where a ":" separates statements.
std::vector<VbaStatement> StatementsOf(const QString& source);
std::vector<VbaProcedure> ProceduresOf(const QString& module, const QString& source);

// `start` and every procedure of `project` it calls, directly or through
// others, by name, Module.Name or Application.Run "Name"; `start` first.
std::vector<const VbaProcedure*> ReachableFrom(const std::vector<VbaProcedure>& project, const VbaProcedure& start);

}  // namespace excel
