// The wordings are compared whole: users and the support line know these
// messages by their exact text.
#include "app/cerror.h"

#include <gtest/gtest.h>

#include <ostream>
#include <stdexcept>

#include "app/error_guard.h"
#include "platform/ui/scripted_dialogs.h"

using platform::ScriptedDialogs;

inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace {

class ErrorReportingTest : public ::testing::Test {
 protected:
  ScriptedDialogs script;
  platform::ScopedDialogs installed{script};
  CError gError{QStringLiteral("Tabulon")};

  const ScriptedDialogs::MessageBoxShown& OnlyBox() {
    EXPECT_EQ(script.MessageBoxes().size(), 1);
    return script.MessageBoxes().first();
  }
};

}  // namespace

TEST_F(ErrorReportingTest, ErrorDisplayWordsTheMessageAndTheDescription) {
  gError.ErrorDisplay(QStringLiteral("There was an error launching this application. Please try again."),
                      platform::vbCritical,
                      platform::AppError(3024, QStringLiteral("Could not find file '/data/survey.mdb'.")));
  const auto& box = OnlyBox();
  EXPECT_EQ(box.prompt, QStringLiteral("There was an error launching this application. Please try again.  Please try "
                                       "again.\r\n\r\nSystem Description: Could not find file '/data/survey.mdb'."
                                       "\r\n\r\nPlease contact your system administrator if you are unable to resolve "
                                       "this problem."));
  EXPECT_EQ(box.style, 16);
  EXPECT_EQ(box.title, QStringLiteral("Tabulon"));

  gError.ErrorDisplay(QString(), platform::vbExclamation, QString());
  EXPECT_EQ(script.MessageBoxes().last().prompt,
            QStringLiteral("  Please try again.\r\n\r\nSystem Description: \r\n\r\nPlease contact your system "
                           "administrator if you are unable to resolve this problem."));
}

TEST_F(ErrorReportingTest, ConcurrencyErrorReturnsTheAnswerAndCloseBoxIsCancel) {
  script.AnswerMessageBox(platform::vbNo);
  script.CloseNextMessageBox();
  EXPECT_EQ(gError.ConcurrencyError(QStringLiteral("report")), platform::vbNo);
  EXPECT_EQ(gError.ConcurrencyError(QStringLiteral("report")), platform::vbCancel);
  const auto& box = script.MessageBoxes().first();
  EXPECT_EQ(
      box.prompt,
      QStringLiteral("Save your changes over the last changes?\r\n\r\n"
                     "Another user has updated this report while you were working on it. \r\n\r\n"
                     "\tClick 'Yes' to save your changes and destroy the changes made by the other user. \r\n"
                     "\tClick 'No' to refresh your data with the most recent data. You will lose your changes.\r\n"
                     "\tClick 'Cancel' to cancel the save operation."));
  EXPECT_EQ(box.style, 3);
  EXPECT_EQ(box.title, QStringLiteral("Supplier Concurrency Problem"));
}

TEST_F(ErrorReportingTest, DataValidationErrorListsWhatToDo) {
  gError.DataValidationError();
  const auto& box = OnlyBox();
  EXPECT_EQ(box.prompt, QStringLiteral("Some of the entered data is not valid and could not be saved.\r\n"
                                       "Entered values that are not valid are shown in red.\r\n"
                                       "Place your mouse cursor over each of these values to see a description of "
                                       "the error(s).\r\n"
                                       "Correct the error(s), then retry the save."));
  EXPECT_EQ(box.style, 0);
  EXPECT_EQ(box.title, QStringLiteral("Tabulon"));
}

TEST_F(ErrorReportingTest, TheGuardShowsOneBoxInTheWordingOfItsKindOfCode) {
  const auto fail = [] {
    throw platform::AppError(25000,
                             QStringLiteral("The main registry key must be set before "
                                            "accessing the registry"),
                             QStringLiteral("Nalt_Registry"));
  };
  bool finished = false;
  EXPECT_TRUE(app::Guarded([&] { finished = true; }, app::ReportForHandler()));
  EXPECT_TRUE(finished);
  EXPECT_TRUE(script.MessageBoxes().isEmpty());

  EXPECT_FALSE(app::Guarded(fail, app::ReportForHandler()));
  EXPECT_EQ(script.MessageBoxes().last().prompt,
            QStringLiteral("Unexpected error: The main registry key must be set before accessing the registry"
                           "\r\n\r\nSource: Nalt_Registry"));
  EXPECT_EQ(script.MessageBoxes().last().style, 64);
  EXPECT_EQ(script.MessageBoxes().last().title, QStringLiteral("Excel Export Assistant"));

  EXPECT_FALSE(app::Guarded(
      fail, app::ReportForHandlerDuring(QStringLiteral(" frmExportAssistant::lvTopLevelTables::ColumnClick"))));
  EXPECT_EQ(script.MessageBoxes().last().prompt,
            QStringLiteral("Unexpected error during: \r\n frmExportAssistant::lvTopLevelTables::ColumnClick"));
  EXPECT_EQ(script.MessageBoxes().last().title, QStringLiteral("Excel Export Assistant"));

  EXPECT_FALSE(app::Guarded(
      fail, app::ReportForOperation(QStringLiteral("basOutputReport::frmOutputReport_OnDelete"),
                                    QStringLiteral("Required User Report not deleted from the database."))));
  EXPECT_EQ(script.MessageBoxes().last().prompt,
            QStringLiteral("Error: The main registry key must be set before accessing the registry\r\n\r\n"
                           "Required User Report not deleted from the database."));
  EXPECT_EQ(script.MessageBoxes().last().style, 48);
  EXPECT_EQ(script.MessageBoxes().last().title, QStringLiteral("basOutputReport::frmOutputReport_OnDelete"));

  EXPECT_FALSE(
      app::Guarded(fail, app::ReportForOperation(QStringLiteral("basQueryParameters::UpdateContentsParameterGrid"))));
  EXPECT_EQ(script.MessageBoxes().last().prompt,
            QStringLiteral("Error: The main registry key must be set before accessing the registry"));

  EXPECT_FALSE(app::Guarded(
      fail, app::ReportWithErrorDisplay(gError, QStringLiteral("Unexpected error in frmOutputReport::cmdOK::Click"),
                                        platform::vbExclamation)));
  EXPECT_TRUE(script.MessageBoxes().last().prompt.startsWith(
      QStringLiteral("Unexpected error in frmOutputReport::cmdOK::Click  Please try again.\r\n\r\nSystem Description: "
                     "The main registry key")));
  EXPECT_EQ(script.MessageBoxes().size(), 5);
}

TEST_F(ErrorReportingTest, TheGuardReportsOtherExceptionsByTheirText) {
  EXPECT_FALSE(app::Guarded([] { throw std::runtime_error("disk full"); }, app::ReportForHandler()));
  EXPECT_EQ(script.MessageBoxes().last().prompt, QStringLiteral("Unexpected error: disk full\r\n\r\nSource: "));
  EXPECT_FALSE(app::Guarded([] { throw std::bad_alloc(); }, app::ReportForOperation(QStringLiteral("CFlexGrid"))));
  EXPECT_EQ(script.MessageBoxes().last().prompt, QStringLiteral("Error: Out of memory"));
}
