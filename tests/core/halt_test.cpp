// Halting runs from outside: the sizes TOLM_MEMORY takes, and what terms are counted as holding.
#include <gtest/gtest.h>

#include "core/cell.h"
#include "core/halt.h"

TEST(Halt, SizesOfTheMemoryLimit) {
  const std::pair<const char *, uint64_t> sizes[] = {
      {"1000", 1000}, {"64K", 65536}, {"3M", 3ull << 20}, {"2g", 2ull << 30}, {"0", 0}, {"", 0},
      {"K", 0}, {"1.5G", 0}, {"-5", 0}, {"5 M", 0}, {"99999999999999999999", 0}, {"17179869184G", 0},
  };
  for (const auto &[text, bytes] : sizes) EXPECT_EQ(memoryparse(text), bytes) << text;
}

// Long leaves count with what the heap gave their texts, and give exactly that back.
TEST(Halt, HeldMemoryFollowsCellsAndLongTexts) {
  uint64_t before = memoryheld();
  {
    CellRef big(std::string(1 << 20, 'x')), pair = cellpair(big, big);
    EXPECT_GE(memoryheld() - before, (1u << 20) + sizeof(Cell));  // the text and the pair at least
    EXPECT_LT(memoryheld() - before, (1u << 20) + 8192);
  }
  EXPECT_EQ(memoryheld(), before);
}
