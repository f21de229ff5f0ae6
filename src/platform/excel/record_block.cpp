#include "platform/excel/record_block.h"

#include <rtl/ustring.hxx>

#include "platform/dao/recordset.h"
#include "platform/excel/excel_errors.h"
#include "platform/excel/uno_text.h"

namespace excel {
namespace {

bool IsBinary(jet::ColumnType type) {
  return type == jet::ColumnType::kBinary || type == jet::ColumnType::kOle;
}

// A date column shows the date alone when no value has a time, the time alone
// when every value sits on day zero, as Access shows them.
ColumnFormat DateColumnFormat(const QVector<QVector<QVariant>>& rows, int from, int field) {
  bool any_time = false, all_day_zero = true, any_value = false;
  const QDate day_zero(1899, 12, 30);
  for (int r = from; r < rows.size(); ++r) {
    const QVariant& v = rows[r][field];
    if (!v.isValid() || v.isNull()) continue;
    const QDateTime when = v.toDateTime();
    any_value = true;
    any_time = any_time || when.time() != QTime(0, 0);
    all_day_zero = all_day_zero && when.date() == day_zero;
  }
  if (any_value && all_day_zero) return ColumnFormat::kTime;
  return any_time ? ColumnFormat::kDateTime : ColumnFormat::kDate;
}

ColumnFormat FormatOf(const dao::FieldInfo& field, const QVector<QVector<QVariant>>& rows, int from, int index) {
  switch (field.type) {
    case jet::ColumnType::kDateTime: return DateColumnFormat(rows, from, index);
    case jet::ColumnType::kBoolean: return ColumnFormat::kBoolean;
    default: return ColumnFormat::kGeneral;
  }
}

css::uno::Any CellOf(const QVariant& value) {
  if (!value.isValid() || value.isNull()) return css::uno::Any(rtl::OUString());
  switch (value.typeId()) {
    case QMetaType::QString: return css::uno::Any(ToOUString(value.toString()));
    case QMetaType::QDateTime:
    case QMetaType::QDate: return css::uno::Any(DateSerial(value.toDateTime()));
    case QMetaType::QTime: return css::uno::Any(value.toTime().msecsSinceStartOfDay() / 86400000.0);
    case QMetaType::Bool: return css::uno::Any(value.toBool() ? 1.0 : 0.0);
    case QMetaType::QByteArray: RaiseApplicationDefined(QStringLiteral("a binary value cannot be placed in a cell"));
    default: break;
  }
  bool numeric = false;
  const double number = value.toDouble(&numeric);
  if (numeric) return css::uno::Any(number);
  return css::uno::Any(ToOUString(value.toString()));
}

}  // namespace

double DateSerial(const QDateTime& when) {
  const QDate day_zero(1899, 12, 30);
  const double days = static_cast<double>(day_zero.daysTo(when.date()));
  const double fraction = when.time().msecsSinceStartOfDay() / 86400000.0;
  return days + fraction;
}

RecordBlock BuildRecordBlock(dao::Recordset& records) {
  const auto& rows = records.Rows();
  const int from = records.IsEOF() ? rows.size() : records.AbsolutePosition();
  const int field_count = records.FieldCount();
  RecordBlock block;
  for (int f = 0; f < field_count; ++f) {
    if (IsBinary(records.Field(f).type))
      RaiseApplicationDefined(QStringLiteral("CopyFromRecordset cannot place the binary field '%1'")
                                  .arg(records.Field(f).name));
    block.formats.push_back(FormatOf(records.Field(f), rows, from, f));
  }
  block.rows.realloc(rows.size() - from);
  auto* out = block.rows.getArray();
  for (int r = from; r < rows.size(); ++r) {
    css::uno::Sequence<css::uno::Any> cells(field_count);
    auto* cell = cells.getArray();
    for (int f = 0; f < field_count; ++f) cell[f] = CellOf(rows[r][f]);
    out[r - from] = std::move(cells);
  }
  records.SetAbsolutePosition(rows.size());
  return block;
}

}  // namespace excel
