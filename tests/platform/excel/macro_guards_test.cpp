#include <QStringList>
#include <gtest/gtest.h>

#include "platform/excel/macro_source.h"

namespace {

QString Guarded(const QString& source) {
  QString text = source;
  for (const excel::MacroSourceRule& rule : excel::MacroGuards()) text = rule.apply(text);
  return text;
}

// The raise of a guarded statement at that line of Sub Test.
QString Raise(const QString& message, int line) {
  return QStringLiteral("On Error GoTo 0 : Err.Raise 1004, , \"TabulonStopped|Test|%1|").arg(line) + message +
         QLatin1Char('"');
}

}  // namespace

TEST(MacroGuards, EachCallThatEndsTheOfficeClosesOrSavesTheWorkbookBecomesARaiseNamingIt) {
  const std::pair<const char*, const char*> cases[] = {
      {"Application.Quit", "The macro cannot end the office: Application.Quit"},
      {"  excel.application.QUIT", "The macro cannot end the office: excel.application.QUIT"},
      {"ThisWorkbook.Close SaveChanges:=False", "The macro cannot close the workbook: ThisWorkbook.Close"},
      {"Call ActiveWorkbook.Close(False)", "The macro cannot close the workbook: ActiveWorkbook.Close"},
      {"Workbooks(\"Report.xls\").Close", "The macro cannot close the workbook: Workbooks(\"\"Report.xls\"\").Close"},
      {"Application.Workbooks(1).Close", "The macro cannot close the workbook: Application.Workbooks(1).Close"},
      {"ActiveWindow.Close", "The macro cannot close the workbook: ActiveWindow.Close"},
      {"ThisWorkbook.Save", "The macro cannot save the workbook: ThisWorkbook.Save"},
      {"ActiveWorkbook.SaveAs Filename:=\"C:\\out.xls\", FileFormat:=xlExcel8",
       "The macro cannot save the workbook: ActiveWorkbook.SaveAs"},
      {"ThisWorkbook.SaveCopyAs ThisWorkbook.Path & \"\\copy.xls\"",
       "The macro cannot save the workbook: ThisWorkbook.SaveCopyAs"},
  };
  for (const auto& [line, message] : cases) {
    const QString source = QStringLiteral("Sub Test()\n  Range(\"A1\").Value = 1\n%1\nEnd Sub\n").arg(QLatin1String(line));
    const QStringList lines = Guarded(source).split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 5) << line;
    EXPECT_EQ(lines[2].trimmed(), Raise(QLatin1String(message), 3)) << line;
    EXPECT_EQ(lines[1], QStringLiteral("  Range(\"A1\").Value = 1"));
  }
}

TEST(MacroGuards, WithBlocksOneLineIfsAndContinuedLinesKeepEveryLineWhereItWas) {
  const QString source = QStringLiteral(
      "Sub Test()\n"
      "  With ThisWorkbook\n"
      "    .Sheets(1).Name = \"Data\"\n"
      "    .Close SaveChanges:=False ' done\n"
      "  End With\n"
      "  With Sheets(1)\n"
      "    .Close\n"
      "  End With\n"
      "  If x > 1 Then ActiveWorkbook.Save Else x = 2\n"
      "  n = 1: ThisWorkbook.SaveAs _\n"
      "      Filename:=\"a.xls\": n = 2\n"
      "End Sub\n");
  const QStringList lines = Guarded(source).split(QLatin1Char('\n'));
  ASSERT_EQ(lines.size(), source.count(QLatin1Char('\n')) + 1);
  EXPECT_EQ(lines[2], QStringLiteral("    .Sheets(1).Name = \"Data\""));
  EXPECT_EQ(lines[3], QStringLiteral("    ") + Raise(QStringLiteral("The macro cannot close the workbook: ThisWorkbook.Close"), 4) +
                          QStringLiteral(" ' done"));
  EXPECT_EQ(lines[6], QStringLiteral("    .Close")) << "a With on something else is left alone";
  EXPECT_EQ(lines[8], QStringLiteral("  If x > 1 Then ") +
                          Raise(QStringLiteral("The macro cannot save the workbook: ActiveWorkbook.Save"), 9) +
                          QStringLiteral(" Else x = 2"));
  EXPECT_EQ(lines[9], QStringLiteral("  n = 1: ") + Raise(QStringLiteral("The macro cannot save the workbook: ThisWorkbook.SaveAs"), 10));
  EXPECT_EQ(lines[10], QStringLiteral(": n = 2"));
}

TEST(MacroGuards, TextsCommentsOtherObjectsAndLookalikeNamesStayAsWritten) {
  const QString source = QStringLiteral(
      "Sub SaveAll()\n"
      "  MsgBox \"Call ThisWorkbook.Close when done\"\n"
      "  ' ThisWorkbook.Close\n"
      "  Rem Application.Quit\n"
      "  If ThisWorkbook.Saved Then x = 1\n"
      "  wbOther.Close\n"
      "  Set wb = Workbooks.Add: wb.SaveAs \"copy.xls\"\n"
      "  MyThisWorkbook.Close\n"
      "  Sheets(\"Data\").Range(\"A1\").Value = ThisWorkbook.FullName\n"
      "End Sub\n");
  EXPECT_EQ(Guarded(source), source);
}
