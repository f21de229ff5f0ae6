#include "platform/excel/macro_source.h"

#include "platform/excel/basic_modules.h"
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
  ForEachBasicModule(book, [&](const BasicModule& module) {
    const QString rewritten = RewriteMacroSource(module.source);
    if (rewritten == module.source) return;
    module.modules->replaceByName(ToOUString(module.name), css::uno::Any(ToOUString(rewritten)));
    book.written_modules.push_back({module.library, module.name, module.source});
  });
}

void RestoreWrittenMacros(WorkbookState& book) {
  if (!book.written_modules.empty()) {
    ForEachBasicModule(book, [&](const BasicModule& module) {
      for (const auto& written : book.written_modules) {
        if (written.library == module.library && written.module == module.name) {
          module.modules->replaceByName(ToOUString(module.name), css::uno::Any(ToOUString(written.source)));
        }
      }
    });
  }
  book.written_modules.clear();
  book.macros_rewritten = false;
}

}  // namespace excel
