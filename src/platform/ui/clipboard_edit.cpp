#include "platform/ui/clipboard_edit.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <optional>

#include "platform/errors/app_error.h"

namespace platform {
namespace {

constexpr int kCannotClear = kObjectErrorBase + 514;
constexpr int kCannotCopyFromControl = kObjectErrorBase + 515;
constexpr int kCannotPasteToControl = kObjectErrorBase + 516;

// The selected text of the focused control, and a way to replace it.
class ActiveTextControl {
 public:
  static std::optional<ActiveTextControl> Find() {
    QWidget* focus = QApplication::focusWidget();
    if (auto* combo = qobject_cast<QComboBox*>(focus)) focus = combo->lineEdit();
    if (focus == nullptr) return std::nullopt;
    if (qobject_cast<QLineEdit*>(focus) || qobject_cast<QTextEdit*>(focus) || qobject_cast<QPlainTextEdit*>(focus)) {
      return ActiveTextControl(focus);
    }
    return std::nullopt;
  }

  QString SelectedText() const {
    if (auto* line = qobject_cast<QLineEdit*>(control_)) return line->selectedText();
    QTextCursor cursor = TextCursor();
    // Paragraph breaks come back as U+2029; the clipboard wants line feeds.
    return cursor.selectedText().replace(QChar::ParagraphSeparator, QLatin1Char('\n'));
  }

  void ReplaceSelection(const QString& text) const {
    if (auto* line = qobject_cast<QLineEdit*>(control_)) {
      if (!line->isReadOnly()) line->insert(text);
      return;
    }
    if (IsReadOnly()) return;
    if (auto* edit = qobject_cast<QTextEdit*>(control_)) edit->insertPlainText(text);
    if (auto* plain = qobject_cast<QPlainTextEdit*>(control_)) plain->insertPlainText(text);
  }

 private:
  explicit ActiveTextControl(QWidget* control) : control_(control) {}

  QTextCursor TextCursor() const {
    if (auto* edit = qobject_cast<QTextEdit*>(control_)) return edit->textCursor();
    return qobject_cast<QPlainTextEdit*>(control_)->textCursor();
  }

  bool IsReadOnly() const {
    if (auto* edit = qobject_cast<QTextEdit*>(control_)) return edit->isReadOnly();
    return qobject_cast<QPlainTextEdit*>(control_)->isReadOnly();
  }

  QWidget* control_;
};

QClipboard* ClipboardOrRaise(const QString& source) {
  QClipboard* clipboard = qGuiApp != nullptr ? QGuiApplication::clipboard() : nullptr;
  if (clipboard == nullptr) throw AppError(kCannotClear, QStringLiteral("Could not clear Clipboard."), source);
  return clipboard;
}

ActiveTextControl CopySelection(const QString& source) {
  QClipboard* clipboard = ClipboardOrRaise(source);
  clipboard->clear();
  const std::optional<ActiveTextControl> control = ActiveTextControl::Find();
  if (!control) {
    throw AppError(kCannotCopyFromControl, QStringLiteral("Could not set text from active control to Clipboard."),
                   source);
  }
  clipboard->setText(control->SelectedText());
  return *control;
}

}  // namespace

void EditCopy() { CopySelection(QStringLiteral("CWindow::EditCopy")); }

void EditCut() { CopySelection(QStringLiteral("CWindow::EditCut")).ReplaceSelection(QString()); }

void EditPaste() {
  const QString source = QStringLiteral("CWindow::EditPaste");
  const std::optional<ActiveTextControl> control = ActiveTextControl::Find();
  if (qGuiApp == nullptr || !control) {
    throw AppError(kCannotPasteToControl, QStringLiteral("Could not set text from Clipboard to active control."),
                   source);
  }
  control->ReplaceSelection(QGuiApplication::clipboard()->text());
}

}  // namespace platform
