// The machine on terms built by hand over the prelude's combinators: the order of evaluation,
// each rewrite rule, constants kept once, failures as marks, and deep recursion on the heap.
#include <gtest/gtest.h>

#include "core/tables.h"
#include "lang/analysis.h"
#include "lang/eval.h"
#include "lang/program.h"
#include "tests/support.h"

namespace {

class Machine : public ::testing::Test {
 protected:
  // The combinators of the prelude, and the one built-in used here as an abstraction of its arity.
  void SetUp() override {
    preludeload();
    define("assert", "(\\ a Z)");
  }
  void TearDown() override { tablesreset(); }
  void define(const std::string &name, const std::string &body) {
    deftable().insert_or_assign(name, sexp(body));
  }
  std::string run(const std::string &term) { return show(evaluate(sexp(term))); }
  // Runs at most bound steps; false when the machine has not finished by then.
  bool ends(const std::string &term, uint64_t bound) {
    CellRef k("I"), e = sexp(term);
    for (uint64_t i = 0; i < bound; i++) {
      if (headbyte(k.get()) == 'I' && isnormal(e)) return true;
      schedule(k, e);
    }
    return false;
  }
  static std::string show(const CellRef &t) {
    if (!cellispair(t)) return celltext(t);
    return "(" + show(cellleft(t)) + " " + show(cellright(t)) + ")";
  }
};

}  // namespace

TEST_F(Machine, EachKindOfHeadAndItsValue) {
  for (auto [term, value] : {
           std::pair{"I 3", "3"}, {"K 1 (M M)", "1"}, {"I I I 5", "5"},  // over-application keeps 5 in a frame
           {"K (I 3)", "(K 3)"},                 // a final partial application is evaluated inside
           {"\\ x (I x)", "((\\ x) (I x))"},     // the body of a final abstraction stays
           {"(\\ x (K x)) 7", "(K 7)"}, {"{ x (I 4) (K x)", "(K 4)"}, {"{ x 4 ({ x 5 (K x))", "(K 5)"},
           {"(\\ x (\\ x (K x))) 1 2", "(K 2)"},  // an inner binder shadows
           {"0 (K I)", "I"}, {"5 G", "((V H) 01)"}, {"05 G", "((V K) 01)"},  // a number: its sign bit, the rest
           {"([a] [b]) G", "((V [a]) [b])"}, {"[] G", "Z"}, {"[] (K (K 1))", "1"}})
    EXPECT_EQ(run(term), value) << term;
  EXPECT_TRUE(ends("K 1 (M M)", 1000));  // K is a linear head: (M M) is never evaluated
  EXPECT_FALSE(ends("S K K (M M)", 100000));  // S is none: (M M) is evaluated first
}

TEST_F(Machine, ArgumentsOfOtherHeadsAreNormalisedOnceBeforeCopying) {
  std::string work = "I I I I I I I I I I I I I I I I I I I I I I I I K";
  uint64_t before = machinesteps;
  EXPECT_EQ(run(work), "K");
  uint64_t once = machinesteps - before;
  before = machinesteps;
  EXPECT_EQ(run("M (" + work + ")"), "(K K)");
  uint64_t twice = machinesteps - before;
  EXPECT_LT(twice, once + 10);  // the argument's work is done once, not once per again
}

// A fresh name's value is not kept in its entry.
TEST_F(Machine, AFreshConstantIsNotKept) {
  define("fresh", "I I 6");
  freshnames().insert("fresh");
  EXPECT_EQ(run("fresh"), "6");
  EXPECT_EQ(show(deftable().at("fresh")), "((I I) 6)");
}

TEST_F(Machine, BlobsViewedAsTrees) {
  auto view = [](const std::string &bytes) { return show(evaluate(cellpair(mkblob(bytes), CellRef("K")))); };
  EXPECT_EQ(view(""), "Z");
  EXPECT_EQ(view("\x05"), "((V ((J ((J I) H)) ((J I) H))) ((J ((J H) H)) ((J H) H)))");
  EXPECT_EQ(view("hello"), "((V (d)hell) (a)o)");
  EXPECT_EQ(view("12345678"), "((V (d)1234) (d)5678)");
}

TEST_F(Machine, BuiltinsGetTheWholeApplication) {
  EXPECT_EQ(run("assert K"), "I");
  EXPECT_EQ(run("assert 5"), "Z");
  Child c = runchild([this] { run("assert H"); });
  EXPECT_EQ(c.status, 128 + SIGABRT);
  EXPECT_EQ(c.err, "ASSERTION FAILED:l:242\n");
}

TEST_F(Machine, BrokenContinuationsStop) {
  CellRef k("K"), e = sexp("K 1");
  EXPECT_DEATH(schedule(k, e), "ASSERTION FAILED:b:");
  CellRef k2("I"), open = sexp("I x");
  EXPECT_DEATH(rewrite(k2, open), "ASSERTION FAILED:b:");
}

TEST_F(Machine, AMillionDeepRecursionRunsOnTheHeap) {
  define("again", R"((\ l (l I (\ h (\ t (J h (again t)))))))");
  EXPECT_EQ(run("again (J K (J H K))"), "((J K) ((J H) I))");
  CellRef list("K");
  for (int i = 0; i < 1000000; i++) list = cellpair3(CellRef("J"), CellRef(i % 2 ? "K" : "H"), std::move(list));
  CellRef result = evaluate(cellpair(CellRef("again"), std::move(list)));
  int length = 0;
  Cell *c = result.get();
  while (!isleafcell(c)) {
    ASSERT_TRUE(leafis(c->left->left, "J"));
    c = c->right;
    length++;
  }
  EXPECT_EQ(length, 1000000);
  EXPECT_TRUE(leafis(c, "I"));
}

TEST_F(Machine, AnAbstractionIsStoredAndGoesOnBehindBI) {
  define("fn", R"(\ x x)");
  CellRef k("I"), e = cellpair(CellRef(")fn"), sexp(R"(\ x x)"));
  rewrite(k, e);  // the update rule
  EXPECT_EQ(show(e), "((B I) ((\\ x) x))");
  EXPECT_EQ(deftable().at("fn").get(), e.get());
}
