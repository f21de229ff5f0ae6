// The one guard every event handler and public operation runs its work in:
// an error raised inside is shown in exactly one message box, worded for
// the kind of code that caught it, and the operation is abandoned. Nothing
// is passed on to the caller and nothing is logged.
#pragma once

#include <QString>
#include <functional>

#include "platform/errors/app_error.h"

class CError;

namespace app {

using ErrorReport = std::function<void(const platform::AppError&)>;

// Runs `work`; true when it finished, false when an error was reported.
// Exceptions that are not AppErrors are reported as one, with their text.
bool Guarded(const std::function<void()>& work, const ErrorReport& report);

// Start-up and the report editor's OK: CError::ErrorDisplay with a fixed
// message, under the application title. The report keeps a reference to
// `reporter`, which lives as long as the program.
ErrorReport ReportWithErrorDisplay(const CError& reporter, const QString& message, int style);

// The editors' dialog logic: "Error: " and the description, then the
// operation's own sentence when it has one; titled with the context string
// ("basOutputReport::frmOutputReport_OnDelete"), exclamation icon.
ErrorReport ReportForOperation(const QString& context, const QString& sentence = QString());

// Window event handlers: "Unexpected error: " with the description and the
// error's source, under "Excel Export Assistant", information icon.
ErrorReport ReportForHandler();

// Window event handlers that name where instead: "Unexpected error during: "
// and the context string.
ErrorReport ReportForHandlerDuring(const QString& context);

}  // namespace app
