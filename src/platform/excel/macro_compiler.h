// Tells whether a macro module compiles, and at which statement it stops.
// The office reports a compile error to nobody over UNO, and one module that
// does not compile stops every macro of its document; so each module is
// compiled alone, in a hidden document of our own, by calling a function we
// append to it: the call answers only when the module compiled.
// Internal to the facade.
#pragma once

#include <QString>
#include <memory>
#include <optional>

#include <com/sun/star/container/XNameContainer.hpp>
#include <com/sun/star/lang/XComponent.hpp>

#include "platform/excel/office_session.h"

namespace excel {

class MacroCompiler {
 public:
  explicit MacroCompiler(std::shared_ptr<OfficeSession> session);
  ~MacroCompiler();
  MacroCompiler(const MacroCompiler&) = delete;
  MacroCompiler& operator=(const MacroCompiler&) = delete;

  bool Compiles(const QString& source);

 private:
  std::shared_ptr<OfficeSession> session_;
  css::uno::Reference<css::lang::XComponent> document_;
  css::uno::Reference<css::container::XNameContainer> modules_;
};

struct CompileFailure {
  int line = 0;  // 1-based in the source; 0 when no one statement explains it
  QString text;  // that line as written
};

// nullopt when the source compiles. Otherwise the first statement whose
// removal lets it compile, found procedure by procedure.
std::optional<CompileFailure> FindCompileFailure(MacroCompiler& compiler, const QString& source);

}  // namespace excel
