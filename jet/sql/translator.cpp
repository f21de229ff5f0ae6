// Queries, FROM sources and crosstabs.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "sql/date_math.h"
#include "sql/function_support.h"
#include "sql/output_names.h"
#include "sql/parser.h"
#include "sql/translator_impl.h"

namespace jet::sql {

// ---- parameters -------------------------------------------------------------

std::string ParameterKey(std::string_view name) {
  std::string key;
  std::string part;
  bool bracket = false;
  auto flush = [&]() {
    size_t b = part.find_first_not_of(" \t");
    size_t e = part.find_last_not_of(" \t");
    if (!key.empty()) key += '!';
    if (b != std::string::npos) key += FoldCase(part.substr(b, e - b + 1));
    part.clear();
  };
  for (char c : name) {
    if (bracket) {
      if (c == ']') bracket = false;
      else part += c;
    } else if (c == '[') {
      bracket = true;
    } else if (c == '!' || c == '.') {
      flush();
    } else {
      part += c;
    }
  }
  flush();
  return key;
}

int ParameterList::Find(const std::string& key) const {
  for (size_t i = 0; i < items_.size(); ++i)
    if (items_[i].key == key) return static_cast<int>(i);
  return -1;
}

int ParameterList::Declare(const ParameterDecl& decl) {
  std::string key = ParameterKey(decl.name);
  int found = Find(key);
  if (found >= 0) return found;
  QueryParameter p;
  p.name = decl.name;
  // A single bracketed name is shown without its brackets.
  if (p.name.size() > 2 && p.name.front() == '[' && p.name.back() == ']' &&
      p.name.find(']') == p.name.size() - 1)
    p.name = p.name.substr(1, p.name.size() - 2);
  p.key = key;
  p.type = decl.type;
  p.declared = true;
  p.typed = decl.typed;
  items_.push_back(p);
  return static_cast<int>(items_.size()) - 1;
}

int ParameterList::Use(const std::string& name, const std::string& key) {
  int found = Find(key);
  if (found >= 0) return found;
  QueryParameter p;
  p.name = name;
  p.key = key;
  items_.push_back(p);
  return static_cast<int>(items_.size()) - 1;
}

// ---- helpers ----------------------------------------------------------------

bool NamesEqual(std::string_view a, std::string_view b) { return a == b || FoldCase(a) == FoldCase(b); }

Status SyntaxError(const std::string& text) {
  return Status::InvalidArgument("Syntax error in query expression '" + text + "'.", 3075);
}

namespace {

std::string ColumnList(size_t n, const std::string& prefix = "") {
  std::string s;
  for (size_t i = 0; i < n; ++i) s += (i ? ", " : "") + prefix + "c" + std::to_string(i);
  return s;
}

std::string OrderSuffix(const TypedSql& t, bool descending) {
  std::string s = t.sql;
  s += Collation(t.type);
  if (descending) s += " DESC";
  return s;
}

}  // namespace

// ---- statements -------------------------------------------------------------

Status Translator::TranslateStatement(const Statement& st) {
  for (const ParameterDecl& decl : st.parameters) out_->parameters.Declare(decl);
  QueryOut q;
  if (st.kind == StatementKind::kCrosstab) {
    JET_RETURN_IF_ERROR(TranslateCrosstab(st, &q));
  } else if (st.kind == StatementKind::kSelect) {
    JET_RETURN_IF_ERROR(TranslateQuery(*st.query, nullptr, &q));
  } else {
    return Status::Unsupported("Action queries are run by the writer.");
  }
  out_->sql = std::move(q.sql);
  out_->columns = std::move(q.columns);
  return Status::OK();
}

Status Translator::TranslateQuery(const QueryExpr& q, Scope* outer, QueryOut* out) {
  if (!q.is_union) return TranslateSelect(q, outer, out);
  QueryOut left, right;
  JET_RETURN_IF_ERROR(TranslateQuery(*q.left, outer, &left));
  JET_RETURN_IF_ERROR(TranslateQuery(*q.right, outer, &right));
  if (left.columns.size() != right.columns.size()) {
    return Status::InvalidArgument(
        "The number of columns in the two selected tables or queries of a union query do not match.", 3307);
  }
  out->columns = left.columns;
  for (size_t i = 0; i < out->columns.size(); ++i) {
    OutputColumn& c = out->columns[i];
    const OutputColumn& r = right.columns[i];
    if (c.type == SqlType::kNull) c.type = r.type;
    else if (r.type != SqlType::kNull && r.type != c.type) {
      if (IsText(c.type) && IsText(r.type)) c.type = SqlType::kMemo;
      else if (IsNumber(c.type) && IsNumber(r.type)) c.type = WiderNumber(c.type, r.type);
      else c.type = SqlType::kVariant;
    }
  }
  // Each side is wrapped so that its own ORDER BY or TOP stays inside it.
  std::string sql = "SELECT * FROM (" + left.sql + ") UNION " + std::string(q.union_all ? "ALL " : "") +
                    "SELECT * FROM (" + right.sql + ")";
  if (!q.order_by.empty()) {
    std::string keys;
    for (const OrderItem& item : q.order_by) {
      int index = -1;
      if (item.expr->kind == ExprKind::kName) {
        for (size_t i = 0; i < out->columns.size(); ++i)
          if (NamesEqual(out->columns[i].name, item.expr->parts.back())) {
            index = static_cast<int>(i);
            break;
          }
      }
      if (index < 0) {
        // Only an output column's name can sort a union; anything else (an
        // expression, a stray word) has no name to quote.
        const std::string what = item.expr->parts.empty() ? "expression" : item.expr->parts.back();
        return Status::InvalidArgument("ORDER BY clause (" + what + ") conflicts with UNION's column names.", 3075);
      }
      TypedSql key{"c" + std::to_string(index), out->columns[index].type, 0, {}};
      keys += (keys.empty() ? "" : ", ") + OrderSuffix(key, item.descending);
    }
    sql = "SELECT * FROM (" + sql + ") ORDER BY " + keys;
  }
  out->sql = std::move(sql);
  return Status::OK();
}

namespace {

// The source a translated field reference reads (sN.cK, or its rowid), or
// null when the SQL is anything else.
const Source* FieldSource(const Scope* scope, const std::string& sql) {
  for (; scope; scope = scope->outer) {
    for (const Source& s : scope->sources) {
      const std::string prefix = s.sqlite_alias + ".";
      if (sql.size() > prefix.size() && sql.compare(0, prefix.size(), prefix) == 0 &&
          std::all_of(sql.begin() + static_cast<std::ptrdiff_t>(prefix.size()), sql.end(),
                      [](unsigned char c) { return std::isalnum(c); }))
        return &s;
    }
  }
  return nullptr;
}

ColumnOrigin OriginOf(const SelectItem& item, const TypedSql& t, const Scope* scope) {
  if (!item.alias.empty() || item.expr->kind != ExprKind::kName) return {item.alias, {}, {}};
  const Source* source = FieldSource(scope, t.sql);
  if (!source) return {};
  return {{}, source->alias, item.expr->parts.back()};
}

}  // namespace

Status Translator::ExpandStar(const sql::Expr& star, Scope* scope, std::vector<TypedSql>* items,
                              std::vector<OutputColumn>* columns, std::vector<ColumnOrigin>* origins) {
  bool any = false;
  for (Source& s : scope->sources) {
    if (!star.parts.empty() && !NamesEqual(s.alias, star.parts[0])) continue;
    any = true;
    s.shown = true;
    for (size_t i = 0; i < s.columns.size(); ++i) {
      const SourceColumn& c = s.columns[i];
      items->push_back({s.sqlite_alias + ".c" + std::to_string(i), c.type, c.decimal_scale, c.caption});
      columns->push_back({std::string(), c.type, c.caption, c.decimal_scale});
      origins->push_back({{}, s.alias, c.name});
    }
  }
  if (any) return Status::OK();
  return Status::NotFound("Could not find the table or query '" +
                              (star.parts.empty() ? std::string("*") : star.parts[0]) + "' named in the select list.",
                          3078);
}

Status Translator::SelectList(const SelectCore& core, Scope* scope, std::vector<TypedSql>* items,
                              std::vector<OutputColumn>* columns) {
  std::vector<ColumnOrigin> origins;
  for (const SelectItem& item : core.items) {
    if (item.expr->kind == ExprKind::kStar) {
      JET_RETURN_IF_ERROR(ExpandStar(*item.expr, scope, items, columns, &origins));
      continue;
    }
    TypedSql t;
    JET_RETURN_IF_ERROR(Expr(*item.expr, scope, &t));
    origins.push_back(OriginOf(item, t, scope));
    columns->push_back({std::string(), t.type, t.caption, t.decimal_scale});
    items->push_back(std::move(t));
  }
  const std::vector<std::string> names = OutputColumnNames(origins);
  const size_t first = columns->size() - names.size();
  for (size_t i = 0; i < names.size(); ++i) (*columns)[first + i].name = names[i];
  return Status::OK();
}

Status Translator::OrderKeys(const std::vector<OrderItem>& order, Scope* scope, std::vector<std::string>* keys) {
  for (const OrderItem& item : order) {
    if (item.expr->kind == ExprKind::kNumber) continue;  // Jet sorts by a constant: no effect
    TypedSql t;
    JET_RETURN_IF_ERROR(Expr(*item.expr, scope, &t));
    keys->push_back(OrderSuffix(t, item.descending));
  }
  return Status::OK();
}

Status Translator::TranslateSelect(const QueryExpr& q, Scope* outer, QueryOut* out) {
  const SelectCore& core = q.select;
  Scope scope;
  scope.outer = outer;
  scope.items = &core.items;
  std::string from;
  for (const auto& ref : core.from) {
    std::string part;
    JET_RETURN_IF_ERROR(TranslateFrom(*ref, &scope, &part));
    from += (from.empty() ? "" : " CROSS JOIN ") + part;
  }
  for (Source& s : scope.sources) s.shown = false;  // the ON conditions do not count
  std::vector<TypedSql> items;
  JET_RETURN_IF_ERROR(SelectList(core, &scope, &items, &out->columns));
  const bool distinct = core.quantifier == Quantifier::kDistinct;
  const std::string row_identity = DistinctRowKeys(core, scope);
  std::string select_list;
  for (size_t i = 0; i < items.size(); ++i) {
    std::string item = items[i].sql;
    if (distinct) item += Collation(items[i].type);
    select_list += (i ? ", " : "") + item + " AS c" + std::to_string(i);
  }
  std::string body = from.empty() ? "" : " FROM " + from;
  if (core.where) {
    TypedSql w;
    JET_RETURN_IF_ERROR(Condition(*core.where, &scope, &w));
    body += " WHERE " + w.sql;
  }
  JET_RETURN_IF_ERROR(GroupingClauses(core, &scope, row_identity, &body));
  std::vector<std::string> keys;
  JET_RETURN_IF_ERROR(OrderKeys(q.order_by, &scope, &keys));
  if (!core.top) {
    out->sql = std::string("SELECT ") + (distinct ? "DISTINCT " : "") + select_list + body;
    if (!keys.empty()) {
      std::string order;
      for (const auto& k : keys) order += (order.empty() ? "" : ", ") + k;
      out->sql += " ORDER BY " + order;
    }
    return Status::OK();
  }
  // TOP n keeps the rows tied with the n-th: rank over the ORDER BY keys.
  std::string key_columns, window_order, outer_order;
  for (size_t i = 0; i < keys.size(); ++i) {
    std::string k = keys[i];
    bool desc = k.size() > 5 && k.compare(k.size() - 5, 5, " DESC") == 0;
    std::string expr = desc ? k.substr(0, k.size() - 5) : k;
    std::string collate;
    for (const char* c : {" COLLATE JETGENERAL", " COLLATE JETDECIMAL"}) {
      const size_t length = std::strlen(c);
      if (expr.size() > length && expr.compare(expr.size() - length, length, c) == 0) {
        expr.resize(expr.size() - length);
        collate = c;
      }
    }
    key_columns += ", " + expr + " AS o" + std::to_string(i);
    std::string ok = "o" + std::to_string(i) + collate + (desc ? " DESC" : "");
    window_order += (i ? ", " : "") + ok;
    outer_order += (i ? ", " : "") + ok;
  }
  std::string rank = keys.empty() ? "ROW_NUMBER() OVER ()" : "RANK() OVER (ORDER BY " + window_order + ")";
  // The window sees only columns of a FROM, so the keys are named one level down.
  std::string inner = "SELECT *, " + rank + " AS r_, COUNT(*) OVER () AS n_ FROM (SELECT " +
                      (distinct ? "DISTINCT " : "") + select_list + key_columns + body + ")";
  // A count past every row count keeps every row; it is never made an
  // integer it does not fit.
  const double rows = std::min(core.top->count, 1e18);
  std::string limit = core.top->percent
                          ? "(r_ - 1) * 100.0 < n_ * " + DoubleLiteral(core.top->count)
                          : "r_ <= " + std::to_string(static_cast<int64_t>(rows));
  out->sql = "SELECT " + ColumnList(items.size()) + " FROM (" + inner + ") WHERE " + limit;
  if (!outer_order.empty()) out->sql += " ORDER BY " + outer_order;
  return Status::OK();
}

namespace {

bool HasAggregate(const Expr& e) {
  if (e.kind == ExprKind::kCall && IsAggregate(e.text)) return true;
  for (const auto& a : e.args)
    if (HasAggregate(*a)) return true;
  return false;
}

}  // namespace

// DISTINCTROW drops rows that repeat the same records of the tables whose
// fields are shown, so two customers of one name both stay. It means nothing
// with one source, when every source is shown, or over groups. A copied
// table's record is its rowid; a query or sub-select has no record identity,
// so all of its columns stand for it.
// GROUP BY (text groups in Jet's General order) and HAVING. Without GROUP BY,
// `row_identity` groups rows by the source records DISTINCTROW keeps apart.
Status Translator::GroupingClauses(const SelectCore& core, Scope* scope, const std::string& row_identity,
                                   std::string* body) {
  if (!core.group_by.empty()) {
    std::string groups;
    for (const auto& g : core.group_by) {
      TypedSql t;
      JET_RETURN_IF_ERROR(Expr(*g, scope, &t));
      groups += (groups.empty() ? "" : ", ") + t.sql + Collation(t.type);
    }
    *body += " GROUP BY " + groups;
  } else if (!row_identity.empty()) {
    *body += " GROUP BY " + row_identity;
  }
  if (core.having) {
    TypedSql h;
    JET_RETURN_IF_ERROR(Condition(*core.having, scope, &h));
    *body += " HAVING " + h.sql;
  }
  return Status::OK();
}

std::string Translator::DistinctRowKeys(const SelectCore& core, const Scope& scope) const {
  if (core.quantifier != Quantifier::kDistinctRow || !core.group_by.empty() || core.having) return {};
  for (const SelectItem& item : core.items)
    if (HasAggregate(*item.expr)) return {};
  std::string keys;
  size_t shown = 0;
  for (const Source& s : scope.sources) {
    if (!s.shown) continue;
    ++shown;
    if (s.stored_table) {
      keys += (keys.empty() ? "" : ", ") + s.sqlite_alias + ".rowid";
      continue;
    }
    for (size_t i = 0; i < s.columns.size(); ++i)
      keys += (keys.empty() ? "" : ", ") + s.sqlite_alias + ".c" + std::to_string(i);
  }
  return shown == scope.sources.size() ? std::string() : keys;
}

// ---- FROM ---------------------------------------------------------------------

Status Translator::TranslateFrom(const TableRef& ref, Scope* scope, std::string* sql) {
  switch (ref.kind) {
    case TableRef::Kind::kNamed:
      return TranslateNamedSource(ref, scope, sql);
    case TableRef::Kind::kDerived: {
      QueryOut sub;
      JET_RETURN_IF_ERROR(TranslateQuery(*ref.derived, scope->outer, &sub));
      Source s;
      s.alias = ref.alias;
      s.sqlite_alias = NextAlias();
      for (const OutputColumn& c : sub.columns) s.columns.push_back({c.name, c.type, c.caption, c.decimal_scale});
      *sql = "(" + sub.sql + ") AS " + s.sqlite_alias;
      scope->sources.push_back(std::move(s));
      return Status::OK();
    }
    case TableRef::Kind::kJoin: {
      std::string left, right;
      JET_RETURN_IF_ERROR(TranslateFrom(*ref.left, scope, &left));
      JET_RETURN_IF_ERROR(TranslateFrom(*ref.right, scope, &right));
      TypedSql on;
      JET_RETURN_IF_ERROR(Condition(*ref.on, scope, &on));
      if (ref.join == JoinKind::kRight) {
        // SQLite 3.40 has no RIGHT JOIN: swap the sides of a LEFT JOIN.
        *sql = "(" + right + " LEFT JOIN " + left + " ON " + on.sql + ")";
      } else {
        *sql = "(" + left + (ref.join == JoinKind::kLeft ? " LEFT JOIN " : " INNER JOIN ") + right + " ON " +
               on.sql + ")";
      }
      return Status::OK();
    }
  }
  return Status::OK();
}

namespace {

// The other Jet file a source names: IN 'path', or IN '' [;DATABASE=path].
// A connect string of another kind ([dBASE IV;], [ODBC;...]) is refused.
Status ExternalDatabase(const TableRef& ref, std::string* path) {
  *path = ref.external_db;
  const std::string& connect = ref.external_connect;
  if (connect.empty()) return Status::OK();
  const size_t semicolon = connect.find(';');
  if (semicolon == std::string::npos || semicolon > 0) {
    return Status::NotFound("Could not find installable ISAM: only Jet databases can be named after IN, not '" +
                                connect + "'.",
                            3170);
  }
  const std::string folded = FoldCase(connect);
  const size_t key = folded.find(";database=");
  if (path->empty() && key != std::string::npos) {
    const size_t begin = key + 10;
    const size_t end = connect.find(';', begin);
    *path = connect.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
  }
  if (path->empty()) return Status::InvalidArgument("IN names no database: [" + connect + "].", 3131);
  return Status::OK();
}

Status MissingSource(const std::string& name) {
  return Status::NotFound("The Microsoft Jet database engine cannot find the input table or query '" + name +
                              "'.  Make sure it exists and that its name is spelled correctly.",
                          3078);
}

}  // namespace

Status Translator::TranslateNamedSource(const TableRef& ref, Scope* scope, std::string* sql) {
  std::string database;
  JET_RETURN_IF_ERROR(ExternalDatabase(ref, &database));
  Source s;
  s.alias = ref.alias.empty() ? ref.name : ref.alias;
  s.sqlite_alias = NextAlias();
  bool found = false;
  std::string table;
  JET_RETURN_IF_ERROR(catalog_->ResolveTable(database, ref.name, &found, &table, &s.columns));
  if (!found && !database.empty()) return MissingSource(ref.name);
  if (found) {
    *sql = table + " AS " + s.sqlite_alias;
    s.stored_table = true;
    bool listed = false;
    for (const auto& t : out_->tables) listed = listed || t == table;
    if (!listed) out_->tables.push_back(table);
    scope->sources.push_back(std::move(s));
    return Status::OK();
  }
  std::string text;
  if (!catalog_->FindSavedQuery(ref.name, &text)) return MissingSource(ref.name);
  std::string key = FoldCase(ref.name);
  if (open_queries_.count(key)) {
    return Status::InvalidArgument("Circular reference caused by '" + ref.name + "'.", 3103);
  }
  Statement nested;
  Status parsed = ParseStatement(text, &nested);
  if (!parsed.ok()) return Status::InvalidArgument(parsed.message() + " (in query '" + ref.name + "')", parsed.jet_error());
  if (nested.kind != StatementKind::kSelect && nested.kind != StatementKind::kCrosstab) {
    return Status::InvalidArgument("Query '" + ref.name + "' is an action query and cannot be used as a table.", 3078);
  }
  open_queries_.insert(key);
  source_stack_.push_back(source_text_);
  source_text_ = text;
  for (const ParameterDecl& decl : nested.parameters) out_->parameters.Declare(decl);
  QueryOut sub;
  Status st = nested.kind == StatementKind::kCrosstab ? TranslateCrosstab(nested, &sub)
                                                       : TranslateQuery(*nested.query, nullptr, &sub);
  source_text_ = source_stack_.back();
  source_stack_.pop_back();
  open_queries_.erase(key);
  JET_RETURN_IF_ERROR(st);
  for (const OutputColumn& c : sub.columns) {
    std::string own = catalog_->SavedQueryCaption(ref.name, c.name);
    s.columns.push_back({c.name, c.type, own.empty() ? c.caption : own, c.decimal_scale});
  }
  *sql = "(" + sub.sql + ") AS " + s.sqlite_alias;
  scope->sources.push_back(std::move(s));
  return Status::OK();
}

// ---- crosstab ---------------------------------------------------------------

namespace {

// A heading listed after PIVOT ... IN is named by its value's text, as a
// heading found in the data is: 3.50 is "3.5", a date m/d/yyyy, Null "<>".
std::string FixedHeading(const sql::Expr& e) {
  switch (e.kind) {
    case ExprKind::kNull: return "<>";
    case ExprKind::kNumber: return NumberText(e.number);
    case ExprKind::kDate: {
      const auto serial = ParseDateText(e.text);
      return serial ? DateText(*serial) : e.text;
    }
    case ExprKind::kUnary:
      if (e.op == "-" && e.args[0]->kind == ExprKind::kNumber) return NumberText(-e.args[0]->number);
      break;
    default: break;
  }
  return e.text;
}

}  // namespace

Status Translator::TranslateCrosstab(const Statement& st, QueryOut* out) {
  const QueryExpr& q = *st.query;
  if (q.is_union) return Status::InvalidArgument("A crosstab query cannot be a union.", 3075);
  const SelectCore& core = q.select;
  Scope scope;
  scope.items = &core.items;
  std::string from;
  for (const auto& ref : core.from) {
    std::string part;
    JET_RETURN_IF_ERROR(TranslateFrom(*ref, &scope, &part));
    from += (from.empty() ? "" : " CROSS JOIN ") + part;
  }
  std::string body = from.empty() ? "" : " FROM " + from;
  if (core.where) {
    TypedSql w;
    JET_RETURN_IF_ERROR(Condition(*core.where, &scope, &w));
    body += " WHERE " + w.sql;
  }
  TypedSql pivot;
  JET_RETURN_IF_ERROR(Expr(*st.pivot, &scope, &pivot));
  std::vector<PivotValue> headings;
  if (!st.pivot_in.empty()) {
    for (const auto& e : st.pivot_in) {
      TypedSql v;
      JET_RETURN_IF_ERROR(Expr(*e, &scope, &v));
      if (IsText(pivot.type) && !IsText(v.type)) v.sql = AsText(v);
      headings.push_back({v.sql, FixedHeading(*e)});
    }
  } else {
    std::string values_sql = "SELECT DISTINCT " + pivot.sql + body + " ORDER BY 1" + Collation(pivot.type);
    JET_RETURN_IF_ERROR(catalog_->PivotValues(values_sql, pivot.type, &headings));
  }
  std::vector<TypedSql> items;
  JET_RETURN_IF_ERROR(SelectList(core, &scope, &items, &out->columns));
  std::string select_list;
  for (size_t i = 0; i < items.size(); ++i) select_list += (i ? ", " : "") + items[i].sql + " AS c" + std::to_string(i);
  size_t next = items.size();
  for (const PivotValue& h : headings) {
    std::string match = h.literal_sql == "NULL" ? "(" + pivot.sql + ") IS NULL"
                                                : "(" + pivot.sql + ") = " + h.literal_sql + Collation(pivot.type);
    pivot_match_ = match;
    TypedSql cell;
    Status s = Expr(*st.transform, &scope, &cell);
    pivot_match_.clear();
    JET_RETURN_IF_ERROR(s);
    // A cell with no rows is empty, even for Count.
    select_list += (select_list.empty() ? "" : ", ") + std::string("CASE WHEN count(CASE WHEN ") + match +
                   " THEN 1 END) > 0 THEN " + cell.sql + " END AS c" + std::to_string(next++);
    out->columns.push_back({h.heading, cell.type, std::string(), cell.decimal_scale});
  }
  JET_RETURN_IF_ERROR(GroupingClauses(core, &scope, std::string(), &body));
  out->sql = "SELECT " + select_list + body;
  std::vector<std::string> keys;
  JET_RETURN_IF_ERROR(OrderKeys(q.order_by, &scope, &keys));
  if (keys.empty()) {
    // Access lists crosstab rows in the order of their row headings.
    for (size_t i = 0; i < core.group_by.size() && i < items.size(); ++i)
      keys.push_back(OrderSuffix(items[i], false));
  }
  if (!keys.empty()) {
    std::string order;
    for (const auto& k : keys) order += (order.empty() ? "" : ", ") + k;
    out->sql += " ORDER BY " + order;
  }
  return Status::OK();
}

Status Translate(const Statement& statement, std::string_view source_text, TranslationCatalog* catalog,
                 Translation* out) {
  *out = Translation();
  Translator t(catalog, out);
  t.set_source_text(std::string(source_text));
  return t.TranslateStatement(statement);
}

}  // namespace jet::sql

namespace jet::sql {

Status Translator::CollectAction(const Statement& st) {
  for (const ParameterDecl& decl : st.parameters) out_->parameters.Declare(decl);
  Scope scope;
  std::string ignored;
  const auto& tables = st.kind == StatementKind::kUpdate ? st.update_tables : st.query ? st.query->select.from
                                                                                     : st.update_tables;
  if (st.kind == StatementKind::kInsert) {
    TableRef target;
    target.name = st.target_table;
    JET_RETURN_IF_ERROR(TranslateFrom(target, &scope, &ignored));
    TypedSql t;
    for (const auto& v : st.values) JET_RETURN_IF_ERROR(Expr(*v, &scope, &t));
    if (st.query) {
      QueryOut q;
      JET_RETURN_IF_ERROR(TranslateQuery(*st.query, nullptr, &q));
    }
    return Status::OK();
  }
  for (const auto& ref : tables) JET_RETURN_IF_ERROR(TranslateFrom(*ref, &scope, &ignored));
  TypedSql t;
  for (const Assignment& a : st.assignments) JET_RETURN_IF_ERROR(Expr(*a.value, &scope, &t));
  // A damaged saved query can say Delete over a statement without a query
  // part: it then has no conditions of its own to collect from.
  const ExprPtr& where = st.kind == StatementKind::kUpdate || !st.query ? st.where : st.query->select.where;
  if (where) JET_RETURN_IF_ERROR(Expr(*where, &scope, &t));
  return Status::OK();
}

Status CollectActionParameters(const Statement& statement, std::string_view source_text,
                               TranslationCatalog* catalog, ParameterList* parameters) {
  Translation out;
  Translator t(catalog, &out);
  t.set_source_text(std::string(source_text));
  Status s = t.CollectAction(statement);
  *parameters = out.parameters;
  return s;
}

}  // namespace jet::sql
