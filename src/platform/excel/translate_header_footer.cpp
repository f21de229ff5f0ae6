// A page header or footer with Excel's codes for the page number (&P), the
// page count (&N), the date (&D), the time (&T), the file's name (&F) and the
// sheet's (&A): the office's PageSetup keeps such text as it is written, so
// "Page &P of &N" is printed as those characters. The statement becomes a
// call of a routine added at the end of the module that writes the text
// into the sheet's page style with the office's own fields in place of the
// codes, which it saves as Excel's codes again. Text with other codes (fonts,
// sizes, bold, pictures) or made up of more than one literal is left as
// written.
#include "platform/excel/macro_translation_rules.h"
#include "platform/excel/page_setup_assignments.h"
#include "platform/excel/vba_source_lines.h"

namespace excel {
namespace {

const char* const kHeaderFooterRoutines = R"vba(
Private Sub Tabulon_HeaderFooter(target, part, text)
    Dim style As Object, content As Object, area As Object, cursor As Object, field As Object
    Dim i As Long, header As Boolean
    style = ThisComponent.StyleFamilies.getByName("PageStyles").getByName(ThisComponent.Sheets.getByName(target.Name).PageStyle)
    header = Right(part, 6) = "Header"
    If header Then
        style.HeaderIsOn = True
        content = style.RightPageHeaderContent
    Else
        style.FooterIsOn = True
        content = style.RightPageFooterContent
    End If
    Select Case Left(part, Len(part) - 6)
        Case "Left": area = content.LeftText
        Case "Center": area = content.CenterText
        Case Else: area = content.RightText
    End Select
    area.setString("")
    cursor = area.createTextCursor()
    i = 1
    Do While i <= Len(text)
        If Mid(text, i, 1) = "&" And i < Len(text) Then
            i = i + 1
            field = Nothing
            Select Case UCase(Mid(text, i, 1))
                Case "P": field = ThisComponent.createInstance("com.sun.star.text.TextField.PageNumber")
                Case "N": field = ThisComponent.createInstance("com.sun.star.text.TextField.PageCount")
                Case "D"
                    field = ThisComponent.createInstance("com.sun.star.text.TextField.DateTime")
                    field.IsDate = True
                Case "T"
                    field = ThisComponent.createInstance("com.sun.star.text.TextField.DateTime")
                    field.IsDate = False
                Case "F": field = ThisComponent.createInstance("com.sun.star.text.TextField.FileName")
                Case "A": field = ThisComponent.createInstance("com.sun.star.text.TextField.SheetName")
                Case Else: area.insertString(cursor, Mid(text, i, 1), False)
            End Select
            If Not IsNull(field) Then area.insertTextContent(cursor, field, False)
        Else
            area.insertString(cursor, Mid(text, i, 1), False)
        End If
        i = i + 1
    Loop
    If header Then
        style.RightPageHeaderContent = content
    Else
        style.RightPageFooterContent = content
    End If
End Sub
)vba";

// A string literal whose & codes are all ones the routine makes fields of
// (or "&&"), with at least one.
bool HasOnlyFieldCodes(const QString& literal) {
  static const QRegularExpression single_literal(QStringLiteral(R"(^"(?:[^"]|"")*"$)"));
  if (!single_literal.match(literal).hasMatch()) return false;
  bool any = false;
  for (qsizetype i = 1; i + 1 < literal.size() - 1; ++i) {
    if (literal[i] != QLatin1Char('&')) continue;
    const QChar code = literal[i + 1].toUpper();
    if (!QStringLiteral("PNDTFA&").contains(code)) return false;
    any = any || code != QLatin1Char('&');
    ++i;
  }
  return any;
}

}  // namespace

QString HeaderFooterCodesAsFields(const QString& source) {
  SourceLines lines = SplitSource(source);
  bool translated = false;
  ForEachPageSetupAssignment(lines, QStringLiteral("(?:Left|Center|Right)(?:Header|Footer)"),
                             [&](const PageSetupAssignment& a, SourceLine& line) {
    if (!HasOnlyFieldCodes(a.value)) return;
    // The part's name as the routine reads it, whatever case it was written in.
    const QString side = a.property.left(a.property.size() - 6).toLower();
    const QString part = (side == QLatin1String("left") ? QStringLiteral("Left")
                          : side == QLatin1String("center") ? QStringLiteral("Center")
                                                             : QStringLiteral("Right")) +
                         (a.property.endsWith(QLatin1String("header"), Qt::CaseInsensitive) ? QStringLiteral("Header")
                                                                                             : QStringLiteral("Footer"));
    line.SetCode(line.Indent() + QStringLiteral("Tabulon_HeaderFooter %1, \"%2\", %3").arg(a.sheet, part, a.value));
    translated = true;
  });
  QString out = JoinSource(lines);
  if (translated) out += QString::fromLatin1(kHeaderFooterRoutines);
  return out;
}

}  // namespace excel
