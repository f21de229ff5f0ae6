// One running office and the UNO bridge to it. Internal to the facade: only
// the facade's own sources include UNO headers.
#pragma once

#include <QString>
#include <chrono>
#include <memory>

#include <com/sun/star/frame/XDesktop2.hpp>
#include <com/sun/star/uno/XComponentContext.hpp>

#include "platform/excel/call_watchdog.h"
#include "platform/excel/office_vetoes.h"

namespace excel {

namespace css = com::sun::star;
class OfficeProcess;

class OfficeSession {
 public:
  // The office of this program: the running one, or a new one when there is
  // none or the last one died. Must be called on the GUI thread the first time,
  // because the child dies with the thread that started it.
  static std::shared_ptr<OfficeSession> Shared();

  ~OfficeSession();
  bool IsAlive() const;
  // True when documents can be given a view (see OfficeProcess::CanShowViews).
  bool HasView() const;
  pid_t Pid() const;
  // Ends the office process at once; the session is dead afterwards.
  void Kill();
  css::uno::Reference<css::uno::XComponentContext> Context() const { return remote_context_; }
  css::uno::Reference<css::frame::XDesktop2> Desktop() const { return desktop_; }
  CallWatchdog& Watchdog() { return watchdog_; }
  // Notes each end of the office it refused.
  RefusalNote& QuitRefusals() { return *terminate_refuser_; }
  // Keeps serving those that hold it but counts as dead, so the next
  // Shared() starts a new office: this one's macros are not to be trusted.
  void Retire() { retired_ = true; }
  // Office operations made so far (each may be a few UNO calls, never one per row).
  long CallCount() const { return calls_; }
  void CountCall() { ++calls_; }

  // How long one office operation may take before the office is killed.
  static std::chrono::milliseconds CallLimit();

 private:
  OfficeSession();
  void Connect();

  std::unique_ptr<OfficeProcess> process_;
  CallWatchdog watchdog_;
  css::uno::Reference<css::uno::XComponentContext> remote_context_;
  css::uno::Reference<css::frame::XDesktop2> desktop_;
  rtl::Reference<TerminateRefuser> terminate_refuser_ = new TerminateRefuser;
  long calls_ = 0;
  bool retired_ = false;
};

// Turns office failures into the errors Excel would raise, under the watchdog.
// Every facade operation runs its office calls through this.
template <class Body>
auto OfficeCall(OfficeSession& session, Body&& body) -> decltype(body());

[[noreturn]] void RaiseOfficeFailure(OfficeSession& session, const QString& detail);

}  // namespace excel

#include "platform/excel/office_call.inl"
