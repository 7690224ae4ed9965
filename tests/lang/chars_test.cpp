// Normalisation, groups and token starts, the pattern classes of one character, and the swap of
// NUL and newline.
// Then which texts are names of globals and locals, and which leaves are looked up.
#include <gtest/gtest.h>

#include "lang/chars.h"
#include "tests/support.h"

// White space next to glue and inside groups vanishes; bracket groups stay whole, or vanish with
// white space before them. The neighbours of a run are bytes of the input, so a run beside a lost
// group stays.
TEST(Normalise, WhiteSpaceAndBracketGroups) {
  for (auto [text, normal] : {std::pair{"a b", "a b"}, {"a + b", "a+b"}, {"a\n\nb", "a\nb"}, {"f (x)", "f (x)"},
                              {"f ~x", "f ~x"}, {"( a ) { b }", "(a){b}"}, {" \n ", ""}, {"[a  b]", "[a  b]"},
                              {"x+[a [b\n] c] y", "x+[a [b\n] c] y"}, {" [a  b]", ""}, {"\nf [a] (g [b]) ", "f  (g )"},
                              {" f [x] y", "f  y"}})
    EXPECT_EQ(normalise(text), normal) << text;
}

TEST(Groups, EndsOfGroupsInBothDirections) {
  EXPECT_EQ(groupend("(a[)]b)", 0), 6u);
  EXPECT_EQ(groupend("(a[)]b)", 6), 0u);
  EXPECT_EQ(groupend("[a[(]b]c", 0), 6u);
  EXPECT_EQ(groupend("x(a}", 1), 3u);  // parentheses and wings count as one kind
  EXPECT_DEATH(groupend("(a", 0), "ASSERTION FAILED:b:");
  EXPECT_DEATH(groupend("a)", 2), "ASSERTION FAILED:b:");
}

TEST(CharMatch, LettersClassesAndFoldedBytes) {
  struct Case {
    unsigned char p, c;
    bool match;
  };
  const Case cases[] = {
      // Small letters in either case, also as the high bytes that fold onto them.
      {'a', 'a', true}, {'a', 'A', true}, {'a', 133, true}, {'a', 'b', false},
      // Patterns outside the printable range match only themselves.
      {' ', ' ', true}, {' ', '\n', false}, {200, 201, false},
      // Operator classes test the raw byte; L takes the semicolon and not the colon.
      {'L', ';', true}, {'L', ':', false}, {'P', 127, false}, {'Q', ',', true}, {'Q', 'a', false},
      // Kind masks over the folded byte, a raw capital counting as its small letter.
      {'R', 'Q', true}, {'U', 'Q', false}, {'U', 204, true}, {'T', 184, true}, {'X', 3, true},
      {'V', '+', false}, {'C', '+', true}, {'H', 'X', true}, {'H', 'b', false},
      // Any other printable pattern is the folded byte itself.
      {'-', 22, true}, {'{', 127, true}, {'%', 128, true}, {'5', '6', false},
  };
  for (const Case &k : cases) EXPECT_EQ(charmatch(k.p, k.c), k.match) << k.p << " against " << (int)k.c;
}

TEST(SwapNewline, ExchangesOnlyNulAndNewline) {
  EXPECT_EQ(swapnewline(std::string("a\nb\0c\r", 6)), std::string("a\0b\nc\r", 6));
}

TEST(Names, WordsCapitalsAndBracketedOperators) {
  for (const char *yes : {"[+]", "[,]", "K", "foo_bar", "\x01", "\xe9"}) EXPECT_TRUE(isname(yes)) << yes;
  for (const char *no : {"+", "[(]", "[ab]", "Foo", "KK", "x1", ""}) EXPECT_FALSE(isname(no)) << no;
  EXPECT_TRUE(isvarname("x"));
  EXPECT_FALSE(isvarname("xy"));
  EXPECT_FALSE(isvarname("X"));
  EXPECT_EQ(namecore("[+]"), "+");
  EXPECT_EQ(namecore("plus"), "plus");
}

TEST(Names, GlueAndBrackets) {
  for (char c : std::string("#%&'*+,-./:;<=>?@\\^| \n")) EXPECT_TRUE(isglue((unsigned char)c)) << c;
  for (char c : std::string("(){}[]~!\"$`_a0")) EXPECT_FALSE(isglue((unsigned char)c)) << c;
  EXPECT_DEATH(bracketname('x'), "ASSERTION FAILED:b:");
  EXPECT_DEATH(namecore("+"), "ASSERTION FAILED:b:");
}
