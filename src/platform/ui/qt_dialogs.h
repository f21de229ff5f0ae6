// The message boxes and file dialogs a person answers, as Qt widgets.
#pragma once

#include <QFileDialog>
#include <QMessageBox>
#include <memory>

#include "platform/ui/dialogs.h"

namespace platform {

// A message box laid out from a style number. The close box and Escape
// answer as CloseBoxAnswerOf says; a box without such an answer cannot be
// closed except by its buttons.
class StyledMessageBox : public QMessageBox {
  Q_OBJECT
 public:
  StyledMessageBox(const QString& prompt, int style, const QString& title, QWidget* parent = nullptr);
  // The answer of the button pressed, or of closing the box.
  MsgBoxResult Answer() const;
  // The button that gives `answer`; nullptr when the box has none.
  QAbstractButton* ButtonFor(MsgBoxResult answer) const;

 protected:
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  int style_;
};

// A file dialog set up from a request, with the request's flags enforced:
// an existing file to open, an existing folder to save in, the overwrite
// question only when asked for.
class CommonFileDialog : public QFileDialog {
  Q_OBJECT
 public:
  enum class Kind { kOpen, kSave };
  CommonFileDialog(Kind kind, const FileDialogRequest& request, QWidget* parent = nullptr);

 public slots:
  void accept() override;

 private:
  int flags_;
};

class QtDialogs : public Dialogs {
 public:
  int MsgBox(const QString& prompt, int style, const QString& title) override;
  std::optional<QString> ShowOpen(const FileDialogRequest& request) override;
  std::optional<QString> ShowSave(const FileDialogRequest& request) override;

 private:
  static std::optional<QString> Run(CommonFileDialog::Kind kind, const FileDialogRequest& request);
};

}  // namespace platform
