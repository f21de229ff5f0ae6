#include "sql/like_pattern.h"

#include "sql/function_support.h"

namespace jet::sql {
namespace {

// Matches one [...] set at p[*i] (just past '['); advances *i past ']'.
bool MatchSet(const std::u32string& p, size_t* i, char32_t c) {
  bool negate = *i < p.size() && p[*i] == '!';
  if (negate) ++*i;
  bool hit = false;
  bool first = true;
  while (*i < p.size() && (p[*i] != ']' || first)) {
    first = false;
    char32_t lo = p[*i];
    if (*i + 2 < p.size() && p[*i + 1] == '-' && p[*i + 2] != ']') {
      char32_t hi = p[*i + 2];
      if (c >= lo && c <= hi) hit = true;
      *i += 3;
    } else {
      if (c == lo) hit = true;
      ++*i;
    }
  }
  if (*i < p.size()) ++*i;  // ]
  return hit != negate;
}

bool Match(const std::u32string& t, size_t ti, const std::u32string& p, size_t pi) {
  while (pi < p.size()) {
    char32_t pc = p[pi];
    if (pc == '*') {
      while (pi < p.size() && p[pi] == '*') ++pi;
      if (pi == p.size()) return true;
      for (size_t k = ti; k <= t.size(); ++k)
        if (Match(t, k, p, pi)) return true;
      return false;
    }
    if (ti >= t.size()) return false;
    char32_t tc = t[ti];
    if (pc == '?') {
      ++pi;
    } else if (pc == '#') {
      if (tc < '0' || tc > '9') return false;
      ++pi;
    } else if (pc == '[') {
      ++pi;
      if (!MatchSet(p, &pi, tc)) return false;
    } else {
      if (pc != tc) return false;
      ++pi;
    }
    ++ti;
  }
  return ti == t.size();
}

}  // namespace

bool LikeMatches(std::string_view text, std::string_view pattern) {
  std::u32string t = DecodeUtf8(FoldCase(text));
  std::u32string p = DecodeUtf8(FoldCase(pattern));
  return Match(t, 0, p, 0);
}

}  // namespace jet::sql
