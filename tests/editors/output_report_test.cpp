// The report editor: a new report typed in and saved, a name that is taken,
// an existing report's description, and deleting a report.
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>

#include "editor_fixture.h"
#include "editors/bas_output_report.h"
#include "editors/field_colours.h"
#include "editors/frm_output_report.h"
#include "platform/ui/login_name.h"

namespace {

using basOutputReport::frmOutputReport_OnShow;

const QString kNamePlaceholder = QStringLiteral("Enter report name here...");
const QString kDescriptionPlaceholder =
    QStringLiteral("Enter meaningful description here...\r\n\r\n*After you have saved the new report, you can add "
                   "queries and specify their settings using the query buttons.");
constexpr int kQuestionNoDefault = 292;

class OutputReportTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    OpenReportsFixture();
  }

  // Overtypes the field with real key presses, as a person does.
  static void TypeOver(QWidget& field, const QString& text) {
    QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(&field, text);
  }

  static void ExpectNewReportMode(frmOutputReport& form) {
    EXPECT_FALSE(form.txtNewReportName->isHidden());
    EXPECT_TRUE(form.cboScenName->isHidden());
    EXPECT_EQ(form.txtNewReportName->text(), kNamePlaceholder);
    EXPECT_EQ(form.DescriptionText(), kDescriptionPlaceholder);
    EXPECT_EQ(editors::FieldColour(*form.txtNewReportName), editors::kMustFillIn);
    EXPECT_EQ(editors::FieldColour(*form.txtDescription), editors::kMustFillIn);
    EXPECT_EQ(editors::FieldColour(*form.lstReportQueries), editors::kNotYetUsable);
    EXPECT_EQ(form.lstReportQueries->count(), 0);
    for (QPushButton* button : {form.cmdAddQueries, form.cmdDestination, form.cmdParameters, form.cmdNew, form.cmdOK,
                                form.cmdDelete}) {
      EXPECT_FALSE(button->isEnabled()) << button->text().toStdString();
    }
    EXPECT_TRUE(form.cmdCancel->isEnabled());
    EXPECT_TRUE(form.lblOutputID->text().isEmpty());
    EXPECT_EQ(form.lblAuthor->text(), platform::LoginName().trimmed());
    EXPECT_EQ(form.lblCreateDate->text(), QLocale::c().toString(QDate::currentDate(), QStringLiteral("dd-MMM-yyyy")));
  }

  QStringList ReportRow(const QString& name) const {
    return EngineRows(QStringLiteral("SELECT OutputID, Abbreviation, Author, Description FROM tblExportableResults "
                                     "WHERE Abbreviation = '") +
                      QString(name).replace(QLatin1Char('\''), QStringLiteral("''")) + QStringLiteral("'"));
  }

  int ReportCount() const { return EngineRows(QStringLiteral("SELECT OutputID FROM tblExportableResults")).size(); }
};

TEST_F(OutputReportTest, ANewReportIsTypedInOverThePlaceholdersAndStaysOpenForItsQueries) {
  // The creation date reads the same whatever language the desktop speaks.
  const QLocale before;
  QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
  QString savedId;
  WhenShown<frmOutputReport>([&](frmOutputReport& form) {
    ExpectNewReportMode(form);

    // Describing first turns the description white but cannot save yet.
    TypeOver(*form.txtDescription, QStringLiteral("Weekly landings by port"));
    QTest::keyClick(form.txtDescription, Qt::Key_Return);
    QTest::keyClicks(form.txtDescription, QStringLiteral("and gear.  "));
    EXPECT_NE(editors::FieldColour(*form.txtDescription), editors::kMustFillIn);
    EXPECT_EQ(editors::FieldColour(*form.txtNewReportName), editors::kMustFillIn);
    EXPECT_FALSE(form.cmdOK->isEnabled());

    // A modifier alone is not a key press in the field.
    QTest::keyClick(form.txtNewReportName, Qt::Key_Shift);
    EXPECT_FALSE(form.cmdOK->isEnabled());
    TypeOver(*form.txtNewReportName, QStringLiteral(" Landings "));
    EXPECT_NE(editors::FieldColour(*form.txtNewReportName), editors::kMustFillIn);
    ASSERT_TRUE(form.cmdOK->isEnabled());
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);

    // Saved: the report is chosen in the combo and the dialog stays open.
    EXPECT_TRUE(form.isVisible());
    EXPECT_TRUE(form.txtNewReportName->isHidden());
    EXPECT_FALSE(form.cboScenName->isHidden());
    EXPECT_EQ(form.cboScenName->currentText(), QStringLiteral("Landings"));
    savedId = form.lblOutputID->text();
    EXPECT_EQ(form.cboScenName->currentData().toString(), savedId);
    EXPECT_EQ(form.DescriptionText(), QStringLiteral("Weekly landings by port\r\nand gear."));
    EXPECT_EQ(form.lstReportQueries->count(), 0);
    EXPECT_NE(editors::FieldColour(*form.lstReportQueries), editors::kNotYetUsable);
    for (QPushButton* button : {form.cmdAddQueries, form.cmdDestination, form.cmdParameters, form.cmdNew,
                                form.cmdDelete, form.cmdOK}) {
      EXPECT_TRUE(button->isEnabled()) << button->text().toStdString();
    }
    EXPECT_EQ(refreshesAfterSave, 1);
  });
  frmOutputReport_OnShow(basOutputReport::kNewReport);
  QLocale::setDefault(before);

  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << BoxTitles().join('|').toStdString();
  EXPECT_TRUE(storeErrors.isEmpty()) << storeErrors.join('|').toStdString();
  const QString author = platform::LoginName().trimmed();
  EXPECT_EQ(ReportRow(QStringLiteral("Landings")),
            QStringList{savedId + QStringLiteral("|Landings|") + author +
                        QStringLiteral("|Weekly landings by port\r\nand gear.")});
  const QString today = QDate::currentDate().toString(Qt::ISODate);
  EXPECT_TRUE(ExportedRows(QStringLiteral("tblExportableResults"))
                  .contains(savedId + QStringLiteral(",\"Landings\",\"") + today + QStringLiteral("\",\"") + author +
                            QStringLiteral("\",\"Weekly landings by port\r\nand gear.\"")))
      << ExportedRows(QStringLiteral("tblExportableResults")).join('\n').toStdString();
}

TEST_F(OutputReportTest, ANameTakenInAnotherCaseBringsThePlaceholdersBackAndAnApostropheIsKept) {
  const int reportsBefore = ReportCount();
  WhenShown<frmOutputReport>([&](frmOutputReport& form) {
    TypeOver(*form.txtNewReportName, QStringLiteral("sales REVIEW"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    ExpectNewReportMode(form);
    EXPECT_EQ(ReportCount(), reportsBefore);

    TypeOver(*form.txtNewReportName, QStringLiteral("Dana's catch"));
    QTest::keyClick(form.txtNewReportName, Qt::Key_Return);  // Enter presses OK
    EXPECT_EQ(form.cboScenName->currentText(), QStringLiteral("Dana's catch"));
    EXPECT_FALSE(form.cboScenName->isHidden());
  });
  frmOutputReport_OnShow(basOutputReport::kNewReport);

  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Duplication error"));
  EXPECT_EQ(script.MessageBoxes()[0].prompt,
            QStringLiteral("A report named: 'sales REVIEW' already exists.  Report not added.\r\nPlease try again "
                           "using a different name."));
  EXPECT_EQ(ReportCount(), reportsBefore + 1);
  EXPECT_EQ(ReportRow(QStringLiteral("Dana's catch")).size(), 1);
  EXPECT_EQ(ReportRow(QStringLiteral("Sales Review")).value(0).section('|', 0, 0), QStringLiteral("1"));
  const QStringList exported = ExportedRows(QStringLiteral("tblExportableResults"));
  EXPECT_EQ(exported.size(), reportsBefore + 1);
  EXPECT_EQ(exported.filter(QStringLiteral("\"Dana's catch\"")).size(), 1) << exported.join('\n').toStdString();
  EXPECT_EQ(exported.filter(QStringLiteral("\"Sales Review\"")).size(), 1);
}

TEST_F(OutputReportTest, AnExistingReportIsShownAndItsDescriptionSavedTrimmedOnOk) {
  WhenShown<frmOutputReport>([&](frmOutputReport& form) {
    EXPECT_EQ(form.cboScenName->currentText(), QStringLiteral("Sales Review"));
    EXPECT_EQ(form.lblOutputID->text(), QStringLiteral("1"));
    EXPECT_EQ(form.lblAuthor->text(), QStringLiteral("mfisher"));
    EXPECT_EQ(form.lblCreateDate->text(), QStringLiteral("15-Jan-1997"));
    EXPECT_EQ(Entries(*form.lstReportQueries),
              (QStringList{QStringLiteral("Employee Sales by Country"), QStringLiteral("Sales by Category"),
                           QStringLiteral("Ten Most Expensive Products")}));
    EXPECT_EQ(form.cboScenName->count(), 7);

    // Choosing another report shows it.
    form.cboScenName->setFocus();
    QTest::keyClick(form.cboScenName, Qt::Key_Up);
    EXPECT_EQ(form.cboScenName->currentText(), QStringLiteral("Quarterly"));
    EXPECT_EQ(form.lblOutputID->text(), QStringLiteral("7"));
    EXPECT_EQ(Entries(*form.lstReportQueries),
              (QStringList{QStringLiteral("Quarterly Orders by Product"), QStringLiteral("Invoices Filter")}));
    QTest::keyClick(form.cboScenName, Qt::Key_Down);
    EXPECT_EQ(form.lblOutputID->text(), QStringLiteral("1"));

    TypeOver(*form.txtDescription, QStringLiteral("  Sales, reviewed  "));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  frmOutputReport_OnShow(1);

  EXPECT_TRUE(script.MessageBoxes().isEmpty());
  EXPECT_EQ(refreshesAfterSave, 1);
  EXPECT_EQ(ReportRow(QStringLiteral("Sales Review")),
            QStringList{QStringLiteral("1|Sales Review|mfisher|Sales, reviewed")});
  EXPECT_TRUE(ExportedRows(QStringLiteral("tblExportableResults"))
                  .contains(QStringLiteral("1,\"Sales Review\",\"1997-01-15\",\"mfisher\",\"Sales, reviewed\"")));
}

TEST_F(OutputReportTest, ADescriptionTheDatabaseRefusesKeepsTheDialogOpenAndTheRowUnchanged) {
  const QStringList before = ExportedRows(QStringLiteral("tblExportableResults"));
  WhenShown<frmOutputReport>([&](frmOutputReport& form) {
    // The description goes into the statement as typed, so an apostrophe
    // breaks it; the store says so and nothing is written.
    TypeOver(*form.txtDescription, QStringLiteral("Dana's contacts"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_TRUE(form.isVisible());
    EXPECT_EQ(storeErrors.size(), 1);
    EXPECT_EQ(refreshesAfterSave, 0);

    TypeOver(*form.txtDescription, QStringLiteral("Dana contacts"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  frmOutputReport_OnShow(2);

  ASSERT_EQ(storeErrors.size(), 1);
  EXPECT_TRUE(storeErrors[0].endsWith(QStringLiteral("\r\n\r\nContact the system provider if this problem persists.")));
  EXPECT_TRUE(script.MessageBoxes().isEmpty());
  EXPECT_EQ(refreshesAfterSave, 1);
  QStringList expected = before;
  expected.replaceInStrings(QStringLiteral("\"Customers and suppliers by city.\""), QStringLiteral("\"Dana contacts\""));
  EXPECT_EQ(ExportedRows(QStringLiteral("tblExportableResults")), expected);
}

TEST_F(OutputReportTest, DeletingAsksWithNoAsDefaultAndOnYesRemovesOnlyTheReportRow) {
  const QStringList linksBefore = ExportedRows(QStringLiteral("tblExportableResults_UserQueries"));
  const QString question = QStringLiteral("This action is irreversible.\r\n\r\nPermanently delete the 'Contacts' report?");
  WhenShown<frmOutputReport>([&](frmOutputReport& form) {
    script.AnswerMessageBox(platform::vbNo);
    QTest::mouseClick(form.cmdDelete, Qt::LeftButton);
    EXPECT_EQ(form.cboScenName->currentText(), QStringLiteral("Contacts"));
    EXPECT_EQ(ReportRow(QStringLiteral("Contacts")).size(), 1);
    EXPECT_EQ(refreshesAfterDelete, 0);

    script.AnswerMessageBox(platform::vbYes);
    QTest::mouseClick(form.cmdDelete, Qt::LeftButton);
    EXPECT_EQ(form.cboScenName->findText(QStringLiteral("Contacts")), -1);
    EXPECT_EQ(form.cboScenName->count(), 6);
    EXPECT_TRUE(form.txtDescription->toPlainText().isEmpty());
    EXPECT_EQ(refreshesAfterDelete, 1);
  });
  frmOutputReport_OnShow(2);

  ASSERT_EQ(script.MessageBoxes().size(), 2);
  for (const auto& box : script.MessageBoxes()) {
    EXPECT_EQ(box.prompt, question);
    EXPECT_EQ(box.style, kQuestionNoDefault);
    EXPECT_EQ(box.title, QStringLiteral("Delete?"));
  }
  EXPECT_TRUE(ReportRow(QStringLiteral("Contacts")).isEmpty());
  EXPECT_TRUE(ExportedRows(QStringLiteral("tblExportableResults")).filter(QStringLiteral("\"Contacts\"")).isEmpty());
  // The report's link rows stay behind.
  EXPECT_EQ(ExportedRows(QStringLiteral("tblExportableResults_UserQueries")), linksBefore);
}

TEST_F(OutputReportTest, TheAssistantDeletesThroughTheSameQuestionWithoutTheDialog) {
  script.AnswerMessageBox(platform::vbNo);
  EXPECT_FALSE(basOutputReport::frmOutputReport_OnDelete(QStringLiteral("O'Neil catch"), 3));
  script.AnswerMessageBox(platform::vbYes);
  EXPECT_TRUE(basOutputReport::frmOutputReport_OnDelete(QStringLiteral("O'Neil catch"), 3));

  EXPECT_EQ(script.MessageBoxes().size(), 2);
  EXPECT_TRUE(script.MessageBoxes()[1].prompt.endsWith(QStringLiteral("'O'Neil catch' report?")));
  EXPECT_TRUE(ReportRow(QStringLiteral("O'Neil catch")).isEmpty());
  EXPECT_TRUE(ExportedRows(QStringLiteral("tblExportableResults")).filter(QStringLiteral("O'Neil")).isEmpty());
}

}  // namespace
