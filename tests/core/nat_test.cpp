// The byte-string naturals: the bit vector with its sentinel, its exact widths and assertions, and
// the reversed decimal strings against the schoolbook reference.
#include "core/nat.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/core/slowref.h"

namespace {
std::string bytes(std::initializer_list<int> b) {
  std::string s;
  for (int x : b) s += (char)x;
  return s;
}

std::string reversed(std::string s) {
  std::reverse(s.begin(), s.end());
  return s;
}

// A DecNat of the reference's number: reversed, so "" for zero.
std::string decnat(const std::string &a) { return a == "0" ? "" : reversed(a); }
}  // namespace

TEST(BitNat, SentinelAndBits) {
  std::string one = bytes({1});
  EXPECT_TRUE(isbits(one));
  EXPECT_FALSE(isbits(bytes({5, 0})));
  EXPECT_EQ(topbit(bytes({0, 0, 0x10})), 20);
  EXPECT_EQ(valuebit(3, bytes({0x08, 0x01})), 1);
  EXPECT_EQ(bitsused(bytes({0x40, 0, 0})), 7);
  EXPECT_DEATH(topbit(bytes({1, 0})), "ASSERTION FAILED:b:");
  EXPECT_DEATH(valuebit(1, bytes({3})), "ASSERTION FAILED:b:");
}

TEST(BitNat, SetbitGrowsByRunsOfEightBytes) {
  std::string s = bytes({1});
  setbit(70, 1, s);
  EXPECT_EQ(s.size(), 9u);
  setbit(71, 0, s);  // inside: no growth
  EXPECT_EQ(s.size(), 9u);
  setbit(72, 0, s);  // even a cleared bit makes its place first
  EXPECT_EQ(s.size(), 17u);
  std::string t = bytes({1});
  EXPECT_EQ(getbit(500, t), 0);
  EXPECT_EQ(t.size(), 1u);
  EXPECT_DEATH(setbit(-1, 1, t), "ASSERTION FAILED:b:");
}

TEST(BitNat, AppendPutsValueBitsAboveAndGrowsLikeSetbit) {
  // a = 1 0 1 under its sentinel at 3; b = 1 1 under its sentinel at 2: value bits 1 0 1 1 1.
  std::string a = bytes({0x0D}), b = bytes({0x07});
  EXPECT_EQ(bitappend(a, b), bytes({0x3D}));
  EXPECT_EQ(bitappend(a, bytes({1})), a);
  // Seven value bits on top of seven: the sentinel lands at 14, in a second byte of a run of eight.
  std::string big = bitappend(bytes({0xFF}), bytes({0xFF}));
  EXPECT_EQ(big.size(), 9u);
  EXPECT_EQ(topbit(trimbits(big)), 14);
}

TEST(BitNat, ArithmeticKeepsItsWidths) {
  // Two strings of the same bit length: one place more, and no carry out of it.
  std::string sum = bitadd(bytes({0xFF, 0xFF}), bytes({0xFF, 0xFF}));
  EXPECT_EQ(sum, bytes({0xFE, 0xFF, 0x01}));
  EXPECT_EQ(bitaddsmall(bytes({0xFF}), 1), bytes({0x00, 0x01}));
  EXPECT_EQ(bitaddsmall(bytes({0x01, 0x00, 0x00}), 2), bytes({0x03, 0x00, 0x00}));
  EXPECT_EQ(bitsucc(bytes({0xFF, 0xFF})), bytes({0, 0, 1, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(bitshift(12, bytes({0x81})), bytes({0x00, 0x10, 0x08}));
  EXPECT_EQ(bitdiv(bytes({0x00, 0x01}), 3), bytes({0x55, 0x00}));
  EXPECT_EQ(bithalf(bytes({0x05, 0x00})), bytes({0x02, 0x00}));
  EXPECT_EQ(bitmod10(bytes({0x00, 0x01})), 6);
  EXPECT_EQ(trimbits(bitmul(bytes({0x03}), 5)), bytes({0x0F}));
  EXPECT_EQ(trimbits(bitmul(bytes({0x01}), -1)), bytes({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F}));
  EXPECT_DEATH(bitdiv(bytes({1}), 0), "ASSERTION FAILED:b:");
}

TEST(DecNat, ComparisonsAndTests) {
  EXPECT_TRUE(declesseq("5", "500"));
  EXPECT_EQ(digit(7, "12"), '0');
  EXPECT_TRUE(deciszero("000"));
  EXPECT_TRUE(decisone("100"));
  EXPECT_FALSE(deceven("72"));
  EXPECT_DEATH(decless("1a", "1"), "ASSERTION FAILED:b:");
}

TEST(DecNat, DivisionAndPowerEdges) {
  EXPECT_EQ(decdivmod(false, "", "21"), "");
  EXPECT_EQ(dechalf("9"), "4");
  EXPECT_EQ(decpow("", "0"), "1");
  EXPECT_EQ(decpow("2", "01"), "4201");  // 2^10
  EXPECT_EQ(decpow("0", "7"), "");
  EXPECT_DEATH(decsub("1", "2"), "ASSERTION FAILED:b:");
  EXPECT_DEATH(decmuldigit(10, "1"), "ASSERTION FAILED:b:");
  EXPECT_DEATH(decdivmod(true, "1", "00"), "ASSERTION FAILED:b:");
}

TEST(DecNat, ArithmeticMatchesSchoolbook) {
  std::mt19937_64 g(6);
  for (int round = 0; round < 200; round++) {
    std::string a = refrandom(g, 300), b = refrandom(g, 300);
    int k = (int)(g() % 10);
    SCOPED_TRACE(a + " " + b);
    std::string x = decnat(a) + std::string(g() % 3, '0'), y = decnat(b);  // zeros above are no digits
    ASSERT_EQ(decadd(x, y), decnat(refadd(a, b)));
    ASSERT_EQ(decmul(x, y), decnat(refmul(a, b)));
    ASSERT_EQ(decmuldigit(k, x), decnat(refmul(a, std::to_string(k))));
    ASSERT_EQ(decless(x, y), refcmp(a, b) < 0);
    if (refcmp(a, b) >= 0) {
      ASSERT_EQ(decsub(x, y), decnat(refsub(a, b)));
    }
    if (b == "0") continue;
    std::string q, r;
    refdivmod(a, b, q, r);
    ASSERT_EQ(decdivmod(true, x, y), decnat(q));
    ASSERT_EQ(decdivmod(false, x, y), decnat(r == "0" ? q : refadd(q, "1")));
  }
}
