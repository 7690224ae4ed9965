// Whole programs: the prelude, every status of a failed load or check with its message and
// position, and results that need no built-ins.
#include <gtest/gtest.h>

#include "core/cell.h"
#include "core/halt.h"
#include "core/tables.h"
#include "lang/eval.h"
#include "lang/print.h"
#include "lang/program.h"
#include "tests/support.h"

namespace {
struct Ran {
  Outcome o;
  std::string printed;
};
Ran run(const std::string &text, int64_t base = 0) {
  Ran r;
  r.o = runprogram(base, text, r.printed);
  return r;
}
void fails(const std::string &text, const std::string &status, const std::string &message, int64_t where = -1) {
  Ran r = run(text);
  EXPECT_EQ(r.o.status, status) << text;
  EXPECT_EQ(r.o.message, message) << text;
  EXPECT_EQ(r.printed, message) << text;
  EXPECT_EQ(r.o.where, where) << text;
}
}  // namespace

TEST(Prelude, BuiltinTableFollowsItsSource) {
  size_t all = builtins().size();
  void (*saved)(Builtins &) = builtinsource;
  builtinsource = [](Builtins &t) { t["plus"] = builtinrow{2, nullptr}; };
  EXPECT_EQ(builtins().size(), 1u);  // a new source fills the table again
  builtinsource = saved;
  tablesreset();
  EXPECT_EQ(builtins().size(), all);
  EXPECT_EQ(run("1+2").printed, "3");
}

TEST(Programs, BracketFailuresCarryTheirPositions) {
  fails("a)", "Match", "Match[____a]Left dangling parenthesis.", 1);
  fails("(a,b)", "Comma", "Comma[____b]Comma encountered in parenthesization which is not a call list.", 2);
  Ran r = run("x(", 100);
  EXPECT_EQ(r.o.where, 101);
}

TEST(Programs, DefinitionsThatMayNotBe) {
  fails("x,x\\3", "Lower", "Single lowercase letters (x) cannot be defined as global variables.", 2);
  fails("1,plus\\2", "Built", "Built in function [plus] cannot be re-defined.", 2);
  fails("1,  [\\]\\2", "Built", "Built in function [\\] cannot be re-defined.", 2);
  fails("1,[{]\\2", "Built", "Built in function [{] cannot be re-defined.", 2);
}

// A name defined more than once takes its last body and its last form; what was read before a
// definition that may not be stays in the table.
TEST(Programs, TheLastDefinitionOfANameStands) {
  EXPECT_EQ(run("fb,fa\\1,fb\\fa,fc\\2,fb\\3,fa\\4").printed, "3");
  run("fq,fq()\\1,fq\\2");
  EXPECT_EQ(freshnames().count("fq"), 0u);
  run("fq,fq\\1,fq()\\2,fr\\1");
  EXPECT_EQ(freshnames().count("fq"), 1u);
  EXPECT_EQ(run("1,fs\\5,fs\\7,x\\3,ft\\1").o.status, "Lower");
  ASSERT_EQ(deftable().count("fs"), 1u);
  EXPECT_EQ(termprint(deftable().at("fs")), "7");
  EXPECT_EQ(deftable().count("ft"), 0u);
}

// Subterms spelled alike share cells while a text is read; those that differ in one part stay apart.
TEST(Programs, SubtermsSpelledAlikeKeepTheirOwnMeaning) {
  EXPECT_EQ(run("(fa 2) + (fb 3),fa\\x\\x * x + 1,fb\\x\\x * x + 2").printed, "16");
  EXPECT_EQ(run("(fa 2) + (fb 3),fa\\x\\(x - 1) * (x - 2),fb\\x\\(x - 2) * (x - 1)").printed, "2");
}

TEST(Programs, ChecksOverTheWholeTable) {
  fails("", "Alive", "Alive function [TOP] references undefined [}].");
  fails("a b c,hello there", "Alive", "Alive function [TOP] references undefined [a].");
  fails("ff,ff\\x\\y", "Alive", "Alive function [ff] references undefined [y].");
  // A one-byte name is the same name in every definition that uses it, defined or not.
  fails("fb,fa\\y,fb\\y", "Alive", "Alive function [fb] references undefined [y].");
  fails("1\\x", "Funky", "Funky key in expression \\1x.");
  fails("ff,ff\\(a b c){1}a", "Funky", "Funky key in expression ({ (a b c) 1 a) in function ff.");
  // Quotes and pair patterns anywhere in the definition, even past the bad binder, are rewritten
  // before it is reported.
  fails("ff,ff\\(a b c){`1}a", "Funky", "Funky key in expression ({ (a b c) V[1]1 a) in function ff.");
  fails("ff,ff\\(a b c){1}((x y){V 1 2}x)", "Funky",
        "Funky key in expression ({ (a b c) 1 ({y (V1 2) ({x yK ({y yH x)))) in function ff.");
  std::string ten = "K,ff";  // ten parameters are allowed; the next test has eleven
  for (char c = 'a'; c < 'k'; c++) ten += std::string("\\") + c;
  EXPECT_EQ(run(ten + "\\1").o.status, "Empty");
}

// Each step runs over every definition before the next begins, so the first step that fails
// anywhere reports, whatever the name order of the definitions; what pruning drops fails nothing.
TEST(Programs, ChecksReportStepByStep) {
  fails("aa,zz\\1\\x", "Funky", "Funky key in expression \\1x in function zz.");
  std::string eleven = "K,aa", words = "zz";
  for (char c = 'a'; c < 'l'; c++) eleven += std::string("\\") + c;
  for (int i = 0; i < 27; i++) words += "\\w" + std::string(1, (char)('a' + i % 26)) + std::string(i / 26, 'z');
  fails(eleven + "\\1," + words + "\\1", "Place", "Place error in function zz.");
  fails(eleven + "\\1," + words + "\\nowhere", "Arity", "Arity of function aa may not exceed ten.");
  Ran r = run(eleven + "\\nowhere," + words + "\\nowhere");
  EXPECT_EQ(r.o.status, "Empty");
  EXPECT_EQ(r.printed, "K");
}

TEST(Programs, UnusedBrokenDefinitionsAreDropped) {
  Ran r = run("1,unused\\missing,user\\unused");
  EXPECT_EQ(r.o.status, "Empty");
  EXPECT_EQ(r.printed, "1");
  EXPECT_FALSE(deftable().count("unused"));
  EXPECT_FALSE(deftable().count("user"));
}

// The prelude and the built-ins' entries are checked once and kept; a text that redefines one of
// them is checked whole from fresh copies. No run may see what an earlier one redefined.
TEST(Programs, RedefinedPreludeNamesLeaveLaterRunsAlone) {
  const std::vector<std::string> texts = {
      "C K 1 2",      "C K 1 2,K\\a\\b\\c\\c", "W K 3",         "W K 3,W\\a\\b\\b a",
      "1+2",          "1+2,[+]\\a\\b\\a",         "K 1 2,T\\a\\a", "fact 12,fact\\n\\(n=0)1(n*fact(n-1))",
      "ff,ff\\K zz", "L I 5 6,K\\a\\a",             "L I 5 6",       "2,_\\K 9",
  };
  std::vector<std::string> forward, backward;
  for (const std::string &t : texts) forward.push_back(run(t).printed);
  for (size_t i = texts.size(); i-- > 0;) backward.insert(backward.begin(), run(texts[i]).printed);
  EXPECT_EQ(forward, backward);
  EXPECT_EQ(forward[0], "2");
  EXPECT_EQ(forward[2], "3");
  EXPECT_EQ(forward[1], "(K2 1)");
  EXPECT_EQ(forward[3], "VH00");
  EXPECT_EQ(forward[4], "3");
  EXPECT_EQ(forward[5], "1");
  EXPECT_EQ(forward[8], "Alive function [ff] references undefined [zz].");
  EXPECT_EQ(forward[9], "6");
  EXPECT_EQ(forward[10], "KH");
  EXPECT_EQ(forward[11], "K9");
}

TEST(Programs, ConstantsThatNeedThemselves) {
  fails("cc,cc\\K cc cc", "Cycle", "Cycle detected on function [cc].");
  // A fresh name is evaluated anew at each use and keeps no mark.
  Ran r = run("K 1 cc,cc()\\cc");
  EXPECT_EQ(r.printed, "1");
}

// Texts nested far beyond any native stack, which the processes leave at the system's size: read,
// checked, run and printed.
TEST(Programs, DeeplyNestedTextsRunAndPrint) {
  const int n = 200000;
  std::string calls, partial, want;
  for (int i = 0; i < n; i++) calls += "I(", partial += "K(", want += "(K ";
  Ran r = run(calls + "5" + std::string(n, ')'));
  EXPECT_EQ(r.printed, "5");
  r = run(partial + "1" + std::string(n, ')'));
  want.resize(want.size() - 3);
  EXPECT_EQ(r.printed, want + "K1" + std::string(n - 1, ')'));
  std::string sums = std::string(n, '(') + "1", wings;
  for (int i = 0; i < n; i++) sums += "+1)", wings += "x{1}(";
  EXPECT_EQ(run(sums).printed, std::to_string(n + 1));
  EXPECT_EQ(run(wings + "x" + std::string(n, ')')).printed, "1");
}

// A run stopped by the memory limit says why, gives back what it held, and the next run is as any
// other. The interrupt takes the same way out (tests/lib/load_test.cpp).
TEST(Programs, HaltedRunsSayWhyAndLeaveNothing) {
  uint64_t held = memoryheld(), limit = memorylimit;
  memorylimit = held + (16 << 20);
  Ran grown = run("upto 0,upto\\n\\K(J n (upto(n+1)))");
  memorylimit = limit;
  EXPECT_EQ(grown.o.status, "Halts");
  EXPECT_EQ(grown.printed, "Out of memory");
  EXPECT_EQ(grown.o.where, -1);
  EXPECT_TRUE(deftable().empty());
  EXPECT_LT(memoryheld(), held + (1 << 20));
  runhalt = 0;
  EXPECT_EQ(run("K 7 8").printed, "7");
}

// A power or a repeated text grows without bound inside one call of its built-in, where the machine
// cannot look, and a product, a division or an exact result of long operands can take many times
// their size on the way: each stops before the step that would take the run past its memory limit,
// counting what a long product or a doubled text takes at its peak, and the run says so. A result
// that would itself fit may so be refused; the power of two of an exact fraction, made by placing
// one bit, is refused before the bit's bytes are asked of the heap. So is the text of a term that
// shares its parts, whose print can be far longer than the term, past any length a word counts.
TEST(Programs, GrowthInOneCallStopsAtTheMemoryLimit) {
  uint64_t limit = memorylimit;
  const std::string go = ",go\\n\\a\\(n=0)a(go (n-1) (V a a))";  // n doublings of a, each shared
  const std::string texts[] = {"(3^(2^23))%10", "(007^(2^22))<1", "004^(2^40)", "V 1 (2+(7^(2^26)))",
                               "strlen ([ab]*5000000)", "strlen ((init [ab])*5000000)",
                               // operands that fit, whose product, quotient or digits would not
                               "(x\\(x*x)%10) (3^(2^21))", "(x\\(x/(3^(2^20)+1))%10) (5^(2^21))",
                               "(x\\(x%(3^(2^20)+1))%10) (5^(2^21))", "(x\\(x*x)<1) (007^(2^20))",
                               "(x\\(x%(x-1))<1) (007^(2^20))", "(004^(0-20000000))<1",
                               // a result whose parts are shared prints to more than the run may hold
                               "go 28 K" + go, "go 100 K" + go, "strlen (lisp (go 28 K))" + go,
                               "V (go 62 K) K" + go};  // the last 2^64 + 1 bytes
  for (const std::string &text : texts) {
    preludeload();  // each program against the same room, whatever the one before it left
    memorylimit = memoryheld() + (16 << 20);
    Ran r = run(text);
    EXPECT_EQ(r.o.status, "Halts") << text;
    EXPECT_EQ(r.printed, "Out of memory") << text;
    runhalt = 0;
  }
  EXPECT_EQ(run("(3^(2^16))%1000").printed, "121");  // large, but within the limit
  EXPECT_EQ(run("go 2 K" + go).printed, "(V VKK VKK)");
  // A built-in that makes cells one by one in one call, the list of a text's characters, is cut
  // short once what terms hold passes the limit by a quarter, long before it has made them all,
  // and what it had made is given back.
  uint64_t made = cellsmade, held = memoryheld();
  Ran r = run("type (lots ([a]*1000000))");
  EXPECT_EQ(r.printed, "Out of memory");
  EXPECT_LT(cellsmade - made, 8000000u);
  EXPECT_LT(memoryheld(), held + (1 << 20));
  runhalt = 0;
  EXPECT_EQ(run("K 7 8").printed, "7");
  memorylimit = limit;
}

// A run gives back every cell it made and did not keep, whichever way its values were read, built,
// moved and dropped. What a machine keeps from one run to speed up the next (names looked up,
// compiled code) goes at the next run, so that the runs of a session do not pile up: on the fast
// machine a program run again and again keeps its count of live cells, give or take the few that
// depend on where its cells happen to lie, and on either machine a large definition is held once.
// (The literal machine looks up every leaf it meets, numbers too, so its count varies by hundreds.)
TEST(Programs, RunsGiveBackWhatTheyMade) {
  for (const char *text : {
           "co 200,co\\n\\(n<2)0((pr n 2)+co(n-1)),pr\\n\\d\\(d*d>n)1((n%d=0)0(pr n (d+1)))",
           "fi 100 0 1,fi\\n\\a\\b\\(n=0)a(fi(n-1)b(a+b))",
           "ff 3 4 5,ff\\a\\b\\c\\V ((a*b)+c) (V ((a<b)[y][n]) ((a*b)<c))",
           "ff 4611686018427387904 2 01,ff\\a\\b\\c\\V ((a*b)+c) ((a+a)<c)",
           "ff [a] 2,ff\\a\\b\\V (a+b) ((a<b)[y][n])",
           "strlen (bu 300 []),bu\\n\\s\\(n=0)s(bu(n-1)(s+[ab]))",
           "fold (x\\y\\x+y) 0 (map (x\\x*x) (upto 50)),upto\\n\\(n=0)K(J n (upto(n-1))),"
           "map\\f\\l\\l I (h\\t\\K(J (f h) (map f t))) K,fold\\f\\a\\l\\l I (h\\t\\K(fold f (f a h) t)) a",
       }) {
    Ran first = run(text);
    int64_t live = (int64_t)(cellsmade - cellsfreed);
    for (int i = 0; i < 10; i++) EXPECT_EQ(run(text).printed, first.printed);
    if (!machinereference) {
      EXPECT_LT((int64_t)(cellsmade - cellsfreed) - live, 64) << text;
    }
  }
  std::string large = "ff 1,ff\\x\\(strlen [" + std::string(1 << 20, 'a') + "])+x";
  EXPECT_EQ(run(large).printed, "1048579");
  uint64_t held = memoryheld();
  for (int i = 0; i < 8; i++) run(large);
  EXPECT_LT(memoryheld(), held + (1 << 20));
  // The stacks of a deep recursion, past a sixteenth of the limit, are given back with the run, and
  // do not count against the next.
  uint64_t limit = memorylimit;
  memorylimit = memoryheld() + (256 << 20);
  EXPECT_EQ(run("ff 300000,ff\\n\\(n=0)0(1+ff(n-1))").printed, "300000");
  preludeload();
  memorylimit = memoryheld() + (4 << 20);
  EXPECT_EQ(run("ff 1000,ff\\n\\(n=0)0(1+ff(n-1))").printed, "1000");
  memorylimit = limit;
  runhalt = 0;
}
