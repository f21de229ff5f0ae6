// PageSetup.PrintTitleRows = "$1:$4": Excel repeats those rows at the top of
// every printed page; the office's PageSetup takes the setting and ignores
// it. The statement becomes a call of a routine added at the end of the
// module that sets the sheet's own title rows ("" clears them), which the
// office saves as Excel's Print_Titles name.
#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/page_setup_assignments.h"

namespace excel {
namespace {

const char* const kPrintTitleRoutines = R"vba(
Private Sub Tabulon_PrintTitleRows(target, rows)
    Dim sheet As Object
    sheet = ThisComponent.Sheets.getByName(target.Name)
    If rows = "" Then
        sheet.setPrintTitleRows(False)
    Else
        sheet.setTitleRows(sheet.getCellRangeByName(target.Range(rows).Address(False, False)).RangeAddress)
        sheet.setPrintTitleRows(True)
    End If
End Sub
)vba";

}  // namespace

QString PrintTitleRowsSet(const QString& source) {
  SourceLines lines = SplitSource(source);
  bool translated = false;
  ForEachPageSetupAssignment(lines, QStringLiteral("PrintTitleRows"), [&](const PageSetupAssignment& a, SourceLine& line) {
    line.SetCode(line.Indent() + QStringLiteral("Tabulon_PrintTitleRows %1, %2").arg(a.sheet, a.value));
    translated = true;
  });
  QString out = JoinSource(lines);
  if (translated) out += QString::fromLatin1(kPrintTitleRoutines);
  return out;
}

}  // namespace excel
