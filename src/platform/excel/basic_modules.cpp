#include "platform/excel/basic_modules.h"

#include <com/sun/star/document/XEmbeddedScripts.hpp>
#include <com/sun/star/script/XLibraryContainer.hpp>

#include "platform/excel/uno_objects.h"
#include "platform/excel/uno_text.h"

namespace excel {

void ForEachBasicModule(const WorkbookState& book, const std::function<void(const BasicModule&)>& visit) {
  css::uno::Reference<css::document::XEmbeddedScripts> scripts(book.document, css::uno::UNO_QUERY);
  if (!scripts.is() || !scripts->getBasicLibraries().is()) return;
  css::uno::Reference<css::script::XLibraryContainer> libraries(scripts->getBasicLibraries(), css::uno::UNO_QUERY);
  if (!libraries.is()) return;
  for (const auto& library : libraries->getElementNames()) {
    libraries->loadLibrary(library);
    css::uno::Reference<css::container::XNameContainer> modules(libraries->getByName(library), css::uno::UNO_QUERY);
    if (!modules.is()) continue;
    for (const auto& name : modules->getElementNames()) {
      rtl::OUString source;
      modules->getByName(name) >>= source;
      visit({ToQString(library), ToQString(name), ToQString(source), modules});
    }
  }
}

}  // namespace excel
