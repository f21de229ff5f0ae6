// What the macro work costs a run: a template of 20 modules of Excel 2007+
// recorder output (a sort block, a page-setup block, a font block, a
// conditional format, a chart, Value2, Debug.Print), loaded from its file as a report run loads it. Timed: the
// first macro run, which rewrites the loaded copy's modules first, against
// the same macro run again (no rewrite); the rewrite of the sources alone;
// and the macro check of the whole template.
//   macro_bench [ROUNDS]
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <cstdio>
#include <cstdlib>

#include "platform/excel/application.h"
#include "platform/excel/macro_check.h"
#include "platform/excel/macro_source.h"

namespace {

constexpr int kModules = 20;

QString RecorderModule(int n) {
  return QStringLiteral(
             "Sub Tidy%1()\n"
             "    Application.PrintCommunication = False\n"
             "    With ActiveSheet.PageSetup\n"
             "        .Orientation = xlLandscape\n"
             "    End With\n"
             "    Application.PrintCommunication = True\n"
             "    ActiveWorkbook.Worksheets(\"Data\").Sort.SortFields.Clear\n"
             "    ActiveWorkbook.Worksheets(\"Data\").Sort.SortFields.Add Key:=Range(\"B5:B24\"), _\n"
             "        SortOn:=xlSortOnValues, Order:=xlDescending, DataOption:=xlSortNormal\n"
             "    With ActiveWorkbook.Worksheets(\"Data\").Sort\n"
             "        .SetRange Range(\"A4:E24\")\n"
             "        .Header = xlYes\n"
             "        .MatchCase = False\n"
             "        .Orientation = xlTopToBottom\n"
             "        .SortMethod = xlPinYin\n"
             "        .Apply\n"
             "    End With\n"
             "    Range(\"A4:E4\").Select\n"
             "    With Selection.Font\n"
             "        .ThemeColor = xlThemeColorLight1\n"
             "        .TintAndShade = 0\n"
             "        .Bold = True\n"
             "    End With\n"
             "    Range(\"B5:B24\").Select\n"
             "    Selection.FormatConditions.Add Type:=xlCellValue, Operator:=xlGreater, Formula1:=\"=100\"\n"
             "    Selection.FormatConditions(Selection.FormatConditions.Count).SetFirstPriority\n"
             "    With Selection.FormatConditions(1).Interior\n"
             "        .Color = 13551615\n"
             "    End With\n"
             "    ActiveSheet.Shapes.AddChart2(201, xlColumnClustered).Select\n"
             "    ActiveChart.SetSourceData Source:=Range(\"Data!$A$4:$B$24\")\n"
             "    Range(\"A4:E4\").Borders(xlEdgeBottom).LineStyle = xlContinuous\n"
             "    Range(\"G1\").Value2 = Range(\"B5\").Value2\n"
             "    Debug.Print \"done %1\"\n"
             "End Sub\n"
             "\n"
             "Sub Noop%1()\n"
             "End Sub\n")
      .arg(n);
}

double Ms(const QElapsedTimer& timer) { return timer.nsecsElapsed() / 1e6; }

QString MakeTemplate(excel::Application& app, const QTemporaryDir& dir) {
  auto book = app.Workbooks().Add();
  auto data = book.Worksheets().Item(1);
  data.SetName(QStringLiteral("Data"));
  for (int row = 4; row <= 24; ++row) {
    for (int column = 1; column <= 5; ++column) data.Cells(row, column).SetValue(row * 10 + column);
  }
  for (int n = 1; n <= kModules; ++n) book.AddCodeModule(QStringLiteral("Recorded%1").arg(n), RecorderModule(n));
  const QString path = dir.filePath(QStringLiteral("recorded.xls"));
  book.SaveAs(path);
  book.Close();
  return path;
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication qapp(argc, argv);
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 3;
  QTemporaryDir dir;
  auto app = excel::Application::Create();
  const QString path = MakeTemplate(*app, dir);

  QElapsedTimer timer;
  timer.start();
  for (int i = 0; i < 1000; ++i) excel::RewriteMacroSource(RecorderModule(i % kModules + 1));
  std::printf("%-58s %8.3f ms\n", "rewrite of one module's source (text alone)", Ms(timer) / 1000);

  for (int round = 1; round <= rounds; ++round) {
    auto book = app->Workbooks().Add(path);
    timer.restart();
    app->Run(QStringLiteral("Recorded1.Noop1"));
    const double first = Ms(timer);
    timer.restart();
    app->Run(QStringLiteral("Recorded2.Noop2"));
    const double again = Ms(timer);
    std::printf("round %d: first macro run (rewrites %d modules) %8.1f ms, next run %8.1f ms\n", round, kModules,
                first, again);
    book.Close();
  }
  QStringList macros;
  for (int n = 1; n <= kModules; ++n) macros << QStringLiteral("Recorded%1.Tidy%1").arg(n);
  for (int round = 1; round <= rounds; ++round) {
    timer.restart();
    const auto findings = excel::CheckTemplateMacros(*app, path, macros);
    std::printf("round %d: macro check of the template's %d modules and %d macros %8.1f ms (%zu findings)\n", round,
                kModules, static_cast<int>(macros.size()), Ms(timer), findings.size());
  }
  return 0;
}
