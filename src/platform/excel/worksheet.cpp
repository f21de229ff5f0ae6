#include "platform/excel/worksheet.h"

#include <algorithm>

#include <com/sun/star/container/XNamed.hpp>
#include <com/sun/star/sheet/XCellRangeAddressable.hpp>
#include <com/sun/star/sheet/XSpreadsheetView.hpp>
#include <com/sun/star/util/XProtectable.hpp>

#include "platform/excel/excel_errors.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"

namespace excel {
namespace {

// Excel refuses these in sheet names, and names longer than 31 characters.
bool IsValidSheetName(const QString& name) {
  static const QString kForbidden = QStringLiteral(":\\/?*[]");
  return !name.isEmpty() && name.size() <= 31 &&
         std::none_of(name.begin(), name.end(), [](QChar c) { return kForbidden.contains(c); });
}

}  // namespace

QString Worksheet::Name() const {
  return OfficeCall(*state_->book->session, [&] {
    RequireOpen(*state_->book);
    return ToQString(css::uno::Reference<css::container::XNamed>(state_->sheet, css::uno::UNO_QUERY_THROW)->getName());
  });
}

void Worksheet::SetName(const QString& name) {
  OfficeCall(*state_->book->session, [&] {
    RequireOpen(*state_->book);
    css::uno::Reference<css::container::XNamed> named(state_->sheet, css::uno::UNO_QUERY_THROW);
    const QString current = ToQString(named->getName());
    if (current == name) return;
    if (!IsValidSheetName(name)) RaiseApplicationDefined(QStringLiteral("'%1' is not a valid sheet name").arg(name));
    // Excel compares sheet names without regard to case; the office would
    // otherwise keep the old name without a word.
    const auto names = state_->book->document->getSheets()->getElementNames();
    for (const auto& other : names) {
      const QString taken = ToQString(other);
      if (taken.compare(name, Qt::CaseInsensitive) == 0 && taken != current)
        RaiseApplicationDefined(QStringLiteral("Cannot rename a sheet to the same name as another sheet"));
    }
    named->setName(ToOUString(name));
  });
}

void Worksheet::Activate() {
  OfficeCall(*state_->book->session, [&] {
    RequireOpen(*state_->book);
    css::uno::Reference<css::sheet::XSpreadsheetView> view(ControllerOf(*state_->book), css::uno::UNO_QUERY_THROW);
    // Only a real change of sheet needs saving again before the hand-over,
    // and saving a full sheet costs seconds.
    if (view->getActiveSheet() == state_->sheet) return;
    view->setActiveSheet(state_->sheet);
    state_->book->view_changed = true;
  });
}

Range Worksheet::Cells(int row, int column) const { return ::excel::Range(state_, row, column, row, column); }

Range Worksheet::Range(const ::excel::Range& cell1, const ::excel::Range& cell2) const {
  return ::excel::Range(state_, std::min(cell1.Row(), cell2.Row()), std::min(cell1.Column(), cell2.Column()),
                        std::max(cell1.Row() + cell1.RowsCount(), cell2.Row() + cell2.RowsCount()) - 1,
                        std::max(cell1.Column() + cell1.ColumnsCount(), cell2.Column() + cell2.ColumnsCount()) - 1);
}

Range Worksheet::Range(const QString& address) const {
  return OfficeCall(*state_->book->session, [&] {
    RequireOpen(*state_->book);
    css::uno::Reference<css::table::XCellRange> cells;
    try {
      cells = state_->sheet->getCellRangeByName(ToOUString(address));
    } catch (const css::uno::RuntimeException&) {
      RaiseApplicationDefined(QStringLiteral("'%1' names no cells").arg(address));
    }
    const auto where =
        css::uno::Reference<css::sheet::XCellRangeAddressable>(cells, css::uno::UNO_QUERY_THROW)->getRangeAddress();
    return ::excel::Range(state_, where.StartRow + 1, where.StartColumn + 1, where.EndRow + 1, where.EndColumn + 1);
  });
}

Range Worksheet::Columns(int index) const {
  return ::excel::Range(state_, 1, index, GridOf(*state_->book).rows, index);
}

void Worksheet::Protect(bool drawing_objects, bool contents, bool scenarios, const QString& password) {
  if (!drawing_objects && !contents && !scenarios) return;
  OfficeCall(*state_->book->session, [&] {
    RequireOpen(*state_->book);
    css::uno::Reference<css::util::XProtectable>(state_->sheet, css::uno::UNO_QUERY_THROW)->protect(ToOUString(password));
  });
}

bool Worksheet::ProtectContents() const {
  return OfficeCall(*state_->book->session, [&] {
    RequireOpen(*state_->book);
    return static_cast<bool>(
        css::uno::Reference<css::util::XProtectable>(state_->sheet, css::uno::UNO_QUERY_THROW)->isProtected());
  });
}

}  // namespace excel
