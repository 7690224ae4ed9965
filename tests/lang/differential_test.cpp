// The fast machine against the literal one: random programs on fixed seeds, and hand-made ones
// for the places where a short cut could tell itself apart, must print, fail and write alike.
#include <gtest/gtest.h>

#include "tests/lang/progen.h"
#include "tests/support.h"

namespace {

void expectalike(const std::string &program, const std::string &out) {
  Seen fast = runseen(program, false, out, 20), reference = runseen(program, true, out, 20);
  EXPECT_EQ(difference(fast, reference), "") << program;
}

}  // namespace

TEST(Differential, RandomProgramsOnFixedSeeds) {
  std::string out = scratchdir() + "out";
  for (uint64_t seed = 1; seed <= 120; seed++) expectalike(makeprogram(seed), out);
}

TEST(Differential, ShortCutsThatCouldShow) {
  std::string out = scratchdir() + "out";
  for (const char *program : {
           "g 3 K,g\\x\\V (x+1) (x*2)",            // a linear result takes the waiting argument
           "g 3 (a\\b\\b),g\\x\\V (wr [a]) (wr [b]),wr\\s\\s",
           "f 2 3,f\\x\\y\\raws x x",                // one value put in twice is one cell
           "f 2,f\\x\\raws (K x) (K x)",            // a shared part copied twice is two cells
           "f 2,f\\x\\raws (1+x) (1+x)",            // fresh results of built-ins
           "f 2,f\\x\\same f f",
           "c 1,c\\x\\y\\x+y",                      // a constant whose value is a function
           "k 7,k\\(x\\x*2)",
           "1,K\\a\\b\\b",                          // the prelude redefined
           "K 1 2,K\\a\\b\\b",
           "f 5,f\\n\\(n<1)0(f(n-1)),T\\a\\b\\a b",
           "f 5,f\\n\\(n<1)0(f(n-1)),H\\a\\K",
           "V (f 1 2) (f 2 3),f\\a\\b\\(a<b)(I a b)(K b a)",
           "c,c\\c+1",                              // a constant that needs itself
           // operators on word integers, done without the built-in, at their edges
           "V (5/0) (5%0) (05/3) (05%3) (5%03) (07/2) (7%02)",
           "V (999999999999999999+1) (0999999999999999999-2) (999999999999999999*999999999999999999)",
           "V (9223372036854775807+1) (3037000500*3037000500) (1<2) (2<1) (3>3) (03>3) (4=4) (4#4)",
           "V (9223372036854775807+0) (9223372036854775807+1) (09223372036854775808-1) (0922337203685477580-9)",
           "V (09223372036854775808/01) (09223372036854775808%01) (09223372036854775808*01) (4611686018427387904*2)",
           "V (9223372036854775807-09223372036854775808) (09223372036854775808+09223372036854775808)",
           "V (1+(2^01)) (1+(real 2)) ((2^60)=(2^60)) (raws 3 3) (raws (1+2) (1+2))",
           "load [g 2,g\\x\\x+1]",
           "load [g,g\\g]",
           "(load [K,h\\x\\x]) 3",
       })
    expectalike(program, out);
}
