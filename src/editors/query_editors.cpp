#include "editors/query_editors.h"

#if __has_include("editors/bas_query_destination.h")
#include "editors/bas_query_destination.h"
#define TABULON_HAS_DESTINATION_EDITOR 1
#endif
#if __has_include("editors/bas_query_parameters.h")
#include "editors/bas_query_parameters.h"
#define TABULON_HAS_PARAMETERS_EDITOR 1
#endif

namespace editors {

void ShowQueryDestinationEditor([[maybe_unused]] std::int32_t queryId) {
#ifdef TABULON_HAS_DESTINATION_EDITOR
  basQueryDestination::frmQueryDestination_OnShow(queryId);
#endif
}

void ShowQueryParametersEditor([[maybe_unused]] std::int32_t queryId) {
#ifdef TABULON_HAS_PARAMETERS_EDITOR
  basQueryParameters::frmQueryParameters_OnShow(queryId);
#endif
}

}  // namespace editors
