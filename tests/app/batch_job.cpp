#include "batch_job.h"

#include <gtest/gtest.h>

#include <QProcessEnvironment>

void StartBatchJob(QProcess& process, const QString& program, const QStringList& arguments, const QString& home,
                   const QString& directory) {
  QProcessEnvironment environment;
  environment.insert(QStringLiteral("HOME"), home);
  environment.insert(QStringLiteral("PATH"), QStringLiteral("/usr/bin:/bin"));
  process.setProcessEnvironment(environment);
  process.setWorkingDirectory(directory);
  process.start(program, arguments);
}

BatchResult FinishBatchJob(QProcess& process, int timeout_ms) {
  EXPECT_TRUE(process.waitForFinished(timeout_ms)) << process.program().toStdString() << " ran past its time";
  return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
          QString::fromUtf8(process.readAllStandardError())};
}

BatchResult RunBatchJob(const QString& program, const QStringList& arguments, const QString& home,
                        const QString& directory, int timeout_ms) {
  QProcess process;
  StartBatchJob(process, program, arguments, home, directory);
  return FinishBatchJob(process, timeout_ms);
}
