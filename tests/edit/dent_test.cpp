// The Dent mode: each whole line of the range gets its front changed and its trailing blanks taken
// off, as one record that undo reverses byte for byte.
#include <gtest/gtest.h>

#include "tests/edit/edittest.h"
#include "tests/vterm.h"

class Dent : public EditorTest<20, 5> {
 protected:
  // Puts the point and the mark where a test wants them, with the point on the screen.
  void select(Doc &d, int64_t point, int64_t from) {
    d.point = point;
    keepvisible(d, false);
    mark = from;
  }
  void dent(const std::string &key) {
    press("\x1bi");
    press(key);
  }
};

TEST_F(Dent, PlusIndentsTheSelectedLinesAndUndoPutsTheBlanksBack) {
  const std::string text = "x\n  one  \ntwo \n   \nlast";
  Doc &d = opendoc("/p", text);
  Vterm term(20, 5);
  select(d, 22, 3);  // inside the first line of the range: that line is not whole, so it stays
  press("\x1bi");
  term.feed(testscreen);
  EXPECT_EQ(term.row(0).substr(0, 16), "Dent Type_-_or_+");
  press("+");
  EXPECT_EQ(textof(d), "x\n  one  \n two\n\nlast");
  EXPECT_EQ(d.point, 10);
  EXPECT_EQ(mark, -1);
  select(d, 0, 20);
  dent(" ");  // the space bar puts a "+" in front
  EXPECT_EQ(textof(d), "+x\n+  one\n+ two\n\nlast");
  press("\x1f");
  press("\x1f");
  EXPECT_TRUE(isclean(d));
}

TEST_F(Dent, MinusNeedsABlankInFrontOfEveryLine) {
  const std::string text = "  a \n\n   \n b\nc\n d\n";
  Doc &d = opendoc("/m", text);
  d.point = 3;
  dent("-");  // without a mark: every line up to the last newline; "c" has no blank to lose
  EXPECT_EQ(d.point, 13);
  EXPECT_EQ(lastop(), firstop());
  select(d, 0, 13);
  dent("-");
  EXPECT_EQ(textof(d), " a\n\n\nb\nc\n d\n");
  press("\x1f");
  EXPECT_EQ(textof(d), text);
}

TEST_F(Dent, TabOnlyTrimsAndTheKeyIsTypedInTheAlphabet) {
  Doc &d = opendoc("/t", "ab\ncd");
  dent("\t");  // nothing to trim: nothing at all
  EXPECT_EQ(lastop(), firstop());
  d = newdoc("ab  \ncd  ");
  dent("\t");  // the last line has no newline and is not in the range
  EXPECT_EQ(textof(d), "ab\ncd  ");
  d = newdoc("ab\n");
  press("\x1br");
  dent("-");  // in alphabet 1 the "-" key types 173, which goes in front
  EXPECT_EQ(textof(d), "\xad" "ab\n");
}
