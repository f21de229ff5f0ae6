// dao::Recordset: the rows of an opened query or table, DAO-shaped.
// A snapshot: the whole result is held, so RecordCount is right at once.
// A recordset over one local table can also add and change its rows
// (AddNew or Edit, Fields(name) = value, Update), each change written at
// once, or with the workspace's transaction when one is open.
#pragma once

#include <QByteArray>
#include <QString>
#include <QVariant>
#include <QVector>
#include <functional>
#include <memory>
#include <string>

#include "jet/types.h"
#include "jet/value.h"

namespace jet {
class QueryEngine;
}

namespace dao {

class Recordset;

// One field of the current row, or of the row being added or edited.
class FieldRef {
 public:
  QVariant Value() const;
  // Only between AddNew or Edit and Update (3020 otherwise).
  void SetValue(const QVariant& value);
  FieldRef& operator=(const QVariant& value) {
    SetValue(value);
    return *this;
  }

 private:
  friend class Recordset;
  FieldRef(Recordset* records, int index) : records_(records), index_(index) {}
  Recordset* records_;
  int index_;
};

// The table a recordset changes, and how to get the file opened for writing
// when the first change comes.
struct TableTarget {
  std::shared_ptr<jet::QueryEngine> engine;
  std::string table;
  std::function<void()> prepare_write;
};

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

  // By name, without regard to case; 3265 when there is no such field.
  FieldRef Fields(const QString& name);

  // --- Changing rows (recordsets over one local table; 3027 otherwise) ---
  // Starts a new row: every field Null (an autonumber gets its number at Update).
  void AddNew();
  // Starts changing the current row (3021 when there is none).
  void Edit();
  // Writes the added or edited row; errors carry Jet's numbers (3022, 3314,
  // 3163, ...) and leave the recordset as it was before Update.
  void Update();
  void CancelUpdate();
  // Deletes the current row.
  void Delete();
  // Where the current row is, to come back to it with SetBookmark.
  QByteArray Bookmark() const;
  void SetBookmark(const QByteArray& bookmark);  // 3159 for a bookmark of no row here
  // The bookmark of the row last added or changed (3021 before any).
  QByteArray LastModified() const;

  // Used by Database to make a recordset over a table it may change.
  void SetTable(std::shared_ptr<TableTarget> target, QVector<qint64> places) {
    target_ = std::move(target);
    places_ = std::move(places);
  }

 private:
  friend class FieldRef;
  enum class EditMode { kNone, kAdd, kEdit };
  TableTarget& Target(const char* action);
  void RequireCurrentRow() const;

  QVector<FieldInfo> fields_;
  QVector<QVector<QVariant>> rows_;
  int position_ = 0;
  // Table-backed recordsets: each row's place in the file, and the edit buffer.
  std::shared_ptr<TableTarget> target_;
  QVector<qint64> places_;
  EditMode mode_ = EditMode::kNone;
  QVector<QVariant> edit_values_;
  QVector<bool> edit_set_;
  std::vector<jet::Value> fresh_;  // AddNew: the row with its default values
  qint64 last_modified_ = -1;
};

}  // namespace dao
