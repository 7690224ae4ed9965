// Escape e in the editor: the result or the message on the title row's line, the point on an
// error, the selection as the program, and the mode's keys.
#include <gtest/gtest.h>

#include "core/cell.h"
#include "core/halt.h"
#include "tests/edit/edittest.h"

using Evaluation = EditorTest<40, 6>;

TEST_F(Evaluation, ShowsRunningThenTheResult) {
  opendoc("/p", "S K K 5");
  press("\x1b" "e");
  EXPECT_NE(testscreen.find("Running..."), std::string::npos);  // painted before the run
  EXPECT_EQ(textof(promptline), "5");
  EXPECT_EQ(keys, "\x1b" "e");  // the mode stays
  press("q");  // a foreign key leaves the mode and is typed
  EXPECT_EQ(keys, "");
  EXPECT_EQ(textof(cur()), "qS K K 5");
  EXPECT_EQ(textof(promptline), "/p");
}

TEST_F(Evaluation, TheSelectionIsTheProgramAndErrorsMoveThePoint) {
  Doc &d = opendoc("/p", "junk K 7 junk,x\\3");
  d.point = 5;
  mark = 9;
  press("\x1b" "e");
  EXPECT_EQ(textof(promptline), "K7");
  EXPECT_EQ(mark, -1);
  press("\x07");
  d.point = 9;
  mark = 17;
  press("\x1b" "e");
  EXPECT_TRUE(textof(promptline).starts_with("Single lowercase")) << textof(promptline);
  EXPECT_EQ(d.point, 14);  // the offset of the selection counts
  Doc &e = opendoc("/e", "");
  press("\x1b" "e");  // an empty program has its own message, and the point stays
  EXPECT_NE(textof(promptline).find("Alive function [TOP]"), std::string::npos) << textof(promptline);
  EXPECT_EQ(e.point, 0);
}

// The line scrolls by the steps of the title row's line outside modes, which ring at its ends.
TEST_F(Evaluation, ScrollingTheResult) {
  opendoc("/p", "S K K [" + std::string(60, 'x') + "y]");
  press("\x1b" "e");
  EXPECT_TRUE(rings("\x08"));
  EXPECT_FALSE(rings("\x14"));
  EXPECT_EQ(promptline.top, 1);
  EXPECT_EQ(keys, "\x1b" "e");
}

// A run that the memory limit stops says so and changes nothing else: not the text, not the point,
// not the selection, which a finished run clears. So does one cut short inside a built-in.
TEST_F(Evaluation, AHaltedRunChangesNothingElse) {
  for (const char *program : {"upto 0,upto\\n\\K(J n (upto(n+1)))", "type (lots ([a]*1000000))"}) {
    Doc &d = opendoc(std::string("/p") + program[0], program);
    mark = lenof(d);
    uint64_t limit = memorylimit;
    memorylimit = memoryheld() + (16 << 20);
    press("\x1b" "e");
    memorylimit = limit;
    EXPECT_EQ(textof(promptline), "Out of memory") << program;
    EXPECT_EQ(d.point, 0);
    EXPECT_EQ(mark, lenof(d));
    EXPECT_EQ(runhalt, 0);  // cleared for whatever runs next
  }
}
