// Template body of OfficeCall (see office_session.h).
#pragma once

#include <com/sun/star/uno/Exception.hpp>
#include <com/sun/star/uno/RuntimeException.hpp>

#include "platform/excel/uno_text.h"

namespace excel {

template <class Body>
auto OfficeCall(OfficeSession& session, Body&& body) -> decltype(body()) {
  WatchedCall watched(session.Watchdog(), OfficeSession::CallLimit());
  session.CountCall();
  try {
    return body();
  } catch (const css::uno::Exception& e) {
    RaiseOfficeFailure(session, ToQString(e.Message));
  }
}

}  // namespace excel
