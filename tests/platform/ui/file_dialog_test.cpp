#include <QAbstractButton>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMessageBox>
#include <QTemporaryDir>

#include "modal_driver.h"
#include "platform/errors/app_error.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/file_filter.h"
#include "platform/ui/qt_dialogs.h"

using namespace platform;

namespace {

FileDialogRequest OutputFileRequest(const QString& folder) {
  FileDialogRequest request;
  request.title = QStringLiteral("Specify a New Name for the Excel Output File");
  request.filter = QStringLiteral("All Files (*.*)|*.*|Excel Files (*.xls)|*.xls");
  request.filterIndex = 2;
  request.initialDir = folder;
  request.fileName = QStringLiteral("Catch by site");
  request.flags = cdlOFNOverwritePrompt | cdlOFNPathMustExist;
  request.cancelError = true;
  return request;
}

// Types a name into the dialog and presses its accept button.
void ChooseName(QWidget* modal, const QString& name) {
  auto* dialog = qobject_cast<CommonFileDialog*>(modal);
  ASSERT_NE(dialog, nullptr);
  dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(name);
  dialog->accept();
}

}  // namespace

TEST(FileFilter, PairsBecomeQtNameFilters) {
  EXPECT_EQ(QtNameFilters(QStringLiteral("Access Database (*.mdb)|*.mdb")),
            QStringList{QStringLiteral("Access Database (*.mdb) (*.mdb)")});
  EXPECT_EQ(QtNameFilters(QStringLiteral("All Files (*.*)|*.*|Excel Files (*.xls)|*.xls")),
            (QStringList{QStringLiteral("All Files (*.*) (*)"), QStringLiteral("Excel Files (*.xls) (*.xls)")}));
  EXPECT_EQ(QtNameFilters(QStringLiteral("Workbooks|*.xls; *.xlt|Dangling")),
            QStringList{QStringLiteral("Workbooks (*.xls *.xlt)")});
  EXPECT_TRUE(QtNameFilters(QString()).isEmpty());
  // What a save dialog appends to a name typed without an extension.
  EXPECT_EQ(FilterExtension(QStringLiteral("Excel 2007-365 Files (*.xlsx) (*.xlsx)")), QStringLiteral("xlsx"));
  EXPECT_EQ(FilterExtension(QStringLiteral("Excel Files (*.xls)")), QStringLiteral("xls"));
  EXPECT_EQ(FilterExtension(QStringLiteral("All Files (*.*) (*)")), QString());
  EXPECT_EQ(FilterExtension(QStringLiteral("Workbooks (*.xls *.xlt)")), QStringLiteral("xls"));
}

TEST(QtFileDialog, IsSetUpFromTheRequest) {
  QTemporaryDir folder;
  ASSERT_TRUE(folder.isValid());
  CommonFileDialog save(CommonFileDialog::Kind::kSave, OutputFileRequest(folder.path()));
  EXPECT_EQ(save.windowTitle(), QStringLiteral("Specify a New Name for the Excel Output File"));
  EXPECT_EQ(save.acceptMode(), QFileDialog::AcceptSave);
  EXPECT_EQ(save.nameFilters().size(), 2);
  EXPECT_EQ(save.selectedNameFilter(), QStringLiteral("Excel Files (*.xls)"));
  EXPECT_EQ(save.defaultSuffix(), QStringLiteral("xls"));
  EXPECT_EQ(QDir(save.directory()).canonicalPath(), QDir(folder.path()).canonicalPath());
  EXPECT_FALSE(save.testOption(QFileDialog::DontConfirmOverwrite));
  // Only the description shows, as the program wrote it.
  const auto* filterBox = save.findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
  ASSERT_NE(filterBox, nullptr);
  EXPECT_EQ(filterBox->itemText(0), QStringLiteral("All Files (*.*)"));

  FileDialogRequest openRequest;
  openRequest.title = QStringLiteral("Location of database");
  openRequest.filter = QStringLiteral("Access Database (*.mdb)|*.mdb");
  openRequest.initialDir = QStringLiteral("/no/such/folder");
  CommonFileDialog open(CommonFileDialog::Kind::kOpen, openRequest);
  EXPECT_EQ(open.acceptMode(), QFileDialog::AcceptOpen);
  EXPECT_EQ(open.fileMode(), QFileDialog::AnyFile);
  EXPECT_TRUE(open.testOption(QFileDialog::DontConfirmOverwrite));
  EXPECT_EQ(open.selectedNameFilter(), QStringLiteral("Access Database (*.mdb)"));
  openRequest.flags = cdlOFNFileMustExist;
  EXPECT_EQ(CommonFileDialog(CommonFileDialog::Kind::kOpen, openRequest).fileMode(), QFileDialog::ExistingFile);
}

TEST(QtFileDialog, SaveAnswersThePathOrCancels) {
  QTemporaryDir folder;
  ASSERT_TRUE(folder.isValid());
  const FileDialogRequest request = OutputFileRequest(folder.path());

  WhenModalShows([](QWidget* modal) { ChooseName(modal, QStringLiteral("Catch 2001.xls")); });
  EXPECT_EQ(dialogs().ShowSave(request), folder.path() + QStringLiteral("/Catch 2001.xls"));

  WhenModalShows([](QWidget* modal) { qobject_cast<QDialog*>(modal)->reject(); });
  try {
    dialogs().ShowSave(request);
    ADD_FAILURE() << "cancel did not raise";
  } catch (const AppError& error) {
    EXPECT_EQ(error.Number(), cdlCancel);
  }

  FileDialogRequest quiet = request;
  quiet.cancelError = false;
  WhenModalShows([](QWidget* modal) { qobject_cast<QDialog*>(modal)->reject(); });
  EXPECT_EQ(dialogs().ShowSave(quiet), std::nullopt);
}

TEST(QtFileDialog, SaveAsksBeforeOverwritingAndWantsAnExistingFolder) {
  QTemporaryDir folder;
  ASSERT_TRUE(folder.isValid());
  QFile existing(folder.path() + QStringLiteral("/old.xls"));
  ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
  existing.close();
  const FileDialogRequest request = OutputFileRequest(folder.path());

  // A folder that does not exist is refused with a message, and the dialog
  // stays until a usable name is given.
  QString refusal;
  WhenModalShows([&refusal](QWidget* dialog) {
    WhenModalShows(
        [&refusal](QWidget* box) {
          refusal = qobject_cast<QMessageBox*>(box)->text();
          box->close();
        },
        dialog);
    ChooseName(dialog, QStringLiteral("missing/report.xls"));
    EXPECT_TRUE(dialog->isVisible());
    // Overwriting asks first; No keeps the dialog open.
    WhenModalShows(
        [](QWidget* box) {
          auto* question = qobject_cast<QMessageBox*>(box);
          ASSERT_NE(question, nullptr);
          question->button(QMessageBox::No)->click();
        },
        dialog);
    ChooseName(dialog, QStringLiteral("old.xls"));
    EXPECT_TRUE(dialog->isVisible());
    WhenModalShows([](QWidget* box) { qobject_cast<QMessageBox*>(box)->button(QMessageBox::Yes)->click(); }, dialog);
    ChooseName(dialog, QStringLiteral("old.xls"));
  });
  EXPECT_EQ(dialogs().ShowSave(request), folder.path() + QStringLiteral("/old.xls"));
  EXPECT_TRUE(refusal.contains(QStringLiteral("missing")));
}
