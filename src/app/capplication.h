// CApplication: what the running program knows about itself, read from the
// values the build stamps in, plus the login name start-up gives it.
#pragma once

#include <QString>

namespace app {

// The help beside the program in programFolder, where the build tree keeps
// it; otherwise where an install puts it, found from the program's own folder
// so that an install under any prefix (/usr, /usr/local, ~/.local) finds its
// own help. That installed place is also the answer when neither is there,
// so a message about the missing help names where it belongs.
QString FindHelpFile(const QString& programFolder);

}  // namespace app

class CApplication {
 public:
  QString Company() const;
  QString Copyright() const;
  QString Description() const;
  // The executable's folder, always ending in the platform's separator.
  QString Path() const;
  // The help of this program, as FindHelpFile finds it.
  QString HelpFile() const;
  QString ProductName() const;
  QString Title() const;
  QString Version() const;

  const QString& UserName() const { return userName_; }
  void SetUserName(const QString& name) { userName_ = name; }

  void Startup() {}
  void Shutdown() {}

  // Hands over to a Tabulon already running for this user, if there is one:
  // that window is restored and raised, and this process ends at once. When
  // none answers, it returns, leaving the title at "unwanted instance" so
  // that this copy's own window is never mistaken for the running one.
  void ActivatePrevInstance();

 private:
  QString userName_;
  QString title_ = QStringLiteral("Tabulon");
};
