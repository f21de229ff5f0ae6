#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

#include "office_test_support.h"
#include "platform/excel/template_path.h"
#include "platform/excel/template_sheets.h"

TEST(TemplatePath, WindowsPathsFindTheFileThroughTheMappingWithoutRegardToCase) {
  OutputFolder folder;
  QDir().mkpath(folder.File("Reports/Templates"));
  QFile file(folder.File("Reports/Templates/Sales.xls"));
  ASSERT_TRUE(file.open(QIODevice::WriteOnly));
  file.close();
  const std::vector<jet::FolderMapping> mappings = {{"C:\\Reports", folder.File("Reports").toStdString()}};

  EXPECT_EQ(excel::ResolveTemplatePath(QStringLiteral("c:\\REPORTS\\templates\\SALES.XLS"), QString(), mappings),
            folder.File("Reports/Templates/Sales.xls"));
  // The same name beside the database.
  EXPECT_EQ(excel::ResolveTemplatePath(QStringLiteral("D:\\Elsewhere\\sales.xls"), folder.File("Reports/Templates"), {}),
            folder.File("Reports/Templates/Sales.xls"));
  // Nothing found: the stored text stays, so opening it fails as it would in Excel.
  EXPECT_EQ(excel::ResolveTemplatePath(QStringLiteral("C:\\Nowhere\\Gone.xls"), QString(), mappings),
            QStringLiteral("C:\\Nowhere\\Gone.xls"));
}

TEST(TemplatePath, TheWorkbookTestIsATextComparison) {
  EXPECT_TRUE(excel::IsExcelTemplatePath(QStringLiteral("C:\\T\\Sales.xls")));
  EXPECT_TRUE(excel::IsExcelTemplatePath(QStringLiteral("C:\\T\\SALES.XLS")));
  EXPECT_TRUE(excel::IsExcelTemplatePath(QStringLiteral("/t/Sales.XLSX")));
  EXPECT_TRUE(excel::IsExcelTemplatePath(QStringLiteral("/t/Sales.ods")));
  EXPECT_FALSE(excel::IsExcelTemplatePath(QStringLiteral("C:\\T\\Sales.xlt")));
  EXPECT_FALSE(excel::IsExcelTemplatePath(QStringLiteral("/t/Sales.ods.bak")));
  EXPECT_FALSE(excel::IsExcelTemplatePath(QString()));
}

TEST(TemplateSheets, AFileThatIsNotAReadableWorkbookOffersNoSheets) {
  OutputFolder folder;
  QFile notXls(folder.File("Notes.xls"));
  ASSERT_TRUE(notXls.open(QIODevice::WriteOnly));
  notXls.write("just some text, not a workbook");
  notXls.close();
  EXPECT_TRUE(excel::TemplateSheetNames(folder.File("Notes.xls")).isEmpty());
  EXPECT_TRUE(excel::TemplateSheetNames(folder.File("Missing.xls")).isEmpty());
  EXPECT_TRUE(excel::TemplateSheetNames(QString()).isEmpty());
  EXPECT_EQ(excel::NewWorkbookSheetNames(),
            (QStringList{QStringLiteral("Sheet1"), QStringLiteral("Sheet2"), QStringLiteral("Sheet3")}));
}
