#include "app/reread_on_change.h"

#include <QApplication>
#include <QEvent>
#include <QShortcut>
#include <QWidget>

#include "platform/dao/dao.h"

namespace app {

RereadOnChange::RereadOnChange(QWidget& window, Lists lists)
    : QObject(&window), window_(window), lists_(std::move(lists)) {
  window.installEventFilter(this);
  auto* f5 = new QShortcut(QKeySequence(Qt::Key_F5), &window);
  connect(f5, &QShortcut::activated, this, [this] { RereadNow(); });
}

void RereadOnChange::MarkRead() {
  dao::Database* database = lists_.database();
  readAt_ = database ? std::optional<quint64>(database->Generation()) : std::nullopt;
}

void RereadOnChange::RereadIfChanged() {
  dao::Database* database = lists_.database();
  if (!database) return;
  try {
    database->Refresh();
  } catch (const platform::AppError&) {
    // The lists stay as they are (another program may be in the middle of a
    // long change): a message here would activate the window again and ask
    // again. F5 says what is wrong.
    return;
  }
  if (readAt_ == database->Generation()) return;
  // Noted before reading, so a reading that fails is not tried again on
  // the activation that closing its message brings.
  MarkRead();
  lists_.reread();
}

void RereadOnChange::RereadNow() {
  dao::Database* database = lists_.database();
  if (!database || !Guarded([database] { database->Refresh(); }, lists_.report)) return;
  MarkRead();
  lists_.reread();
}

bool RereadOnChange::NothingOpenAbove() const {
  const QWidget* modal = QApplication::activeModalWidget();
  return modal == nullptr || modal == &window_;
}

bool RereadOnChange::eventFilter(QObject* watched, QEvent* event) {
  if (watched == &window_ && event->type() == QEvent::WindowActivate && NothingOpenAbove()) RereadIfChanged();
  return QObject::eventFilter(watched, event);
}

}  // namespace app
