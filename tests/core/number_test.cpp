// Number forms: spelling of naturals as text and lists, forms and classes, machine words, reals
// and exact fractions at their edges, and both arithmetics against the schoolbook reference.
#include "core/number.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>

#include "core/bignum.h"
#include "core/halt.h"
#include "core/nat.h"
#include "core/numberleaf.h"
#include "core/tables.h"
#include "lang/analysis.h"
#include "tests/core/slowref.h"
#include "tests/support.h"

namespace {

// The prelude's names that number terms are built from, so that the analysis of pairs knows them.
class Numbers : public ::testing::Test {
 protected:
  void SetUp() override {
    tablesreset();
    for (const char *name : {"J", "K", "H", "V", "I"})
      deftable().emplace(name, sexp("(\\ a (\\ b (\\ c Z)))"));
    bothcapture = &trace;
  }
  void TearDown() override {
    bothcapture = nullptr;
    tablesreset();
  }
  std::string trace;
};

std::string text(const CellRef &t) { return celltext(t); }

std::string pow2(unsigned k) { return refpow("2", k); }

// An exact number as the reference sees it: a sign and m / 2^f, from D's places one by one.
struct Ref {
  bool plus;
  std::string m;
  unsigned f;
};

Ref refexact(const std::string &d) {
  int64_t n = 8 * (int64_t)d.size();
  unsigned f = 0;
  for (int64_t i = 2; i < n; i += 2)
    if (getbit(i, d)) f = (unsigned)(i / 2);
  std::string m = "0";
  for (int64_t i = n - 1; i >= 1; i -= 2) m = refadd(refadd(m, m), getbit(i, d) ? "1" : "0");
  for (unsigned k = 1; k <= f; k++) m = refadd(refadd(m, m), getbit(2 * k, d) ? "1" : "0");
  return Ref{getbit(0, d) == 1, m, f};
}

// Both at the scale of the finer one.
std::string scaled(const Ref &x, unsigned f) { return refmul(x.m, pow2(f - x.f)); }

int refcompare(const Ref &x, const Ref &y) {
  unsigned f = std::max(x.f, y.f);
  bool xp = x.plus || x.m == "0", yp = y.plus || y.m == "0";
  if (xp != yp) return xp ? 1 : -1;
  int c = refcmp(scaled(x, f), scaled(y, f));
  return xp ? c : -c;
}

// D with the sign and the given places set.
std::string exactd(bool plus, std::initializer_list<int64_t> places) {
  std::string d(1, plus ? '\1' : '\0');
  for (int64_t k : places) setbit(k >= 0 ? 2 * k + 1 : -2 * k, 1, d);
  return d;
}

uint64_t bitsofreal(const CellRef &t) { return std::bit_cast<uint64_t>(realvalue(t)); }

std::string randomd(std::mt19937_64 &g) {
  std::string d(1 + g() % 24, '\0');
  for (char &c : d) c = (char)(g() % 4 ? g() : 0);
  d.back() |= 1;
  return d;
}

// A signed reference integer and its leaf text.
struct Int {
  bool minus;
  std::string m;
};
std::string leaftext(const Int &x) { return x.m == "0" ? "0" : (x.minus ? "0" : "") + x.m; }

}  // namespace

TEST_F(Numbers, SpellingExamplesAndEdges) {
  EXPECT_EQ(refofbytes(textnatural("0")), "3");  // the one text the round trips below do not make
  EXPECT_EQ(naturaltext(std::string(1, '\1')), "0");  // the empty vector, the list K
  EXPECT_DEATH(textnatural(""), "ASSERTION FAILED:b:");
  EXPECT_DEATH(textnatural("1x"), "ASSERTION FAILED:b:");
  EXPECT_DEATH(listbits(sexp("((J I) K)")), "ASSERTION FAILED:b:");
  EXPECT_DEATH(listbits(sexp("((J K) x)")), "ASSERTION FAILED:b:");
}

TEST_F(Numbers, SpellingRoundTripsAgainstReference) {
  std::mt19937_64 g(7);
  for (int round = 0; round < 300; round++) {
    std::string x = refrandom(g, 120), t, expect;
    unsigned z = (unsigned)(g() % 30);
    switch (round % 3) {
      case 0:
        t = x, expect = refadd(refmul(x, "4"), "3");
        if (x == "0") expect = "3";
        break;
      case 1:
        if (x == "0") continue;
        t = "0" + x, expect = refadd(refmul(x, "4"), "1");
        break;
      default:  // exact: "00", z more zeros, then digits or none
        bool digits = x != "0" && g() % 4;
        t = "00" + std::string(z, '0') + (digits ? x : "");
        expect = refadd(digits ? refmul(x, pow2(z + 2)) : "0", pow2(z + 1));
    }
    SCOPED_TRACE(t);
    std::string n = textnatural(t);
    ASSERT_EQ(refofbytes(n), expect);
    ASSERT_TRUE(isbits(n));
    ASSERT_EQ(naturaltext(n), t);
    ASSERT_EQ(listbits(bitlist(n)), n);
  }
}

TEST_F(Numbers, ClassesAndForms) {
  // The class letter, then whether the term has the form of an integer, a natural and an exact
  // real, and whether it counts as plus.
  auto forms = [](const CellRef &t) {
    return std::string{(char)numclass(t), intform(t) ? 'i' : '-', natform(t) ? 'n' : '-', exactform(t) ? 'x' : '-',
                       isplus(t) ? '+' : '-'};
  };
  const std::pair<CellRef, const char *> rows[] = {
      {fromreal(1.0), "e---+"},    {mkblob("abc"), "a---+"},       {CellRef("[ab]"), "u---+"},
      {sexp("(f x)"), "w---+"},    {sexp("((J I) K)"), "w---+"},   {sexp("((J H) x)"), "oinx+"},
      {sexp("((J K) K)"), "iin--"}, {sexp("((J K) ((J H) K))"), "iin--"}, {sexp("((J K) ((J K) K))"), "i-n--"},
      {CellRef("K"), "win-+"},     {CellRef("5"), "iin-+"},        {CellRef("05"), "iin--"},
      {CellRef("00"), "o-nx+"}};
  for (const auto &[t, want] : rows) EXPECT_EQ(forms(t), want);
  EXPECT_EQ(text(magnitude(CellRef("05"))), "5");
  EXPECT_EQ(text(magnitude(CellRef("005"))), "05");
  EXPECT_EQ(text(magnitude(sexp("((J H) ((J H) ((J K) K)))"))), "003");  // minus 1.5 to 1.5
  EXPECT_DEATH(magnitude(CellRef("K")), "ASSERTION FAILED:b:");
  EXPECT_DEATH(needint(CellRef("00")), "ASSERTION FAILED:b:");
  EXPECT_DEATH(needexact(CellRef("5")), "ASSERTION FAILED:b:");
}

// The tail of the pair view: X = N / 4, c its low run of ones, then what lies above the zero after it.
TEST_F(Numbers, PairViewTails) {
  const std::pair<const char *, std::string> tails[] = {
      {"0", ""}, {"5", "01"}, {"05", "01"}, {"7", "000"}, {"22", "11"},
      {"00", ""}, {"003", "00"},  // N = 1110: X = 11
      {"0009", "002"},            // N = 9 * 8 + 4 = 1001100: X = 10011
      {"4763953136893138488487244504044754960383", std::string(129, '0') + "3"},  // 3 * 2^130 + 2^129 - 1
  };
  for (const auto &[leaf, tail] : tails) EXPECT_EQ(text(digitsrest(CellRef(leaf))), tail) << leaf;
}

// The word reader agrees with the general reader wherever a value fits, refuses every text it
// does not fit, and the word writer's ready-made analysis is the one the analysis would give.
// toword reads any integer modulo 2^64.
TEST_F(Numbers, SmallIntegersAgreeWithTheGeneralPath) {
  std::mt19937_64 g(9);
  std::vector<int64_t> values = {0, 1, -1, 9, -9, 10, -10, INT64_MAX, INT64_MIN, INT64_MAX - 1, INT64_MIN + 1,
                                 999999999999999999, -1000000000000000000};
  for (int i = 0; i < 300; i++) values.push_back((int64_t)g() >> (g() % 64));
  for (int64_t p = 1;; p *= 10) {  // where the count or the leading digit changes
    for (int64_t n : {p - 1, p, p + 1, 2 * p - 1, 2 * p, 9 * p, p + p / 2}) values.insert(values.end(), {n, -n});
    if (p > INT64_MAX / 10) break;
  }
  int64_t v = 0;
  for (int64_t n : values) {
    std::string spelling = (n < 0 ? "0" : "") + std::to_string(n < 0 ? 0 - (uint64_t)n : (uint64_t)n);
    // A word made into a leaf reads back and has its length and first byte before its digits exist.
    CellRef made = fromword(n);
    EXPECT_TRUE(smallint(made.get(), v) && v == n) << n;
    EXPECT_EQ(celllen(made), spelling.size()) << n;
    EXPECT_EQ(cellhead(made), (unsigned char)spelling[0]) << n;
    EXPECT_EQ(text(made), spelling);
    EXPECT_TRUE(smallint(made.get(), v) && v == n) << n;
    CellRef spelled(spelling);
    sizeup(spelled);
    EXPECT_EQ(topbyte(made.get()), topbyte(spelled.get())) << n;
  }
  // Every length of digits, every digit at every place, both signs: the reader takes short texts
  // eight digits at a time and must join the parts at each length.
  for (size_t len = 1; len <= 19; len++) {
    for (char d = '0'; d <= '9'; d++) {
      for (std::string t : {std::string(len, d), std::string("9876543210123456789").substr(19 - len),
                            std::string(1, d == '0' ? '1' : d) + std::string(len - 1, '0'),
                            std::string(len - 1, '9') + std::string(1, d)}) {
        if (t.size() > 1 && t[0] == '0') continue;
        uint64_t want = std::stoull(t);
        bool fits = want <= (uint64_t)INT64_MAX;
        EXPECT_EQ(smallint(CellRef(t).get(), v) && (uint64_t)v == want, fits) << t;
        if (want) {
          EXPECT_EQ(smallint(CellRef("0" + t).get(), v) && v == (int64_t)(0 - want), fits) << t;
        }
      }
    }
  }
  for (const char *t : {"00", "000", "0045", "9223372036854775808", "09223372036854775809",
                        "18446744073709551616", "10000000000000000000", "123456789012345678901", "K", "[5]"})
    EXPECT_FALSE(smallint(CellRef(t).get(), v)) << t;
  EXPECT_FALSE(smallint(cellpair(CellRef("J"), CellRef("K")).get(), v));
  EXPECT_FALSE(smallint(fromreal(1.0).get(), v));
  EXPECT_EQ(text(fromuword(UINT64_MAX)), "18446744073709551615");
  EXPECT_EQ(toword(CellRef("18446744073709551621")), 5);  // 2^64 + 5
  EXPECT_EQ(toword(CellRef("018446744073709551621")), -5);
  EXPECT_EQ(lowword(CellRef("018446744073709551621")), 5u);
}

TEST_F(Numbers, IntegersAsRealsAndAddresses) {
  EXPECT_EQ(realvalue(inttoreal(CellRef("05"))), -5.0);
  EXPECT_EQ(realvalue(inttoreal(CellRef("1" + std::string(400, '0')))), INFINITY);
  EXPECT_EQ(realvalue(inttoreal(sexp("((J H) ((J K) K))"))), 1.0);  // the exact one, spelled 001, read as 1
  EXPECT_DEATH(realvalue(CellRef("5")), "ASSERTION FAILED:b:");
  CellRef rope = sexp("([a] [b])");  // a rope's address is that of its pair
  EXPECT_EQ(toaddress(rope), (uint64_t)(uintptr_t)&rope->left);
  EXPECT_EQ(toaddress(CellRef("05")), (uint64_t)-5);
  EXPECT_DEATH(toaddress(fromreal(1.5)), "ASSERTION FAILED:b:");
}

TEST_F(Numbers, RealsToExactAtTheirEdges) {
  EXPECT_EQ(text(realtoexact(fromreal(0.0))), "000");
  EXPECT_EQ(text(realtoexact(fromreal(-0.0))), "00");
  for (double v : {INFINITY, -INFINITY, NAN}) EXPECT_EQ(text(realtoexact(fromreal(v))), "00");
  EXPECT_EQ(realvalue(exacttoreal(CellRef("000"))), -1.0);
  EXPECT_EQ(bitsofreal(exacttoreal(CellRef("00"))), 0u);
  // Every normal double comes back bit for bit.
  std::mt19937_64 g(9);
  for (int i = 0; i < 500; i++) {
    uint64_t b = g();
    if ((b >> 52 & 0x7FF) == 0 || (b >> 52 & 0x7FF) == 0x7FF) continue;
    ASSERT_EQ(bitsofreal(exacttoreal(realtoexact(fromreal(std::bit_cast<double>(b))))), b);
  }
  // The exponent's range: no infinity above and no zero below, but the NaN pattern.
  EXPECT_EQ(bitsofreal(exacttoreal(bitsexact(exactd(true, {1023})))), 0x7FE0000000000000u);
  EXPECT_EQ(bitsofreal(exacttoreal(bitsexact(exactd(false, {1024})))), 0x7FF9000000000000u);
  EXPECT_EQ(bitsofreal(exacttoreal(bitsexact(exactd(true, {-1075})))), 0x7FF9000000000000u);
  // No rounding: what lies below the 52nd place is cut off, toward zero.
  EXPECT_EQ(realvalue(exacttoreal(bitsexact(exactd(false, {0, -53})))), -1.0);
  EXPECT_EQ(bitsofreal(exacttoreal(bitsexact(exactd(true, {0, -52, -53})))), 0x3FF0000000000001u);
  // Below the normal range the steps stand as they are: the places under the top one fill the
  // mantissa from its low end, and the top place itself is not written.
  EXPECT_EQ(bitsofreal(exacttoreal(bitsexact(exactd(true, {-1023, -1024})))), 1u);
  EXPECT_EQ(bitsofreal(exacttoreal(bitsexact(exactd(false, {-1074})))), 1ull << 63);
  // A subnormal double: its bits from the highest down go to the places from e - 1 down.
  EXPECT_EQ(trimbits(exactbits(realtoexact(fromreal(std::bit_cast<double>(uint64_t{2}))))),
            trimbits(exactd(true, {-1074})));
  EXPECT_EQ(text(realtoexact(fromreal(std::bit_cast<double>(uint64_t{1})))), "00");
  EXPECT_DEATH(realtoexact(fromreal(-std::bit_cast<double>(uint64_t{1}))), "ASSERTION FAILED:b:");
}

TEST_F(Numbers, ExactArithmeticMatchesReference) {
  std::mt19937_64 g(10);
  std::string expecttrace;
  for (int round = 0; round < 150; round++) {
    std::string a = randomd(g), b = randomd(g), r;
    Ref x = refexact(a), y = refexact(b);
    unsigned f = std::max(x.f, y.f);
    SCOPED_TRACE(refofbytes(a) + " " + refofbytes(b));
    // Equal signs add exactly.
    std::string bb = withsign(x.plus, b);
    Ref sum = refexact(exactadd(a, bb)), yy = refexact(bb);
    expecttrace += std::string("jjaa") + (x.plus ? '1' : '0') + (getbit(0, bb) ? '1' : '0') + "\n";
    ASSERT_EQ(refcompare(sum, Ref{x.plus, refadd(scaled(x, f), scaled(yy, f)), f}), 0);
    // Of different signs, the larger magnitude wins the sign; where the smaller one's places all
    // lie within the larger one's, no borrow is needed and the difference is exact.
    std::string part = withsign(!x.plus, a);
    for (char &c : part) c = (char)(c & g());
    part = withsign(!x.plus, part);
    Ref p = refexact(part), diff = refexact(exactadd(a, part));
    expecttrace += std::string("jjaa") + (x.plus ? '1' : '0') + (getbit(0, part) ? '1' : '0') + "\n";
    bool same = refcmp(x.m, "0") == 0 || refcmp(scaled(x, x.f), scaled(p, x.f)) == 0;
    ASSERT_EQ(refcompare(diff, Ref{same || x.plus, refsub(scaled(x, x.f), scaled(p, x.f)), x.f}), 0);
    // Products, remainders and comparisons.
    Ref prod = refexact(exactmul(a, b));
    ASSERT_EQ(refcompare(prod, Ref{x.plus == y.plus, refmul(x.m, y.m), x.f + y.f}), 0);
    ASSERT_EQ(exactcompare(a, b), refcompare(x, y));
    if (y.m == "0") {
      ASSERT_FALSE(exactmod(a, b, r));
      continue;
    }
    ASSERT_TRUE(exactmod(a, b, r));
    std::string q, rest;
    refdivmod(scaled(x, f), scaled(y, f), q, rest);
    if (rest != "0" && x.plus != y.plus) rest = refsub(scaled(y, f), rest);
    ASSERT_EQ(refcompare(refexact(r), Ref{y.plus, rest, f}), 0);
  }
  EXPECT_EQ(trace, expecttrace);
  EXPECT_EQ(exactneg(std::string(1, '\1')), std::string(1, '\1'));
  EXPECT_EQ(exactneg(exactd(true, {3, -2})), exactd(false, {3, -2}));
  EXPECT_EQ(exactadd(exactd(true, {2}), exactd(false, {2})), std::string(1, '\1'));
  // The difference takes no borrow: 4 - 1 gives the places of 4 and 1, that is 5.
  EXPECT_EQ(exactsub(exactd(true, {2}), exactd(true, {0})), exactd(true, {2, 0}));
  // Powers square before they multiply: 1.5 to the 5 and to the 6 come out swapped, while
  // exponents that are powers of two are true.
  std::string half3 = exactd(true, {0, -1}), fifth = half3;
  for (int i = 1; i < 5; i++) fifth = exactmul(fifth, half3);
  EXPECT_EQ(exactpow(half3, 0), std::string(1, '\1'));
  EXPECT_EQ(exactcompare(exactpow(half3, 6), fifth), 0);
  EXPECT_EQ(exactcompare(exactpow(half3, 5), exactmul(fifth, half3)), 0);
  EXPECT_EQ(exactcompare(exactpow(half3, 4), exactmul(exactmul(half3, half3), exactmul(half3, half3))), 0);
  EXPECT_EQ(text(numbmod(CellRef("001"), CellRef("00"))), "Z");
  EXPECT_TRUE(numbless(CellRef("000"), CellRef("00")));
}

TEST_F(Numbers, IntegerArithmeticMatchesReference) {
  std::mt19937_64 g(11);
  for (int round = 0; round < 300; round++) {
    Int x{g() % 2 == 0, refrandom(g, 200)}, y{g() % 2 == 0, refrandom(g, round % 2 ? 200 : 30)};
    // Operands as leaves of digits, as leaves that keep their words, and now and then as bit lists
    // of the same natural.
    CellRef a(leaftext(x)), b(leaftext(y));
    if (round % 3 == 2) a = wordsleaf(x.minus, dectobin(decread(x.m))), b = wordsleaf(y.minus, dectobin(decread(y.m)));
    if (round % 7 == 0) a = bitlist(textnatural(leaftext(x)));
    if (round % 7 == 1) b = bitlist(textnatural(leaftext(y)));
    if (!intform(a) || !intform(b)) continue;
    x.minus = x.minus && x.m != "0", y.minus = y.minus && y.m != "0";
    SCOPED_TRACE(leaftext(x) + " " + leaftext(y));
    auto sum = [](const Int &u, const Int &v) {
      if (u.minus == v.minus) return Int{u.minus, refadd(u.m, v.m)};
      if (refcmp(u.m, v.m) >= 0) return Int{u.minus, refsub(u.m, v.m)};
      return Int{v.minus, refsub(v.m, u.m)};
    };
    ASSERT_EQ(text(intadd(a, b)), leaftext(sum(x, y)));
    ASSERT_EQ(text(intsub(a, b)), leaftext(sum(x, Int{!y.minus, y.m})));
    ASSERT_EQ(text(intmul(a, b)), leaftext(Int{x.minus != y.minus, refmul(x.m, y.m)}));
    ASSERT_EQ(text(intneg(a)), leaftext(Int{!x.minus, x.m}));
    int c = x.minus != y.minus ? (x.minus ? -1 : 1) : (x.minus ? -refcmp(x.m, y.m) : refcmp(x.m, y.m));
    if (x.m == "0" && y.m == "0") c = 0;
    ASSERT_EQ(intcompare(a, b), c);
    if (y.m == "0") {
      ASSERT_EQ(text(intdiv(a, b)), "Z");
      ASSERT_EQ(text(intmod(a, b)), "Z");
      continue;
    }
    std::string q, r;
    refdivmod(x.m, y.m, q, r);
    bool differ = x.minus != y.minus;
    ASSERT_EQ(text(intdiv(a, b)), leaftext(Int{differ, differ && r != "0" ? refadd(q, "1") : q}));
    ASSERT_EQ(text(intmod(a, b)), leaftext(Int{y.minus, differ && r != "0" ? refsub(y.m, r) : r}));
  }
  EXPECT_EQ(text(intadd(CellRef("K"), CellRef("05"))), "05");  // K is a zero the loop does not make
}

// Powers by the general path meet the word path in the operator tests, and the word engine's
// powers the reference; here are the exponents no word holds, and the negative ones.
TEST_F(Numbers, IntegerPowers) {
  std::string huge = "1" + std::string(30, '0') + "1";  // odd
  EXPECT_EQ(text(intpow(CellRef("0"), CellRef("0"))), "1");
  EXPECT_EQ(text(intpow(CellRef("01"), CellRef(huge))), "01");
  // Negative exponents give the floor of 1 / a^n.
  for (auto [a, n, r] : {std::tuple{"2", "01", "0"}, {"02", "01", "01"}, {"02", "02", "0"}, {"01", "03", "01"},
                         {"1", "05", "1"}})
    EXPECT_EQ(text(intpow(CellRef(a), CellRef(n))), r) << a << "^" << n;
  EXPECT_EQ(text(intpow(CellRef("0"), CellRef("01"))), "Z");
  // A halt asked for, by the interrupt key say, stops a long power before its first squaring; the
  // run it belongs to ends before anything sees what it gave.
  runhalt = haltinterrupt;
  EXPECT_EQ(text(intpow(CellRef("3"), CellRef("16777216"))), "0");
  EXPECT_EQ(runhalt, haltinterrupt);
  runhalt = 0;
}

// Leaves made from binary words against the same numbers spelled by the reference: their length
// and first byte before the digits are written, their words, then their text. The numbers sit
// near powers of ten and near changes of the leading digit as well, where the digits are written
// at once.
TEST_F(Numbers, PendingDigitsAreTheReferenceDigits) {
  std::mt19937_64 g(12);
  int pending = 0;
  for (int round = 0; round < 400; round++) {
    std::string a = refrandom(g, 300);
    if (round % 4 == 3) {
      std::string near = refmul(std::to_string(1 + g() % 9), "1" + std::string(g() % 300, '0'));
      a = g() % 2 ? refadd(near, std::to_string(g() % 3)) : refsub(near, "1");
    }
    bool minus = g() % 2 && a != "0";
    std::string expect = (minus ? "0" : "") + a;
    SCOPED_TRACE(expect);
    Limbs m = dectobin(decread(a)), back;
    CellRef w = wordsleaf(minus, m);
    bool waiting = digitspending(w.get()), sign;
    pending += waiting;
    EXPECT_EQ(celllen(w), expect.size());
    EXPECT_EQ(cellhead(w), (unsigned char)expect[0]);
    leafwords(w.get(), sign, back);
    EXPECT_TRUE(back == m && sign == minus);
    EXPECT_EQ(digitspending(w.get()), waiting);  // reading the words writes nothing
    EXPECT_EQ(celltext(w), expect);
    leafwords(w.get(), sign, back);
    EXPECT_TRUE(back == m && sign == minus);
  }
  EXPECT_GT(pending, 80);
}

// Everything that looks at a leaf sees pending digits as the digits they will be: the form tests
// on the bytes as they stand, comparison, interning, words and arithmetic through the text.
TEST_F(Numbers, ReadersOfPendingDigitsSeeTheDigits) {
  Limbs m = dectobin(decread(refpow("7", 90)));
  for (int form = 0; form < 4; form++) {
    bool minus = form % 2;
    // many words, or one word of a few digits
    auto fresh = [&] { return form < 2 ? wordsleaf(minus, m) : fromword(minus ? -7654321 : 7654321); };
    CellRef plain(celltext(fresh()));
    ASSERT_TRUE(digitspending(fresh().get()));
    EXPECT_EQ(numclass(fresh()), 'i');
    EXPECT_TRUE(intform(fresh()) && natform(fresh()) && !exactform(fresh()));
    EXPECT_EQ(isplus(fresh()), !minus);
    EXPECT_FALSE(leafis(fresh().get(), "0"));
    EXPECT_EQ(cellcompare(fresh(), plain), 0);
    EXPECT_EQ(cellcompare(fresh(), CellRef(celltext(plain) + "0")), -1);
    EXPECT_EQ(toword(fresh()), toword(plain));
    EXPECT_EQ(listbits(fresh()), listbits(plain));
    EXPECT_EQ(text(digitsrest(fresh())), text(digitsrest(plain)));
    EXPECT_EQ(text(intsub(fresh(), plain)), "0");
    CellRef kept = cellkeep(fresh());
    EXPECT_EQ(cellkeep(plain).get(), kept.get());
  }
}
