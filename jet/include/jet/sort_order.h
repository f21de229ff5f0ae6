// Jet's General sort order: how Access compares and indexes text.
#pragma once

#include <string>
#include <string_view>

#include "jet/status.h"

namespace jet {

// Sort-order ids as the file stores them.
constexpr uint16_t kGeneralSortOrder = 0x0409;      // "General" (Jet 4)
constexpr uint16_t kGeneralLegacySortOrder = 0x0409; // Jet 3 "General" stores the same id

enum class SortOrderVersion { kGeneral97, kGeneral };

// The index key bytes Jet writes for `utf8_text` in a text index entry
// (ascending order; a descending index inverts them). Unsupported when a
// character is outside what the tables cover.
Status GeneralSortKey(std::string_view utf8_text, SortOrderVersion version, std::string* key);

// Compares two texts as Access's General order does: case and accents
// ignored at the first level. <0, 0, >0. Usable as an SQLite collation.
// Jet 3 files use their own version of the order, which places some
// letters differently (ø after z, for one).
int CompareGeneral(std::string_view utf8_a, std::string_view utf8_b,
                   SortOrderVersion version = SortOrderVersion::kGeneral);

}  // namespace jet
