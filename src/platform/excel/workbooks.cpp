// Workbooks.Add: new workbooks, blank or from a template, loaded into the office.
#include <QFile>
#include <QFileInfo>
#include <QUrl>

#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/container/XIndexAccess.hpp>
#include <com/sun/star/container/XNamed.hpp>
#include <com/sun/star/document/MacroExecMode.hpp>
#include <com/sun/star/document/UpdateDocMode.hpp>
#include <com/sun/star/frame/XComponentLoader.hpp>
#include <com/sun/star/frame/XModel.hpp>
#include <com/sun/star/util/XCloseable.hpp>

#include "platform/excel/application.h"
#include "platform/excel/excel_errors.h"
#include "platform/excel/template_sheets.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"

namespace excel {
namespace {

// An .xls carries VBA in a storage of this name; the compound file's directory
// holds it in UTF-16.
bool FileHasVbaProject(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return false;
  const QByteArray bytes = file.readAll();
  static const QByteArray kStorageName = [] {
    QByteArray utf16;
    for (char c : QByteArray("_VBA_PROJECT_CUR")) {
      if (c == '\0') break;
      utf16.append(c).append('\0');
    }
    return utf16;
  }();
  return bytes.contains(kStorageName);
}

std::shared_ptr<WorkbookState> Register(const std::shared_ptr<ApplicationState>& app,
                                        const css::uno::Reference<css::lang::XComponent>& component, bool has_macros) {
  css::uno::Reference<css::sheet::XSpreadsheetDocument> document(component, css::uno::UNO_QUERY);
  if (!document.is()) {
    css::uno::Reference<css::util::XCloseable> closeable(component, css::uno::UNO_QUERY);
    if (closeable.is()) closeable->close(true);
    RaiseApplicationDefined(QStringLiteral("the file is not a workbook"));
  }
  auto book = std::make_shared<WorkbookState>();
  book->app = app;
  book->session = app->session;
  book->document = document;
  book->close_refuser = CloseRefuser::Keep(document);
  book->has_macros = has_macros;
  LockViews(*book, !app->screen_updating);
  app->workbooks.push_back(book);
  return book;
}

// The office opens almost anything, a text file as a one-column sheet; Excel
// refuses what is not a workbook, and so do we.
bool LoadedAsWorkbook(const css::uno::Reference<css::lang::XComponent>& component) {
  css::uno::Reference<css::frame::XModel> model(component, css::uno::UNO_QUERY);
  if (!model.is()) return false;
  const auto args = model->getArgs();
  for (const auto& arg : args) {
    if (arg.Name != "FilterName") continue;
    rtl::OUString filter;
    arg.Value >>= filter;
    const QString name = ToQString(filter);
    return name.contains(QStringLiteral("Excel"), Qt::CaseInsensitive) || name.startsWith(QStringLiteral("calc"));
  }
  return false;
}

// A new workbook gets Excel's sheets; the office names its one sheet in
// the user's language.
void MakeDefaultSheets(WorkbookState& book) {
  const auto sheets = book.document->getSheets();
  css::uno::Reference<css::container::XIndexAccess> by_index(sheets, css::uno::UNO_QUERY_THROW);
  const QStringList names = NewWorkbookSheetNames();
  css::uno::Reference<css::container::XNamed>(by_index->getByIndex(0), css::uno::UNO_QUERY_THROW)
      ->setName(ToOUString(names.first()));
  for (int n = 1; n < names.size(); ++n) {
    const auto name = ToOUString(names[n]);
    if (!sheets->hasByName(name)) sheets->insertNewByName(name, static_cast<sal_Int16>(n));
  }
}

}  // namespace

Workbook Workbooks::Add() {
  return OfficeCall(*app_->session, [&] {
    css::uno::Reference<css::frame::XComponentLoader> loader(app_->session->Desktop(), css::uno::UNO_QUERY_THROW);
    const auto component = loader->loadComponentFromURL("private:factory/scalc", "_blank", 0,
                                                        SequenceOf({Property("Hidden", css::uno::Any(true))}));
    auto book = Register(app_, component, false);
    MakeDefaultSheets(*book);
    return Workbook(book);
  });
}

Workbook Workbooks::Add(const QString& template_path) {
  const QFileInfo info(template_path);
  if (!info.isFile() || !info.isReadable())
    RaiseApplicationDefined(QStringLiteral("'%1' could not be found.").arg(template_path));
  const bool has_macros = FileHasVbaProject(info.absoluteFilePath());
  // A recorded macro works on the selection, which only a document with a
  // view has; the office can give one only when it runs on a display.
  const bool hidden = !(has_macros && app_->session->HasView());
  return OfficeCall(*app_->session, [&] {
    css::uno::Reference<css::frame::XComponentLoader> loader(app_->session->Desktop(), css::uno::UNO_QUERY_THROW);
    css::uno::Reference<css::lang::XComponent> component;
    try {
      component = loader->loadComponentFromURL(
          ToOUString(QUrl::fromLocalFile(info.absoluteFilePath()).toString(QUrl::FullyEncoded)), "_blank", 0,
          SequenceOf({Property("AsTemplate", css::uno::Any(true)), Property("Hidden", css::uno::Any(hidden)),
                      Property("MacroExecutionMode", css::uno::Any(css::document::MacroExecMode::ALWAYS_EXECUTE_NO_WARN)),
                      Property("UpdateDocMode", css::uno::Any(css::document::UpdateDocMode::QUIET_UPDATE))}));
    } catch (const css::uno::Exception& e) {
      RaiseApplicationDefined(QStringLiteral("'%1' cannot be opened (%2)").arg(template_path, ToQString(e.Message)));
    }
    if (!component.is()) RaiseApplicationDefined(QStringLiteral("'%1' cannot be opened.").arg(template_path));
    if (!LoadedAsWorkbook(component)) {
      css::uno::Reference<css::util::XCloseable>(component, css::uno::UNO_QUERY_THROW)->close(true);
      RaiseApplicationDefined(QStringLiteral("'%1' is not a workbook.").arg(template_path));
    }
    auto book = Register(app_, component, has_macros);
    book->template_name = info.absoluteFilePath();
    return Workbook(book);
  });
}

int Workbooks::Count() const { return static_cast<int>(app_->workbooks.size()); }

}  // namespace excel
