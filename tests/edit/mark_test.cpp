// The Mark mode: motion keys grow the selection, typed text seeks, and the keys that work on a
// selection take it over while every other key drops it.
#include <gtest/gtest.h>

#include "tests/edit/edittest.h"
#include "tests/vterm.h"

using Mark = EditorTest<20, 5>;

TEST_F(Mark, MotionsGrowTheSelectionOnAMarkScreen) {
  Doc &d = opendoc("/m", "one two\nthree four\nfive");
  Vterm term(20, 5);
  d.point = 4;
  typetext("\x1bj\x06\x1b[B\x05");  // motions move the point, and the mode stays
  EXPECT_EQ(d.point, 18);
  EXPECT_EQ(mark, 4);
  term.feed(testscreen);
  for (int c = 0; c < 12; c++) EXPECT_EQ(term.at(1, c).back == 14, c >= 4) << c;  // with its newline
  press("\t");  // the ends change places
  EXPECT_EQ(d.point, 4);
  EXPECT_EQ(mark, 18);
}

TEST_F(Mark, TheSelectionKeysTakeItOverAndOthersDropIt) {
  Doc &d = opendoc("/k", "keep this out");
  typetext("\x1bj\x06\x06\x06\x06\x06\x0b");  // C-k kills the selection
  EXPECT_EQ(textof(d), "this out");
  opendoc("/s", "ab xab yab");
  typetext("\x1bj" "ab\x1bt");  // typing seeks, leaving the mark
  EXPECT_EQ(cur().point, 6);
  press("\x1bh");
  EXPECT_EQ(cur().point, 2);
  press("\x07");
  switchdoc("/k");
  typetext("\x1bj\x06\n");  // a key of no meaning here drops the selection and acts
  EXPECT_EQ(mark, -1);
  EXPECT_EQ(textof(d), "t\nhis out");
  opendoc("/e", "K 4 5 and more");
  typetext("\x1bj\x1b[C\x1b[C\x1b[C\x1b[C\x1b[C\x1b" "e");  // Escape e runs the selection only
  EXPECT_EQ(textof(promptline), "4");
}
