// Which texts are names of globals and locals, and which leaves are looked up.
#include <gtest/gtest.h>

#include "lang/chars.h"

TEST(Names, WordsCapitalsAndBracketedOperators) {
  EXPECT_FALSE(isname("+"));
  EXPECT_TRUE(isname("[+]"));
  EXPECT_TRUE(isname("K"));
  EXPECT_TRUE(isname("foo_bar"));
  EXPECT_FALSE(isname("Foo"));
  EXPECT_FALSE(isname("[ab]"));
  EXPECT_FALSE(isname(""));
  EXPECT_FALSE(isname("x1"));
  EXPECT_TRUE(isname("\x01"));
  EXPECT_TRUE(isname("\xe9"));
  EXPECT_FALSE(isname("KK"));
  EXPECT_TRUE(isname("[,]"));
  EXPECT_FALSE(isname("[(]"));
  EXPECT_TRUE(isvarname("x"));
  EXPECT_FALSE(isvarname("xy"));
  EXPECT_FALSE(isvarname("X"));
  EXPECT_EQ(namecore("[+]"), "+");
  EXPECT_EQ(namecore("plus"), "plus");
}

TEST(Names, LeafNamesAreNamesAfterTheirBracketsGo) {
  EXPECT_TRUE(isleafname("+"));
  EXPECT_TRUE(isleafname("\\"));
  EXPECT_TRUE(isleafname("plus"));
  EXPECT_FALSE(isleafname("12"));
  EXPECT_FALSE(isleafname("[+]"));
  EXPECT_FALSE(isleafname("(e)hello"));
  EXPECT_FALSE(isleafname(""));
  EXPECT_FALSE(isleafname("("));
}

TEST(Names, GlueAndBrackets) {
  for (char c : std::string("#%&'*+,-./:;<=>?@\\^| \n")) EXPECT_TRUE(isglue((unsigned char)c)) << c;
  for (char c : std::string("(){}[]~!\"$`_a0")) EXPECT_FALSE(isglue((unsigned char)c)) << c;
  EXPECT_FALSE(isglue(0));
  EXPECT_EQ(bracketname('('), "parenthesis");
  EXPECT_EQ(bracketname(']'), "bracket");
  EXPECT_EQ(bracketname('{'), "wing");
  EXPECT_DEATH(bracketname('x'), "ASSERTION FAILED:b:");
  EXPECT_DEATH(namecore("+"), "ASSERTION FAILED:b:");
}
