// A report of the sample survey database run whole, as the main window's
// double-click runs it: the saved queries with their stored parameters, the
// sample template's macros, the Information sheet, and the file read back.
#include <QDateTime>
#include <QFile>
#include <QTemporaryDir>

#include "biff_cell_format.h"
#include "biff_records.h"
#include "export/bas_exporter.h"
#include "export/excel_slots.h"
#include "exporter_fixture.h"
#include "platform/dao/dao.h"
#include "reportdb/stored_lists.h"
#include "xls_reader.h"

namespace {

// Where one user query of a report lands, as the report tables say.
struct Block {
  QString query;
  QString sheet;
  int row = 1;
  int column = 1;
  QVariant parameters;
};

// A value of a query as the saved workbook must hold it.
void ExpectCell(const XlsSheet& sheet, int row, int column, const QVariant& value) {
  const XlsCell cell = sheet.At(row, column);
  const std::string where = sheet.name.toStdString() + " " + std::to_string(row) + "," + std::to_string(column);
  if (value.isNull()) {
    EXPECT_EQ(cell.kind, XlsCell::Kind::kEmpty) << where;
  } else if (value.typeId() == QMetaType::QDateTime || value.typeId() == QMetaType::QDate) {
    EXPECT_TRUE(cell.value.toString().startsWith(value.toDate().toString(Qt::ISODate))) << where;
  } else if (value.typeId() == QMetaType::QString) {
    EXPECT_EQ(cell.value.toString(), value.toString()) << where;
  } else {
    EXPECT_EQ(cell.kind, XlsCell::Kind::kNumber) << where;
    EXPECT_NEAR(cell.value.toDouble(), value.toDouble(), 1e-9) << where;
  }
}

}  // namespace

class SampleReportRunTest : public ExporterTest {
 protected:
  void SetUp() override {
    ExporterTest::SetUp();
    ASSERT_TRUE(temp_.isValid());
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(temp_.filePath(QStringLiteral("config"))));
    database_ = temp_.filePath(QStringLiteral("survey.mdb"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TABULON_SAMPLE_DATABASE), database_));
    QFile(database_).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    db_ = dao::DBEngine::Workspaces(0).OpenDatabase(database_);
  }

  // The report run as the window runs it, with the save dialog answered.
  void Run(const QString& reportName, int outputId, const QString& file) {
    dialogs_.AnswerFileDialog(file);
    basExporter::RunContext context{*db_, database_, [this](const QString& text) { statuses_ << text; }};
    basExporter::ExportReport(reportName, outputId, context);
  }

  QList<Block> BlocksOf(int outputId) {
    auto rows = db_->OpenRecordset(QStringLiteral(
        "SELECT q.QueryName, q.ExcelSheetName, q.ExcelTargetRow, q.ExcelTargetColumn, q.DefaultQueryParameters "
        "FROM tblUserQueries AS q INNER JOIN tblExportableResults_UserQueries AS l ON q.QueryID = l.QueryID "
        "WHERE l.OutputID = %1 ORDER BY q.QueryID").arg(outputId));
    QList<Block> blocks;
    for (; !rows->IsEOF(); rows->MoveNext())
      blocks << Block{rows->Value(0).toString(), rows->Value(1).toString(), rows->Value(2).toInt(),
                      rows->Value(3).toInt(), rows->Value(4)};
    return blocks;
  }

  // The query's records, run here with its stored parameters, against the
  // header and block the workbook holds at the block's place.
  void ExpectBlock(const XlsBook& book, const Block& block) {
    SCOPED_TRACE(block.query.toStdString());
    dao::QueryDef query = db_->QueryDefs(block.query);
    const QStringList values = reportdb::ReadQueryParameters(block.parameters).value_or(QStringList());
    for (int k = 0; k < values.size(); ++k) query.Parameters().Item(k).Value = values.at(k);
    auto records = query.OpenRecordset();
    ASSERT_GT(records->RecordCount(), 0) << "the sample query returns records";
    const XlsSheet& sheet = book.Sheet(block.sheet);
    for (int f = 0; f < records->FieldCount(); ++f) {
      const auto& field = records->Field(f);
      EXPECT_EQ(sheet.Text(block.row, block.column + f), field.caption.isEmpty() ? field.name : field.caption);
    }
    int row = block.row + 1;
    for (; !records->IsEOF(); records->MoveNext(), ++row)
      for (int f = 0; f < records->FieldCount(); ++f) ExpectCell(sheet, row, block.column + f, records->Value(f));
    blockEnds_[block.sheet] = row;
  }

  QString Saved(const QString& name) const { return out_.File(name); }

  QStringList statuses_;
  QMap<QString, int> blockEnds_;  // per sheet, the first row under the last block checked
  std::shared_ptr<dao::Database> db_;
  QString database_;

 private:
  QTemporaryDir temp_;
};

TEST_F(SampleReportRunTest, WeeklyCatchRunsIntoTheSampleTemplateWithItsMacrosAndInformation) {
  const QString file = Saved("Weekly catch.xls");
  Run(QStringLiteral("Weekly catch"), 1, file);

  for (const auto& box : dialogs_.MessageBoxes()) ADD_FAILURE() << "message: " << box.prompt.toStdString();
  EXPECT_EQ(statuses_.last(), "Status: Complete!");
  EXPECT_EQ(opened_, QStringList({file})) << "the saved workbook is handed to the user";

  const XlsBook book = ReadXls(file);
  EXPECT_EQ(book.SheetNames(), QStringList({"Catch", "Notes", "Information", "Summary"}))
      << "added before the sheet written last, as Excel adds";
  const QList<Block> blocks = BlocksOf(1);
  ASSERT_EQ(blocks.size(), 2);
  for (const Block& block : blocks) ExpectBlock(book, block);

  // FormatCatchBlock and AddTotals on the Catch block: a bold grey header,
  // and a bold Total row with a sum under every numeric column.
  const biff::Workbook records = biff::Read(file);
  const auto& catchSheet = records.Sheet(QStringLiteral("Catch"));
  const biff::CellFormat header = biff::FormatOf(records, catchSheet, 4, 1);
  EXPECT_TRUE(header.bold);
  EXPECT_EQ(header.fill, QColor(0xC0, 0xC0, 0xC0)) << "colour index 15";
  EXPECT_FALSE(biff::FormatOf(records, catchSheet, 5, 1).bold) << "data rows keep the plain font";
  const int totalRow = blockEnds_.value(QStringLiteral("Catch"));
  EXPECT_EQ(book.Sheet("Catch").Text(totalRow, 1), "Total");
  EXPECT_TRUE(biff::FormatOf(records, catchSheet, totalRow, 1).bold);

  auto reread = excel::Application::Create()->Workbooks().Add(file);
  auto catches = reread.Worksheets().Item(QStringLiteral("Catch"));
  const XlsSheet& saved = book.Sheet("Catch");
  for (int column = 2; column <= saved.columns; ++column) {
    if (saved.At(5, column).kind != XlsCell::Kind::kNumber) continue;
    double sum = 0;
    for (int row = 5; row < totalRow; ++row) sum += saved.At(row, column).value.toDouble();
    EXPECT_NEAR(catches.Cells(totalRow, column).Value().toDouble(), sum, 1e-6) << "column " << column;
  }
  reread.Close();

  const XlsSheet& info = book.Sheet("Information");
  EXPECT_EQ(info.Text(2, 3), "Ana Lopez");
  EXPECT_EQ(info.Text(4, 3), database_);
  EXPECT_EQ(info.Text(6, 3), "Weekly catch");
  EXPECT_EQ(info.Text(7, 3), "Catch and releases by week, with the busiest weeks");
  EXPECT_EQ(info.Text(11, 3), "- qryCatchByWeek");
  EXPECT_EQ(info.Text(11, 7), "- Start Date/End Date");
  EXPECT_EQ(info.Text(12, 7), "- 01-May-2021/30-Sep-2021");
  EXPECT_EQ(info.Text(13, 3), "- qryBusyWeeks");
  EXPECT_EQ(info.Text(14, 7), "- 01-May-2020/30-Sep-2020");
  EXPECT_EQ(info.Text(16, 2), "*Use Excel Export Assistant to review further details");
}
