// The tree codecs against the machine's own views: every byte goes out through the view and comes
// back, and the shape tests refuse near misses.
#include "lang/codec.h"

#include <gtest/gtest.h>

#include "core/data.h"
#include "core/tables.h"
#include "lang/analysis.h"
#include "lang/eval.h"
#include "tests/support.h"

namespace {

// The machine's view of one byte has V on top; with J there instead it is a byte tree.
CellRef bytetreeof(unsigned char b) {
  CellRef view = bytetreeview(b);
  return cellpair3(CellRef("J"), cellright(cellleft(view)), cellright(view));
}

CellRef j(CellRef a, CellRef b) { return cellpair3(CellRef("J"), std::move(a), std::move(b)); }

}  // namespace

TEST(Codecs, EveryByteComesBackFromItsTree) {
  for (int b = 0; b < 256; b++) {
    CellRef t = bytetreeof((unsigned char)b);
    ASSERT_TRUE(isbytetree(t)) << b;
    EXPECT_EQ(bytetree(t), b);
    EXPECT_FALSE(isrealbyte(t)) << b;  // the head J and the I leaves are the byte tree's own
  }
  EXPECT_FALSE(isbytetree(bytetreeview(7)));  // the view itself has V on top
  EXPECT_FALSE(isbytetree(j(CellRef("K"), CellRef("K"))));
}

TEST(Codecs, RealBytesWantTwoLettersExactly) {
  unsigned char bits[8] = {0xA5, 0, 0, 0, 0, 0, 0, 0};
  CellRef tree = realtreeview(bits);
  auto lower = [](const CellRef &t) { return cellright(cellleft(t)); };  // the left sub-tree
  CellRef byte0 = lower(lower(lower(tree)));  // the leftmost depth-3 sub-tree holds the first byte
  ASSERT_TRUE(isrealbyte(byte0));
  EXPECT_EQ(realbyte(byte0), 0xA5);
  EXPECT_FALSE(isrealbyte(lower(byte0)));        // depth 2
  EXPECT_FALSE(isrealbyte(lower(lower(tree))));  // depth 4
  // Its last pair of bits as H K reads; as I K, the letter of the byte tree, it does not.
  auto last = [&](const char *l) {
    CellRef pair = cellpair3(CellRef("V"), CellRef(l), CellRef("K"));
    return cellpair3(CellRef("V"), lower(byte0), cellpair3(CellRef("V"), lower(cellright(byte0)), pair));
  };
  EXPECT_TRUE(isrealbyte(last("H")));
  EXPECT_FALSE(isrealbyte(last("I")));
}

TEST(Codecs, ByteStringsReadLeftPartsFirst) {
  CellRef zeros = j(j(j(CellRef("H"), CellRef("H")), j(CellRef("H"), CellRef("H"))),
                    j(j(CellRef("H"), CellRef("H")), j(CellRef("H"), CellRef("H"))));
  ASSERT_TRUE(isbytes(zeros));  // a tree of J whose leaves are all H is one zero byte
  EXPECT_EQ(bytes(zeros), std::string(1, '\0'));
  EXPECT_FALSE(isbytes(cellright(zeros)));  // a depth-2 tree: a pair of things that are no bytes
  EXPECT_EQ(bytes(CellRef("K")), "");
  CellRef abc = j(j(bytetreeof('a'), bytetreeof('b')), j(CellRef("K"), bytetreeof('c')));
  ASSERT_TRUE(isbytes(abc));
  EXPECT_EQ(bytes(abc), "abc");
  EXPECT_FALSE(isbytes(j(bytetreeof('a'), CellRef("H"))));
  // A list of a hundred thousand bytes, each link on the left, costs no native stack.
  CellRef longlist("K");
  for (int i = 0; i < 100000; i++) longlist = j(std::move(longlist), bytetreeof((unsigned char)i));
  ASSERT_TRUE(isbytes(longlist));
  std::string b = bytes(longlist);
  ASSERT_EQ(b.size(), 100000u);
  EXPECT_EQ((unsigned char)b[99999], 99999 % 256);
}

TEST(Codecs, BitListsEndInK) {
  EXPECT_FALSE(isbitlist(CellRef("K")));
  EXPECT_TRUE(isbitlist(j(CellRef("H"), j(CellRef("K"), CellRef("K")))));
  EXPECT_FALSE(isbitlist(j(CellRef("I"), CellRef("K"))));
  EXPECT_FALSE(isbitlist(j(CellRef("K"), CellRef("5"))));
  EXPECT_FALSE(isbitlist(j(CellRef("K"), CellRef("H"))));
}

TEST(Codecs, TreesOfJBecomeData) {
  tablesreset();
  EXPECT_EQ(celltext(treetext(CellRef("H"))), "Z");
  EXPECT_EQ(celltext(treetext(j(CellRef("K"), CellRef("I")))), "Z");
  CellRef deep("K");
  for (int i = 0; i < 100000; i++) deep = j(std::move(deep), CellRef("K"));
  EXPECT_EQ(datacount(treetext(deep)), 100000u);
  tablesreset();
}
