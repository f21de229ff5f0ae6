// The statements of a macro module that set a property of a sheet's
// PageSetup, whether written out (`ActiveSheet.PageSetup.CenterFooter = x`)
// or inside a With block on it, with the sheet each one names. A With block
// on a PageSetup reached from an outer With (`With .PageSetup`) names no
// sheet that can be written inside it, so its statements are not given.
#pragma once

#include <QString>
#include <functional>

#include "platform/excel/vba_source_lines.h"

namespace excel {

struct PageSetupAssignment {
  QString sheet;     // an expression for the sheet, as written
  QString property;  // as written
  QString value;     // the code after "="
};

// Calls `rewrite` for each one-line assignment to a property matching
// `properties` (a case-insensitive pattern, such as "PrintTitleRows"); it
// may set the statement's line.
void ForEachPageSetupAssignment(SourceLines& lines, const QString& properties,
                                const std::function<void(const PageSetupAssignment&, SourceLine&)>& rewrite);

}  // namespace excel
