// The Export Assistant on one database: the window shown with both trees
// filled, then a click on TABLE in the table tree (first rows painted), a
// jump to its last row, a sort of all rows by COLUMN (numbers), and how much
// the process grew for the listing.
//   table_browser_bench DATABASE TABLE COLUMN
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>
#include <QTreeWidgetItem>
#include <cstdio>

#include "app/mglobals.h"
#include "assistant/cexport_assistant.h"
#include "assistant/export_assistant_opening.h"
#include "assistant/frm_export_assistant.h"
#include "assistant/list_view.h"
#include "assistant/tree_view.h"
#include "platform/ui/scripted_dialogs.h"

namespace {

double Ms(const QElapsedTimer& timer) { return timer.nsecsElapsed() / 1e6; }

long ResidentKb() {
  QFile status(QStringLiteral("/proc/self/status"));
  if (!status.open(QIODevice::ReadOnly)) return 0;
  for (const QByteArray& line : status.readAll().split('\n')) {
    if (line.startsWith("VmRSS:")) return line.mid(6).trimmed().split(' ').first().toLong();
  }
  return 0;
}

void Paint(QWidget& widget) {
  widget.repaint();
  QApplication::processEvents();
}

void Measure(assistant::frmExportAssistant& w, const QString& table, const QString& column) {
  using assistant::gExportAssistant;
  QTreeWidgetItem* folder = w.tvTopLevelTables->FindNode(QStringLiteral("Top Level Tables"));
  folder->setExpanded(true);
  QTreeWidgetItem* node = w.tvTopLevelTables->FindNode(table);
  if (!node) {
    std::printf("no table %s in the table tree\n", qPrintable(table));
    return;
  }
  const long before = ResidentKb();
  QElapsedTimer timer;
  timer.start();
  gExportAssistant->SetNode(w.tvTopLevelTables, w.lvTopLevelTables);
  gExportAssistant->ListProperties(*w.tvTopLevelTables, node);
  Paint(*w.lvTopLevelTables);
  std::printf("%-40s %9.1f ms  (%d rows)\n", "click: first rows painted", Ms(timer),
              w.lvTopLevelTables->Model().ItemCount());
  timer.restart();
  w.lvTopLevelTables->scrollToBottom();
  Paint(*w.lvTopLevelTables);
  std::printf("%-40s %9.1f ms  (last: %s)\n", "scrolled to the last row", Ms(timer),
              qPrintable(w.lvTopLevelTables->Model().ItemText(w.lvTopLevelTables->Model().ItemCount() - 1, 0)));
  int header = 0;
  for (int i = 0; i < w.lvTopLevelTables->Model().columnCount(); ++i) {
    if (w.lvTopLevelTables->Model().ColumnCaption(i) == column) header = i + 1;
  }
  timer.restart();
  w.lvTopLevelTables_ColumnClick(header);
  Paint(*w.lvTopLevelTables);
  std::printf("%-40s %9.1f ms  (first: %s)\n", "number sort of every row", Ms(timer),
              qPrintable(w.lvTopLevelTables->Model().ItemText(0, header - 1)));
  std::printf("%-40s %9.1f MB\n", "memory growth for the listing", (ResidentKb() - before) / 1024.0);
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (argc < 4) {
    std::fprintf(stderr, "usage: table_browser_bench DATABASE TABLE COLUMN\n");
    return 2;
  }
  platform::ScriptedDialogs script;
  platform::setDialogs(&script);
  gWorkspace = &dao::DBEngine::Workspaces(0);
  gDatabase = gWorkspace->OpenDatabase(QString::fromLocal8Bit(argv[1]));
  QElapsedTimer timer;
  timer.start();
  QTimer::singleShot(0, [&] {
    auto* w = qobject_cast<assistant::frmExportAssistant*>(QApplication::activeModalWidget());
    std::printf("%-40s %9.1f ms\n", "Assistant shown with both trees", Ms(timer));
    Measure(*w, QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));
    w->mnuFileExit_Click();
  });
  assistant::OpenExportAssistant({}, nullptr);
  platform::setDialogs(nullptr);
  return 0;
}
