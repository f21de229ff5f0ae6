// Jet values <-> QVariant, as DAO hands them to Visual Basic.
#include <QDateTime>

#include "jet/query.h"
#include "jet/text_form.h"
#include "platform/dao/dao.h"
#include "platform/dao/dao_errors.h"

namespace dao {
namespace {

constexpr qint64 kMillisPerDay = 86400000;
// Jet's dates run from 1 January 100 to the last moment of 31 December 9999.
constexpr double kFirstSerial = -657434.0;
constexpr double kSerialAfterLast = 2958466.0;

// Days since 1899-12-30, time as the (sign-magnitude) fraction.
QDateTime FromSerial(double serial, Qt::TimeSpec zone) {
  const double day = std::trunc(serial);
  qint64 ms = std::llround(std::fabs(serial - day) * kMillisPerDay);
  qint64 days = static_cast<qint64>(day);
  if (ms >= kMillisPerDay) {
    ms -= kMillisPerDay;
    days += serial < 0 ? -1 : 1;
  }
  const QDate date = QDate(1899, 12, 30).addDays(days);
  return QDateTime(date, QTime(0, 0).addMSecs(static_cast<int>(ms)), zone);
}

}  // namespace

QVariant ToVariant(const jet::Value& v, Qt::TimeSpec dates) {
  if (v.is_null()) return QVariant();
  struct Visitor {
    Qt::TimeSpec zone;
    QVariant operator()(std::monostate) const { return QVariant(); }
    QVariant operator()(bool b) const { return b; }
    QVariant operator()(int64_t i) const {
      if (i >= INT32_MIN && i <= INT32_MAX) return static_cast<int>(i);
      return static_cast<qlonglong>(i);
    }
    QVariant operator()(float f) const { return static_cast<double>(f); }
    QVariant operator()(double d) const { return d; }
    QVariant operator()(jet::Currency c) const { return static_cast<double>(c.scaled) / 10000.0; }
    QVariant operator()(jet::DateTime dt) const {
      // A damaged file can hold any eight bytes here, even no number at all.
      if (!(dt.serial >= kFirstSerial && dt.serial < kSerialAfterLast)) {
        throw platform::AppError(kErrOverflow,
                                 QStringLiteral("Overflow: a date in the database is not a date between 1 January 100 "
                                                "and 31 December 9999."),
                                 QStringLiteral("DAO.Field"));
      }
      return FromSerial(dt.serial, zone);
    }
    QVariant operator()(const jet::Decimal& d) const { return std::stod(jet::FormatDecimal(d)); }
    QVariant operator()(const std::string& s) const { return QString::fromStdString(s); }
    QVariant operator()(const jet::Bytes& b) const {
      return QByteArray(reinterpret_cast<const char*>(b.data()), static_cast<int>(b.size()));
    }
    QVariant operator()(const jet::Guid&) const { return QVariant(); }
  };
  if (v.type() == jet::ColumnType::kGuid) return QString::fromStdString(jet::CanonicalText(v));
  return std::visit(Visitor{dates}, v.data());
}

jet::Value ToParameterValue(const QVariant& value, jet::ColumnType type) {
  if (!value.isValid() || value.isNull()) return jet::Value::Null(type);
  // Everything goes through the engine's one set of fixed, locale-free text
  // rules, so a stored "01-Jan-2001" and a typed 1/1/2001 agree.
  QString text;
  if (value.typeId() == QMetaType::QDateTime) {
    text = value.toDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
  } else if (value.typeId() == QMetaType::QDate) {
    text = value.toDate().toString(QStringLiteral("yyyy-MM-dd"));
  } else if (value.typeId() == QMetaType::Double) {
    text = QString::number(value.toDouble(), 'g', 17);
  } else {
    text = value.toString();
  }
  jet::Value out;
  ThrowIfError(jet::ConvertParameterText(text.toStdString(), type, &out), "DAO.Parameter");
  return out;
}

}  // namespace dao
