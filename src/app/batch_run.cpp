#include "app/batch_run.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <algorithm>
#include <cstdio>

#include "app/lock_wait_setting.h"
#include "app/odbc_mapping_setting.h"
#include "app/macro_check_command.h"
#include "app/mglobals.h"
#include "export/bas_exporter.h"
#include "export/excel_slots.h"
#include "platform/dao/dao.h"
#include "platform/errors/app_error.h"
#include "platform/excel/application.h"
#include "platform/settings/cregistry.h"
#include "platform/ui/dialogs.h"
#include "reportdb/sql_catalogue.h"

namespace app {
namespace {

void PrintError(const QString& text) {
  QString line = text;
  line.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
  std::fprintf(stderr, "tabulon: %s\n", line.toUtf8().constData());
}

// Nobody answers: the output file is the one given, a question is answered
// the safe way (replacing a file only when --overwrite was given), and every
// message goes to standard error but a question answered Yes.
class BatchDialogs : public platform::Dialogs {
 public:
  BatchDialogs(QString output, bool overwrite) : output_(std::move(output)), overwrite_(overwrite) {}

  int MsgBox(const QString& prompt, int style, const QString& title) override {
    const int answer = AnswerTo(style);
    // A Yes is what the job asked for with --overwrite; cron would mail the
    // question after every run.
    if (answer != platform::vbYes) PrintError(title + QStringLiteral(": ") + prompt);
    return answer;
  }
  std::optional<QString> ShowOpen(const platform::FileDialogRequest& request) override {
    return platform::AnswerToCancel(request);
  }
  std::optional<QString> ShowSave(const platform::FileDialogRequest&) override { return output_; }

 private:
  int AnswerTo(int style) const {
    switch (style & 7) {
      case platform::vbYesNo:
      case platform::vbYesNoCancel: return overwrite_ ? platform::vbYes : platform::vbNo;
      case platform::vbOKOnly: return platform::vbOK;
      default: return platform::vbCancel;
    }
  }

  QString output_;
  bool overwrite_;
};

struct BatchOptions {
  bool list = false;
  bool check_macros = false;
  QString report;
  QString output;
  QString database;
  bool overwrite = false;
};

std::optional<BatchOptions> ParseOptions(const QStringList& arguments) {
  QCommandLineParser parser;
  const QCommandLineOption run(QStringLiteral("run"), QStringLiteral("Run REPORT"), QStringLiteral("REPORT"));
  const QCommandLineOption list(QStringLiteral("list"), QStringLiteral("List the reports"));
  const QCommandLineOption output(QStringLiteral("output"), QStringLiteral("Workbook to write"), QStringLiteral("FILE"));
  const QCommandLineOption database(QStringLiteral("database"), QStringLiteral("Database"), QStringLiteral("FILE"));
  const QCommandLineOption overwrite(QStringLiteral("overwrite"), QStringLiteral("Replace an existing FILE"));
  const QCommandLineOption check(QStringLiteral("check-macros"), QStringLiteral("Check the macros of [REPORT]"));
  parser.addOptions({run, list, output, database, overwrite, check});
  if (!parser.parse(arguments)) {
    PrintError(parser.errorText());
    return std::nullopt;
  }
  BatchOptions options{parser.isSet(list), parser.isSet(check), parser.value(run), parser.value(output),
                       parser.value(database), parser.isSet(overwrite)};
  if (options.check_macros && parser.positionalArguments().size() == 1) options.report = parser.positionalArguments()[0];
  const int modes = int(parser.isSet(run)) + int(options.list) + int(options.check_macros);
  if (modes != 1 || (parser.isSet(run) && options.output.isEmpty()) ||
      parser.positionalArguments().size() > (options.check_macros ? 1 : 0)) {
    PrintError(QStringLiteral(
        "usage: tabulon --run \"REPORT\" --output FILE [--database FILE] [--overwrite]\n"
        "       tabulon --list [--database FILE]\n"
        "       tabulon --check-macros [\"REPORT\"] [--database FILE]"));
    return std::nullopt;
  }
  return options;
}

CRegistry FamilySettings() {
  CRegistry registry;
  registry.SetRegMainKey(QString::fromLatin1(kFamilyMainKey));
  return registry;
}

// The database given, else the one the family's programs recorded.
QString DatabasePath(const BatchOptions& options, const CRegistry& family) {
  if (!options.database.isEmpty()) return QFileInfo(options.database).absoluteFilePath();
  return family.ReadRegistry(QStringLiteral("StartUp"), QStringLiteral("DatabasePath"), QString());
}

// Report names and keys, in name order.
QVector<std::pair<QString, std::int32_t>> Reports(dao::Database& database) {
  QVector<std::pair<QString, std::int32_t>> reports;
  const std::unique_ptr<dao::Recordset> rows = database.OpenRecordset(reportdb::sql::ReportList());
  for (; !rows->IsEOF(); rows->MoveNext()) reports.append({rows->Value(1).toString(), rows->Value(0).toInt()});
  return reports;
}

int StatusOf(basExporter::RunOutcome outcome) {
  switch (outcome) {
    case basExporter::RunOutcome::kComplete: return kBatchOk;
    case basExporter::RunOutcome::kQueryFailed: return kBatchQuery;
    case basExporter::RunOutcome::kWorkbookFailed: return kBatchWorkbook;
    case basExporter::RunOutcome::kMacroFailed: return kBatchMacro;
    case basExporter::RunOutcome::kNoFileChosen:
    case basExporter::RunOutcome::kCancelled:  // a batch run has nobody to press Cancel
    case basExporter::RunOutcome::kFailed: break;
  }
  return kBatchFailed;
}

// The reports named `name`, told on standard error when there is none.
QVector<std::pair<QString, std::int32_t>> ReportsNamed(dao::Database& database, const QString& name,
                                                      const QString& databasePath) {
  QVector<std::pair<QString, std::int32_t>> named;
  for (const auto& report : Reports(database)) {
    // Report names compare as Jet compares them: case does not count.
    if (report.first.compare(name, Qt::CaseInsensitive) == 0) named = {report};
  }
  if (named.isEmpty())
    PrintError(QStringLiteral("There is no report named '") + name + QStringLiteral("' in ") + databasePath +
               QLatin1Char('.'));
  return named;
}

int CheckMacros(dao::Database& database, const QString& databasePath, const BatchOptions& options) {
  const auto reports = options.report.isEmpty() ? Reports(database) : ReportsNamed(database, options.report, databasePath);
  if (reports.isEmpty() && !options.report.isEmpty()) return kBatchReportNotFound;
  excel::Application::SetDesktopOpener([](const QString&) {});
  gTemplateSearch.database_folder = QFileInfo(databasePath).absolutePath() + QLatin1Char('/');
  return CheckReportMacros(database, reports);
}

int RunReport(dao::Database& database, const QString& databasePath, const BatchOptions& options) {
  const auto named = ReportsNamed(database, options.report, databasePath);
  if (named.isEmpty()) return kBatchReportNotFound;
  const std::int32_t outputId = named.first().second;
  const QString output = QFileInfo(options.output).absoluteFilePath();
  const bool existed = QFileInfo::exists(output);
  if (existed && !options.overwrite) {
    PrintError(output + QStringLiteral(" already exists; give --overwrite to replace it."));
    return kBatchFileExists;
  }
  BatchDialogs dialogs(output, options.overwrite);
  platform::setDialogs(&dialogs);
  // The finished workbook is only shown to a person at a screen.
  excel::Application::SetDesktopOpener([](const QString&) {});
  gTemplateSearch.database_folder = QFileInfo(databasePath).absolutePath() + QLatin1Char('/');
  basExporter::RunContext context{database, databasePath, [](const QString&) {}};
  basExporter::ExportReport(options.report, outputId, context);
  platform::setDialogs(nullptr);
  const int status = StatusOf(basExporter::LastRunOutcome());
  // A failed run leaves nothing half-written where none was before.
  if (status != kBatchOk && !existed) QFile::remove(output);
  if (status == kBatchOk && !QFileInfo::exists(output)) {
    PrintError(QStringLiteral("The workbook was not written: ") + output);
    return kBatchWorkbook;
  }
  return status;
}

}  // namespace

bool IsBatchInvocation(const QStringList& arguments) {
  return arguments.contains(QStringLiteral("--run")) || arguments.contains(QStringLiteral("--list")) ||
         arguments.contains(QStringLiteral("--check-macros")) ||
         std::any_of(arguments.begin(), arguments.end(),
                     [](const QString& a) { return a.startsWith(QStringLiteral("--run=")); });
}

int RunBatch(const QStringList& arguments) {
  const std::optional<BatchOptions> options = ParseOptions(arguments);
  if (!options) return kBatchUsage;
  const CRegistry family = FamilySettings();
  // A scheduled job shares the file with people at work in it.
  ApplyLockWaitSetting(family);
  ApplyOdbcMappingSetting(family);
  const QString databasePath = DatabasePath(*options, family);
  if (databasePath.isEmpty()) {
    PrintError(QStringLiteral("No database is recorded; give one with --database FILE."));
    return kBatchDatabase;
  }
  std::shared_ptr<dao::Database> database;
  try {
    database = dao::DBEngine::Workspaces(0).OpenDatabase(databasePath, false, true);
    if (options->list) {
      for (const auto& report : Reports(*database)) std::printf("%s\n", report.first.toUtf8().constData());
      return kBatchOk;
    }
  } catch (const platform::AppError& error) {
    PrintError(databasePath + QStringLiteral(": ") + error.Description());
    return kBatchDatabase;
  }
  const int status = options->check_macros ? CheckMacros(*database, databasePath, *options)
                                            : RunReport(*database, databasePath, *options);
  ReleaseExcelSlots();
  return status;
}

}  // namespace app
