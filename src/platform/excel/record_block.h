// A recordset's rows as one block of cell values for a single bulk write.
// Internal to the facade.
#pragma once

#include <QDateTime>
#include <vector>

#include <com/sun/star/uno/Any.hxx>
#include <com/sun/star/uno/Sequence.hxx>

namespace dao {
class Recordset;
}

namespace excel {

namespace css = com::sun::star;

// How a column must be shown once its numbers are in the cells.
enum class ColumnFormat { kGeneral, kDate, kTime, kDateTime, kBoolean };

struct RecordBlock {
  css::uno::Sequence<css::uno::Sequence<css::uno::Any>> rows;
  std::vector<ColumnFormat> formats;  // one per field
};

// Days since 1899-12-30 with the time as the fraction, as Excel stores dates.
double DateSerial(const QDateTime& when);

// Takes the rows from the recordset's position to its end (which leaves it at
// EOF). Null becomes an empty cell; text stays text; dates become numbers to
// be date-formatted; binary and OLE fields are refused (error 1004) before
// anything is written, as Excel refuses them.
RecordBlock BuildRecordBlock(dao::Recordset& records);

}  // namespace excel
