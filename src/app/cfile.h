// CFile: the open and save-as dialogs the windows share, and which report
// database file (and its folder) is the current one.
#pragma once

#include <QString>

class CFile {
 public:
  const QString& CurrentPath() const { return currentPath_; }
  void SetCurrentPath(const QString& path) { currentPath_ = path; }
  const QString& CurrentFile() const { return currentFile_; }
  void SetCurrentFile(const QString& file) { currentFile_ = file; }

  // The open dialog until a file is chosen: every cancel asks
  // `cancelQuestion`, and Yes ends the program at once.
  QString FileOpen(const QString& title, const QString& filter, const QString& initialFolder,
                   const QString& cancelQuestion, const QString& fileName);

  // Asks again while the chosen file exists; a cancel leaves `fileName` empty.
  void FileSaveAs(QString& fileName, const QString& title, const QString& filter);

  // The part before the last separator ("\" as the family writes paths,
  // "/" as this platform does).
  static QString FilePath(const QString& fullFileName);

 private:
  QString currentPath_;
  QString currentFile_;
};
