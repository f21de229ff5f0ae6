// CError: the program's three standard messages. It only words and shows
// them; the handler that caught the error decides what happens next.
#pragma once

#include <QString>

namespace platform {
class AppError;
}

class CError {
 public:
  explicit CError(QString applicationTitle) : applicationTitle_(std::move(applicationTitle)) {}

  const QString& ApplicationTitle() const { return applicationTitle_; }

  // An unexpected error: `message`, the error's own description and whom to
  // contact, under the application title with `style`'s buttons and icon.
  void ErrorDisplay(const QString& message, int style, const QString& errorDescription) const;
  void ErrorDisplay(const QString& message, int style, const platform::AppError& error) const;

  // Another user saved `recordName` first: Yes overwrites, No reloads,
  // Cancel (also the close box) abandons the save. Returns the answer.
  int ConcurrencyError(const QString& recordName) const;

  // Entered values failed validation; the grid shows which in red.
  void DataValidationError() const;

 private:
  QString applicationTitle_;
};
