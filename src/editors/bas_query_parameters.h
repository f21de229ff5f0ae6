// basQueryParameters: reading a user query's stored parameter values into
// the query parameters editor beside its saved query's parameters, checking
// them against the parameters' types and saving them.
#pragma once

#include <QStringList>
#include <cstdint>
#include <optional>

class frmQueryParameters;

namespace basQueryParameters {

// The editor, modal, with the query `queryId` shown; returns when closed.
void frmQueryParameters_OnShow(std::int32_t queryId);

// Reads the query's parameters and stored values into the window; false
// after reporting that it could not.
bool frmQueryParameters_ShowQuery(frmQueryParameters& form, std::int32_t queryId);
// The values in the window, or nullopt after refusing one (its cell marked
// red, the problem told).
std::optional<QStringList> frmQueryParameters_UpdateUDT(frmQueryParameters& form);
// Saves the shown values; false when one was refused or the save failed.
bool frmQueryParameters_Save(frmQueryParameters& form);

void frmQueryParameters_lstUserQueries_OnClick(frmQueryParameters& form);
void frmQueryParameters_ShowParameterType(frmQueryParameters& form);
void frmQueryParameters_cmdOK_OnClick(frmQueryParameters& form);

}  // namespace basQueryParameters
