// basEditUserQueryList: taking saved queries into the list of user queries
// and removing user queries. A name taken in stays pending (item key
// kPendingQuery) until OK adds it; a removal is written at once.
#pragma once

#include <cstdint>

class frmEditUserQueryList;

namespace basEditUserQueryList {

// The key a pending entry carries: not in tblUserQueries yet.
constexpr std::int32_t kPendingQuery = -9999;

// The editor, modal; returns when it is closed.
void frmEditUserQueryList_OnShow();

// Takes the highlighted saved query in, unless a user query has its name.
void frmEditUserQueryList_cmdSelect_OnClick(frmEditUserQueryList& form);
// Removes the highlighted user query: a pending one without a word, a saved
// one after the user agreed (warned when reports hold it).
void frmEditUserQueryList_OnDelete(frmEditUserQueryList& form);
// Adds the pending names and closes.
void frmEditUserQueryList_cmdOK_OnClick(frmEditUserQueryList& form);

}  // namespace basEditUserQueryList
