// basExportAssistantUtilities::FillListFromDB: a list or combo box filled
// with the names of a table's rows, each carrying its row's key.
#pragma once

#include <QString>
#include <QVariant>

class QListWidget;
class QComboBox;

namespace dao {
class Database;
}

namespace basExportAssistantUtilities {

// The statement as the family has always composed it; a condition lands
// behind the closing semicolon, kept so because no caller passes one.
QString FillListStatement(const QString& table, const QString& keyField, const QString& nameField,
                          const QString& condition = QString());

// Items keep their key in Qt::UserRole. `select` picks an item by its text
// (ignoring case), or by its key when it holds a number. A database error
// is shown and leaves the items added so far.
void FillListFromDB(dao::Database& database, QListWidget& list, const QString& table, const QString& keyField,
                    const QString& nameField, const QVariant& select = QVariant(),
                    const QString& condition = QString());
void FillListFromDB(dao::Database& database, QComboBox& list, const QString& table, const QString& keyField,
                    const QString& nameField, const QVariant& select = QVariant(),
                    const QString& condition = QString());

}  // namespace basExportAssistantUtilities
