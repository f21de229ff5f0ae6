// Function calls: Jet's built-in functions map onto the jet_* functions
// registered in SQLite, with arguments brought to the form each expects.
#include "sql/function_support.h"
#include "sql/lexer.h"
#include "sql/translator_impl.h"

namespace jet::sql {
namespace {

enum class Arg { kAny, kText, kNumber, kDate, kCurrency };

struct Simple {
  std::string_view jet;
  std::string_view sqlite;
  SqlType result;  // kVariant: the first argument's type
  Arg args[4];
};

// The simple functions that take a varying number of arguments, and how
// many: the functions behind them read what they are given. The others take
// exactly as many as their table entry lists (SQLite holds them to it).
struct Arity {
  std::string_view jet;
  size_t least, most;
};

constexpr Arity kVaryingArity[] = {
    {"Mid", 2, 3},     {"Mid$", 2, 3},         {"InStrRev", 2, 4},  {"FormatDateTime", 1, 2},
    {"Replace", 3, 6}, {"StrComp", 2, 3},      {"Weekday", 1, 2},   {"DateDiff", 3, 5},
    {"DatePart", 2, 4}, {"MonthName", 1, 2},   {"WeekdayName", 1, 3},
};

bool ArgumentCountFits(std::string_view jet, size_t count) {
  for (const Arity& a : kVaryingArity) {
    if (a.jet == jet) return count >= a.least && count <= a.most;
  }
  return true;
}

constexpr Simple kSimple[] = {
    {"Left", "jet_left", SqlType::kText, {Arg::kText, Arg::kNumber}},
    {"Left$", "jet_left", SqlType::kText, {Arg::kText, Arg::kNumber}},
    {"Right", "jet_right", SqlType::kText, {Arg::kText, Arg::kNumber}},
    {"Right$", "jet_right", SqlType::kText, {Arg::kText, Arg::kNumber}},
    {"Mid", "jet_mid", SqlType::kText, {Arg::kText, Arg::kNumber, Arg::kNumber}},
    {"Mid$", "jet_mid", SqlType::kText, {Arg::kText, Arg::kNumber, Arg::kNumber}},
    {"Len", "jet_len", SqlType::kLong, {Arg::kText}},
    {"InStrRev", "jet_instrrev", SqlType::kLong, {Arg::kText, Arg::kText, Arg::kNumber, Arg::kNumber}},
    {"Trim", "jet_trim", SqlType::kText, {Arg::kText}},
    {"Trim$", "jet_trim", SqlType::kText, {Arg::kText}},
    {"LTrim$", "jet_ltrim", SqlType::kText, {Arg::kText}},
    {"RTrim$", "jet_rtrim", SqlType::kText, {Arg::kText}},
    {"Space$", "jet_space", SqlType::kText, {Arg::kNumber}},
    {"String$", "jet_string", SqlType::kText, {Arg::kNumber, Arg::kAny}},
    {"AscW", "jet_ascw", SqlType::kInteger, {Arg::kText}},
    {"CDec", "jet_cdec", SqlType::kDecimal, {Arg::kAny}},
    {"Partition", "jet_partition", SqlType::kText, {Arg::kNumber, Arg::kNumber, Arg::kNumber, Arg::kNumber}},
    {"FormatDateTime", "jet_formatdatetime", SqlType::kText, {Arg::kDate, Arg::kNumber}},
    {"LTrim", "jet_ltrim", SqlType::kText, {Arg::kText}},
    {"RTrim", "jet_rtrim", SqlType::kText, {Arg::kText}},
    {"UCase", "jet_ucase", SqlType::kText, {Arg::kText}},
    {"UCase$", "jet_ucase", SqlType::kText, {Arg::kText}},
    {"LCase", "jet_lcase", SqlType::kText, {Arg::kText}},
    {"LCase$", "jet_lcase", SqlType::kText, {Arg::kText}},
    {"Replace", "jet_replace", SqlType::kText, {Arg::kText, Arg::kText, Arg::kText, Arg::kNumber}},
    {"Space", "jet_space", SqlType::kText, {Arg::kNumber}},
    {"String", "jet_string", SqlType::kText, {Arg::kNumber, Arg::kAny}},
    {"StrComp", "jet_strcomp", SqlType::kInteger, {Arg::kText, Arg::kText, Arg::kNumber}},
    {"StrReverse", "jet_strreverse", SqlType::kText, {Arg::kText}},
    {"Asc", "jet_asc", SqlType::kInteger, {Arg::kText}},
    {"Chr", "jet_chr", SqlType::kText, {Arg::kNumber}},
    {"Chr$", "jet_chr", SqlType::kText, {Arg::kNumber}},
    {"ChrW", "jet_chr", SqlType::kText, {Arg::kNumber}},
    {"Val", "jet_val", SqlType::kDouble, {Arg::kText}},
    {"Hex", "jet_hex", SqlType::kText, {Arg::kNumber}},
    {"Hex$", "jet_hex", SqlType::kText, {Arg::kNumber}},
    {"Oct", "jet_oct", SqlType::kText, {Arg::kNumber}},
    {"Oct$", "jet_oct", SqlType::kText, {Arg::kNumber}},
    {"CStr", "jet_trim", SqlType::kText, {Arg::kText}},
    {"CByte", "jet_cbyte", SqlType::kByte, {Arg::kAny}},
    {"CInt", "jet_cint", SqlType::kInteger, {Arg::kAny}},
    {"CLng", "jet_clng", SqlType::kLong, {Arg::kAny}},
    {"CSng", "jet_csng", SqlType::kSingle, {Arg::kAny}},
    {"CDbl", "jet_cdbl", SqlType::kDouble, {Arg::kAny}},
    {"CCur", "jet_ccur", SqlType::kCurrency, {Arg::kAny}},
    {"CBool", "jet_cbool", SqlType::kBoolean, {Arg::kAny}},
    {"CDate", "jet_cdate", SqlType::kDate, {Arg::kAny}},
    {"CVDate", "jet_cdate", SqlType::kDate, {Arg::kAny}},
    {"IsNumeric", "jet_isnumeric", SqlType::kBoolean, {Arg::kAny}},
    {"IsDate", "jet_isdate", SqlType::kBoolean, {Arg::kAny}},
    {"Int", "jet_int", SqlType::kVariant, {Arg::kNumber}},
    {"Fix", "jet_fix", SqlType::kVariant, {Arg::kNumber}},
    {"Sgn", "jet_sgn", SqlType::kInteger, {Arg::kNumber}},
    {"Sqr", "jet_sqr", SqlType::kDouble, {Arg::kNumber}},
    {"Exp", "jet_exp", SqlType::kDouble, {Arg::kNumber}},
    {"Log", "jet_log", SqlType::kDouble, {Arg::kNumber}},
    {"Sin", "jet_sin", SqlType::kDouble, {Arg::kNumber}},
    {"Cos", "jet_cos", SqlType::kDouble, {Arg::kNumber}},
    {"Tan", "jet_tan", SqlType::kDouble, {Arg::kNumber}},
    {"Atn", "jet_atn", SqlType::kDouble, {Arg::kNumber}},
    {"Year", "jet_year", SqlType::kInteger, {Arg::kDate}},
    {"Month", "jet_month", SqlType::kInteger, {Arg::kDate}},
    {"Day", "jet_day", SqlType::kInteger, {Arg::kDate}},
    {"Hour", "jet_hour", SqlType::kInteger, {Arg::kDate}},
    {"Minute", "jet_minute", SqlType::kInteger, {Arg::kDate}},
    {"Second", "jet_second", SqlType::kInteger, {Arg::kDate}},
    {"Weekday", "jet_weekday", SqlType::kInteger, {Arg::kDate, Arg::kNumber}},
    {"DateSerial", "jet_dateserial", SqlType::kDate, {Arg::kNumber, Arg::kNumber, Arg::kNumber}},
    {"TimeSerial", "jet_timeserial", SqlType::kDate, {Arg::kNumber, Arg::kNumber, Arg::kNumber}},
    {"DateAdd", "jet_dateadd", SqlType::kDate, {Arg::kText, Arg::kNumber, Arg::kDate}},
    {"DateDiff", "jet_datediff", SqlType::kLong, {Arg::kText, Arg::kDate, Arg::kDate, Arg::kNumber}},
    {"DatePart", "jet_datepart", SqlType::kInteger, {Arg::kText, Arg::kDate, Arg::kNumber, Arg::kNumber}},
    {"Now", "jet_now", SqlType::kDate, {}},
    {"Date", "jet_date", SqlType::kDate, {}},
    {"Time", "jet_time", SqlType::kDate, {}},
    {"DateValue", "jet_datevalue", SqlType::kDate, {Arg::kAny}},
    {"TimeValue", "jet_timevalue", SqlType::kDate, {Arg::kAny}},
    {"MonthName", "jet_monthname", SqlType::kText, {Arg::kNumber, Arg::kNumber}},
    {"WeekdayName", "jet_weekdayname", SqlType::kText, {Arg::kNumber, Arg::kNumber}},
};

std::string Convert(const TypedSql& t, Arg arg) {
  switch (arg) {
    case Arg::kText: return AsText(t);
    case Arg::kNumber: return AsNumber(t);
    case Arg::kDate: return AsDate(t);
    case Arg::kCurrency: return AsCurrency(t);
    case Arg::kAny: return t.type == SqlType::kCurrency ? AsNumber(t) : t.sql;
  }
  return t.sql;
}

// The common type of IIf/Switch/Choose branches; Currency branches stay scaled.
SqlType MergeTypes(const std::vector<TypedSql>& values) {
  SqlType t = SqlType::kNull;
  for (const TypedSql& v : values) {
    if (v.type == SqlType::kNull || v.type == t) continue;
    if (t == SqlType::kNull) t = v.type;
    else if (IsNumber(t) && IsNumber(v.type)) t = WiderNumber(t, v.type);
    else if (IsText(t) && IsText(v.type)) t = SqlType::kText;
    else t = SqlType::kVariant;
  }
  return t;
}

std::string Branch(const TypedSql& v, SqlType t) {
  if (t == SqlType::kDecimal) return AsDecimal(v);
  if (t == SqlType::kCurrency) return AsCurrency(v);
  if (t == SqlType::kVariant && v.type == SqlType::kCurrency) return AsNumber(v);
  if (t == SqlType::kVariant && v.type == SqlType::kDate) return AsText(v);
  return v.sql;
}

}  // namespace

bool IsAggregate(std::string_view name) {
  for (std::string_view a : {"Sum", "Avg", "Count", "Min", "Max", "First", "Last", "StDev", "StDevP", "Var", "VarP"})
    if (WordIs(name, a)) return true;
  return false;
}

Status Translator::Call(const sql::Expr& e, Scope* scope, TypedSql* out) {
  const std::string& name = e.text;
  if (IsAggregate(name)) return Aggregate(name, e, scope, out);
  std::vector<TypedSql> args(e.args.size());
  for (size_t i = 0; i < e.args.size(); ++i) {
    if (e.args[i]->kind == ExprKind::kStar) return SyntaxError(name + "(*)");
    JET_RETURN_IF_ERROR(Expr(*e.args[i], scope, &args[i]));
  }
  auto wrong_args = [&]() {
    return Status::InvalidArgument("Wrong number of arguments used with function in query expression '" + name +
                                       "'.",
                                   3075);
  };
  if (WordIs(name, "IIf")) {
    if (args.size() != 3) return wrong_args();
    SqlType t = MergeTypes({args[1], args[2]});
    *out = {"(CASE WHEN " + args[0].sql + " THEN " + Branch(args[1], t) + " ELSE " + Branch(args[2], t) + " END)",
            t, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "Nz")) {
    if (args.empty() || args.size() > 2) return wrong_args();
    if (args.size() == 1) {
      // In a query Nz without a second argument turns Null into a
      // zero-length string, so the column is text; arithmetic and
      // comparisons on it still read the number back ("" reads as 0).
      // A Yes/No value stays -1/0 so that Nz(flag) = True still holds.
      if (args[0].type == SqlType::kVariant || args[0].type == SqlType::kBoolean) {
        *out = {"coalesce(" + args[0].sql + ", '')", SqlType::kVariant, 0, {}};
      } else {
        *out = {"coalesce(" + AsText(args[0]) + ", '')", SqlType::kText, 0, {}};
      }
    } else {
      SqlType t = MergeTypes({args[0], args[1]});
      *out = {"coalesce(" + Branch(args[0], t) + ", " + Branch(args[1], t) + ")", t, 0, {}};
    }
    return Status::OK();
  }
  if (WordIs(name, "Switch")) {
    if (args.empty() || args.size() % 2) return wrong_args();
    std::vector<TypedSql> values;
    for (size_t i = 1; i < args.size(); i += 2) values.push_back(args[i]);
    SqlType t = MergeTypes(values);
    std::string sql = "(CASE";
    for (size_t i = 0; i < args.size(); i += 2) sql += " WHEN " + args[i].sql + " THEN " + Branch(args[i + 1], t);
    *out = {sql + " END)", t, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "Choose")) {
    if (args.size() < 2) return wrong_args();
    std::vector<TypedSql> values(args.begin() + 1, args.end());
    SqlType t = MergeTypes(values);
    std::string sql = "(CASE jet_fix(" + AsNumber(args[0]) + ")";
    for (size_t i = 1; i < args.size(); ++i) sql += " WHEN " + std::to_string(i) + " THEN " + Branch(args[i], t);
    *out = {sql + " END)", t, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "IsNull")) {
    if (args.size() != 1) return wrong_args();
    *out = {"(CASE WHEN " + args[0].sql + " IS NULL THEN -1 ELSE 0 END)", SqlType::kBoolean, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "Format") || WordIs(name, "Format$")) {
    if (args.empty() || args.size() > 4) return wrong_args();
    std::string fmt = args.size() > 1 ? ", " + AsText(args[1]) : "";
    // Formats show a Decimal through its Double, as they show every number.
    const bool decimal = args[0].type == SqlType::kDecimal;
    const SqlType type = decimal ? SqlType::kDouble : args[0].type;
    *out = {"jet_format(" + (decimal ? AsNumber(args[0]) : args[0].sql) + ", " + std::to_string(static_cast<int>(type)) +
                fmt + ")",
            SqlType::kText, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "Str") || WordIs(name, "Str$")) {
    if (args.size() != 1) return wrong_args();
    const SqlType t = args[0].type;
    // Dates and Yes/No read as they print; numbers get a blank for the sign.
    if (t == SqlType::kDate || t == SqlType::kBoolean) *out = {AsText(args[0]), SqlType::kText, 0, {}};
    else if (t == SqlType::kSingle) *out = {"jet_str(" + AsText(args[0]) + ")", SqlType::kText, 0, {}};
    else *out = {"jet_str(" + AsNumber(args[0]) + ")", SqlType::kText, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "FormatNumber") || WordIs(name, "FormatCurrency") || WordIs(name, "FormatPercent")) {
    if (args.empty() || args.size() > 5) return wrong_args();
    int kind = WordIs(name, "FormatNumber") ? 0 : WordIs(name, "FormatCurrency") ? 1 : 2;
    std::string sql = "jet_formatnumber(" + AsNumber(args[0]) + ", " + std::to_string(kind);
    for (size_t i = 1; i < args.size(); ++i) sql += ", " + AsNumber(args[i]);
    *out = {sql + ")", SqlType::kText, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "IsNumeric") && args.size() == 1 && args[0].type == SqlType::kDate) {
    *out = {"0", SqlType::kBoolean, 0, {}};  // a date is not a number (and Null is neither)
    return Status::OK();
  }
  if (WordIs(name, "CVar")) {
    if (args.size() != 1) return wrong_args();
    *out = args[0];
    return Status::OK();
  }
  // Null is not Empty, and a value that reached the query is not an error.
  if (WordIs(name, "IsEmpty") || WordIs(name, "IsError")) {
    if (args.size() != 1) return wrong_args();
    *out = {"0", SqlType::kBoolean, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "CStr")) {
    if (args.size() != 1) return wrong_args();
    *out = {AsText(args[0]), SqlType::kText, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "Round")) {
    if (args.empty() || args.size() > 2) return wrong_args();
    std::string digits = args.size() > 1 ? ", " + AsNumber(args[1]) : "";
    if (args[0].type == SqlType::kCurrency) {
      *out = {"jet_round_cur(" + args[0].sql + digits + ")", SqlType::kCurrency, 0, {}};
    } else if (args[0].type == SqlType::kDecimal) {
      *out = {"jet_dec_round(" + args[0].sql + digits + ")", SqlType::kDecimal, args[0].decimal_scale, {}};
    } else {
      SqlType t = IsNumber(args[0].type) ? args[0].type : SqlType::kDouble;
      *out = {"jet_round(" + AsNumber(args[0]) + digits + ")", t, 0, {}};
    }
    return Status::OK();
  }
  if (WordIs(name, "Abs")) {
    if (args.size() != 1) return wrong_args();
    if (args[0].type == SqlType::kDecimal) {
      *out = {"jet_dec_abs(" + args[0].sql + ")", SqlType::kDecimal, args[0].decimal_scale, {}};
      return Status::OK();
    }
    SqlType t = IsNumber(args[0].type) || args[0].type == SqlType::kDate ? args[0].type : SqlType::kDouble;
    if (t == SqlType::kBoolean) t = SqlType::kInteger;  // Abs(True) is the number 1
    bool as_is = t == args[0].type || args[0].type == SqlType::kBoolean;
    *out = {"abs(" + (as_is ? args[0].sql : AsNumber(args[0])) + ")", t, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "InStr")) {
    if (args.size() < 2 || args.size() > 4) return wrong_args();
    std::string sql = "jet_instr(";
    for (size_t i = 0; i < args.size(); ++i) {
      bool is_text = (args.size() == 2) || (i == 1 || i == 2);
      if (args.size() == 2) is_text = true;
      sql += (i ? ", " : "") + (is_text ? AsText(args[i]) : AsNumber(args[i]));
    }
    *out = {sql + ")", SqlType::kLong, 0, {}};
    return Status::OK();
  }
  if (WordIs(name, "CCur") && args.size() == 1 && args[0].type == SqlType::kCurrency) {
    *out = {args[0].sql, SqlType::kCurrency, 0, {}};
    return Status::OK();
  }
  for (const Simple& f : kSimple) {
    if (!WordIs(name, f.jet)) continue;
    if (!ArgumentCountFits(f.jet, args.size())) return wrong_args();
    std::string sql = std::string(f.sqlite) + "(";
    for (size_t i = 0; i < args.size(); ++i) sql += (i ? ", " : "") + Convert(args[i], i < 4 ? f.args[i] : Arg::kAny);
    SqlType t = f.result;
    if (t == SqlType::kVariant) {
      // The result's type is read off the one argument, before SQLite could
      // hold the call to its arity.
      if (args.size() != 1) return wrong_args();
      t = IsNumber(args[0].type) ? args[0].type : SqlType::kDouble;
      if (t == SqlType::kBoolean) t = SqlType::kInteger;  // Int(True) is -1, a number
      if (t == SqlType::kDecimal) {
        *out = {std::string(WordIs(name, "Int") ? "jet_dec_int(" : "jet_dec_fix(") + args[0].sql + ")", t, 0, {}};
        return Status::OK();
      }
      if (t == SqlType::kCurrency) {
        // Int/Fix of Currency: whole units, still Currency.
        *out = {"(" + std::string(f.sqlite) + "(" + args[0].sql + " / 10000.0) * 10000)", t, 0, {}};
        return Status::OK();
      }
    }
    *out = {sql + ")", t, 0, {}};
    return Status::OK();
  }
  return Status::InvalidArgument("Undefined function '" + name + "' in expression.", 3085);
}

Status Translator::Aggregate(const std::string& name, const sql::Expr& e, Scope* scope, TypedSql* out) {
  if (e.args.size() != 1) {
    return Status::InvalidArgument("Wrong number of arguments used with function in query expression '" + name + "'.",
                                   3075);
  }
  // Inside a crosstab cell only the rows of that column's heading count.
  auto filtered = [&](const std::string& arg) {
    return pivot_match_.empty() ? arg : "CASE WHEN " + pivot_match_ + " THEN " + arg + " END";
  };
  if (e.args[0]->kind == ExprKind::kStar) {
    if (!WordIs(name, "Count")) return SyntaxError(name + "(*)");
    *out = {pivot_match_.empty() ? "count(*)" : "count(" + filtered("1") + ")", SqlType::kLong, 0, {}};
    return Status::OK();
  }
  std::string saved_match = pivot_match_;
  pivot_match_.clear();  // aggregates do not nest; the argument is row-level
  TypedSql a;
  Status st = Expr(*e.args[0], scope, &a);
  pivot_match_ = saved_match;
  JET_RETURN_IF_ERROR(st);
  if (WordIs(name, "Count")) {
    *out = {"count(" + filtered(a.sql) + ")", SqlType::kLong, 0, {}};
  } else if (WordIs(name, "Sum")) {
    if (a.type == SqlType::kCurrency) *out = {"sum(" + filtered(a.sql) + ")", SqlType::kCurrency, 0, {}};
    else if (a.type == SqlType::kDecimal)
      *out = {"jet_dec_sum(" + filtered(a.sql) + ")", SqlType::kDecimal, a.decimal_scale, {}};
    else if (IsWholeNumber(a.type)) *out = {"sum(" + filtered(a.sql) + ")", SqlType::kLong, 0, {}};
    else *out = {"sum(" + filtered(AsNumber(a)) + ")", SqlType::kDouble, 0, {}};
  } else if (WordIs(name, "Avg")) {
    if (a.type == SqlType::kCurrency)
      *out = {"CAST(jet_round(avg(" + filtered(a.sql) + ")) AS INTEGER)", SqlType::kCurrency, 0, {}};
    else *out = {"avg(" + filtered(AsNumber(a)) + ")", SqlType::kDouble, 0, {}};
  } else if (WordIs(name, "Min") || WordIs(name, "Max")) {
    std::string arg = filtered(a.sql) + Collation(a.type);
    *out = {(WordIs(name, "Min") ? "min(" : "max(") + arg + ")", a.type, a.decimal_scale, a.caption};
  } else if (WordIs(name, "First") || WordIs(name, "Last")) {
    *out = {(WordIs(name, "First") ? "jet_first(" : "jet_last(") + filtered(a.sql) + ")", a.type, a.decimal_scale,
            a.caption};
  } else {
    std::string fn = WordIs(name, "StDev") ? "jet_stdev" : WordIs(name, "StDevP") ? "jet_stdevp"
                     : WordIs(name, "Var")  ? "jet_var"   : "jet_varp";
    *out = {fn + "(" + filtered(AsNumber(a)) + ")", SqlType::kDouble, 0, {}};
  }
  return Status::OK();
}

}  // namespace jet::sql
