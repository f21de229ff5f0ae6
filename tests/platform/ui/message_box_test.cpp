#include <QAbstractButton>
#include <QCloseEvent>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPushButton>

#include "modal_driver.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/message_box_style.h"
#include "platform/ui/qt_dialogs.h"

using namespace platform;

namespace {

QVector<int> AnswersOfButtons(const StyledMessageBox& box) {
  QVector<int> answers;
  for (const MsgBoxResult answer : {vbOK, vbCancel, vbAbort, vbRetry, vbIgnore, vbYes, vbNo}) {
    if (box.ButtonFor(answer) != nullptr) answers.append(answer);
  }
  return answers;
}

// Shows a box through the process-wide service and lets `act` answer it.
int ShowAndAnswer(int style, std::function<void(StyledMessageBox*)> act) {
  WhenModalShows([act](QWidget* modal) {
    auto* box = qobject_cast<StyledMessageBox*>(modal);
    ASSERT_NE(box, nullptr);
    act(box);
  });
  return dialogs().MsgBox(QStringLiteral("Run the report now?"), style, QStringLiteral("Tabulon"));
}

void PressEscape(QWidget* box) {
  QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
  QApplication::sendEvent(box, &escape);
}

}  // namespace

// The rules a person meets only at the edges: a default button the box does
// not have, and which boxes the close box may answer.
TEST(MessageBoxStyle, DefaultsAndCloseBoxAtTheEdges) {
  EXPECT_EQ(DefaultAnswerOf(vbYesNoCancel + vbDefaultButton3), vbCancel);
  EXPECT_EQ(DefaultAnswerOf(vbYesNo + vbDefaultButton3), vbYes);
  EXPECT_EQ(CloseBoxAnswerOf(vbYesNoCancel), vbCancel);
  EXPECT_EQ(CloseBoxAnswerOf(vbRetryCancel), vbCancel);
  EXPECT_EQ(CloseBoxAnswerOf(vbInformation), vbOK);
  EXPECT_EQ(CloseBoxAnswerOf(292), std::nullopt);
  EXPECT_EQ(CloseBoxAnswerOf(vbAbortRetryIgnore), std::nullopt);
}

TEST(QtMessageBox, IsBuiltAsTheStyleAsks) {
  StyledMessageBox question(QStringLiteral("Exit?"), 292, QStringLiteral("Tabulon"));
  EXPECT_EQ(question.windowTitle(), QStringLiteral("Tabulon"));
  EXPECT_EQ(question.text(), QStringLiteral("Exit?"));
  EXPECT_EQ(question.icon(), QMessageBox::Question);
  EXPECT_EQ(AnswersOfButtons(question), (QVector<int>{vbYes, vbNo}));
  EXPECT_EQ(question.defaultButton(), question.ButtonFor(vbNo));

  StyledMessageBox concurrency(QStringLiteral("Save your changes over the last changes?"), vbYesNoCancel,
                               QStringLiteral("Supplier Concurrency Problem"));
  EXPECT_EQ(concurrency.icon(), QMessageBox::NoIcon);
  EXPECT_EQ(AnswersOfButtons(concurrency), (QVector<int>{vbCancel, vbYes, vbNo}));
  EXPECT_EQ(concurrency.defaultButton(), concurrency.ButtonFor(vbYes));

  StyledMessageBox critical(QStringLiteral("<b>not markup</b>"), vbCritical + vbRetryCancel + vbDefaultButton2,
                            QStringLiteral("Excel Exporter"));
  EXPECT_EQ(critical.icon(), QMessageBox::Critical);
  EXPECT_EQ(critical.textFormat(), Qt::PlainText);
  EXPECT_EQ(critical.defaultButton(), critical.ButtonFor(vbCancel));
}

TEST(QtMessageBox, AnswersWithThePressedButtonOrTheCloseBox) {
  EXPECT_EQ(ShowAndAnswer(292, [](StyledMessageBox* box) { box->ButtonFor(vbYes)->click(); }), vbYes);
  EXPECT_EQ(ShowAndAnswer(vbAbortRetryIgnore, [](StyledMessageBox* box) { box->ButtonFor(vbIgnore)->click(); }),
            vbIgnore);
  // Enter takes the default button.
  EXPECT_EQ(ShowAndAnswer(292,
                          [](StyledMessageBox* box) {
                            QKeyEvent enter(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
                            QApplication::sendEvent(box, &enter);
                          }),
            vbNo);
  // The close box of a Yes/No/Cancel box is Cancel, of an OK box OK.
  EXPECT_EQ(ShowAndAnswer(vbYesNoCancel, [](StyledMessageBox* box) { box->close(); }), vbCancel);
  EXPECT_EQ(ShowAndAnswer(vbInformation, [](StyledMessageBox* box) { PressEscape(box); }), vbOK);
}

TEST(QtMessageBox, AYesNoBoxCanOnlyBeAnsweredByItsButtons) {
  EXPECT_EQ(ShowAndAnswer(292,
                          [](StyledMessageBox* box) {
                            EXPECT_FALSE(box->windowFlags().testFlag(Qt::WindowCloseButtonHint));
                            PressEscape(box);
                            EXPECT_FALSE(box->close());
                            EXPECT_TRUE(box->isVisible());
                            box->ButtonFor(vbYes)->click();
                          }),
            vbYes);
}
