#include "platform/excel/macro_source.h"

#include <com/sun/star/container/XNameContainer.hpp>
#include <com/sun/star/document/XEmbeddedScripts.hpp>
#include <com/sun/star/script/XLibraryContainer.hpp>

#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"

namespace excel {

QString RewriteMacroSource(const QString& source) {
  QString text = source;
  for (const auto* table : {&MacroGuards(), &MacroTranslations()}) {
    for (const MacroSourceRule& rule : *table) text = rule.apply(text);
  }
  return text;
}

namespace {

css::uno::Reference<css::script::XLibraryContainer> BasicLibrariesOf(const WorkbookState& book) {
  css::uno::Reference<css::document::XEmbeddedScripts> scripts(book.document, css::uno::UNO_QUERY);
  if (!scripts.is() || !scripts->getBasicLibraries().is()) return {};
  return css::uno::Reference<css::script::XLibraryContainer>(scripts->getBasicLibraries(), css::uno::UNO_QUERY);
}

css::uno::Reference<css::container::XNameContainer> ModulesOf(
    const css::uno::Reference<css::script::XLibraryContainer>& libraries, const rtl::OUString& library) {
  libraries->loadLibrary(library);
  return css::uno::Reference<css::container::XNameContainer>(libraries->getByName(library), css::uno::UNO_QUERY);
}

}  // namespace

void RewriteLoadedMacros(WorkbookState& book) {
  if (book.macros_rewritten) return;
  book.macros_rewritten = true;
  const auto libraries = BasicLibrariesOf(book);
  if (!libraries.is()) return;
  for (const auto& library : libraries->getElementNames()) {
    const auto modules = ModulesOf(libraries, library);
    if (!modules.is()) continue;
    for (const auto& module : modules->getElementNames()) {
      rtl::OUString source;
      modules->getByName(module) >>= source;
      const QString before = ToQString(source);
      const QString after = RewriteMacroSource(before);
      if (after == before) continue;
      modules->replaceByName(module, css::uno::Any(ToOUString(after)));
      book.written_modules.push_back({ToQString(library), ToQString(module), before});
    }
  }
}

void RestoreWrittenMacros(WorkbookState& book) {
  const auto libraries = BasicLibrariesOf(book);
  for (const auto& written : book.written_modules) {
    if (!libraries.is()) break;
    const auto modules = ModulesOf(libraries, ToOUString(written.library));
    const auto module = ToOUString(written.module);
    if (modules.is() && modules->hasByName(module)) {
      modules->replaceByName(module, css::uno::Any(ToOUString(written.source)));
    }
  }
  book.written_modules.clear();
  book.macros_rewritten = false;
}

}  // namespace excel
