#include "editors/query_editors.h"

#include "editors/bas_query_destination.h"
#include "editors/bas_query_parameters.h"

namespace editors {

void ShowQueryDestinationEditor(std::int32_t queryId) { basQueryDestination::frmQueryDestination_OnShow(queryId); }

void ShowQueryParametersEditor(std::int32_t queryId) { basQueryParameters::frmQueryParameters_OnShow(queryId); }

}  // namespace editors
