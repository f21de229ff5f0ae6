// Sheet.Copy Before:= / After:= within the workbook: Excel names the copy of
// "Data" "Data (2)" (the next number free, counting on from a copy's own
// number), the office "Data_2", so a later Sheets("Data (2)") fails. The
// statement becomes a call of a routine added at the end of the module that
// makes the copy and gives it Excel's name. A copy into a new workbook (no
// Before or After) is left as written.
#include <optional>

#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

const char* const kCopyRoutines = R"vba(
Private Sub Tabulon_CopySheet(source, beforeSheet, afterSheet)
    ' The sheets are listed and renamed through the office's own API: after a
    ' copy, a sheet reached through the macro's Sheets(i) may be another one.
    Dim taken As String, i As Long, copied As Object, stem As String, n As Long, paren As Long, sheets As Object
    sheets = ThisComponent.Sheets
    For i = 0 To sheets.Count - 1
        taken = taken & "|" & sheets.getByIndex(i).Name
    Next i
    taken = taken & "|"
    If IsEmpty(afterSheet) Then
        source.Copy Before:=beforeSheet
    Else
        source.Copy After:=afterSheet
    End If
    For i = 0 To sheets.Count - 1
        If InStr(taken, "|" & sheets.getByIndex(i).Name & "|") = 0 Then copied = sheets.getByIndex(i)
    Next i
    stem = source.Name
    n = 2
    paren = InStrRev(stem, " (")
    If paren > 0 And Right(stem, 1) = ")" Then
        If IsNumeric(Mid(stem, paren + 2, Len(stem) - paren - 2)) Then
            n = CLng(Mid(stem, paren + 2, Len(stem) - paren - 2)) + 1
            stem = Left(stem, paren - 1)
        End If
    End If
    Do While InStr(taken, "|" & Left(stem, 31 - Len(" (" & n & ")")) & " (" & n & ")|") > 0
        n = n + 1
    Loop
    copied.Name = Left(stem, 31 - Len(" (" & n & ")")) & " (" & n & ")"
End Sub
)vba";

}  // namespace

QString SheetCopiesNamedAsExcelNamesThem(const QString& source) {
  static const QRegularExpression copy = VbaPattern(
      QStringLiteral(R"(^\s*(?![^:]*\b(?:Then|Else)\b)([^\s:][^:]*?)\s*\.\s*Copy\s+(Before|After)\s*:=\s*([^:]+?)\s*$)"));
  static const QRegularExpression sheet_object =
      VbaPattern(QStringLiteral(R"(^(?:\w+\s*\.\s*)?(?:Sheets|Worksheets)\s*\(.*\)$|^ActiveSheet$)"));
  SourceLines lines = SplitSource(source);
  bool translated = false;
  for (const LogicalLine& statement : LogicalLines(lines)) {
    if (statement.first != statement.last) continue;
    const auto match = copy.match(statement.mask);
    if (!match.hasMatch()) continue;
    const QString object = statement.code.mid(match.capturedStart(1), match.capturedLength(1)).trimmed();
    if (!sheet_object.match(QString(match.captured(1)).trimmed()).hasMatch()) continue;  // a range's Copy
    const QString place = statement.code.mid(match.capturedStart(3), match.capturedLength(3)).trimmed();
    const bool after = match.captured(2).compare(QLatin1String("After"), Qt::CaseInsensitive) == 0;
    lines[statement.first].SetCode(lines[statement.first].Indent() +
                                   QStringLiteral("Tabulon_CopySheet %1, %2, %3")
                                       .arg(object, after ? QStringLiteral("Empty") : place,
                                            after ? place : QStringLiteral("Empty")));
    translated = true;
  }
  QString out = JoinSource(lines);
  if (translated) out += QString::fromLatin1(kCopyRoutines);
  return out;
}

}  // namespace excel
