// The passes over lambdas and locals on terms built by hand.
// Then the printing of terms: every kind of leaf, the rules for pairs, and long lists.
#include <gtest/gtest.h>

#include "lang/lambda.h"
#include "lang/print.h"
#include "tests/support.h"

namespace {
std::string names(const CellRef &list) {
  std::string out;
  for (Cell *c = list.get(); !isleafcell(c); c = c->right) out += celltextof(c->left) + " ";
  return out;
}
bool same(const CellRef &a, const std::string &b) { return cellcompare(a, sexp(b)) == 0; }
}  // namespace

TEST(Lambdas, GlobalReferencesLeaveOutWhatIsBound) {
  EXPECT_EQ(names(globalrefs(sexp("\\ x (f x)"))), "f ");
  EXPECT_EQ(names(globalrefs(sexp("{ x (g x) (h x)"))), "g h x ");  // the value is outside the scope
  EXPECT_EQ(names(globalrefs(sexp("+ 1 [ab] y"))), "+ y ");
  EXPECT_EQ(names(globalrefs(sexp("\\ [+] (+ 1)"))), "");
}

TEST(Lambdas, WordLocalsBecomeLetters) {
  testlog.clear();
  auto t = wordlocals("id", sexp("\\ foo foo"));
  ASSERT_TRUE(t);
  EXPECT_TRUE(same(*t, "\\ a a")) << termprint(*t);
  EXPECT_EQ(testlog, "First id: (\\foo foo)\n");
  // Inside an application the occurrence keeps its word: the rule stands as it is.
  auto u = wordlocals("inc", sexp("\\ foo (+ foo 1)"));
  EXPECT_TRUE(same(*u, "\\ a (+ foo 1)")) << termprint(*u);
  auto v = wordlocals("two", sexp("\\ a (\\ bar (\\ c bar))"));
  EXPECT_TRUE(same(*v, "\\ a (\\ b (\\ c b))")) << termprint(*v);
  testlog.clear();
  EXPECT_TRUE(wordlocals("", sexp("\\ x x")));
  EXPECT_EQ(testlog, "");
}

static std::string print(const std::string &s) { return termprint(sexp(s)); }

TEST(Print, LeavesOfEveryKind) {
  EXPECT_EQ(termprint(CellRef("")), "()");
  EXPECT_EQ(termprint(CellRef(")name")), "()");
  EXPECT_EQ(termprint(cellpair(CellRef(""), CellRef("x"))), "()x");  // "()" opens no chain: the flat form wants a second byte
  double d = 1.5;
  std::string real = " ";
  real.append((const char *)&d, 8);
  EXPECT_EQ(termprint(CellRef(real)), "real[1.500000e+00]");
  EXPECT_EQ(termprint(mkblob("a\nb")), "init[a[p]b]");
  EXPECT_EQ(termprint(mkblob(std::string("[]\0x", 4))), "init[[q][r]\nx]");
  EXPECT_EQ(termprint(CellRef("0123")), "0123");
}

// A right part that opens with a bracket group joins its left only when the group is all of it.
TEST(Print, BracketGroupClosingEarlyStaysApart) { EXPECT_EQ(print("x ([a] b)"), "(x [a]b)"); }

// A text cut inside an element may leave its first group open to the end. On the left of a pair
// it prints as it is; on the right the end of the group is looked for past the end of the text.
TEST(Print, GroupOpenToTheEnd) {
  EXPECT_EQ(termprint(cellpair(CellRef("[a[b]"), CellRef("K"))), "[a[b]K");
  EXPECT_EQ(termprint(cellpair(CellRef("[a[b]"), CellRef("[c]"))), "[a[b][c]");
  EXPECT_DEATH(termprint(cellpair(CellRef("K"), CellRef("[a[b]"))), "ASSERTION FAILED:b:");
  EXPECT_DEATH(termprint(cellpair(CellRef("K"), cellpair(CellRef("[a[b]"), CellRef("[c]")))), "ASSERTION FAILED:b:");
}

TEST(Print, LongListsPrintWithoutRecursion) {
  CellRef list("K");
  for (int i = 0; i < 300000; i++) list = cellpair3(CellRef("J"), CellRef("H"), std::move(list));
  std::string text = termprint(list);
  std::string want;
  for (int i = 0; i < 299999; i++) want += "(JH ";
  want += "JHK" + std::string(299999, ')');
  EXPECT_EQ(text, want);
}

// Each pass walks with a stack of its own: a term as deep as a long program's nesting goes through
// all of them, and the renaming reaches a binder at the bottom.
TEST(Lambdas, DeepTermsPassWithoutRecursion) {
  const int n = 300000;
  CellRef deep = sexp("\\ foo foo");
  for (int i = 0; i < n; i++) deep = cellpair3(CellRef("+"), CellRef("g"), std::move(deep));
  EXPECT_EQ(unquote(deep).get(), deep.get());
  EXPECT_EQ(unpair(deep).get(), deep.get());
  EXPECT_EQ(celltext(funkyterm(deep)), "");
  EXPECT_EQ(names(globalrefs(deep)), "+ g ");
  EXPECT_EQ(names(wordbinders(deep)), "foo ");
  CellRef renamed = renamebinder(deep, "foo", "a");
  Cell *c = renamed.get();
  for (int i = 0; i < n; i++) c = c->right;
  EXPECT_TRUE(same(CellRef(c), "\\ a a"));
  CellRef quoted = cellpair(CellRef("`"), deep);
  EXPECT_EQ(celltext(cellright(cellleft(unquote(quoted)))).size(), termprint(deep).size() + 2);
}
