// The workbook writer's cost for a full .xls block (65,535 rows x 8 columns of
// numbers, text and dates): our paste and save against the bare office calls
// for the same work, the office calls per block at two sizes, the office
// start, peak memory and the cost of auto-fit.
//   excel_paste_bench [ROUNDS]
#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>

#include <sys/resource.h>

#include "bare_office_paste.h"
#include "platform/dao/recordset.h"
#include "platform/excel/application.h"

namespace {

dao::Recordset Block(int rows) {
  using jet::ColumnType;
  QVector<dao::FieldInfo> fields = {{"ID", ColumnType::kLong, {}},      {"Site", ColumnType::kText, {}},
                                    {"Landed", ColumnType::kDateTime, {}}, {"Weight", ColumnType::kDouble, {}},
                                    {"Species", ColumnType::kText, {}},  {"Count", ColumnType::kLong, {}},
                                    {"Value", ColumnType::kCurrency, {}}, {"Sampled", ColumnType::kDateTime, {}}};
  QVector<QVector<QVariant>> data;
  data.reserve(rows);
  const QDateTime start(QDate(2001, 1, 1), QTime(0, 0));
  for (int r = 0; r < rows; ++r)
    data.push_back({r, QStringLiteral("Site %1").arg(r % 311), start.addDays(r % 3000), r * 0.25,
                    QStringLiteral("SP%1").arg(r % 97, 3, 10, QLatin1Char('0')), r % 50, r * 1.5,
                    start.addDays(r % 700)});
  return dao::Recordset(fields, data);
}

double OursPasteAndSave(excel::Application& app, dao::Recordset records, const QString& file, long* calls) {
  auto book = app.Workbooks().Add();
  auto sheet = book.Worksheets().Item(1);
  const long before = app.OfficeCallCount();
  QElapsedTimer timer;
  timer.start();
  sheet.Cells(2, 1).CopyFromRecordset(records);
  book.SaveAs(file);
  const double ms = timer.nsecsElapsed() / 1e6;
  *calls = app.OfficeCallCount() - before;
  book.Close();
  return ms;
}

long OfficePeakKb(long pid) {
  QFile status(QStringLiteral("/proc/%1/status").arg(pid));
  if (!status.open(QIODevice::ReadOnly)) return -1;
  for (const QByteArray& line : status.readAll().split('\n'))
    if (line.startsWith("VmHWM:")) return line.mid(6).trimmed().split(' ').first().toLong();
  return -1;
}

double Median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v[v.size() / 2];
}

}  // namespace

int main(int argc, char** argv) {
  QCoreApplication qapp(argc, argv);
  const int rounds = argc > 1 ? std::max(1, atoi(argv[1])) : 5;
  QTemporaryDir dir;

  QElapsedTimer timer;
  timer.start();
  auto app = excel::Application::Create();
  const double cold_start = timer.nsecsElapsed() / 1e6;
  timer.restart();
  auto reused = excel::Application::Create();
  const double reused_start = timer.nsecsElapsed() / 1e6;

  const dao::Recordset full = Block(65535);
  long calls_small = 0, calls_full = 0;
  OursPasteAndSave(*app, Block(100), dir.filePath("small.xls"), &calls_small);
  std::vector<double> ours, bare;
  for (int i = 0; i < rounds; ++i) {  // interleaved, so drift in the office hits both alike
    ours.push_back(OursPasteAndSave(*app, full, dir.filePath("ours.xls"), &calls_full));
    bare.push_back(BarePasteAndSave(full, dir.filePath("bare.xls")));
  }

  // The same paste with ScreenUpdating off: the office's views are locked.
  app->SetScreenUpdating(false);
  long calls_locked = 0;
  const double locked = OursPasteAndSave(*app, full, dir.filePath("locked.xls"), &calls_locked);
  app->SetScreenUpdating(true);

  auto book = app->Workbooks().Add();
  auto sheet = book.Worksheets().Item(1);
  dao::Recordset records = full;
  sheet.Cells(2, 1).CopyFromRecordset(records);
  timer.restart();
  for (int c = 1; c <= full.FieldCount(); ++c) sheet.Columns(c).AutoFitColumns();
  const double autofit = timer.nsecsElapsed() / 1e6;
  book.Close();

  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  std::printf("office start: cold %.0f ms, reused %.1f ms\n", cold_start, reused_start);
  std::printf("paste + save 65535x8 (median of %d): ours %.0f ms, bare office calls %.0f ms, ratio %.3f\n", rounds,
              Median(ours), Median(bare), Median(ours) / Median(bare));
  std::printf("paste + save 65535x8 with ScreenUpdating off: %.0f ms\n", locked);
  std::printf("office operations per block: 100 rows %ld, 65535 rows %ld\n", calls_small, calls_full);
  std::printf("auto-fit of 8 columns over 65535 rows: %.0f ms\n", autofit);
  std::printf("peak memory: this process %ld MB, office %ld MB\n", usage.ru_maxrss / 1024,
              OfficePeakKb(app->OfficePid()) / 1024);
  return 0;
}
