// The operators through whole programs: the rows of each operator's table with numbers, texts
// and posts, the kinds that refuse each other, and big integers against the slow reference.
#include <gtest/gtest.h>
#include <unistd.h>

#include <random>

#include "core/number.h"
#include "lang/program.h"
#include "tests/lib/libtest.h"

namespace {

class Operators : public ::testing::Test {
 protected:
  void SetUp() override { bothcapture = &trace; }
  void TearDown() override { bothcapture = nullptr; }
  std::string trace;
};

}  // namespace

TEST_F(Operators, PlusJoinsAsSoonAsBytesTakePart) {
  expectprinted({{"init[ab]+init[cd]", "init[abcd]"}, {"([ab]-[cd])+[e]", "[ab[cd]e]"},
          {"(real[1.5])+init[x]", "init[1.500000e+00x]"}, {"002+init[x]", "init[2x]"}, {"init[x]+(0-12)", "init[x12]"},
          {"init[x]+[y]", "Z"}, {"[y]+init[x]", "Z"}, {"[x]+002", "[x2]"}, {"(0-5)+[a]", "[5a]"}});
}

// A text that only the join holds grows in place; a text held anywhere else, through a binding or
// inside a partial application used twice, is never changed by a join.
TEST_F(Operators, JoinsChangeNoTextThatAnotherHolds) {
  expectprinted({{"s{[ab]+[cd]}(s+[e])+s", "[abcdeabcd]"}, {"f{plus ([a]+[b])}(f [c])+(f [d])", "[abcabd]"},
                 {"x{[a]+[b]}raws x (x+[c])", "H"}, {"build 3 [x],build\\n\\s\\(n=0)s(build(n-1)(s+[ab]))", "[xababab]"},
                 {"strlen (build 300 []),build\\n\\s\\(n=0)s(build(n-1)(s+[ab]))", "602"}});
}

TEST_F(Operators, PlusOnNumbersWidensToTheExactOrTheReal) {
  expectprinted({{"(real[1.5])+(real 2)", "real[3.500000e+00]"}, {"003+003", "005"}, {"1+(real[0.5])", "real[1.500000e+00]"},
          {"002+(real 1)", "real[1.500000e+00]"}, {"1+002", "003"}, {"2+002", "006"}, {"(lots 5)+(lots 7)", "12"},
          {"K+1", "Z"}});
  // Exact sums of different signs take the exclusive or of the places: -1 + 1/2 is -3/2.
  expectprinted({{"(0-1)+002", "0001"}});
  EXPECT_EQ(trace, "jjaa11\njjaa11\njjaa11\njjaa01\n");  // one line for each exact sum
}

TEST_F(Operators, DashCutsRopesAndSubtracts) {
  expectprinted({{"[abc]-1", "[bc]"}, {"[abc]-(0-1)", "[ab]"}, {"[abc]-3", "[]"}, {"[abc]-4", "Z"},
          {"init[abc]-(0-2)", "init[a]"}, {"[a[p]]-2", "[p]]"},  // a cut may fall inside a group
          {"[ab]-[cd]", "[ab][cd]"}, {"rank([ab]-[cd])", "6"}, {"init[a]-init[a]", "Z"}, {"1-[a]", "Z"},
          {"5-7", "02"}, {"7-7", "0"}, {"003-002", "001"}, {"(real 1)-002", "real[5.000000e-01]"}});
}

TEST_F(Operators, MultRepeatsByTheNumberOnTheRight) {
  expectprinted({{"[ab]*3", "[ababab]"}, {"init[ab]*5", "init[ababababab]"}, {"[ab]*(0-1)", "Z"}, {"3*[x]", "Z"},
          {"003*003", "0012"}, {"(real 2)*003", "real[3.000000e+00]"}, {"(0-3)*4", "012"}});
  // A count of 0 searches for its highest bit for ever.
  Child c = runchild([] {
    alarm(1);
    ranhere("[x]*0");
  });
  EXPECT_EQ(c.status, 128 + SIGALRM);
}

TEST_F(Operators, OverAndCentRoundDown) {
  expectprinted({{"7/(0-2)", "04"}, {"7/0", "Z"}, {"1/(real 2)", "real[5.000000e-01]"}, {"003/003", "Z"},
          {"1/002", "real[2.000000e+00]"}, {"(real 1)/(real 0)", "real[inf]"}, {"[a]/1", "Z"},
          {"7%2", "1"}, {"(0-7)%2", "1"}, {"7%(0-2)", "01"}, {"(0-7)%(0-2)", "01"}, {"7%0", "Z"},
          {"(real 7)%2", "real[1.000000e+00]"}, {"0013%002", "008"}});
}

TEST_F(Operators, PowaKeepsTheExactPowersOwnOrder) {
  expectprinted({{"2^100", "1267650600228229401496703205376"}, {"(0-2)^3", "08"}, {"2^(real[0.5])", "real[1.414214e+00]"},
          {"2^003", "real[2.828427e+00]"}, {"003^003", "Z"}, {"[a]^1", "Z"}});
  // Two is raised by placing one bit, in either direction.
  expectprinted({{"004^3=lord(real 8)", "K"}, {"004^(0-2)=lord(real[0.25])", "K"}, {"004^(J K I)", "Z"},
          {"004^(2^61)", "Z"}});
  // Other bases square, multiply once more for an odd exponent, and halve: 5 gives the sixth power.
  expectprinted({{"003^3=lord(real[3.375])", "K"}, {"003^5=lord(real[11.390625])", "K"}, {"003^0", "00"},
          {"003^(0-1)", "Z"}});
}

TEST_F(Operators, ComparisonsGoByClassLetterFirst) {
  expectprinted({{"1<002", "K"}, {"5<002", "K"}, {"(real 1)<1", "K"}, {"init[z]<(real 0)", "K"}, {"[a]<1", "H"},
          {"1>K", "Z"}, {"init[b]<init[ab]", "H"}, {"[b]<[ab]", "H"}, {"(0-5)<(0-7)", "H"}, {"002<003", "K"},
          {"5>5", "K"}, {"(real[nan])<(real 1)", "H"}, {"(real[nan])>(real 1)", "H"}});
}

TEST_F(Operators, SameAndDiffStartFromTheCell) {
  expectprinted({{"x{K K}x=x", "K"}, {"x{K K}x#x", "H"}, {"(K (I K))=(K (I K))", "Z"}, {"x{real[nan]}x=x", "K"},
          {"(real[nan])=(real[nan])", "H"}, {"1=(real 1)", "H"}, {"1=(J K (J K K))", "K"}, {"002=003", "H"},
          {"init[a]=init[a]", "K"}, {"([ab]-[cd])=[ab[cd]]", "K"}});
  expectprinted({{"cmpr 1 2", "01"}, {"cmpr [a] [a]", "0"}, {"cmpr 2 10", "1"}, {"cmpr (K K) K", "1"}});
  // Integers past a word: two leaves compare their values, a list and a leaf their digits.
  expectprinted({{"(7^40)=(7^40)", "K"}, {"(7^40)=(0-(7^40))", "H"}, {"(7^40)#(7^40+1)", "K"},
                 {"(7^40)<(7^40+1)", "K"}, {"(0-(7^40))>(0-(7^40))", "K"}, {"(lots (0-(7^40)))=(7^40)", "K"}});
}

TEST_F(Operators, BuckAndWaveTakeHeadsTailsAndSigns) {
  expectprinted({{"$init[ab]", "[a]"}, {"$init[[p]b]", "[[p]]"}, {"$init[]", "Z"}, {"$(real[-0.0])", "H"},
          {"$(0-5)", "H"}, {"$0", "K"}, {"$(J K (J H K))", "H"}, {"$002", "K"}, {"$0000", "H"}, {"$[abc]", "[ab]"},
          {"$K", "Z"}});
  expectprinted({{"~init[abc]", "init[bc]"}, {"~init[]", "Z"}, {"~(real 1)", "real[-1.000000e+00]"}, {"~5", "05"},
          {"~0", "0"}, {"~002", "0000"}, {"~[a[bc]]", "[bc]"}, {"~K", "Z"}, {"~(J K (J K K))", "01"}});
}

// Integers that fit a word take their own path through the operators; the same operands as bit
// lists never do, so the general path answers for them. Values sit at the word's edges, where
// sums, products, powers and the one overflowing quotient leave the word.
TEST_F(Operators, WordIntegersAgreeWithTheGeneralPath) {
  preludeload();
  std::mt19937_64 g(11);
  std::vector<int64_t> values = {0, 1, -1, 2, -2, 3, -7, 10, INT64_MAX, INT64_MIN, INT64_MAX - 1, INT64_MIN + 1,
                                 1ll << 62, -(1ll << 62), 3037000499, -3037000500, 4294967296, -4294967295};
  for (int i = 0; i < 14; i++) values.push_back((int64_t)g() >> (g() % 64));
  for (int64_t x : values)
    for (int64_t y : values) {
      CellRef a = fromword(x), b = fromword(y), la = aslist(a);
      for (const char *op : {"plus", "dash", "mult", "over", "cent", "less", "gteq"})
        EXPECT_EQ(celltext(applied(op, {a, b})), celltext(applied(op, {la, b}))) << x << " " << op << " " << y;
      CellRef e = fromword(y % 70);
      EXPECT_EQ(celltext(applied("powa", {a, e})), celltext(applied("powa", {la, e}))) << x << "^" << y % 70;
      bool same = celltext(a) == celltext(b);
      EXPECT_EQ(celltext(applied("same", {a, b})), same ? "K" : "H");
      EXPECT_EQ(celltext(applied("diff", {a, b})), same ? "H" : "K");
    }
  for (int64_t x : values)
    for (const char *op : {"wave", "buck"})
      EXPECT_EQ(celltext(applied(op, {fromword(x)})), celltext(applied(op, {aslist(fromword(x))}))) << op << x;
}
