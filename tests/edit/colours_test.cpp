// The colour word from the keyboard: M-k's 32-bit reading of sixteen digits, its random word for
// anything else, M-u, and the Pink mode that shows the word.
#include <gtest/gtest.h>

#include "edit/display.h"
#include "tests/edit/edittest.h"

class Colours : public EditorTest<30, 4> {
 protected:
  uint64_t readat(const std::string &text) {
    Doc &d = opendoc("/k" + std::to_string(n++), "x" + text);
    d.point = 1;
    press("\x1bk");
    EXPECT_EQ(d.point, 1);
    return kink;
  }
  int n = 0;
};

// Digit i is worth 16 << ((60 - 4i) mod 32) in 32 bits: the first and ninth nothing, the eighth
// and the sixteenth 16, and the sum may carry past 32 bits. Anything but sixteen digits gives a
// random word.
TEST_F(Colours, SixteenDigitsInThirtyTwoBitsOrARandomWord) {
  EXPECT_EQ(readat("F0000000F0000000"), 0u);
  EXPECT_EQ(readat("0000000100000001"), 32u);
  EXPECT_EQ(readat("0000000a0000000B"), 21u * 16);  // either case
  EXPECT_EQ(testlog.find("tolmkink"), std::string::npos);
  readat("012345678901234 ");
  EXPECT_NE(testlog.find("tolmkink: " + showkink() + "\n"), std::string::npos);
  press("\x1bu");
  EXPECT_EQ(kink, defaultkink);
  EXPECT_EQ(runchild([] { pinkfore(false, false, 4); }).out, "TOLMFAIL: pinkfore\n");
}

TEST_F(Colours, PinkShowsTheWordAndKeepsItForCopying) {
  opendoc("/p", "text");
  typetext("\x1bp\x1bk");  // a random word colours the screen; the line keeps the digits it showed
  EXPECT_NE(kink, defaultkink);
  press("\x1b" "a");
  EXPECT_EQ(killtext, "76E948BA98800321");
  press("\x06");  // any other key leaves and acts
  EXPECT_TRUE(keys.empty());
  EXPECT_EQ(cur().point, 1);
}
