// Another program at work in the same database file, as the family's
// data-entry programs are while Tabulon is open: jetdump, run as a process
// of its own, changing the file in one transaction.
#pragma once

#include <gtest/gtest.h>

#include <QDateTime>
#include <QFileInfo>
#include <QProcess>
#include <QStringList>
#include <QTest>

inline void ChangeInAnotherProgram(const QString& database, const QStringList& statements) {
  QProcess jetdump;
  jetdump.start(QStringLiteral(TABULON_JETDUMP), QStringList{database, QStringLiteral("--sql")} + statements);
  ASSERT_TRUE(jetdump.waitForFinished(60000)) << "jetdump did not finish";
  EXPECT_EQ(jetdump.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(jetdump.exitCode(), 0) << jetdump.readAllStandardError().toStdString();
}

// The engine takes a look at the file within a clock tick of its last
// change (a copy, a commit) as provisional and reads it again at the next
// look. A test that checks nothing is read again lets that time pass first.
inline void LetTheFileSettle(const QString& database) {
  constexpr qint64 kSettledMs = 100;
  const qint64 since = QFileInfo(database).lastModified().msecsTo(QDateTime::currentDateTime());
  if (since < kSettledMs) QTest::qWait(static_cast<int>(kSettledMs - since));
}
