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

void RewriteLoadedMacros(WorkbookState& book) {
  if (book.macros_rewritten) return;
  book.macros_rewritten = true;
  css::uno::Reference<css::document::XEmbeddedScripts> scripts(book.document, css::uno::UNO_QUERY);
  if (!scripts.is() || !scripts->getBasicLibraries().is()) return;
  css::uno::Reference<css::script::XLibraryContainer> libraries(scripts->getBasicLibraries(), css::uno::UNO_QUERY);
  if (!libraries.is()) return;
  for (const auto& library : libraries->getElementNames()) {
    libraries->loadLibrary(library);
    css::uno::Reference<css::container::XNameContainer> modules(libraries->getByName(library), css::uno::UNO_QUERY);
    if (!modules.is()) continue;
    for (const auto& module : modules->getElementNames()) {
      rtl::OUString source;
      modules->getByName(module) >>= source;
      const QString before = ToQString(source);
      const QString after = RewriteMacroSource(before);
      if (after != before) modules->replaceByName(module, css::uno::Any(ToOUString(after)));
    }
  }
}

}  // namespace excel
