#include "assistant/top_level_tables.h"

#include <algorithm>

#include "platform/dao/dao.h"

namespace assistant {

namespace {

bool Qualifies(const dao::Index& index) {
  return index.Primary && index.Unique && index.Required && index.DistinctCount >= 1;
}

// Like's "*.txt": the whole name, without regard to case.
bool LinksToTextFile(const dao::TableDef& table) {
  const QString source = table.SourceTableName;
  return source.endsWith(QStringLiteral(".txt"), Qt::CaseInsensitive) ||
         source.endsWith(QStringLiteral(".csv"), Qt::CaseInsensitive);
}

bool AlwaysShown(const QString& name) {
  return name.compare(QStringLiteral("tblESTIMATE_DEFINITION"), Qt::CaseInsensitive) == 0 ||
         name.startsWith(QStringLiteral("tblOUT"), Qt::CaseInsensitive);
}

}  // namespace

bool IsTopLevelTable(const dao::TableDef& table) {
  if ((table.Attributes & dao::dbSystemObject) != 0 || LinksToTextFile(table)) return false;
  if (table.Indexes.isEmpty()) return false;
  if (AlwaysShown(table.Name)) return true;
  return std::count_if(table.Indexes.begin(), table.Indexes.end(), Qualifies) == 1;
}

QStringList TopLevelTables(const QVector<dao::TableDef>& tables) {
  QStringList names;
  for (const dao::TableDef& table : tables) {
    if (IsTopLevelTable(table)) names.append(table.Name);
  }
  return names;
}

}  // namespace assistant
