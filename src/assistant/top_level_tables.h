// Which tables the table browser offers: the survey's own lookup and data
// tables, recognised by having exactly one primary, unique, required index
// with at least one key in it. System tables, links to text files and
// tables without such a key stay out, except the estimate definitions and
// the output tables, which are always shown.
#pragma once

#include <QStringList>
#include <QVector>

namespace dao {
struct TableDef;
}

namespace assistant {

bool IsTopLevelTable(const dao::TableDef& table);
// The names of the top-level tables among `tables`, in their order.
QStringList TopLevelTables(const QVector<dao::TableDef>& tables);

}  // namespace assistant
