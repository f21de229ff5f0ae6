#include "platform/excel/range.h"

#include <com/sun/star/beans/XPropertySet.hpp>
#include <com/sun/star/sheet/FilterOperator2.hpp>
#include <com/sun/star/sheet/TableFilterField2.hpp>
#include <com/sun/star/sheet/XCellRangeAddressable.hpp>
#include <com/sun/star/sheet/XCellRangeData.hpp>
#include <com/sun/star/sheet/XDatabaseRange.hpp>
#include <com/sun/star/sheet/XSheetFilterDescriptor2.hpp>
#include <com/sun/star/sheet/XSheetFilterable.hpp>
#include <com/sun/star/sheet/XUnnamedDatabaseRanges.hpp>
#include <com/sun/star/table/CellContentType.hpp>
#include <com/sun/star/table/XCell.hpp>
#include <com/sun/star/table/XColumnRowRange.hpp>
#include <com/sun/star/text/XText.hpp>
#include <com/sun/star/util/XProtectable.hpp>

#include "platform/dao/recordset.h"
#include "platform/excel/color_index.h"
#include "platform/excel/excel_errors.h"
#include "platform/excel/number_formats.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"

namespace excel {
namespace {

css::uno::Reference<css::table::XCellRange> CellsOf(const SheetState& sheet, int top, int left, int bottom,
                                                     int right) {
  RequireOpen(*sheet.book);
  return sheet.sheet->getCellRangeByPosition(left - 1, top - 1, right - 1, bottom - 1);
}

// Excel refuses to change cells of a protected sheet; the office would pass
// over the change without a word.
css::uno::Reference<css::table::XCellRange> WritableCellsOf(const SheetState& sheet, int top, int left, int bottom,
                                                            int right) {
  auto cells = CellsOf(sheet, top, left, bottom, right);
  if (css::uno::Reference<css::util::XProtectable>(sheet.sheet, css::uno::UNO_QUERY_THROW)->isProtected())
    RaiseApplicationDefined(QStringLiteral("The cell that you are trying to change is on a protected sheet."));
  return cells;
}

void SetNumberFormat(const SheetState& sheet, const css::uno::Reference<css::table::XCellRange>& cells,
                     ColumnFormat kind) {
  css::uno::Reference<css::beans::XPropertySet> props(cells, css::uno::UNO_QUERY_THROW);
  props->setPropertyValue("NumberFormat", css::uno::Any(StandardFormatKey(sheet.book->document, kind)));
}

// Excel's Value = text: an apostrophe keeps the rest as text; anything else is
// read as if typed (numbers, dates, formulas).
void PutText(const css::uno::Reference<css::table::XCell>& cell, const QString& text) {
  css::uno::Reference<css::text::XText> as_text(cell, css::uno::UNO_QUERY_THROW);
  if (text.startsWith(QLatin1Char('\''))) as_text->setString(ToOUString(text.mid(1)));
  else cell->setFormula(ToOUString(text));
}

// The filter operator and operand of an Excel criterion such as "=x", ">5", "<>a".
css::sheet::TableFilterField2 FilterField(int column, const QString& criteria) {
  static const std::pair<const char*, sal_Int32> kOperators[] = {
      {"<>", css::sheet::FilterOperator2::NOT_EQUAL}, {">=", css::sheet::FilterOperator2::GREATER_EQUAL},
      {"<=", css::sheet::FilterOperator2::LESS_EQUAL}, {"=", css::sheet::FilterOperator2::EQUAL},
      {">", css::sheet::FilterOperator2::GREATER},     {"<", css::sheet::FilterOperator2::LESS},
  };
  css::sheet::TableFilterField2 field;
  field.Field = column;
  field.Operator = css::sheet::FilterOperator2::EQUAL;
  QString operand = criteria;
  for (const auto& [text, op] : kOperators) {
    if (criteria.startsWith(QLatin1String(text))) {
      field.Operator = op;
      operand = criteria.mid(static_cast<int>(qstrlen(text)));
      break;
    }
  }
  bool numeric = false;
  const double number = operand.toDouble(&numeric);
  field.IsNumeric = numeric;
  field.NumericValue = number;
  field.StringValue = ToOUString(operand);
  return field;
}

}  // namespace


Range::Range(std::shared_ptr<SheetState> sheet, int top, int left, int bottom, int right)
    : sheet_(std::move(sheet)), top_(top), left_(left), bottom_(bottom), right_(right) {
  const SheetSize size = GridOf(*sheet_->book);
  if (top < 1 || left < 1 || bottom > size.rows || right > size.columns || bottom < top || right < left)
    RaiseApplicationDefined();
}

QVariant Range::Value() const {
  return OfficeCall(*sheet_->book->session, [&]() -> QVariant {
    const auto cell = CellsOf(*sheet_, top_, left_, top_, left_)->getCellByPosition(0, 0);
    switch (cell->getType()) {
      case css::table::CellContentType_EMPTY: return QVariant();
      case css::table::CellContentType_VALUE: return cell->getValue();
      case css::table::CellContentType_TEXT:
        return ToQString(css::uno::Reference<css::text::XText>(cell, css::uno::UNO_QUERY_THROW)->getString());
      default: {
        css::uno::Reference<css::text::XText> text(cell, css::uno::UNO_QUERY_THROW);
        return cell->getError() ? QVariant(ToQString(text->getString())) : QVariant(cell->getValue());
      }
    }
  });
}

QString Range::Text() const {
  return OfficeCall(*sheet_->book->session, [&] {
    const auto cell = CellsOf(*sheet_, top_, left_, top_, left_)->getCellByPosition(0, 0);
    return ToQString(css::uno::Reference<css::text::XText>(cell, css::uno::UNO_QUERY_THROW)->getString());
  });
}

void Range::SetValue(const QVariant& value) {
  OfficeCall(*sheet_->book->session, [&] {
    const auto cells = WritableCellsOf(*sheet_, top_, left_, bottom_, right_);
    ColumnFormat format = ColumnFormat::kGeneral;
    for (int r = 0; r < RowsCount(); ++r) {
      for (int c = 0; c < ColumnsCount(); ++c) {
        const auto cell = cells->getCellByPosition(c, r);
        switch (value.typeId()) {
          case QMetaType::UnknownType: cell->setFormula(rtl::OUString()); break;
          case QMetaType::QString: PutText(cell, value.toString()); break;
          case QMetaType::QDateTime:
          case QMetaType::QDate:
            cell->setValue(DateSerial(value.toDateTime()));
            format = ColumnFormat::kDateTime;
            break;
          case QMetaType::Bool:
            cell->setValue(value.toBool() ? 1 : 0);
            format = ColumnFormat::kBoolean;
            break;
          default: cell->setValue(value.toDouble()); break;
        }
      }
    }
    if (format != ColumnFormat::kGeneral) SetNumberFormat(*sheet_, cells, format);
  });
}

int Range::FontColorIndex() const {
  return OfficeCall(*sheet_->book->session, [&] {
    css::uno::Reference<css::beans::XPropertySet> props(CellsOf(*sheet_, top_, left_, top_, left_),
                                                        css::uno::UNO_QUERY_THROW);
    sal_Int32 rgb = 0;
    props->getPropertyValue("CharColor") >>= rgb;
    // The office keeps "automatic" as -1, which Excel shows as black.
    return rgb < 0 ? 1 : IndexOfColor(static_cast<uint32_t>(rgb));
  });
}

void Range::SetFontColorIndex(int index) {
  const auto rgb = static_cast<sal_Int32>(ColorOfIndex(index));
  OfficeCall(*sheet_->book->session, [&] {
    css::uno::Reference<css::beans::XPropertySet> props(WritableCellsOf(*sheet_, top_, left_, bottom_, right_),
                                                        css::uno::UNO_QUERY_THROW);
    props->setPropertyValue("CharColor", css::uno::Any(rgb));
  });
}

long Range::CopyFromRecordset(dao::Recordset& records, const std::function<bool(long placed)>& placed) {
  const int fields = records.FieldCount();
  const long rows = records.IsEOF() ? 0 : records.RecordCount() - records.AbsolutePosition();
  // The office's grid can be larger than the file's sheet, and its export
  // drops what does not fit without a word, so the file's limit is checked
  // here (the workbook's format is known once it has been saved as a file).
  const SheetSize size = GridOf(*sheet_->book);
  if (fields > 0 && (left_ + fields - 1 > size.columns || top_ + rows - 1 > size.rows))
    RaiseApplicationDefined(QStringLiteral("the records do not fit in the worksheet"));
  const RecordBlock block = BuildRecordBlock(records);
  if (rows == 0 || fields == 0) return 0;
  // Parts small enough that the office answers each well within a second.
  const long part = placed ? kRowsPerPart : rows;
  for (long first = 0; first < rows; first += part) {
    const long count = std::min(part, rows - first);
    PlaceRows(block, first, count, fields);
    if (placed && !placed(first + count)) return first + count;
  }
  return rows;
}

void Range::PlaceRows(const RecordBlock& block, long first, long count, int fields) {
  OfficeCall(*sheet_->book->session, [&] {
    const int top = top_ + static_cast<int>(first);
    const auto cells = WritableCellsOf(*sheet_, top, left_, top + static_cast<int>(count) - 1, left_ + fields - 1);
    const bool whole = first == 0 && count == block.rows.getLength();
    css::uno::Reference<css::sheet::XCellRangeData>(cells, css::uno::UNO_QUERY_THROW)
        ->setDataArray(whole ? block.rows
                             : css::uno::Sequence<css::uno::Sequence<css::uno::Any>>(
                                   block.rows.getConstArray() + first, static_cast<sal_Int32>(count)));
    for (int f = 0; f < fields; ++f) {
      if (block.formats[f] == ColumnFormat::kGeneral) continue;
      SetNumberFormat(*sheet_, cells->getCellRangeByPosition(f, 0, f, static_cast<int>(count) - 1), block.formats[f]);
    }
  });
}

void Range::AutoFitColumns() {
  OfficeCall(*sheet_->book->session, [&] {
    css::uno::Reference<css::table::XColumnRowRange> range(CellsOf(*sheet_, top_, left_, bottom_, right_),
                                                           css::uno::UNO_QUERY_THROW);
    css::uno::Reference<css::beans::XPropertySet> columns(range->getColumns(), css::uno::UNO_QUERY_THROW);
    columns->setPropertyValue("OptimalWidth", css::uno::Any(true));
  });
}

bool Range::RowHidden() const {
  return OfficeCall(*sheet_->book->session, [&] {
    css::uno::Reference<css::table::XColumnRowRange> range(CellsOf(*sheet_, top_, left_, top_, left_),
                                                           css::uno::UNO_QUERY_THROW);
    css::uno::Reference<css::beans::XPropertySet> rows(range->getRows(), css::uno::UNO_QUERY_THROW);
    bool visible = true;
    rows->getPropertyValue("IsVisible") >>= visible;
    return !visible;
  });
}

void Range::AutoFilter(int field, const QString& criteria) {
  if (field < 1 || field > ColumnsCount()) RaiseApplicationDefined(QStringLiteral("AutoFilter field out of range"));
  OfficeCall(*sheet_->book->session, [&] {
    const auto cells = CellsOf(*sheet_, top_, left_, bottom_, right_);
    css::uno::Reference<css::sheet::XSheetFilterable> filterable(cells, css::uno::UNO_QUERY_THROW);
    auto descriptor = filterable->createFilterDescriptor(true);
    css::uno::Reference<css::sheet::XSheetFilterDescriptor2>(descriptor, css::uno::UNO_QUERY_THROW)
        ->setFilterFields2(SequenceOf({FilterField(field - 1, criteria)}));
    css::uno::Reference<css::beans::XPropertySet>(descriptor, css::uno::UNO_QUERY_THROW)
        ->setPropertyValue("ContainsHeader", css::uno::Any(true));
    filterable->filter(descriptor);
    // The filter lives in the sheet's unnamed database range; its buttons are a flag there.
    css::uno::Reference<css::beans::XPropertySet> doc(sheet_->book->document, css::uno::UNO_QUERY_THROW);
    css::uno::Reference<css::sheet::XUnnamedDatabaseRanges> unnamed(
        doc->getPropertyValue("UnnamedDatabaseRanges"), css::uno::UNO_QUERY_THROW);
    const auto address = css::uno::Reference<css::sheet::XCellRangeAddressable>(cells, css::uno::UNO_QUERY_THROW)
                             ->getRangeAddress();
    css::uno::Reference<css::beans::XPropertySet> range(unnamed->getByTable(address.Sheet), css::uno::UNO_QUERY_THROW);
    range->setPropertyValue("AutoFilter", css::uno::Any(true));
  });
}

}  // namespace excel
