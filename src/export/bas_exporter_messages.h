// The messages an export run shows, worded as the family's exporter has
// always worded them, slips included: users and their notes know them so.
#pragma once

#include <QString>

namespace platform {
class AppError;
}

namespace basExporter {

// A run starts out complete; each message below records how it ended.
void ResetRunOutcome();
void NoteRunCancelled();

void ShowMissingParameters(const QString& queryName);
void ShowWrongParameterCount(const QString& queryName);
void ShowNoResults();
// `rowLimit` is the sheet's: 65,536 for the family's .xls.
void ShowTooManyRows(long recordCount, long rowLimit);
// The run's error handler: one message chosen by the error's number.
void ShowRunError(const platform::AppError& error);

}  // namespace basExporter
