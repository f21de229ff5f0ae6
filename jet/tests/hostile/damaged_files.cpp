#include "damaged_files.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>

namespace jet::testing {
namespace {


// xorshift64*: the same mutations on every run and machine.
class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15ull + 1) {}
  uint64_t Next() {
    state_ ^= state_ >> 12;
    state_ ^= state_ << 25;
    state_ ^= state_ >> 27;
    return state_ * 0x2545F4914F6CDD1Dull;
  }
  size_t Below(size_t n) { return n ? Next() % n : 0; }

 private:
  uint64_t state_;
};

using Bytes = std::vector<uint8_t>;

Bytes ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

size_t PageSize(const Bytes& file) { return file[0x14] == 0 ? 2048 : 4096; }

// Pages worth damaging: the catalogue's definition (page 2), table
// definitions, data pages and index pages.
std::vector<size_t> InterestingPages(const Bytes& file) {
  std::vector<size_t> pages;
  const size_t ps = PageSize(file);
  for (size_t p = 1; (p + 1) * ps <= file.size(); ++p) {
    uint8_t type = file[p * ps];
    if (type >= 0x01 && type <= 0x05) pages.push_back(p);
  }
  return pages;
}

void Put(Bytes& f, size_t at, uint64_t value, int width) {
  for (int i = 0; i < width && at + i < f.size(); ++i) f[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

std::string Mutate(Bytes& f, Random& rnd) {
  const size_t ps = PageSize(f);
  const auto pages = InterestingPages(f);
  if (pages.empty() || f.size() < 3 * ps) return "nothing left to damage";
  const size_t page = rnd.Below(4) == 0 ? 2 : pages[rnd.Below(pages.size())];
  const size_t base = page * ps;
  static const uint64_t kExtremes[] = {0, 1, 0x7F, 0x80, 0xFF, 0x7FFF, 0x8000, 0xFFFF, 0x7FFFFFFF, 0xFFFFFFFF};
  switch (rnd.Below(6)) {
    case 0: {  // scramble a few bytes anywhere in the page
      int n = 1 + static_cast<int>(rnd.Below(16));
      for (int i = 0; i < n; ++i) f[base + rnd.Below(ps)] = static_cast<uint8_t>(rnd.Next());
      return "scramble page " + std::to_string(page);
    }
    case 1: {  // an extreme length, count or pointer in the page's header area
      size_t at = base + rnd.Below(96);
      Put(f, at, kExtremes[rnd.Below(std::size(kExtremes))], 1 << rnd.Below(3));
      return "extreme value on page " + std::to_string(page);
    }
    case 2: {  // an extreme value among the row offsets and row ends
      size_t at = base + ps - 1 - rnd.Below(ps / 2);
      Put(f, at, kExtremes[rnd.Below(std::size(kExtremes))], 2);
      return "extreme value at the end of page " + std::to_string(page);
    }
    case 3: {  // a page chain pointing back at itself
      Put(f, base + 4, page, 4);
      return "self-loop on page " + std::to_string(page);
    }
    case 4: {  // a page of another type over this one
      size_t other = pages[rnd.Below(pages.size())];
      std::copy(f.begin() + other * ps, f.begin() + (other + 1) * ps, f.begin() + base);
      return "page " + std::to_string(other) + " copied over " + std::to_string(page);
    }
    default: {  // cut short, possibly mid-page
      size_t keep = ps * (1 + rnd.Below(f.size() / ps)) - rnd.Below(2) * rnd.Below(ps);
      f.resize(std::max<size_t>(keep, 1));
      return "truncated to " + std::to_string(f.size());
    }
  }
}

}  // namespace

void ForEachDamagedFile(const std::vector<Case>& cases, const std::function<void(const std::string& scratch)>& check) {
  const std::string dir = std::string(TABULON_FIXTURES) + "/jet/";
  const std::string scratch = ::testing::TempDir() + "mutated-" + std::to_string(getpid()) + ".mdb";
  uint64_t seed = 1;
  for (const auto& c : cases) {
    const Bytes original = ReadFile(dir + c.file);
    ASSERT_FALSE(original.empty()) << c.file;
    for (int m = 0; m < c.mutations; ++m, ++seed) {
      Random rnd(seed);
      Bytes damaged = original;
      std::string what;
      for (size_t k = 0, n = 1 + rnd.Below(3); k < n; ++k) what += Mutate(damaged, rnd) + "; ";
      {
        std::ofstream out(scratch, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(damaged.data()), static_cast<std::streamsize>(damaged.size()));
      }
      SCOPED_TRACE(std::string(c.file) + " seed " + std::to_string(seed) + ": " + what);
      check(scratch);
    }
  }
  std::remove(scratch.c_str());
}


}  // namespace jet::testing
