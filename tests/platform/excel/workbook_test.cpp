#include <QFile>
#include <gtest/gtest.h>

#include "office_test_support.h"
#include "platform/excel/application.h"
#include "platform/excel/excel_errors.h"
#include "xls_reader.h"

TEST(Workbook, NewWorkbookHasExcelsThreeSheetsAndSavesAsXls) {
  OutputFolder out;
  auto app = excel::Application::Create();
  auto book = app->Workbooks().Add();
  EXPECT_EQ(book.Worksheets().Count(), 3);
  EXPECT_EQ(book.ActiveSheet().Name(), "Sheet1");
  EXPECT_TRUE(book.FullName().isEmpty());

  auto second = book.Worksheets().Item(QStringLiteral("sheet2"));  // names match without regard to case
  second.Activate();
  EXPECT_EQ(book.ActiveSheet().Name(), "Sheet2");
  second.Cells(1, 1).SetValue(QStringLiteral("'007"));       // apostrophe: kept as text
  second.Cells(2, 1).SetValue(QStringLiteral("12.5"));       // typed input: a number
  second.Cells(3, 1).SetValue(QStringLiteral("Plain text"));
  second.Cells(65536, 256).SetValue(1.0);                    // the last cell of an .xls sheet
  EXPECT_EQ(second.Cells(1, 1).Value(), QVariant(QStringLiteral("007")));
  EXPECT_EQ(second.Cells(2, 1).Value(), QVariant(12.5));

  const QString file = out.File("book.xls");
  book.SaveAs(file);
  EXPECT_EQ(book.FullName(), file);
  EXPECT_TRUE(book.Saved());
  second.Cells(4, 1).SetValue(2.0);
  EXPECT_FALSE(book.Saved());
  book.Save();
  book.Close();
  EXPECT_FALSE(QFile::exists(out.File(".~lock.book.xls#"))) << "closing leaves no lock file";

  const XlsBook saved = ReadXls(file);
  EXPECT_EQ(saved.SheetNames(), QStringList({"Sheet1", "Sheet2", "Sheet3"}));
  const auto& sheet = saved.Sheet("Sheet2");
  EXPECT_EQ(sheet.At(1, 1).kind, XlsCell::Kind::kText);
  EXPECT_EQ(sheet.Text(1, 1), "007");
  EXPECT_EQ(sheet.At(2, 1).kind, XlsCell::Kind::kNumber);
  EXPECT_DOUBLE_EQ(sheet.At(2, 1).value.toDouble(), 12.5);
  EXPECT_EQ(sheet.Text(3, 1), "Plain text");
  EXPECT_DOUBLE_EQ(sheet.At(4, 1).value.toDouble(), 2.0);
  EXPECT_DOUBLE_EQ(sheet.At(65536, 256).value.toDouble(), 1.0);
}

TEST(Workbook, ErrorsCarryExcelsNumbers) {
  OutputFolder out;
  auto app = excel::Application::Create();
  auto book = app->Workbooks().Add();
  auto sheets = book.Worksheets();
  EXPECT_EQ(ErrorNumberOf([&] { sheets.Item(QStringLiteral("Catch")); }), excel::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { sheets.Item(4); }), excel::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { sheets.Item(0); }), excel::kSubscriptOutOfRange);
  EXPECT_EQ(ErrorNumberOf([&] { sheets.Item(1).Cells(65537, 1); }), excel::kApplicationDefined);
  EXPECT_EQ(ErrorNumberOf([&] { sheets.Item(1).Cells(1, 257); }), excel::kApplicationDefined);
  EXPECT_EQ(ErrorNumberOf([&] { sheets.Item(1).SetName(QStringLiteral("SHEET2")); }), excel::kApplicationDefined);
  EXPECT_EQ(ErrorNumberOf([&] { sheets.Item(1).SetName(QStringLiteral("a/b")); }), excel::kApplicationDefined);
  EXPECT_EQ(ErrorNumberOf([&] { book.SaveAs(out.File("no such folder/out.xls")); }), excel::kApplicationDefined);
  EXPECT_EQ(ErrorNumberOf([&] { book.Save(); }), excel::kApplicationDefined) << "never saved: no file name";
  EXPECT_EQ(ErrorNumberOf([&] { app->Workbooks().Add(out.File("missing.xls")); }), excel::kApplicationDefined);
  QFile garbage(out.File("garbage.xls"));
  ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
  garbage.write(QByteArray(4096, '\x07'));
  garbage.close();
  EXPECT_EQ(ErrorNumberOf([&] { app->Workbooks().Add(garbage.fileName()); }), excel::kApplicationDefined);
  book.Close();
  EXPECT_EQ(ErrorNumberOf([&] { book.Worksheets().Count(); }), excel::kApplicationDefined);
}

TEST(Workbook, TemplateGivesANewWorkbookWithItsSheetsAndSheetsAddLikeExcel) {
  OutputFolder out;
  auto app = excel::Application::Create();
  {
    auto original = app->Workbooks().Add();
    original.Worksheets().Item(1).SetName(QStringLiteral("Catch"));
    original.Worksheets().Item(1).Cells(1, 1).SetValue(QStringLiteral("Template heading"));
    original.SaveAs(out.File("Template.xls"));
    original.Close();
  }
  auto book = app->Workbooks().Add(out.File("Template.xls"));
  EXPECT_TRUE(book.FullName().isEmpty()) << "a template opens as a new, untitled workbook";
  EXPECT_FALSE(book.HasMacros());
  auto sheets = book.Worksheets();
  EXPECT_EQ(sheets.Item(1).Name(), "Catch");
  EXPECT_EQ(sheets.Item(QStringLiteral("Catch")).Cells(1, 1).Value(), QVariant(QStringLiteral("Template heading")));

  sheets.Item(2).Activate();
  auto added = sheets.Add();
  EXPECT_EQ(added.Name(), "Sheet4");
  EXPECT_EQ(sheets.Item(2).Name(), "Sheet4") << "inserted before the active sheet";
  EXPECT_EQ(book.ActiveSheet().Name(), "Sheet4");
  added.Cells(3, 2).SetFontColorIndex(3);
  EXPECT_EQ(added.Cells(3, 2).FontColorIndex(), 3);
  added.Protect(true, true, true);
  EXPECT_TRUE(added.ProtectContents());
  EXPECT_EQ(ErrorNumberOf([&] { added.Cells(3, 2).SetValue(1.0); }), excel::kApplicationDefined)
      << "a protected sheet refuses changes";
  book.SaveAs(out.File("FromTemplate.xls"));
  book.Close();

  EXPECT_EQ(ReadXls(out.File("FromTemplate.xls")).SheetNames(), QStringList({"Catch", "Sheet4", "Sheet2", "Sheet3"}));
  // Protection and colour read back from the file by a fresh load.
  auto reread = app->Workbooks().Add(out.File("FromTemplate.xls"));
  EXPECT_TRUE(reread.Worksheets().Item(QStringLiteral("Sheet4")).ProtectContents());
  EXPECT_FALSE(reread.Worksheets().Item(QStringLiteral("Catch")).ProtectContents());
  EXPECT_EQ(reread.Worksheets().Item(QStringLiteral("Sheet4")).Cells(3, 2).FontColorIndex(), 3);
  reread.Close();
}

TEST(Workbook, AutoFilterKeepsTheMatchingRowsOfTheBlock) {
  auto app = excel::Application::Create();
  auto book = app->Workbooks().Add();
  auto sheet = book.Worksheets().Item(1);
  const QStringList species = {"Species", "Snapper", "Bream", "Snapper", "Whiting"};
  for (int r = 0; r < species.size(); ++r) {
    sheet.Cells(r + 2, 2).SetValue(species[r]);
    sheet.Cells(r + 2, 3).SetValue(r == 0 ? QVariant(QStringLiteral("Count")) : QVariant(double(r * 10)));
  }
  sheet.Range(QStringLiteral("B2:C6")).AutoFilter(1, QStringLiteral("Snapper"));
  QList<bool> hidden;
  for (int r = 2; r <= 6; ++r) hidden << sheet.Cells(r, 2).RowHidden();
  EXPECT_EQ(hidden, QList<bool>({false, false, true, false, true}));

  sheet.Range(QStringLiteral("B2:C6")).AutoFilter(2, QStringLiteral(">25"));
  hidden.clear();
  for (int r = 2; r <= 6; ++r) hidden << sheet.Cells(r, 2).RowHidden();
  EXPECT_EQ(hidden, QList<bool>({false, true, true, false, false}));
  EXPECT_EQ(ErrorNumberOf([&] { sheet.Range(QStringLiteral("B2:C6")).AutoFilter(3, QStringLiteral("x")); }),
            excel::kApplicationDefined);
  EXPECT_EQ(ErrorNumberOf([&] { sheet.Range(QStringLiteral("NoSuchName")); }), excel::kApplicationDefined);
  book.Close();
}
