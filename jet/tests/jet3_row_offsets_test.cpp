// The variable-column offsets of Jet 3 rows, which are single bytes read
// through the row's jump table. Access 97 writes no rows for us to copy the
// awkward cases from, so the rows are laid out here byte by byte, as Access
// lays them out: column count, fixed area, variable data, the offsets from
// the last to the first, the jump table from the last entry to the first,
// the variable-column count and the null mask.
#include <gtest/gtest.h>

#include <random>

#include "storage/row_decoder.h"

namespace jet::testing {
namespace {

struct Jet3Row {
  std::vector<uint8_t> bytes;
  std::vector<uint16_t> offsets;  // what the reader must find
  size_t mask_length = 0;
  bool filler = false;  // the jump table carries an entry the data does not need
};

// A row of `columns` columns (for the null mask) with `fixed` bytes of fixed
// data and one variable column a length in `lengths`.
Jet3Row LayOut(size_t columns, size_t fixed, const std::vector<size_t>& lengths) {
  Jet3Row row;
  row.mask_length = (columns + 7) / 8;
  const size_t n = lengths.size();
  size_t at = 1 + fixed;
  for (size_t length : lengths) {
    row.offsets.push_back(static_cast<uint16_t>(at));
    at += length;
  }
  row.offsets.push_back(static_cast<uint16_t>(at));
  // The jump count depends on the row's length, which includes the jumps.
  size_t jumps = 0;
  while ((at + (n + 1) + jumps + 1 + row.mask_length - 1) / 256 != jumps) ++jumps;
  const size_t length = at + (n + 1) + jumps + 1 + row.mask_length;
  row.bytes.assign(length, 0);
  row.bytes[0] = static_cast<uint8_t>(columns);
  for (size_t i = 1; i < at; ++i) row.bytes[i] = static_cast<uint8_t>(0xA0 + i % 7);
  size_t p = at;
  for (size_t i = n + 1; i-- > 0;) row.bytes[p++] = static_cast<uint8_t>(row.offsets[i] & 0xFF);
  // Entry k: the first offset in segment k + 1. One the data never reaches
  // is a filler; it is written as 0, which would move every offset were it read.
  std::vector<uint8_t> entries;
  for (size_t k = 0; k < jumps; ++k) {
    size_t i = 0;
    while (i <= n && row.offsets[i] < 256 * (k + 1)) ++i;
    row.filler = row.filler || i > n;
    entries.push_back(static_cast<uint8_t>(i > n ? 0 : i));
  }
  for (size_t k = jumps; k-- > 0;) row.bytes[p++] = entries[k];
  row.bytes[p++] = static_cast<uint8_t>(n);
  for (size_t m = 0; m < row.mask_length; ++m) row.bytes[p++] = 0xFF;
  return row;
}

std::vector<uint16_t> Read(const Jet3Row& row) {
  std::vector<uint16_t> offsets;
  const Status s = ReadJet3VarOffsets(ByteSpan(row.bytes), row.mask_length,
                                      static_cast<uint16_t>(row.offsets.size() - 1), &offsets);
  EXPECT_TRUE(s.ok()) << s.ToString();
  return offsets;
}

TEST(Jet3RowOffsets, TheBoundaryCasesOfTheJumpTable) {
  // Short: no jump table at all.
  const Jet3Row small = LayOut(5, 6, {3, 0, 10});
  ASSERT_LT(small.bytes.size(), 256u);
  EXPECT_EQ(Read(small), small.offsets);

  // The shape Access 97 writes for a long form table: 74 columns, the data
  // ending before byte 256 but the offset table running past it, so the jump
  // table holds a filler. Its byte stays in the row: the offsets begin before it.
  std::vector<size_t> texts(60, 3);
  const Jet3Row wide = LayOut(74, 20, texts);
  ASSERT_TRUE(wide.filler);
  ASSERT_GT(wide.bytes.size(), 257u);
  ASSERT_LT(wide.offsets.back(), 256);
  EXPECT_EQ(Read(wide), wide.offsets);

  // Data across two boundaries, one column starting exactly at 256 and an
  // empty column right at 512.
  const Jet3Row across = LayOut(8, 4, {251, 100, 156, 0, 40});
  ASSERT_EQ(across.offsets[1], 256);
  ASSERT_EQ(across.offsets[3], 512);
  ASSERT_FALSE(across.filler);
  EXPECT_EQ(Read(across), across.offsets);
}

TEST(Jet3RowOffsets, EveryLayoutUpToThreeSegmentsReadsBackAsWritten) {
  std::mt19937 random(20261124);
  int fillers = 0;
  for (int round = 0; round < 3000; ++round) {
    const size_t count = 1 + random() % 90;
    std::vector<size_t> lengths(count);
    for (size_t& length : lengths) length = random() % 3 == 0 ? 0 : random() % (700 / count + 1);
    const Jet3Row row = LayOut(count + random() % 20, random() % 40, lengths);
    if (row.bytes.size() > 2000) continue;
    fillers += row.filler;
    ASSERT_EQ(Read(row), row.offsets) << "round " << round;
  }
  EXPECT_GT(fillers, 10) << "the rounds must reach the filler case";
}

}  // namespace
}  // namespace jet::testing
