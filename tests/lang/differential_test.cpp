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
           "gg 3 K,gg\\x\\V (x+1) (x*2)",            // a linear result takes the waiting argument
           "gg 3 (a\\b\\b),gg\\x\\V (wr [a]) (wr [b]),wr\\s\\s",
           "ff 2 3,ff\\x\\y\\raws x x",                // one value put in twice is one cell
           "ff 2,ff\\x\\raws (K x) (K x)",            // a shared part copied twice is two cells
           "ff 2,ff\\x\\raws (1+x) (1+x)",            // fresh results of built-ins
           "ff 2,ff\\x\\same ff ff",
           "cc 1,cc\\x\\y\\x+y",                      // a constant whose value is a function
           "kk 7,kk\\(x\\x*2)",
           "1,K\\a\\b\\b",                          // the prelude redefined
           "K 1 2,K\\a\\b\\b",
           "ff 5,ff\\n\\(n<1)0(ff(n-1)),T\\a\\b\\a b",
           "ff 5,ff\\n\\(n<1)0(ff(n-1)),H\\a\\K",
           "V (ff 1 2) (ff 2 3),ff\\a\\b\\(a<b)(I a b)(K b a)",
           "cc,cc\\cc+1",                              // a constant that needs itself
           // operators on word integers, done without the built-in, at their edges
           "V (5/0) (5%0) (05/3) (05%3) (5%03) (07/2) (7%02)",
           "V (999999999999999999+1) (0999999999999999999-2) (999999999999999999*999999999999999999)",
           "V (9223372036854775807+1) (3037000500*3037000500) (1<2) (2<1) (3>3) (03>3) (4=4) (4#4)",
           "V (9223372036854775807+0) (9223372036854775807+1) (09223372036854775808-1) (0922337203685477580-9)",
           "V (09223372036854775808/01) (09223372036854775808%01) (09223372036854775808*01) (4611686018427387904*2)",
           "V (9223372036854775807-09223372036854775808) (09223372036854775808+09223372036854775808)",
           "V (1+(2^01)) (1+(real 2)) ((2^60)=(2^60)) (raws 3 3) (raws (1+2) (1+2))",
           // a comparison chosen on at once, and one that must go to its built-in
           "J ((1<2) [a] [b]) (J ((2<1) [a] [b]) (J ((3>3) [a] [b]) (J ((4>3) [a] [b]) ((05=(0-5)) [a] [b]))))",
           "J (((2^70)<3) [a] [b]) (J (((real 1)<2) [a] [b]) (J (([a]<[b]) 1 2) (J ((1<2) [a]) (raws (1<2) (1<2)))))",
           "go 3,go\\n\\(n<1)[z]((n<2)(go (n-1)) [y]),H\\a\\K",
           "load [gg 2,gg\\x\\x+1]",
           "load [gg,gg\\gg]",
           "(load [K,h\\x\\x]) 3",
       })
    expectalike(program, out);
}

// A value read for the last time leaves its slot, so that a join may grow a text that nothing
// else holds. Every other read must still find it there, and a text that something else holds
// must not change under it. tx gives a text with room to grow that only its caller holds.
TEST(Differential, LastReadsMoveValues) {
  std::string out = scratchdir() + "out";
  for (const char *program : {
           "go (tx 0),go\\s\\(s+[d])+(s+[e]),tx\\q\\([a]+[b])+[c]",              // read twice in one body
           "go (tx 0),go\\s\\raws (s+[]) s,tx\\q\\([a]+[b])+[c]",                // a join that must copy
           "go (tx 0),go\\s\\raws s (s+[]),tx\\q\\([a]+[b])+[c]",
           "go (tx 0),go\\s\\V (same s s) (s+[d]),tx\\q\\([a]+[b])+[c]",
           "go 0 (tx 0),go\\n\\s\\((n=0)(s+[x])(s+[y]))+s,tx\\q\\([a]+[b])+[c]",  // both branches, then after
           "go 1 (tx 0),go\\n\\s\\(n=0)(s+[x])(go (n-1) (s+[y])),tx\\q\\([a]+[b])+[c]",
           "go (tx 0),go\\s\\(gk s (s+[d]) s)+s,gk\\x\\K,tx\\q\\([a]+[b])+[c]",  // deferred, then read again
           "go (tx 0),go\\s\\(gk s s (s+[d]))+s,gk\\x\\H,tx\\q\\([a]+[b])+[c]",
           "go (tx 0),go\\s\\V (gk s (s+[d]) [e]) s,gk\\x\\K,tx\\q\\([a]+[b])+[c]",
           "go K (tx 0),go\\k\\s\\(k (s+[d]) s)+(k s (s+[e])),tx\\q\\([a]+[b])+[c]",  // a value applied
           "go (tx 0),go\\s\\(s+[d])+(gk [z] (s+[e]) [w]),gk\\x\\K,tx\\q\\([a]+[b])+[c]",
           "go (V [a] [b]),go\\p\\(p (x\\y\\z\\x+y) [c])+(p K [d])",
           "go (V [a] [b]),go\\p\\(p K [d]) + (p (x\\y\\z\\x+y) [c])",
           "go (tx 0),go\\s\\(x\\y\\raws x y) s s,tx\\q\\([a]+[b])+[c]",      // one slot for two names
           "go (tx 0),go\\s\\(x\\x+x) s,tx\\q\\([a]+[b])+[c]",
           "strlen (bu 300 []),bu\\n\\s\\(n=0)s(bu(n-1)(s+[ab]))",
       })
    expectalike(program, out);
}

// A value in a slot applied to values that need no evaluation: a known abstraction with as many
// parameters takes them at once, with the values it captured below them; any other value, or an
// abstraction given fewer or more, meets them in argument frames.
TEST(Differential, AppliedValuesTakeTheirArguments) {
  std::string out = scratchdir() + "out";
  for (const char *program : {
           "ap (x\\x*2) 5,ap\\f\\a\\f a",                          // in tail position
           "ap (x\\x*2) 5,ap\\f\\a\\(f a)+1",
           "mk 3,mk\\n\\ap (x\\x+n) 5,ap\\f\\a\\(f a)*(f 1)",       // captured values, read twice
           "mk 3 4,mk\\n\\m\\ap (x\\y\\(x-y)*n+m) 5,ap\\f\\a\\(f a 2)+(f 3 a)",
           "ap (x\\y\\x-y) 5,ap\\f\\a\\(f a) 2",
           "ap (x\\y\\x-y) 5,ap\\f\\a\\V (f a) 1",                 // too few: a partial result
           "ap (x\\K) 5,ap\\f\\a\\f a [p] [q]",                    // too many
           "ap K 5,ap\\f\\a\\V (f a 1) (f 2 a)",                   // no abstraction
           "ap (V 1) 5,ap\\f\\a\\f a K",
           "ap (x\\y\\raws x y) [t],ap\\f\\a\\f a a",               // one cell given twice
           "ap (x\\raws x [t]) [t],ap\\f\\a\\V (f a) (raws f f)",
           "ap (x\\y\\same x y) 5,ap\\f\\a\\V (f a a) (f a 5)",
           "ap (x\\(x<3)[s][b]) 5,ap\\f\\a\\V (f a) (f 1)",
           "ap (x\\x<3) 5,ap\\f\\a\\V ((f a) (a+1) (a*2)) ((f 1) [s] (a-1))",  // more, left waiting
           "ap (x\\y\\x-y) 5,ap\\f\\a\\V (f a (a+1)) 0",
           "ap (x\\J x) 5,ap\\f\\a\\V (f a (a+1) (a+2)) (f a (a+1) (a+2) K)",  // a linear result
           "ap (x\\y\\K y) [s],ap\\f\\a\\raws (f a a (a+[t])) a",
           // a named head short of its arguments, its variables paired on
           "go 5 [s],go\\n\\s\\V (J n) (V n s) (raws (J s) (J s))",
           "go [s],go\\s\\(J s [t]) (a\\b\\raws a s)",
           "go 3,go\\n\\(n=0)K(J n (go(n-1)))",
           "(go 40) I (a\\b\\V (a+1) b) K,go\\n\\(n=0)K(J n (go(n-1)))",  // taken apart, unanalysed
           "su (go 300) 0,go\\n\\(n=0)K(J (V n) (go(n-1))),su\\l\\s\\l I (h\\t\\K(su t (s+(h 1 K)))) s",
           "ap (x\\x) (go 5),go\\n\\(n=0)K(J n (go(n-1))),ap\\f\\a\\raws (f a) a",
           "gg 1,gg\\x\\V (ff x) (wr [b]),ff\\x\\T (wr [a]) I,"  // a call gives back a term still to reduce
           "out\\fileno(fopen (init [@OUT@]) (init [w])),wr\\s\\write out s (strlen s)",
           "fold (x\\y\\x+y) 0 (map (x\\x*x) (keep (x\\x%3=0) (upto 300))),"
           "upto\\n\\(n=0)K(J n (upto(n-1))),"
           "map\\f\\l\\l I (h\\t\\K(J (f h) (map f t))) K,"
           "keep\\f\\l\\l I (h\\t\\K((f h)(J h (keep f t))(keep f t))) K,"
           "fold\\f\\a\\l\\l I (h\\t\\K(fold f (f a h) t)) a",
       })
    expectalike(program, out);
}

// An operator whose operands are slots or cells reads them where they stand, and one whose first
// operand is a value just made reads that from the top: at the edges of a word, where the built-in
// must run after all, with an operand read again after it or for the last time, and with the
// answer of a comparison taken by a choice or kept as a value.
TEST(Differential, OperatorsReadTheirOperandsInPlace) {
  std::string out = scratchdir() + "out";
  for (const char *program : {
           "ad 9223372036854775807 1,ad\\x\\y\\x+y",  // both read for the last time
           "ad 4611686018427387904 4611686018427387904,ad\\x\\y\\V (V (x+y) (x*y)) (V (x-y) (V (y-x) x))",
           "sq 3037000500,sq\\d\\V (d*d) (V (d*3037000499) d)",  // one slot twice, then a cell
           "sq 3037000499,sq\\d\\V (d*d) ((d*d)+d)",
           "ff 3 4 5,ff\\a\\b\\c\\V ((a*b)+c) (V (c-(a*b)) (1+(a*b)))",
           "ff 4611686018427387904 2 01,ff\\a\\b\\c\\V ((a*b)+c) (V ((a*b)/c) c)",  // beyond a word
           "ff 5 0,ff\\a\\b\\V (V (a/b) (a%b)) (V (a/0) (V (b%a) ((a*a)/b)))",
           "ff 3 4,ff\\a\\b\\V (V ((a<b)[y][n]) ((b<a)[y][n])) (V ((a=3)[y][n]) ((a#b)(b>a)[n]))",
           "ff (2^70) 4,ff\\a\\b\\V (V ((a<b)[y][n]) ((b<a)[y][n])) (V (a+b) (b*a))",
           "ff [a] [b],ff\\a\\b\\V ((a<b) 1 2) (V (a+b) ((a+b)<a))",
           "ff (real 1) 2,ff\\a\\b\\V ((a<b) 1 2) (V (a+b) ((a*b)<b))",
           "ff 3 4,ff\\a\\b\\V (raws (a<b) (a<b)) (V (raws (a+b) (a+b)) (same (a-a) (b-b)))",
           "ff 3 4,ff\\a\\b\\(a<b)[y][n],K\\a\\b\\b",  // the choice by the prelude's K no more
           "go 100 0,go\\n\\s\\(n=0)s(go(n-1)(s+n))",
           "fi 100 0 1,fi\\n\\a\\b\\(n=0)a(fi(n-1)b(a+b))",  // a sum that leaves the word on the way
           "fi 100 0 1,fi\\n\\a\\b\\(n=0)a(fi(n-1)b(b+a))",
           "co 300,co\\n\\(n<2)0((pr n 2)+co(n-1)),pr\\n\\d\\(d*d>n)1((n%d=0)0(pr n (d+1)))",
       })
    expectalike(program, out);
}

// A long spine, such as a chain of selectors in the text, is compiled in time and memory that
// grow with its length: past a bound the rest is left to the machine, and both machines agree on
// either side of it. A compiler that copied the spine at each of its levels took gigabytes for a
// chain of twenty thousand, and one that counted a value's 256 arguments in a byte gave it none.
TEST(Differential, LongSpinesCompileInTheirLength) {
  std::string out = scratchdir() + "out";
  auto times = [](const char *part, int n) {
    std::string s;
    for (int i = 0; i < n; i++) s += part;
    return s;
  };
  for (int n : {254, 255, 256, 600}) {
    expectalike(times("I ", n) + "K", out);
    expectalike("gg 3 4,gg\\x\\y\\" + times("I ", n) + "(x+1) y", out);
    expectalike("gg 3 4,gg\\x\\y\\" + times("K I ", n / 2) + "(V x y) [a] [b]", out);
    expectalike("gg 3 4,gg\\x\\y\\" + times("H ", n) + "x y", out);
    expectalike("gg (V 3 4),gg\\p\\p " + times("I ", n) + "(a\\b\\a+b)", out);
    expectalike("gg (a\\a),gg\\p\\p " + times("I ", n) + "K", out);  // all wait for the value
  }
  // two pairs taken apart in turn leave 256 values for the last one
  expectalike("gg (V (V 1 2) (x\\y\\z\\x)),gg\\p\\p (a\\a) " + times("I ", 253) + "K", out);
  // a spine as deep as the text nests, each level as long as the one above it
  expectalike(times("I (", 100000) + "K" + times(")", 100000) + " [b] [c]", out);
  std::string path = out + ".chain";
  writefile(path, times("I ", 200000) + "K");
  int fast, reference;
  std::string run = std::string(TOLMRUN_BIN) + " ";
  EXPECT_LT(peakkb(run + path, fast), 2 * peakkb(run + "--reference " + path, reference));
  EXPECT_EQ(fast, 0);
  EXPECT_EQ(reference, 0);
}

// A recursion that never ends stops at the memory limit on both machines, and the fast machine's
// own stacks, which grow faster than the cells it makes, count against the limit with them: its
// run takes no more memory than twice the literal machine's, whose continuation is made of cells.
TEST(Differential, ADeepRecursionStopsAtTheMemoryLimit) {
  std::string out = scratchdir() + "out";
  writefile(out, "ff 1,ff\\n\\1+ff(n-1)");
  std::string run = "TOLM_MEMORY=64M " + std::string(TOLMRUN_BIN);
  int fast, reference;
  EXPECT_LT(peakkb(run + " " + out, fast), 2 * peakkb(run + " --reference " + out, reference));
  EXPECT_EQ(fast, 1);
  EXPECT_EQ(reference, 1);
}
