#include "export/bas_exporter.h"

#include <QFile>
#include <QLocale>
#include <limits>
#include <memory>
#include <optional>

#include "export/cexcel_exporter.h"
#include "export/excel_slots.h"
#include "export/report_macros.h"
#include "export/run_progress.h"
#include "export/bas_exporter_messages.h"
#include "platform/dao/dao.h"
#include "platform/excel/file_format.h"
#include "platform/errors/app_error.h"
#include "platform/ui/mouse_pointer.h"
#include "reportdb/sql_catalogue.h"
#include "reportdb/stored_lists.h"

namespace basExporter {

ReportInformation gReportInformation;

namespace {

// Errors the family's runtime raises where this run follows its rules.
constexpr int kErrOverflow = 6;
constexpr int kErrObjectNotSet = 91;
constexpr int kErrInvalidUseOfNull = 94;
constexpr int kErrNoCurrentRecord = 3021;

// How one query ended: on to the next, to the finishing steps, or out of
// the run altogether (the cancellations that close the office first).
enum class Next { kNextQuery, kFinish, kLeave };

// A text field copied into a string: Null is refused as the runtime does.
QString TextOf(const dao::Recordset& row, int field) {
  const QVariant& value = row.Value(field);
  if (value.isNull()) throw platform::AppError(kErrInvalidUseOfNull, QStringLiteral("Invalid use of Null"));
  return value.toString();
}

void RequireCurrentRecord(const dao::Recordset& rows) {
  if (rows.IsEOF()) throw platform::AppError(kErrNoCurrentRecord, QStringLiteral("No current record."));
}

// The destination a query inherits from the ones before it.
struct Destination {
  QString templatePath;
  QString sheetName;
  std::int16_t column = 1;
  std::int16_t row = 1;
};

std::int16_t ToInt16(const QVariant& value) {
  bool ok = false;
  const int number = value.toInt(&ok);
  if (!ok || number < std::numeric_limits<std::int16_t>::min() || number > std::numeric_limits<std::int16_t>::max()) {
    throw platform::AppError(kErrOverflow, QStringLiteral("Overflow"));
  }
  return static_cast<std::int16_t>(number);
}

class ExportRun {
 public:
  ExportRun(const QString& reportName, std::int32_t outputId, const RunContext& context)
      : reportName_(reportName), outputId_(outputId), context_(context) {}

  void Run();

 private:
  Next Body();
  void ReadReportHeader();
  Next ExportQuery(const QVariant& queryId);
  void ApplyDestination(const dao::Recordset& userQuery);
  // False when the run must stop: the message was shown.
  bool SetParameters(dao::QueryDef& query, const QVariant& storedValues);
  Next WriteRecords(dao::QueryDef& query, const QVariant& macros);
  void SaveWorkbook();
  void Finish();
  void Leave();
  void Cancel();

  // Makes the run's watcher the one the writer reports to, for the run.
  class WatchedBy {
   public:
    explicit WatchedBy(RunProgress* progress) { gRunProgress = progress; }
    ~WatchedBy() { gRunProgress = nullptr; }
    WatchedBy(const WatchedBy&) = delete;
    WatchedBy& operator=(const WatchedBy&) = delete;
  };

  QString reportName_;
  std::int32_t outputId_;
  const RunContext& context_;
  std::unique_ptr<CExcelExporter> exporter_;
  Destination destination_;
  // What a block must fit in: the chosen file's sheet.
  excel::SheetSize sheet_ = excel::SheetSizeOf(excel::FileFormat::kXls);
  std::int16_t counter_ = 1;
  int index_ = 0;  // the query's element in the report information
  int queryCount_ = 0;
  QString outputFile_;  // made by this run
};

void ExportRun::Run() {
  ResetRunOutcome();
  const WatchedBy watched(context_.progress);
  context_.showStatus(QStringLiteral("Status"));
  Next next = Next::kFinish;
  try {
    platform::SetMousePointer(platform::vbHourglass);
    context_.showStatus(QStringLiteral("Status: Working.  Please wait..."));
    exporter_ = std::make_unique<CExcelExporter>();
    next = Body();
  } catch (const RunCancelled&) {
    return Cancel();
  } catch (const platform::AppError& error) {
    ShowRunError(error);
  } catch (const std::exception& error) {
    ShowRunError(platform::AppError(0, QString::fromLocal8Bit(error.what())));
  }
  if (next == Next::kLeave) return Leave();
  Finish();
}

Next ExportRun::Body() {
  ReadReportHeader();
  auto queries = context_.database.OpenRecordset(reportdb::sql::ReportQueryKeysForRun(outputId_));
  queries->MoveLast();
  const int n = static_cast<int>(queries->RecordCount());
  gReportInformation.QueryNames = QStringList(n, QString());
  gReportInformation.ParameterNames = QStringList(n, QString());
  gReportInformation.ParameterValues = QStringList(n, QString());
  queryCount_ = n;
  queries->MoveFirst();
  for (; !queries->IsEOF(); queries->MoveNext()) {
    const Next next = ExportQuery(queries->Value(0));
    if (next != Next::kNextQuery) return next;
    if (counter_ == std::numeric_limits<std::int16_t>::max()) {
      throw platform::AppError(kErrOverflow, QStringLiteral("Overflow"));
    }
    ++counter_;
    ++index_;
  }
  StopIfCancelled();
  exporter_->PasteReportInformation(gReportInformation.Author, gReportInformation.OutputDate,
                                    gReportInformation.SourceDatabase, gReportInformation.ReportName,
                                    gReportInformation.Description, gReportInformation.QueryNames,
                                    gReportInformation.ParameterNames, gReportInformation.ParameterValues);
  StopIfCancelled();
  SaveWorkbook();
  return Next::kFinish;
}

void ExportRun::ReadReportHeader() {
  auto report = context_.database.OpenRecordset(reportdb::sql::ReportHeaderForRun(outputId_));
  RequireCurrentRecord(*report);
  gReportInformation.Author = TextOf(*report, 0);
  gReportInformation.OutputDate = OutputDate(QDateTime::currentDateTime());
  gReportInformation.SourceDatabase = context_.sourceDatabase;
  gReportInformation.ReportName = TextOf(*report, 1);
  gReportInformation.Description = TextOf(*report, 2);
}

Next ExportRun::ExportQuery(const QVariant& queryId) {
  auto userQuery = context_.database.OpenRecordset(reportdb::sql::UserQueryForRun(queryId.toInt()));
  RequireCurrentRecord(*userQuery);
  ApplyDestination(*userQuery);
  const QString queryName = TextOf(*userQuery, 4).trimmed();
  if (gRunProgress) gRunProgress->QueryStarted(index_ + 1, queryCount_, queryName);
  StopIfCancelled();
  gReportInformation.QueryNames[index_] = queryName;
  gReportInformation.ParameterNames[index_] = QString();

  dao::QueryDef query = context_.database.QueryDefs(queryName);
  if (query.Parameters().Count() >= 1 && !SetParameters(query, userQuery->Value(5))) {
    CExcelExporter().TerminateExcelProcess();
    return Next::kLeave;
  }
  exporter_ = std::make_unique<CExcelExporter>();
  if (counter_ <= 1) {
    platform::SetMousePointer(platform::vbHourglass);
    const QString fileName = ChooseOutputFileName(reportName_, QStringLiteral("xls"), QStringLiteral("Excel"));
    if (fileName.isEmpty()) return Next::kFinish;
    sheet_ = excel::SheetSizeOf(excel::FormatOfFile(fileName));
    // What cannot run is refused before anything is made.
    CheckMacrosBeforeRun(ReadReportMacros(context_.database, outputId_));
    // Refusing to overwrite leaves this query unwritten; the run goes on.
    if (!exporter_->CreateExcelFile(fileName, destination_.templatePath, gNewExcelInstance)) return Next::kNextQuery;
    outputFile_ = fileName;
  }
  return WriteRecords(query, userQuery->Value(6));
}

void ExportRun::ApplyDestination(const dao::Recordset& userQuery) {
  // A query without a template writes where the last one with a template did.
  if (!userQuery.Value(0).isNull()) {
    destination_.templatePath = userQuery.Value(0).toString().trimmed();
    destination_.sheetName = TextOf(userQuery, 1).trimmed();
  }
  // The row counts only together with its column.
  if (!userQuery.Value(3).isNull()) {
    destination_.column = ToInt16(userQuery.Value(3));
    destination_.row = ToInt16(userQuery.Value(2));
  } else {
    destination_.column = 1;
    destination_.row = 1;
  }
}

bool ExportRun::SetParameters(dao::QueryDef& query, const QVariant& storedValues) {
  QStringList names;
  for (const dao::Parameter& parameter : query.Parameters().items()) names << parameter.Name;
  gReportInformation.ParameterNames[index_] = names.join(QLatin1Char('/'));
  const std::optional<QStringList> values = reportdb::ReadQueryParameters(storedValues);
  if (!values) {
    ShowMissingParameters(query.Name());
    return false;
  }
  gReportInformation.ParameterValues[index_] = storedValues.toString();
  if (values->size() != query.Parameters().Count()) {
    ShowWrongParameterCount(query.Name());
    return false;
  }
  // By position only: the stored list has no names to match.
  for (int k = 0; k < values->size(); ++k) query.Parameters().Item(k).Value = values->at(k);
  return true;
}

Next ExportRun::WriteRecords(dao::QueryDef& query, const QVariant& macros) {
  platform::SetMousePointer(platform::vbHourglass);
  std::unique_ptr<dao::Recordset> records = query.OpenRecordset();
  if (records->IsEOF() && counter_ <= 1) {
    ShowNoResults();
    exporter_->TerminateExcelProcess();
    exporter_.reset();
    return Next::kLeave;
  }
  // Nothing is ever cut off silently: a block that would run past the
  // sheet's last row or column stops the run like too many records.
  const long count = records->RecordCount();
  if (count >= sheet_.rows || destination_.row + count > sheet_.rows ||
      destination_.column + records->FieldCount() - 1 > sheet_.columns) {
    ShowTooManyRows(count, sheet_.rows);
    return Next::kFinish;
  }
  StopIfCancelled();
  exporter_->DoExport(*records, destination_.column, destination_.row, destination_.sheetName);
  platform::SetMousePointer(platform::vbHourglass);
  for (const QString& macro : reportdb::ReadExcelMacros(macros)) {
    StopIfCancelled();
    exporter_->RunExcelMacro(macro);
  }
  StopIfCancelled();
  return Next::kNextQuery;
}

void ExportRun::SaveWorkbook() {
  if (!gExcelApp || !gExcelWorkbook) {
    throw platform::AppError(kErrObjectNotSet, QStringLiteral("Object variable or With block variable not set"));
  }
  // The file was made by this run: saving over it needs no question.
  gExcelApp->SetDisplayAlerts(false);
  gExcelWorkbook->Save();
}

void ExportRun::Finish() {
  try {
    context_.showStatus(QStringLiteral("Status: Complete!"));
    platform::SetMousePointer(platform::vbDefault);
    // The user sees whatever was written, even after a failure.
    if (!exporter_) exporter_ = std::make_unique<CExcelExporter>();
    exporter_->ExcelVisible(1);
  } catch (...) {
  }
  exporter_.reset();
  gExcelAppInUse.reset();
  DropReplacedFile();
}

void ExportRun::Leave() {
  exporter_.reset();
  DropReplacedFile();
}

// Stopped by the person watching: the workbook goes unsaved, the file this
// run made goes with it and a file it was replacing comes back. The office
// stays ready for the next run.
void ExportRun::Cancel() {
  NoteRunCancelled();
  try {
    if (gExcelWorkbook) gExcelWorkbook->Close();
  } catch (...) {
  }
  gExcelWorksheet.reset();
  gExcelWorkbook.reset();
  if (!outputFile_.isEmpty()) QFile::remove(outputFile_);
  RestoreReplacedFile();
  exporter_.reset();
  gExcelAppInUse.reset();
  platform::SetMousePointer(platform::vbDefault);
  context_.showStatus(QLatin1String(kCancelledStatus));
}

}  // namespace

QDateTime OutputDate(const QDateTime& now) {
  const QLocale english = QLocale::c();
  const QString format = QStringLiteral("dd-MMM-yyyy hh:mm");
  return english.toDateTime(english.toString(now, format), format);
}

void ExportReport(const QString& reportName, std::int32_t outputId, const RunContext& context) {
  ExportRun(reportName, outputId, context).Run();
}

}  // namespace basExporter
