// A report made from nothing in the editors and run into a workbook: typed
// in as a new report, given a saved query with a parameter through the
// query selection, the query's destination and parameter value
// typed into their editors, then run by the export and read back from the
// saved file.
#include <QComboBox>
#include <QFile>
#include <QListWidget>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>

#include "editor_fixture.h"
#include "editors/bas_edit_report_queries.h"
#include "editors/bas_output_report.h"
#include "editors/frm_edit_report_queries.h"
#include "editors/flex_grid.h"
#include "editors/frm_output_report.h"
#include "editors/frm_query_destination.h"
#include "editors/frm_query_parameters.h"
#include "export/bas_exporter.h"
#include "export/excel_slots.h"
#include "xls_reader.h"

namespace {

using editors::FlexGrid;

const QString kQuery = QStringLiteral("qryMarkedFish");  // one parameter: [Survey Year]
constexpr int kRow = 3;
constexpr int kColumn = 2;

class ReportJourneyTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(TempPath(QStringLiteral("config"))));
    OpenSampleDatabase();
  }
  void TearDown() override {
    ReleaseExcelSlots();
    EditorTest::TearDown();
  }

  static void Retype(QWidget* field, const QString& text) {
    field->setFocus();
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
  }

  int QueryKey() const {
    return EngineRows(QStringLiteral("SELECT QueryID FROM tblUserQueries WHERE QueryName = '") + kQuery +
                      QStringLiteral("'"))
        .value(0)
        .toInt();
  }
};

TEST_F(ReportJourneyTest, ANewReportBuiltInTheEditorsRunsIntoAWorkbook) {
  int outputId = 0;
  WhenShown<frmOutputReport>([&](frmOutputReport& form) {
    QTest::keyClick(form.txtNewReportName, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(form.txtNewReportName, QStringLiteral("Marked fish 2021"));
    QTest::keyClick(form.txtDescription, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(form.txtDescription, QStringLiteral("Fish marked in the 2021 survey"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    outputId = form.lblOutputID->text().toInt();
    ASSERT_GT(outputId, 0);

    WhenShown<frmEditReportQueries>([&](frmEditReportQueries& queries) {
      EXPECT_EQ(queries.cboScenName->currentText(), QStringLiteral("Marked fish 2021"));
      DoubleClickEntry(*queries.lstAvailableUserQueries, kQuery);
      QTest::mouseClick(queries.cmdOK, Qt::LeftButton);
    });
    QTest::mouseClick(form.cmdAddQueries, Qt::LeftButton);
    EXPECT_EQ(Entries(*form.lstReportQueries), QStringList{kQuery});

    // The query's destination and its parameter's value, typed in their editors.
    ClickEntry(*form.lstReportQueries, kQuery);
    WhenShown<frmQueryDestination>([&](frmQueryDestination& destination) {
      EXPECT_EQ(destination.lstUserQueries->currentItem()->text(), kQuery);
      Retype(destination.txtTemplate, QString());
      Retype(destination.cboSheetName->lineEdit(), QStringLiteral("Sheet1"));
      Retype(destination.txtTargetRow, QString::number(kRow));
      Retype(destination.txtTargetColumn, QString::number(kColumn));
      QTest::mouseClick(destination.cmdOK, Qt::LeftButton);
      EXPECT_FALSE(destination.isVisible());
    });
    QTest::mouseClick(form.cmdDestination, Qt::LeftButton);
    WhenShown<frmQueryParameters>([&](frmQueryParameters& parameters) {
      FlexGrid& grid = *parameters.msflxQueryParameters;
      EXPECT_EQ(grid.TextMatrix(1, 0), QStringLiteral("Survey Year"));
      QTest::mouseClick(grid.viewport(), Qt::LeftButton, Qt::NoModifier,
                        grid.visualRect(grid.model()->index(1, 1)).center());
      for (qsizetype n = grid.Text().size(); n > 0; --n) QTest::keyClick(&grid, Qt::Key_Backspace);
      QTest::keyClicks(&grid, QStringLiteral("2021"));
      QTest::mouseClick(parameters.cmdOK, Qt::LeftButton);
      EXPECT_FALSE(parameters.isVisible());
    });
    QTest::mouseClick(form.cmdParameters, Qt::LeftButton);
    QTest::mouseClick(form.cmdCancel, Qt::LeftButton);
  });
  basOutputReport::frmOutputReport_OnShow(basOutputReport::kNewReport);
  ASSERT_GT(outputId, 0);

  EXPECT_EQ(EngineRows(QStringLiteral("SELECT ExcelSheetName, ExcelTargetRow, ExcelTargetColumn, "
                                      "DefaultQueryParameters FROM tblUserQueries WHERE QueryID = %1")
                           .arg(QueryKey())),
            QStringList{QStringLiteral("Sheet1|%1|%2|2021").arg(kRow).arg(kColumn)});

  const QString workbook = TempPath(QStringLiteral("Marked fish 2021.xls"));
  script.AnswerFileDialog(workbook);
  QStringList statuses;
  basExporter::RunContext context{*database, path, [&statuses](const QString& text) { statuses << text; }};
  basExporter::ExportReport(QStringLiteral("Marked fish 2021"), outputId, context);

  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << script.MessageBoxes().value(0).prompt.toStdString();
  EXPECT_EQ(statuses.value(statuses.size() - 1), QStringLiteral("Status: Complete!"));
  ASSERT_TRUE(QFile::exists(workbook));

  dao::QueryDef query = database->QueryDefs(kQuery);
  query.Parameters().Item(0).Value = 2021;
  const std::unique_ptr<dao::Recordset> expected = query.OpenRecordset();
  ASSERT_GT(expected->RecordCount(), 0);
  const XlsBook book = ReadXls(workbook);
  const XlsSheet& data = book.Sheet(QStringLiteral("Sheet1"));
  for (int f = 0; f < expected->FieldCount(); ++f) {
    const dao::FieldInfo& field = expected->Field(f);
    EXPECT_EQ(data.Text(kRow, kColumn + f), field.caption.isEmpty() ? field.name : field.caption) << "field " << f;
  }
  EXPECT_EQ(data.rows, kRow + expected->RecordCount());
  const XlsSheet& information = book.Sheet(QStringLiteral("Information"));
  EXPECT_EQ(information.Text(6, 3), QStringLiteral("Marked fish 2021"));
  EXPECT_EQ(information.Text(7, 3), QStringLiteral("Fish marked in the 2021 survey"));
}

}  // namespace
