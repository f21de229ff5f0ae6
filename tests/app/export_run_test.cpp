// A report run from the report tables to the saved workbook, read back with
// a reader that shares nothing with the office; and every way a run stops.
#include <QDir>
#include <QFile>
#include <functional>
#include <utility>
#include <vector>
#include <ostream>

#include "export/bas_exporter.h"
#include "export/excel_slots.h"
#include "export/run_progress.h"
#include "export_run_fixture.h"
#include "platform/dao/dao.h"
#include "platform/settings/cregistry.h"

inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace {

using platform::ScriptedDialogs;

const QString kWorking = QStringLiteral("Status: Working.  Please wait...");
const QString kComplete = QStringLiteral("Status: Complete!");
const QStringList kFinished = {QStringLiteral("Status"), kWorking, kComplete};
const QStringList kLeftEarly = {QStringLiteral("Status"), kWorking};
const QString kCatchTemplate = QStringLiteral(TABULON_SAMPLE_TEMPLATES "/CatchSummary.xls");
// "Broken Parameters": its one user query runs "Sales by Year".
constexpr int kSalesByYearReport = 5;
constexpr int kSalesByYearQuery = 7;

QString LatestReportTargetPath() {
  CRegistry family;
  family.SetRegMainKey(QStringLiteral("Software\\Varnel Technologies\\Ondara3\\"));
  return family.ReadRegistry(QStringLiteral("Tabulon"), QStringLiteral("LatestReportTargetPath"));
}

// What the saved query gives, to compare the pasted block with.
std::unique_ptr<dao::Recordset> QueryResult(const QString& database, const QString& query, const QStringList& values) {
  auto db = dao::DBEngine::Workspaces(0).OpenDatabase(database);
  dao::QueryDef def = db->QueryDefs(query);
  for (int k = 0; k < values.size(); ++k) def.Parameters().Item(k).Value = values[k];
  return def.OpenRecordset();
}

// The header shows a field's caption where it has one, as Access does.
QString HeaderOf(const dao::FieldInfo& field) { return field.caption.isEmpty() ? field.name : field.caption; }

// `alone`: nothing written below the block.
void ExpectBlockAt(const XlsSheet& sheet, const dao::Recordset& records, int row, int column, bool alone = true) {
  for (int f = 0; f < records.FieldCount(); ++f) {
    EXPECT_EQ(sheet.Text(row, column + f), HeaderOf(records.Field(f))) << "header " << f;
  }
  EXPECT_EQ(sheet.Text(row + 1, column), records.Rows().first().first().toString());
  EXPECT_EQ(sheet.Text(row + records.RecordCount(), column), records.Rows().last().first().toString());
  if (alone) {
    EXPECT_EQ(sheet.At(row + records.RecordCount() + 1, column).kind, XlsCell::Kind::kEmpty);
  }
}

class ExportRunFlow : public ExportRunTest {
 protected:
  // "Sales by Year" into the sample template's Catch sheet with its macros.
  void SalesByYearIntoCatchTemplate(const QString& macros, const QString& parameters) {
    ChangeUserQuery(kSalesByYearQuery, {{"ExcelTemplate", Text(kCatchTemplate)},
                                        {"ExcelSheetName", Text(QStringLiteral("Catch"))},
                                        {"ExcelTargetRow", Number(4)},
                                        {"ExcelTargetColumn", Number(1)},
                                        {"ExcelMacros", Text(macros)},
                                        {"DefaultQueryParameters", Text(parameters)}});
  }
};

TEST_F(ExportRunFlow, AReportRunWritesEveryBlockAtItsPlaceAndDescribesItselfOnTheInformationSheet) {
  const QString file = OutputFile(QStringLiteral("Quarterly.xls"));
  script.AnswerFileDialog(file);

  Run(QStringLiteral("Quarterly"), 7);

  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << script.MessageBoxes().value(0).prompt.toStdString();
  EXPECT_EQ(statuses, kFinished);
  ASSERT_EQ(script.FileDialogsShown().size(), 1);
  const ScriptedDialogs::FileDialogShown& save = script.FileDialogsShown()[0];
  EXPECT_EQ(save.kind, ScriptedDialogs::FileDialogKind::kSave);
  EXPECT_EQ(save.request.title, QStringLiteral("Specify a New Name for the Excel Output File"));
  EXPECT_EQ(save.request.filter, QStringLiteral("All Files (*.*)|*.*|Excel Files (*.xls)|*.xls|Excel 2007-365 Files "
                                                "(*.xlsx)|*.xlsx|OpenDocument Spreadsheet Files (*.ods)|*.ods"));
  EXPECT_EQ(save.request.filterIndex, 2);
  EXPECT_EQ(save.request.fileName, QStringLiteral("Quarterly"));
  EXPECT_EQ(save.request.flags, 0x802);
  EXPECT_TRUE(save.request.cancelError);
  EXPECT_EQ(LatestReportTargetPath(), OutputFolder() + QStringLiteral("/"));
  EXPECT_EQ(opened, QStringList{file});

  const XlsBook book = ReadXls(file);
  ASSERT_TRUE(book.SheetNames().contains(QStringLiteral("Information"))) << book.SheetNames().join(',').toStdString();
  const XlsSheet& data = book.Sheet(QStringLiteral("Sheet1"));
  ExpectBlockAt(data, *QueryResult(Database(), QStringLiteral("Quarterly Orders by Product"), {}), 5, 3);
  ExpectBlockAt(data, *QueryResult(Database(), QStringLiteral("Invoices Filter"), {QStringLiteral("10250")}), 1, 1);

  const XlsSheet& info = book.Sheet(QStringLiteral("Information"));
  EXPECT_EQ(info.Text(2, 3), QStringLiteral("mfisher"));
  EXPECT_EQ(info.Text(4, 3), Database());
  EXPECT_EQ(info.Text(6, 3), QStringLiteral("Quarterly"));
  EXPECT_EQ(info.Text(7, 3), QStringLiteral("Crosstab at row 5, column 3; then the invoice of order 10250."));
  EXPECT_EQ(info.Text(11, 3), QStringLiteral("- Quarterly Orders by Product"));
  EXPECT_EQ(info.Text(13, 3), QStringLiteral("- Invoices Filter"));
  EXPECT_EQ(info.Text(13, 7), QStringLiteral("- Forms!Orders![OrderID]"));
  EXPECT_EQ(info.Text(14, 7), QStringLiteral("- 10250"));
}

TEST_F(ExportRunFlow, TheNextRunStartsInTheRememberedFolderAndCancellingItsDialogWritesNothing) {
  CRegistry family;
  family.SetRegMainKey(QStringLiteral("Software\\Varnel Technologies\\Ondara3\\"));
  family.WriteRegistry(QStringLiteral("Tabulon"), QStringLiteral("LatestReportTargetPath"), OutputFolder() + "/");
  script.AnswerFileDialog(std::nullopt);

  Run(QStringLiteral("Quarterly"), 7);

  ASSERT_EQ(script.FileDialogsShown().size(), 1);
  EXPECT_EQ(script.FileDialogsShown()[0].request.initialDir, OutputFolder() + "/");
  EXPECT_TRUE(script.MessageBoxes().isEmpty());
  EXPECT_EQ(statuses, kFinished);
  EXPECT_TRUE(QDir(OutputFolder()).isEmpty());
}

TEST_F(ExportRunFlow, ATemplatesMacrosRunOnTheBlockAndAMissingMacroIsNamed) {
  SalesByYearIntoCatchTemplate(QStringLiteral("FormatCatchBlock/ AddTotals "), QStringLiteral("01-Jan-1997/31-Mar-1997"));
  const QString file = OutputFile(QStringLiteral("catch.xls"));
  script.AnswerFileDialog(file);
  Run(QStringLiteral("Broken Parameters"), kSalesByYearReport);
  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << script.MessageBoxes().value(0).prompt.toStdString();
  auto records = QueryResult(Database(), QStringLiteral("Sales by Year"),
                             {QStringLiteral("01-Jan-1997"), QStringLiteral("31-Mar-1997")});
  const XlsSheet& sheet = ReadXls(file).Sheet(QStringLiteral("Catch"));
  EXPECT_EQ(sheet.Text(4, 1), records->Field(0).caption.isEmpty() ? records->Field(0).name : records->Field(0).caption);
  EXPECT_EQ(sheet.Text(1, 1), QStringLiteral("Catch summary")) << "the template's title stays";
  EXPECT_EQ(sheet.Text(5 + records->RecordCount(), 1), QStringLiteral("Total")) << "AddTotals ran";

  SalesByYearIntoCatchTemplate(QStringLiteral("FormatCatchBlock/NoSuchMacro"), QStringLiteral("01-Jan-1997/31-Mar-1997"));
  script.AnswerFileDialog(OutputFile(QStringLiteral("catch2.xls")));
  statuses.clear();
  Run(QStringLiteral("Broken Parameters"), kSalesByYearReport);
  const auto box = OnlyBox();
  EXPECT_TRUE(box.prompt.startsWith(QStringLiteral(
      "Cannot execute a macro in the Excel file.  Ensure that the Excel Macro exists.  \r\n\r\nAlternatively, the "
      "default settings for the template in the applicaton's database may be incorrect.\r\n\r\n")))
      << box.prompt.toStdString();
  EXPECT_TRUE(box.prompt.contains(QStringLiteral("'NoSuchMacro'"))) << "the missing macro is named";
  EXPECT_EQ(box.style, 48);
  EXPECT_EQ(box.title, QStringLiteral("Excel Exporter"));
  EXPECT_EQ(statuses, kFinished);
}

TEST_F(ExportRunFlow, QueriesWithoutATemplateWriteToTheLastTemplatesSheetAndWithoutAColumnAtA1) {
  // "Sales Review": query 1 names the template; 2 and 3 name none, and 3
  // has no target column, so both land at A1 of the template's sheet.
  ChangeUserQuery(1, {{"ExcelTemplate", Text(kCatchTemplate)},
                      {"ExcelSheetName", Text(QStringLiteral("Catch"))},
                      {"ExcelMacros", Null()}});
  const QString file = OutputFile(QStringLiteral("review.xls"));
  script.AnswerFileDialog(file);

  Run(QStringLiteral("Sales Review"), 1);

  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << script.MessageBoxes().value(0).prompt.toStdString();
  const XlsBook book = ReadXls(file);
  EXPECT_EQ(book.SheetNames(), QStringList({"Information", "Catch", "Notes", "Summary"}));
  const XlsSheet& sheet = book.Sheet(QStringLiteral("Catch"));
  auto tenMostExpensive = QueryResult(Database(), QStringLiteral("Ten Most Expensive Products"), {});
  // Query 2's longer block at A1 shows below query 3's, which wrote over it.
  ExpectBlockAt(sheet, *tenMostExpensive, 1, 1, false);
  auto salesByCategory = QueryResult(Database(), QStringLiteral("Sales by Category"), {});
  EXPECT_EQ(sheet.Text(1 + salesByCategory->RecordCount(), 1), salesByCategory->Rows().last().first().toString());
  auto salesByCountry = QueryResult(Database(), QStringLiteral("Employee Sales by Country"),
                                    {QStringLiteral("01-Dec-1996"), QStringLiteral("31-Dec-1996")});
  EXPECT_EQ(sheet.Text(3, 2 + salesByCountry->FieldCount() - 1),
            HeaderOf(salesByCountry->Field(salesByCountry->FieldCount() - 1)))
      << "query 1's header, at row 3 column 2, keeps its last column";
}

TEST_F(ExportRunFlow, AnEmptyLaterQueryWritesItsHeaderAloneAndTheRunGoesOn) {
  ChangeUserQuery(6, {{"DefaultQueryParameters", Text(QStringLiteral("99999"))}});
  const QString file = OutputFile(QStringLiteral("quarterly.xls"));
  script.AnswerFileDialog(file);

  Run(QStringLiteral("Quarterly"), 7);

  EXPECT_TRUE(script.MessageBoxes().isEmpty()) << script.MessageBoxes().value(0).prompt.toStdString();
  EXPECT_EQ(statuses, kFinished);
  const XlsBook book = ReadXls(file);
  const XlsSheet& sheet = book.Sheet(QStringLiteral("Sheet1"));
  EXPECT_EQ(sheet.Text(1, 1), QStringLiteral("Ship Name"));
  EXPECT_EQ(sheet.At(2, 1).kind, XlsCell::Kind::kEmpty);
  EXPECT_EQ(book.Sheet(QStringLiteral("Information")).Text(14, 7), QStringLiteral("- 99999"));
}

TEST_F(ExportRunFlow, StoredParametersMissingOrMiscountedStopTheRunBeforeAnyFile) {
  // The fixture stores an empty list for the query's two parameters.
  Run(QStringLiteral("Broken Parameters"), kSalesByYearReport);
  ChangeUserQuery(kSalesByYearQuery, {{"DefaultQueryParameters", Null()}});
  Run(QStringLiteral("Broken Parameters"), kSalesByYearReport);

  ASSERT_EQ(script.MessageBoxes().size(), 2);
  EXPECT_EQ(script.MessageBoxes()[0].prompt,
            QStringLiteral("Wrong number of query parameters for: 'Sales by Year'.  Operation cancelled.  Please check "
                           "defaults."));
  EXPECT_EQ(script.MessageBoxes()[1].prompt,
            QStringLiteral("Missing query parameters for: 'Sales by Year'.  Operation cancelled.  Please check "
                           "defaults."));
  for (const auto& box : script.MessageBoxes()) {
    EXPECT_EQ(box.style, 16);
    EXPECT_EQ(box.title, QStringLiteral("Excel Exporter"));
  }
  EXPECT_TRUE(script.FileDialogsShown().isEmpty());
  EXPECT_EQ(statuses, kLeftEarly + kLeftEarly) << "both leave without the finishing steps";
}

TEST_F(ExportRunFlow, AnEmptyFirstQueryCancelsTheRunAndLeavesTheCreatedFile) {
  SalesByYearIntoCatchTemplate(QString(), QStringLiteral("01-Jan-1990/31-Jan-1990"));
  const QString file = OutputFile(QStringLiteral("empty.xls"));
  script.AnswerFileDialog(file);

  Run(QStringLiteral("Broken Parameters"), kSalesByYearReport);

  const auto box = OnlyBox();
  EXPECT_EQ(box.prompt, QStringLiteral("Operation cancelled.  No results available for the specified parameter(s).  "
                                       "Use valid parameter value(s) and try again."));
  EXPECT_EQ(box.style, 64);
  EXPECT_EQ(statuses, kLeftEarly);
  EXPECT_TRUE(QFile::exists(file));
  EXPECT_TRUE(opened.isEmpty());
}

TEST_F(ExportRunFlow, ABlockThatWouldRunPastTheSheetsLastColumnIsRefusedWholeWithTheRowLimitMessage) {
  auto records = QueryResult(Database(), QStringLiteral("Sales by Year"),
                             {QStringLiteral("01-Jan-1997"), QStringLiteral("31-Mar-1997")});
  const QString expected = QStringLiteral("The maximum number or rows allowed per worksheet is 65,536.  Your query "
                                          "contains %1 records.\r\n\r\nOperation cancelled by system.")
                               .arg(records->RecordCount());
  // A stored row is a 16-bit Integer, so below row 32767 only a block of
  // more than 32,769 records could overrun; the columns run out sooner.
  // The query has four columns: from column 253 they end at the sheet's last.
  for (const auto& [column, fits] : {std::pair{254, false}, std::pair{253, true}}) {
    SalesByYearIntoCatchTemplate(QString(), QStringLiteral("01-Jan-1997/31-Mar-1997"));
    ChangeUserQuery(kSalesByYearQuery, {{"ExcelTargetRow", Number(2)}, {"ExcelTargetColumn", Number(column)}});
    const QString file = OutputFile(QStringLiteral("limit%1.xls").arg(column));
    script.AnswerFileDialog(file);
    statuses.clear();
    Run(QStringLiteral("Broken Parameters"), kSalesByYearReport);
    EXPECT_EQ(statuses, kFinished);
    EXPECT_EQ(ReadXls(file).SheetNames().contains(QStringLiteral("Information")), fits) << column;
  }
  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].prompt, expected);
  EXPECT_EQ(script.MessageBoxes()[0].style, 16);
  EXPECT_EQ(ReadXls(OutputFile(QStringLiteral("limit253.xls"))).Sheet(QStringLiteral("Catch")).Text(3, 256),
            records->Rows().first().last().toString());
}

// The chosen name's extension decides the file's format and with it the
// sheet's size; the format is offered first next time. Read back by the office.
TEST_F(ExportRunFlow, TheChosenExtensionDecidesTheFormatItsSheetSizeAndTheNextChoice) {
  auto records = QueryResult(Database(), QStringLiteral("Sales by Year"),
                             {QStringLiteral("01-Jan-1997"), QStringLiteral("31-Mar-1997")});
  SalesByYearIntoCatchTemplate(QString(), QStringLiteral("01-Jan-1997/31-Mar-1997"));
  // Past an .xls sheet's last column, well inside the newer formats' sheets.
  ChangeUserQuery(kSalesByYearQuery, {{"ExcelTargetRow", Number(2)}, {"ExcelTargetColumn", Number(300)}});
  const std::vector<std::pair<QString, QByteArray>> signature = {
      {QStringLiteral("xlsx"), "[Content_Types].xml"},
      {QStringLiteral("ods"), "application/vnd.oasis.opendocument.spreadsheet"}};
  int offered = 2;  // Excel 97-2003 until another format was chosen
  for (const auto& [extension, marker] : signature) {
    const QString file = OutputFile(QStringLiteral("wide.") + extension);
    script.AnswerFileDialog(file);
    statuses.clear();
    Run(QStringLiteral("Broken Parameters"), kSalesByYearReport);
    EXPECT_EQ(statuses, kFinished);
    EXPECT_TRUE(script.MessageBoxes().isEmpty()) << script.MessageBoxes().value(0).prompt.toStdString();
    EXPECT_EQ(script.FileDialogsShown().last().request.filterIndex, offered);
    offered = extension == QStringLiteral("xlsx") ? 3 : 4;
    QFile written(file);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly)) << file.toStdString();
    const QByteArray bytes = written.readAll();
    EXPECT_TRUE(bytes.startsWith("PK\x03\x04") && bytes.contains(marker)) << extension.toStdString();

    auto book = gExcelApp->Workbooks().Add(file);
    EXPECT_TRUE(book.Worksheets().Item(QStringLiteral("Information")).ProtectContents());
    EXPECT_EQ(book.Worksheets().Item(QStringLiteral("Catch")).Cells(3, 301).Value().toInt(),
              records->Rows().first().at(1).toInt());
    book.Close();
  }
  EXPECT_EQ(opened.size(), 2);

  // The newer sheets end too, and a block past the end is refused whole.
  ChangeUserQuery(kSalesByYearQuery, {{"ExcelTargetColumn", Number(16382)}});
  script.AnswerFileDialog(OutputFile(QStringLiteral("past.xlsx")));
  Run(QStringLiteral("Broken Parameters"), kSalesByYearReport);
  EXPECT_EQ(OnlyBox().prompt, QStringLiteral("The maximum number or rows allowed per worksheet is 1,048,576.  Your "
                                             "query contains %1 records.\r\n\r\nOperation cancelled by system.")
                                  .arg(records->RecordCount()));
  EXPECT_EQ(script.FileDialogsShown().last().request.filterIndex, 4);
}

// A person watching the run: what they were shown, and a Cancel pressed
// once `stopWhen` says so.
class ScriptedWatcher : public basExporter::RunProgress {
 public:
  explicit ScriptedWatcher(std::function<bool(const ScriptedWatcher&)> stopWhen) : stopWhen_(std::move(stopWhen)) {}
  void QueryStarted(int number, int count, const QString& name) override {
    shown << QStringLiteral("%1/%2 %3").arg(number).arg(count).arg(name);
  }
  void RowsPlaced(long rows) override { placed << rows; }
  bool CancelRequested() override { return pressed = pressed || stopWhen_(*this); }

  QStringList shown;
  QList<long> placed;
  bool pressed = false;

 private:
  std::function<bool(const ScriptedWatcher&)> stopWhen_;
};

TEST_F(ExportRunFlow, CancelLeavesNoFileKeepsAReplacedOneAndTheOfficeReadyForTheNextRun) {
  const QString file = OutputFile(QStringLiteral("Quarterly.xls"));
  const QString cancelled = QString::fromLatin1(basExporter::kCancelledStatus);
  // Stopped as the second query begins: its first block was already placed.
  ScriptedWatcher secondQuery([](const ScriptedWatcher& w) { return w.shown.size() == 2; });
  script.AnswerFileDialog(file);
  Run(QStringLiteral("Quarterly"), 7, &secondQuery);
  EXPECT_EQ(secondQuery.shown, (QStringList{QStringLiteral("1/2 Quarterly Orders by Product"),
                                            QStringLiteral("2/2 Invoices Filter")}));
  EXPECT_EQ(statuses, (QStringList{QStringLiteral("Status"), kWorking, cancelled}));
  EXPECT_TRUE(script.MessageBoxes().isEmpty());
  EXPECT_FALSE(QFile::exists(file));
  EXPECT_TRUE(opened.isEmpty());
  EXPECT_FALSE(gExcelWorkbook);
  EXPECT_EQ(basExporter::LastRunOutcome(), basExporter::RunOutcome::kCancelled);

  // A file at the chosen path that the person agreed to replace is back as it was.
  {
    QFile existing(file);
    ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
    existing.write("last week's report");
  }
  ScriptedWatcher atInformation([](const ScriptedWatcher& w) { return w.shown.size() == 2 && !w.placed.isEmpty(); });
  script.AnswerFileDialog(file);
  script.AnswerMessageBox(platform::vbYes);
  statuses.clear();
  Run(QStringLiteral("Quarterly"), 7, &atInformation);
  EXPECT_EQ(statuses.last(), cancelled);
  QFile kept(file);
  ASSERT_TRUE(kept.open(QIODevice::ReadOnly));
  EXPECT_EQ(kept.readAll(), QByteArray("last week's report"));
  EXPECT_EQ(QDir(OutputFolder()).entryList(QDir::Files), QStringList{QStringLiteral("Quarterly.xls")});

  // The office runs the next report as if nothing had happened.
  ScriptedWatcher never([](const ScriptedWatcher&) { return false; });
  script.AnswerFileDialog(file);
  script.AnswerMessageBox(platform::vbYes);
  statuses.clear();
  Run(QStringLiteral("Quarterly"), 7, &never);
  EXPECT_EQ(statuses, kFinished);
  EXPECT_TRUE(ReadXls(file).SheetNames().contains(QStringLiteral("Information")));
  EXPECT_EQ(QDir(OutputFolder()).entryList(QDir::Files), QStringList{QStringLiteral("Quarterly.xls")});
}

TEST_F(ExportRunFlow, ALongBlockGoesInPartsAndCancelStopsBetweenThem) {
  // "Quarterly" places its first block at row 5: 2,155 rows of Order Details Extended instead.
  ChangeUserQuery(5, {{"QueryName", Text(QStringLiteral("Order Details Extended"))}});
  ScriptedWatcher firstPart([](const ScriptedWatcher& w) { return !w.placed.isEmpty(); });
  const QString file = OutputFile(QStringLiteral("long.xls"));
  script.AnswerFileDialog(file);
  Run(QStringLiteral("Quarterly"), 7, &firstPart);
  EXPECT_EQ(firstPart.placed, QList<long>{2048});
  EXPECT_EQ(statuses.last(), QString::fromLatin1(basExporter::kCancelledStatus));
  EXPECT_FALSE(QFile::exists(file));

  ScriptedWatcher never([](const ScriptedWatcher&) { return false; });
  script.AnswerFileDialog(file);
  Run(QStringLiteral("Quarterly"), 7, &never);
  EXPECT_EQ(never.placed.first(), 2048);
  EXPECT_EQ(never.placed.at(1), 2155);
  EXPECT_EQ(ReadXls(file).Sheet(QStringLiteral("Sheet1")).rows, 5 + 2155);
}

TEST_F(ExportRunFlow, WriterErrorsGetTheirOwnMessagesAndTheRunStillFinishes) {
  // "Sales Review" names a Windows template that is not here; "Contacts"
  // writes to a sheet a new workbook does not have.
  script.AnswerFileDialog(OutputFile(QStringLiteral("sales.xls")));
  Run(QStringLiteral("Sales Review"), 1);
  script.AnswerFileDialog(OutputFile(QStringLiteral("contacts.xls")));
  Run(QStringLiteral("Contacts"), 2);

  ASSERT_EQ(script.MessageBoxes().size(), 2);
  EXPECT_TRUE(script.MessageBoxes()[0].prompt.startsWith(
      QStringLiteral("Cannot access the template or create the target Excel file.  An Excel file with the same name "
                     "may be open")))
      << script.MessageBoxes()[0].prompt.toStdString();
  EXPECT_EQ(script.MessageBoxes()[1].prompt,
            QStringLiteral("Export incomplete.  Invalid instruction encountered during export.  Ensure template is in "
                           "the expected directory, and that the worksheet name for the template was specified "
                           "correctly (etc.)."));
  for (const auto& box : script.MessageBoxes()) EXPECT_EQ(box.style, 48);
  EXPECT_EQ(statuses, kFinished + kFinished);
}

TEST_F(ExportRunFlow, OtherErrorsAreUnexpectedAndTheRunStillFinishes) {
  Run(QStringLiteral("Empty Report"), 4);     // no queries: nothing to describe or save
  Run(QStringLiteral("Missing Query"), 6);    // qryRetired is not a saved query
  Run(QStringLiteral("O'Neil catch"), 3);     // a Null description cannot be read as text

  ASSERT_EQ(script.MessageBoxes().size(), 3);
  for (const auto& box : script.MessageBoxes()) {
    EXPECT_TRUE(box.prompt.startsWith(QStringLiteral("Unexpected Error: "))) << box.prompt.toStdString();
    EXPECT_TRUE(box.prompt.endsWith(QStringLiteral("  Operation cancelled."))) << box.prompt.toStdString();
    EXPECT_EQ(box.style, 16);
    EXPECT_EQ(box.title, QStringLiteral("Excel Exporter"));
  }
  EXPECT_EQ(script.MessageBoxes()[2].prompt,
            QStringLiteral("Unexpected Error: Invalid use of Null in Tabulon  Operation cancelled."));
  EXPECT_TRUE(script.FileDialogsShown().isEmpty());
  EXPECT_EQ(statuses, kFinished + kFinished + kFinished);
}

TEST(OutputDate, DropsTheSecondsTheSameWayInEveryLocale) {
  const QDateTime now(QDate(2004, 6, 3), QTime(14, 25, 59));
  const QLocale before;
  QLocale::setDefault(QLocale(QLocale::German));
  const QDateTime german = basExporter::OutputDate(now);
  QLocale::setDefault(before);
  EXPECT_EQ(german, QDateTime(QDate(2004, 6, 3), QTime(14, 25)));
  EXPECT_EQ(basExporter::OutputDate(now), german);
}

}  // namespace
