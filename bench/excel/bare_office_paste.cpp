#include "bare_office_paste.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QUrl>

#include <com/sun/star/beans/XPropertySet.hpp>
#include <com/sun/star/container/XIndexAccess.hpp>
#include <com/sun/star/frame/XComponentLoader.hpp>
#include <com/sun/star/frame/XStorable.hpp>
#include <com/sun/star/lang/Locale.hpp>
#include <com/sun/star/sheet/XCellRangeData.hpp>
#include <com/sun/star/sheet/XSpreadsheet.hpp>
#include <com/sun/star/sheet/XSpreadsheetDocument.hpp>
#include <com/sun/star/util/NumberFormat.hpp>
#include <com/sun/star/util/XCloseable.hpp>
#include <com/sun/star/util/XNumberFormatTypes.hpp>
#include <com/sun/star/util/XNumberFormatsSupplier.hpp>

#include "platform/dao/recordset.h"
#include "platform/excel/office_session.h"
#include "platform/excel/uno_text.h"

namespace css = com::sun::star;
using excel::Property;
using excel::SequenceOf;
using excel::ToOUString;

namespace {

css::uno::Sequence<css::uno::Sequence<css::uno::Any>> Block(const dao::Recordset& records) {
  const QDate day_zero(1899, 12, 30);
  css::uno::Sequence<css::uno::Sequence<css::uno::Any>> rows(records.Rows().size());
  auto* out = rows.getArray();
  for (int r = 0; r < records.Rows().size(); ++r) {
    const auto& row = records.Rows()[r];
    css::uno::Sequence<css::uno::Any> cells(row.size());
    auto* cell = cells.getArray();
    for (int c = 0; c < row.size(); ++c) {
      const QVariant& v = row[c];
      if (v.typeId() == QMetaType::QString) cell[c] <<= ToOUString(v.toString());
      else if (v.typeId() == QMetaType::QDateTime) cell[c] <<= double(day_zero.daysTo(v.toDate()));
      else cell[c] <<= v.toDouble();
    }
    out[r] = cells;
  }
  return rows;
}

}  // namespace

double BarePasteAndSave(const dao::Recordset& records, const QString& file) {
  auto session = excel::OfficeSession::Shared();
  css::uno::Reference<css::frame::XComponentLoader> loader(session->Desktop(), css::uno::UNO_QUERY_THROW);
  auto component = loader->loadComponentFromURL("private:factory/scalc", "_blank", 0,
                                                 SequenceOf({Property("Hidden", css::uno::Any(true))}));
  css::uno::Reference<css::sheet::XSpreadsheetDocument> document(component, css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::container::XIndexAccess> sheets(document->getSheets(), css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::sheet::XSpreadsheet> sheet(sheets->getByIndex(0), css::uno::UNO_QUERY_THROW);

  QElapsedTimer timer;
  timer.start();
  const int rows = records.Rows().size();
  const int columns = records.FieldCount();
  auto range = sheet->getCellRangeByPosition(0, 1, columns - 1, rows);
  css::uno::Reference<css::sheet::XCellRangeData>(range, css::uno::UNO_QUERY_THROW)->setDataArray(Block(records));
  for (int c = 0; c < columns; ++c) {
    if (records.Field(c).type != jet::ColumnType::kDateTime) continue;
    css::uno::Reference<css::util::XNumberFormatsSupplier> supplier(document, css::uno::UNO_QUERY_THROW);
    css::uno::Reference<css::util::XNumberFormatTypes> types(supplier->getNumberFormats(), css::uno::UNO_QUERY_THROW);
    const sal_Int32 key = types->getStandardFormat(css::util::NumberFormat::DATE, css::lang::Locale());
    css::uno::Reference<css::beans::XPropertySet>(sheet->getCellRangeByPosition(c, 1, c, rows), css::uno::UNO_QUERY_THROW)
        ->setPropertyValue("NumberFormat", css::uno::Any(key));
  }
  css::uno::Reference<css::frame::XStorable>(document, css::uno::UNO_QUERY_THROW)
      ->storeAsURL(ToOUString(QUrl::fromLocalFile(file).toString(QUrl::FullyEncoded)),
                   SequenceOf({Property("FilterName", css::uno::Any(ToOUString(QStringLiteral("MS Excel 97")))),
                               Property("Overwrite", css::uno::Any(true))}));
  const double ms = timer.nsecsElapsed() / 1e6;
  css::uno::Reference<css::util::XCloseable>(document, css::uno::UNO_QUERY_THROW)->close(true);
  return ms;
}
