// The query destination and query parameters editors on a copy of the
// sample: what they show of a user query, what they save (in the stored
// list encoding, with the current user as author), the values they refuse
// before anything is written, the question when another query is chosen,
// and keys typed going where a grid shows its chosen cell.
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "editor_fixture.h"
#include "macro_template.h"
#include "editors/field_colours.h"
#include "editors/flex_grid.h"
#include "editors/frm_query_destination.h"
#include "editors/frm_query_parameters.h"
#include "editors/query_editors.h"
#include "platform/excel/application.h"
#include "platform/excel/template_sheets.h"
#include "platform/ui/login_name.h"

namespace {

using editors::FlexGrid;

constexpr int kCatchByWeek = 1;       // template, sheet Catch, row 4, two macros; two date parameters
constexpr int kInterviewsAtSite = 3;  // one Long Integer parameter
constexpr int kOpenings = 4;          // no parameters
const QString kSampleTemplate = QStringLiteral(TABULON_SAMPLE_TEMPLATES "/CatchSummary.xls");

class QuerySettingsTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    OpenSampleDatabase();
  }

  QString StoredDestination(int queryId) const {
    return EngineRows(QStringLiteral("SELECT ExcelTemplate, ExcelSheetName, ExcelTargetRow, ExcelTargetColumn, "
                                     "ExcelMacros, Author FROM tblUserQueries WHERE QueryID = %1")
                          .arg(queryId))
        .value(0);
  }
  QString StoredParameters(int queryId) const {
    return EngineRows(QStringLiteral("SELECT DefaultQueryParameters, Author FROM tblUserQueries WHERE QueryID = %1")
                          .arg(queryId))
        .value(0);
  }

  // A person replacing what a line holds.
  static void Retype(QWidget* field, const QString& text) {
    field->setFocus();
    QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(field, Qt::Key_Delete);
    QTest::keyClicks(field, text);
  }
  // A click on a grid cell, then the text typed over what it held.
  static void TypeInCell(FlexGrid& grid, int row, const QString& text) {
    const QRect cell = grid.visualRect(grid.model()->index(row, 1));
    QTest::mouseClick(grid.viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    for (qsizetype n = grid.Text().size(); n > 0; --n) QTest::keyClick(&grid, Qt::Key_Backspace);
    QTest::keyClicks(&grid, text);
  }
  // Keys as the keyboard sends them: to whatever has the focus.
  static void TypeAtFocus(const QString& text) {
    ASSERT_NE(QApplication::focusWidget(), nullptr);
    QTest::keyClicks(QApplication::focusWidget(), text);
  }
  static void EraseAtFocus(qsizetype characters) {
    ASSERT_NE(QApplication::focusWidget(), nullptr);
    for (; characters > 0; --characters) QTest::keyClick(QApplication::focusWidget(), Qt::Key_Backspace);
  }
  // A click on a cell of the fixed row or column as well as a data cell.
  static void ClickCell(FlexGrid& grid, int row, int col) {
    QTest::mouseClick(grid.viewport(), Qt::LeftButton, Qt::NoModifier,
                      grid.visualRect(grid.model()->index(row, col)).center());
  }
  // The keyboard is on the grid, at the value cell of `row`, the one cell
  // that shows as chosen.
  static ::testing::AssertionResult KeysGoTo(const FlexGrid& grid, int row) {
    const QWidget* focus = QApplication::focusWidget();
    if (focus != &grid)
      return ::testing::AssertionFailure() << "the keys go to " << (focus ? focus->metaObject()->className() : "nothing");
    if (grid.currentRow() != row || grid.currentColumn() != 1)
      return ::testing::AssertionFailure() << "the current cell is " << grid.currentRow() << "," << grid.currentColumn();
    const QModelIndexList chosen = grid.selectionModel()->selectedIndexes();
    if (chosen != QModelIndexList{grid.model()->index(row, 1)})
      return ::testing::AssertionFailure() << chosen.size() << " cells show as chosen";
    return ::testing::AssertionSuccess();
  }
  static QStringList Column(const FlexGrid& grid, int col) {
    QStringList cells;
    for (int row = 1; row < grid.Rows(); ++row) cells << grid.TextMatrix(row, col);
    return cells;
  }
  static QStringList Items(const QComboBox& combo) {
    QStringList items;
    for (int i = 0; i < combo.count(); ++i) items << combo.itemText(i);
    return items;
  }
  // Clicks OK expecting one refusal: the box's text, the dialog still open.
  void ExpectRefusal(QDialog& form, QPushButton* ok, const QString& problem) {
    const qsizetype before = script.MessageBoxes().size();
    script.AnswerMessageBox(platform::vbOK);
    QTest::mouseClick(ok, Qt::LeftButton);
    ASSERT_EQ(script.MessageBoxes().size(), before + 1);
    EXPECT_EQ(script.MessageBoxes().last().prompt, problem);
    EXPECT_EQ(script.MessageBoxes().last().style, platform::vbExclamation);
    EXPECT_EQ(script.MessageBoxes().last().title, form.windowTitle());
    EXPECT_TRUE(form.isVisible());
  }
};

TEST_F(QuerySettingsTest, DestinationShowsTheStoredSettingsAndSavesWhatIsTypedWithTheCurrentUser) {
  const QStringList templateSheets = excel::TemplateSheetNames(kSampleTemplate);
  ASSERT_TRUE(templateSheets.contains(QStringLiteral("Catch")));
  WhenShown<frmQueryDestination>([&](frmQueryDestination& form) {
    form.grab().save(QStringLiteral("/tmp/editor-query-destination.png"));
    EXPECT_EQ(form.windowTitle(), QStringLiteral("Query Destination"));
    EXPECT_EQ(form.lstUserQueries->count(), 9);
    EXPECT_EQ(form.lstUserQueries->currentItem()->text(), QStringLiteral("qryCatchByWeek"));
    EXPECT_EQ(form.lblAuthor->text(), QStringLiteral("Author: Ana Lopez"));
    EXPECT_EQ(form.txtTemplate->text(), kSampleTemplate);
    EXPECT_EQ(Items(*form.cboSheetName), templateSheets);
    EXPECT_EQ(form.cboSheetName->currentText(), QStringLiteral("Catch"));
    EXPECT_EQ(form.txtTargetRow->text(), QStringLiteral("4"));
    EXPECT_EQ(form.txtTargetColumn->text(), QStringLiteral("1"));
    EXPECT_EQ(form.lblColumnLetter->text(), QStringLiteral("(column A)"));
    const FlexGrid& macros = *form.msflxExcelMacros;
    EXPECT_EQ(macros.TextMatrix(0, 1).trimmed(), QStringLiteral("Macro"));
    EXPECT_EQ(Column(macros, 0), (QStringList{QStringLiteral("1"), QStringLiteral("2")}));
    EXPECT_EQ(Column(macros, 1),
              (QStringList{QStringLiteral("Formatting.FormatCatchBlock"), QStringLiteral("Totals.AddTotals")}));

    Retype(form.txtTargetRow, QStringLiteral("  12 "));
    Retype(form.txtTargetColumn, QStringLiteral("28"));
    EXPECT_EQ(form.lblColumnLetter->text(), QStringLiteral("(column AB)"));
    Retype(form.cboSheetName->lineEdit(), QStringLiteral(" Summary  "));
    // A macro added at the end and typed in; the first one removed; the
    // rows numbered afresh.
    QTest::mouseClick(form.cmdAddMacro, Qt::LeftButton);
    QTest::keyClicks(form.msflxExcelMacros, QStringLiteral("Extra.Tidy"));
    QTest::keyClick(form.msflxExcelMacros, Qt::Key_Return);
    TypeInCell(*form.msflxExcelMacros, 1, QString());
    QTest::mouseClick(form.cmdRemoveMacro, Qt::LeftButton);
    EXPECT_EQ(Column(macros, 0), (QStringList{QStringLiteral("1"), QStringLiteral("2")}));
    EXPECT_EQ(Column(macros, 1), (QStringList{QStringLiteral("Totals.AddTotals"), QStringLiteral("Extra.Tidy")}));
    // The template in the office has no Extra.Tidy: a warning, and the
    // destination is saved all the same.
    script.AnswerMessageBox(platform::vbOK);
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    ASSERT_FALSE(script.MessageBoxes().isEmpty());
    EXPECT_EQ(script.MessageBoxes().last().prompt,
              QStringLiteral("The office will not run all of the macros added:\r\n\r\n"
                             "The macro 'Extra.Tidy' does not exist in the template.\r\n\r\n"
                             "The destination is saved as it is; a report run stops at what cannot run."));
    EXPECT_EQ(script.MessageBoxes().last().style, platform::vbExclamation);
    EXPECT_FALSE(form.isVisible());
  });
  editors::ShowQueryDestinationEditor(kCatchByWeek);
  EXPECT_EQ(StoredDestination(kCatchByWeek), kSampleTemplate + QStringLiteral("|Summary|12|28|Totals.AddTotals/Extra.Tidy|") +
                                                 platform::LoginName().trimmed());
  // Another program reads the same row from the file.
  EXPECT_EQ(ExportedRows(QStringLiteral("tblUserQueries")).filter(QStringLiteral("Extra.Tidy")).size(), 1);

  // Without a template the sheets of a new workbook are offered; with no
  // macros the list is stored empty.
  WhenShown<frmQueryDestination>([&](frmQueryDestination& form) {
    Retype(form.txtTemplate, QString());
    QTest::keyClick(form.txtTemplate, Qt::Key_Tab);
    EXPECT_EQ(Items(*form.cboSheetName), excel::NewWorkbookSheetNames());
    EXPECT_EQ(form.lblTemplateNote->text(), QStringLiteral("No template: the records go into a new workbook."));
    for (int n = 0; n < 3; ++n) QTest::mouseClick(form.cmdRemoveMacro, Qt::LeftButton);
    EXPECT_EQ(Column(*form.msflxExcelMacros, 1), QStringList{QString()});
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
  });
  editors::ShowQueryDestinationEditor(kCatchByWeek);
  EXPECT_EQ(StoredDestination(kCatchByWeek),
            QStringLiteral("|Summary|12|28||") + platform::LoginName().trimmed());
}

TEST_F(QuerySettingsTest, MacrosOfANewTemplateAreCheckedOnSavingAndWhatWillNotRunIsToldThenSaved) {
  const QString pivot = TempPath(QStringLiteral("pivot.xls"));
  MakeMacroTemplate(*excel::Application::Create(), pivot,
                    {{QStringLiteral("Summary"),
                      QStringLiteral("Sub BuildPivot()\n"
                                     "  Range(\"D1\").Value = \"Catch by site\"\n"
                                     "  ActiveWorkbook.PivotCaches.Create(1, \"Data!A1:B9\").CreatePivotTable \"Data!D2\"\n"
                                     "End Sub\n"
                                     "Sub FindTotals()\n"
                                     "  On Error Resume Next\n"
                                     "  If Worksheets(\"Totals\").Index > 0 And Err.Number = 9 Then Range(\"D1\").Value = 0\n"
                                     "End Sub\n")}});
  WhenShown<frmQueryDestination>([&](frmQueryDestination& form) {
    Retype(form.txtTemplate, pivot);
    Retype(form.cboSheetName->lineEdit(), QStringLiteral("Data"));
    QTest::mouseClick(form.cmdAddMacro, Qt::LeftButton);
    QTest::keyClicks(form.msflxExcelMacros, QStringLiteral("BuildPivot"));
    QTest::keyClick(form.msflxExcelMacros, Qt::Key_Return);
    script.AnswerMessageBox(platform::vbOK);
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    ASSERT_FALSE(script.MessageBoxes().isEmpty());
    // A new template: the query's earlier macros are checked as well.
    const QString warning = script.MessageBoxes().last().prompt;
    EXPECT_TRUE(warning.contains(QStringLiteral("The macro 'Formatting.FormatCatchBlock' does not exist in the template.")))
        << warning.toStdString();
    EXPECT_TRUE(warning.contains(QStringLiteral("Macro 'BuildPivot', module Summary, line 3: \u201CActiveWorkbook.PivotCaches")))
        << warning.toStdString();
    EXPECT_TRUE(warning.contains(QStringLiteral("the macro will fail here. There are no pivot tables")));
    EXPECT_FALSE(form.isVisible());
  });
  editors::ShowQueryDestinationEditor(kCatchByWeek);
  EXPECT_TRUE(StoredDestination(kCatchByWeek)
                  .startsWith(pivot + QStringLiteral("|Data|4|1|Formatting.FormatCatchBlock/Totals.AddTotals/BuildPivot|")));

  // A macro that runs, to another result than Excel's, is told as that.
  WhenShown<frmQueryDestination>([&](frmQueryDestination& form) {
    QTest::mouseClick(form.cmdAddMacro, Qt::LeftButton);
    QTest::keyClicks(form.msflxExcelMacros, QStringLiteral("FindTotals"));
    QTest::keyClick(form.msflxExcelMacros, Qt::Key_Return);
    script.AnswerMessageBox(platform::vbOK);
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    const QString warning = script.MessageBoxes().last().prompt;
    EXPECT_TRUE(warning.startsWith(QStringLiteral(
        "The office runs some calls of the macros added otherwise than Excel:\r\n\r\nMacro 'FindTotals', module Summary, line 7:")))
        << warning.toStdString();
    EXPECT_TRUE(warning.endsWith(QStringLiteral("\r\n\r\nThe destination is saved as it is.")));
  });
  editors::ShowQueryDestinationEditor(kCatchByWeek);
  EXPECT_TRUE(StoredDestination(kCatchByWeek).contains(QStringLiteral("/BuildPivot/FindTotals|")));
}

TEST_F(QuerySettingsTest, DestinationRefusesWhatTheRunCouldNotUseAndWritesNothing) {
  const QString before = StoredDestination(kCatchByWeek);
  WhenShown<frmQueryDestination>([&](frmQueryDestination& form) {
    const QColor red(255, 0, 0);
    Retype(form.txtTemplate, QStringLiteral("C:\\Templates\\Catch.xlt"));
    ExpectRefusal(form, form.cmdOK,
                  QStringLiteral("The template must be a workbook (a name ending in .xls, .xlsx or .ods), or left "
                                 "empty for a new workbook."));
    EXPECT_EQ(editors::FieldColour(*form.txtTemplate), red);
    // A Windows path to an .xls is kept: the database is shared with Windows.
    Retype(form.txtTemplate, QStringLiteral("C:\\Templates\\Catch.XLS"));
    EXPECT_NE(editors::FieldColour(*form.txtTemplate), red);
    QTest::keyClick(form.txtTemplate, Qt::Key_Tab);
    EXPECT_EQ(form.lblTemplateNote->text(), QStringLiteral("The template is not on this computer; type the sheet name."));

    Retype(form.cboSheetName->lineEdit(), QStringLiteral("Week/Year"));
    ExpectRefusal(form, form.cmdOK, QStringLiteral("A sheet name has at most 31 characters and none of  : \\ / ? * [ ]"));
    Retype(form.cboSheetName->lineEdit(), QStringLiteral("Catch"));

    for (const char* row : {"0", "32768", "4.5", "four"}) {
      Retype(form.txtTargetRow, QLatin1String(row));
      ExpectRefusal(form, form.cmdOK, QStringLiteral("The target row must be a whole number from 1 to 32767."));
      EXPECT_EQ(editors::FieldColour(*form.txtTargetRow), red) << row;
    }
    Retype(form.txtTargetRow, QStringLiteral("32767"));
    Retype(form.txtTargetColumn, QStringLiteral("257"));
    EXPECT_EQ(form.lblColumnLetter->text(), QString());
    ExpectRefusal(form, form.cmdOK, QStringLiteral("The target column must be a whole number from 1 to 256 (A to IV)."));
    Retype(form.txtTargetColumn, QStringLiteral("256"));
    EXPECT_EQ(form.lblColumnLetter->text(), QStringLiteral("(column IV)"));

    TypeInCell(*form.msflxExcelMacros, 2, QStringLiteral("Totals/AddTotals"));
    ExpectRefusal(form, form.cmdOK,
                  QStringLiteral("Macro 2 contains '/', which separates the stored macros; a macro name cannot "
                                 "contain it."));
    EXPECT_EQ(form.msflxExcelMacros->Row(), 2);
    EXPECT_EQ(form.msflxExcelMacros->CellBackColor(), 255u);
    form.grab().save(QStringLiteral("/tmp/editor-query-destination-refused.png"));
    QTest::mouseClick(form.cmdCancel, Qt::LeftButton);
  });
  editors::ShowQueryDestinationEditor(kCatchByWeek);
  EXPECT_EQ(StoredDestination(kCatchByWeek), before);
}

TEST_F(QuerySettingsTest, BrowsingForATemplateOffersItsSheetsAndChoosingAnotherQueryAsksFirst) {
  const QString before = StoredDestination(kCatchByWeek);
  WhenShown<frmQueryDestination>([&](frmQueryDestination& form) {
    Retype(form.txtTemplate, QString());
    script.AnswerFileDialog(kSampleTemplate);
    QTest::mouseClick(form.cmdBrowse, Qt::LeftButton);
    ASSERT_EQ(script.FileDialogsShown().size(), 1);
    EXPECT_EQ(script.FileDialogsShown()[0].request.filter,
              QStringLiteral("Workbooks (*.xls;*.xlsx;*.ods)|*.xls;*.xlsx;*.ods|All Files (*.*)|*.*"));
    EXPECT_EQ(form.txtTemplate->text(), kSampleTemplate);
    EXPECT_EQ(Items(*form.cboSheetName), excel::TemplateSheetNames(kSampleTemplate));
    Retype(form.txtTargetRow, QStringLiteral("7"));

    // Cancel stays on the changed query; No leaves it unsaved.
    script.AnswerMessageBox(platform::vbCancel);
    ClickEntry(*form.lstUserQueries, QStringLiteral("qryOpenings"));
    EXPECT_EQ(script.MessageBoxes().last().prompt, QStringLiteral("Save the changes to 'qryCatchByWeek'?"));
    EXPECT_EQ(script.MessageBoxes().last().style, platform::vbYesNoCancel | platform::vbQuestion);
    EXPECT_EQ(form.lstUserQueries->currentItem()->text(), QStringLiteral("qryCatchByWeek"));
    EXPECT_EQ(form.txtTargetRow->text(), QStringLiteral("7"));
    script.AnswerMessageBox(platform::vbNo);
    ClickEntry(*form.lstUserQueries, QStringLiteral("qryOpenings"));
    EXPECT_EQ(form.lblAuthor->text(), QStringLiteral("Author: Ben Carter"));
    EXPECT_EQ(form.cboSheetName->currentText(), QStringLiteral("Sheet2"));
    EXPECT_EQ(StoredDestination(kCatchByWeek), before);

    // Yes saves before moving on; a refused value keeps the query shown.
    Retype(form.txtTargetColumn, QStringLiteral("3"));
    script.AnswerMessageBox(platform::vbYes);
    ClickEntry(*form.lstUserQueries, QStringLiteral("qryCatchByWeek"));
    EXPECT_EQ(form.txtTargetRow->text(), QStringLiteral("4"));
    Retype(form.txtTargetRow, QStringLiteral("0"));
    script.AnswerMessageBox(platform::vbYes);
    script.AnswerMessageBox(platform::vbOK);
    ClickEntry(*form.lstUserQueries, QStringLiteral("qryOpenings"));
    EXPECT_EQ(script.MessageBoxes().last().prompt, QStringLiteral("The target row must be a whole number from 1 to 32767."));
    EXPECT_EQ(form.lstUserQueries->currentItem()->text(), QStringLiteral("qryCatchByWeek"));
    QTest::mouseClick(form.cmdCancel, Qt::LeftButton);
  });
  editors::ShowQueryDestinationEditor(kCatchByWeek);
  EXPECT_EQ(StoredDestination(kOpenings), QStringLiteral("|Sheet2|1|3||") + platform::LoginName().trimmed());
  EXPECT_EQ(StoredDestination(kCatchByWeek), before);
}

TEST_F(QuerySettingsTest, ParametersAreOneRowEachInTheSavedQueryOrderAndSavedAsOneList) {
  WhenShown<frmQueryParameters>([&](frmQueryParameters& form) {
    form.grab().save(QStringLiteral("/tmp/editor-query-parameters.png"));
    EXPECT_EQ(form.windowTitle(), QStringLiteral("Query Parameters"));
    EXPECT_EQ(form.lstUserQueries->currentItem()->text(), QStringLiteral("qryCatchByWeek"));
    const FlexGrid& grid = *form.msflxQueryParameters;
    EXPECT_EQ(grid.TextMatrix(0, 1).trimmed(), QStringLiteral("Value"));
    EXPECT_EQ(Column(grid, 0), (QStringList{QStringLiteral("Start Date"), QStringLiteral("End Date")}));
    EXPECT_EQ(Column(grid, 1), (QStringList{QStringLiteral("01-May-2021"), QStringLiteral("30-Sep-2021")}));
    EXPECT_EQ(form.lblParameterType->text(), QStringLiteral("[Start Date] takes a value of type Date/Time."));
    TypeInCell(*form.msflxQueryParameters, 2, QStringLiteral("31-Oct-2021"));
    EXPECT_EQ(form.lblParameterType->text(), QStringLiteral("[End Date] takes a value of type Date/Time."));

    // A query without parameters has nothing to edit.
    script.AnswerMessageBox(platform::vbYes);
    ClickEntry(*form.lstUserQueries, QStringLiteral("qryOpenings"));
    EXPECT_TRUE(form.msflxQueryParameters->isHidden());
    EXPECT_FALSE(form.lblNotParameterQuery->isHidden());
    EXPECT_EQ(form.lblNotParameterQuery->text(), QStringLiteral("This is not a parameter query"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  editors::ShowQueryParametersEditor(kCatchByWeek);
  const QString user = platform::LoginName().trimmed();
  EXPECT_EQ(StoredParameters(kCatchByWeek), QStringLiteral("01-May-2021/31-Oct-2021|") + user);
  EXPECT_EQ(StoredParameters(kOpenings), QStringLiteral("|Ben Carter"));
}

TEST_F(QuerySettingsTest, ParametersRefuseValuesThatDoNotConvertOrHoldTheSeparator) {
  const QString before = StoredParameters(kInterviewsAtSite);
  WhenShown<frmQueryParameters>([&](frmQueryParameters& form) {
    FlexGrid& grid = *form.msflxQueryParameters;
    EXPECT_EQ(Column(grid, 0), QStringList{QStringLiteral("Site Number")});
    const QList<std::pair<QString, QString>> refused = {
        {QStringLiteral("five"), QStringLiteral("The value for [Site Number] cannot be read as a Long Integer.")},
        {QStringLiteral(""), QStringLiteral("The value for [Site Number] is missing.")},
        {QStringLiteral("5/6"),
         QStringLiteral("The value for [Site Number] contains '/', which separates the stored values; write it "
                        "without (a date as 01-May-2021, for example).")},
    };
    for (const auto& [value, problem] : refused) {
      TypeInCell(grid, 1, value);
      ExpectRefusal(form, form.cmdOK, problem);
      EXPECT_EQ(grid.CellBackColor(), 255u) << value.toStdString();
    }
    // Typing takes the red marking off.
    TypeInCell(grid, 1, QStringLiteral("7"));
    EXPECT_EQ(grid.CellBackColor(), 0x80000005u);

    script.AnswerMessageBox(platform::vbNo);
    ClickEntry(*form.lstUserQueries, QStringLiteral("qryCatchByWeek"));
    TypeInCell(grid, 1, QStringLiteral("1st of May"));
    ExpectRefusal(form, form.cmdOK, QStringLiteral("The value for [Start Date] is not a date (for example 01-May-2021)."));
    TypeInCell(grid, 1, QStringLiteral("2021-05-02"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  editors::ShowQueryParametersEditor(kInterviewsAtSite);
  EXPECT_EQ(StoredParameters(kInterviewsAtSite), before);
  EXPECT_TRUE(StoredParameters(kCatchByWeek).startsWith(QStringLiteral("2021-05-02/30-Sep-2021|")));
}

TEST_F(QuerySettingsTest, ParameterValuesTypedWithoutAClickGoIntoTheChosenCell) {
  WhenShown<frmQueryParameters>([&](frmQueryParameters& form) {
    FlexGrid& grid = *form.msflxQueryParameters;
    EXPECT_TRUE(KeysGoTo(grid, 1));
    EraseAtFocus(grid.Text().size());
    TypeAtFocus(QStringLiteral("02-May-2021"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    EXPECT_TRUE(KeysGoTo(grid, 2));

    // Another query chosen in the list, after one without parameters: its
    // first value takes the keys.
    script.AnswerMessageBox(platform::vbYes);
    ClickEntry(*form.lstUserQueries, QStringLiteral("qryOpenings"));
    EXPECT_EQ(QApplication::focusWidget(), form.lstUserQueries);
    // Going through the list with the arrow keys shows each query (the one
    // above takes values) and leaves the keys in the list.
    const std::int32_t openings = form.shownQueryId;
    for (const Qt::Key key : {Qt::Key_Up, Qt::Key_Down}) {
      QTest::keyClick(form.lstUserQueries, key);
      EXPECT_EQ(QApplication::focusWidget(), form.lstUserQueries);
      EXPECT_EQ(form.shownQueryId != openings, key == Qt::Key_Up);
    }
    EXPECT_FALSE(grid.isVisible());
    ClickEntry(*form.lstUserQueries, QStringLiteral("qryInterviewsAtSite"));
    ASSERT_EQ(Column(grid, 0), QStringList{QStringLiteral("Site Number")});
    EXPECT_TRUE(KeysGoTo(grid, 1));
    // A refused value keeps the keys on its cell, marked red.
    TypeAtFocus(QStringLiteral("x"));
    ExpectRefusal(form, form.cmdOK, QStringLiteral("The value for [Site Number] cannot be read as a Long Integer."));
    EXPECT_EQ(QApplication::focusWidget(), &grid);
    EXPECT_EQ(grid.currentRow(), 1);
    EXPECT_EQ(grid.CellBackColor(), 255u);
    EraseAtFocus(1);
    TypeAtFocus(QStringLiteral("2"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  editors::ShowQueryParametersEditor(kCatchByWeek);
  const QString user = platform::LoginName().trimmed();
  EXPECT_EQ(StoredParameters(kCatchByWeek), QStringLiteral("02-May-2021/30-Sep-2021|") + user);
  EXPECT_EQ(StoredParameters(kInterviewsAtSite), QStringLiteral("52|") + user);
}

TEST_F(QuerySettingsTest, TheMacroGridTakesTheKeysWhereverItsCellIsChosen) {
  WhenShown<frmQueryDestination>([&](frmQueryDestination& form) {
    FlexGrid& macros = *form.msflxExcelMacros;
    EXPECT_TRUE(KeysGoTo(macros, 1));
    TypeAtFocus(QStringLiteral("X"));
    // A click on a row's number chooses its macro, a click on the heading
    // the column's first, wherever the keys were.
    QTest::mouseClick(form.txtTargetRow, Qt::LeftButton);
    ASSERT_EQ(QApplication::focusWidget(), form.txtTargetRow);
    ClickCell(macros, 2, 0);
    EXPECT_TRUE(KeysGoTo(macros, 2));
    TypeAtFocus(QStringLiteral("Y"));
    ClickCell(macros, 0, 1);
    EXPECT_TRUE(KeysGoTo(macros, 1));

    QTest::mouseClick(form.cmdAddMacro, Qt::LeftButton);
    EXPECT_TRUE(KeysGoTo(macros, 3));
    TypeAtFocus(QStringLiteral("Extra/Tidy"));
    ExpectRefusal(form, form.cmdOK,
                  QStringLiteral("Macro 3 contains '/', which separates the stored macros; a macro name cannot "
                                 "contain it."));
    EXPECT_EQ(QApplication::focusWidget(), &macros);
    EXPECT_EQ(macros.currentRow(), 3);
    EraseAtFocus(5);
    TypeAtFocus(QStringLiteral(".Tidy"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  editors::ShowQueryDestinationEditor(kCatchByWeek);
  EXPECT_EQ(StoredDestination(kCatchByWeek).section(QLatin1Char('|'), 4, 4),
            QStringLiteral("Formatting.FormatCatchBlockX/Totals.AddTotalsY/Extra.Tidy"));
}

TEST_F(QuerySettingsTest, AUserQueryWhoseSavedQueryIsGoneIsReportedAndNotEdited) {
  ASSERT_TRUE(store->AddUserQuery(QStringLiteral("qryNoLongerSaved")));
  const int queryId = EngineRows(QStringLiteral("SELECT QueryID FROM tblUserQueries WHERE QueryName = 'qryNoLongerSaved'"))
                          .value(0)
                          .toInt();
  script.AnswerMessageBox(platform::vbOK);
  editors::ShowQueryParametersEditor(queryId);
  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("basQueryParameters::frmQueryParameters_OnShow"));
  EXPECT_TRUE(script.MessageBoxes()[0].prompt.contains(
      QStringLiteral("The saved query 'qryNoLongerSaved' is not in the database.")))
      << script.MessageBoxes()[0].prompt.toStdString();
  EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

}  // namespace
