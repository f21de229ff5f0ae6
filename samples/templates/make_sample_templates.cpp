// Builds the sample template workbooks that the sample database's user
// queries name, with their VBA macros from the .bas files beside this source.
//   make_sample_templates OUTPUT_DIR SOURCE_DIR
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <cstdio>

#include "platform/errors/app_error.h"
#include "platform/excel/application.h"

namespace {

QString ReadMacroFile(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
    throw platform::AppError(53, QStringLiteral("File not found: ") + path);
  return QString::fromUtf8(file.readAll());
}

// CatchSummary.xls: the export writes a catch block at A4 of "Catch"; the
// FormatCatchBlock and AddTotals macros then dress it.
void MakeCatchSummary(excel::Application& app, const QDir& out, const QDir& sources) {
  auto book = app.Workbooks().Add();
  auto catch_sheet = book.Worksheets().Item(1);
  catch_sheet.SetName(QStringLiteral("Catch"));
  catch_sheet.Cells(1, 1).SetValue(QStringLiteral("Catch summary"));
  catch_sheet.Cells(1, 1).SetFontColorIndex(11);
  catch_sheet.Cells(2, 1).SetValue(QStringLiteral("Records from row 4; formatted and totalled by the report's macros."));
  auto notes = book.Worksheets().Item(2);
  notes.SetName(QStringLiteral("Notes"));
  notes.Cells(1, 1).SetValue(QStringLiteral("Macros of this template"));
  notes.Cells(2, 1).SetValue(QStringLiteral("FormatCatchBlock: bold, shaded header row; columns fitted."));
  notes.Cells(3, 1).SetValue(QStringLiteral("AddTotals: a Total row summing the numeric columns."));
  book.Worksheets().Item(3).SetName(QStringLiteral("Summary"));
  book.AddCodeModule(QStringLiteral("Formatting"), ReadMacroFile(sources.filePath("CatchSummary.Formatting.bas")));
  book.AddCodeModule(QStringLiteral("Totals"), ReadMacroFile(sources.filePath("CatchSummary.Totals.bas")));
  catch_sheet.Activate();
  book.SaveAs(out.filePath("CatchSummary.xls"));
  book.Close();
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication qapp(argc, argv);
  if (argc != 3) {
    std::fprintf(stderr, "usage: make_sample_templates OUTPUT_DIR SOURCE_DIR\n");
    return 2;
  }
  try {
    const QDir out(QString::fromLocal8Bit(argv[1]));
    const QDir sources(QString::fromLocal8Bit(argv[2]));
    auto app = excel::Application::Create();
    MakeCatchSummary(*app, out, sources);
  } catch (const platform::AppError& e) {
    std::fprintf(stderr, "make_sample_templates: %s (%d)\n", e.what(), e.Number());
    return 1;
  }
  return 0;
}
