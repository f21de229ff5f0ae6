// Text index keys in Jet's General sort order. A key is the characters'
// primary codes (case and accents folded away) followed by sections that
// only break ties: accent codes, then width/kana flags and unprintable
// characters. Comparing keys bytewise therefore orders texts by letters
// first and by accents second, the way Access sorts.
#include "jet/sort_order.h"

#include <cstdio>
#include <vector>

#include "storage/general_sort_tables.h"

namespace jet {
namespace {

using general_sort::CharCode;
using general_sort::CharKind;

// Jet indexes at most this many UTF-16 units of a text or memo value.
constexpr size_t kMaxIndexedUnits = 255;

void AppendPacked(uint32_t packed, int length, std::string* out) {
  for (int i = length - 1; i >= 0; --i) out->push_back(static_cast<char>((packed >> (8 * i)) & 0xFF));
}

// Reads the code point at `*pos` and advances past it. On malformed UTF-8
// (including encoded surrogates) returns false and advances one byte.
bool NextCodePoint(std::string_view text, size_t* pos, uint32_t* code_point) {
  const size_t i = *pos;
  const auto lead = static_cast<uint8_t>(text[i]);
  const int extra = lead < 0x80 ? 0 : (lead >> 5) == 0x6 ? 1 : (lead >> 4) == 0xE ? 2 : (lead >> 3) == 0x1E ? 3 : -1;
  bool ok = extra >= 0 && i + extra < text.size();
  uint32_t cp = extra <= 0 ? lead : lead & (0x7F >> (extra + 1));
  for (int k = 1; ok && k <= extra; ++k) {
    const auto next = static_cast<uint8_t>(text[i + k]);
    ok = (next & 0xC0) == 0x80;
    cp = (cp << 6) | (next & 0x3F);
  }
  static constexpr uint32_t kMinForLength[] = {0, 0x80, 0x800, 0x10000};
  ok = ok && cp >= kMinForLength[extra] && cp <= 0x10FFFF && !(cp >= 0xD800 && cp <= 0xDFFF);
  *pos = ok ? i + extra + 1 : i + 1;
  *code_point = cp;
  return ok;
}

void AppendUnits(uint32_t cp, std::u16string* units) {
  if (cp < 0x10000) {
    units->push_back(static_cast<char16_t>(cp));
    return;
  }
  cp -= 0x10000;
  units->push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
  units->push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
}

// UTF-8 to UTF-16 units. Strict decoding reports malformed input; lenient
// decoding (for comparisons, which cannot fail) substitutes U+FFFD.
bool DecodeUtf8(std::string_view text, bool lenient, std::u16string* units) {
  size_t pos = 0;
  while (pos < text.size()) {
    uint32_t cp;
    if (!NextCodePoint(text, &pos, &cp)) {
      if (!lenient) return false;
      cp = 0xFFFD;
    }
    AppendUnits(cp, units);
  }
  return true;
}

// Access indexes a prefix of the value and ignores trailing blanks.
void TrimForIndex(std::u16string* units) {
  if (units->size() > kMaxIndexedUnits) units->resize(kMaxIndexedUnits);
  while (!units->empty() && units->back() == u' ') units->pop_back();
}

Status UncoveredError(char16_t unit, const char* order) {
  char buffer[96];
  std::snprintf(buffer, sizeof buffer, "character U+%04X is not in the %s sort order's tables",
                static_cast<unsigned>(unit), order);
  return Status::Unsupported(buffer);
}

// Jet 4 key: primary codes, 0x01, then (when any) accent codes, then the
// flag and unprintable sections each introduced by 0x01 0x01 / 0x01.
class Jet4KeyBuilder {
 public:
  explicit Jet4KeyBuilder(std::string* key) : key_(key) {}

  void Add(const CharCode& code);
  void Finish();

 private:
  void AddAccent(const CharCode& code, size_t position);
  void AddUnprintable(const CharCode& code, size_t position);
  void WriteFlags();

  std::string* key_;
  size_t char_position_ = 0;  // counts characters with primary codes
  // Accent section: one code per character up to the last accented one,
  // 0x02 standing in for unaccented characters.
  bool accents_started_ = false;
  std::string accents_;
  size_t accent_chars_ = 0;
  size_t modifier_prefix_ = 0;  // a leading modifier byte, not a character
  std::string unprintables_;
  std::vector<uint8_t> flags_;
};

void Jet4KeyBuilder::Add(const CharCode& code) {
  const size_t position = char_position_;
  if (code.inline_length > 0) {
    AppendPacked(code.inline_bytes, code.inline_length, key_);
    // Until the accent section starts, a ligature such as "ß" takes one
    // position per letter; after that, one per character (as Access's files
    // show: "großmärkte" vs the Latin-1 run "ÝÞßà").
    char_position_ += accents_started_ ? 1 : general_sort::GeneralLetterCount(code);
  }
  switch (code.kind) {
    case CharKind::kInternational:
    case CharKind::kFlagged:
      if (code.extra_length > 0) AddAccent(code, position);
      if (code.kind == CharKind::kFlagged) flags_.push_back(code.flag);
      break;
    case CharKind::kAccentModifier:
      if (code.extra_bytes != 0) AddAccent(code, position);
      break;
    case CharKind::kUnprintable:
      AddUnprintable(code, position);
      break;
    default:
      break;
  }
}

void Jet4KeyBuilder::AddAccent(const CharCode& code, size_t position) {
  accents_started_ = true;
  if (accent_chars_ < position) {
    accents_.append(position - accent_chars_, '\x02');
    accent_chars_ = position;
  }
  if (code.kind != CharKind::kAccentModifier) {
    AppendPacked(code.extra_bytes, code.extra_length, &accents_);
    accent_chars_ = char_position_;
  } else if (!accents_.empty()) {
    accents_.back() = static_cast<char>(static_cast<uint8_t>(accents_.back()) + code.extra_bytes);
  } else {
    accents_.push_back(static_cast<char>(code.extra_bytes));
    modifier_prefix_ = 1;
  }
}

void Jet4KeyBuilder::AddUnprintable(const CharCode& code, size_t position) {
  // The position counts accent-section bytes as Access lays them out at
  // this point, including placeholders not yet written.
  size_t offset = position;
  if (accents_started_) offset = accents_.size() + (position - accent_chars_) - modifier_prefix_;
  const uint32_t tag = (7 + 4 * offset) | 0x8000;
  unprintables_.push_back(static_cast<char>((tag >> 8) & 0xFF));
  unprintables_.push_back(static_cast<char>(tag & 0xFF));
  unprintables_.push_back('\x06');
  AppendPacked(code.extra_bytes, code.extra_length, &unprintables_);
}

void Jet4KeyBuilder::WriteFlags() {
  // Trailing 3s carry no information; the rest are packed three to a byte.
  while (!flags_.empty() && flags_.back() == 3) flags_.pop_back();
  for (size_t i = 0; i < flags_.size(); i += 3) {
    uint8_t byte = 0x80;
    for (size_t k = 0; k < 3 && i + k < flags_.size(); ++k) byte |= flags_[i + k] << (4 - 2 * k);
    key_->push_back(static_cast<char>(byte));
  }
  key_->append("\xFF\x02\x80\xFF\x80", 5);
}

void Jet4KeyBuilder::Finish() {
  key_->push_back('\x01');
  while (!accents_.empty() && static_cast<uint8_t>(accents_.back()) <= 0x02) accents_.pop_back();
  const bool has_flags = !flags_.empty();
  const bool has_unprintables = !unprintables_.empty();
  key_->append(accents_);
  if (has_flags || has_unprintables) {
    key_->append("\x01\x01", 2);
    if (has_flags) {
      WriteFlags();
      if (has_unprintables) key_->push_back('\xFF');
    }
    if (has_unprintables) {
      key_->push_back('\x01');
      key_->append(unprintables_);
    }
  }
  key_->push_back('\x00');
}

// Jet 3 key: primary codes, then either 0x00 or a nibble string of accent
// codes framed by zero nibbles, where 2 stands for each significant letter
// since the previous accented one.
class Jet3KeyBuilder {
 public:
  explicit Jet3KeyBuilder(std::string* key) : key_(key) {}

  void Add(const CharCode& code);
  void Finish();

 private:
  void PutNibble(uint8_t nibble);

  std::string* key_;
  size_t pending_letters_ = 0;
  bool has_accents_ = false;
  std::string nibbles_;
  size_t nibble_count_ = 0;
};

void Jet3KeyBuilder::PutNibble(uint8_t nibble) {
  if (nibble_count_ % 2 == 0) {
    nibbles_.push_back(static_cast<char>((nibble & 0x0F) << 4));
  } else {
    nibbles_.back() = static_cast<char>(static_cast<uint8_t>(nibbles_.back()) | (nibble & 0x0F));
  }
  ++nibble_count_;
}

void Jet3KeyBuilder::Add(const CharCode& code) {
  AppendPacked(code.inline_bytes, code.inline_length, key_);
  if (code.kind == CharKind::kSignificant || code.kind == CharKind::kSimple) {
    pending_letters_ += general_sort::General97SignificantCount(code);
  } else if (code.kind == CharKind::kInternational) {
    if (!has_accents_) PutNibble(0);
    has_accents_ = true;
    for (; pending_letters_ > 0; --pending_letters_) PutNibble(2);
    PutNibble(static_cast<uint8_t>(code.extra_bytes));
  }
}

void Jet3KeyBuilder::Finish() {
  if (!has_accents_) {
    key_->push_back('\x00');
    return;
  }
  PutNibble(0);
  key_->append(nibbles_);
}

// Comparisons cannot fail, so there a character outside the tables gets a
// code that sorts after every letter.
void AppendUncoveredCode(char16_t unit, std::string* out) { AppendPacked(0xFFFF0000u | unit, 4, out); }

template <typename KeyBuilder>
Status AddUnits(const std::u16string& units, const CharCode& (*lookup)(char16_t), const char* order, bool lenient,
                KeyBuilder* builder, std::string* key) {
  for (char16_t unit : units) {
    const CharCode& code = lookup(unit);
    if (code.kind != CharKind::kUncovered) {
      builder->Add(code);
    } else if (lenient) {
      AppendUncoveredCode(unit, key);
    } else {
      return UncoveredError(unit, order);
    }
  }
  builder->Finish();
  return Status::OK();
}

Status BuildKey(const std::u16string& units, SortOrderVersion version, bool lenient, std::string* key) {
  key->clear();
  if (version == SortOrderVersion::kGeneral97) {
    Jet3KeyBuilder builder(key);
    return AddUnits(units, &general_sort::General97Code, "Jet 3 General", lenient, &builder, key);
  }
  Jet4KeyBuilder builder(key);
  return AddUnits(units, &general_sort::GeneralCode, "General", lenient, &builder, key);
}

// The primary (letter) bytes of a Jet 4 key, one at a time, without
// building the key. Every such byte is above the 0x01 that ends the
// letters, so a text whose letters run out first sorts first.
class PrimaryCodeReader {
 public:
  explicit PrimaryCodeReader(std::string_view text) : text_(text) {}

  // The next byte, or -1 after the last.
  int Next() {
    while (pending_pos_ == pending_.size()) {
      if (!Refill()) return -1;
    }
    return static_cast<uint8_t>(pending_[pending_pos_++]);
  }

 private:
  bool Refill() {
    if (pos_ >= text_.size()) return false;
    uint32_t cp;
    if (!NextCodePoint(text_, &pos_, &cp)) cp = 0xFFFD;
    units_.clear();
    AppendUnits(cp, &units_);
    pending_.clear();
    pending_pos_ = 0;
    for (char16_t unit : units_) {
      const CharCode& code = general_sort::GeneralCode(unit);
      if (code.kind == CharKind::kUncovered) {
        AppendUncoveredCode(unit, &pending_);
      } else {
        AppendPacked(code.inline_bytes, code.inline_length, &pending_);
      }
    }
    return true;
  }

  std::string_view text_;
  size_t pos_ = 0;
  std::u16string units_;
  std::string pending_;
  size_t pending_pos_ = 0;
};

// Whole values are compared (no index truncation); texts with equal keys
// are equal, as Access's = and GROUP BY treat them.
int CompareWholeKeys(std::string_view utf8_a, std::string_view utf8_b, SortOrderVersion version) {
  std::u16string units_a, units_b;
  DecodeUtf8(utf8_a, /*lenient=*/true, &units_a);
  DecodeUtf8(utf8_b, /*lenient=*/true, &units_b);
  std::string key_a, key_b;
  BuildKey(units_a, version, /*lenient=*/true, &key_a);
  BuildKey(units_b, version, /*lenient=*/true, &key_b);
  const int c = key_a.compare(key_b);
  return c < 0 ? -1 : c > 0 ? 1 : 0;
}

}  // namespace

Status GeneralSortKey(std::string_view utf8_text, SortOrderVersion version, std::string* key) {
  std::u16string units;
  if (!DecodeUtf8(utf8_text, /*lenient=*/false, &units)) {
    return Status::InvalidArgument("text for an index key is not valid UTF-8");
  }
  TrimForIndex(&units);
  return BuildKey(units, version, /*lenient=*/false, key);
}

int CompareGeneral(std::string_view utf8_a, std::string_view utf8_b, SortOrderVersion version) {
  if (utf8_a == utf8_b) return 0;
  if (version == SortOrderVersion::kGeneral97) return CompareWholeKeys(utf8_a, utf8_b, version);
  // Most texts differ in their letters, which lead the key: compare those
  // as they are produced and build whole keys only on a tie.
  PrimaryCodeReader a(utf8_a), b(utf8_b);
  for (;;) {
    const int x = a.Next(), y = b.Next();
    if (x != y) return x < y ? -1 : 1;  // a finished text (-1) sorts first
    if (x < 0) break;
  }
  return CompareWholeKeys(utf8_a, utf8_b, version);
}

}  // namespace jet
