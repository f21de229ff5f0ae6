#include "platform/dao/table_rows.h"

#include <algorithm>

#include "jet/query.h"
#include "jet/table_reader.h"
#include "platform/dao/dao.h"
#include "platform/dao/dao_errors.h"

namespace dao {
namespace {

// A value that cannot be shown (a damaged date) leaves its cell empty and
// the rest of the row is shown.
QVariant ValueOrNull(const jet::Value& value, Qt::TimeSpec dates = Qt::LocalTime) {
  try {
    return ToVariant(value, dates);
  } catch (const platform::AppError&) {
    return QVariant();
  }
}

}  // namespace

std::unique_ptr<TableRows> TableRows::Open(Database& database, const QString& table) {
  std::unique_ptr<TableRows> rows(new TableRows);
  rows->engine_ = database.shared_engine();
  rows->table_ = table.toStdString();
  jet::Database& file = database.engine().database();
  std::shared_ptr<const jet::TableDef> def;
  ThrowIfError(file.GetTableDef(rows->table_, &def), "DAO.Database");
  for (const auto& column : def->columns) {
    rows->fields_.push_back({QString::fromStdString(column.name), column.type, QString()});
  }
  ThrowIfError(file.ListRowIds(rows->table_, &rows->places_), "DAO.Database");
  rows->listed_at_ = file.generation();
  return rows;
}

void TableRows::KeepCurrent() const {
  jet::Database& file = engine_->database();
  if (file.generation() == listed_at_) return;
  std::vector<jet::RowId> places;
  if (file.ListRowIds(table_, &places).ok()) places_ = std::move(places);
  listed_at_ = file.generation();
}

QVector<QVariant> TableRows::Row(int index) const {
  QVector<QVariant> values(fields_.size());
  jet::ReadOperation read(engine_->database());
  if (!read.status().ok()) return values;
  KeepCurrent();
  jet::Row row;
  if (index < 0 || index >= RowCount() ||
      !engine_->database().ReadRowAt(table_, places_[static_cast<size_t>(index)], &row).ok()) {
    return values;
  }
  for (int i = 0; i < values.size() && i < static_cast<int>(row.size()); ++i) values[i] = ValueOrNull(row[i]);
  return values;
}

QVector<QVariant> TableRows::ColumnValues(int field, int first, int count) const {
  QVector<QVariant> values;
  jet::ReadOperation read(engine_->database());
  KeepCurrent();
  first = std::clamp(first, 0, RowCount());
  count = std::clamp(count, 0, RowCount() - first);
  values.reserve(count);
  jet::ColumnSet wanted(static_cast<size_t>(fields_.size()), false);
  std::unique_ptr<jet::TableReader> reader;
  if (field >= 0 && field < fields_.size() && read.status().ok()) {
    wanted[static_cast<size_t>(field)] = true;
    if (!engine_->database().OpenReader(table_, wanted, &reader).ok()) reader.reset();
  }
  jet::Row row;
  for (int i = first; i < first + count; ++i) {
    const bool ok = reader && reader->Read(places_[static_cast<size_t>(i)], &row).ok() &&
                    field < static_cast<int>(row.size());
    values.append(ok ? ValueOrNull(row[static_cast<size_t>(field)], Qt::UTC) : QVariant());
  }
  return values;
}

}  // namespace dao
