// The program run as a scheduled job would run it: `tabulon --list` and
// `tabulon --run` as processes on copies of the sample and the fixtures,
// their exit statuses and messages, and the workbooks read back.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <QThread>
#include <csignal>

#include "batch_job.h"
#include "macro_template.h"
#include "platform/dao/dao.h"
#include "platform/excel/application.h"
#include "xls_reader.h"

namespace {

using Result = BatchResult;

class BatchRunTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(temp_.isValid());
    sample_ = Copy(QStringLiteral(TABULON_SAMPLE_DATABASE), QStringLiteral("survey.mdb"));
  }

  QString Copy(const QString& source, const QString& name) {
    const QString target = temp_.filePath(name);
    EXPECT_TRUE(QFile::copy(source, target)) << source.toStdString();
    QFile(target).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    return target;
  }
  QString Path(const QString& name) const { return temp_.filePath(name); }

  // The program with these arguments, in the temporary folder, as a batch job.
  Result Tabulon(const QStringList& arguments) const {
    QProcess process;
    Start(process, arguments);
    return Finish(process);
  }
  void Start(QProcess& process, const QStringList& arguments) const {
    StartBatchJob(process, QStringLiteral(TABULON_PROGRAM), arguments, temp_.filePath(QStringLiteral("home")),
                  temp_.path());
  }
  static Result Finish(QProcess& process) { return FinishBatchJob(process); }

  void RecordDatabase(const QString& path) const {
    QDir().mkpath(temp_.filePath(QStringLiteral("home/.config/Varnel Technologies")));
    QFile settings(temp_.filePath(QStringLiteral("home/.config/Varnel Technologies/Ondara3.conf")));
    ASSERT_TRUE(settings.open(QIODevice::WriteOnly));
    settings.write("[StartUp]\nDatabasePath=\"" + path.toUtf8() + "\"\n");
  }

  void Execute(const QString& database, const QString& sql) const {
    const std::shared_ptr<dao::Database> db = dao::DBEngine::Workspaces(0).OpenDatabase(database);
    db->Execute(sql);
  }

  QString sample_;

 private:
  QTemporaryDir temp_;
};

TEST_F(BatchRunTest, ListPrintsTheReportsOfTheGivenOrTheRecordedDatabase) {
  const QString reports = QStringLiteral("Effort\nEstimates\nSite summary\nWeekly catch\n");
  Result listed = Tabulon({QStringLiteral("--list"), QStringLiteral("--database"), QStringLiteral("survey.mdb")});
  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.out, reports);
  EXPECT_EQ(listed.err, QString());

  listed = Tabulon({QStringLiteral("--list")});
  EXPECT_EQ(listed.status, 2);
  EXPECT_EQ(listed.err, QStringLiteral("tabulon: No database is recorded; give one with --database FILE.\n"));
  RecordDatabase(sample_);
  listed = Tabulon({QStringLiteral("--list")});
  EXPECT_EQ(listed.out, reports);

  const QString northwind = Copy(QStringLiteral(TABULON_FIXTURES "/jet/reports-northwind.mdb"), QStringLiteral("nw.mdb"));
  listed = Tabulon({QStringLiteral("--list"), QStringLiteral("--database"), northwind});
  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.out.count(QLatin1Char('\n')), 7);
  EXPECT_TRUE(listed.out.contains(QStringLiteral("O'Neil catch\n")));

  listed = Tabulon({QStringLiteral("--list"), QStringLiteral("--database"), QStringLiteral("missing.mdb")});
  EXPECT_EQ(listed.status, 2);
  EXPECT_TRUE(listed.err.startsWith(QStringLiteral("tabulon: ") + Path(QStringLiteral("missing.mdb")) +
                                    QStringLiteral(": ")))
      << listed.err.toStdString();
  QFile damaged(Path(QStringLiteral("damaged.mdb")));
  ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
  damaged.write(QByteArray(4096, 'x'));
  damaged.close();
  EXPECT_EQ(Tabulon({QStringLiteral("--list"), QStringLiteral("--database"), damaged.fileName()}).status, 2);
  // So are the inputs that once ended the program, read where they lie: the
  // program's own message and exit status, never an abort.
  const QDir hostile(QStringLiteral(TABULON_FIXTURES "/hostile"));
  for (const QString& name : hostile.entryList({QStringLiteral("*.mdb")}, QDir::Files)) {
    const Result refused = Tabulon({QStringLiteral("--list"), QStringLiteral("--database"), hostile.filePath(name)});
    EXPECT_EQ(refused.status, 2) << name.toStdString() << ": " << refused.err.toStdString();
    EXPECT_TRUE(refused.err.startsWith(QStringLiteral("tabulon: ") + hostile.filePath(name) + QStringLiteral(": ")))
        << refused.err.toStdString();
  }

  // Half a request is a usage error, told as such.
  for (const QStringList& wrong : {QStringList{QStringLiteral("--run"), QStringLiteral("Effort")},
                                   QStringList{QStringLiteral("--list"), QStringLiteral("--run"), QStringLiteral("x"),
                                               QStringLiteral("--output"), QStringLiteral("y.xls")},
                                   QStringList{QStringLiteral("--list"), QStringLiteral("--bogus")}}) {
    const Result usage = Tabulon(wrong);
    EXPECT_EQ(usage.status, 1) << wrong.join(' ').toStdString();
    EXPECT_TRUE(usage.err.startsWith(QStringLiteral("tabulon: "))) << usage.err.toStdString();
  }
}

TEST_F(BatchRunTest, RunWritesTheWorkbookAndNeverReplacesAFileUnasked) {
  const QString workbook = Path(QStringLiteral("weekly.xls"));
  const QStringList run = {QStringLiteral("--run"), QStringLiteral("weekly CATCH"), QStringLiteral("--output"),
                           QStringLiteral("weekly.xls"), QStringLiteral("--database"), sample_};
  const Result done = Tabulon(run);
  ASSERT_EQ(done.status, 0) << done.err.toStdString();
  EXPECT_EQ(done.err, QString());
  const XlsBook book = ReadXls(workbook);
  EXPECT_TRUE(book.SheetNames().contains(QStringLiteral("Catch")));
  const XlsSheet& information = book.Sheet(QStringLiteral("Information"));
  EXPECT_EQ(information.Text(6, 3), QStringLiteral("Weekly catch"));
  // qryCatchByWeek's block starts at its stored row 4, column 1.
  EXPECT_EQ(book.Sheet(QStringLiteral("Catch")).Text(4, 1), QStringLiteral("Year"));

  QFile::resize(workbook, 10);
  const Result refused = Tabulon(run);
  EXPECT_EQ(refused.status, 7);
  EXPECT_EQ(refused.err, QStringLiteral("tabulon: ") + workbook +
                             QStringLiteral(" already exists; give --overwrite to replace it.\n"));
  EXPECT_EQ(QFileInfo(workbook).size(), 10);
  // The job asked for the file to be replaced: nothing to tell.
  const Result replaced = Tabulon(run + QStringList{QStringLiteral("--overwrite")});
  EXPECT_EQ(replaced.status, 0);
  EXPECT_EQ(replaced.err, QString());
  EXPECT_EQ(ReadXls(workbook).Sheet(QStringLiteral("Information")).Text(6, 3), QStringLiteral("Weekly catch"));
}

TEST_F(BatchRunTest, EachKindOfFailureHasItsOwnStatusAndLeavesNoFile) {
  const auto runInto = [&](const QString& report, const QString& output) {
    return Tabulon({QStringLiteral("--run"), report, QStringLiteral("--output"), output, QStringLiteral("--database"),
                    sample_});
  };
  Result failed = runInto(QStringLiteral("Weekly catches"), QStringLiteral("a.xls"));
  EXPECT_EQ(failed.status, 3);
  EXPECT_EQ(failed.err, QStringLiteral("tabulon: There is no report named 'Weekly catches' in ") + sample_ +
                            QStringLiteral(".\n"));

  // "Site summary" runs qryInterviewsAtSite, whose stored value goes missing.
  Execute(sample_, QStringLiteral("UPDATE tblUserQueries SET DefaultQueryParameters = Null WHERE QueryID = 3"));
  failed = runInto(QStringLiteral("Site summary"), QStringLiteral("site.xls"));
  EXPECT_EQ(failed.status, 4);
  EXPECT_EQ(failed.err, QStringLiteral("tabulon: Excel Exporter: Missing query parameters for: 'qryInterviewsAtSite'.  "
                                       "Operation cancelled.  Please check defaults.\n"));
  EXPECT_FALSE(QFile::exists(Path(QStringLiteral("site.xls"))));

  // "Effort" pastes qryEffortByTimeBlock into a template that is gone.
  Execute(sample_, QStringLiteral("UPDATE tblUserQueries SET ExcelTemplate = '/nowhere/Missing.xls' WHERE QueryID = 5"));
  failed = runInto(QStringLiteral("Effort"), QStringLiteral("effort.xls"));
  EXPECT_EQ(failed.status, 5) << failed.err.toStdString();
  EXPECT_TRUE(failed.err.startsWith(QStringLiteral("tabulon: Excel Exporter: Cannot access the template")));
  EXPECT_FALSE(QFile::exists(Path(QStringLiteral("effort.xls"))));

  Execute(sample_, QStringLiteral("UPDATE tblUserQueries SET ExcelMacros = 'Formatting.NoSuchMacro' WHERE QueryID = 1"));
  failed = runInto(QStringLiteral("Weekly catch"), QStringLiteral("weekly.xls"));
  EXPECT_EQ(failed.status, 6) << failed.err.toStdString();
  EXPECT_TRUE(failed.err.startsWith(QStringLiteral("tabulon: Excel Exporter: Cannot execute a macro")));
  EXPECT_FALSE(QFile::exists(Path(QStringLiteral("weekly.xls"))));
}

// The office of a process: its child running soffice.bin.
pid_t OfficeOf(qint64 parent) {
  for (const QString& entry : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
    QFile stat(QStringLiteral("/proc/%1/stat").arg(entry));
    if (!stat.open(QIODevice::ReadOnly)) continue;
    const QString text = QString::fromLatin1(stat.readAll());
    const auto fields = text.mid(text.lastIndexOf(QLatin1Char(')')) + 2).split(QLatin1Char(' '));
    if (text.contains(QStringLiteral("(soffice.bin)")) && fields.value(1).toLongLong() == parent) return entry.toInt();
  }
  return -1;
}

TEST_F(BatchRunTest, AMacroThatStopsOrTakesTheOfficeWithItIsToldOnStandardErrorAlone) {
  const QString stops = Path(QStringLiteral("Stops.xls"));
  const QString looping = Path(QStringLiteral("looping"));
  {
    auto app = excel::Application::Create();
    MacroModules modules = FailingReportModule();
    modules.append({QStringLiteral("Loops"), QStringLiteral("Sub Spins()\n"
                                                            "  Open \"%1\" For Output As #1\n"
                                                            "  Close #1\n"
                                                            "  Do\n"
                                                            "    DoEvents\n"
                                                            "  Loop\n"
                                                            "End Sub\n")
                                                 .arg(looping)});
    modules.append({QStringLiteral("Marking"), QStringLiteral("Sub Marks()\n"
                                                              "  ThisWorkbook.Worksheets(\"Data\").Range(\"A1\").Value = \"ran\"\n"
                                                              "End Sub\n")});
    MakeMacroTemplate(*app, stops, modules);
  }
  const auto useMacro = [&](const QString& macro) {
    Execute(sample_, QStringLiteral("UPDATE tblUserQueries SET ExcelTemplate = '%1', ExcelSheetName = 'Data', "
                                    "ExcelMacros = '%2' WHERE QueryID = 1")
                         .arg(stops, macro));
  };
  const QStringList run = {QStringLiteral("--run"), QStringLiteral("Weekly catch"), QStringLiteral("--output"),
                           QStringLiteral("weekly.xls"), QStringLiteral("--database"), sample_};
  const QString macroMessage = QStringLiteral(
      "tabulon: Excel Exporter: Cannot execute a macro in the Excel file.  Ensure that the Excel Macro exists.  \n\n"
      "Alternatively, the default settings for the template in the applicaton's database may be incorrect.\n\n");

  useMacro(QStringLiteral("Fails"));
  Result failed = Tabulon(run);
  EXPECT_EQ(failed.status, 6);
  EXPECT_EQ(failed.err, macroMessage + QLatin1String(kFailingReportStop) + QLatin1Char('\n'));

  // The office aborts while the macro runs, as a crashing office does.
  useMacro(QStringLiteral("Spins"));
  QProcess process;
  Start(process, run);
  for (int waited = 0; !QFile::exists(looping) && waited < 1200; ++waited) QThread::msleep(100);
  ASSERT_TRUE(QFile::exists(looping)) << "the macro never started";
  const pid_t office = OfficeOf(process.processId());
  ASSERT_GT(office, 0);
  ::kill(office, SIGABRT);
  failed = Finish(process);
  EXPECT_EQ(failed.status, 6);
  EXPECT_EQ(failed.err, macroMessage + QStringLiteral("The macro 'Spins' (module Loops) did not finish: the office "
                                                      "ended while it ran. The next run starts a new office.\n"));
  EXPECT_EQ(QDir(Path(QString())).entryList({QStringLiteral(".~lock*")}, QDir::Hidden | QDir::Files), QStringList())
      << "the dead office's lock on the workbook goes with it";

  useMacro(QStringLiteral("Marks"));
  const Result next = Tabulon(run + QStringList{QStringLiteral("--overwrite")});
  EXPECT_EQ(next.status, 0) << next.err.toStdString();
  EXPECT_EQ(ReadXls(Path(QStringLiteral("weekly.xls"))).Sheet(QStringLiteral("Data")).Text(1, 1), QStringLiteral("ran"));
}

}  // namespace
