#include "platform/excel/macro_runner.h"

#include <chrono>
#include <optional>
#include <thread>

#include <com/sun/star/container/XNameContainer.hpp>
#include <com/sun/star/document/XEmbeddedScripts.hpp>
#include <com/sun/star/script/XLibraryContainer.hpp>
#include <com/sun/star/script/provider/XScriptProviderSupplier.hpp>

#include "platform/excel/excel_errors.h"
#include "platform/excel/macro_failure.h"
#include "platform/excel/macro_source.h"
#include "platform/excel/macro_stop_trap.h"
#include "platform/excel/office_process.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"
#include "platform/excel/vba_code.h"

namespace excel {
namespace {

constexpr char kProbeName[] = "TabulonRunProbe";
constexpr char kSucceeded[] = "TabulonRunProbe:ok";

struct MacroHome {
  QString library;
  QString module;
  bool vba_module = false;  // the module runs with VBA support switched on
};

css::uno::Reference<css::script::XLibraryContainer> BasicLibraries(WorkbookState& book) {
  css::uno::Reference<css::document::XEmbeddedScripts> scripts(book.document, css::uno::UNO_QUERY_THROW);
  auto libraries = scripts->getBasicLibraries();
  if (!libraries.is()) RaiseApplicationDefined(QStringLiteral("the workbook has no macros"));
  return css::uno::Reference<css::script::XLibraryContainer>(libraries, css::uno::UNO_QUERY_THROW);
}

std::optional<MacroHome> FindMacro(WorkbookState& book, const MacroName& name) {
  const auto libraries = BasicLibraries(book);
  for (const auto& library : libraries->getElementNames()) {
    libraries->loadLibrary(library);
    css::uno::Reference<css::container::XNameContainer> modules(libraries->getByName(library), css::uno::UNO_QUERY);
    if (!modules.is()) continue;
    for (const auto& module : modules->getElementNames()) {
      if (!name.module.isEmpty() && ToQString(module).compare(name.module, Qt::CaseInsensitive) != 0) continue;
      rtl::OUString source;
      modules->getByName(module) >>= source;
      const QString text = ToQString(source);
      if (DefinesProcedure(text, name.procedure))
        return MacroHome{ToQString(library), ToQString(module),
                         text.contains(QStringLiteral("Option VBASupport 1"), Qt::CaseInsensitive)};
    }
  }
  return std::nullopt;
}

QString ProbeSource(const MacroHome& home, const MacroName& name) {
  QString source;
  if (home.vba_module) source += QStringLiteral("Option VBASupport 1\n");
  source += QStringLiteral(
                "Function %1() As String\n"
                "  On Error GoTo Failed\n"
                "  %2\n"
                "  %1 = \"%3\"\n"
                "  Exit Function\n"
                "Failed:\n"
                "  %1 = %4\n"
                "End Function\n")
                .arg(QLatin1String(kProbeName), name.procedure, QLatin1String(kSucceeded), ProbeStopAnswer());
  return source;
}

std::vector<ModuleText> LibraryModules(WorkbookState& book, const QString& library) {
  css::uno::Reference<css::container::XNameContainer> modules(BasicLibraries(book)->getByName(ToOUString(library)),
                                                              css::uno::UNO_QUERY_THROW);
  std::vector<ModuleText> texts;
  for (const auto& module : modules->getElementNames()) {
    rtl::OUString source;
    modules->getByName(module) >>= source;
    texts.push_back({ToQString(module), ToQString(source)});
  }
  return texts;
}

void ForgetRefusals(WorkbookState& book) {
  if (book.close_refuser.is()) book.close_refuser->Take();
  book.session->QuitRefusals().Take();
}

// Application.Quit stops Basic at once, so the probe answers nothing, and
// asks the office to end only afterwards, from its event loop; once refused,
// the office may ask again after a later macro. So only a macro whose probe
// was stopped can have quit: it waits a moment for the request.
bool QuitWasRefused(OfficeSession& session, bool basic_stopped) {
  using namespace std::chrono_literals;
  if (!basic_stopped) {
    session.QuitRefusals().Take();
    return false;
  }
  const auto deadline = std::chrono::steady_clock::now() + 1s;
  while (!session.QuitRefusals().Take()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(50ms);
  }
  return true;
}

// Whatever else the macro did, reaching a refused close or end is what it is told by.
void RaiseOnRefusal(WorkbookState& book, const MacroName& name, const MacroHome& home, bool basic_stopped) {
  const bool closing = book.close_refuser.is() && book.close_refuser->Take();
  if (!closing && !QuitWasRefused(*book.session, basic_stopped)) return;
  // A refused close or end leaves the office's Basic without its active
  // workbook: later macros there fail. The next run gets a new office.
  book.session->Retire();
  throw platform::AppError(kApplicationDefined, DescribeRefusal(name.procedure, home.module, closing),
                           OfficeErrorSource());
}

QString CallProbe(WorkbookState& book, const MacroHome& home) {
  css::uno::Reference<css::script::provider::XScriptProviderSupplier> supplier(book.document,
                                                                                css::uno::UNO_QUERY_THROW);
  const QString url = QStringLiteral("vnd.sun.star.script:%1.%2.%2?language=Basic&location=document")
                          .arg(home.library, QLatin1String(kProbeName));
  auto script = supplier->getScriptProvider()->getScript(ToOUString(url));
  css::uno::Sequence<sal_Int16> out_index;
  css::uno::Sequence<css::uno::Any> out;
  const css::uno::Any result = script->invoke({}, out_index, out);
  rtl::OUString text;
  result >>= text;
  return ToQString(text);
}

}  // namespace

bool HasMacro(WorkbookState& book, const MacroName& name) {
  return OfficeCall(*book.session, [&] {
    RequireOpen(book);
    return FindMacro(book, name).has_value();
  });
}

void RunMacro(WorkbookState& book, const MacroName& name) {
  std::optional<MacroHome> home;
  const QString answer = OfficeCall(*book.session, [&] {
    RequireOpen(book);
    RewriteLoadedMacros(book);
    home = FindMacro(book, name);
    if (!home)
      RaiseApplicationDefined(QStringLiteral("The macro '%1' cannot be found.").arg(name.procedure));
    const auto libraries = BasicLibraries(book);
    css::uno::Reference<css::container::XNameContainer> modules(libraries->getByName(ToOUString(home->library)),
                                                                css::uno::UNO_QUERY_THROW);
    const auto probe = ToOUString(QLatin1String(kProbeName));
    if (modules->hasByName(probe)) modules->removeByName(probe);
    modules->insertByName(probe, css::uno::Any(ToOUString(ProbeSource(*home, name))));
    QString result;
    ForgetRefusals(book);
    try {
      result = CallProbe(book, *home);
    } catch (const css::uno::Exception&) {
      if (!book.session->IsAlive()) {
        RemoveLockLeftFor(book.file_name);
        throw platform::AppError(kRemoteCallFailed,
                                 DescribeOfficeLoss(name.procedure, home->module, book.session->Watchdog().Fired()),
                                 OfficeErrorSource());
      }
      modules->removeByName(probe);
      throw;
    }
    // The probe must never reach the saved workbook.
    modules->removeByName(probe);
    book.view_changed = true;
    return result;
  });
  RaiseOnRefusal(book, name, *home, answer.isEmpty());
  if (answer == QLatin1String(kSucceeded)) return;
  if (answer.isEmpty())
    RaiseApplicationDefined(
        QStringLiteral("The macro '%1' cannot be run: the workbook's macro project does not compile.")
            .arg(name.procedure));
  const auto stop = ParseStopAnswer(answer);
  if (!stop) RaiseApplicationDefined(QStringLiteral("The macro '%1' failed. %2").arg(name.procedure, answer));
  const auto trapped = ReadTrappedError(stop->text);
  std::optional<StopPlace> place;
  if (trapped)
    place = OfficeCall(*book.session, [&] {
      return PlaceOfStop(LibraryModules(book, home->library), home->module, trapped->procedure, trapped->office_line);
    });
  throw platform::AppError(kApplicationDefined,
                           DescribeStop(name.procedure, home->module, place, stop->number,
                                        trapped ? trapped->text : stop->text),
                           OfficeErrorSource());
}

}  // namespace excel
