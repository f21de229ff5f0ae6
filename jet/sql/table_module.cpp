#include "sql/table_module.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <sstream>

#include "jet/text_form.h"
#include "sql/decimal_math.h"
#include "sql/virtual_table.h"

namespace jet::sql {
namespace {

// --- Values ---

// What a constraint value asks of an index: a key value, nothing at all
// (it lies beyond every value the column can hold, or is Null), or nothing
// the index can answer (text, a blob): then the table is scanned.
enum class KeyFit { kValue, kNoRows, kNoBound, kScan };

constexpr double kExactIntegers = 9007199254740992.0;  // 2^53: every integer below is a double

// The constraint value `v` as a key value of a column of `type`. An equal
// value must be one the column can hold exactly. A bound is moved inward to
// the nearest value the column can hold (2.5 < Long becomes 3 <=), so the
// rows the index gives are exactly those SQLite's own comparison keeps.
KeyFit FitKey(sqlite3_value* v, ColumnType type, int op, Value* out, bool* inclusive) {
  const int storage = sqlite3_value_type(v);
  if (storage == SQLITE_NULL) return KeyFit::kNoRows;  // no comparison with Null is true
  if (storage != SQLITE_INTEGER && storage != SQLITE_FLOAT) return KeyFit::kScan;
  if (storage == SQLITE_INTEGER && std::fabs(static_cast<double>(sqlite3_value_int64(v))) >= kExactIntegers)
    return KeyFit::kScan;
  const double d = sqlite3_value_double(v);
  if (std::isnan(d)) return KeyFit::kScan;
  const bool equal = op == SQLITE_INDEX_CONSTRAINT_EQ;
  const bool lower = op == SQLITE_INDEX_CONSTRAINT_GT || op == SQLITE_INDEX_CONSTRAINT_GE;
  const bool real_type = type == ColumnType::kDouble || type == ColumnType::kDateTime || type == ColumnType::kSingle;
  if (real_type && d == 0) return KeyFit::kScan;  // -0 and 0 compare equal but key apart
  switch (type) {
    case ColumnType::kDouble: *out = Value(type, d); return KeyFit::kValue;
    case ColumnType::kDateTime: *out = Value(type, DateTime{d}); return KeyFit::kValue;
    case ColumnType::kSingle: {
      float f = static_cast<float>(d);
      if (static_cast<double>(f) != d) {
        if (equal || std::isinf(f)) return equal ? KeyFit::kNoRows : KeyFit::kScan;
        if (lower && static_cast<double>(f) < d) f = std::nextafter(f, INFINITY);
        if (!lower && static_cast<double>(f) > d) f = std::nextafter(f, -INFINITY);
        *inclusive = true;
      }
      *out = Value(type, f);
      return KeyFit::kValue;
    }
    default: break;
  }
  int64_t lo = 0, hi = 0;
  switch (type) {
    case ColumnType::kByte: lo = 0, hi = 255; break;
    case ColumnType::kInteger: lo = INT16_MIN, hi = INT16_MAX; break;
    case ColumnType::kLong: lo = INT32_MIN, hi = INT32_MAX; break;
    case ColumnType::kCurrency:  // held scaled, as an integer
      if (std::fabs(d) >= kExactIntegers) return KeyFit::kScan;
      lo = INT64_MIN, hi = INT64_MAX;
      break;
    default: return KeyFit::kScan;
  }
  double whole = lower ? std::ceil(d) : equal ? d : std::floor(d);
  if (whole != d) {
    if (equal) return KeyFit::kNoRows;
    *inclusive = true;
  }
  if (equal && (whole < lo || whole > hi)) return KeyFit::kNoRows;
  if (whole < lo) return lower ? KeyFit::kNoBound : KeyFit::kNoRows;
  if (whole > hi) return lower ? KeyFit::kNoRows : KeyFit::kNoBound;
  const auto i = static_cast<int64_t>(whole);
  *out = type == ColumnType::kCurrency ? Value(type, Currency{i}) : Value(type, i);
  return KeyFit::kValue;
}

bool Seekable(ColumnType type) {
  switch (type) {
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kCurrency:
    case ColumnType::kSingle:
    case ColumnType::kDouble:
    case ColumnType::kDateTime: return true;
    default: return false;
  }
}

// --- Plans ---

// How xFilter reads: a scan (index < 0) or a range of one index, with the
// constraint values in argv in this order: equal columns, lower, upper.
struct Plan {
  int index = -1;
  int equal = 0;
  int lower = 0;  // 0 none, 1 inclusive, 2 exclusive
  int upper = 0;
  uint64_t columns = 0;  // SQLite's colUsed: bit 63 stands for every later column

  std::string Encode() const {
    std::ostringstream s;
    s << index << ' ' << equal << ' ' << lower << ' ' << upper << ' ' << columns;
    return s.str();
  }
  static Plan Decode(const char* text) {
    Plan p;
    if (text) std::istringstream(text) >> p.index >> p.equal >> p.lower >> p.upper >> p.columns;
    return p;
  }
};

ColumnSet WantedColumns(uint64_t used, size_t count) {
  ColumnSet wanted(count, false);
  for (size_t i = 0; i < count; ++i) wanted[i] = (used >> std::min<size_t>(i, 63)) & 1;
  return wanted;
}

struct Candidate {
  Plan plan;
  std::vector<int> constraints;  // aConstraint positions, in argv order
  double rows = 0;
};

// The most an index can take of the usable constraints: equality on its
// leading columns, then at most one lower and one upper bound on the next.
Candidate PlanForIndex(const TableDef& def, int position, const sqlite3_index_info* info, double table_rows) {
  const IndexDef& index = def.indexes[position];
  Candidate c;
  c.plan.index = position;
  c.rows = table_rows;
  auto find = [&](int column, std::initializer_list<int> ops) {
    for (int i = 0; i < info->nConstraint; ++i) {
      const auto& k = info->aConstraint[i];
      if (!k.usable || k.iColumn != column) continue;
      for (int op : ops)
        if (k.op == op) return i;
    }
    return -1;
  };
  for (const IndexColumn& col : index.columns) {
    if (!Seekable(def.columns[col.column].type)) break;
    int eq = find(col.column, {SQLITE_INDEX_CONSTRAINT_EQ});
    if (eq >= 0) {
      c.constraints.push_back(eq);
      ++c.plan.equal;
      c.rows /= 10;
      continue;
    }
    int lower = find(col.column, {SQLITE_INDEX_CONSTRAINT_GT, SQLITE_INDEX_CONSTRAINT_GE});
    int upper = find(col.column, {SQLITE_INDEX_CONSTRAINT_LT, SQLITE_INDEX_CONSTRAINT_LE});
    if (lower >= 0) {
      c.constraints.push_back(lower);
      c.plan.lower = info->aConstraint[lower].op == SQLITE_INDEX_CONSTRAINT_GE ? 1 : 2;
      c.rows /= 4;
    }
    if (upper >= 0) {
      c.constraints.push_back(upper);
      c.plan.upper = info->aConstraint[upper].op == SQLITE_INDEX_CONSTRAINT_LE ? 1 : 2;
      c.rows /= 4;
    }
    break;
  }
  if (c.plan.equal == static_cast<int>(index.columns.size()) && !c.plan.lower && !c.plan.upper) {
    c.rows = index.unique || index.primary ? 1 : table_rows / std::max<uint32_t>(index.distinct_count, 1);
  }
  c.rows = std::max(c.rows, 1.0);
  return c;
}

// --- The virtual table ---

struct Table : sqlite3_vtab {
  const InPlaceSource* source = nullptr;
};

struct Cursor : sqlite3_vtab_cursor {
  std::unique_ptr<TableReader> reader;
  uint64_t reader_columns = ~uint64_t{0};
  std::unique_ptr<TableCursor> scan;
  std::vector<RowId> found;  // an index plan's rows
  size_t next_found = 0;
  bool from_index = false;
  bool at_end = true;
  Row row;  // an index plan's current row; a scan's is the scan's own
  RowId id;

  const Row& current() const { return from_index ? row : scan->row(); }
};

const InPlaceSource& SourceOf(sqlite3_vtab_cursor* c) { return *static_cast<Table*>(c->pVtab)->source; }

int BestIndex(sqlite3_vtab* vtab, sqlite3_index_info* info) {
  const TableDef& def = *static_cast<Table*>(vtab)->source->def;
  const double table_rows = std::max<double>(def.stored_row_count, 1);
  Candidate best;
  best.rows = table_rows;
  double best_cost = table_rows;
  for (size_t i = 0; i < def.indexes.size(); ++i) {
    // An index that leaves out rows with Nulls may lack a row the
    // statement wants; such an index is never used.
    if (def.indexes[i].ignore_nulls) continue;
    Candidate c = PlanForIndex(def, static_cast<int>(i), info, table_rows);
    if (c.constraints.empty()) continue;
    const double cost = 2 * c.rows + 20;  // a row read by its place costs about two in a scan
    if (cost < best_cost) {
      best = std::move(c);
      best_cost = cost;
    }
  }
  best.plan.columns = info->colUsed;
  for (size_t k = 0; k < best.constraints.size(); ++k) {
    info->aConstraintUsage[best.constraints[k]].argvIndex = static_cast<int>(k + 1);
    info->aConstraintUsage[best.constraints[k]].omit = 0;  // SQLite checks every row again
  }
  info->estimatedCost = best_cost;
  info->estimatedRows = static_cast<sqlite3_int64>(best.rows);
  if (best.plan.index >= 0 && best.rows <= 1 && def.indexes[best.plan.index].unique)
    info->idxFlags |= SQLITE_INDEX_SCAN_UNIQUE;
  info->idxStr = sqlite3_mprintf("%s", best.plan.Encode().c_str());
  info->needToFreeIdxStr = 1;
  return SQLITE_OK;
}

int Next(sqlite3_vtab_cursor* base) {
  auto* c = static_cast<Cursor*>(base);
  if (!c->from_index) {
    c->at_end = !c->scan->Next();
    if (c->at_end && !c->scan->status().ok()) return FailVirtualTable(base->pVtab, c->scan->status());
    if (!c->at_end) {
      c->id = c->scan->row_id();
      ++*SourceOf(base).rows_read;
    }
    return SQLITE_OK;
  }
  c->at_end = c->next_found >= c->found.size();
  if (c->at_end) return SQLITE_OK;
  c->id = c->found[c->next_found++];
  ++*SourceOf(base).rows_read;
  Status s = c->reader->Read(c->id, &c->row);
  return s.ok() ? SQLITE_OK : FailVirtualTable(base->pVtab, s);
}

// The range a plan seeks, from the constraint values.
KeyFit RangeOf(const Plan& plan, const TableDef& def, int argc, sqlite3_value** argv, IndexRange* range) {
  const IndexDef& index = def.indexes[plan.index];
  if (argc != plan.equal + (plan.lower ? 1 : 0) + (plan.upper ? 1 : 0)) return KeyFit::kScan;
  range->index = static_cast<size_t>(plan.index);
  int arg = 0;
  for (int i = 0; i < plan.equal; ++i) {
    Value v;
    bool inclusive = true;
    KeyFit fit = FitKey(argv[arg++], def.columns[index.columns[i].column].type, SQLITE_INDEX_CONSTRAINT_EQ, &v,
                        &inclusive);
    if (fit != KeyFit::kValue) return fit;
    range->equal.push_back(std::move(v));
  }
  if (!plan.lower && !plan.upper) return KeyFit::kValue;
  const ColumnType bounded = def.columns[index.columns[plan.equal].column].type;
  auto bound = [&](int kind, int inclusive_op, int exclusive_op, std::optional<Value>* value, bool* inclusive) {
    if (!kind) return KeyFit::kValue;
    Value v;
    *inclusive = kind == 1;
    KeyFit fit = FitKey(argv[arg++], bounded, kind == 1 ? inclusive_op : exclusive_op, &v, inclusive);
    if (fit == KeyFit::kValue) *value = std::move(v);
    return fit == KeyFit::kNoBound ? KeyFit::kValue : fit;
  };
  KeyFit low = bound(plan.lower, SQLITE_INDEX_CONSTRAINT_GE, SQLITE_INDEX_CONSTRAINT_GT, &range->lower,
                     &range->lower_inclusive);
  KeyFit high = bound(plan.upper, SQLITE_INDEX_CONSTRAINT_LE, SQLITE_INDEX_CONSTRAINT_LT, &range->upper,
                      &range->upper_inclusive);
  if (low == KeyFit::kNoRows || high == KeyFit::kNoRows) return KeyFit::kNoRows;
  if (low == KeyFit::kScan || high == KeyFit::kScan) return KeyFit::kScan;
  // Both bounds beyond the column's values on their open side: every row with a value.
  if (range->equal.empty() && !range->lower && !range->upper) return KeyFit::kScan;
  return KeyFit::kValue;
}

int Filter(sqlite3_vtab_cursor* base, int, const char* idx_str, int argc, sqlite3_value** argv) {
  auto* c = static_cast<Cursor*>(base);
  const InPlaceSource& source = SourceOf(base);
  const Plan plan = Plan::Decode(idx_str);
  // A nested loop filters the same cursor again and again: the reader, and
  // the index pages it keeps, serve every pass.
  if (!c->reader || c->reader_columns != plan.columns) {
    Status s = source.db->OpenReader(source.table, WantedColumns(plan.columns, source.def->columns.size()),
                                     &c->reader);
    if (!s.ok()) return FailVirtualTable(base->pVtab, s);
    c->reader_columns = plan.columns;
  }
  c->from_index = false;
  c->scan.reset();
  if (plan.index >= 0) {
    IndexRange range;
    const KeyFit fit = RangeOf(plan, *source.def, argc, argv, &range);
    c->found.clear();
    c->next_found = 0;
    Status s = fit == KeyFit::kValue ? c->reader->Find(range, &c->found) : Status::OK();
    if (!s.ok() && s.code() != Status::Code::kUnsupported) return FailVirtualTable(base->pVtab, s);
    // Nothing asks for index order (the plan never consumes an ORDER BY), so
    // the rows are read in file order: each data page once.
    std::sort(c->found.begin(), c->found.end(),
              [](RowId a, RowId b) { return a.page != b.page ? a.page < b.page : a.row < b.row; });
    c->from_index = s.ok() && fit != KeyFit::kScan;
  }
  if (!c->from_index) {
    Status s = c->reader->Scan(&c->scan);
    if (!s.ok()) return FailVirtualTable(base->pVtab, s);
  }
  return Next(base);
}

int Eof(sqlite3_vtab_cursor* c) { return static_cast<Cursor*>(c)->at_end; }

int Column(sqlite3_vtab_cursor* base, sqlite3_context* context, int i) {
  ResultCell(context, static_cast<Cursor*>(base)->current(), i);
  return SQLITE_OK;
}

int RowIdOf(sqlite3_vtab_cursor* base, sqlite3_int64* rowid) {
  const RowId id = static_cast<Cursor*>(base)->id;
  *rowid = static_cast<int64_t>(id.page) << 16 | id.row;  // the row's place, so changes can name it
  return SQLITE_OK;
}

}  // namespace

void RegisterTableModule(sqlite3* lite, const std::map<std::string, InPlaceSource>* sources) {
  static const sqlite3_module module =
      ReadOnlyModule<Table, Cursor>(ConnectToSource<Table, InPlaceSource>, BestIndex, Filter, Next, Eof, Column, RowIdOf);
  sqlite3_create_module(lite, kTableModule, &module, const_cast<std::map<std::string, InPlaceSource>*>(sources));
}

std::string VirtualTableSchema(const TableDef& def) {
  std::string schema = "CREATE TABLE x(";
  for (size_t i = 0; i < def.columns.size(); ++i)
    schema += (i ? ", c" : "c") + std::to_string(i) + " " + DeclaredType(def.columns[i].type);
  return schema + (def.columns.empty() ? "c0)" : ")");
}

void ResultCell(sqlite3_context* context, const Row& row, int i) {
  if (i < 0 || static_cast<size_t>(i) >= row.size()) {
    sqlite3_result_null(context);
    return;
  }
  ResultValue(context, row[i]);
}

void ResultValue(sqlite3_context* context, const Value& v) {
  const LiteForm f = ToLiteForm(v);
  switch (f.storage) {
    case SQLITE_INTEGER: sqlite3_result_int64(context, f.integer); break;
    case SQLITE_FLOAT: sqlite3_result_double(context, f.real); break;
    case SQLITE_TEXT: sqlite3_result_text(context, static_cast<const char*>(f.data()), f.size, SQLITE_TRANSIENT); break;
    case SQLITE_BLOB: sqlite3_result_blob(context, f.data(), f.size, SQLITE_TRANSIENT); break;
    default: sqlite3_result_null(context);
  }
}

std::string DeclaredType(ColumnType t) {
  switch (t) {
    case ColumnType::kText:
    case ColumnType::kMemo: return "TEXT COLLATE JETGENERAL";
    case ColumnType::kSingle:
    case ColumnType::kDouble:
    case ColumnType::kDateTime: return "REAL";
    case ColumnType::kDecimal: return "TEXT COLLATE JETDECIMAL";  // exact, as its shortest text
    case ColumnType::kBinary:
    case ColumnType::kOle:
    case ColumnType::kGuid: return "BLOB";
    default: return "INTEGER";
  }
}

LiteForm ToLiteForm(const Value& v) {
  LiteForm f;
  if (v.is_null()) return f;
  std::visit(
      [&](const auto& x) {
        using T = std::decay_t<decltype(x)>;
        auto integer = [&](int64_t i) { f.storage = SQLITE_INTEGER, f.integer = i; };
        auto real = [&](double d) { f.storage = SQLITE_FLOAT, f.real = d; };
        auto bytes = [&](int storage, const void* p, size_t n) {
          f.storage = storage, f.bytes = p, f.size = static_cast<int>(n);
        };
        if constexpr (std::is_same_v<T, bool>) integer(x ? -1 : 0);
        else if constexpr (std::is_same_v<T, int64_t>) integer(x);
        else if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) real(x);
        else if constexpr (std::is_same_v<T, Currency>) integer(x.scaled);
        else if constexpr (std::is_same_v<T, DateTime>) real(x.serial);
        else if constexpr (std::is_same_v<T, Decimal>) {
          f.owned = FormatDecimal(x);
          f.storage = SQLITE_TEXT, f.size = static_cast<int>(f.owned.size());
        }
        else if constexpr (std::is_same_v<T, std::string>) bytes(SQLITE_TEXT, x.data(), x.size());
        else if constexpr (std::is_same_v<T, Bytes> || std::is_same_v<T, Guid>) bytes(SQLITE_BLOB, x.data(), x.size());
      },
      v.data());
  return f;
}

}  // namespace jet::sql
