// The rows of the sample database: those the script writes out, converted
// to each column's type, and those mksample makes up from a seed, filled
// column by column from the column's name.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "jet/database.h"
#include "sample_script.h"

namespace mksample {

// A row of literal values for `def`; `templates` replaces @TEMPLATES@.
jet::Status LiteralValues(const jet::TableDef& def, const LiteralRow& literal, const std::string& templates,
                          jet::Row* row);

// A deterministic pseudo-random source (64-bit linear congruential).
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 2862933555777941757ULL + 3037000493ULL) {}
  uint32_t Next() {
    state_ = state_ * 6364136223846793005ULL + 1442695040888963407ULL;
    return static_cast<uint32_t>(state_ >> 33);
  }
  int Between(int low, int high) { return low + static_cast<int>(Next() % uint32_t(high - low + 1)); }

 private:
  uint64_t state_;
};

// Made-up row number `n` of `def`; `lookup_rows` gives how many rows each
// lookup table has, so that ids such as AccessSiteID point at real rows.
jet::Row GeneratedRow(const jet::TableDef& def, long n, const std::map<std::string, long>& lookup_rows,
                      Random* random);

// Days since 1899-12-30 of a calendar date.
double DateSerial(int year, int month, int day);

}  // namespace mksample
