// The report query selection: choices for several reports kept together,
// written together by OK in one transaction, dropped by Cancel and
// "List...", and a failure part-way leaving every link as it was.
#include <QComboBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>

#include "editor_fixture.h"
#include "editors/bas_edit_report_queries.h"
#include "editors/bas_output_report.h"
#include "editors/frm_edit_report_queries.h"
#include "editors/frm_edit_user_query_list.h"
#include "editors/frm_output_report.h"
#include "jet/create.h"

namespace {

using basEditReportQueries::Selections;

constexpr int kContacts = 2;
constexpr int kEmptyReport = 4;
const QString kLinks = QStringLiteral("tblExportableResults_UserQueries");

QStringList Sorted(QStringList rows) {
  rows.sort();
  return rows;
}

// The report chosen the way a person does it: arrow keys in the combo.
void ChooseReport(frmEditReportQueries& form, const QString& name) {
  form.cboScenName->setFocus();
  while (form.cboScenName->currentText() != name && form.cboScenName->currentIndex() < form.cboScenName->count() - 1) {
    QTest::keyClick(form.cboScenName, Qt::Key_Down);
  }
  while (form.cboScenName->currentText() != name && form.cboScenName->currentIndex() > 0) {
    QTest::keyClick(form.cboScenName, Qt::Key_Up);
  }
  ASSERT_EQ(form.cboScenName->currentText(), name);
}

class ReportQueriesTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    OpenReportsFixture();
  }

  QStringList LinksOf(int outputId) const {
    return Sorted(EngineRows(QStringLiteral("SELECT QueryID FROM tblExportableResults_UserQueries WHERE OutputID = ") +
                             QString::number(outputId)));
  }
};

TEST_F(ReportQueriesTest, ChoicesForTwoReportsAreKeptWhileSwitchingAndSavedTogether) {
  const QStringList allLinksBefore = Sorted(ExportedRows(kLinks));
  WhenShown<frmEditReportQueries>([&](frmEditReportQueries& form) {
    EXPECT_EQ(form.cboScenName->currentText(), QStringLiteral("Contacts"));
    EXPECT_EQ(form.lblOutputID->text(), QStringLiteral("2"));
    EXPECT_EQ(form.txtDescription->toPlainText(), QStringLiteral("Customers and suppliers by city."));
    EXPECT_EQ(Entries(*form.lstSelectedQueries), QStringList{QStringLiteral("Customers and Suppliers by City")});
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 9);
    EXPECT_EQ(Entries(*form.lstAvailableUserQueries).first(), QStringLiteral("Category Sales for 1997"));

    DoubleClickEntry(*form.lstAvailableUserQueries, QStringLiteral("Sales by Year"));
    ClickEntry(*form.lstAvailableUserQueries, QStringLiteral("Category Sales for 1997"));
    QTest::mouseClick(form.cmdSelect, Qt::LeftButton);
    DoubleClickEntry(*form.lstAvailableUserQueries, QStringLiteral("Employee Sales by Country"));
    // Listed by key, kept in the order chosen.
    EXPECT_EQ(Entries(*form.lstSelectedQueries),
              (QStringList{QStringLiteral("Employee Sales by Country"), QStringLiteral("Customers and Suppliers by City"),
                           QStringLiteral("Sales by Year"), QStringLiteral("Category Sales for 1997")}));
    const int contacts = form.cboScenName->currentIndex();
    EXPECT_EQ(Selections()[contacts].selectedQueries, (QVector<int>{4, 7, 9, 1}));
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 6);

    ChooseReport(form, QStringLiteral("Empty Report"));
    EXPECT_EQ(form.lblOutputID->text(), QStringLiteral("4"));
    EXPECT_TRUE(Entries(*form.lstSelectedQueries).isEmpty());
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 10);
    DoubleClickEntry(*form.lstAvailableUserQueries, QStringLiteral("Order Subtotals"));

    // Back on Contacts its choice is still there; one query goes back.
    ChooseReport(form, QStringLiteral("Contacts"));
    EXPECT_EQ(form.lstSelectedQueries->count(), 4);
    DoubleClickEntry(*form.lstSelectedQueries, QStringLiteral("Customers and Suppliers by City"));
    EXPECT_EQ(Sorted(Entries(*form.lstSelectedQueries)),
              (QStringList{QStringLiteral("Category Sales for 1997"), QStringLiteral("Employee Sales by Country"),
                           QStringLiteral("Sales by Year")}));
    EXPECT_TRUE(Entries(*form.lstAvailableUserQueries).contains(QStringLiteral("Customers and Suppliers by City")));

    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  basEditReportQueries::frmEditReportQueries_OnShow(kContacts);

  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << BoxTitles().join('|').toStdString();
  EXPECT_TRUE(storeErrors.isEmpty()) << storeErrors.join('|').toStdString();
  EXPECT_TRUE(Selections().isEmpty());
  EXPECT_EQ(LinksOf(kContacts), (QStringList{QStringLiteral("1"), QStringLiteral("7"), QStringLiteral("9")}));
  EXPECT_EQ(LinksOf(kEmptyReport), QStringList{QStringLiteral("8")});

  QStringList expected = allLinksBefore;
  expected.removeAll(QStringLiteral("2,4"));
  expected << QStringLiteral("2,1") << QStringLiteral("2,7") << QStringLiteral("2,9") << QStringLiteral("4,8");
  EXPECT_EQ(Sorted(ExportedRows(kLinks)), Sorted(expected));
}

TEST_F(ReportQueriesTest, AReportWithoutQueriesOffersAllAndTakingTheLastLeavesOneEmptySlot) {
  WhenShown<frmEditReportQueries>([&](frmEditReportQueries& form) {
    const int index = form.cboScenName->currentIndex();
    EXPECT_EQ(form.cboScenName->currentText(), QStringLiteral("Empty Report"));
    EXPECT_EQ(Selections()[index].selectedQueries, QVector<int>{0});
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 10);
    while (form.lstAvailableUserQueries->count() > 0) {
      DoubleClickEntry(*form.lstAvailableUserQueries, form.lstAvailableUserQueries->item(0)->text());
    }
    EXPECT_EQ(form.lstSelectedQueries->count(), 10);
    EXPECT_EQ(Selections()[index].availableQueries, QVector<int>{0});
    // The list always shows the chosen queries by key.
    EXPECT_EQ(form.lstSelectedQueries->item(0)->text(), QStringLiteral("Employee Sales by Country"));
    EXPECT_EQ(form.lstSelectedQueries->item(9)->text(), QStringLiteral("qryRetired"));

    DoubleClickEntry(*form.lstSelectedQueries, QStringLiteral("qryRetired"));
    EXPECT_EQ(Entries(*form.lstAvailableUserQueries), QStringList{QStringLiteral("qryRetired")});
    EXPECT_EQ(Selections()[index].availableQueries, QVector<int>{10});
    EXPECT_EQ(Selections()[index].selectedQueries.size(), 9);
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
  });
  basEditReportQueries::frmEditReportQueries_OnShow(kEmptyReport);

  EXPECT_EQ(LinksOf(kEmptyReport).size(), 9);
  EXPECT_FALSE(LinksOf(kEmptyReport).contains(QStringLiteral("10")));
  EXPECT_FALSE(LinksOf(kEmptyReport).contains(QStringLiteral("0")));
}

TEST_F(ReportQueriesTest, CancelAndListDropEveryChoiceAndListOpensTheUserQueryEditor) {
  const QStringList before = ExportedRows(kLinks);
  WhenShown<frmEditReportQueries>([&](frmEditReportQueries& form) {
    DoubleClickEntry(*form.lstAvailableUserQueries, QStringLiteral("Sales by Year"));
    QTest::mouseClick(form.cmdCancel, Qt::LeftButton);
  });
  basEditReportQueries::frmEditReportQueries_OnShow(kContacts);
  EXPECT_EQ(ExportedRows(kLinks), before);

  bool listEditorShown = false;
  WhenShown<frmEditReportQueries>([&](frmEditReportQueries& form) {
    DoubleClickEntry(*form.lstSelectedQueries, QStringLiteral("Customers and Suppliers by City"));
    ChooseReport(form, QStringLiteral("Empty Report"));
    DoubleClickEntry(*form.lstAvailableUserQueries, QStringLiteral("Sales by Year"));
    WhenShown<frmEditUserQueryList>([&](frmEditUserQueryList& editor) {
      listEditorShown = true;
      EXPECT_EQ(editor.lstAvailableUserQueries->count(), 10);
      // The selection closed before the list editor opened.
      for (QWidget* window : QApplication::topLevelWidgets()) {
        EXPECT_FALSE(window->isVisible() && qobject_cast<frmEditReportQueries*>(window));
      }
    });
    QTest::mouseClick(form.cmdAdd, Qt::LeftButton);
  });
  basEditReportQueries::frmEditReportQueries_OnShow(kContacts);
  EXPECT_TRUE(listEditorShown);
  EXPECT_EQ(ExportedRows(kLinks), before);
  EXPECT_TRUE(script.MessageBoxes().isEmpty());
}

TEST_F(ReportQueriesTest, OkShowsTheReportEditorsQueriesAfresh) {
  WhenShown<frmOutputReport>([&](frmOutputReport& editor) {
    EXPECT_EQ(editor.lstReportQueries->count(), 0);
    WhenShown<frmEditReportQueries>([&](frmEditReportQueries& form) {
      DoubleClickEntry(*form.lstAvailableUserQueries, QStringLiteral("Order Subtotals"));
      QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    });
    QTest::mouseClick(editor.cmdAddQueries, Qt::LeftButton);
    EXPECT_EQ(Entries(*editor.lstReportQueries), QStringList{QStringLiteral("Order Subtotals")});
  });
  basOutputReport::frmOutputReport_OnShow(kEmptyReport);
  EXPECT_EQ(LinksOf(kEmptyReport), QStringList{QStringLiteral("8")});
}

// A database whose link table lets a query belong to one report only, so
// that the engine itself refuses the second report's link.
class FailingReportQueriesTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    const QString file = TempPath(QStringLiteral("one-report-a-query.mdb"));
    ASSERT_TRUE(jet::CreateDatabase(file.toStdString(), {}).ok());
    ASSERT_TRUE(jet::CreateTables(file.toStdString(), Tables(), {}).ok());
    OpenDatabase(file);
    for (const char* sql :
         {"INSERT INTO tblExportableResults (Abbreviation, Author) VALUES ('Alpha', 'jdoe')",
          "INSERT INTO tblExportableResults (Abbreviation, Author) VALUES ('Beta', 'jdoe')",
          "INSERT INTO tblUserQueries (QueryName) VALUES ('First')",
          "INSERT INTO tblUserQueries (QueryName) VALUES ('Second')",
          "INSERT INTO tblUserQueries (QueryName) VALUES ('Third')",
          "INSERT INTO tblExportableResults_UserQueries (OutputID, QueryID) VALUES (1, 1)",
          "INSERT INTO tblExportableResults_UserQueries (OutputID, QueryID) VALUES (2, 2)"}) {
      database->Execute(QString::fromLatin1(sql));
    }
  }

  static std::vector<jet::TableSpec> Tables() {
    using jet::ColumnType;
    jet::TableSpec reports{"tblExportableResults",
                           {{"OutputID", ColumnType::kLong}, {"Abbreviation", ColumnType::kText, 50},
                            {"DateCreated", ColumnType::kDateTime}, {"Author", ColumnType::kText, 50},
                            {"Description", ColumnType::kMemo}},
                           {jet::IndexSpec("PrimaryKey", {"OutputID"}, true)},
                           {}};
    reports.columns[0].autonumber = true;
    jet::TableSpec queries{"tblUserQueries",
                           {{"QueryID", ColumnType::kLong}, {"QueryName", ColumnType::kText, 255},
                            {"Author", ColumnType::kText, 50}, {"ExcelTemplate", ColumnType::kText, 255},
                            {"ExcelSheetName", ColumnType::kText, 50}, {"ExcelTargetRow", ColumnType::kInteger},
                            {"ExcelTargetColumn", ColumnType::kInteger}, {"ExcelMacros", ColumnType::kMemo},
                            {"DefaultQueryParameters", ColumnType::kMemo}},
                           {jet::IndexSpec("PrimaryKey", {"QueryID"}, true)},
                           {}};
    queries.columns[0].autonumber = true;
    jet::IndexSpec oneReport("OneReportAQuery", {"QueryID"});
    oneReport.unique = true;
    jet::TableSpec links{"tblExportableResults_UserQueries",
                         {{"OutputID", ColumnType::kLong}, {"QueryID", ColumnType::kLong}},
                         {jet::IndexSpec("OutputID", {"OutputID"}), oneReport},
                         {}};
    return {reports, queries, links};
  }
};

TEST_F(FailingReportQueriesTest, ARefusedLinkForTheSecondReportRollsBackEveryReportAndIsReportedOnce) {
  const QStringList before = ExportedRows(kLinks);
  ASSERT_EQ(Sorted(before), (QStringList{QStringLiteral("1,1"), QStringLiteral("2,2")}));
  WhenShown<frmEditReportQueries>([&](frmEditReportQueries& form) {
    // Alpha first: unselect its query and take the third; then Beta takes
    // the third too, which the link table's unique index refuses.
    DoubleClickEntry(*form.lstSelectedQueries, QStringLiteral("First"));
    DoubleClickEntry(*form.lstAvailableUserQueries, QStringLiteral("Third"));
    ChooseReport(form, QStringLiteral("Beta"));
    DoubleClickEntry(*form.lstAvailableUserQueries, QStringLiteral("Third"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    // The dialog stays, its choices intact, for another try or Cancel.
    EXPECT_TRUE(form.isVisible());
    EXPECT_EQ(Entries(*form.lstSelectedQueries), (QStringList{QStringLiteral("Second"), QStringLiteral("Third")}));
  });
  basEditReportQueries::frmEditReportQueries_OnShow(1);

  ASSERT_EQ(script.MessageBoxes().size(), 1) << BoxTitles().join('|').toStdString();
  const auto& box = script.MessageBoxes()[0];
  EXPECT_EQ(box.title, QStringLiteral("basEditReportQueries::frmEditReportQueries_cmdOK_OnClick"));
  EXPECT_EQ(box.style, platform::vbExclamation);
  EXPECT_TRUE(box.prompt.startsWith(QStringLiteral("Error: ")));
  EXPECT_TRUE(box.prompt.endsWith(QStringLiteral("\r\n\r\nError editing user query information.  Update aborted.")))
      << box.prompt.toStdString();
  EXPECT_TRUE(storeErrors.isEmpty()) << storeErrors.join('|').toStdString();
  EXPECT_EQ(Sorted(EngineRows(QStringLiteral("SELECT OutputID, QueryID FROM tblExportableResults_UserQueries"))),
            (QStringList{QStringLiteral("1|1"), QStringLiteral("2|2")}));
  EXPECT_EQ(ExportedRows(kLinks), before);
  // Nothing is left open: the next change goes through on its own.
  dao::DBEngine::Workspaces(0).BeginTrans();
  dao::DBEngine::Workspaces(0).Rollback();
}

}  // namespace
