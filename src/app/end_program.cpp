#include "app/end_program.h"

#include <cstdlib>

namespace app {
namespace {

EndHandler& Handler() {
  static EndHandler handler;
  return handler;
}

}  // namespace

void EndProgramNow() {
  if (Handler()) {
    Handler()();
    return;
  }
  std::exit(0);
}

void SetEndProgramHandler(EndHandler handler) { Handler() = std::move(handler); }

}  // namespace app
