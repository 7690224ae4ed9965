// The title row's line outside the pickers: C-h and C-t, and the quips.
#include <gtest/gtest.h>

#include <cstdlib>
#include <set>

#include "tests/edit/edittest.h"

using Prompt = EditorTest<20, 4>;

TEST_F(Prompt, ScrollingTheLine) {
  opendoc("/a/long/name/of/thirty/bytes", "text");  // 28 bytes: shown from byte 14 on
  EXPECT_EQ(promptline.top, 14);
  EXPECT_TRUE(rings("\x14"));  // the end shows already
  EXPECT_FALSE(rings("\x08"));
  EXPECT_EQ(promptline.top, 0);
  EXPECT_TRUE(rings("\x08"));
}

// From the seed the entry point fixes, entries into the mode come round to all ten quips, each
// of 7 to 74 bytes, the last of them fixed; M-a copies the one shown and the mode stays.
TEST_F(Prompt, TheQuips) {
  srand(0);
  std::set<std::string> lines;
  for (int i = 0; i < 60; i++) {
    typetext("\x1bq");
    lines.insert(textof(promptline));
    EXPECT_TRUE(lenof(promptline) >= 7 && lenof(promptline) <= 74) << textof(promptline);
    press("\x06");
  }
  EXPECT_EQ(lines.size(), 10u);
  EXPECT_TRUE(lines.count("I am the final quip."));
  typetext("\x1bq\x1b" "a");
  EXPECT_EQ(killtext, textof(promptline));
  EXPECT_EQ(keys, "\x1bq");
}
