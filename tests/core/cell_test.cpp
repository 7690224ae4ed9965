// Cells: the header word, counts, texts of every leaf kind, release, order and interning,
// down to terms a million levels deep.
#include <gtest/gtest.h>

#include <vector>

#include "core/cell.h"
#include "core/halt.h"
#include "core/tables.h"
#include "tests/support.h"

TEST(Cells, DataIsMarkedWhenMadeWithTheLengthsOfItsRopes) {
  CellRef ab("[ab]"), c("[c]"), five("5");
  EXPECT_EQ(fieldof(five.get()), 1u);  // a digit leaf's field holds its length
  EXPECT_TRUE(datakind(ab.get()));
  EXPECT_FALSE(datakind(five.get()));
  CellRef rope = cellpair(ab, c);
  EXPECT_TRUE(datakind(rope.get()));
  EXPECT_EQ(fieldof(rope.get()), 7u);
  EXPECT_EQ(fieldof(cellpair(rope, CellRef("[")).get()), 0u);  // a side shorter than 2: unknown
  EXPECT_FALSE(datakind(cellpair(rope, five).get()));
  EXPECT_FALSE(datakind(cellpair(five, five).get()));
  // The writers of the analysis refuse values outside their fields.
  CellRef p = cellpair(CellRef("a"), CellRef("b"));
  EXPECT_DEATH(setfield(p.get(), fieldmax), "ASSERTION FAILED:b:");
  EXPECT_DEATH(setarity(p.get(), 12), "ASSERTION FAILED:b:");
  EXPECT_DEATH(setarity(p.get(), -53), "ASSERTION FAILED:b:");
}

TEST(Cells, CountsFollowCopiesAndOverflowStops) {
  CellRef a("x");
  {
    CellRef b = a, c = a;
    EXPECT_EQ(countof(a.get()), 3u);
    c = CellRef("y");
    EXPECT_EQ(countof(a.get()), 2u);
  }
  EXPECT_EQ(countof(a.get()), 1u);
  EXPECT_DEATH(
      {
        a->word |= countmask;  // the count at its largest: one more copy stops
        cellinc(a.get());
      },
      "ASSERTION FAILED:b:");
  EXPECT_DEATH(CellRef((const char *)nullptr), "ASSERTION FAILED:b:");
  EXPECT_DEATH(cellleft(a), "ASSERTION FAILED:b:");
}

TEST(Cells, TextsOfRealsAndBlobsWithTheirLengthDigits) {
  std::string real = " " + std::string("\x00\x01\x00\x02\x00\x03\x00\x04", 8);
  CellRef r(real), r2(" " + std::string("\x00\x01\x00\x02\x00\x03\x00\x05", 8));
  EXPECT_EQ(celllen(r), 9u);
  EXPECT_EQ(celltext(r), real);
  EXPECT_NE(cellcompare(r, r2), 0);
  CellRef blob = mkblob("hello");
  EXPECT_EQ(celltext(blob), "(e)hello");
  EXPECT_EQ(blobbytes(blob), "hello");
  EXPECT_EQ(celltext(mkblob(std::string(64, 'x'))).substr(0, 4), "(a_)");
  EXPECT_EQ(celllen(mkblob(std::string("a\0b", 3))), 6u);
  // The digits run in the language's order, u before s; 63 is written but cannot be read back.
  EXPECT_EQ(digitvalue('u'), 19);
  EXPECT_EQ(digitvalue('s'), 20);
  EXPECT_EQ(digitvalue('U'), 55);
  EXPECT_EQ(lengthdigits(63), "~");
  EXPECT_DEATH(celllen(mkblob(std::string(63, 'q'))), "ASSERTION FAILED:b:");
}

TEST(Cells, LongDigitLeavesSearchForTheirEnd) {
  EXPECT_EQ(fieldof(CellRef(std::string(fieldmax - 1, '7')).get()), fieldmax - 1);
  CellRef b(std::string(fieldmax, '7'));
  EXPECT_EQ(fieldof(b.get()), 0u);
  EXPECT_EQ(celllen(b), fieldmax);
}

namespace {
CellRef leftspine(int n) {
  CellRef t("z");
  for (int i = 0; i < n; i++) t = cellpair(std::move(t), CellRef(std::to_string(i % 7)));
  return t;
}
CellRef rightspine(int n) {
  CellRef t("K");
  for (int i = 0; i < n; i++) t = cellpair(CellRef(std::to_string(i % 7)), std::move(t));
  return t;
}
}  // namespace

TEST(Deep, MillionLevelSpinesAreComparedInternedAndReleased) {
  uint64_t freed = cellsfreed;
  {
    CellRef l1 = leftspine(1000000), l2 = leftspine(1000000);
    CellRef r1 = rightspine(1000000), r2 = rightspine(1000000);
    EXPECT_EQ(cellcompare(l1, l2), 0);
    EXPECT_EQ(cellcompare(r1, r2), 0);
    EXPECT_GT(cellcompare(l1, r1), 0);  // a pair on the left of l1 against a leaf
    CellRef k1 = cellkeep(l1);
    EXPECT_EQ(cellkeep(l2).get(), k1.get());
    CellRef k2 = cellkeep(r2);
    EXPECT_EQ(cellkeep(r1).get(), k2.get());
    Keep fresh;
    std::swap(fresh, keepset());  // the interned spines go with this scope
  }
  EXPECT_GE(cellsfreed - freed, 4000000u);
}

TEST(Interning, SharedCellsAreHashedOnceAndInternedWhereverTheyStand) {
  Keep outer;
  std::swap(outer, keepset());
  // Two hundred levels of a cell paired with itself: a walk that does not remember shared
  // cells would take 2^200 steps.
  CellRef d("shared-leaf");
  for (int i = 0; i < 200; i++) d = cellpair(d, d);
  CellRef kd = cellkeep(d);
  EXPECT_EQ(kd.get(), d.get());
  EXPECT_EQ(keepset().members.size(), 201u);
  // A cell met first below a member and then again elsewhere is interned at its second place.
  CellRef x = cellpair(CellRef("p"), CellRef("q"));
  CellRef m = cellkeep(cellpair(CellRef("a"), x));
  keepdrop(keepset(), x.get());
  CellRef t = cellpair(cellpair(CellRef("a"), x), cellpair(x, CellRef("b")));
  CellRef kt = cellkeep(t);
  EXPECT_EQ(kt->left, m.get());
  EXPECT_EQ(kt->right, t->right);
  std::swap(outer, keepset());
}

TEST(Interning, TheSetGivesBackItsCountsWhenMembersLeave) {
  Keep outer;
  std::swap(outer, keepset());
  CellRef t = cellpair3(CellRef("S"), CellRef("K"), CellRef("I"));
  CellRef k = cellkeep(t);
  EXPECT_EQ(countof(t.get()), 3u);
  for (int i = 0; i < 1000; i++) cellkeep(cellpair(CellRef(std::to_string(i)), CellRef("K")));
  EXPECT_EQ(keepset().members.size(), 2000u + 5u);
  keepdrop(keepset(), t.get());
  EXPECT_EQ(countof(t.get()), 2u);
  EXPECT_NE(cellkeep(cellpair3(CellRef("S"), CellRef("K"), CellRef("I"))).get(), t.get());
  uint64_t freed = cellsfreed;
  {
    Keep gone;
    std::swap(gone, keepset());
  }
  EXPECT_GE(cellsfreed - freed, 2001u);  // each pair of the loop, its number and the new S K I
  std::swap(outer, keepset());
}

// A pair that the allocator refuses to make, past the limit in an armed run, gives back the counts
// of the children it was handed: a list that only the refused pair was to hold goes with it.
TEST(Cells, ARefusedPairGivesBackItsChildren) {
  uint64_t limit = memorylimit, held = memoryheld();
  memorylimit = held + (1 << 20);
  overrunarmed = true;
  bool refused = false;
  CellRef list("K");
  try {
    for (int i = 0; i < 1000000; i++) list = cellpair(CellRef("J"), std::move(list));
  } catch (const Overrun &) {
    refused = true;
  }
  overrunarmed = false;
  memorylimit = limit;
  runhalt = 0;
  EXPECT_TRUE(refused);
  EXPECT_EQ(list.get(), nullptr);
  EXPECT_LT(memoryheld(), held + 4096 * 24);
}
