#include <QDateTime>

#include "export/excel_slots.h"
#include "exporter_fixture.h"
#include "platform/dao/recordset.h"
#include "xls_reader.h"

TEST_F(ExporterTest, SampleTemplateMacrosFormatAndTotalTheExportedBlock) {
  using jet::ColumnType;
  dao::Recordset catches({{"Site", ColumnType::kText, {}},
                          {"Landed", ColumnType::kDateTime, {}},
                          {"Fish", ColumnType::kLong, QStringLiteral("Fish kept")},
                          {"Weight", ColumnType::kDouble, {}}},
                         {{"North Pier", QDateTime(QDate(2004, 5, 1), QTime(0, 0)), 12, 3.5},
                          {"Boat Ramp", QDateTime(QDate(2004, 5, 2), QTime(0, 0)), 30, 8.25}});
  const QString file = out_.File("catch.xls");
  ASSERT_TRUE(exporter_.CreateExcelFile(file, QStringLiteral(TABULON_SAMPLE_TEMPLATES "/CatchSummary.xls"), true));
  exporter_.DoExport(catches, 1, 4, QStringLiteral("Catch"));
  exporter_.RunExcelMacro(QStringLiteral("FormatCatchBlock"));
  exporter_.RunExcelMacro(QStringLiteral("Totals.AddTotals"));
  gExcelApp->SetDisplayAlerts(false);
  gExcelWorkbook->Save();

  const XlsBook saved = ReadXls(file);
  EXPECT_EQ(saved.SheetNames(), QStringList({"Catch", "Notes", "Summary"}));
  const auto& sheet = saved.Sheet("Catch");
  EXPECT_EQ(sheet.Text(1, 1), "Catch summary");
  EXPECT_EQ(sheet.Text(4, 3), "Fish kept");
  EXPECT_EQ(sheet.Text(7, 1), "Total");
  EXPECT_EQ(sheet.At(7, 2).kind, XlsCell::Kind::kEmpty) << "dates are not totalled";
  // libfreexl does not read formula results; the sums come from a fresh load.
  auto reread = gExcelApp->Workbooks().Add(file);
  auto totals = reread.Worksheets().Item(QStringLiteral("Catch"));
  EXPECT_EQ(totals.Cells(7, 3).Value(), QVariant(42.0));
  EXPECT_EQ(totals.Cells(7, 4).Value(), QVariant(11.75));
  reread.Close();
}
