#include "editor_fixture.h"

#include <QFile>
#include <QProcess>
#include <QTest>

#include "editors/editor_context.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

// The output's records: a line break inside quotes belongs to the value.
QStringList CsvRecords(const QString& text) {
  QStringList records;
  QString record;
  bool quoted = false;
  for (const QChar c : text) {
    if (c == QLatin1Char('"')) quoted = !quoted;
    if (c == QLatin1Char('\n') && !quoted) {
      if (!record.isEmpty()) records << record;
      record.clear();
    } else {
      record += c;
    }
  }
  if (!record.isEmpty()) records << record;
  return records;
}

}  // namespace

HeldWriteLock::HeldWriteLock(const QString& path) {
  fd_ = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC);
  if (fd_ < 0) return;
  // The writers' turn (the byte just past 4 GB), as a program in the middle
  // of a change holds it. An open-file-description lock meets the engine's
  // own even in this process, as another program's would.
  struct flock lock = {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  lock.l_start = off_t(1) << 32;
  lock.l_len = 1;
  if (::fcntl(fd_, F_OFD_SETLK, &lock) != 0) Release();
}

void HeldWriteLock::Release() {
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
}

void EditorTest::SetUp() {
  ASSERT_TRUE(temp_.isValid());
  platform::setDialogs(&script);
  // A change that finds the file held gives up soon.
  dao::DBEngine::SetLockWait(300);
}

void EditorTest::TearDown() {
  editors::SetEditorContext({});
  store.reset();
  database.reset();
  platform::setDialogs(nullptr);
  dao::DBEngine::SetLockWait(jet::OpenOptions{}.lock_wait_ms);
  EXPECT_EQ(script.PendingAnswers(), 0);
}

void EditorTest::OpenCopyOf(const QString& source) {
  const QString copy = temp_.filePath(QFileInfo(source).fileName());
  ASSERT_TRUE(QFile::copy(source, copy)) << source.toStdString();
  QFile(copy).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
  OpenDatabase(copy);
}

void EditorTest::OpenReportsFixture() { OpenCopyOf(QStringLiteral(TABULON_FIXTURES "/jet/reports-northwind.mdb")); }

void EditorTest::OpenSampleDatabase() { OpenCopyOf(QStringLiteral(TABULON_SAMPLE_DATABASE)); }

void EditorTest::OpenDatabase(const QString& file) {
  path = file;
  database = dao::DBEngine::Workspaces(0).OpenDatabase(path);
  reportdb::StoreServices services;
  services.programDatabase = [this] { return database.get(); };
  services.reportError = [this](const QString& message, const platform::AppError&) { storeErrors << message; };
  store = std::make_unique<reportdb::ReportStore>(services);
  ASSERT_TRUE(store->OpenOwnDatabase(path));
  editors::EditorContext context;
  context.store = store.get();
  context.programDatabase = [this] { return database.get(); };
  context.refreshAfterSave = [this] { ++refreshesAfterSave; };
  context.refreshAfterDelete = [this] { ++refreshesAfterDelete; };
  editors::SetEditorContext(context);
}

QStringList EditorTest::EngineRows(const QString& sql) const {
  QStringList rows;
  const std::unique_ptr<dao::Recordset> records = database->OpenRecordset(sql);
  for (; !records->IsEOF(); records->MoveNext()) {
    QStringList fields;
    for (int f = 0; f < records->FieldCount(); ++f) fields << records->Value(f).toString();
    rows << fields.join(QLatin1Char('|'));
  }
  return rows;
}

QStringList EditorTest::ExportedRows(const QString& table) const {
  QProcess exporter;
  exporter.start(QStringLiteral("mdb-export"), {QStringLiteral("-T"), QStringLiteral("%Y-%m-%d"), path, table});
  EXPECT_TRUE(exporter.waitForFinished(30000));
  EXPECT_EQ(exporter.exitCode(), 0) << exporter.readAllStandardError().toStdString();
  QStringList records = CsvRecords(QString::fromUtf8(exporter.readAllStandardOutput()));
  if (!records.isEmpty()) records.removeFirst();
  return records;
}

namespace {

QPoint CentreOf(QListWidget& list, const QString& text) {
  const QList<QListWidgetItem*> found = list.findItems(text, Qt::MatchExactly);
  EXPECT_EQ(found.size(), 1) << text.toStdString();
  if (found.isEmpty()) return {};
  list.scrollToItem(found.first());
  return list.visualItemRect(found.first()).center();
}

}  // namespace

void EditorTest::ClickEntry(QListWidget& list, const QString& text) {
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, CentreOf(list, text));
}

void EditorTest::DoubleClickEntry(QListWidget& list, const QString& text) {
  const QPoint centre = CentreOf(list, text);
  QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, centre);
  QTest::mouseDClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, centre);
}

QStringList EditorTest::Entries(const QListWidget& list) {
  QStringList entries;
  for (int i = 0; i < list.count(); ++i) entries << list.item(i)->text();
  return entries;
}

QStringList EditorTest::BoxTitles() const {
  QStringList titles;
  for (const auto& box : script.MessageBoxes()) titles << box.title;
  return titles;
}
