// Jet's aggregates that SQLite lacks: First, Last, StDev(P), Var(P), and
// RegisterJetFunctions, which installs everything on a connection.
#include <cmath>

#include "sql/function_support.h"

namespace jet::sql {
namespace {

struct PickState {
  sqlite3_value* value;
  bool seen;
};

template <bool kLast>
void PickStep(sqlite3_context* ctx, int, sqlite3_value** argv) {
  auto* s = static_cast<PickState*>(sqlite3_aggregate_context(ctx, sizeof(PickState)));
  if (!s) return;
  if (s->seen && !kLast) return;
  if (s->value) sqlite3_value_free(s->value);
  s->value = sqlite3_value_dup(argv[0]);
  s->seen = true;
}

void PickFinal(sqlite3_context* ctx) {
  auto* s = static_cast<PickState*>(sqlite3_aggregate_context(ctx, 0));
  if (!s || !s->value) return sqlite3_result_null(ctx);
  sqlite3_result_value(ctx, s->value);
  sqlite3_value_free(s->value);
  s->value = nullptr;
}

// Welford's running mean and sum of squares.
struct SpreadState {
  int64_t n;
  double mean;
  double m2;
};

void SpreadStep(sqlite3_context* ctx, int, sqlite3_value** argv) {
  if (IsNull(argv[0])) return;
  auto* s = static_cast<SpreadState*>(sqlite3_aggregate_context(ctx, sizeof(SpreadState)));
  if (!s) return;
  double x = ArgNumber(argv[0]);
  ++s->n;
  double delta = x - s->mean;
  s->mean += delta / static_cast<double>(s->n);
  s->m2 += delta * (x - s->mean);
}

template <bool kSample, bool kRoot>
void SpreadFinal(sqlite3_context* ctx) {
  auto* s = static_cast<SpreadState*>(sqlite3_aggregate_context(ctx, 0));
  int64_t min_n = kSample ? 2 : 1;
  if (!s || s->n < min_n) return sqlite3_result_null(ctx);
  double var = s->m2 / static_cast<double>(kSample ? s->n - 1 : s->n);
  sqlite3_result_double(ctx, kRoot ? std::sqrt(var) : var);
}

}  // namespace

void RegisterAggregateFunctions(sqlite3* db) {
  sqlite3_create_function(db, "jet_first", 1, SQLITE_UTF8, nullptr, nullptr, PickStep<false>, PickFinal);
  sqlite3_create_function(db, "jet_last", 1, SQLITE_UTF8, nullptr, nullptr, PickStep<true>, PickFinal);
  sqlite3_create_function(db, "jet_stdev", 1, SQLITE_UTF8, nullptr, nullptr, SpreadStep, SpreadFinal<true, true>);
  sqlite3_create_function(db, "jet_stdevp", 1, SQLITE_UTF8, nullptr, nullptr, SpreadStep, SpreadFinal<false, true>);
  sqlite3_create_function(db, "jet_var", 1, SQLITE_UTF8, nullptr, nullptr, SpreadStep, SpreadFinal<true, false>);
  sqlite3_create_function(db, "jet_varp", 1, SQLITE_UTF8, nullptr, nullptr, SpreadStep, SpreadFinal<false, false>);
}

void RegisterJetFunctions(sqlite3* db, SortOrderVersion order) {
  RegisterTextFunctions(db, order);
  RegisterNumberFunctions(db);
  RegisterDateFunctions(db);
  RegisterFormatFunction(db);
  RegisterAggregateFunctions(db);
  RegisterDecimalFunctions(db);
}

}  // namespace jet::sql
