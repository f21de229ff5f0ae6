#include "platform/excel/office_vetoes.h"

#include <com/sun/star/frame/TerminationVetoException.hpp>
#include <com/sun/star/util/CloseVetoException.hpp>
#include <com/sun/star/util/XCloseBroadcaster.hpp>

namespace excel {

rtl::Reference<CloseRefuser> CloseRefuser::Keep(
    const css::uno::Reference<css::sheet::XSpreadsheetDocument>& document) {
  rtl::Reference<CloseRefuser> refuser(new CloseRefuser);
  refuser->document_ = document;
  css::uno::Reference<css::util::XCloseBroadcaster>(document, css::uno::UNO_QUERY_THROW)
      ->addCloseListener(css::uno::Reference<css::util::XCloseListener>(refuser.get()));
  return refuser;
}

void CloseRefuser::Release() {
  if (!document_.is()) return;
  try {
    css::uno::Reference<css::util::XCloseBroadcaster>(document_, css::uno::UNO_QUERY_THROW)
        ->removeCloseListener(css::uno::Reference<css::util::XCloseListener>(this));
  } catch (const css::uno::RuntimeException&) {
    // The office is gone, and the document with it.
  }
  document_.clear();
}

void CloseRefuser::queryClosing(const css::lang::EventObject& event, sal_Bool) {
  Note();
  throw css::util::CloseVetoException("The workbook belongs to the run", event.Source);
}

void TerminateRefuser::queryTermination(const css::lang::EventObject& event) {
  Note();
  throw css::frame::TerminationVetoException("The office serves the program's runs", event.Source);
}

}  // namespace excel
