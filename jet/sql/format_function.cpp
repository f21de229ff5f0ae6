// Format(value, format): the named formats and the common custom date and
// number formats, always with US-English names and '.' as the decimal point.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstdio>
#include <vector>

#include "sql/date_math.h"
#include "sql/function_support.h"
#include "sql/lexer.h"

namespace jet::sql {
namespace {

// Format rounds half away from zero, and on the number as VBA prints it (15
// significant digits): Format(1.005, "0.00") is 1.01 where Round gives 1,
// and Format(2.5, "0") is 3.
std::string DecimalFixed(double v, int decimals) {
  v = std::fabs(v);
  if (v == 0 || !std::isfinite(v)) return FixedDigits(0, decimals);
  std::string sci = ScientificDigits(v, 14);  // d.ddddddddddddddE+xx
  size_t e = sci.find('E');
  std::string digits = sci.substr(0, 1) + sci.substr(2, e - 2);
  int keep = std::atoi(sci.c_str() + e + 1) + 1 + decimals;  // digits up to the last one shown
  std::string n;  // the value times 10^decimals, as whole digits
  if (keep < 0) {
    n = "0";
  } else if (keep == 0) {
    n = digits[0] >= '5' ? "1" : "0";
  } else if (keep >= static_cast<int>(digits.size())) {
    n = digits + std::string(static_cast<size_t>(keep) - digits.size(), '0');
  } else {
    n = digits.substr(0, static_cast<size_t>(keep));
    if (digits[static_cast<size_t>(keep)] >= '5') {
      int i = static_cast<int>(n.size()) - 1;
      while (i >= 0 && n[static_cast<size_t>(i)] == '9') n[static_cast<size_t>(i--)] = '0';
      if (i < 0) n.insert(0, "1");
      else ++n[static_cast<size_t>(i)];
    }
  }
  if (static_cast<int>(n.size()) <= decimals) n.insert(0, static_cast<size_t>(decimals) + 1 - n.size(), '0');
  std::string out = n.substr(0, n.size() - static_cast<size_t>(decimals));
  if (decimals > 0) out += "." + n.substr(n.size() - static_cast<size_t>(decimals));
  return out;
}

std::string Fixed(double v, int decimals, bool thousands) {
  std::string s = DecimalFixed(v, decimals);
  if (thousands) {
    size_t dot = s.find('.');
    size_t end = dot == std::string::npos ? s.size() : dot;
    for (int i = static_cast<int>(end) - 3; i > 0; i -= 3) s.insert(static_cast<size_t>(i), ",");
  }
  bool zero = s.find_first_not_of("0.,") == std::string::npos;
  return (v < 0 && !zero ? "-" : "") + s;
}

// Custom date/time formats: d dd ddd dddd m mm mmm mmmm yy yyyy q y w ww
// h hh n nn s ss AM/PM am/pm A/P, "literal", \c, and / : as themselves.
std::string FormatDate(double serial, const std::string& fmt) {
  CivilDateTime c = CivilFromSerial(serial);
  std::string out;
  bool twelve_hour = false;
  {
    std::string f = FoldCase(fmt);
    twelve_hour = f.find("am/pm") != std::string::npos || f.find("a/p") != std::string::npos ||
                  f.find("ampm") != std::string::npos;
  }
  auto count_run = [&](size_t i, char ch) {
    size_t n = 0;
    while (i + n < fmt.size() && std::tolower(static_cast<unsigned char>(fmt[i + n])) == ch) ++n;
    return n;
  };
  bool last_was_hour = false;
  for (size_t i = 0; i < fmt.size();) {
    char ch = static_cast<char>(std::tolower(static_cast<unsigned char>(fmt[i])));
    char buf[32];
    if (ch == '"') {
      size_t e = fmt.find('"', i + 1);
      if (e == std::string::npos) e = fmt.size();
      out += fmt.substr(i + 1, e - i - 1);
      i = e + 1;
      continue;
    }
    if (ch == '\\' && i + 1 < fmt.size()) {
      out += fmt[i + 1];
      i += 2;
      continue;
    }
    if (ch == 'a' && WordIs(std::string_view(fmt).substr(i, 5), "AM/PM")) {
      bool upper = fmt[i] == 'A';
      out += c.hour < 12 ? (upper ? "AM" : "am") : (upper ? "PM" : "pm");
      i += 5;
      continue;
    }
    if (ch == 'a' && WordIs(std::string_view(fmt).substr(i, 3), "A/P")) {
      bool upper = fmt[i] == 'A';
      out += c.hour < 12 ? (upper ? "A" : "a") : (upper ? "P" : "p");
      i += 3;
      continue;
    }
    size_t n = count_run(i, ch);
    switch (ch) {
      case 'd':
        if (n == 1) out += std::to_string(c.day);
        else if (n == 2) { std::snprintf(buf, sizeof buf, "%02d", c.day); out += buf; }
        else if (n == 5) out += FormatDate(serial, "m/d/yyyy");  // ddddd: the short date
        else if (n >= 6) {                                      // dddddd: the long date
          out += FormatDate(serial, "dddd, mmmm d, yyyy");
          n = 6;
        } else {
          int w = WeekdayOfDays(DaysFromCivil(c.year, c.month, c.day) - DaysFromCivil(1899, 12, 30));
          out += WeekdayName(w, n == 3);
        }
        break;
      case 't':  // ttttt: the long time
        if (n >= 5) {
          out += FormatDate(serial, "h:nn:ss AM/PM");
          n = 5;
        } else {
          out += fmt.substr(i, n);
        }
        break;
      case 'c': out += DateText(serial); n = 1; break;
      case 'm':
        if (last_was_hour && n <= 2) {  // m after h means minutes
          std::snprintf(buf, sizeof buf, n == 2 ? "%02d" : "%d", c.minute);
          out += buf;
        } else if (n == 1) out += std::to_string(c.month);
        else if (n == 2) { std::snprintf(buf, sizeof buf, "%02d", c.month); out += buf; }
        else { out += MonthName(c.month, n == 3); if (n > 4) n = 4; }
        break;
      case 'y':
        if (n >= 3) {
          std::snprintf(buf, sizeof buf, "%04lld", static_cast<long long>(c.year));
          out += buf;
          n = n >= 4 ? 4 : 3;
        } else if (n == 2) {
          std::snprintf(buf, sizeof buf, "%02lld", static_cast<long long>(c.year % 100));
          out += buf;
        } else {
          out += std::to_string(DaysFromCivil(c.year, c.month, c.day) - DaysFromCivil(c.year, 1, 1) + 1);
        }
        break;
      case 'q': out += std::to_string((c.month - 1) / 3 + 1); n = 1; break;
      case 'w':
        if (n == 1) out += std::to_string(WeekdayOfDays(DaysFromCivil(c.year, c.month, c.day) - DaysFromCivil(1899, 12, 30)));
        else {
          int64_t doy = DaysFromCivil(c.year, c.month, c.day) - DaysFromCivil(c.year, 1, 1);
          int off = WeekdayOfDays(DaysFromCivil(c.year, 1, 1) - DaysFromCivil(1899, 12, 30)) - 1;
          out += std::to_string((doy + off) / 7 + 1);
          n = 2;
        }
        break;
      case 'h': {
        int h = twelve_hour ? (c.hour % 12 == 0 ? 12 : c.hour % 12) : c.hour;
        std::snprintf(buf, sizeof buf, n >= 2 ? "%02d" : "%d", h);
        out += buf;
        n = n >= 2 ? 2 : 1;
        break;
      }
      case 'n':
        std::snprintf(buf, sizeof buf, n >= 2 ? "%02d" : "%d", c.minute);
        out += buf;
        n = n >= 2 ? 2 : 1;
        break;
      case 's':
        std::snprintf(buf, sizeof buf, n >= 2 ? "%02d" : "%d", c.second);
        out += buf;
        n = n >= 2 ? 2 : 1;
        break;
      default:
        out += fmt[i];
        n = 1;
        break;
    }
    if (ch == 'h') last_was_hour = true;
    else if (ch != ':' && ch != ' ' && ch != 'm') last_was_hour = false;
    i += n;
  }
  return out;
}

// Custom number formats: 0 # . , % and literals; sections split by ';'
// for positive, negative, zero and Null.
std::string FormatNumber(double v, const std::string& fmt_all) {
  std::vector<std::string> sections;
  {
    std::string cur;
    bool quoted = false;
    for (char ch : fmt_all) {
      if (ch == '"') quoted = !quoted;
      if (ch == ';' && !quoted) {
        sections.push_back(cur);
        cur.clear();
      } else {
        cur += ch;
      }
    }
    sections.push_back(cur);
  }
  std::string fmt = sections[0];
  bool use_negative_section = v < 0 && sections.size() > 1 && !sections[1].empty();
  if (use_negative_section) fmt = sections[1];
  if (v == 0 && sections.size() > 2 && !sections[2].empty()) fmt = sections[2];
  // An exponent (E+00, E-00, e+0 ...): the mantissa keeps as many whole
  // digits as the format has zeros before the point.
  {
    bool quoted = false;
    for (size_t i = 0; i + 1 < fmt.size(); ++i) {
      if (fmt[i] == '"') quoted = !quoted;
      if (quoted || (fmt[i] != 'E' && fmt[i] != 'e') || (fmt[i + 1] != '+' && fmt[i + 1] != '-')) continue;
      std::string mantissa_fmt = fmt.substr(0, i);
      size_t j = i + 2, exp_digits = 0;
      while (j < fmt.size() && (fmt[j] == '0' || fmt[j] == '#')) exp_digits += fmt[j++] == '0';
      int whole = 0, frac = 0;
      size_t point = mantissa_fmt.find('.');
      for (size_t k = 0; k < mantissa_fmt.size(); ++k)
        if (mantissa_fmt[k] == '0' || mantissa_fmt[k] == '#') (k < point ? whole : frac)++;
      whole = std::max(whole, 1);
      double ax = std::fabs(v);
      int exponent = ax == 0 ? 0 : static_cast<int>(std::floor(std::log10(ax))) - (whole - 1);
      double m = ax / std::pow(10.0, exponent);
      if (std::atof(DecimalFixed(m, frac).c_str()) >= std::pow(10.0, whole)) m = ax / std::pow(10.0, ++exponent);
      std::string exp_text = std::to_string(std::abs(exponent));
      if (exp_text.size() < exp_digits) exp_text.insert(0, exp_digits - exp_text.size(), '0');
      std::string sign = exponent < 0 ? "-" : fmt[i + 1] == '+' ? "+" : "";
      std::string out = FormatNumber(m, mantissa_fmt) + fmt[i] + sign + exp_text + fmt.substr(j);
      return v < 0 && !use_negative_section ? "-" + out : out;
    }
  }
  bool percent = fmt.find('%') != std::string::npos;
  double x = std::fabs(v) * (percent ? 100 : 1);
  // Digits wanted before and after the point, and thousands separators.
  size_t dot = std::string::npos;
  int int_zeros = 0, frac_zeros = 0, frac_hashes = 0;
  bool thousands = false, in_quote = false;
  for (size_t i = 0; i < fmt.size(); ++i) {
    char ch = fmt[i];
    if (ch == '"') in_quote = !in_quote;
    if (in_quote) continue;
    if (ch == '.' && dot == std::string::npos) dot = i;
    else if (ch == '0') (dot == std::string::npos ? int_zeros : frac_zeros)++;
    else if (ch == '#' && dot != std::string::npos) frac_hashes++;
    else if (ch == ',' && dot == std::string::npos) thousands = true;
  }
  int decimals = frac_zeros + frac_hashes;
  std::string digits = Fixed(x, decimals, false);
  std::string whole = digits.substr(0, digits.find('.'));
  std::string frac = digits.find('.') == std::string::npos ? "" : digits.substr(digits.find('.') + 1);
  while (static_cast<int>(frac.size()) > frac_zeros && !frac.empty() && frac.back() == '0') frac.pop_back();
  if (whole == "0" && int_zeros == 0) whole.clear();
  while (static_cast<int>(whole.size()) < int_zeros) whole.insert(0, "0");
  if (thousands) {
    for (int i = static_cast<int>(whole.size()) - 3; i > 0; i -= 3) whole.insert(static_cast<size_t>(i), ",");
  }
  // Lay the number over the format: the first digit placeholder takes the
  // whole part, the point the fraction; literals stay where they are.
  std::string out;
  bool placed_whole = false;
  in_quote = false;
  for (size_t i = 0; i < fmt.size(); ++i) {
    char ch = fmt[i];
    if (ch == '"') {
      in_quote = !in_quote;
      continue;
    }
    if (in_quote) {
      out += ch;
      continue;
    }
    if (ch == '\\' && i + 1 < fmt.size()) {
      out += fmt[++i];
    } else if (ch == '0' || ch == '#' || ch == ',') {
      if (dot != std::string::npos && i > dot) continue;
      if (!placed_whole) {
        out += whole;
        placed_whole = true;
      }
    } else if (ch == '.' && i == dot) {
      if (!placed_whole) {
        out += whole;
        placed_whole = true;
      }
      if (!frac.empty() || frac_zeros > 0) out += "." + frac;
    } else {
      out += ch;
    }
  }
  if (!placed_whole) out += whole;
  if (v < 0 && !use_negative_section && digits.find_first_not_of("0.") != std::string::npos) out = "-" + out;
  return out;
}

// The number a value stands for. Currency arrives in ten-thousandths; a
// Single is taken at its own seven digits, so that 1.1 stays 1.1.
double NumberOf(sqlite3_value* v, SqlType type) {
  if (type == SqlType::kCurrency && sqlite3_value_type(v) == SQLITE_INTEGER) return sqlite3_value_int64(v) / 10000.0;
  double x = ArgNumber(v);
  if (type == SqlType::kSingle && sqlite3_value_type(v) == SQLITE_FLOAT && std::isfinite(x))
    x = std::atof(GeneralDigits(x, 7).c_str());
  return x;
}

std::string FormatNamed(sqlite3_value* v, SqlType type, const std::string& name, bool* handled) {
  *handled = true;
  std::string n = FoldCase(name);
  double x = NumberOf(v, type);
  if (n == "general number") return NumberText(x);
  if (n == "currency") {
    std::string s = "$" + Fixed(std::fabs(x), 2, true);
    return x < 0 ? "(" + s + ")" : s;
  }
  if (n == "fixed") return Fixed(x, 2, false);
  if (n == "standard") return Fixed(x, 2, true);
  if (n == "percent") return Fixed(x * 100, 2, false) + "%";
  if (n == "scientific") {
    return ScientificDigits(x, 2);
  }
  if (n == "yes/no") return x != 0 ? "Yes" : "No";
  if (n == "true/false") return x != 0 ? "True" : "False";
  if (n == "on/off") return x != 0 ? "On" : "Off";
  if (n == "general date") return DateText(x);
  if (n == "long date") return FormatDate(x, "dddd, mmmm d, yyyy");
  if (n == "medium date") return FormatDate(x, "dd-mmm-yy");
  if (n == "short date") return FormatDate(x, "m/d/yyyy");
  if (n == "long time") return FormatDate(x, "h:nn:ss AM/PM");
  if (n == "medium time") return FormatDate(x, "hh:nn AM/PM");
  if (n == "short time") return FormatDate(x, "hh:nn");
  *handled = false;
  return {};
}

// A text format: @ (a character or a blank), & (a character or nothing),
// < and > (lower and upper case) and ! (fill from the left).
bool IsTextFormat(const std::string& fmt) {
  bool quoted = false, placeholder = false, only_case = !fmt.empty();
  for (size_t i = 0; i < fmt.size(); ++i) {
    char ch = fmt[i];
    if (ch == '"') quoted = !quoted;
    if (quoted || ch == '"') continue;
    if (ch == '\\') {
      ++i;
      only_case = false;
      continue;
    }
    if (ch == '@' || ch == '&') placeholder = true;
    if (ch != '<' && ch != '>' && ch != '!') only_case = false;
  }
  return placeholder || only_case;
}

std::string FormatText(const std::string& value, const std::string& fmt_all) {
  // The first section is for text, the second for a zero-length string.
  std::string fmt = fmt_all;
  {
    bool quoted = false;
    for (size_t i = 0; i < fmt_all.size(); ++i) {
      if (fmt_all[i] == '"') quoted = !quoted;
      if (fmt_all[i] == ';' && !quoted) {
        fmt = fmt_all.substr(0, i);
        std::string empty = fmt_all.substr(i + 1);
        if (value.empty() && !empty.empty()) fmt = empty;
        break;
      }
    }
  }
  // Placeholders (@ or &) and literals, in order.
  struct Token {
    char kind;  // '@', '&' or 'L' for a literal
    char32_t ch;
  };
  std::vector<Token> tokens;
  bool upper = false, lower = false, from_left = false;
  std::u32string f = DecodeUtf8(fmt);
  for (size_t i = 0; i < f.size(); ++i) {
    char32_t ch = f[i];
    if (ch == '"') {
      for (++i; i < f.size() && f[i] != '"'; ++i) tokens.push_back({'L', f[i]});
    } else if (ch == '\\' && i + 1 < f.size()) {
      tokens.push_back({'L', f[++i]});
    } else if (ch == '@' || ch == '&') {
      tokens.push_back({static_cast<char>(ch), 0});
    } else if (ch == '<') {
      lower = true;
      upper = false;
    } else if (ch == '>') {
      upper = true;
      lower = false;
    } else if (ch == '!') {
      from_left = true;
    } else {
      tokens.push_back({'L', ch});
    }
  }
  std::string cased = upper ? UpperCase(value) : lower ? FoldCase(value) : value;
  std::u32string text = DecodeUtf8(cased);
  bool any_placeholder = false;
  for (const Token& t : tokens) any_placeholder = any_placeholder || t.kind != 'L';
  if (!any_placeholder) {
    std::u32string lit;
    for (const Token& t : tokens) lit.push_back(t.ch);
    return EncodeUtf8(from_left ? text + lit : lit + text);
  }
  // Characters fill the placeholders from the right unless ! says otherwise;
  // those left over go in front (or at the end).
  std::u32string out;
  if (!from_left) {
    size_t next = text.size();
    for (size_t k = tokens.size(); k-- > 0;) {
      const Token& t = tokens[k];
      if (t.kind == 'L') out.insert(out.begin(), t.ch);
      else if (next > 0) out.insert(out.begin(), text[--next]);
      else if (t.kind == '@') out.insert(out.begin(), U' ');
    }
    out.insert(0, text.substr(0, next));
  } else {
    size_t next = 0;
    for (const Token& t : tokens) {
      if (t.kind == 'L') out.push_back(t.ch);
      else if (next < text.size()) out.push_back(text[next++]);
      else if (t.kind == '@') out.push_back(U' ');
    }
    out += text.substr(next);
  }
  return EncodeUtf8(out);
}

bool LooksLikeDateFormat(const std::string& fmt) {
  for (char ch : FoldCase(fmt))
    if (ch == 'd' || ch == 'm' || ch == 'y' || ch == 'h' || ch == 'n' || ch == 's' || ch == 'q' || ch == 'w')
      return true;
  return false;
}

// jet_format(value, type, format)
void Format(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (IsNull(argv[0])) {
    // The fourth section of a number format is the text for Null.
    if (argc > 2 && !IsNull(argv[2])) {
      std::string fmt = ArgText(argv[2]);
      // A text format's second section stands for Null and "" alike.
      if (IsTextFormat(fmt) && fmt.find(';') != std::string::npos) return ResultText(ctx, FormatText("", fmt));
      size_t count = 0, at = 0;
      for (size_t i = 0; i < fmt.size(); ++i)
        if (fmt[i] == ';' && ++count == 3) at = i + 1;
      if (count >= 3) {
        std::string s = fmt.substr(at);
        if (s.size() >= 2 && s.front() == '"' && s.back() == '"') s = s.substr(1, s.size() - 2);
        return ResultText(ctx, s);
      }
    }
    return sqlite3_result_null(ctx);
  }
  SqlType type = static_cast<SqlType>(sqlite3_value_int(argv[1]));
  std::string fmt = argc > 2 && !IsNull(argv[2]) ? ArgText(argv[2]) : std::string();
  if (fmt.empty()) {
    return ResultText(ctx, TypedText(argv[0], type));
  }
  // Text that reads as neither a number nor a date comes back as it is.
  if (sqlite3_value_type(argv[0]) == SQLITE_TEXT && !IsTextFormat(fmt)) {
    std::string text = ArgText(argv[0]);
    if (!ParseNumberText(text) && !ParseDateText(text)) return ResultText(ctx, text);
  }
  bool handled;
  std::string named = FormatNamed(argv[0], type, fmt, &handled);
  if (handled) return ResultText(ctx, named);
  if (IsTextFormat(fmt)) return ResultText(ctx, FormatText(TypedText(argv[0], type), fmt));
  if (sqlite3_value_type(argv[0]) == SQLITE_TEXT && type != SqlType::kDate) {
    // Text through a date format is read as a date first, as Jet does.
    if (LooksLikeDateFormat(fmt)) {
      auto d = ArgDate(argv[0]);
      if (d) return ResultText(ctx, FormatDate(*d, fmt));
    }
    auto n = ParseNumberText(ArgText(argv[0]));
    if (!n) return ResultText(ctx, ArgText(argv[0]));
  }
  if (type == SqlType::kDate || (LooksLikeDateFormat(fmt) && fmt.find('0') == std::string::npos &&
                                 fmt.find('#') == std::string::npos)) {
    auto d = ArgDate(argv[0]);
    if (!d) return sqlite3_result_null(ctx);
    return ResultText(ctx, FormatDate(*d, fmt));
  }
  double x = NumberOf(argv[0], type);
  ResultText(ctx, FormatNumber(x, fmt));
}

// jet_formatnumber(value, kind, digits, leading, parens, group): FormatNumber
// (kind 0), FormatCurrency (1) and FormatPercent (2). -1 for digits and -2
// (use default) for the tristate arguments take US English defaults: two
// decimals, a leading zero, grouped thousands, and parentheses only around
// negative currency.
void FormatNumberFn(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (IsNull(argv[0])) return sqlite3_result_null(ctx);
  int kind = sqlite3_value_int(argv[1]);
  double v = ArgNumber(argv[0]);
  if (kind == 2) v *= 100;
  auto arg = [&](int i, int fallback) {
    return argc > i && !IsNull(argv[i]) ? static_cast<int>(ArgInt(argv[i])) : fallback;
  };
  int digits = arg(2, -1);
  if (digits < 0) digits = 2;
  int leading = arg(3, -2), parens = arg(4, -2), group = arg(5, -2);
  std::string s = Fixed(std::fabs(v), digits, group != 0);
  if (leading == 0 && s.rfind("0.", 0) == 0) s.erase(0, 1);
  if (kind == 1) s = "$" + s;
  if (kind == 2) s += "%";
  bool negative = v < 0 && s.find_first_of("123456789") != std::string::npos;
  if (negative) s = (parens == -1 || (parens == -2 && kind == 1)) ? "(" + s + ")" : "-" + s;
  ResultText(ctx, s);
}

// jet_formatdatetime(date, style): vbGeneralDate 0, vbLongDate 1,
// vbShortDate 2, vbLongTime 3, vbShortTime 4.
void FormatDateTimeFn(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (IsNull(argv[0])) return sqlite3_result_null(ctx);
  auto d = ArgDate(argv[0]);
  if (!d) return sqlite3_result_error(ctx, "Type mismatch", -1);
  int style = argc > 1 && !IsNull(argv[1]) ? static_cast<int>(ArgInt(argv[1])) : 0;
  if (style < 0 || style > 4) return sqlite3_result_error(ctx, "Invalid procedure call or argument", -1);
  std::string text = style == 0   ? DateText(*d)
                     : style == 1 ? FormatDate(*d, "dddd, mmmm d, yyyy")
                     : style == 2 ? FormatDate(*d, "m/d/yyyy")
                     : style == 3 ? FormatDate(*d, "h:nn:ss AM/PM")
                                  : FormatDate(*d, "hh:nn");
  ResultText(ctx, text);
}

}  // namespace

void RegisterFormatFunction(sqlite3* db) {
  sqlite3_create_function(db, "jet_format", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, Format, nullptr,
                          nullptr);
  sqlite3_create_function(db, "jet_formatnumber", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, FormatNumberFn,
                          nullptr, nullptr);
  sqlite3_create_function(db, "jet_formatdatetime", -1, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr,
                          FormatDateTimeFn, nullptr, nullptr);
}

}  // namespace jet::sql
