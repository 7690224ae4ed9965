// The operator ladder on normalised texts, compared with terms built by hand, and the bracket
// check with each of its messages and positions.
#include <gtest/gtest.h>

#include "lang/chars.h"
#include "lang/eval.h"
#include "lang/parse.h"
#include "lang/print.h"
#include "tests/lang/ladder.h"
#include "tests/support.h"

namespace {
// Parses the normalised text and compares with the term written as an s-expression.
void same(const std::string &text, const std::string &expected) {
  CellRef got = parsetop(normalise(text)), want = sexp(expected);
  EXPECT_EQ(cellcompare(got, want), 0) << text << " gave " << termprint(got) << ", not " << termprint(want);
}

std::string check(const std::string &text, int64_t base = 0) {
  std::string error;
  int64_t where = -1;
  if (matchcheck(text, base, error, where)) return "ok";
  return error + "@" + std::to_string(where);
}
}  // namespace

// A few terms by hand for each rule, as anchors of the ladder that the random texts below follow.
TEST(Parse, PrecedenceGroupingAndApplication) {
  for (auto [text, term] :
       {std::pair{"a+b*c", "(+ a (* b c))"}, {"a-b-c", "(- (- a b) c)"}, {"a^b^c", "(^ a (^ b c))"},
        {"a@b c", "((@ a b) c)"}, {"f\\x\\y", "(\\ f (\\ x y))"}, {"f(x,y)", "((f x) y)"}, {"f x(y)", "(f (x y))"},
        {"f()", "(f })"}, {"FXY", "((F X) Y)"}, {"x1", "(x 1)"},  // the tokens, which the ladder shares
        {"a\nb\nc", "(c (b a))"},  // three lines apply downwards, each line to the term above it
        {"f~x!y", "((f (~ x)) (! y))"}, {"a{b,c,d}e", "((({ a) ((, b) ((, c) d))) e)"}})
    same(text, term);
  EXPECT_EQ(cellcompare(parselist("a,b,c"), sexp("((, a) ((, b) c))")), 0);
}

TEST(Parse, LongFlatAndDeepTextsDoNotRecurse) {
  std::string sum = "a", calls = "f(", blanks = "g", deep, wings;
  for (int i = 0; i < 100000; i++) {
    sum += "+a";
    calls += i ? ",x" : "x";
    blanks += " y";
  }
  calls += ")";
  CellRef s = parsetop(sum), c = parsetop(calls), b = parsetop(blanks);
  int depth = 0;
  for (Cell *t = s.get(); !isleafcell(t); t = t->left->right) depth++;
  EXPECT_EQ(depth, 100000);
  EXPECT_EQ(celltext(cellright(c)), "x");
  EXPECT_EQ(celltext(cellright(b)), "y");
  // A million calls, each the argument of the one outside it, and as many wings inside wings.
  const int n = 1000000;
  for (int i = 0; i < n; i++) deep += "f(", wings += "a{";
  deep += "x" + std::string(n, ')');
  wings += "1" + std::string(n, '}');
  CellRef d = parsetop(deep), w = parsetop(wings);
  depth = 0;
  for (Cell *t = d.get(); !isleafcell(t); t = t->right) depth++;
  EXPECT_EQ(depth, n);
  depth = 0;
  for (Cell *t = w.get(); !isleafcell(t); t = t->left->right) depth++;
  EXPECT_EQ(depth, n);
}

// Random texts of every kind of byte the ladder treats apart, read by the parser and by the ladder
// as first written; a comma follows only a letter or a digit, so that no reading asserts.
TEST(Parse, SameTermsAsTheLadderOnRandomTexts) {
  const std::vector<std::string> atoms = {"a", "xy", "7", "01", "K", "S", "\x01", "\xe9", "[a b]", "[[]x]", "[\n]",
                                          std::string("[a\0b]", 5), std::string(1, '\0'), "+", "-", "*", "^", "=",
                                          "<", "&", "|", "?", ";", "\\", ".", ":", "@", "'", "%", "/", "#", ">",
                                          "~", "!", "$", "\"", "`", " ", "\n", "  "};
  uint64_t seed = 12345;
  auto next = [&seed](size_t n) {
    seed = seed * 6364136223846793005ull + 1442695040888963407ull;
    return (size_t)(seed >> 33) % n;
  };
  int compared = 0;
  for (int round = 0; round < 20000; round++) {
    std::string text;
    std::vector<char> open;
    size_t length = 1 + next(40);
    while (text.size() < length || !open.empty()) {
      size_t pick = next(atoms.size() + 8);
      bool closing = text.size() >= length || pick == atoms.size() + 7;
      if (closing && !open.empty()) {
        text += open.back();
        open.pop_back();
      } else if (pick == atoms.size() || pick == atoms.size() + 1) {
        text += pick == atoms.size() ? '(' : '{';
        open.push_back(pick == atoms.size() ? ')' : '}');
      } else if (pick >= atoms.size() + 2) {
        unsigned char last = text.empty() ? 0 : (unsigned char)text.back();
        if (wordbyte(last) || (last >= '0' && last <= '9')) text += ',';
      } else {
        text += atoms[pick];
      }
    }
    std::string error;
    int64_t where;
    if (!matchcheck(text, 0, error, where)) continue;
    std::string norm = normalise(text);
    CellRef ours = parsetop(norm), theirs = ladderparse(norm);
    ASSERT_EQ(cellcompare(ours, theirs), 0) << text << " gave " << termprint(ours) << ", not " << termprint(theirs);
    compared++;
  }
  EXPECT_GT(compared, 5000);
}

// A parenthesis that groups reads its inside whole, commas and all; a token of a capital and a
// comma is then one token of two bytes, which stops the parser as it stopped the parser's first
// form. As a call list it reads fine. A digit and a comma make a leaf that is a number by its
// first byte, whose natural cannot be read from its text: running it stops.
TEST(Parse, GroupingWithCommasAndACapitalBeforeAComma) {
  same("x{1}(a,b)", "((({ x) 1) (a, b))");
  same("((4,4))", "(4, 4)");
  EXPECT_DEATH(evaluate(parsetop("((4,4))")), "ASSERTION FAILED:b:");
  same("f(K,b)", "((f K) b)");
  EXPECT_DEATH(parsetop("x{1}(K,b)"), "ASSERTION FAILED:b:");
}

TEST(MatchCheck, BracketMessagesAndPositions) {
  EXPECT_EQ(posname(5), "____e");
  EXPECT_EQ(posname(64), "___a_");
  EXPECT_EQ(posname(0x3FFFFFFF), "~~~~~");
  EXPECT_EQ(posname(0x40000000), "!!!!!");
  EXPECT_DEATH(posname(0x40000001), "ASSERTION FAILED:b:");
  EXPECT_EQ(check("}", 10), "Match[____j]Left dangling wing.@10");
  EXPECT_EQ(check("{a)", 64), "Match[___a_]Doesn't fit ')' at [___ab].@64");
  for (auto [text, result] : {std::pair{"(ab)c)", "Match[____e]Left dangling parenthesis.@5"},
                              {"a]", "Match[____a]Left dangling bracket.@1"},
                              {"x(a}", "Match[____a]Doesn't fit '}' at [____c].@1"},
                              {"((a)", "Match[_____]Right dangling parenthesis.@0"},
                              {"a{b", "Match[____a]Right dangling wing.@1"},
                              {"[a", "Match[_____]Right dangling bracket.@0"},
                              {"[a(b]", "ok"}, {"[a[}]]", "ok"},  // brackets swallow everything but brackets
                              {"(a[)]", "Match[_____]Right dangling parenthesis.@0"}})
    EXPECT_EQ(check(text), result);
}

TEST(MatchCheck, CommasOnlyInCallLists) {
  const std::string comma = "Comma encountered in parenthesization which is not a call list.";
  EXPECT_EQ(check("x+(a,b)"), "Comma[____d]" + comma + "@4");
  EXPECT_EQ(check("x (a,b)", 3), "Comma[____g]" + comma + "@7");
  EXPECT_EQ(check("(a,b)(c)"), "Comma[____b]" + comma + "@2");
  EXPECT_EQ(check("f(a,(b,c))"), "Comma[____f]" + comma + "@6");
  for (const char *ok : {"f(a,b)", "{a,b}", "f(a)(b,c)", "[x](a,b)", "f(a,[(,)],c)", "(a{b,c})", "x,(a)"})
    EXPECT_EQ(check(ok), "ok") << ok;
}
