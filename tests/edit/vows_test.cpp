// M-v: the definitions of a program sorted by name with every other piece kept, the record that
// undo and redo replay, a text whose brackets do not match, and the room a long text takes.
#include <gtest/gtest.h>

#include <cstdio>

#include "tests/edit/edittest.h"

using Vows = EditorTest<30, 6>;

TEST_F(Vows, DefinitionsByNameAndEveryOtherPieceBehindThem) {
  const std::string text =
      "alpha 1,zeta\\x\\x,note here,alpha\\K,[+]\\plus,beta()\\K 1,\nzeta\\I,empty\\,f(a,b)[,]";
  Doc &d = opendoc("/v", text);
  d.point = 20;  // in "note here"
  press("\x1bv");
  EXPECT_EQ(textof(d),
            "alpha 1,[+]\\plus,alpha\\K,beta()\\K 1,zeta\\x\\x,\nzeta\\I,note here,empty\\,f(a,b)[,]");
  EXPECT_EQ(d.point, 0);  // the offset's line starts at the text's start
  typetext("z\x1f\x1f");  // a key of no meaning here leaves and acts; undo gives the text back
  EXPECT_TRUE(isclean(d));
  press("\x12");
  moveto(d, 50);
  press("\x1bv");  // sorted already: the text stays, and the point goes to its line's start
  EXPECT_TRUE(textof(d).starts_with("alpha 1,[+]"));
  EXPECT_EQ(d.point, 46);
}

TEST_F(Vows, BracketsThatDoNotMatchAreShownAndNothingMoves) {
  const std::string text = "b\\1,a(\\2,c\\3";
  Doc &d = opendoc("/b", text);
  press("\x1bv");
  EXPECT_TRUE(textof(promptline).ends_with("Right dangling parenthesis.")) << textof(promptline);
  EXPECT_EQ(d.point, 5);
  EXPECT_EQ(lastop(), firstop());
  promptline.top = 3;
  press("\x7f");  // Backspace shows the line from its start
  EXPECT_EQ(promptline.top, 0);
}

// The pieces stay in the text, known by their commas: two million pieces of two bytes sort within
// 64 MB more than the process held, where copies of them alone took as much.
TEST_F(Vows, ATextOfShortPiecesIsNotCopiedPieceByPiece) {
  Child c = runchild([] {
    std::string text = "0,ab\\1";
    for (int i = 0; i < 2000000; i++) text += ",x";
    Doc &d = opendoc("/s", text + ",aa\\1");
    text.clear();
    text.shrink_to_fit();
    capmemory(64 << 20);
    press("\x1bv");
    printf("%lld %d", (long long)lenof(d), textrange(d, 0, 14) == "0,aa\\1,ab\\1,x,");
  });
  EXPECT_EQ(c.out, "4000011 1");
}
