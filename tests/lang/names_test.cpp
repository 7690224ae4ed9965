// Which texts are names of globals and locals, and which leaves are looked up.
#include <gtest/gtest.h>

#include "lang/chars.h"

TEST(Names, WordsCapitalsAndBracketedOperators) {
  for (const char *yes : {"[+]", "[,]", "K", "foo_bar", "\x01", "\xe9"}) EXPECT_TRUE(isname(yes)) << yes;
  for (const char *no : {"+", "[(]", "[ab]", "Foo", "KK", "x1", ""}) EXPECT_FALSE(isname(no)) << no;
  EXPECT_TRUE(isvarname("x"));
  EXPECT_FALSE(isvarname("xy"));
  EXPECT_FALSE(isvarname("X"));
  EXPECT_EQ(namecore("[+]"), "+");
  EXPECT_EQ(namecore("plus"), "plus");
}

TEST(Names, LeafNamesAreNamesAfterTheirBracketsGo) {
  for (const char *yes : {"+", "\\", "plus"}) EXPECT_TRUE(isleafname(yes)) << yes;
  for (const char *no : {"12", "[+]", "(e)hello", "", "("}) EXPECT_FALSE(isleafname(no)) << no;
}

TEST(Names, GlueAndBrackets) {
  for (char c : std::string("#%&'*+,-./:;<=>?@\\^| \n")) EXPECT_TRUE(isglue((unsigned char)c)) << c;
  for (char c : std::string("(){}[]~!\"$`_a0")) EXPECT_FALSE(isglue((unsigned char)c)) << c;
  EXPECT_DEATH(bracketname('x'), "ASSERTION FAILED:b:");
  EXPECT_DEATH(namecore("+"), "ASSERTION FAILED:b:");
}
