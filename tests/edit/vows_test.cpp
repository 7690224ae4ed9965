// M-v: the definitions of a program sorted by name with every other piece kept, the record that
// undo and redo replay, and a text whose brackets do not match.
#include <gtest/gtest.h>

#include "tests/edit/edittest.h"
#include "tests/vterm.h"

using Vows = EditorTest<30, 6>;

TEST_F(Vows, DefinitionsByNameAndEveryOtherPieceBehindThem) {
  const std::string text =
      "alpha 1,zeta\\x\\x,note here,alpha\\K,[+]\\plus,beta()\\K 1,\nzeta\\I,empty\\,f(a,b)[,]";
  Doc &d = opendoc("/v", text);
  Vterm term(30, 6);
  d.point = 20;  // in "note here"
  press("\x1bv");
  term.feed(testscreen);
  EXPECT_EQ(term.row(0).substr(0, 7), "Vows /v");
  EXPECT_EQ(textof(d),
            "alpha 1,[+]\\plus,alpha\\K,beta()\\K 1,zeta\\x\\x,\nzeta\\I,note here,empty\\,f(a,b)[,]");
  EXPECT_EQ(d.point, 0);  // the offset's line starts at the text's start
  press("z");  // a key of no meaning here leaves and acts; the record's undo gives the text back
  press("\x1f");
  press("\x1f");
  EXPECT_TRUE(isclean(d));
  press("\x12");
  d.point = 50;
  keepvisible(d, false);
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
