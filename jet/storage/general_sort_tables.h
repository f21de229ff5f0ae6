// The character code tables of Jet's General sort order (generated data,
// see general_sort_data.inc), one entry per UTF-16 unit.
#pragma once

#include <cstdint>

namespace jet::general_sort {

// How a character contributes to a text index key.
enum class CharKind : uint8_t {
  kUncovered,       // not in the tables: the key cannot be built
  kIgnored,         // contributes nothing
  kSimple,          // inline bytes only
  kSignificant,     // (Jet 3) inline bytes; counts as a position for accent codes
  kInternational,   // inline bytes plus an accent code
  kFlagged,         // (Jet 4) inline bytes, optional accent code, a two-bit flag
  kUnprintable,     // (Jet 4) a positional code in the key's trailing section
  kAccentModifier,  // (Jet 4) adds its code to the previous accent code
};

struct CharCode {
  CharKind kind;
  uint8_t inline_length;  // bytes in inline_bytes
  uint8_t extra_length;   // bytes in extra_bytes
  uint8_t flag;           // kFlagged: 2 or 3
  uint32_t inline_bytes;  // big-endian, right-aligned
  uint16_t extra_bytes;   // accent code, unprintable code or modifier
};

// Jet 4 General ("legacy" in newer Access): every UTF-16 unit; surrogates
// are kUncovered.
const CharCode& GeneralCode(char16_t unit);

// Jet 3 General: the Windows-1252 repertoire; kUncovered for anything else.
const CharCode& General97Code(char16_t unit);

// Letters a Jet 4 code stands for: ligatures such as "ß" (coded as "ss") count
// once per letter where Access numbers positions in a key.
int GeneralLetterCount(const CharCode& code);

// Jet 3: how many of the letters a code stands for are significant ones
// (those with accented forms), which Jet 3 counts for accent positions.
int General97SignificantCount(const CharCode& code);

}  // namespace jet::general_sort
