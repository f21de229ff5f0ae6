#include "platform/ui/qt_dialogs.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileInfo>
#include <QKeyEvent>
#include <QPushButton>

#include "platform/ui/file_filter.h"
#include "platform/ui/message_box_style.h"

namespace platform {
namespace {

const char* const kAnswerProperty = "msgBoxAnswer";

QMessageBox::StandardButton StandardButtonFor(MsgBoxResult answer) {
  switch (answer) {
    case vbOK:
      return QMessageBox::Ok;
    case vbCancel:
      return QMessageBox::Cancel;
    case vbAbort:
      return QMessageBox::Abort;
    case vbRetry:
      return QMessageBox::Retry;
    case vbIgnore:
      return QMessageBox::Ignore;
    case vbYes:
      return QMessageBox::Yes;
    case vbNo:
      return QMessageBox::No;
  }
  return QMessageBox::Ok;
}

QMessageBox::Icon QtIconFor(MsgBoxIcon icon) {
  switch (icon) {
    case MsgBoxIcon::kCritical:
      return QMessageBox::Critical;
    case MsgBoxIcon::kQuestion:
      return QMessageBox::Question;
    case MsgBoxIcon::kExclamation:
      return QMessageBox::Warning;
    case MsgBoxIcon::kInformation:
      return QMessageBox::Information;
    case MsgBoxIcon::kNone:
      break;
  }
  return QMessageBox::NoIcon;
}

}  // namespace

StyledMessageBox::StyledMessageBox(const QString& prompt, int style, const QString& title, QWidget* parent)
    : QMessageBox(parent), style_(style) {
  setWindowTitle(title);
  setText(prompt);
  setTextFormat(Qt::PlainText);
  setIcon(QtIconFor(IconOf(style)));
  for (const MsgBoxResult answer : ButtonsOf(style)) {
    QAbstractButton* button = addButton(StandardButtonFor(answer));
    button->setProperty(kAnswerProperty, static_cast<int>(answer));
  }
  setDefaultButton(qobject_cast<QPushButton*>(ButtonFor(DefaultAnswerOf(style))));
  if (const auto closeAnswer = CloseBoxAnswerOf(style)) {
    setEscapeButton(ButtonFor(*closeAnswer));
  } else {
    setWindowFlag(Qt::WindowCloseButtonHint, false);
  }
}

QAbstractButton* StyledMessageBox::ButtonFor(MsgBoxResult answer) const {
  for (QAbstractButton* candidate : buttons()) {
    if (candidate->property(kAnswerProperty).toInt() == answer) return candidate;
  }
  return nullptr;
}

MsgBoxResult StyledMessageBox::Answer() const {
  if (const QAbstractButton* pressed = clickedButton()) {
    return static_cast<MsgBoxResult>(pressed->property(kAnswerProperty).toInt());
  }
  // Only reachable when the box was closed by other means than a button.
  return CloseBoxAnswerOf(style_).value_or(DefaultAnswerOf(style_));
}

void StyledMessageBox::closeEvent(QCloseEvent* event) {
  if (!CloseBoxAnswerOf(style_)) {
    event->ignore();
    return;
  }
  QMessageBox::closeEvent(event);
}

void StyledMessageBox::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Escape && !CloseBoxAnswerOf(style_)) {
    event->ignore();
    return;
  }
  QMessageBox::keyPressEvent(event);
}

CommonFileDialog::CommonFileDialog(Kind kind, const FileDialogRequest& request, QWidget* parent)
    : QFileDialog(parent, request.title), flags_(request.flags) {
  // Qt's own dialog, so that the flags below hold on every desktop.
  setOption(QFileDialog::DontUseNativeDialog);
  setOption(QFileDialog::HideNameFilterDetails);
  setAcceptMode(kind == Kind::kSave ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
  const bool mustExist = kind == Kind::kOpen && (flags_ & cdlOFNFileMustExist) != 0;
  setFileMode(mustExist ? QFileDialog::ExistingFile : QFileDialog::AnyFile);
  setOption(QFileDialog::DontConfirmOverwrite, (flags_ & cdlOFNOverwritePrompt) == 0);

  const QStringList nameFilters = QtNameFilters(request.filter);
  if (!nameFilters.isEmpty()) {
    setNameFilters(nameFilters);
    selectNameFilter(nameFilters.value(request.filterIndex - 1, nameFilters.first()));
  }
  // A name typed without an extension takes the chosen filter's, as the
  // save dialogs of the desktop do.
  if (kind == Kind::kSave) {
    setDefaultSuffix(FilterExtension(selectedNameFilter()));
    connect(this, &QFileDialog::filterSelected, this,
            [this](const QString& filter) { setDefaultSuffix(FilterExtension(filter)); });
  }
  if (!request.initialDir.isEmpty() && QFileInfo(request.initialDir).isDir()) setDirectory(request.initialDir);
  if (!request.fileName.isEmpty()) selectFile(request.fileName);
}

void CommonFileDialog::accept() {
  const QString chosen = selectedFiles().value(0);
  const QFileInfo chosenInfo(chosen);
  const bool pathMustExist = (flags_ & cdlOFNPathMustExist) != 0 || fileMode() == QFileDialog::ExistingFile;
  if (pathMustExist && !chosen.isEmpty() && !chosenInfo.isDir() && !chosenInfo.dir().exists()) {
    QMessageBox::warning(this, windowTitle(),
                         tr("%1\nThe folder does not exist.\nCheck the folder name and try again.")
                             .arg(QDir::toNativeSeparators(chosenInfo.absolutePath())));
    return;
  }
  QFileDialog::accept();
}

int QtDialogs::MsgBox(const QString& prompt, int style, const QString& title) {
  StyledMessageBox box(prompt, style, title, QApplication::activeWindow());
  box.exec();
  return box.Answer();
}

std::optional<QString> QtDialogs::ShowOpen(const FileDialogRequest& request) {
  return Run(CommonFileDialog::Kind::kOpen, request);
}

std::optional<QString> QtDialogs::ShowSave(const FileDialogRequest& request) {
  return Run(CommonFileDialog::Kind::kSave, request);
}

std::optional<QString> QtDialogs::Run(CommonFileDialog::Kind kind, const FileDialogRequest& request) {
  CommonFileDialog dialog(kind, request, QApplication::activeWindow());
  if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return AnswerToCancel(request);
  return dialog.selectedFiles().first();
}

}  // namespace platform
