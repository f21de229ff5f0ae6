// dao::TableRows: a table's rows read by position when they are wanted, for
// lists that show a table of any length: opening one finds where every row
// lives (without decoding any), and a row is decoded when it is asked for.
#pragma once

#include <QString>
#include <QVariant>
#include <QVector>
#include <memory>
#include <string>
#include <vector>

#include "jet/table_cursor.h"
#include "platform/dao/recordset.h"

namespace jet {
class QueryEngine;
}

namespace dao {

class Database;

class TableRows {
 public:
  // A local or linked table by name; AppError with Jet's number otherwise.
  static std::unique_ptr<TableRows> Open(Database& database, const QString& table);

  const QVector<FieldInfo>& Fields() const { return fields_; }
  int RowCount() const { return static_cast<int>(places_.size()); }
  // One value per field, mapped as a recordset maps them. When another
  // program has changed the file since the rows were listed, they are listed
  // again first (RowCount may then change). A row that cannot be read
  // (damaged) comes back all Null.
  QVector<QVariant> Row(int index) const;
  // One field of the rows [first, first + count), in row order, decoding
  // that field alone: a sort reads a long table in slices, each one read of
  // the file, so the windows can be painted between them. Rows that cannot
  // be read come back Null, dates as UTC (see ToVariant).
  QVector<QVariant> ColumnValues(int field, int first, int count) const;
  // Changes whenever the rows were listed again after another program's change.
  uint64_t ListedAt() const { return listed_at_; }

 private:
  TableRows() = default;
  // Lists the rows again if the file changed since; inside a read operation.
  void KeepCurrent() const;

  std::shared_ptr<jet::QueryEngine> engine_;
  std::string table_;
  QVector<FieldInfo> fields_;
  mutable std::vector<jet::RowId> places_;
  mutable uint64_t listed_at_ = 0;  // the file's generation when listed
};

}  // namespace dao
