// A window whose lists show what the database file holds keeps up with the
// file, which the family's other programs (and other Tabulons) change too:
// activated after the file changed, the window reads its lists again, and
// F5 reads them again at once.
#pragma once

#include <QObject>
#include <functional>
#include <optional>

#include "app/error_guard.h"

class QWidget;

namespace dao {
class Database;
}

namespace app {

class RereadOnChange : public QObject {
 public:
  struct Lists {
    // The handle the lists are read through; nullptr while none is open.
    std::function<dao::Database*()> database;
    // Fills the lists again, keeping what the user had chosen and where.
    std::function<void()> reread;
    // Shows why F5 could not look at the file.
    ErrorReport report;
  };

  RereadOnChange(QWidget& window, Lists lists);

  // Called as the lists are filled: they show the file as it is now.
  void MarkRead();
  // Reads the lists again when the file changed since they were filled.
  void RereadIfChanged();
  // Reads them again, changed or not.
  void RereadNow();

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  // Not while a dialog of the window is open: its handler is still at work
  // on what the lists show.
  bool NothingOpenAbove() const;

  QWidget& window_;
  Lists lists_;
  std::optional<quint64> readAt_;
};

}  // namespace app
