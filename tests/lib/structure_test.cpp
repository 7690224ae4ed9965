// The structure words through whole programs: taking texts, trees and numbers apart, the casts
// between classes and their round trips, slices and single changes, and raw memory.
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "core/cell.h"
#include "core/data.h"
#include "core/number.h"
#include "lang/program.h"
#include "lib/builtins.h"
#include "tests/lib/libtest.h"

TEST(Structure, TypesAndTheMachinesView) {
  expectprinted({{"type(init[a])", "[post]"}, {"type(real 1)", "[real]"}, {"type 5", "[hint]"}, {"type 002", "[numb]"},
          {"type K", "[void]"}, {"type(J H K)", "[numb]"}, {"type(type 1)", "[zits]"},
          {"raws (type 1) (type 5)", "K"}, {"raws (K (I K)) (K (I K))", "H"}, {"x{init[a]}(leak x)=(leak x)", "K"},
          {"raws (1+1) (1+1)", "H"},  // a built-in's result is a fresh cell, a small number too
          {"lisp (K 1)", "[K1]"}, {"lisp (real 1)", "[real[1.000000e+00]]"}});
}

TEST(Structure, TextsAndTreesComeApart) {
  expectprinted({{"left [abc]", "[ab]"}, {"rows([]-(rght[abc]))", "[c]"}, {"rght ([ab]-[cd])", "[cd]"},
          {"rows (rght ([a[bc]] V))", "[bc]"}, {"left ([] V)", "Z"}, {"left 5", "Z"}, {"leaf []", "K"},
          {"leaf [a]", "H"}, {"leaf 5", "Z"}, {"leaf ([a] V)", "H"}});
  Child c = runchild([] { ranhere("left []"); });  // test with leaf first
  EXPECT_EQ(c.status, 128 + SIGABRT);
  EXPECT_NE(c.err.find("ASSERTION FAILED:l:"), std::string::npos);
}

TEST(Structure, RankAndLook) {
  expectprinted({{"rank (real 1)", "8"}, {"rank (0-12345)", "5"}, {"rank [a[p]b]", "5"}, {"rank K", "Z"}});
  expectprinted({{"look 0 (init 200)", "056"}, {"look (0-1) (init[ab])", "98"}, {"look (0-3) (init[ab])", "Z"},
          {"look 0 (init[])", "Z"}, {"look 64 (real 1)", "H"}, {"look 65 (real 1)", "Z"}, {"look 3 5", "H"},
          {"look (0-6) 5", "Z"}, {"look 1 [a[bc]d]", "[bc]"}, {"rows([]-(look 1 ([ab]-[cd])))", "[b]"},
          {"look 0 ([[[bc]]]-(0-3))", "Z"}});  // a cut that leaves a group open to the end
}

// Bits of integers that fit a word come from the word; the same integers as chains of bits take
// the general path. Ranks of large results come from their lengths, digits written or not.
TEST(Structure, LookAndRankOfIntegersAgreeWithTheGeneralPath) {
  preludeload();
  for (int64_t v : std::initializer_list<int64_t>{0, 1, -1, 5, -6, 12345, 1ll << 62, -(1ll << 62), INT64_MAX, INT64_MIN}) {
    CellRef x = fromword(v), chain = aslist(x);
    for (int64_t n = -70; n <= 70; n++)
      EXPECT_EQ(celltext(applied("look", {fromword(n), x})), celltext(applied("look", {fromword(n), chain})))
          << n << " " << v;
  }
  expectprinted({{"rank (3^200)", "96"}, {"rank ((0-3)^201)", "96"}, {"rank (3^200-(3^200))", "1"},
                 {"(rank (7^300)) + (rank (lisp (7^300)))", "508"}});
}

// Texts made of known elements, characters and groups, each looked into at every index, from
// the start and from the end, in an order that takes turns over more texts than are kept cut
// into elements.
TEST(Structure, LookWalksTextsByIndex) {
  preludeload();
  std::mt19937_64 g(13);
  std::vector<CellRef> texts;
  std::vector<std::vector<CellRef>> parts;
  for (int t = 0; t < 6; t++) {
    std::string text = "[";
    parts.emplace_back();
    for (size_t n = 1 + g() % 30; n-- > 0;) {
      std::string group = "[" + std::string(1 + g() % 3, (char)('a' + g() % 20)) + "]";
      bool single = t % 2 == 0 || g() % 3;
      char c = (char)('a' + g() % 20);
      text += single ? std::string(1, c) : group;
      parts.back().push_back(single ? chartree((unsigned char)c) : CellRef(group));
    }
    texts.emplace_back(text + "]");
  }
  for (int64_t i = -32; i < 32; i++)
    for (size_t t = 0; t < texts.size(); t++) {
      int64_t n = (int64_t)parts[t].size(), k = i < 0 ? i + n : i;
      CellRef got = applied("look", {fromword(i), texts[t]});
      if (k < 0 || k >= n) EXPECT_EQ(celltext(got), "Z") << i;
      else EXPECT_EQ(cellcompare(got, parts[t][(size_t)k]), 0) << celltext(texts[t]) << " " << i;
    }
}

TEST(Structure, LordAndLotsGoBetweenLeavesAndChains) {
  expectprinted({{"lord (real[0.5])", "002"}, {"lord ((real 0)-(real[inf]))", "00"}, {"lord (real 0)", "000"},
          {"lord [[p]]", "10"}, {"lord [p]", "112"}, {"lord [ab]", "Z"}, {"lord (init 200)", "056"}, {"lord S", "Z"}});
  expectprinted({{"lord (lots (0-7))", "07"}, {"lord (lots 003)", "003"}, {"lots 5", "(JK (JK (JK JHK)))"},
          {"lots (init 0)", "(JH (JH (JH (JH (JH (JH (JH JHK)))))))"}, {"lots S", "Z"},
          {"rows (V (X J) (lots [a[bc]]))", "[a[bc]]"}});
  // A real's chain runs from bit 0 to its highest set bit, 61 for 1.0, and K ends it.
  expectprinted({{"look 51 (lots (real 1))", "H"}, {"look 61 (lots (real 1))", "K"}, {"look 63 (lots (real 1))", "H"}});
}

TEST(Structure, InitRowsAndRealCast) {
  expectprinted({{"init 300", "init[,]"}, {"init 002", "Z"}, {"init [a[p]b[q][r]]", "init[a[p]b[q][r]]"},
          {"init [a[x]]", "Z"}, {"init K", "init[]"}, {"init (J (init[a] K J) (init[b] K J))", "init[ab]"}});
  expectprinted({{"init (rows (init[a[p]b[q][r]c]))", "init[a[p]b[q][r]c]"}, {"rows (real[1.5])", "[1.500000e+00]"},
          {"rows 353", "[a]"}, {"rows 0", "[\n]"}, {"rows 002", "Z"}, {"rows ([ab]-[cd])", "[ab[cd]]"}});
  expectprinted({{"real (init[2.5])", "real[2.500000e+00]"}, {"real 003", "real[1.500000e+00]"}, {"real S", "Z"}});
  for (const char *x : {"real[-2.5e-310]", "real[1e308]", "real[-0.0]", "(real 1)/(real 0)", "real[0.1]"})
    EXPECT_EQ(ranhere("(real((" + std::string(x) + ") V))=(" + x + ")"), "K") << x;  // the tree view read back
}

TEST(Structure, IntoStopsShortOfTheLastElement) {
  expectprinted({{"into 2 2 (init[abcd])", "Z"}, {"into (0-3) 2 (init[abcd])", "init[bc]"}, {"into 0 (0-1) (init[abcd])", "Z"},
          {"into 0 3 [abc]", "Z"}, {"into 0 2 [abc]", "[ab]"}, {"into 1 2 [a[bc]de]", "[[bc]d]"}, {"into 0 5 5", "Z"},
          {"into 2 2 5", "01"}});
  // Bits of a real: any length but 0 gives everything above the offset.
  expectprinted({{"into (0-12) 1 (real 1)", "1023"}, {"into 0 0 (real 1)", "0"}, {"into 60 4 (real 1)", "Z"}});
}

TEST(Structure, CorkChangesOneElement) {
  expectprinted({{"cork 3 [x] (init[abc])", "Z"}, {"cork 0 [[x]] (init[abc])", "Z"},
          {"cork (0-1) K (real 1)", "real[-1.000000e+00]"}, {"cork 64 K (real 1)", "Z"}, {"cork 8 K 5", "69"},
          {"cork 1 H 00", "Z"}, {"cork 1 [x] [abc]", "[a[x]c]"}, {"rows (cork 0 (look 0 [z]) ([ab]-[cd]))", "[zb[cd]]"},
          {"cork 2 [z] ([ab]-[cd])", "[ab][z]"}, {"cork 0 K S", "Z"}});
  // A post used twice keeps its old byte where it is used again.
  expectprinted({{"p{init[abc]}(cork 0 [x] p)+p", "init[xbcabc]"}});
}

TEST(Structure, CorkWritesInPlaceOnlyForItsOwnPost) {
  auto app = [](CellRef post) { return cellpair4(CellRef("cork"), CellRef("1"), CellRef("[x]"), std::move(post)); };
  auto cork = builtins().at("cork").run;
  CellRef post = mkblob("abc");
  Cell *cell = post.get();
  CellRef changed = cork(app(std::move(post)));
  EXPECT_EQ(changed.get(), cell);
  EXPECT_EQ(blobbytes(changed), "axc");
  CellRef whole = app(mkblob("abc"));  // the application itself held elsewhere
  Cell *inner = whole->right;
  changed = cork(whole);
  EXPECT_NE(changed.get(), inner);
  EXPECT_EQ(blobbytes(CellRef(inner)), "abc");
}

TEST(Structure, MemoryWordsReadAndWriteRawBytes) {
  alignas(8) unsigned char buf[16] = {};
  std::string a = std::to_string((uintptr_t)buf);
  EXPECT_EQ(ranhere("(setw " + a + " 01);(getw " + a + ")"), "18446744073709551615");
  EXPECT_EQ(ranhere("getz " + a), "01");
  EXPECT_EQ(ranhere("(setx " + a + " 200);(gety " + a + ")"), "056");
  EXPECT_EQ(ranhere("getx " + a), "200");
  EXPECT_EQ(ranhere("(sett " + a + " 65534);(getv " + a + ")"), "02");
  EXPECT_EQ(ranhere("(setu " + a + " 4294967295);(gets " + a + ")"), "01");
  EXPECT_EQ(buf[4], 255);  // the 32-bit write left the bytes above it
  EXPECT_EQ(ranhere("setx " + a + " [a]"), "Z");
  EXPECT_EQ(ranhere("copy (init[ab]) " + a), "I");
  EXPECT_EQ(std::string((char *)buf, 3), std::string("ab\xff", 3));
  ranhere("copy [a[p]] " + a);
  EXPECT_EQ(std::string((char *)buf, 4), "a[p]");
  ranhere("copy (real 1) " + a);
  double one = 1;
  EXPECT_EQ(memcmp(buf, &one, 8), 0);
  EXPECT_EQ(ranhere("copy S " + a), "Z");
}
