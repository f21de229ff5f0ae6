// CApplication: what the running program knows about itself, read from the
// values the build stamps in, plus the login name start-up gives it.
#pragma once

#include <QString>

class CApplication {
 public:
  QString Company() const;
  QString Copyright() const;
  QString Description() const;
  // The executable's folder, always ending in the platform's separator.
  QString Path() const;
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
