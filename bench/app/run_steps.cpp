#include "run_steps.h"

#include <QDateTime>
#include <QElapsedTimer>

#include "export/cexcel_exporter.h"
#include "export/excel_slots.h"
#include "platform/dao/dao.h"

namespace {

template <class Step>
double Timed(Step&& step) {
  QElapsedTimer timer;
  timer.start();
  step();
  return timer.nsecsElapsed() / 1e6;
}

}  // namespace

StepTimes ReplayRunSteps(dao::Database& database, const QString& output) {
  excel::Application::SetDesktopOpener([](const QString&) {});
  CExcelExporter exporter;
  StepTimes t;
  t.create_file = Timed([&] { exporter.CreateExcelFile(output, QString(), gNewExcelInstance); });
  std::unique_ptr<dao::Recordset> records;
  t.query = Timed([&] { records = database.QueryDefs(QStringLiteral("qryAllInterviews")).OpenRecordset(); });
  t.paste = Timed([&] { exporter.DoExport(*records, 1, 1, QString()); });
  t.information = Timed([&] {
    exporter.PasteReportInformation(QStringLiteral("Bench"), QDateTime::currentDateTime(), QStringLiteral("bench.mdb"),
                                    QStringLiteral("All interviews"), QStringLiteral("Every interview"),
                                    {QStringLiteral("qryAllInterviews")}, {QString()}, {QString()});
  });
  t.save = Timed([&] {
    gExcelApp->SetDisplayAlerts(false);
    gExcelWorkbook->Save();
  });
  t.hand_over = Timed([&] { exporter.ExcelVisible(1); });
  return t;
}
