#include <QDateTime>

#include "biff_records.h"
#include "export/excel_slots.h"
#include "exporter_fixture.h"
#include "xls_reader.h"

namespace {

void Paste(CExcelExporter& exporter) {
  exporter.PasteReportInformation(QStringLiteral("jsmith"), QDateTime(QDate(2004, 6, 3), QTime(14, 25)),
                                  QStringLiteral("/data/Survey.mdb"), QStringLiteral("Catch 2004"),
                                  QStringLiteral("Catch by site"),
                                  {QStringLiteral("qryCatchBySite"), QStringLiteral("qrySites")},
                                  {QStringLiteral("Start/End"), QString()},
                                  {QStringLiteral("1/1/2004/31/12/2004"), QString()});
}

}  // namespace

TEST_F(ExporterTest, InformationSheetLayoutColourAndProtection) {
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("info.xls"), QString(), true));
  Paste(exporter_);
  EXPECT_EQ(gExcelWorkbook->ActiveSheet().Name(), "Information");
  gExcelWorkbook->Save();

  const XlsBook saved = ReadXls(out_.File("info.xls"));
  EXPECT_EQ(saved.SheetNames(), QStringList({"Information", "Sheet1", "Sheet2", "Sheet3"}))
      << "added before the active sheet, as Excel adds";
  const auto& info = saved.Sheet("Information");
  const QMap<std::pair<int, int>, QString> expected = {
      {{2, 2}, "User:"},           {{2, 3}, "jsmith"},
      {{3, 2}, "Output Date:"},    {{3, 3}, "2004-06-03 14:25:00"},
      {{4, 2}, "Source Database:"}, {{4, 3}, "/data/Survey.mdb"},
      {{6, 2}, "Report Name:"},    {{6, 3}, "Catch 2004"},
      {{7, 2}, "Description:"},    {{7, 3}, "Catch by site"},
      {{9, 2}, "Queries:"},        {{10, 3}, "Names:"},
      {{10, 7}, "Parameters:"},    {{11, 3}, "- qryCatchBySite"},
      {{11, 7}, "- Start/End"},    {{12, 7}, "- 1/1/2004/31/12/2004"},
      {{13, 3}, "- qrySites"},     {{13, 7}, "- "},
      {{14, 7}, "- "},             {{16, 2}, "*Use Excel Export Assistant to review further details"},
  };
  for (auto it = expected.begin(); it != expected.end(); ++it)
    EXPECT_EQ(info.Text(it.key().first, it.key().second), it.value()) << it.key().first << "," << it.key().second;
  EXPECT_EQ(info.At(3, 3).kind, XlsCell::Kind::kDateTime);
  EXPECT_EQ(info.cells.size(), expected.size()) << "nothing else on the sheet";

  // Protection and colour, from a fresh load of the saved file.
  auto reread = gExcelApp->Workbooks().Add(out_.File("info.xls"));
  auto sheet = reread.Worksheets().Item(QStringLiteral("Information"));
  EXPECT_TRUE(sheet.ProtectContents());
  EXPECT_EQ(sheet.Cells(16, 2).FontColorIndex(), 3);
  EXPECT_EQ(sheet.Cells(2, 2).FontColorIndex(), 1);
  EXPECT_FALSE(reread.Worksheets().Item(1).ProtectContents() && reread.Worksheets().Item(2).ProtectContents());
  reread.Close();
}

// The protection as Excel reads it from the file's own records.
TEST_F(ExporterTest, InformationSheetIsSavedProtectedWithoutAPassword) {
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("protected.xls"), QString(), true));
  Paste(exporter_);
  gExcelWorkbook->Save();

  const biff::Workbook book = biff::Read(out_.File("protected.xls"));
  const auto& info = book.Sheet(QStringLiteral("Information"));
  const auto protect = info.First(biff::kProtect);
  ASSERT_TRUE(protect);
  EXPECT_EQ(protect->U16(0), 1);
  const auto password = info.First(biff::kPassword);
  EXPECT_TRUE(!password || password->U16(0) == 0) << "a user can unprotect the sheet at once";
  for (const QString& name : {QStringLiteral("Sheet1"), QStringLiteral("Sheet2"), QStringLiteral("Sheet3")}) {
    const auto other = book.Sheet(name).First(biff::kProtect);
    EXPECT_TRUE(!other || other->U16(0) == 0) << name.toStdString() << " stays open";
  }
}

TEST_F(ExporterTest, ATemplateThatHasAnInformationSheetGivesTheDoubledQuoteMessage) {
  {
    auto app = excel::Application::Create();
    auto book = app->Workbooks().Add();
    book.Worksheets().Item(2).SetName(QStringLiteral("information"));
    book.SaveAs(out_.File("HasInfo.xls"));
    book.Close();
  }
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("out.xls"), out_.File("HasInfo.xls"), true));
  const auto error = ErrorOf([&] { Paste(exporter_); });
  EXPECT_EQ(error.Number(), 1004);
  EXPECT_TRUE(error.Description().endsWith(
      "\r\n\r\nUnable to paste information about the output report.  A worksheet named ''Information'' or "
      "''Sheet1'' may already exist in your template."))
      << error.Description().toStdString();
}
