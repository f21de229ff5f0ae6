#include "storage/general_sort_tables.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace jet::general_sort {
namespace {

struct General97Mapping {
  char16_t unit;
  uint8_t byte;
};

// Short entry constructors keep the generated file small; they exist only
// around the include.
#define Q {CharKind::kUncovered, 0, 0, 0, 0, 0}
#define X {CharKind::kIgnored, 0, 0, 0, 0, 0}
#define S(n, b) {CharKind::kSimple, n, 0, 0, b, 0}
#define G(n, b) {CharKind::kSignificant, n, 0, 0, b, 0}
#define I(n, b, m, e) {CharKind::kInternational, n, m, 0, b, e}
#define Z(n, b, m, e, f) {CharKind::kFlagged, n, m, f, b, e}
#define U(e) {CharKind::kUnprintable, 0, 1, 0, 0, e}
#define P(e) {CharKind::kAccentModifier, 0, 1, 0, 0, e}
#include "storage/general_sort_data.inc"
#undef Q
#undef X
#undef S
#undef G
#undef I
#undef Z
#undef U
#undef P

constexpr CharCode kUncoveredCode = {CharKind::kUncovered, 0, 0, 0, 0, 0};

using ByteSet = std::array<bool, 256>;

// A code byte that some character has as its whole one-byte code is a
// letter by itself; any other byte starts a two-byte letter code.
ByteSet OneByteLetterCodes() {
  ByteSet set{};
  for (const CharCode& code : kGeneralCodes) {
    if (code.inline_length == 1) set[code.inline_bytes & 0xFF] = true;
  }
  return set;
}

ByteSet SignificantCodes97() {
  ByteSet set{};
  for (const CharCode& code : kGeneral97Codes) {
    if (code.kind == CharKind::kSignificant) set[code.inline_bytes & 0xFF] = true;
  }
  return set;
}

uint8_t InlineByte(const CharCode& code, int index) {
  return static_cast<uint8_t>(code.inline_bytes >> (8 * (code.inline_length - 1 - index)));
}

}  // namespace

int GeneralLetterCount(const CharCode& code) {
  static const ByteSet one_byte_letters = OneByteLetterCodes();
  int letters = 0;
  for (int i = 0; i < code.inline_length; ++letters) i += one_byte_letters[InlineByte(code, i)] ? 1 : 2;
  return letters;
}

int General97SignificantCount(const CharCode& code) {
  static const ByteSet significant = SignificantCodes97();
  int count = 0;
  for (int i = 0; i < code.inline_length; ++i) count += significant[InlineByte(code, i)];
  return count;
}

const CharCode& GeneralCode(char16_t unit) { return kGeneralCodes[unit]; }

const CharCode& General97Code(char16_t unit) {
  if (unit < 256) return kGeneral97Codes[unit];
  // Jet 3 text is stored in Windows-1252, so the only characters above
  // Latin-1 it can hold are the ones that code page places in 0x80-0x9F.
  const auto* end = std::end(kGeneral97Mappings);
  const auto* it = std::lower_bound(std::begin(kGeneral97Mappings), end, unit,
                                    [](const General97Mapping& m, char16_t u) { return m.unit < u; });
  if (it == end || it->unit != unit) return kUncoveredCode;
  return kGeneral97Codes[it->byte];
}

}  // namespace jet::general_sort
