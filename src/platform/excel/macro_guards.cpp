#include "platform/excel/macro_source.h"

namespace excel {

const std::vector<MacroSourceRule>& MacroGuards() {
  static const std::vector<MacroSourceRule> rules;
  return rules;
}

}  // namespace excel
