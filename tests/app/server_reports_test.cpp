// The sample survey's reports run as scheduled jobs (`tabulon --run`, bare
// environment, no display) before and after its data tables move to a real
// PostgreSQL server: every workbook is the same, cell for cell, with the
// server's password given only in the settings file.
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include "batch_job.h"
#include "postgres_server.h"
#include "xls_reader.h"

namespace {

using Result = BatchResult;

class ServerReports : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(temp_.isValid());
    ASSERT_TRUE(server_.Start()) << server_.error();
    sample_ = temp_.filePath(QStringLiteral("survey.mdb"));
    ASSERT_TRUE(QFile::copy(QStringLiteral(TABULON_SAMPLE_DATABASE), sample_));
    QFile(sample_).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    QDir().mkpath(temp_.filePath(QStringLiteral("home/.config/Varnel Technologies")));
  }

  Result Run(const QString& program, const QStringList& arguments) const {
    return RunBatchJob(program, arguments, temp_.filePath(QStringLiteral("home")), temp_.path(), 300000);
  }

  // Every report of the sample into its own workbook, each read back.
  QList<XlsBook> RunEveryReport(const QString& tag) const {
    const Result listed = Run(QStringLiteral(TABULON_PROGRAM), {QStringLiteral("--list"), QStringLiteral("--database"), sample_});
    EXPECT_EQ(listed.status, 0) << listed.err.toStdString();
    QList<XlsBook> books;
    int n = 0;
    for (const QString& report : listed.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
      const QString output = temp_.filePath(tag + QString::number(++n) + QStringLiteral(".xls"));
      const Result run = Run(QStringLiteral(TABULON_PROGRAM), {QStringLiteral("--run"), report, QStringLiteral("--output"),
                                                              output, QStringLiteral("--database"), sample_});
      EXPECT_EQ(run.status, 0) << report.toStdString() << ": " << run.err.toStdString();
      books.append(ReadXls(output));
    }
    return books;
  }

  void WriteSettings(const QByteArray& text) const {
    QFile settings(temp_.filePath(QStringLiteral("home/.config/Varnel Technologies/Ondara3.conf")));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    settings.write(text);
  }

  QTemporaryDir temp_;
  testing_support::PostgresServer server_;
  QString sample_;
};

// The cells of every sheet; the Information sheet's time of the run aside.
QStringList Cells(const XlsBook& book) {
  QStringList out;
  for (const XlsSheet& sheet : book.sheets) {
    for (auto it = sheet.cells.begin(); it != sheet.cells.end(); ++it) {
      const QString text = it.value().value.toString();
      if (sheet.name == QStringLiteral("Information") && text.contains(QLatin1Char(':'))) continue;
      out << QStringLiteral("%1!%2,%3=%4:%5")
                 .arg(sheet.name)
                 .arg(it.key().first)
                 .arg(it.key().second)
                 .arg(static_cast<int>(it.value().kind))
                 .arg(text);
    }
  }
  return out;
}

// The first cell that differs, or empty when none does.
std::string FirstDifference(const QStringList& a, const QStringList& b) {
  for (qsizetype i = 0; i < std::max(a.size(), b.size()); ++i) {
    const QString x = a.value(i), y = b.value(i);
    if (x != y) return (x + QStringLiteral(" / ") + y).toStdString();
  }
  return "";
}

TEST_F(ServerReports, EverySampleReportIsTheSameThroughTheLinks) {
  const QList<XlsBook> before = RunEveryReport(QStringLiteral("file"));
  ASSERT_EQ(before.size(), 4);

  const Result moved = Run(QStringLiteral(JETDUMP_PROGRAM),
                           {sample_, QStringLiteral("--upsize"), QString::fromStdString(server_.odbc_connect())});
  ASSERT_EQ(moved.status, 0) << moved.err.toStdString();

  // Without the password the links cannot be read, and the run says which
  // table and server, never a password.
  const Result refused = Run(QStringLiteral(TABULON_PROGRAM), {QStringLiteral("--run"), QStringLiteral("Weekly catch"),
                                                              QStringLiteral("--output"), QStringLiteral("x.xls"),
                                                              QStringLiteral("--database"), sample_});
  EXPECT_NE(refused.status, 0);
  EXPECT_TRUE(refused.err.contains(QStringLiteral("tblInterview"))) << refused.err.toStdString();
  EXPECT_FALSE(refused.err.contains(QString::fromStdString(server_.password())));

  WriteSettings("[TabulonODBC]\nMap1=\"{PostgreSQL Unicode}={PostgreSQL Unicode};PWD=" +
                QByteArray::fromStdString(server_.password()) + "\"\n");
  const QList<XlsBook> after = RunEveryReport(QStringLiteral("server"));
  ASSERT_EQ(after.size(), before.size());
  for (int i = 0; i < before.size(); ++i) {
    EXPECT_EQ(FirstDifference(Cells(after[i]), Cells(before[i])), "") << "report " << i + 1;
    EXPECT_GT(Cells(after[i]).size(), 10);
  }
  // The password is only in the settings: the file never holds it.
  QFile file(sample_);
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QByteArray bytes = file.readAll();
  EXPECT_FALSE(bytes.contains(QByteArray::fromStdString(server_.password())));
  EXPECT_TRUE(bytes.contains(QByteArray("P\0o\0s\0t\0g\0r\0e\0S\0Q\0L\0", 20)) || bytes.contains("PostgreSQL"));
}

}  // namespace
