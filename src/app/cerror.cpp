#include "app/cerror.h"

#include "platform/errors/app_error.h"
#include "platform/ui/dialogs.h"

namespace {

const QString kCrLf = QStringLiteral("\r\n");

}  // namespace

void CError::ErrorDisplay(const QString& message, int style, const QString& errorDescription) const {
  const QString text =
      message + QStringLiteral("  Please try again.") + kCrLf + kCrLf + QStringLiteral("System Description: ") +
      errorDescription + kCrLf + kCrLf +
      QStringLiteral("Please contact your system administrator if you are unable to resolve this problem.");
  platform::dialogs().MsgBox(text, style, applicationTitle_);
}

void CError::ErrorDisplay(const QString& message, int style, const platform::AppError& error) const {
  ErrorDisplay(message, style, error.Description());
}

int CError::ConcurrencyError(const QString& recordName) const {
  const QString tab = QStringLiteral("\t");
  const QString text =
      QStringLiteral("Save your changes over the last changes?") + kCrLf + kCrLf +
      QStringLiteral("Another user has updated this ") + recordName +
      QStringLiteral(" while you were working on it. ") + kCrLf + kCrLf + tab +
      QStringLiteral("Click 'Yes' to save your changes and destroy the changes made by the other user. ") + kCrLf +
      tab + QStringLiteral("Click 'No' to refresh your data with the most recent data. You will lose your changes.") +
      kCrLf + tab + QStringLiteral("Click 'Cancel' to cancel the save operation.");
  return platform::dialogs().MsgBox(text, platform::vbYesNoCancel, QStringLiteral("Supplier Concurrency Problem"));
}

void CError::DataValidationError() const {
  const QString text =
      QStringLiteral("Some of the entered data is not valid and could not be saved.") + kCrLf +
      QStringLiteral("Entered values that are not valid are shown in red.") + kCrLf +
      QStringLiteral("Place your mouse cursor over each of these values to see a description of the error(s).") +
      kCrLf + QStringLiteral("Correct the error(s), then retry the save.");
  platform::dialogs().MsgBox(text, platform::vbOKOnly, applicationTitle_);
}
