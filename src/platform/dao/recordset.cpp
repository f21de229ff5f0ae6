#include "platform/dao/recordset.h"

#include "jet/query.h"
#include "platform/dao/dao.h"
#include "platform/dao/dao_errors.h"
#include "platform/errors/app_error.h"

namespace dao {
namespace {

constexpr char kSource[] = "DAO.Recordset";

[[noreturn]] void Fail(int number, const char* text) {
  throw platform::AppError(number, QString::fromLatin1(text), QString::fromLatin1(kSource));
}

jet::RowId ToRowId(qint64 place) {
  return jet::RowId{static_cast<uint32_t>(place >> 16), static_cast<uint16_t>(place & 0xFFFF)};
}
qint64 ToPlace(jet::RowId id) { return static_cast<qint64>(id.page) << 16 | id.row; }

QByteArray BookmarkOf(qint64 place) { return QByteArray::number(place); }

// A caller's QVariant as the engine's value of the nearest type; the engine
// then converts it to the column's type as an INSERT would.
jet::Value FromVariant(const QVariant& v, jet::ColumnType column_type) {
  if (!v.isValid() || v.isNull()) return jet::Value::Null(column_type);
  switch (v.typeId()) {
    case QMetaType::Bool: return jet::Value(jet::ColumnType::kBoolean, v.toBool());
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::UChar:
      return jet::Value(jet::ColumnType::kLong, static_cast<int64_t>(v.toLongLong()));
    case QMetaType::Double:
    case QMetaType::Float: return jet::Value(jet::ColumnType::kDouble, v.toDouble());
    case QMetaType::QByteArray: {
      const QByteArray b = v.toByteArray();
      return jet::Value(jet::ColumnType::kBinary, jet::Bytes(b.begin(), b.end()));
    }
    case QMetaType::QDate:
    case QMetaType::QDateTime: return ToParameterValue(v, jet::ColumnType::kDateTime);
    default: return jet::Value(jet::ColumnType::kText, v.toString().toStdString());
  }
}

}  // namespace

QVariant FieldRef::Value() const {
  if (records_->mode_ != Recordset::EditMode::kNone) return records_->edit_values_.at(index_);
  records_->RequireCurrentRow();
  return records_->Value(index_);
}

void FieldRef::SetValue(const QVariant& value) {
  if (records_->mode_ == Recordset::EditMode::kNone) Fail(3020, "Update or CancelUpdate without AddNew or Edit.");
  records_->edit_values_[index_] = value;
  records_->edit_set_[index_] = true;
}

FieldRef Recordset::Fields(const QString& name) {
  for (int i = 0; i < fields_.size(); ++i) {
    if (fields_[i].name.compare(name, Qt::CaseInsensitive) == 0) return FieldRef(this, i);
  }
  ThrowItemNotFound("DAO.Fields");
}

TableTarget& Recordset::Target(const char* action) {
  if (!target_) {
    throw platform::AppError(3027, QStringLiteral("Cannot %1: the recordset is not over one table of this database.")
                                       .arg(QString::fromLatin1(action)),
                             QString::fromLatin1(kSource));
  }
  return *target_;
}

void Recordset::RequireCurrentRow() const {
  if (position_ < 0 || position_ >= rows_.size()) Fail(kErrNoCurrentRecord, "No current record.");
}

void Recordset::AddNew() {
  TableTarget& target = Target("add a row");
  // The new row starts with the columns' default values, as DAO shows them.
  jet::Row fresh;
  ThrowIfError(target.engine->NewRow(target.table, &fresh), kSource);
  mode_ = EditMode::kAdd;
  edit_values_ = QVector<QVariant>(fields_.size());
  for (int i = 0; i < fields_.size() && i < static_cast<int>(fresh.size()); ++i) edit_values_[i] = ToVariant(fresh[i]);
  edit_set_ = QVector<bool>(fields_.size(), false);
  fresh_ = std::move(fresh);
}

void Recordset::Edit() {
  Target("edit a row");
  RequireCurrentRow();
  mode_ = EditMode::kEdit;
  edit_values_ = rows_.at(position_);
  edit_set_ = QVector<bool>(fields_.size(), false);
}

void Recordset::CancelUpdate() { mode_ = EditMode::kNone; }

void Recordset::Update() {
  if (mode_ == EditMode::kNone) Fail(3020, "Update or CancelUpdate without AddNew or Edit.");
  TableTarget& target = Target("update");
  if (target.prepare_write) target.prepare_write();
  jet::Database& db = target.engine->database();
  std::shared_ptr<const jet::TableDef> def;
  ThrowIfError(db.GetTableDef(target.table, &def), kSource);
  jet::Row row;
  const bool adding = mode_ == EditMode::kAdd;
  jet::RowId id{};
  if (adding) {
    row = fresh_;
    row.resize(def->columns.size());
  } else {
    id = ToRowId(places_.at(position_));
    ThrowIfError(db.ReadRow(target.table, id, &row), kSource);
  }
  for (int i = 0; i < fields_.size() && i < static_cast<int>(def->columns.size()); ++i) {
    if (!edit_set_[i]) continue;
    const jet::ColumnDef& column = def->columns[i];
    ThrowIfError(jet::FitToColumn(FromVariant(edit_values_[i], column.type), column, &row[i]), kSource);
  }
  jet::Status s = adding ? db.InsertRow(target.table, row, &id) : db.UpdateRow(target.table, id, row);
  target.engine->NoteCommit();  // cached copies of the table are stale either way
  ThrowIfError(s, kSource);
  // Read the row back: the engine filled in the autonumber.
  ThrowIfError(db.ReadRow(target.table, id, &row), kSource);
  QVector<QVariant> values;
  for (const auto& v : row) values.push_back(ToVariant(v));
  if (adding) {
    rows_.push_back(values);
    places_.push_back(ToPlace(id));
  } else {
    rows_[position_] = values;
  }
  last_modified_ = ToPlace(id);
  mode_ = EditMode::kNone;
}

void Recordset::Delete() {
  TableTarget& target = Target("delete a row");
  RequireCurrentRow();
  if (target.prepare_write) target.prepare_write();
  jet::Status s = target.engine->database().DeleteRow(target.table, ToRowId(places_.at(position_)));
  target.engine->NoteCommit();
  ThrowIfError(s, kSource);
  rows_.remove(position_);
  places_.remove(position_);
}

QByteArray Recordset::Bookmark() const {
  RequireCurrentRow();
  if (places_.size() != rows_.size()) Fail(3159, "Not a valid bookmark.");
  return BookmarkOf(places_.at(position_));
}

void Recordset::SetBookmark(const QByteArray& bookmark) {
  bool ok = false;
  const qint64 place = bookmark.toLongLong(&ok);
  const int at = ok ? places_.indexOf(place) : -1;
  if (at < 0) Fail(3159, "Not a valid bookmark.");
  position_ = at;
}

QByteArray Recordset::LastModified() const {
  if (last_modified_ < 0) Fail(kErrNoCurrentRecord, "No current record.");
  return BookmarkOf(last_modified_);
}

}  // namespace dao
