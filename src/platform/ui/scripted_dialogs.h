// Dialogs answered from a script instead of by a person: every box and file
// dialog is recorded as shown, and answered from a queue of answers given in
// advance. For tests of the windows and the export run.
#pragma once

#include <QQueue>
#include <QVector>
#include <stdexcept>

#include "platform/ui/dialogs.h"

namespace platform {

// A box or dialog came up that the script did not expect, or an answer does
// not fit the box it was given to: a fault in the test, never a user error.
class UnscriptedDialog : public std::logic_error {
 public:
  using std::logic_error::logic_error;
};

class ScriptedDialogs : public Dialogs {
 public:
  struct MessageBoxShown {
    QString prompt;
    int style = 0;
    QString title;
    int answer = 0;
  };
  enum class FileDialogKind { kOpen, kSave };
  struct FileDialogShown {
    FileDialogKind kind = FileDialogKind::kOpen;
    FileDialogRequest request;
    std::optional<QString> answer;
  };

  // The next message box is answered with this button.
  void AnswerMessageBox(MsgBoxResult button);
  // The next message box is closed by its close box.
  void CloseNextMessageBox();
  // The next file dialog returns this path; nullopt cancels it.
  void AnswerFileDialog(std::optional<QString> path);

  int MsgBox(const QString& prompt, int style, const QString& title) override;
  std::optional<QString> ShowOpen(const FileDialogRequest& request) override;
  std::optional<QString> ShowSave(const FileDialogRequest& request) override;

  const QVector<MessageBoxShown>& MessageBoxes() const { return messageBoxes_; }
  const QVector<FileDialogShown>& FileDialogsShown() const { return fileDialogs_; }
  // Scripted answers not used yet; a finished test expects none.
  qsizetype PendingAnswers() const { return boxAnswers_.size() + fileAnswers_.size(); }

 private:
  std::optional<QString> ShowFileDialog(FileDialogKind kind, const FileDialogRequest& request);

  // An empty optional in the queue stands for the close box.
  QQueue<std::optional<MsgBoxResult>> boxAnswers_;
  QQueue<std::optional<QString>> fileAnswers_;
  QVector<MessageBoxShown> messageBoxes_;
  QVector<FileDialogShown> fileDialogs_;
};

// Installs a Dialogs service for the lifetime of the object.
class ScopedDialogs {
 public:
  explicit ScopedDialogs(Dialogs& service) { setDialogs(&service); }
  ~ScopedDialogs() { setDialogs(nullptr); }
  ScopedDialogs(const ScopedDialogs&) = delete;
  ScopedDialogs& operator=(const ScopedDialogs&) = delete;
};

}  // namespace platform
