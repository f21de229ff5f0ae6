// Dialogs: every message box and file dialog of the program goes through this
// service, so that tests can record each box and answer it from a script.
#pragma once

#include <QString>
#include <optional>

namespace platform {

// Message box style numbers, as the standard message box takes them.
enum MsgBoxStyle : int {
  vbOKOnly = 0, vbOKCancel = 1, vbAbortRetryIgnore = 2, vbYesNoCancel = 3, vbYesNo = 4, vbRetryCancel = 5,
  vbCritical = 16, vbQuestion = 32, vbExclamation = 48, vbInformation = 64,
  vbDefaultButton1 = 0, vbDefaultButton2 = 256, vbDefaultButton3 = 512,
};

// The button pressed.
enum MsgBoxResult : int { vbOK = 1, vbCancel = 2, vbAbort = 3, vbRetry = 4, vbIgnore = 5, vbYes = 6, vbNo = 7 };

// Flags of the open/save dialogs (the CommonDialog's numbers).
enum FileDialogFlags : int {
  cdlOFNReadOnly = 0x1,
  cdlOFNOverwritePrompt = 0x2,
  cdlOFNHideReadOnly = 0x4,
  cdlOFNPathMustExist = 0x800,
  cdlOFNFileMustExist = 0x1000,
};

struct FileDialogRequest {
  QString title;
  QString filter;      // "Description|*.ext|Description|*.ext2"
  int filterIndex = 1;
  QString initialDir;
  QString fileName;
  int flags = 0;
  bool cancelError = false;  // cancelling raises error 32755 (cdlCancel)
};

constexpr int cdlCancel = 32755;

class Dialogs {
 public:
  virtual ~Dialogs() = default;
  // Shows a message box; returns the button pressed (the close box gives
  // vbCancel when the box has a Cancel button, else the box's only answer).
  virtual int MsgBox(const QString& prompt, int style, const QString& title) = 0;
  // The chosen path, or nullopt when cancelled (raises AppError(cdlCancel)
  // instead when request.cancelError is set).
  virtual std::optional<QString> ShowOpen(const FileDialogRequest& request) = 0;
  virtual std::optional<QString> ShowSave(const FileDialogRequest& request) = 0;
};

// What a cancelled file dialog answers: nullopt, or AppError(cdlCancel,
// "Cancel was selected.") when the request asks for cancel as an error.
std::optional<QString> AnswerToCancel(const FileDialogRequest& request);

// The process-wide service; the Qt one unless a test installed another.
Dialogs& dialogs();
void setDialogs(Dialogs* service);  // nullptr restores the Qt implementation

}  // namespace platform
