// Each editor test works on its own copy of a report database, with a real
// report store, the editors' context recording every tree refresh, and a
// scripted person at the message boxes. Modal dialogs are driven from
// inside their own event loop, with real key and mouse events.
#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QListWidget>
#include <QStringList>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <functional>
#include <memory>
#include <ostream>

#include "platform/dao/dao.h"
#include "platform/ui/scripted_dialogs.h"
#include "reportdb/report_store.h"

inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

// The lock another program holds on the file while it changes it.
class HeldWriteLock {
 public:
  explicit HeldWriteLock(const QString& path);
  ~HeldWriteLock() { Release(); }
  HeldWriteLock(const HeldWriteLock&) = delete;
  HeldWriteLock& operator=(const HeldWriteLock&) = delete;
  bool Held() const { return fd_ >= 0; }
  void Release();

 private:
  int fd_ = -1;
};

class EditorTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Opens the program's handle and the store on a private copy of `source`.
  void OpenCopyOf(const QString& source);
  void OpenReportsFixture();
  void OpenSampleDatabase();
  // Opens an existing file (made by the test) the same way.
  void OpenDatabase(const QString& path);

  // Each row of `sql` through the engine, its fields joined by "|".
  QStringList EngineRows(const QString& sql) const;
  // The table's rows as mdb-export prints them (header line dropped).
  QStringList ExportedRows(const QString& table) const;
  QString TempPath(const QString& name) const { return temp_.filePath(name); }

  // Runs `body` on the dialog of type T once it is shown modally, then
  // closes it if the body left it open. Call before what opens the dialog.
  template <class T>
  void WhenShown(std::function<void(T&)> body) {
    QTimer::singleShot(0, [body] {
      auto* dialog = qobject_cast<T*>(QApplication::activeModalWidget());
      EXPECT_NE(dialog, nullptr) << "the expected dialog was not shown";
      if (!dialog) {
        if (QWidget* other = QApplication::activeModalWidget()) other->close();
        return;
      }
      EXPECT_TRUE(QTest::qWaitForWindowExposed(dialog));
      body(*dialog);
      if (dialog->isVisible()) dialog->reject();
    });
  }

  // A person's click on a list entry, or a double-click.
  static void ClickEntry(QListWidget& list, const QString& text);
  static void DoubleClickEntry(QListWidget& list, const QString& text);
  static QStringList Entries(const QListWidget& list);
  QStringList BoxTitles() const;

  platform::ScriptedDialogs script;
  std::shared_ptr<dao::Database> database;
  std::unique_ptr<reportdb::ReportStore> store;
  QString path;
  QStringList storeErrors;
  int refreshesAfterSave = 0;
  int refreshesAfterDelete = 0;

 private:
  QTemporaryDir temp_;
};
