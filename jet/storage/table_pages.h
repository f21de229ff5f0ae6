// The pages a local table uses, gathered to give them back when the table
// is removed: its definition chain, data pages, index pages, the bitmap
// pages of its reference maps, the pages holding nothing but its usage
// maps, and the long-value pages its values leave empty once released.
#pragma once

#include <vector>

#include "storage/pager.h"
#include "storage/text_reader.h"

namespace jet {

// Releases the table's long values in the open transaction (their rows are
// marked deleted) and lists, ascending, every page then only the table uses.
Status ReleaseTablePages(Pager* pager, const TextReader& text, uint32_t tdef_page, std::vector<uint32_t>* pages);

}  // namespace jet
