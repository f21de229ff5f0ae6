// Behind the guards written into the macro source: the office asks these
// listeners before it closes one of our workbooks or ends, and they refuse.
// A macro may reach those calls by a way its source does not show (a workbook
// held in a variable, Me in ThisWorkbook, Application in a variable); the
// refusal is noted, so the macro's run can still end with a message.
#pragma once

#include <atomic>

#include <com/sun/star/frame/XTerminateListener.hpp>
#include <com/sun/star/sheet/XSpreadsheetDocument.hpp>
#include <com/sun/star/util/XCloseListener.hpp>
#include <cppuhelper/implbase1.hxx>
#include <rtl/ref.hxx>

namespace excel {

namespace css = com::sun::star;

class RefusalNote {
 public:
  void Note() { refused_ = true; }
  // Whether a refusal happened since the last look.
  bool Take() { return refused_.exchange(false); }

 private:
  std::atomic<bool> refused_{false};
};

class CloseRefuser : public cppu::WeakImplHelper1<css::util::XCloseListener>, public RefusalNote {
 public:
  // Refuses every close of `document` until Release; the program's own close
  // releases it first.
  static rtl::Reference<CloseRefuser> Keep(const css::uno::Reference<css::sheet::XSpreadsheetDocument>& document);
  void Release();

  void SAL_CALL queryClosing(const css::lang::EventObject& event, sal_Bool gets_ownership) override;
  void SAL_CALL notifyClosing(const css::lang::EventObject&) override {}
  void SAL_CALL disposing(const css::lang::EventObject&) override {}

 private:
  css::uno::Reference<css::sheet::XSpreadsheetDocument> document_;
};

// Refuses every end of the office asked over UNO: the program ends its
// office by ending the process.
class TerminateRefuser : public cppu::WeakImplHelper1<css::frame::XTerminateListener>, public RefusalNote {
 public:
  void SAL_CALL queryTermination(const css::lang::EventObject& event) override;
  void SAL_CALL notifyTermination(const css::lang::EventObject&) override {}
  void SAL_CALL disposing(const css::lang::EventObject&) override {}
};

}  // namespace excel
