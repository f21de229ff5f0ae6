// A program started as cron starts a job: nothing in the environment but
// HOME (a folder of the test's own, so also its settings) and a short PATH;
// no display, no runtime folder, no session.
#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

struct BatchResult {
  int status = -1;
  QString out;
  QString err;
};

// Starts `program` in `directory`; the caller waits, or ends it, itself.
void StartBatchJob(QProcess& process, const QString& program, const QStringList& arguments, const QString& home,
                   const QString& directory);
// Waits up to `timeout_ms` for a started job and gathers what it printed.
BatchResult FinishBatchJob(QProcess& process, int timeout_ms = 180000);
// Both: the job run to its end.
BatchResult RunBatchJob(const QString& program, const QStringList& arguments, const QString& home,
                        const QString& directory, int timeout_ms = 180000);
