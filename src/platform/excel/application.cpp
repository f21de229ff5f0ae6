#include "platform/excel/application.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>
#include <QUrl>

#include <com/sun/star/beans/PropertyValue.hpp>
#include <com/sun/star/frame/XStorable.hpp>

#include "platform/excel/desktop_opener.h"
#include "platform/excel/excel_errors.h"
#include "platform/excel/file_format.h"
#include "platform/excel/macro_runner.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"

namespace excel {
namespace {

Application::Opener& CurrentOpener() {
  static Application::Opener opener = OpenWithDesktop;
  return opener;
}

// A copy of the workbook as it is now, for a run that stopped before saving:
// the output file stays as the run left it.
QString SaveSnapshot(WorkbookState& book) {
  const QString stem =
      book.file_name.isEmpty() ? QStringLiteral("Workbook") : QFileInfo(book.file_name).completeBaseName();
  const FileFormat format = FormatOfFile(book.file_name);
  QTemporaryFile file(QDir::tempPath() + QStringLiteral("/") + stem + QStringLiteral("-XXXXXX.") + ExtensionOf(format));
  file.setAutoRemove(false);
  if (!file.open()) RaiseApplicationDefined(QStringLiteral("cannot create a temporary copy of the workbook"));
  const QString path = file.fileName();
  file.close();
  css::uno::Reference<css::frame::XStorable>(book.document, css::uno::UNO_QUERY_THROW)
      ->storeToURL(ToOUString(QUrl::fromLocalFile(path).toString(QUrl::FullyEncoded)),
                   SequenceOf({Property("FilterName", css::uno::Any(rtl::OUString::createFromAscii(OfficeFilterOf(format)))),
                               Property("Overwrite", css::uno::Any(true))}));
  return path;
}

bool SameFileName(const QString& path, const QString& name) {
  return !path.isEmpty() && QFileInfo(path).fileName().compare(QFileInfo(name).fileName(), Qt::CaseInsensitive) == 0;
}

// A workbook is known by the file it was saved as or, before that, by the
// template it came from. Excel looks in the active workbook first.
std::shared_ptr<WorkbookState> FindBook(const ApplicationState& app, const QString& name) {
  for (auto it = app.workbooks.rbegin(); it != app.workbooks.rend(); ++it) {
    const auto& book = *it;
    if (name.isEmpty() || SameFileName(book->file_name, name) || SameFileName(book->template_name, name)) return book;
  }
  return nullptr;
}

}  // namespace

Application::Application() : state_(std::make_shared<ApplicationState>()) { state_->session = OfficeSession::Shared(); }

std::shared_ptr<Application> Application::Create() { return std::shared_ptr<Application>(new Application()); }

Application::~Application() = default;

bool Application::IsAlive() const { return state_->session && state_->session->IsAlive(); }
long Application::OfficePid() const { return state_->session ? state_->session->Pid() : -1; }
long Application::OfficeCallCount() const { return state_->session ? state_->session->CallCount() : 0; }
bool Application::DisplayAlerts() const { return state_->display_alerts; }
void Application::SetDisplayAlerts(bool on) { state_->display_alerts = on; }
bool Application::ScreenUpdating() const { return state_->screen_updating; }
// Excel stops redrawing while ScreenUpdating is False. The office's
// counterpart is a controller lock on each open document: its views are not
// updated cell by cell during a paste, only once when the lock goes.
// Workbooks opened while it is False are locked as they open.
void Application::SetScreenUpdating(bool on) {
  if (state_->screen_updating == on) return;
  state_->screen_updating = on;
  OfficeCall(*state_->session, [&] {
    for (auto& book : state_->workbooks) LockViews(*book, !on);
  });
}
bool Application::Visible() const { return state_->visible; }

void Application::SetVisible(bool on) {
  state_->visible = on;
  if (!on) return;
  if (auto book = ActiveWorkbook()) HandOver(*book);
}

std::optional<Workbook> Application::ActiveWorkbook() const {
  if (state_->workbooks.empty()) return std::nullopt;
  return Workbook(state_->workbooks.back());
}

void Application::SetDesktopOpener(Opener opener) {
  CurrentOpener() = opener ? std::move(opener) : Opener(OpenWithDesktop);
}

// The office works without a view the user could see, so "visible" means: the
// workbook leaves the office (no lock file stays behind) and opens in the
// desktop's spreadsheet application, showing what the run has produced.
void Application::HandOver(Workbook& book) {
  auto& state = *book.State();
  const QString shown = OfficeCall(*state_->session, [&] {
    RequireOpen(state);
    if (state.file_name.isEmpty() || !book.Saved()) return SaveSnapshot(state);
    // Only the active sheet changed since the save: keep that in the file.
    if (state.view_changed) book.Save();
    return state.file_name;
  });
  book.Close();
  CurrentOpener()(shown);
}

QVariant Application::Run(const QString& macro) {
  const auto name = ParseMacroName(macro);
  if (!name) RaiseApplicationDefined(QStringLiteral("The macro '%1' cannot be found.").arg(macro));
  const auto book = FindBook(*state_, name->book);
  if (!book) RaiseApplicationDefined(QStringLiteral("The macro '%1' cannot be found.").arg(macro));
  RunMacro(*book, *name);
  return QVariant();
}

}  // namespace excel
