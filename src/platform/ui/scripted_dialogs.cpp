#include "platform/ui/scripted_dialogs.h"

#include "platform/ui/message_box_style.h"

namespace platform {
namespace {

std::string Describe(const QString& prompt, const QString& title) {
  return ("\"" + title + "\": \"" + prompt + "\"").toStdString();
}

}  // namespace

void ScriptedDialogs::AnswerMessageBox(MsgBoxResult button) { boxAnswers_.enqueue(button); }

void ScriptedDialogs::CloseNextMessageBox() { boxAnswers_.enqueue(std::nullopt); }

void ScriptedDialogs::AnswerFileDialog(std::optional<QString> path) { fileAnswers_.enqueue(std::move(path)); }

int ScriptedDialogs::MsgBox(const QString& prompt, int style, const QString& title) {
  MessageBoxShown shown{prompt, style, title, 0};
  std::optional<MsgBoxResult> answer;
  if (!boxAnswers_.isEmpty()) {
    const std::optional<MsgBoxResult> scripted = boxAnswers_.dequeue();
    answer = scripted ? scripted : CloseBoxAnswerOf(style);
    if (!answer) throw UnscriptedDialog("this box cannot be closed, only answered: " + Describe(prompt, title));
  } else if (ButtonsOf(style).size() == 1) {
    answer = ButtonsOf(style).first();  // nothing to decide
  } else {
    messageBoxes_.append(shown);
    throw UnscriptedDialog("no answer scripted for the message box " + Describe(prompt, title));
  }
  if (!ButtonsOf(style).contains(*answer)) {
    throw UnscriptedDialog("scripted answer " + std::to_string(*answer) + " is not a button of " +
                           Describe(prompt, title));
  }
  shown.answer = *answer;
  messageBoxes_.append(shown);
  return *answer;
}

std::optional<QString> ScriptedDialogs::ShowOpen(const FileDialogRequest& request) {
  return ShowFileDialog(FileDialogKind::kOpen, request);
}

std::optional<QString> ScriptedDialogs::ShowSave(const FileDialogRequest& request) {
  return ShowFileDialog(FileDialogKind::kSave, request);
}

std::optional<QString> ScriptedDialogs::ShowFileDialog(FileDialogKind kind, const FileDialogRequest& request) {
  if (fileAnswers_.isEmpty()) {
    fileDialogs_.append({kind, request, std::nullopt});
    throw UnscriptedDialog("no answer scripted for the file dialog " + Describe(request.fileName, request.title));
  }
  std::optional<QString> answer = fileAnswers_.dequeue();
  fileDialogs_.append({kind, request, answer});
  if (!answer) return AnswerToCancel(request);
  return answer;
}

}  // namespace platform
