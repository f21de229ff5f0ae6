// Expressions: names, parameters, operators and literals.
#include <cmath>
#include <cstdio>

#include "jet/text_form.h"
#include "sql/date_math.h"
#include "sql/function_support.h"
#include "sql/translator_impl.h"

namespace jet::sql {

std::string QuoteSqlText(std::string_view text) {
  std::string s = "'";
  for (char c : text) {
    if (c == '\'') s += '\'';
    s += c;
  }
  return s + "'";
}

std::string DoubleLiteral(double v) {
  std::string s = GeneralDigits(v, 17);
  if (s.find_first_of(".EN") == std::string::npos) s += ".0";
  return s;
}

std::string AsText(const TypedSql& t) {
  if (IsText(t.type) || t.type == SqlType::kNull) return t.sql;
  return "jet_text(" + t.sql + ", " + std::to_string(static_cast<int>(t.type)) + ")";
}

std::string AsNumber(const TypedSql& t) {
  if (t.type == SqlType::kCurrency) return "(" + t.sql + " / 10000.0)";
  if (t.type == SqlType::kDecimal) return "CAST(" + t.sql + " AS REAL)";
  if (IsText(t.type) || t.type == SqlType::kVariant) return "jet_val(" + t.sql + ")";
  return t.sql;
}

std::string AsCurrency(const TypedSql& t) {
  if (t.type == SqlType::kCurrency || t.type == SqlType::kNull) return t.sql;
  return "jet_ccur(" + t.sql + ")";
}

std::string AsDecimal(const TypedSql& t) {
  if (t.type == SqlType::kDecimal || t.type == SqlType::kNull) return t.sql;
  if (t.type == SqlType::kCurrency) return "jet_cdec(" + t.sql + ", 4)";
  return "jet_cdec(" + t.sql + ")";
}

int DecimalPlaces(const TypedSql& t) {
  if (t.type == SqlType::kDecimal) return t.decimal_scale;
  return t.type == SqlType::kCurrency ? 4 : 0;
}

std::string Collation(SqlType t) {
  if (IsText(t)) return " COLLATE JETGENERAL";
  return t == SqlType::kDecimal ? " COLLATE JETDECIMAL" : "";
}

std::string AsDate(const TypedSql& t) {
  if (t.type == SqlType::kDate || t.type == SqlType::kNull || IsNumber(t.type)) return t.sql;
  return "jet_cdate(" + t.sql + ")";
}

namespace {

// Brings two operands to one representation for comparison.
void Harmonize(TypedSql* a, TypedSql* b) {
  auto fix = [](TypedSql* x, const TypedSql& other) {
    if (x->type == other.type || x->type == SqlType::kNull || other.type == SqlType::kNull) return;
    // Decimal ranks above every number: both sides become exact Decimal text.
    if (other.type == SqlType::kDecimal && (IsNumber(x->type) || IsText(x->type) || x->type == SqlType::kVariant ||
                                            x->type == SqlType::kDate || x->type == SqlType::kBoolean)) {
      x->decimal_scale = DecimalPlaces(*x);
      x->sql = AsDecimal(*x);
      x->type = SqlType::kDecimal;
    } else if (other.type == SqlType::kCurrency && x->type != SqlType::kVariant && !IsText(x->type)) {
      x->sql = AsCurrency(*x);
      x->type = SqlType::kCurrency;
    } else if (other.type == SqlType::kCurrency) {
      x->sql = "jet_ccur(" + x->sql + ")";
      x->type = SqlType::kCurrency;
    } else if (other.type == SqlType::kDate && (IsText(x->type) || x->type == SqlType::kVariant)) {
      x->sql = "jet_cdate(" + x->sql + ")";
      x->type = SqlType::kDate;
    } else if (IsNumber(other.type) && (IsText(x->type) || x->type == SqlType::kVariant)) {
      x->sql = "jet_val(" + x->sql + ")";
      x->type = SqlType::kDouble;
    }
  };
  fix(a, *b);
  fix(b, *a);
}

std::string Collate(const TypedSql& a, const TypedSql& b) {
  return Collation(IsText(b.type) || b.type == SqlType::kDecimal ? b.type : a.type);
}

bool IsIntegerLiteral(const std::string& text) {
  return text.find_first_of(".eE") == std::string::npos && text.size() < 19;
}

}  // namespace

// SQLite's comparisons yield 1 for true; Jet's True is -1, which shows as
// soon as a comparison is used as a number: (a > b) * 5, Sum(a > b),
// (a = b) = True.
Status Translator::Expr(const sql::Expr& e, Scope* scope, TypedSql* out) {
  JET_RETURN_IF_ERROR(Condition(e, scope, out));
  if (out->truth) {
    out->sql = "(-" + out->sql + ")";
    out->truth = false;
  }
  return Status::OK();
}

Status Translator::Condition(const sql::Expr& e, Scope* scope, TypedSql* out) {
  switch (e.kind) {
    case ExprKind::kNull:
      *out = {"NULL", SqlType::kNull, 0, {}};
      return Status::OK();
    case ExprKind::kNumber:
      if (IsIntegerLiteral(e.text)) {
        // A whole literal is an Integer when it fits one, else a Long, else a
        // Double, so that 1 - [Discount] stays a Single as Access computes it.
        long long v = std::atoll(e.text.c_str());
        SqlType t = v > 2147483647LL ? SqlType::kDouble : v > 32767 ? SqlType::kLong : SqlType::kInteger;
        *out = {std::to_string(v), t, 0, {}};
        if (out->type == SqlType::kDouble) out->sql = DoubleLiteral(static_cast<double>(v));
      } else {
        *out = {DoubleLiteral(e.number), SqlType::kDouble, 0, {}};
      }
      return Status::OK();
    case ExprKind::kString:
      *out = {QuoteSqlText(e.text), SqlType::kText, 0, {}};
      return Status::OK();
    case ExprKind::kDate: {
      auto serial = ParseDateText(e.text);
      if (!serial) return SyntaxError("#" + e.text + "#");
      *out = {DoubleLiteral(*serial), SqlType::kDate, 0, {}};
      return Status::OK();
    }
    case ExprKind::kGuid: {
      // Compared with GUID columns as they are stored: sixteen bytes.
      const std::optional<Guid> guid = ParseGuid(e.text);
      if (!guid) return SyntaxError("{guid " + e.text + "}");
      std::string hex;
      for (const uint8_t byte : *guid) {
        static const char kDigits[] = "0123456789ABCDEF";
        hex += kDigits[byte >> 4];
        hex += kDigits[byte & 0xF];
      }
      *out = {"X'" + hex + "'", SqlType::kGuid, 0, {}};
      return Status::OK();
    }
    case ExprKind::kBool:
      *out = {e.number != 0 ? "-1" : "0", SqlType::kBoolean, 0, {}};
      return Status::OK();
    case ExprKind::kName:
      return Name(e, scope, out);
    case ExprKind::kStar:
      return SyntaxError("*");
    case ExprKind::kUnary: {
      TypedSql a;
      if (e.op == "NOT") {
        JET_RETURN_IF_ERROR(Condition(*e.args[0], scope, &a));
        *out = {"(NOT " + a.sql + ")", SqlType::kBoolean, 0, {}, true};
        return Status::OK();
      }
      JET_RETURN_IF_ERROR(Expr(*e.args[0], scope, &a));
      if (e.op == "-" && a.type == SqlType::kDecimal) {
        *out = {"jet_dec_neg(" + a.sql + ")", a.type, a.decimal_scale, {}};
      } else if (e.op == "-") {
        SqlType t = IsText(a.type) || a.type == SqlType::kVariant ? SqlType::kDouble : a.type;
        if (t == SqlType::kBoolean) t = SqlType::kInteger;
        *out = {"(-" + (t == a.type ? a.sql : AsNumber(a)) + ")", t, 0, {}};
      } else {
        *out = a;
      }
      return Status::OK();
    }
    case ExprKind::kBinary:
      return Binary(e, scope, out);
    case ExprKind::kCall:
      return Call(e, scope, out);
    case ExprKind::kBetween: {
      TypedSql v, lo, hi;
      JET_RETURN_IF_ERROR(Expr(*e.args[0], scope, &v));
      JET_RETURN_IF_ERROR(Expr(*e.args[1], scope, &lo));
      JET_RETURN_IF_ERROR(Expr(*e.args[2], scope, &hi));
      TypedSql v2 = v;
      Harmonize(&v, &lo);
      Harmonize(&v2, &hi);
      std::string collate = Collate(v, lo);
      *out = {"(" + v.sql + collate + (e.negated ? " NOT" : "") + " BETWEEN " + lo.sql + " AND " + hi.sql + ")",
              SqlType::kBoolean, 0, {}, true};
      return Status::OK();
    }
    case ExprKind::kIn: {
      TypedSql v;
      JET_RETURN_IF_ERROR(Expr(*e.args[0], scope, &v));
      std::string list;
      if (e.subquery) {
        QueryOut sub;
        JET_RETURN_IF_ERROR(Subquery(*e.subquery, scope, &sub));
        list = "SELECT c0 FROM (" + sub.sql + ")";
      } else {
        for (size_t i = 1; i < e.args.size(); ++i) {
          TypedSql item, left = v;
          JET_RETURN_IF_ERROR(Expr(*e.args[i], scope, &item));
          Harmonize(&left, &item);
          list += (list.empty() ? "" : ", ") + item.sql;
        }
      }
      std::string collate = Collation(v.type);
      *out = {"(" + v.sql + collate + (e.negated ? " NOT IN (" : " IN (") + list + "))", SqlType::kBoolean, 0, {},
              true};
      return Status::OK();
    }
    case ExprKind::kIsNull: {
      TypedSql v;
      JET_RETURN_IF_ERROR(Expr(*e.args[0], scope, &v));
      *out = {"(" + v.sql + (e.negated ? " IS NOT NULL)" : " IS NULL)"), SqlType::kBoolean, 0, {}, true};
      return Status::OK();
    }
    case ExprKind::kLike: {
      TypedSql v, p;
      JET_RETURN_IF_ERROR(Expr(*e.args[0], scope, &v));
      JET_RETURN_IF_ERROR(Expr(*e.args[1], scope, &p));
      std::string call = "jet_like(" + AsText(v) + ", " + AsText(p) + ")";
      *out = {e.negated ? "(NOT " + call + ")" : call, SqlType::kBoolean, 0, {}, true};
      return Status::OK();
    }
    case ExprKind::kSubquery: {
      QueryOut sub;
      JET_RETURN_IF_ERROR(Subquery(*e.subquery, scope, &sub));
      SqlType type = sub.columns.empty() ? SqlType::kVariant : sub.columns[0].type;
      *out = {"(SELECT c0 FROM (" + sub.sql + "))", type, 0, {}};
      return Status::OK();
    }
    case ExprKind::kExists: {
      QueryOut sub;
      JET_RETURN_IF_ERROR(Subquery(*e.subquery, scope, &sub));
      *out = {"(EXISTS (" + sub.sql + "))", SqlType::kBoolean, 0, {}, true};
      return Status::OK();
    }
    case ExprKind::kQuantified: {
      TypedSql v;
      JET_RETURN_IF_ERROR(Expr(*e.args[0], scope, &v));
      QueryOut sub;
      JET_RETURN_IF_ERROR(Subquery(*e.subquery, scope, &sub));
      std::string op = e.op;
      std::string inner = "SELECT 1 FROM (" + sub.sql + ") AS q_ WHERE ";
      if (e.text == "ANY") {
        *out = {"(EXISTS (" + inner + v.sql + " " + op + " q_.c0))", SqlType::kBoolean, 0, {}, true};
      } else {
        *out = {"(NOT EXISTS (" + inner + "NOT (" + v.sql + " " + op + " q_.c0)))", SqlType::kBoolean, 0, {}, true};
      }
      return Status::OK();
    }
  }
  return SyntaxError(e.text);
}

Status Translator::Subquery(const QueryExpr& q, Scope* scope, QueryOut* out) {
  return TranslateQuery(q, scope, out);
}

Status Translator::Name(const sql::Expr& e, Scope* scope, TypedSql* out) {
  const auto& parts = e.parts;
  for (Scope* s = scope; s; s = s->outer) {
    for (Source& src : s->sources) {
      if (parts.size() == 2 && !NamesEqual(src.alias, parts[0])) continue;
      if (parts.size() > 2) continue;
      if (src.stored_table && parts.back() == kRowPlaceField) {
        *out = {src.sqlite_alias + ".rowid", SqlType::kBigInt, 0, {}};
        return Status::OK();
      }
      for (size_t i = 0; i < src.columns.size(); ++i) {
        if (NamesEqual(src.columns[i].name, parts.back())) {
          const SourceColumn& c = src.columns[i];
          src.shown = true;
          *out = {src.sqlite_alias + ".c" + std::to_string(i), c.type, c.decimal_scale, c.caption};
          return Status::OK();
        }
      }
    }
    // A computed column's alias stands for its expression.
    if (parts.size() == 1 && s->items) {
      for (const SelectItem& item : *s->items) {
        if (!item.alias.empty() && NamesEqual(item.alias, parts[0]) && item.expr->kind != ExprKind::kStar) {
          std::string key = FoldCase(item.alias);
          if (s->expanding_aliases.count(key)) break;
          s->expanding_aliases.insert(key);
          Status st = Expr(*item.expr, s, out);
          s->expanding_aliases.erase(key);
          return st;
        }
      }
    }
  }
  return Parameter(e, out);
}

Status Translator::Parameter(const sql::Expr& e, TypedSql* out) {
  std::string name;
  if (e.parts.size() == 1) {
    name = e.parts[0];
  } else if (e.end > e.begin && e.end <= source_text_.size()) {
    name = source_text_.substr(e.begin, e.end - e.begin);
  } else {
    for (size_t i = 0; i < e.parts.size(); ++i)
      name += (i ? std::string(1, e.separators[i - 1]) : "") + "[" + e.parts[i] + "]";
  }
  std::string key;
  for (size_t i = 0; i < e.parts.size(); ++i) key += (i ? "!" : "") + FoldCase(e.parts[i]);
  int index = out_->parameters.Use(name, key);
  const QueryParameter& p = out_->parameters.items()[index];
  SqlType type = p.typed ? FromColumnType(p.type) : SqlType::kVariant;
  *out = {"?" + std::to_string(index + 1), type, 0, {}};
  return Status::OK();
}

Status Translator::Compare(const std::string& op, TypedSql a, TypedSql b, TypedSql* out) {
  Harmonize(&a, &b);
  *out = {"(" + a.sql + " " + op + " " + b.sql + Collate(a, b) + ")", SqlType::kBoolean, 0, {}, true};
  return Status::OK();
}

Status Translator::Binary(const sql::Expr& e, Scope* scope, TypedSql* out) {
  TypedSql a, b;
  const std::string& op = e.op;
  if (op == "AND" || op == "OR" || op == "IMP") {
    JET_RETURN_IF_ERROR(Condition(*e.args[0], scope, &a));
    JET_RETURN_IF_ERROR(Condition(*e.args[1], scope, &b));
    std::string sql = op == "IMP" ? "((NOT " + a.sql + ") OR " + b.sql + ")"
                                  : "(" + a.sql + " " + op + " " + b.sql + ")";
    *out = {sql, SqlType::kBoolean, 0, {}, true};
    return Status::OK();
  }
  JET_RETURN_IF_ERROR(Expr(*e.args[0], scope, &a));
  JET_RETURN_IF_ERROR(Expr(*e.args[1], scope, &b));
  if (op == "=" || op == "<>" || op == "<" || op == ">" || op == "<=" || op == ">=") return Compare(op, a, b, out);
  if (op == "XOR" || op == "EQV") {
    std::string cmp = op == "XOR" ? " <> " : " = ";
    *out = {"((" + a.sql + " <> 0)" + cmp + "(" + b.sql + " <> 0))", SqlType::kBoolean, 0, {}, true};
    return Status::OK();
  }
  if (op == "&") {
    *out = {"jet_amp(" + AsText(a) + ", " + AsText(b) + ")", SqlType::kText, 0, {}};
    return Status::OK();
  }
  bool a_text = IsText(a.type), b_text = IsText(b.type);
  if (op == "+" && (a_text || b_text) && (a_text || a.type == SqlType::kNull || a.type == SqlType::kVariant) &&
      (b_text || b.type == SqlType::kNull || b.type == SqlType::kVariant)) {
    *out = {"(" + a.sql + " || " + b.sql + ")", SqlType::kText, 0, {}};  // Null in, Null out
    return Status::OK();
  }
  if (op == "+" || op == "-") {
    bool a_date = a.type == SqlType::kDate, b_date = b.type == SqlType::kDate;
    if (a_date || b_date) {
      SqlType t = (op == "-" && a_date && b_date) ? SqlType::kDouble : SqlType::kDate;
      *out = {"(" + AsNumber(a) + " " + op + " " + AsNumber(b) + ")", t, 0, {}};
      return Status::OK();
    }
    SqlType t = WiderNumber(a.type, b.type);
    if (t == SqlType::kDecimal) {
      *out = {std::string(op == "+" ? "jet_dec_add(" : "jet_dec_sub(") + AsDecimal(a) + ", " + AsDecimal(b) + ")", t,
              std::max(DecimalPlaces(a), DecimalPlaces(b)), {}};
    } else if (t == SqlType::kCurrency) {
      *out = {"(" + AsCurrency(a) + " " + op + " " + AsCurrency(b) + ")", t, 0, {}};
    } else {
      *out = {"(" + AsNumber(a) + " " + op + " " + AsNumber(b) + ")", t, 0, {}};
    }
    return Status::OK();
  }
  if (op == "*") {
    SqlType t = WiderNumber(a.type, b.type);
    // Multiplication ranks Double above Currency (addition ranks it below):
    // Currency times a Double, or times text read as one, is a Double.
    auto doubleish = [](SqlType x) {
      return x == SqlType::kDouble || x == SqlType::kDate || x == SqlType::kVariant || IsText(x);
    };
    if (t == SqlType::kCurrency && (doubleish(a.type) || doubleish(b.type))) t = SqlType::kDouble;
    if (t == SqlType::kDecimal) {
      *out = {"jet_dec_mul(" + AsDecimal(a) + ", " + AsDecimal(b) + ")", t,
              std::min(DecimalPlaces(a) + DecimalPlaces(b), 28), {}};
    } else if (t == SqlType::kCurrency) {
      *out = {"jet_cur_mul(" + AsCurrency(a) + ", " + AsCurrency(b) + ")", t, 0, {}};
    } else {
      *out = {"(" + AsNumber(a) + " * " + AsNumber(b) + ")", t, 0, {}};
    }
    return Status::OK();
  }
  if (op == "/") {
    *out = {"(1.0 * " + AsNumber(a) + " / " + AsNumber(b) + ")", SqlType::kDouble, 0, {}};
    return Status::OK();
  }
  if (op == "\\" || op == "MOD") {
    *out = {std::string(op == "MOD" ? "jet_mod(" : "jet_intdiv(") + AsNumber(a) + ", " + AsNumber(b) + ")",
            SqlType::kLong, 0, {}};
    return Status::OK();
  }
  if (op == "^") {
    *out = {"jet_pow(" + AsNumber(a) + ", " + AsNumber(b) + ")", SqlType::kDouble, 0, {}};
    return Status::OK();
  }
  return SyntaxError(op);
}

}  // namespace jet::sql
