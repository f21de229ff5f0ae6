#include "platform/excel/macro_runner.h"

#include <QRegularExpression>
#include <optional>

#include <com/sun/star/container/XNameContainer.hpp>
#include <com/sun/star/document/XEmbeddedScripts.hpp>
#include <com/sun/star/script/XLibraryContainer.hpp>
#include <com/sun/star/script/provider/XScriptProviderSupplier.hpp>

#include "platform/excel/excel_errors.h"
#include "platform/excel/macro_source.h"
#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"

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

bool DefinesProcedure(const QString& source, const QString& procedure) {
  const QRegularExpression definition(
      QStringLiteral(R"(^[ \t]*(?:(?:Public|Private|Static)[ \t]+)*(?:Sub|Function)[ \t]+%1\b)")
          .arg(QRegularExpression::escape(procedure)),
      QRegularExpression::CaseInsensitiveOption | QRegularExpression::MultilineOption);
  return definition.match(source).hasMatch();
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
                "  %1 = \"Error \" & Err.Number & \": \" & Err.Description\n"
                "End Function\n")
                .arg(QLatin1String(kProbeName), name.procedure, QLatin1String(kSucceeded));
  return source;
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
  const QString answer = OfficeCall(*book.session, [&] {
    RequireOpen(book);
    RewriteLoadedMacros(book);
    const auto home = FindMacro(book, name);
    if (!home)
      RaiseApplicationDefined(QStringLiteral("The macro '%1' cannot be found.").arg(name.procedure));
    const auto libraries = BasicLibraries(book);
    css::uno::Reference<css::container::XNameContainer> modules(libraries->getByName(ToOUString(home->library)),
                                                                css::uno::UNO_QUERY_THROW);
    const auto probe = ToOUString(QLatin1String(kProbeName));
    if (modules->hasByName(probe)) modules->removeByName(probe);
    modules->insertByName(probe, css::uno::Any(ToOUString(ProbeSource(*home, name))));
    QString result;
    try {
      result = CallProbe(book, *home);
    } catch (...) {
      modules->removeByName(probe);
      throw;
    }
    // The probe must never reach the saved workbook.
    modules->removeByName(probe);
    book.view_changed = true;
    return result;
  });
  if (answer == QLatin1String(kSucceeded)) return;
  if (answer.isEmpty())
    RaiseApplicationDefined(
        QStringLiteral("The macro '%1' cannot be run: the workbook's macro project does not compile.")
            .arg(name.procedure));
  RaiseApplicationDefined(QStringLiteral("The macro '%1' failed. %2").arg(name.procedure, answer));
}

}  // namespace excel
