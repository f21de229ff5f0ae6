#include "platform/excel/number_formats.h"

#include <com/sun/star/lang/Locale.hpp>
#include <com/sun/star/util/NumberFormat.hpp>
#include <com/sun/star/util/XNumberFormatTypes.hpp>
#include <com/sun/star/util/XNumberFormatsSupplier.hpp>

namespace excel {

sal_Int32 StandardFormatKey(const css::uno::Reference<css::sheet::XSpreadsheetDocument>& document,
                            ColumnFormat kind) {
  sal_Int16 type = 0;
  switch (kind) {
    case ColumnFormat::kGeneral: return 0;
    case ColumnFormat::kDate: type = css::util::NumberFormat::DATE; break;
    case ColumnFormat::kTime: type = css::util::NumberFormat::TIME; break;
    case ColumnFormat::kDateTime: type = css::util::NumberFormat::DATETIME; break;
    case ColumnFormat::kBoolean: type = css::util::NumberFormat::LOGICAL; break;
  }
  css::uno::Reference<css::util::XNumberFormatsSupplier> supplier(document, css::uno::UNO_QUERY_THROW);
  css::uno::Reference<css::util::XNumberFormatTypes> types(supplier->getNumberFormats(), css::uno::UNO_QUERY_THROW);
  return types->getStandardFormat(type, css::lang::Locale());
}

}  // namespace excel
