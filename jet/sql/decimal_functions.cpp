// Decimal in SQLite: the JETDECIMAL collation and the functions the
// translator calls for Decimal arithmetic, all on the shortest text form.
#include <cstring>

#include "jet/text_form.h"
#include "sql/decimal_math.h"
#include "sql/function_support.h"

namespace jet::sql {
namespace {

// A Decimal from any argument: integers exactly, Doubles as CDec takes
// them, text when it reads as a number.
std::optional<Decimal> ArgDecimal(sqlite3_value* v) {
  switch (sqlite3_value_type(v)) {
    case SQLITE_INTEGER: return DecimalFromInteger(sqlite3_value_int64(v));
    case SQLITE_FLOAT: return DecimalFromDouble(sqlite3_value_double(v));
    case SQLITE_TEXT:
      return ParseDecimal(std::string_view(reinterpret_cast<const char*>(sqlite3_value_text(v)),
                                           static_cast<size_t>(sqlite3_value_bytes(v))));
    default: return std::nullopt;
  }
}

void ResultDecimal(sqlite3_context* ctx, const std::optional<Decimal>& d) {
  if (!d) return sqlite3_result_error(ctx, "Overflow", -1);
  ResultText(ctx, FormatDecimal(*d));
}

// Reads every argument, or answers Null (a Null argument) or the error.
bool ReadArgs(sqlite3_context* ctx, int argc, sqlite3_value** argv, Decimal* out) {
  for (int i = 0; i < argc; ++i) {
    if (IsNull(argv[i])) {
      sqlite3_result_null(ctx);
      return false;
    }
    std::optional<Decimal> d = ArgDecimal(argv[i]);
    if (!d) {
      sqlite3_result_error(ctx, "Type mismatch", -1);
      return false;
    }
    out[i] = *d;
  }
  return true;
}

// jet_cdec(x) and jet_cdec(scaled, places): the second form reads an
// integer held in units of 10^-places, as Currency is.
void CDec(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  if (argc == 2 && sqlite3_value_type(argv[0]) == SQLITE_INTEGER) {
    Decimal d = DecimalFromInteger(sqlite3_value_int64(argv[0]));
    d.scale = static_cast<uint8_t>(sqlite3_value_int(argv[1]));
    return ResultDecimal(ctx, d);
  }
  Decimal d[1];
  if (ReadArgs(ctx, 1, argv, d)) ResultDecimal(ctx, d[0]);
}

void Add(sqlite3_context* ctx, int, sqlite3_value** argv) {
  Decimal d[2];
  if (ReadArgs(ctx, 2, argv, d)) ResultDecimal(ctx, AddDecimals(d[0], d[1]));
}

void Subtract(sqlite3_context* ctx, int, sqlite3_value** argv) {
  Decimal d[2];
  if (ReadArgs(ctx, 2, argv, d)) ResultDecimal(ctx, AddDecimals(d[0], NegateDecimal(d[1])));
}

void Multiply(sqlite3_context* ctx, int, sqlite3_value** argv) {
  Decimal d[2];
  if (ReadArgs(ctx, 2, argv, d)) ResultDecimal(ctx, MultiplyDecimals(d[0], d[1]));
}

void Negate(sqlite3_context* ctx, int, sqlite3_value** argv) {
  Decimal d[1];
  if (ReadArgs(ctx, 1, argv, d)) ResultDecimal(ctx, NegateDecimal(d[0]));
}

void Abs(sqlite3_context* ctx, int, sqlite3_value** argv) {
  Decimal d[1];
  if (!ReadArgs(ctx, 1, argv, d)) return;
  d[0].negative = false;
  ResultDecimal(ctx, d[0]);
}

// jet_dec_round(x [, places]): half to even, as Round does.
void Round(sqlite3_context* ctx, int argc, sqlite3_value** argv) {
  Decimal d[1];
  if (!ReadArgs(ctx, 1, argv, d)) return;
  int places = 0;
  if (argc > 1) {
    if (IsNull(argv[1])) return sqlite3_result_null(ctx);
    places = static_cast<int>(ArgInt(argv[1]));
    if (places < 0) return sqlite3_result_error(ctx, "Invalid procedure call or argument", -1);
  }
  ResultDecimal(ctx, RoundDecimal(d[0], places));
}

// Int rounds down, Fix toward zero: they differ below zero.
template <bool kTowardZero>
void Whole(sqlite3_context* ctx, int, sqlite3_value** argv) {
  Decimal d[1];
  if (!ReadArgs(ctx, 1, argv, d)) return;
  const Decimal whole = TruncateDecimal(d[0]);
  if (kTowardZero || !d[0].negative || CompareDecimals(whole, d[0]) == 0) return ResultDecimal(ctx, whole);
  ResultDecimal(ctx, AddDecimals(whole, DecimalFromInteger(-1)));
}

// Sum keeps the exact running total; an overflow ends the query as Jet's
// does. SQLite's aggregate memory is only 8-byte aligned, so the 128-bit
// total is copied in and out rather than used in place.
struct SumState {
  unsigned char total[sizeof(Decimal)];
  bool seen;
  bool overflow;
};

Decimal TotalOf(const SumState& s) {
  Decimal d;
  std::memcpy(static_cast<void*>(&d), s.total, sizeof d);
  return d;
}

void SumStep(sqlite3_context* ctx, int, sqlite3_value** argv) {
  if (IsNull(argv[0])) return;
  auto* s = static_cast<SumState*>(sqlite3_aggregate_context(ctx, sizeof(SumState)));
  if (!s || s->overflow) return;
  std::optional<Decimal> d = ArgDecimal(argv[0]);
  if (!d) return sqlite3_result_error(ctx, "Type mismatch", -1);
  std::optional<Decimal> total = s->seen ? AddDecimals(TotalOf(*s), *d) : d;
  s->seen = true;
  if (!total) s->overflow = true;
  else std::memcpy(s->total, static_cast<const void*>(&*total), sizeof(Decimal));
}

void SumFinal(sqlite3_context* ctx) {
  auto* s = static_cast<SumState*>(sqlite3_aggregate_context(ctx, 0));
  if (!s || !s->seen) return sqlite3_result_null(ctx);
  ResultDecimal(ctx, s->overflow ? std::nullopt : std::optional<Decimal>(TotalOf(*s)));
}

// Numbers in numeric order; text that is no number after every number, by
// its bytes, so that the order stays total.
int CollateDecimal(void*, int a_size, const void* a, int b_size, const void* b) {
  std::string_view x(static_cast<const char*>(a), static_cast<size_t>(a_size));
  std::string_view y(static_cast<const char*>(b), static_cast<size_t>(b_size));
  std::optional<Decimal> dx = ParseDecimal(x), dy = ParseDecimal(y);
  if (dx && dy) return CompareDecimals(*dx, *dy);
  if (dx || dy) return dx ? -1 : 1;
  return x.compare(y) < 0 ? -1 : x == y ? 0 : 1;
}

}  // namespace

void RegisterDecimalFunctions(sqlite3* db) {
  struct Fn {
    const char* name;
    int args;
    void (*fn)(sqlite3_context*, int, sqlite3_value**);
  };
  static const Fn kFunctions[] = {
      {"jet_cdec", 1, CDec},         {"jet_cdec", 2, CDec},         {"jet_dec_add", 2, Add},
      {"jet_dec_sub", 2, Subtract},  {"jet_dec_mul", 2, Multiply},  {"jet_dec_neg", 1, Negate},
      {"jet_dec_abs", 1, Abs},       {"jet_dec_round", 1, Round},   {"jet_dec_round", 2, Round},
      {"jet_dec_int", 1, Whole<false>}, {"jet_dec_fix", 1, Whole<true>},
  };
  for (const Fn& f : kFunctions)
    sqlite3_create_function(db, f.name, f.args, SQLITE_UTF8 | SQLITE_DETERMINISTIC, nullptr, f.fn, nullptr, nullptr);
  sqlite3_create_function(db, "jet_dec_sum", 1, SQLITE_UTF8, nullptr, nullptr, SumStep, SumFinal);
  sqlite3_create_collation(db, "JETDECIMAL", SQLITE_UTF8, nullptr, CollateDecimal);
}

}  // namespace jet::sql
