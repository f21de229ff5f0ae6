#include "platform/excel/office_session.h"

#include <QThread>
#include <csignal>
#include <cstdlib>
#include <mutex>

#include <com/sun/star/bridge/UnoUrlResolver.hpp>
#include <com/sun/star/connection/NoConnectException.hpp>
#include <com/sun/star/frame/Desktop.hpp>
#include <com/sun/star/lang/DisposedException.hpp>
#include <cppuhelper/bootstrap.hxx>
#include <rtl/bootstrap.hxx>

#include "platform/errors/app_error.h"
#include "platform/excel/excel_errors.h"
#include "platform/excel/office_process.h"
#include "platform/excel/uno_text.h"

namespace excel {
namespace {

// The office asks for one restart after it has set up a new profile.
constexpr int kRestartRequested = 81;

// One office serves every run of the program, as one Excel does. Never
// destroyed: at exit the UNO runtime may already be gone, so releasing remote
// references then would crash; EndOfficeAtExit stops the office instead.
std::shared_ptr<OfficeSession>& KeptAlive() {
  static auto* kept = new std::shared_ptr<OfficeSession>();
  return *kept;
}

void EndOfficeAtExit() {
  if (auto& kept = KeptAlive()) kept->Kill();
}

css::uno::Reference<css::uno::XComponentContext> LocalContext() {
  static css::uno::Reference<css::uno::XComponentContext> context = [] {
    // Without the office API types in the local type manager the first call
    // that passes an office struct crashes in the bridge.
    const QString folder = OfficeProcess::ProgramFolder();
    const QString more_types = QStringLiteral("file://%1/types/offapi.rdb file://%1/types/oovbaapi.rdb").arg(folder);
    rtl::Bootstrap::set("URE_MORE_TYPES", ToOUString(more_types));
    return cppu::defaultBootstrap_InitialComponentContext();
  }();
  return context;
}

}  // namespace

std::shared_ptr<OfficeSession> OfficeSession::Shared() {
  auto& kept = KeptAlive();
  if (kept && kept->IsAlive()) return kept;
  kept.reset();
  kept = std::shared_ptr<OfficeSession>(new OfficeSession());
  static const bool registered = (std::atexit(EndOfficeAtExit), true);
  (void)registered;
  return kept;
}

std::chrono::milliseconds OfficeSession::CallLimit() {
  bool ok = false;
  const int seconds = qEnvironmentVariableIntValue("TABULON_OFFICE_CALL_LIMIT", &ok);
  return std::chrono::seconds(ok && seconds > 0 ? seconds : 300);
}

OfficeSession::OfficeSession()
    : watchdog_([this] {
        if (const pid_t pid = Pid(); pid > 0) ::kill(-pid, SIGKILL);
      }) {
  process_ = std::make_unique<OfficeProcess>();
  Connect();
}

OfficeSession::~OfficeSession() {
  desktop_.clear();
  remote_context_.clear();
  process_.reset();
}

void OfficeSession::Kill() {
  if (process_) process_->Kill();
}

pid_t OfficeSession::Pid() const { return process_ ? process_->Pid() : -1; }
bool OfficeSession::HasView() const { return process_ && process_->CanShowViews(); }

bool OfficeSession::IsAlive() const {
  if (retired_ || !process_ || !process_->IsRunning() || watchdog_.Fired()) return false;
  try {
    // A cheap round trip: a dead bridge throws DisposedException.
    desktop_->getComponents();
    return true;
  } catch (const css::uno::Exception&) {
    return false;
  }
}

void OfficeSession::Connect() {
  auto resolver = css::bridge::UnoUrlResolver::create(LocalContext());
  const auto url = ToOUString(process_->ConnectUrl());
  bool restarted = false;
  for (int attempt = 0; attempt < 600; ++attempt) {
    if (const auto code = process_->ExitCode()) {
      if (*code != kRestartRequested || restarted)
        throw platform::AppError(1004, QStringLiteral("LibreOffice stopped while starting (exit code %1)").arg(*code));
      restarted = true;
      process_->Respawn();
      continue;
    }
    try {
      WatchedCall watched(watchdog_, CallLimit());
      remote_context_.set(resolver->resolve(url), css::uno::UNO_QUERY_THROW);
      desktop_ = css::frame::Desktop::create(remote_context_);
      desktop_->addTerminateListener(css::uno::Reference<css::frame::XTerminateListener>(terminate_refuser_.get()));
      return;
    } catch (const css::connection::NoConnectException&) {
      QThread::msleep(100);
    }
  }
  throw platform::AppError(1004, QStringLiteral("LibreOffice did not answer on its pipe within a minute"));
}

[[noreturn]] void RaiseOfficeFailure(OfficeSession& session, const QString& detail) {
  if (session.Watchdog().Fired())
    throw platform::AppError(kRemoteCallFailed, QStringLiteral("The office did not answer in time and was stopped."),
                             OfficeErrorSource());
  if (!session.IsAlive())
    throw platform::AppError(kRemoteCallFailed, QStringLiteral("The remote procedure call failed."), OfficeErrorSource());
  RaiseApplicationDefined(detail);
}

}  // namespace excel
