#include <QDateTime>

#include "export/excel_slots.h"
#include "exporter_fixture.h"
#include "platform/dao/recordset.h"
#include "xls_reader.h"

using jet::ColumnType;

namespace {

dao::Recordset Landings() {
  return dao::Recordset({{"SiteID", ColumnType::kLong, {}},
                         {"SpeciesCode", ColumnType::kText, QStringLiteral("Species")},
                         {"LandedOn", ColumnType::kDateTime, {}}},
                        {{17, "0042", QDateTime(QDate(2004, 5, 1), QTime(0, 0))},
                         {18, QVariant(), QDateTime(QDate(2004, 5, 2), QTime(0, 0))}});
}

}  // namespace

TEST_F(ExporterTest, DoExportPutsHeaderAndBlockAtTheTargetCell) {
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("out.xls"), QString(), true));
  auto first = Landings();
  exporter_.DoExport(first, 1, 1, QString());
  EXPECT_TRUE(first.IsEOF()) << "the recordset is consumed";
  EXPECT_EQ(gExcelWorksheet->Name(), "Sheet1");
  gAutoFitExcelColumns = true;
  auto second = Landings();
  exporter_.DoExport(second, 3, 5, QStringLiteral("sheet3"));
  EXPECT_EQ(gExcelWorksheet->Name(), "Sheet3");
  gExcelWorkbook->Save();

  const XlsBook saved = ReadXls(out_.File("out.xls"));
  const auto& a1 = saved.Sheet("Sheet1");
  EXPECT_EQ(a1.Text(1, 1), "SiteID");
  EXPECT_EQ(a1.Text(1, 2), "Species") << "the caption replaces the name";
  EXPECT_EQ(a1.Text(1, 3), "LandedOn");
  EXPECT_DOUBLE_EQ(a1.At(2, 1).value.toDouble(), 17);
  EXPECT_EQ(a1.Text(2, 2), "0042");
  EXPECT_EQ(a1.At(2, 2).kind, XlsCell::Kind::kText);
  EXPECT_EQ(a1.At(3, 3).kind, XlsCell::Kind::kDate);
  EXPECT_EQ(a1.Text(3, 3), "2004-05-02");
  EXPECT_EQ(a1.At(3, 2).kind, XlsCell::Kind::kEmpty);
  EXPECT_EQ(a1.rows, 3);

  const auto& c5 = saved.Sheet("Sheet3");
  EXPECT_EQ(c5.Text(5, 3), "SiteID");
  EXPECT_EQ(c5.Text(5, 4), "Species");
  EXPECT_DOUBLE_EQ(c5.At(7, 3).value.toDouble(), 18);
  EXPECT_EQ(c5.At(4, 3).kind, XlsCell::Kind::kEmpty);
  EXPECT_EQ(c5.At(5, 2).kind, XlsCell::Kind::kEmpty);
}

TEST_F(ExporterTest, DoExportOnAMissingSheetIs516AndAHeaderOnlyBlockIsNoError) {
  gTemplateSearch.database_folder = TABULON_FIXTURES "/excel";
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("tpl.xls"), QStringLiteral("X:\\Old\\Place\\wmacro.xls"), true));
  auto records = Landings();
  const auto missing = ErrorOf([&] { exporter_.DoExport(records, 1, 1, QStringLiteral("Catch")); });
  EXPECT_EQ(missing.Number(), platform::kObjectErrorBase + 516);
  EXPECT_EQ(missing.Source(), "CExcelExporter::DoExport");

  dao::Recordset empty({{"Only", ColumnType::kText, {}}}, {});
  exporter_.DoExport(empty, 2, 4, QStringLiteral("Feuil2"));
  gExcelWorkbook->Save();
  const auto& sheet = ReadXls(out_.File("tpl.xls")).Sheet("Feuil2");
  EXPECT_EQ(sheet.Text(4, 2), "Only");
  EXPECT_EQ(sheet.cells.size(), 1);
}

TEST_F(ExporterTest, RunExcelMacroRunsTheTemplatesMacrosAndReportsOthersAs515) {
  ASSERT_TRUE(exporter_.CreateExcelFile(out_.File("macro.xls"), FixturePath("wmacro.xls"), true));
  auto records = Landings();
  exporter_.DoExport(records, 1, 4, QStringLiteral("Feuil1"));
  gExcelWorksheet->Cells(2, 1).SetValue(QVariant());
  exporter_.RunExcelMacro(QStringLiteral("Module1.Macro1"));

  const auto missing = ErrorOf([&] { exporter_.RunExcelMacro(QStringLiteral("FormatBlock")); });
  EXPECT_EQ(missing.Number(), platform::kObjectErrorBase + 515);
  EXPECT_EQ(missing.Source(), "CExcelExporter::RunExcelMacro");
  EXPECT_TRUE(missing.Description().contains("FormatBlock"));
  gExcelWorkbook->Save();

  const auto& sheet = ReadXls(out_.File("macro.xls")).Sheet("Feuil1");
  EXPECT_EQ(sheet.Text(2, 1), "hello");
  EXPECT_EQ(sheet.Text(4, 1), "SiteID");

  exporter_.TerminateExcelProcess();
  EXPECT_EQ(ErrorOf([&] { exporter_.RunExcelMacro(QStringLiteral("Macro1")); }).Number(),
            platform::kObjectErrorBase + 515)
      << "no application after termination";
}
