// Printing of terms: every kind of leaf, the five rules for pairs, and long lists.
#include <gtest/gtest.h>

#include <cstring>

#include "lang/print.h"
#include "tests/support.h"

static std::string print(const std::string &s) { return termprint(sexp(s)); }

TEST(Print, PairsReadLikeSource) {
  EXPECT_EQ(print("S (K K)"), "(S KK)");
  EXPECT_EQ(print("f K"), "fK");
  EXPECT_EQ(print("y x1"), "(y x1)");  // a right part of mixed classes takes parentheses
  for (auto [term, text] : {std::pair{"S K K", "SKK"}, {"K (K H) I", "(K KH I)"}, {"f x", "(f x)"},
                            {"f [ab]", "f[ab]"}, {"1 2", "(1 2)"}, {"x1 y", "x1y"}, {"f g x y", "(f g x y)"}})
    EXPECT_EQ(print(term), text);
}

TEST(Print, LeavesOfEveryKind) {
  EXPECT_EQ(termprint(CellRef("")), "()");
  EXPECT_EQ(termprint(CellRef(")name")), "()");
  EXPECT_EQ(termprint(cellpair(CellRef(""), CellRef("x"))), "()x");  // rule 1 needs a second byte
  double d = 1.5;
  std::string real = " ";
  real.append((const char *)&d, 8);
  EXPECT_EQ(termprint(CellRef(real)), "real[1.500000e+00]");
  EXPECT_EQ(termprint(mkblob("a\nb")), "init[a[p]b]");
  EXPECT_EQ(termprint(mkblob(std::string("[]\0x", 4))), "init[[q][r]\nx]");
  EXPECT_EQ(termprint(CellRef("0123")), "0123");
}

TEST(Print, LongListsPrintWithoutRecursion) {
  CellRef list("K");
  for (int i = 0; i < 300000; i++) list = cellpair3(CellRef("J"), CellRef("H"), std::move(list));
  std::string text = termprint(list);
  std::string want;
  for (int i = 0; i < 299999; i++) want += "(JH ";
  want += "JHK" + std::string(299999, ')');
  EXPECT_EQ(text, want);
}
