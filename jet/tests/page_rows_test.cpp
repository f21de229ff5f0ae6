// A row appended where a data page's rows end gives the bytes packing the
// page again would, and is refused wherever the page must be taken apart.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "storage/data_page.h"
#include "storage/page_rows.h"

namespace jet::testing {
namespace {

constexpr uint32_t kPageSize = 4096;

std::vector<uint8_t> PackedPage(const std::vector<StoredRow>& rows) {
  std::vector<uint8_t> page(kPageSize);
  InitDataPage(page.data(), kPageSize, 77);
  EXPECT_TRUE(StoreRows(rows, page.data(), kPageSize).ok());
  return page;
}

TEST(PageRows, AppendingInPlaceLaysOutWhatPackingAgainDoes) {
  std::mt19937 random(4);
  std::vector<StoredRow> rows;
  std::vector<uint8_t> page = PackedPage(rows);
  for (int filled = 0; filled < 3;) {
    StoredRow row{std::vector<uint8_t>(random() % 300), random() % 5 == 0 ? kRowDeletedFlag : uint16_t{0}};
    for (uint8_t& b : row.bytes) b = static_cast<uint8_t>(random());
    const bool fits = LongestNewRow(rows, kPageSize) >= row.bytes.size();
    ASSERT_EQ(CanAppendRow(page, kPageSize, row.bytes.size()), fits) << rows.size() << " rows";
    if (!fits) {  // a full page: start again
      rows.clear();
      page = PackedPage(rows);
      ++filled;
      continue;
    }
    size_t longest = 0;
    EXPECT_EQ(AppendRow(page.data(), kPageSize, row.bytes, row.flags, &longest), rows.size());
    rows.push_back(row);
    ASSERT_EQ(page, PackedPage(rows)) << rows.size() << " rows";
    EXPECT_EQ(longest, LongestNewRow(rows, kPageSize));
  }
}

TEST(PageRows, AppendingIsRefusedWhereThePageMustBePackedAgain) {
  std::vector<StoredRow> rows(3, StoredRow{std::vector<uint8_t>(40, 1), 0});
  EXPECT_TRUE(CanAppendRow(PackedPage(rows), kPageSize, 100));

  std::vector<StoredRow> dead = rows;  // a slot a new row takes, its room reclaimed
  dead[1] = {{}, kRowDeletedFlag | kRowOverflowFlag};
  EXPECT_FALSE(CanAppendRow(PackedPage(dead), kPageSize, 10));

  std::vector<uint8_t> holed = PackedPage(rows);  // free room that is not all below the offsets
  holed[2] += 16;
  EXPECT_FALSE(CanAppendRow(holed, kPageSize, 10));

  std::vector<StoredRow> many(kMaxRowsPerPage, StoredRow{{}, 0});  // no slot left
  EXPECT_FALSE(CanAppendRow(PackedPage(many), kPageSize, 0));

  std::vector<uint8_t> other = PackedPage(rows);
  other[0] = static_cast<uint8_t>(PageType::kIndexLeaf);
  EXPECT_FALSE(CanAppendRow(other, kPageSize, 10));
}

}  // namespace
}  // namespace jet::testing
