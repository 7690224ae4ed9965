// The Dent mode: each whole line of the range gets its front changed and its trailing blanks taken
// off, as one record that undo reverses byte for byte, in little more room than the text's.
#include <gtest/gtest.h>

#include <cstdio>

#include "tests/edit/edittest.h"

using Dent = EditorTest<20, 5>;

TEST_F(Dent, PlusIndentsTheSelectedLinesAndUndoPutsTheBlanksBack) {
  const std::string text = "x\n  one  \ntwo \n   \nlast";
  Doc &d = opendoc("/p", text);
  moveto(d, 22);
  mark = 3;  // inside the first line of the range: that line is not whole, so it stays
  press("\x1bi");
  EXPECT_EQ(textof(promptline), "Type - or +");
  press("+");
  EXPECT_EQ(textof(d), "x\n  one  \n two\n\nlast");
  EXPECT_EQ(d.point, 10);
  EXPECT_EQ(mark, -1);
  moveto(d, 0);
  mark = 20;
  typetext("\x1bi ");  // the space bar puts a "+" in front
  EXPECT_EQ(textof(d), "+x\n+  one\n+ two\n\nlast");
  typetext("\x1f\x1f");
  EXPECT_TRUE(isclean(d));
}

TEST_F(Dent, MinusNeedsABlankInFrontOfEveryLine) {
  const std::string text = "  a \n\n   \n b\nc\n d\n";
  Doc &d = opendoc("/m", text);
  d.point = 3;
  typetext("\x1bi-");  // without a mark: every line up to the last newline; "c" has no blank to lose
  EXPECT_EQ(d.point, 13);
  EXPECT_EQ(lastop(), firstop());
  moveto(d, 0);
  mark = 13;
  typetext("\x1bi-");
  EXPECT_EQ(textof(d), " a\n\n\nb\nc\n d\n");
  press("\x1f");
  EXPECT_EQ(textof(d), text);
}

TEST_F(Dent, TabOnlyTrimsAndTheKeyIsTypedInTheAlphabet) {
  Doc &d = opendoc("/t", "ab\ncd");
  typetext("\x1bi\t");  // nothing to trim: nothing at all
  EXPECT_EQ(lastop(), firstop());
  d = newdoc("ab  \ncd  ");
  typetext("\x1bi\t");  // the last line has no newline and is not in the range
  EXPECT_EQ(textof(d), "ab\ncd  ");
  d = newdoc("ab\n");
  typetext("\x1br\x1bi-");  // in alphabet 1 the "-" key types 173, which goes in front
  EXPECT_EQ(textof(d), "\xad" "ab\n");
}

// The lines are walked, not listed: Dent over two million lines of two bytes stays within 64 MB
// more than the process held, where the list of them alone took 48 MB, and as much again while it
// grew.
TEST_F(Dent, ATextOfShortLinesIsWalkedNotListed) {
  Child c = runchild([] {
    std::string text;
    for (int i = 0; i < 2000000; i++) text += "x\n";
    Doc &d = opendoc("/s", text);
    text.clear();
    text.shrink_to_fit();
    capmemory(64 << 20);
    typetext("\x1bi#");
    printf("%lld %d", (long long)lenof(d), textrange(d, 0, 6) == "#x\n#x\n");
  });
  EXPECT_EQ(c.out, "6000000 1");
}
