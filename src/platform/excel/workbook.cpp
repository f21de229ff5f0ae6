#include "platform/excel/workbook.h"

#include <QFileInfo>
#include <QUrl>
#include <algorithm>

#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/container/XIndexAccess.hpp>
#include <com/sun/star/container/XNamed.hpp>
#include <com/sun/star/frame/XModel.hpp>
#include <com/sun/star/frame/XStorable.hpp>
#include <com/sun/star/sheet/XSpreadsheetView.hpp>
#include <com/sun/star/util/XCloseable.hpp>
#include <com/sun/star/util/XModifiable.hpp>

#include "platform/excel/excel_errors.h"
#include "platform/excel/file_format.h"
#include "platform/excel/macro_source.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"

namespace excel {
namespace {

std::shared_ptr<SheetState> SheetOf(const std::shared_ptr<WorkbookState>& book,
                                     const css::uno::Reference<css::sheet::XSpreadsheet>& sheet) {
  return std::make_shared<SheetState>(SheetState{book, sheet});
}

css::uno::Reference<css::container::XIndexAccess> SheetIndex(const WorkbookState& book) {
  return css::uno::Reference<css::container::XIndexAccess>(book.document->getSheets(), css::uno::UNO_QUERY_THROW);
}

QString SheetName(const css::uno::Any& sheet) {
  return ToQString(css::uno::Reference<css::container::XNamed>(sheet, css::uno::UNO_QUERY_THROW)->getName());
}

}  // namespace

void RequireOpen(const WorkbookState& book) {
  if (book.closed || !book.document.is()) RaiseApplicationDefined(QStringLiteral("the workbook is closed"));
}

css::uno::Reference<css::frame::XController> ControllerOf(const WorkbookState& book) {
  css::uno::Reference<css::frame::XModel> model(book.document, css::uno::UNO_QUERY_THROW);
  auto controller = model->getCurrentController();
  if (!controller.is()) RaiseApplicationDefined(QStringLiteral("the workbook has no window"));
  return controller;
}

void LockViews(WorkbookState& book, bool locked) {
  if (book.view_locked == locked || !book.document.is()) return;
  css::uno::Reference<css::frame::XModel> model(book.document, css::uno::UNO_QUERY_THROW);
  if (locked) model->lockControllers();
  else model->unlockControllers();
  book.view_locked = locked;
}

int Worksheets::Count() const {
  return OfficeCall(*book_->session, [&] {
    RequireOpen(*book_);
    return static_cast<int>(SheetIndex(*book_)->getCount());
  });
}

Worksheet Worksheets::Item(int index) const {
  return OfficeCall(*book_->session, [&] {
    RequireOpen(*book_);
    const auto sheets = SheetIndex(*book_);
    if (index < 1 || index > sheets->getCount()) RaiseSubscriptOutOfRange();
    return Worksheet(SheetOf(book_, css::uno::Reference<css::sheet::XSpreadsheet>(sheets->getByIndex(index - 1),
                                                                                  css::uno::UNO_QUERY_THROW)));
  });
}

Worksheet Worksheets::Item(const QString& name) const {
  return OfficeCall(*book_->session, [&] {
    RequireOpen(*book_);
    const auto sheets = SheetIndex(*book_);
    for (sal_Int32 i = 0; i < sheets->getCount(); ++i) {
      const auto sheet = sheets->getByIndex(i);
      if (SheetName(sheet).compare(name, Qt::CaseInsensitive) == 0)
        return Worksheet(SheetOf(book_, css::uno::Reference<css::sheet::XSpreadsheet>(sheet, css::uno::UNO_QUERY_THROW)));
    }
    RaiseSubscriptOutOfRange();
  });
}

Worksheet Worksheets::Add() {
  const auto active = Workbook(book_).ActiveSheet();
  const QString active_name = active.Name();
  return OfficeCall(*book_->session, [&] {
    const auto sheets = SheetIndex(*book_);
    const auto names = book_->document->getSheets()->getElementNames();
    // Excel numbers new sheets on from the count, skipping names in use.
    auto taken = [&](const QString& candidate) {
      return std::any_of(names.begin(), names.end(),
                         [&](const auto& n) { return ToQString(n).compare(candidate, Qt::CaseInsensitive) == 0; });
    };
    int number = sheets->getCount() + 1;
    while (taken(QStringLiteral("Sheet%1").arg(number))) ++number;
    const QString name = QStringLiteral("Sheet%1").arg(number);
    sal_Int16 position = 0;
    for (sal_Int32 i = 0; i < sheets->getCount(); ++i)
      if (SheetName(sheets->getByIndex(i)) == active_name) position = static_cast<sal_Int16>(i);
    book_->document->getSheets()->insertNewByName(ToOUString(name), position);
    Worksheet added = Item(name);
    added.Activate();
    return added;
  });
}

SheetSize GridOf(const WorkbookState& book) {
  return SheetSizeOf(FormatOfFile(book.file_name.isEmpty() ? book.template_name : book.file_name));
}

void Workbook::SaveAs(const QString& file_name) {
  const QString absolute = QFileInfo(file_name).absoluteFilePath();
  OfficeCall(*state_->session, [&] {
    RequireOpen(*state_);
    if (!QFileInfo(QFileInfo(absolute).absolutePath()).isDir())
      RaiseApplicationDefined(QStringLiteral("'%1' cannot be written: its folder does not exist").arg(file_name));
    css::uno::Reference<css::frame::XStorable> storable(state_->document, css::uno::UNO_QUERY_THROW);
    RestoreWrittenMacros(*state_);
    try {
      storable->storeAsURL(ToOUString(QUrl::fromLocalFile(absolute).toString(QUrl::FullyEncoded)),
                           SequenceOf({Property("FilterName", css::uno::Any(rtl::OUString::createFromAscii(
                                           OfficeFilterOf(FormatOfFile(absolute))))),
                                       Property("Overwrite", css::uno::Any(true))}));
    } catch (const css::uno::Exception& e) {
      RaiseApplicationDefined(QStringLiteral("'%1' cannot be written (%2)").arg(file_name, ToQString(e.Message)));
    }
    state_->file_name = absolute;
    state_->view_changed = false;
  });
}

void Workbook::Save() {
  OfficeCall(*state_->session, [&] {
    RequireOpen(*state_);
    if (state_->file_name.isEmpty()) RaiseApplicationDefined(QStringLiteral("the workbook has no file name yet"));
    RestoreWrittenMacros(*state_);
    try {
      css::uno::Reference<css::frame::XStorable>(state_->document, css::uno::UNO_QUERY_THROW)->store();
    } catch (const css::uno::Exception& e) {
      RaiseApplicationDefined(QStringLiteral("'%1' cannot be written (%2)").arg(state_->file_name, ToQString(e.Message)));
    }
    state_->view_changed = false;
  });
}

void Workbook::Activate() {
  RequireOpen(*state_);
  if (auto app = state_->app.lock()) {
    auto& books = app->workbooks;
    books.erase(std::remove(books.begin(), books.end(), state_), books.end());
    books.push_back(state_);
  }
}

Worksheet Workbook::ActiveSheet() const {
  return OfficeCall(*state_->session, [&] {
    RequireOpen(*state_);
    css::uno::Reference<css::sheet::XSpreadsheetView> view(ControllerOf(*state_), css::uno::UNO_QUERY_THROW);
    return Worksheet(SheetOf(state_, view->getActiveSheet()));
  });
}

void Workbook::Close() {
  if (state_->closed) return;
  OfficeCall(*state_->session, [&] {
    if (state_->close_refuser.is()) state_->close_refuser->Release();
    css::uno::Reference<css::util::XCloseable>(state_->document, css::uno::UNO_QUERY_THROW)->close(true);
  });
  state_->closed = true;
  state_->document.clear();
  if (auto app = state_->app.lock()) {
    auto& books = app->workbooks;
    books.erase(std::remove(books.begin(), books.end(), state_), books.end());
  }
}

bool Workbook::IsOpen() const { return !state_->closed; }
QString Workbook::FullName() const { return state_->file_name; }
bool Workbook::HasMacros() const { return state_->has_macros; }

bool Workbook::Saved() const {
  return OfficeCall(*state_->session, [&] {
    RequireOpen(*state_);
    return !css::uno::Reference<css::util::XModifiable>(state_->document, css::uno::UNO_QUERY_THROW)->isModified();
  });
}

}  // namespace excel
