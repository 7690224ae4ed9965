// Data: the bracket encoding, the table of character trees, taking lists apart and flattening
// them, leaves, pairs and ropes alike, down to a million elements.
#include <gtest/gtest.h>

#include <set>

#include "core/byteorder.h"
#include "core/data.h"
#include "lang/analysis.h"
#include "lang/chars.h"
#include "tests/support.h"

TEST(Data, BracketEncodingOfSmallNumbers) {
  for (auto [n, code] : {std::pair{0, "[]"}, {1, "[[]]"}, {2, "[[][]]"}, {3, "[[[]]]"}, {4, "[[[]][]]"}})
    EXPECT_EQ(bracketcode(n), code);
  std::set<std::string> codes;
  for (int n = 0; n <= 676; n++) codes.insert(bracketcode(n));
  EXPECT_EQ(codes.size(), 677u);
  EXPECT_DEATH(bracketcode(677), "ASSERTION FAILED:b:");
}

TEST(Data, EveryCharacterTreeRoundTrips) {
  std::set<std::string> texts;
  for (int b = 0; b < 256; b++) {
    const CellRef &tree = chartree((unsigned char)b);
    EXPECT_EQ(chartree((unsigned char)b).get(), tree.get());  // made once
    EXPECT_EQ(celltext(tree), bracketcode(placeof((unsigned char)b) + 145));
    EXPECT_EQ(treechar(celltext(tree)), b);
    texts.insert(celltext(tree));
    // Appended to a list, the tree flattens back to its character, and that character is
    // taken apart into the very same tree.
    CellRef flat = dataflat(cellpair(CellRef("[x]"), tree));
    if (b == '[' || b == ']') {
      EXPECT_EQ(celltext(flat), "[x" + celltext(tree) + "]");
      continue;
    }
    EXPECT_EQ(celltext(flat), "[x" + std::string(1, (char)b) + "]") << b;
    EXPECT_EQ(datalast(flat).get(), tree.get());
  }
  EXPECT_EQ(texts.size(), 256u);
  EXPECT_EQ(treechar("[]"), -1);
}

TEST(Data, LeavesComeApartAtTheirLastElement) {
  CellRef t("[ab[c[d]]]");
  EXPECT_EQ(celltext(datainit(t)), "[ab]");
  EXPECT_EQ(celltext(datalast(t)), "[c[d]]");
  EXPECT_FALSE(dataempty(cellpair(CellRef("[]"), CellRef("[]"))));
  EXPECT_DEATH(datainit(CellRef("[]")), "ASSERTION FAILED:b:");
  EXPECT_DEATH(datalast(CellRef("[]")), "ASSERTION FAILED:b:");
  EXPECT_DEATH(datacount(CellRef("12")), "ASSERTION FAILED:b:");
}

// A cut can fall inside an element and leave a text whose brackets do not pair up; its list form
// is still the list of all but the last element joined to the last, as for any other text.
TEST(Data, CutTextsListByTheirLastElements) {
  for (const char *text : {"[a[b]", "[[[]", "[x[p]y[[z]"}) {
    CellRef t(text);
    CellRef byparts = cellpair3(CellRef("J"), datalist(datainit(t)), datalist(datalast(t)));
    EXPECT_EQ(cellcompare(datalist(t), byparts), 0) << text;
  }
  // The elements walking back from the end: z, [, [, y, the group [p], x.
  CellRef want("K");
  for (const CellRef &e : {chartree('x'), CellRef("[p]"), chartree('y'), chartree('['), chartree('['), chartree('z')})
    want = cellpair3(CellRef("J"), want, datalist(e));
  EXPECT_EQ(cellcompare(datalist(CellRef("[x[p]y[[z]")), want), 0);
  EXPECT_DEATH(datalist(CellRef("[a]b]")), "ASSERTION FAILED:b:");  // leaves "]" once "b" is taken
}

TEST(Data, LengthsTooLongForTheFieldAreWalked) {
  std::string half = "[" + std::string((1u << 25) - 2, 'a') + "]";
  CellRef big = cellpair(CellRef(half), CellRef(half));
  ASSERT_TRUE(isdata(big));
  EXPECT_EQ(fieldof(big.get()), 0u);
  EXPECT_EQ(datalen(big), 1ull << 26);
  EXPECT_EQ(datalen(cellpair(big, CellRef("[]"))), (1ull << 26) + 2);
}

TEST(Data, MillionElementRopesAndNestings) {
  CellRef rope("[]");
  for (int i = 0; i < 1000000; i++) rope = cellpair(std::move(rope), chartree((unsigned char)('a' + i % 26)));
  EXPECT_EQ(datacount(rope), 1000000u);
  CellRef flat = dataflat(rope);
  EXPECT_EQ(celllen(flat), 1000002u);
  EXPECT_EQ(datatext(flat).substr(0, 4), "abcd");
  EXPECT_EQ(datacount(flat), 1000000u);
  CellRef empties("[]");
  for (int i = 0; i < 1000000; i++) empties = cellpair(std::move(empties), CellRef("[]"));
  CellRef list = datalist(empties);
  int depth = 0;
  for (Cell *c = list.get(); !isleafcell(c); c = c->left->right) depth++;
  EXPECT_EQ(depth, 1000000);
  // Nested a million deep on the right, in a pair and in one leaf.
  CellRef right("[]");
  for (int i = 0; i < 1000000; i++) right = cellpair(CellRef("[]"), std::move(right));
  CellRef nest(std::string(1000001, '[') + std::string(1000001, ']'));
  EXPECT_EQ(celltext(dataflat(right)), celltext(nest));
  EXPECT_EQ(cellcompare(datalist(right), datalist(nest)), 0);
}
