// dao::Recordset: the rows of an opened query or table, DAO-shaped.
// A snapshot: the whole result is held, so RecordCount is right at once.
#pragma once

#include <QString>
#include <QVariant>
#include <QVector>

#include "jet/types.h"

namespace dao {

struct FieldInfo {
  QString name;
  jet::ColumnType type = jet::ColumnType::kText;
  QString caption;  // the Caption property, empty when none
};

// Values map to QVariant as follows: Null -> invalid QVariant; Boolean -> bool;
// Byte/Integer/Long -> int; Currency, Single, Double, Decimal -> double;
// Date/Time -> QDateTime (local, no zone); Text/Memo -> QString;
// Binary/OLE -> QByteArray; GUID -> QString "{...}".
class Recordset {
 public:
  Recordset() = default;
  Recordset(QVector<FieldInfo> fields, QVector<QVector<QVariant>> rows)
      : fields_(std::move(fields)), rows_(std::move(rows)) {}

  bool IsEOF() const { return position_ >= rows_.size(); }
  bool IsBOF() const { return position_ < 0 || rows_.isEmpty(); }
  void MoveFirst() { position_ = 0; }
  void MoveLast() { position_ = rows_.isEmpty() ? 0 : rows_.size() - 1; }
  void MoveNext() { if (position_ < rows_.size()) ++position_; }
  int AbsolutePosition() const { return position_; }
  void SetAbsolutePosition(int p) { position_ = p; }
  long RecordCount() const { return static_cast<long>(rows_.size()); }

  int FieldCount() const { return fields_.size(); }
  const FieldInfo& Field(int index) const { return fields_.at(index); }
  const QVector<FieldInfo>& Fields() const { return fields_; }
  // Current row's value of field `index`.
  const QVariant& Value(int index) const { return rows_.at(position_).at(index); }
  const QVector<QVector<QVariant>>& Rows() const { return rows_; }

 private:
  QVector<FieldInfo> fields_;
  QVector<QVector<QVariant>> rows_;
  int position_ = 0;
};

}  // namespace dao
