// The wordings are compared whole: users and the support line know these
// messages by their exact text.
#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>

#include "app/cerror.h"
#include "app/error_guard.h"
#include "platform/ui/scripted_dialogs.h"

using platform::ScriptedDialogs;

inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace {

const QString kRegistryMessage = QStringLiteral("The main registry key must be set before accessing the registry");

void FailLikeTheRegistry() { throw platform::AppError(25000, kRegistryMessage, QStringLiteral("Nalt_Registry")); }

class ErrorReportingTest : public ::testing::Test {
 protected:
  ScriptedDialogs script;
  platform::ScopedDialogs installed{script};
  CError gError{QStringLiteral("Tabulon")};

  void ExpectLastBox(const QString& prompt, int style, const QString& title) {
    ASSERT_FALSE(script.MessageBoxes().isEmpty());
    const ScriptedDialogs::MessageBoxShown& box = script.MessageBoxes().last();
    EXPECT_EQ(box.prompt, prompt);
    EXPECT_EQ(box.style, style);
    EXPECT_EQ(box.title, title);
  }
};

}  // namespace

TEST_F(ErrorReportingTest, ErrorDisplayWordsTheMessageAndTheDescription) {
  gError.ErrorDisplay(QStringLiteral("There was an error launching this application. Please try again."), 16,
                      platform::AppError(3024, QStringLiteral("Could not find file '/data/survey.mdb'.")));
  ExpectLastBox(QStringLiteral("There was an error launching this application. Please try again.  Please try "
                               "again.\r\n\r\nSystem Description: Could not find file '/data/survey.mdb'."
                               "\r\n\r\nPlease contact your system administrator if you are unable to resolve "
                               "this problem."),
                16, QStringLiteral("Tabulon"));

  gError.ErrorDisplay(QString(), 48, QString());
  ExpectLastBox(QStringLiteral("  Please try again.\r\n\r\nSystem Description: \r\n\r\nPlease contact your system "
                               "administrator if you are unable to resolve this problem."),
                48, QStringLiteral("Tabulon"));
}

TEST_F(ErrorReportingTest, ConcurrencyErrorReturnsTheAnswerAndCloseBoxIsCancel) {
  script.AnswerMessageBox(platform::vbNo);
  script.CloseNextMessageBox();
  EXPECT_EQ(gError.ConcurrencyError(QStringLiteral("report")), platform::vbNo);
  EXPECT_EQ(gError.ConcurrencyError(QStringLiteral("report")), platform::vbCancel);
  ExpectLastBox(QStringLiteral("Save your changes over the last changes?\r\n\r\n"
                               "Another user has updated this report while you were working on it. \r\n\r\n"
                               "\tClick 'Yes' to save your changes and destroy the changes made by the other user. \r\n"
                               "\tClick 'No' to refresh your data with the most recent data. You will lose your "
                               "changes.\r\n"
                               "\tClick 'Cancel' to cancel the save operation."),
                3, QStringLiteral("Supplier Concurrency Problem"));
}

TEST_F(ErrorReportingTest, DataValidationErrorListsWhatToDo) {
  gError.DataValidationError();
  ExpectLastBox(QStringLiteral("Some of the entered data is not valid and could not be saved.\r\n"
                               "Entered values that are not valid are shown in red.\r\n"
                               "Place your mouse cursor over each of these values to see a description of "
                               "the error(s).\r\n"
                               "Correct the error(s), then retry the save."),
                0, QStringLiteral("Tabulon"));
}

TEST_F(ErrorReportingTest, TheGuardShowsOneBoxInTheWordingOfItsKindOfCode) {
  bool finished = false;
  EXPECT_TRUE(app::Guarded([&] { finished = true; }, app::ReportForHandler()));
  EXPECT_TRUE(finished);
  EXPECT_TRUE(script.MessageBoxes().isEmpty());

  EXPECT_FALSE(app::Guarded(FailLikeTheRegistry, app::ReportForHandler()));
  ExpectLastBox(QStringLiteral("Unexpected error: ") + kRegistryMessage + QStringLiteral("\r\n\r\nSource: Nalt_Registry"),
                64, QStringLiteral("Excel Export Assistant"));

  const QString columnClick = QStringLiteral(" frmExportAssistant::lvTopLevelTables::ColumnClick");
  EXPECT_FALSE(app::Guarded(FailLikeTheRegistry, app::ReportForHandlerDuring(columnClick)));
  ExpectLastBox(QStringLiteral("Unexpected error during: \r\n") + columnClick, 64,
                QStringLiteral("Excel Export Assistant"));

  const QString onDelete = QStringLiteral("basOutputReport::frmOutputReport_OnDelete");
  EXPECT_FALSE(app::Guarded(FailLikeTheRegistry,
                            app::ReportForOperation(onDelete, QStringLiteral("Required User Report not deleted from "
                                                                             "the database."))));
  ExpectLastBox(QStringLiteral("Error: ") + kRegistryMessage +
                    QStringLiteral("\r\n\r\nRequired User Report not deleted from the database."),
                48, onDelete);

  const QString gridUpdate = QStringLiteral("basQueryParameters::UpdateContentsParameterGrid");
  EXPECT_FALSE(app::Guarded(FailLikeTheRegistry, app::ReportForOperation(gridUpdate)));
  ExpectLastBox(QStringLiteral("Error: ") + kRegistryMessage, 48, gridUpdate);

  EXPECT_FALSE(app::Guarded(
      FailLikeTheRegistry,
      app::ReportWithErrorDisplay(gError, QStringLiteral("Unexpected error in frmOutputReport::cmdOK::Click"), 48)));
  ExpectLastBox(QStringLiteral("Unexpected error in frmOutputReport::cmdOK::Click  Please try again.\r\n\r\n"
                               "System Description: ") +
                    kRegistryMessage +
                    QStringLiteral("\r\n\r\nPlease contact your system administrator if you are unable to resolve "
                                   "this problem."),
                48, QStringLiteral("Tabulon"));
  EXPECT_EQ(script.MessageBoxes().size(), 5);
}

TEST_F(ErrorReportingTest, TheGuardReportsOtherExceptionsByTheirText) {
  EXPECT_FALSE(app::Guarded([] { throw std::runtime_error("disk full"); }, app::ReportForHandler()));
  ExpectLastBox(QStringLiteral("Unexpected error: disk full\r\n\r\nSource: "), 64,
                QStringLiteral("Excel Export Assistant"));
  EXPECT_FALSE(app::Guarded([] { throw std::bad_alloc(); }, app::ReportForOperation(QStringLiteral("CFlexGrid"))));
  ExpectLastBox(QStringLiteral("Error: Out of memory"), 48, QStringLiteral("CFlexGrid"));
}
