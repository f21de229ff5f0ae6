#include "platform/ui/scripted_dialogs.h"

#include <gtest/gtest.h>

#include "modal_driver.h"
#include "platform/errors/app_error.h"

using namespace platform;

TEST(ScriptedDialogs, RecordsEveryBoxAndAnswersInOrder) {
  ScriptedDialogs script;
  ScopedDialogs installed(script);
  script.AnswerMessageBox(vbNo);
  script.CloseNextMessageBox();

  EXPECT_EQ(dialogs().MsgBox(QStringLiteral("Exit?"), 292, QStringLiteral("Tabulon")), vbNo);
  EXPECT_EQ(dialogs().MsgBox(QStringLiteral("Save?"), vbYesNoCancel, QStringLiteral("Supplier Concurrency Problem")),
            vbCancel);
  // A box with only OK needs no scripted answer.
  EXPECT_EQ(dialogs().MsgBox(QStringLiteral("Status"), vbInformation, QStringLiteral("Excel Exporter")), vbOK);

  ASSERT_EQ(script.MessageBoxes().size(), 3);
  EXPECT_EQ(script.MessageBoxes()[0].prompt, QStringLiteral("Exit?"));
  EXPECT_EQ(script.MessageBoxes()[0].style, 292);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Tabulon"));
  EXPECT_EQ(script.MessageBoxes()[1].answer, vbCancel);
  EXPECT_EQ(script.MessageBoxes()[2].title, QStringLiteral("Excel Exporter"));
  EXPECT_EQ(script.PendingAnswers(), 0);
}

TEST(ScriptedDialogs, RefusesAnswersThatNoPersonCouldGive) {
  ScriptedDialogs script;
  EXPECT_THROW(script.MsgBox(QStringLiteral("Exit?"), 292, QStringLiteral("Tabulon")), UnscriptedDialog);
  EXPECT_EQ(script.MessageBoxes().size(), 1);  // still recorded, to show what came up

  script.AnswerMessageBox(vbCancel);
  EXPECT_THROW(script.MsgBox(QStringLiteral("Exit?"), 292, QStringLiteral("Tabulon")), UnscriptedDialog);
  script.CloseNextMessageBox();
  EXPECT_THROW(script.MsgBox(QStringLiteral("Exit?"), 292, QStringLiteral("Tabulon")), UnscriptedDialog);
  EXPECT_THROW(script.ShowOpen({}), UnscriptedDialog);
}

TEST(ScriptedDialogs, FileDialogsAnswerPathsAndCancels) {
  ScriptedDialogs script;
  ScopedDialogs installed(script);
  FileDialogRequest request;
  request.title = QStringLiteral("Location of database");
  request.filter = QStringLiteral("Access Database (*.mdb)|*.mdb");
  request.initialDir = QStringLiteral("/data");

  script.AnswerFileDialog(QStringLiteral("/data/survey.mdb"));
  script.AnswerFileDialog(std::nullopt);
  script.AnswerFileDialog(std::nullopt);
  EXPECT_EQ(dialogs().ShowOpen(request), QStringLiteral("/data/survey.mdb"));
  EXPECT_EQ(dialogs().ShowOpen(request), std::nullopt);
  request.cancelError = true;
  try {
    dialogs().ShowSave(request);
    ADD_FAILURE() << "cancel did not raise";
  } catch (const AppError& error) {
    EXPECT_EQ(error.Number(), cdlCancel);
    EXPECT_EQ(error.Description(), QStringLiteral("Cancel was selected."));
  }

  ASSERT_EQ(script.FileDialogsShown().size(), 3);
  EXPECT_EQ(script.FileDialogsShown()[0].kind, ScriptedDialogs::FileDialogKind::kOpen);
  EXPECT_EQ(script.FileDialogsShown()[0].request.filter, QStringLiteral("Access Database (*.mdb)|*.mdb"));
  EXPECT_EQ(script.FileDialogsShown()[2].kind, ScriptedDialogs::FileDialogKind::kSave);
  EXPECT_EQ(script.FileDialogsShown()[2].answer, std::nullopt);
}
