// The macro names Excel's Application.Run takes: "Macro", "Module.Macro",
// "'Book.xls'!Macro", "Book.xls!Module.Macro".
#pragma once

#include <QString>
#include <optional>

namespace excel {

struct MacroName {
  QString book;       // empty: any open workbook, the active one first
  QString module;     // empty: any module
  QString procedure;
};

// nullopt when the text cannot name a macro.
std::optional<MacroName> ParseMacroName(const QString& text);

}  // namespace excel
