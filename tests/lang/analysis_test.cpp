// The analysis in the header word and substitution, on terms built by hand with the definition
// table filled by hand.
#include <gtest/gtest.h>

#include "core/tables.h"
#include "lang/analysis.h"
#include "tests/support.h"

namespace {
class Analysis : public ::testing::Test {
 protected:
  void SetUp() override {
    tablesreset();
    define("\\", "(\\ a (\\ b (\\ c Z)))");
    define("{", "(\\ a (\\ b (\\ c Z)))");
    define("I", "(\\ a a)");
    define("K", "(\\ a (\\ b a))");
    define("Z", "(\\ a Z)");
    define("M", "(\\ a (a a))");
  }
  void TearDown() override { tablesreset(); }
  void define(const std::string &name, const std::string &body) { deftable().emplace(name, sexp(body)); }
};
}  // namespace

TEST_F(Analysis, ArityCountsLeadingAbstractionsAndArguments) {
  std::string ten = "Z";
  for (char v = 'j'; v >= 'a'; v--) ten = "(\\ " + std::string(1, v) + " " + ten + ")";
  define("ten", ten);
  CellRef t("ten");
  for (int i = 0; i <= 11; i++, t = cellpair(std::move(t), CellRef("K"))) EXPECT_EQ(arityof(t), 10 - i);
  EXPECT_FALSE(isnormal(t));
  std::string twelve = "Z";
  for (int i = 0; i < 12; i++) twelve = "(\\ a " + twelve + ")";
  define("many", twelve);
  EXPECT_EQ(arityof(CellRef("many")), 11);
}

TEST_F(Analysis, BinderBodiesAndRedexes) {
  EXPECT_EQ(freeset(sexp("(\\ a (a c))")), 0b100u);  // a binder's variable is not free in its body
  EXPECT_TRUE(isnormal(sexp("(K (a b))")));
  EXPECT_FALSE(isnormal(sexp("(K (I I))")));
  EXPECT_FALSE(isnormal(sexp("(I K K)")));  // over-applied
}

TEST_F(Analysis, LinearHeads) {
  for (char c : std::string("&ABCDEFHIJKLNQRTUVXZ|")) {
    define(std::string(1, c), "(\\ a a)");
    EXPECT_TRUE(lazyhead(sexp(std::string(1, c) + " x y"))) << c;
  }
  for (const char *h : {"S", "M", "O", "P", "W", "Y", "G", "5", "plus", "\\", "{"}) {
    define(h, "(\\ a a)");
    EXPECT_FALSE(lazyhead(sexp(std::string(h) + " x"))) << h;
  }
  EXPECT_FALSE(lazyhead(sexp("([a] [b])")));
}

TEST_F(Analysis, SubstitutionSharesWhatItDoesNotTouch) {
  CellRef t = sexp("(K (y z) x)");
  CellRef v("I");
  CellRef same = subst(t, v, 'w');
  EXPECT_EQ(same.get(), t.get());
  CellRef s = subst(t, v, 'x');
  EXPECT_EQ(cellcompare(s, sexp("(K (y z) I)")), 0);
  EXPECT_EQ(s->left, t->left);  // the untouched part is the same cell
  CellRef b = sexp("({ x (x y) (x y))");
  EXPECT_EQ(cellcompare(subst(b, v, 'x'), sexp("({ x (I y) (x y))")), 0);  // the value only
  EXPECT_EQ(cellcompare(subst(b, v, 'y'), sexp("({ x (x I) (x I))")), 0);
  EXPECT_EQ(cellcompare(subst(sexp("(\\ a (a b))"), v, 'b'), sexp("(\\ a (a I))")), 0);
  EXPECT_DEATH(subst(t, v, 'X'), "ASSERTION FAILED:b:");
  EXPECT_DEATH(needclosed(t), "ASSERTION FAILED:b:");
  EXPECT_DEATH(sizeup(CellRef("foo")), "ASSERTION FAILED:b:");  // an undefined name must be a letter
}

TEST_F(Analysis, DeepTermsAreAnalysedAndSubstitutedWithoutNativeStack) {
  CellRef t("x");
  for (int i = 0; i < 1000000; i++) t = cellpair(std::move(t), CellRef("K"));
  EXPECT_EQ(arityof(t), 11);
  CellRef s = subst(t, CellRef("I"), 'x');
  EXPECT_EQ(freeset(s), 0u);
  EXPECT_EQ(arityof(s), -51);  // the floor absorbs
}

// A long table is searched through an index once it has been asked about many names; the index
// must follow every change of the table: a replaced definition, a name added, a name erased and
// another added in its place, which leaves the size as it was.
TEST_F(Analysis, NamesOfALongTableFollowItsChanges) {
  auto name = [](int i) {
    std::string s = "nm";
    for (; i; i /= 26) s += (char)('a' + i % 26);
    return s;
  };
  const char *bodies[] = {"Z", "(\\ a a)", "(\\ a (\\ b a))"};
  for (int i = 1; i <= 2000; i++) define(name(i), bodies[i % 3]);
  for (int round = 0; round < 2; round++)
    for (int i = 1; i <= 2000; i++) ASSERT_EQ(arityof(CellRef(name(i))), i % 3) << name(i);
  deftable().insert_or_assign(name(7), sexp("(\\ a (\\ b a))"));
  EXPECT_EQ(arityof(CellRef(name(7))), 2);
  define("nmlate", "(\\ a a)");
  EXPECT_EQ(arityof(CellRef("nmlate")), 1);
  for (int i = 1; i <= 2000; i++) arityof(CellRef(name(i)));
  deftable().erase(name(8));
  define("nmlater", "(\\ a (\\ b a))");
  EXPECT_EQ(arityof(CellRef("nmlater")), 2);
  EXPECT_EQ(arityof(CellRef(name(9))), 0);
}
