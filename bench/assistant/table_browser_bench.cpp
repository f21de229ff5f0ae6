// The Export Assistant on one database: the window shown with both trees
// filled, then for TABLE a click in the table tree (first rows painted), its
// fields expanded, a jump to its last row, a sort of all rows by each COLUMN
// (a click on its header, then a second click that turns the order over),
// and how much the process grew for the listing.
//   table_browser_bench DATABASE TABLE COLUMN...
// And the text-heavy table the benchmark sorts beside the interviews:
//   table_browser_bench --add-text-table ROWS DATABASE
#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>
#include <QTreeWidgetItem>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "app/mglobals.h"
#include "assistant/cexport_assistant.h"
#include "assistant/export_assistant_opening.h"
#include "assistant/frm_export_assistant.h"
#include "assistant/list_view.h"
#include "assistant/tree_view.h"
#include "platform/ui/scripted_dialogs.h"
#include "text_table.h"

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

int HeaderOf(const assistant::ListView& list, const QString& caption) {
  for (int i = 0; i < list.Model().columnCount(); ++i) {
    if (list.Model().ColumnCaption(i) == caption) return i + 1;
  }
  return 0;
}

void Sort(assistant::frmExportAssistant& w, const QString& caption) {
  const int header = HeaderOf(*w.lvTopLevelTables, caption);
  if (header == 0) {
    std::printf("no column %s\n", qPrintable(caption));
    return;
  }
  for (const char* click : {"first click", "second click"}) {
    QElapsedTimer timer;
    timer.start();
    w.lvTopLevelTables_ColumnClick(header);
    Paint(*w.lvTopLevelTables);
    const QString first = w.lvTopLevelTables->Model().ItemText(0, header - 1);
    std::printf("  sort by %-22s %-12s %9.1f ms  (first: %s)\n", qPrintable(caption), click, Ms(timer),
                qPrintable(first.left(24)));
  }
}

void Measure(assistant::frmExportAssistant& w, const QString& table, const QStringList& columns) {
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
  node->setExpanded(true);
  Paint(*w.tvTopLevelTables);
  std::printf("%-40s %9.1f ms  (%d fields)\n", "fields expanded", Ms(timer), node->childCount());
  timer.restart();
  w.lvTopLevelTables->scrollToBottom();
  Paint(*w.lvTopLevelTables);
  std::printf("%-40s %9.1f ms\n", "scrolled to the last row", Ms(timer));
  for (const QString& column : columns) Sort(w, column);
  std::printf("%-40s %9.1f MB\n", "memory growth for the listing", (ResidentKb() - before) / 1024.0);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--add-text-table") == 0) {
    const jet::Status added = bench::AddTextTable(argv[3], std::atol(argv[2]));
    if (!added.ok()) std::fprintf(stderr, "%s\n", added.ToString().c_str());
    return added.ok() ? 0 : 1;
  }
  QApplication application(argc, argv);
  if (argc < 4) {
    std::fprintf(stderr,
                 "usage: table_browser_bench DATABASE TABLE COLUMN...\n"
                 "       table_browser_bench --add-text-table ROWS DATABASE\n");
    return 2;
  }
  platform::ScriptedDialogs script;
  platform::setDialogs(&script);
  gWorkspace = &dao::DBEngine::Workspaces(0);
  gDatabase = gWorkspace->OpenDatabase(QString::fromLocal8Bit(argv[1]));
  QStringList columns;
  for (int i = 3; i < argc; ++i) columns << QString::fromLocal8Bit(argv[i]);
  QElapsedTimer timer;
  timer.start();
  QTimer::singleShot(0, [&] {
    auto* w = qobject_cast<assistant::frmExportAssistant*>(QApplication::activeModalWidget());
    std::printf("%-40s %9.1f ms\n", "Assistant shown with both trees", Ms(timer));
    Measure(*w, QString::fromLocal8Bit(argv[2]), columns);
    w->mnuFileExit_Click();
  });
  assistant::OpenExportAssistant({}, nullptr);
  platform::setDialogs(nullptr);
  return 0;
}
