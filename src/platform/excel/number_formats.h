// The office's built-in number formats for dates, times and booleans. Internal.
#pragma once

#include <com/sun/star/sheet/XSpreadsheetDocument.hpp>

#include "platform/excel/record_block.h"

namespace excel {

// The key of the document's standard format for the kind; 0 (General) for kGeneral.
sal_Int32 StandardFormatKey(const css::uno::Reference<css::sheet::XSpreadsheetDocument>& document,
                            ColumnFormat kind);

}  // namespace excel
