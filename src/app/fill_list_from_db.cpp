#include "app/fill_list_from_db.h"

#include <QComboBox>
#include <QListWidget>

#include "platform/dao/dao.h"
#include "platform/errors/app_error.h"
#include "platform/ui/dialogs.h"

namespace basExportAssistantUtilities {
namespace {

// What both kinds of list need, so one routine can fill either.
struct ListAccess {
  std::function<void()> clear;
  std::function<void(const QString&, const QVariant&)> add;
  std::function<int()> count;
  std::function<QString(int)> text;
  std::function<QVariant(int)> key;
  std::function<void(int)> select;
};

int FindItem(const ListAccess& list, const QVariant& wanted) {
  const bool byKey = wanted.typeId() != QMetaType::QString;
  for (int i = 0; i < list.count(); ++i) {
    if (byKey ? list.key(i) == wanted
              : list.text(i).trimmed().compare(wanted.toString(), Qt::CaseInsensitive) == 0) {
      return i;
    }
  }
  return -1;
}

void Fill(dao::Database& database, const ListAccess& list, const QString& statement, const QVariant& select) {
  list.clear();
  try {
    auto rows = database.OpenRecordset(statement);
    for (; !rows->IsEOF(); rows->MoveNext()) list.add(rows->Value(1).toString().trimmed(), rows->Value(0));
  } catch (const platform::AppError& error) {
    platform::dialogs().MsgBox(QStringLiteral("A database error occurred in 'FillListFromDB'. Error number ") +
                                   QString::number(error.Number()) + QStringLiteral(". Error text: ") +
                                   error.Description(),
                               platform::vbOKOnly, QStringLiteral("Tabulon"));
    return;
  }
  if (!select.isValid() || select.toString().isEmpty()) return;
  const int found = FindItem(list, select);
  if (found != -1) list.select(found);
}

}  // namespace

QString FillListStatement(const QString& table, const QString& keyField, const QString& nameField,
                          const QString& condition) {
  QString sql = QStringLiteral("SELECT ") + table + QStringLiteral(".[") + keyField + QStringLiteral("]") +
                QStringLiteral(", ") + nameField + QStringLiteral(" FROM ") + table + QStringLiteral(" ORDER BY ") +
                table + QStringLiteral(".[") + nameField + QStringLiteral("]") + QStringLiteral(";");
  if (!condition.isEmpty()) sql += QStringLiteral(" WHERE ") + condition;
  return sql;
}

void FillListFromDB(dao::Database& database, QListWidget& list, const QString& table, const QString& keyField,
                    const QString& nameField, const QVariant& select, const QString& condition) {
  ListAccess access{
      [&] { list.clear(); },
      [&](const QString& text, const QVariant& key) {
        auto* item = new QListWidgetItem(text, &list);
        item->setData(Qt::UserRole, key);
      },
      [&] { return list.count(); },
      [&](int i) { return list.item(i)->text(); },
      [&](int i) { return list.item(i)->data(Qt::UserRole); },
      [&](int i) { list.setCurrentRow(i); }};
  Fill(database, access, FillListStatement(table, keyField, nameField, condition), select);
}

void FillListFromDB(dao::Database& database, QComboBox& list, const QString& table, const QString& keyField,
                    const QString& nameField, const QVariant& select, const QString& condition) {
  ListAccess access{[&] { list.clear(); },
                    [&](const QString& text, const QVariant& key) { list.addItem(text, key); },
                    [&] { return list.count(); },
                    [&](int i) { return list.itemText(i); },
                    [&](int i) { return list.itemData(i); },
                    [&](int i) { list.setCurrentIndex(i); }};
  Fill(database, access, FillListStatement(table, keyField, nameField, condition), select);
}

}  // namespace basExportAssistantUtilities
