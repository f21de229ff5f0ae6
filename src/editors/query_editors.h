// The report editor's way to a query's destination and parameters editors.
#pragma once

#include <cstdint>

namespace editors {

void ShowQueryDestinationEditor(std::int32_t queryId);
void ShowQueryParametersEditor(std::int32_t queryId);

}  // namespace editors
