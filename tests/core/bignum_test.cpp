// The word engine against the schoolbook reference, with the thresholds lowered so that every
// algorithm (Karatsuba, transforms, recursive division, divide-and-conquer conversion) runs on
// operands of a few hundred digits, and at its usual thresholds on both sides of them.
#include "core/bignum.h"

#include <gtest/gtest.h>

#include "tests/core/slowref.h"

namespace {

// Runs a test body under one setting of the thresholds and puts the usual ones back.
struct Tuned {
  Bigtuning saved = bigtuning;
  explicit Tuned(const Bigtuning &t) { bigtuning = t; }
  ~Tuned() { bigtuning = saved; }
};

constexpr size_t never = (size_t)1 << 40;
const Bigtuning settings[] = {
    Bigtuning{},                            // as shipped
    Bigtuning{2, never, 4, 2},              // Karatsuba, recursive division and split conversion everywhere
    Bigtuning{2, 1, 4, 2},                  // transforms for every product
    Bigtuning{never, never, never, never},  // schoolbook and long division only
};

std::string dec(const Limbs &d) {
  std::string s = decwrite(d);
  return s.empty() ? "0" : s;
}

Limbs bin(const std::string &a) { return dectobin(decread(a)); }
std::string decofbin(const Limbs &b) { return dec(bintodec(b)); }

}  // namespace

// a divided by b gives quotient q and remainder r in both bases.
static void divides(const std::string &a, const std::string &b, const std::string &q, const std::string &r) {
  Limbs dq, dr;
  bigdivmod<Dec>(decread(a), decread(b), dq, dr);
  ASSERT_EQ(dec(dq), q);
  ASSERT_EQ(dec(dr), r);
  bigdivmod<Bin>(bin(a), bin(b), dq, dr);
  ASSERT_EQ(decofbin(dq), q);
  ASSERT_EQ(decofbin(dr), r);
}

TEST(Engine, DecimalTextOfEveryLength) {
  std::mt19937_64 g(1);
  for (size_t n = 0; n < 80; n++) {
    std::string text;
    for (size_t i = 0; i < n; i++) text += (char)('0' + g() % 10);
    ASSERT_TRUE(alldigits(text));
    std::string expect = n ? refnorm(text) : "0";
    EXPECT_EQ(dec(decread(text)), expect) << text;
    EXPECT_EQ(dec(decread("000" + text)), expect);
    // A single foreign byte anywhere, also just outside the digit range, is seen.
    for (int bad : {0x2F, 0x3A, 0x00, 0xB0, 0x80}) {  // '/', ':', NUL and two high bytes
      if (n == 0) break;
      std::string spoilt = text;
      spoilt[g() % n] = (char)bad;
      EXPECT_FALSE(alldigits(spoilt));
    }
  }
  EXPECT_EQ(decwrite(Limbs{}), "");
  EXPECT_EQ(dec(Limbs{Dec::base - 1, 7}), "79999999999999999999");
}

// Under each setting: sums, differences, products, squares and divisions of random operands;
// quotients made of the largest word in long runs, which take the corrections of the estimated
// quotient words and, in the recursive division, the branch where the top halves are equal; and
// powers of small bases.
TEST(Engine, ArithmeticInBothBasesMatchesSchoolbook) {
  for (const Bigtuning &t : settings) {
    Tuned tuned(t);
    std::mt19937_64 g(2);
    for (int round = 0; round < 120; round++) {
      std::string a = refrandom(g, 400), b = refrandom(g, round % 3 ? 400 : 60);
      SCOPED_TRACE(a + " " + b);
      Limbs x = decread(a), y = decread(b), xb = dectobin(x), yb = dectobin(y);
      ASSERT_EQ(refofbytes(byteswrite(xb)), a);  // binary words as the reference reads their bytes
      ASSERT_EQ(dec(bigadd<Dec>(x, y)), refadd(a, b));
      ASSERT_EQ(decofbin(bigadd<Bin>(xb, yb)), refadd(a, b));
      ASSERT_EQ(bigcmp(x, y), refcmp(a, b));
      if (refcmp(a, b) >= 0) {
        ASSERT_EQ(dec(bigsub<Dec>(x, y)), refsub(a, b));
      }
      std::string product = refmul(a, b), square = refmul(a, a);
      ASSERT_EQ(dec(bigmul<Dec>(x, y)), product);
      ASSERT_EQ(decofbin(bigmul<Bin>(xb, yb)), product);
      ASSERT_EQ(dec(bigmul<Dec>(x, x)), square);
      ASSERT_EQ(decofbin(bigmul<Bin>(xb, xb)), square);
      if (b == "0") continue;
      std::string rq, rr;
      refdivmod(a, b, rq, rr);
      ASSERT_NO_FATAL_FAILURE(divides(a, b, rq, rr));
    }
    for (int round = 0; round < 40; round++) {
      std::string b = refrandom(g, 200), nines(19 * (1 + g() % 12), '9');
      if (b == "0") continue;
      std::string rest = refrandom(g, b.size());
      if (refcmp(rest, b) >= 0) rest = "0";
      std::string a = refadd(refmul(b, nines), rest);
      SCOPED_TRACE(a + " / " + b);
      ASSERT_NO_FATAL_FAILURE(divides(a, b, nines, rest));
    }
    for (int round = 0; round < 30; round++) {
      std::string a = refrandom(g, 12);
      unsigned n = (unsigned)(g() % 40);
      ASSERT_EQ(dec(bigpow<Dec>(decread(a), Limbs{n})), refpow(a, n)) << a << "^" << n;
      ASSERT_EQ(decofbin(bigpow<Bin>(bin(a), Limbs{n})), refpow(a, n));
    }
  }
}
