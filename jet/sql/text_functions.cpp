// Jet's text functions: positions and lengths count characters, not bytes.
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

#include "jet/sort_order.h"
#include "sql/function_support.h"

namespace jet::sql {
namespace {

// The longest text Space and String build: a million characters.
constexpr int64_t kLongestRepeat = int64_t{1} << 20;

bool AnyNull(int argc, sqlite3_value** argv) {
  for (int i = 0; i < argc; ++i)
    if (IsNull(argv[i])) return true;
  return false;
}

#define JET_NULL_IN_NULL_OUT                \
  if (AnyNull(argc, argv)) {                \
    sqlite3_result_null(ctx);               \
    return;                                 \
  }

void ResultChars(sqlite3_context* ctx, std::u32string_view s) { ResultText(ctx, EncodeUtf8(s)); }

void Left(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  std::u32string s = DecodeUtf8(ArgText(argv[0]));
  int64_t n = std::max<int64_t>(0, ArgInt(argv[1]));
  ResultChars(ctx, std::u32string_view(s).substr(0, static_cast<size_t>(std::min<int64_t>(n, s.size()))));
}

void Right(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  std::u32string s = DecodeUtf8(ArgText(argv[0]));
  size_t n = static_cast<size_t>(std::clamp<int64_t>(ArgInt(argv[1]), 0, s.size()));
  ResultChars(ctx, std::u32string_view(s).substr(s.size() - n));
}

void Mid(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (IsNull(argv[0]) || IsNull(argv[1]) || (argc > 2 && IsNull(argv[2]))) {
    sqlite3_result_null(ctx);
    return;
  }
  std::u32string s = DecodeUtf8(ArgText(argv[0]));
  int64_t start = std::max<int64_t>(1, ArgInt(argv[1]));
  if (static_cast<size_t>(start) > s.size()) {
    ResultText(ctx, "");
    return;
  }
  size_t len = argc > 2 ? static_cast<size_t>(std::max<int64_t>(0, ArgInt(argv[2]))) : std::u32string::npos;
  ResultChars(ctx, std::u32string_view(s).substr(static_cast<size_t>(start - 1), len));
}

void Len(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  sqlite3_result_int64(ctx, static_cast<int64_t>(DecodeUtf8(ArgText(argv[0])).size()));
}

// InStr([start,] text, find [, compare]); compare 0 is binary, else case-blind.
void InStr(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  int first = 0;
  int64_t start = 1;
  if (argc >= 3) {
    start = ArgInt(argv[0]);
    first = 1;
  }
  bool binary = argc == 4 && ArgInt(argv[3]) == 0;
  std::u32string text = DecodeUtf8(binary ? ArgText(argv[first]) : FoldCase(ArgText(argv[first])));
  std::u32string find = DecodeUtf8(binary ? ArgText(argv[first + 1]) : FoldCase(ArgText(argv[first + 1])));
  if (start < 1) {
    sqlite3_result_null(ctx);
    return;
  }
  if (static_cast<size_t>(start) > text.size() + (find.empty() ? 1 : 0)) {
    sqlite3_result_int(ctx, 0);
    return;
  }
  size_t at = text.find(find, static_cast<size_t>(start - 1));
  sqlite3_result_int64(ctx, at == std::u32string::npos ? 0 : static_cast<int64_t>(at + 1));
}

// InStrRev(text, find [, start [, compare]]): start -1 is the end; compare 0
// is binary, anything else case-blind.
void InStrRev(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  bool binary = argc > 3 && ArgInt(argv[3]) == 0;
  std::u32string text = DecodeUtf8(binary ? ArgText(argv[0]) : FoldCase(ArgText(argv[0])));
  std::u32string find = DecodeUtf8(binary ? ArgText(argv[1]) : FoldCase(ArgText(argv[1])));
  // The match has to end by start, not merely begin there.
  size_t from = std::u32string::npos;
  if (argc > 2 && ArgInt(argv[2]) > 0) {
    size_t limit = std::min<size_t>(static_cast<size_t>(ArgInt(argv[2])), text.size());
    if (find.size() > limit) return sqlite3_result_int(ctx, 0);
    from = limit - find.size();
  }
  size_t at = text.rfind(find, from);
  sqlite3_result_int64(ctx, at == std::u32string::npos ? 0 : static_cast<int64_t>(at + 1));
}

void TrimImpl(sqlite3_context* ctx, sqlite3_value* v, bool left, bool right) {
  if (IsNull(v)) {
    sqlite3_result_null(ctx);
    return;
  }
  std::string s = ArgText(v);
  size_t b = 0, e = s.size();
  if (left)
    while (b < e && s[b] == ' ') ++b;
  if (right)
    while (e > b && s[e - 1] == ' ') --e;
  ResultText(ctx, s.substr(b, e - b));
}
void Trim(sqlite3_context* ctx, int, sqlite3_value** argv) { TrimImpl(ctx, argv[0], true, true); }
void LTrim(sqlite3_context* ctx, int, sqlite3_value** argv) { TrimImpl(ctx, argv[0], true, false); }
void RTrim(sqlite3_context* ctx, int, sqlite3_value** argv) { TrimImpl(ctx, argv[0], false, true); }

void UCase(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  ResultText(ctx, UpperCase(ArgText(argv[0])));
}
void LCase(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  ResultText(ctx, FoldCase(ArgText(argv[0])));
}

// Replace(text, find, with [, start [, count [, compare]]]): case-blind by default.
void Replace(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  std::u32string text = DecodeUtf8(ArgText(argv[0]));
  std::u32string find = DecodeUtf8(ArgText(argv[1]));
  std::u32string with = DecodeUtf8(ArgText(argv[2]));
  size_t start = argc > 3 ? static_cast<size_t>(std::max<int64_t>(1, ArgInt(argv[3]))) : 1;
  int64_t count = argc > 4 ? ArgInt(argv[4]) : -1;
  bool binary = argc > 5 && ArgInt(argv[5]) == 0;
  if (start > text.size()) {
    ResultText(ctx, "");
    return;
  }
  text = text.substr(start - 1);
  if (find.empty()) {
    ResultChars(ctx, text);
    return;
  }
  std::u32string folded = binary ? text : DecodeUtf8(FoldCase(EncodeUtf8(text)));
  std::u32string folded_find = binary ? find : DecodeUtf8(FoldCase(EncodeUtf8(find)));
  std::u32string out;
  size_t i = 0;
  while (count != 0) {
    size_t at = folded.find(folded_find, i);
    if (at == std::u32string::npos) break;
    out.append(text, i, at - i);
    out += with;
    i = at + find.size();
    if (count > 0) --count;
  }
  out.append(text, i, std::u32string::npos);
  ResultChars(ctx, out);
}

// The length Space and String are asked for, a Long: more than a Long is
// Overflow, less than nothing an invalid argument, and more than this
// engine builds in one value is out of string space rather than cut short.
std::optional<size_t> RepeatCount(sqlite3_context* ctx, sqlite3_value* v) {
  const double n = sqlite3_value_type(v) == SQLITE_INTEGER ? static_cast<double>(sqlite3_value_int64(v)) : ArgNumber(v);
  if (!(std::fabs(n) <= std::numeric_limits<int32_t>::max())) {
    sqlite3_result_error(ctx, "Overflow", -1);
    return std::nullopt;
  }
  const int64_t count = ArgInt(v);
  if (count < 0) {
    sqlite3_result_error(ctx, "Invalid procedure call or argument", -1);
    return std::nullopt;
  }
  if (count > kLongestRepeat) {
    sqlite3_result_error(ctx, "Out of string space", -1);
    return std::nullopt;
  }
  return static_cast<size_t>(count);
}

void Space(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  if (const auto n = RepeatCount(ctx, argv[0])) ResultText(ctx, std::string(*n, ' '));
}

void String(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  const auto count = RepeatCount(ctx, argv[0]);
  if (!count) return;
  const size_t n = *count;
  char32_t c;
  if (sqlite3_value_type(argv[1]) == SQLITE_TEXT) {
    std::u32string s = DecodeUtf8(ArgText(argv[1]));
    if (s.empty()) {
      sqlite3_result_null(ctx);
      return;
    }
    c = s[0];
  } else {
    c = static_cast<char32_t>(ArgInt(argv[1]) & 0xFFFF);
  }
  ResultChars(ctx, std::u32string(n, c));
}

constexpr SortOrderVersion kJet3Order = SortOrderVersion::kGeneral97;
constexpr SortOrderVersion kJet4Order = SortOrderVersion::kGeneral;

// The General order of the connection's file, registered as user data.
SortOrderVersion OrderOf(const void* data) {
  return data ? *static_cast<const SortOrderVersion*>(data) : SortOrderVersion::kGeneral;
}

// StrComp(a, b [, compare]): -1, 0, 1; case-blind General order unless compare is 0.
void StrComp(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (IsNull(argv[0]) || IsNull(argv[1])) {
    sqlite3_result_null(ctx);
    return;
  }
  std::string a = ArgText(argv[0]), b = ArgText(argv[1]);
  int c = (argc > 2 && ArgInt(argv[2]) == 0) ? a.compare(b) : CompareGeneral(a, b, OrderOf(sqlite3_user_data(ctx)));
  sqlite3_result_int(ctx, c < 0 ? -1 : c > 0 ? 1 : 0);
}

// Codes 128-159 are the Windows-1252 characters in Access.
constexpr char32_t k1252[32] = {0x20AC, 0x81, 0x201A, 0x192, 0x201E, 0x2026, 0x2020, 0x2021,
                                0x2C6, 0x2030, 0x160, 0x2039, 0x152, 0x8D, 0x17D, 0x8F,
                                0x90, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                0x2DC, 0x2122, 0x161, 0x203A, 0x153, 0x9D, 0x17E, 0x178};

// Asc gives the Windows-1252 code ('?' for characters it lacks); AscW the
// Unicode one.
void AscImpl(sqlite3_context* ctx, int argc, sqlite3_value** argv, bool wide) {
  JET_NULL_IN_NULL_OUT
  std::u32string s = DecodeUtf8(ArgText(argv[0]));
  if (s.empty()) {
    sqlite3_result_null(ctx);
    return;
  }
  char32_t c = s[0];
  int64_t code = static_cast<int64_t>(c);
  if (!wide && (c >= 0x80 && (c < 0xA0 || c > 0xFF))) {
    code = '?';
    for (int i = 0; i < 32; ++i)
      if (k1252[i] == c) code = 128 + i;
  }
  sqlite3_result_int64(ctx, code);
}
void Asc(sqlite3_context* ctx, int argc, sqlite3_value** argv) { AscImpl(ctx, argc, argv, false); }
void AscW(sqlite3_context* ctx, int argc, sqlite3_value** argv) { AscImpl(ctx, argc, argv, true); }

void Chr(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  int64_t code = ArgInt(argv[0]);
  if (code < 0 || code > 0xFFFF) {
    sqlite3_result_null(ctx);
    return;
  }
  char32_t c = (code >= 128 && code < 160) ? k1252[code - 128] : static_cast<char32_t>(code);
  ResultChars(ctx, std::u32string(1, c));
}

void StrReverse(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  JET_NULL_IN_NULL_OUT
  std::u32string s = DecodeUtf8(ArgText(argv[0]));
  std::reverse(s.begin(), s.end());
  ResultChars(ctx, s);
}

// a & b: Null only when both are Null.
void Amp(sqlite3_context* ctx, int, sqlite3_value** argv) {
  if (IsNull(argv[0]) && IsNull(argv[1])) {
    sqlite3_result_null(ctx);
    return;
  }
  ResultText(ctx, ArgText(argv[0]) + ArgText(argv[1]));
}

// jet_text(value, type): the value in Jet's text form, Null kept.
void TypedTextFn(sqlite3_context* ctx, int, sqlite3_value** argv) {
  if (IsNull(argv[0])) {
    sqlite3_result_null(ctx);
    return;
  }
  ResultText(ctx, TypedText(argv[0], static_cast<SqlType>(sqlite3_value_int(argv[1]))));
}

int CollateGeneral(void* order, int len_a, const void* a, int len_b, const void* b) {
  return CompareGeneral(std::string_view(static_cast<const char*>(a), static_cast<size_t>(len_a)),
                        std::string_view(static_cast<const char*>(b), static_cast<size_t>(len_b)), OrderOf(order));
}

struct Fn {
  const char* name;
  int args;
  void (*fn)(sqlite3_context*, int, sqlite3_value**);
};

constexpr Fn kFunctions[] = {
    {"jet_left", 2, Left},     {"jet_right", 2, Right},     {"jet_mid", -1, Mid},
    {"jet_len", 1, Len},       {"jet_instr", -1, InStr},    {"jet_instrrev", -1, InStrRev},
    {"jet_trim", 1, Trim},     {"jet_ltrim", 1, LTrim},     {"jet_rtrim", 1, RTrim},
    {"jet_ucase", 1, UCase},   {"jet_lcase", 1, LCase},     {"jet_replace", -1, Replace},
    {"jet_space", 1, Space},   {"jet_string", 2, String},   {"jet_strcomp", -1, StrComp},
    {"jet_asc", 1, Asc},       {"jet_ascw", 1, AscW},       {"jet_chr", 1, Chr},
    {"jet_strreverse", 1, StrReverse},
    {"jet_amp", 2, Amp},       {"jet_text", 2, TypedTextFn},
};

}  // namespace

void RegisterTextFunctions(sqlite3* db, SortOrderVersion order) {
  // The order travels as the functions' user data: one of two constants.
  void* data = const_cast<SortOrderVersion*>(order == SortOrderVersion::kGeneral97 ? &kJet3Order : &kJet4Order);
  for (const Fn& f : kFunctions) {
    sqlite3_create_function(db, f.name, f.args, SQLITE_UTF8 | SQLITE_DETERMINISTIC, data, f.fn, nullptr, nullptr);
  }
  sqlite3_create_collation(db, "JETGENERAL", SQLITE_UTF8, data, CollateGeneral);
}

}  // namespace jet::sql
