// The facade's objects as the office sees them. Internal: UNO headers stop here.
#pragma once

#include <QString>
#include <memory>
#include <vector>

#include <com/sun/star/frame/XController.hpp>
#include <com/sun/star/sheet/XSpreadsheet.hpp>
#include <com/sun/star/sheet/XSpreadsheetDocument.hpp>

#include "platform/excel/office_session.h"
#include "platform/excel/office_vetoes.h"
#include "platform/excel/file_format.h"

namespace excel {

struct WorkbookState;

struct ApplicationState {
  std::shared_ptr<OfficeSession> session;
  bool display_alerts = true;
  bool screen_updating = true;
  bool visible = false;
  std::vector<std::shared_ptr<WorkbookState>> workbooks;  // open ones, the active last
};

struct WorkbookState {
  std::weak_ptr<ApplicationState> app;
  std::shared_ptr<OfficeSession> session;
  css::uno::Reference<css::sheet::XSpreadsheetDocument> document;
  QString file_name;        // where it was last saved
  QString template_name;    // the template it was made from, if any
  bool closed = false;
  bool has_macros = false;
  bool view_changed = false;  // the active sheet moved since the last save
  bool view_locked = false;   // its controllers are locked (ScreenUpdating = False)
  bool macros_rewritten = false;  // its modules went through RewriteLoadedMacros
  rtl::Reference<CloseRefuser> close_refuser;  // keeps it open until our own Close
  // Each module the rewriting changed, with the text the user wrote, put
  // back before every save.
  struct WrittenModule {
    QString library, module, source;
  };
  std::vector<WrittenModule> written_modules;
};

struct SheetState {
  std::shared_ptr<WorkbookState> book;
  css::uno::Reference<css::sheet::XSpreadsheet> sheet;
};

// The document's controller, for the active sheet and the selection.
css::uno::Reference<css::frame::XController> ControllerOf(const WorkbookState& book);
// Locks or unlocks the document's views; each book is locked at most once.
void LockViews(WorkbookState& book, bool locked);
// The sheet size of the book's file format: the file it was saved as or,
// before that, the template it came from.
SheetSize GridOf(const WorkbookState& book);
// Raises 1004 when the workbook was closed or handed over.
void RequireOpen(const WorkbookState& book);

}  // namespace excel
