// Escape e in the editor, seen through a terminal: the result or the message on the title row,
// the point on an error, the selection as the program, and the mode's keys.
#include <gtest/gtest.h>

#include "edit/term.h"
#include "tests/edit/edittest.h"
#include "tests/support.h"
#include "tests/vterm.h"

namespace {
class Evaluation : public EditorTest<40, 6> {
 protected:
  Vterm term{40, 6};
  std::string title() {
    term.feed(testscreen);
    testscreen.clear();
    return term.row(0);
  }
};
}  // namespace

TEST_F(Evaluation, ShowsRunningThenTheResult) {
  opendoc("/p", "S K K 5");
  press("\x1b" "e");
  EXPECT_NE(testscreen.find("Running..."), std::string::npos);  // painted before the run
  EXPECT_TRUE(title().starts_with("Eval 5 ")) << term.row(0);
  EXPECT_EQ(keys, "\x1b" "e");  // the mode stays
  press("q");  // a foreign key leaves the mode and is typed
  EXPECT_EQ(keys, "");
  EXPECT_EQ(textof(cur()).substr(0, 1), "q");
  EXPECT_TRUE(title().starts_with("File /p")) << term.row(0);
}

TEST_F(Evaluation, TheSelectionIsTheProgramAndErrorsMoveThePoint) {
  Doc &d = opendoc("/p", "junk K 7 junk,x\\3");
  d.point = 5;
  mark = 9;
  press("\x1b" "e");
  EXPECT_TRUE(title().starts_with("Eval K7 ")) << term.row(0);
  EXPECT_EQ(mark, -1);
  press("\x07");
  d.point = 9;
  mark = 17;
  press("\x1b" "e");
  EXPECT_TRUE(title().starts_with("Eval Single_lowercase")) << term.row(0);
  EXPECT_EQ(cur().point, 14);  // the offset of the selection counts
}

TEST_F(Evaluation, AnEmptyDocumentLeavesThePointWhereItIs) {
  press("\x1b" "e");
  EXPECT_NE(title().find("Alive_function_[TOP]"), std::string::npos) << term.row(0);
  EXPECT_EQ(cur().point, 0);
}

TEST_F(Evaluation, ScrollingTheResult) {
  opendoc("/p", "S K K [" + std::string(60, 'x') + "y]");
  press("\x1b" "e");
  EXPECT_NE(title().find("Eval [xxx"), std::string::npos) << term.row(0);
  EXPECT_TRUE(rings("\x08"));  // already at the start
  for (int i = 0; i < 29; i++) press("\x14");  // up to length - width + 6
  EXPECT_NE(title().find("xy]"), std::string::npos) << term.row(0);
  EXPECT_TRUE(rings("\x14"));  // no further
}
