// The office tells the line of an error (Basic's Erl) only to a handler in
// the procedure that raised it; a handler further up the calls sees its own
// line. So every procedure of a loaded workbook's VBA modules traps its own
// errors and raises them again with its name and line in front of the text,
// kept as it is by the procedures that called it.
#pragma once

#include <QString>
#include <optional>

namespace excel {

// Adds the trap to every procedure of a VBA module, on the lines that start
// and end it, so no line moves.
QString TrapProcedureErrors(const QString& source);

struct TrappedError {
  QString procedure;
  int office_line = 0;  // counted in the module as the office holds it
  QString text;         // the error's own text
};

// An error's text with its place in front, as the trap raises it again.
QString TrappedErrorText(const QString& procedure, int office_line, const QString& text);
// Reads the place back from an error's text; nullopt when it has none.
std::optional<TrappedError> ReadTrappedError(const QString& description);

}  // namespace excel
