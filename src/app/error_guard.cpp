#include "app/error_guard.h"

#include <new>

#include "app/cerror.h"
#include "platform/ui/dialogs.h"

namespace app {
namespace {

constexpr int kOutOfMemory = 7;
constexpr int kInternalError = 51;

const QString kCrLf = QStringLiteral("\r\n");
const QString kHandlerTitle = QStringLiteral("Excel Export Assistant");

}  // namespace

bool Guarded(const std::function<void()>& work, const ErrorReport& report) {
  try {
    work();
    return true;
  } catch (const platform::AppError& error) {
    report(error);
  } catch (const std::bad_alloc&) {
    report(platform::AppError(kOutOfMemory, QStringLiteral("Out of memory")));
  } catch (const std::exception& error) {
    report(platform::AppError(kInternalError, QString::fromLocal8Bit(error.what())));
  }
  return false;
}

ErrorReport ReportWithErrorDisplay(const CError& reporter, const QString& message, int style) {
  return [&reporter, message, style](const platform::AppError& error) { reporter.ErrorDisplay(message, style, error); };
}

ErrorReport ReportForOperation(const QString& context, const QString& sentence) {
  return [context, sentence](const platform::AppError& error) {
    QString text = QStringLiteral("Error: ") + error.Description();
    if (!sentence.isEmpty()) text += kCrLf + kCrLf + sentence;
    platform::dialogs().MsgBox(text, platform::vbExclamation, context);
  };
}

ErrorReport ReportForHandler() {
  return [](const platform::AppError& error) {
    platform::dialogs().MsgBox(QStringLiteral("Unexpected error: ") + error.Description() + kCrLf + kCrLf +
                                   QStringLiteral("Source: ") + error.Source(),
                               platform::vbInformation, kHandlerTitle);
  };
}

ErrorReport ReportForHandlerDuring(const QString& context) {
  return [context](const platform::AppError&) {
    platform::dialogs().MsgBox(QStringLiteral("Unexpected error during: ") + kCrLf + context, platform::vbInformation,
                               kHandlerTitle);
  };
}

}  // namespace app
