// Motion: bytes and screen rows, pages, the ends of the text, and the Byte and Line prompts.
#include <gtest/gtest.h>

#include "tests/edit/edittest.h"
#include "tests/support.h"

using Motion = EditorTest<10, 4>;  // three text rows of ten bytes

// A width of 7: a line of 8 bytes is two rows, and a top inside the first rounds up to the second.
TEST_F(Motion, RowsOfANarrowScreen) {
  width = 7;
  Doc d = newdoc("abcdefgh\nxy");
  EXPECT_EQ(rowafter(d, 0), 7);
  EXPECT_EQ(rowafter(d, 7), 9);
  EXPECT_EQ(rowafter(d, 9), 9);
  d.top = 1;
  snaprow(d);
  EXPECT_EQ(d.top, 7);
  d.top = 0;
  measure(d);
  EXPECT_EQ(d.edge, 12);  // three rows: abcdefg, h and its newline, xy and the end
}

TEST_F(Motion, LineEndsAndSingleBytes) {
  Doc &d = opendoc("/m", "ab\ncd");
  d.point = 4;
  EXPECT_FALSE(rings("\x01"));
  EXPECT_EQ(d.point, 3);
  EXPECT_TRUE(rings("\x01"));  // already at the start of its line
  EXPECT_FALSE(rings("\x05"));
  EXPECT_EQ(d.point, 5);
  EXPECT_TRUE(rings("\x05"));
  EXPECT_TRUE(rings("\x06"));  // C-f at the end of the text
  d.point = 0;
  EXPECT_TRUE(rings("\x02"));
}

TEST_F(Motion, ForwardPastAFullScreenRecentres) {
  Doc &d = opendoc("/f", "0\n1\n2\n3\n4\n5\n");
  d.point = 5;
  press("\x06");
  EXPECT_EQ(d.point, 6);
  EXPECT_EQ(d.top, 4);  // the point's row in the middle, not one row scrolled
  d.point = 5;
  press("\x02");
  EXPECT_EQ(d.top, 4);
  press("\x02");  // before the top: recentred
  EXPECT_EQ(d.point, 3);
  EXPECT_EQ(d.top, 0);
}

TEST_F(Motion, RowsOfALongLineAndTheLastLine) {
  Doc &d = opendoc("/l", std::string(25, 'x') + "\nab");
  d.point = 3;
  press("\x0e");
  EXPECT_EQ(d.point, 13);
  press("\x0e");
  EXPECT_EQ(d.point, 23);  // a newline within the next row: the next line at the same column
  press("\x0e");
  EXPECT_EQ(d.point, 28);  // its end, as it is shorter
  EXPECT_TRUE(rings("\x0e"));
  d.point = 23;
  d.top = 10;
  testscreen.clear();
  press("\x10");
  EXPECT_EQ(d.point, 13);
  EXPECT_EQ(testscreen, "\x1b[1F\x1b[4G");  // on screen: the cursor moves, nothing is painted
}

TEST_F(Motion, UpIntoShorterAndWrappedLines) {
  Doc &d = opendoc("/u", "abcdef\nxy\n0123456");
  d.point = 15;
  keepvisible(d, false);
  press("\x10");
  EXPECT_EQ(d.point, 9);  // the line above is shorter: its end
  Doc &e = opendoc("/w", std::string(15, 'x') + "\n0123456789");
  for (auto [from, to, rows] : {std::tuple{19, 13, 1}, std::tuple{23, 7, 2}}) {
    e.point = from;
    e.top = 0;
    testscreen.clear();
    press("\x10");
    EXPECT_EQ(e.point, to);
    EXPECT_EQ(testscreen.substr(0, 4), "\x1b[" + std::to_string(rows) + "F");
  }
}

TEST_F(Motion, PagesAndTheEndsOfTheText) {
  std::string text;
  for (int i = 0; i < 20; i++) text += (char)('a' + i) + std::string("\n");
  Doc &d = opendoc("/p", text);
  press("\x04");
  EXPECT_EQ(d.top, 6);
  EXPECT_EQ(d.point, 9);  // the middle of the new screen by offset
  press("\x15");
  EXPECT_EQ(d.top, 0);
  EXPECT_TRUE(rings("\x15"));
  press("\x1b" "f");
  EXPECT_EQ(d.top, 36);  // the last screen: "s", "t" and the empty last line
  EXPECT_EQ(d.point, 36 + (41 - 36) / 2);
  EXPECT_TRUE(rings("\x1b" "f"));
  EXPECT_TRUE(rings("\x04"));  // after the last page the edge is past the length
  press("\x1b" "h");
  EXPECT_EQ(d.top, 0);
  EXPECT_TRUE(rings("\x1b" "h"));
}

// Page Up a few lines below the start of a longer text: the walk meets offset 0 before half way,
// so the point goes to 0 with the screen, and what is typed next goes in front of the text.
TEST(PageUp, NearTheStartThePointGoesToTheStartOfTheText) {
  editorreset(20, 10);
  std::string text;
  for (int i = 0; i < 40; i++) text += "aa\n";
  Doc &d = opendoc("/u", text);
  d.top = 9;
  d.point = 18;
  press("\x15");
  EXPECT_EQ(d.top, 0);
  EXPECT_EQ(d.point, 0);
  press("x");
  EXPECT_EQ(textof(d), "x" + text);
}

TEST_F(Motion, ByteModeReadsBase64InTheLanguagesOrder) {
  Doc &d = opendoc("/b", std::string(300, '.'));
  for (auto [digits, want] : {std::pair{"s", 20}, {"d_", 256}, {"eb", 300}, {"", 0}}) {
    press("\x1b" "b");
    for (const char *c = digits; *c; c++) press(std::string(1, *c));
    press("\n");
    EXPECT_EQ(d.point, want) << digits;
  }
  d.point = 5;
  for (const char *k : {"\x1b" "b", "q", "\x7f", "b"}) press(k);
  press("\x02");  // any other key leaves as C-g does
  EXPECT_EQ(d.point, 5);
  EXPECT_EQ(keys, "");
}

TEST_F(Motion, LineModeCountsFromOne) {
  Doc &d = opendoc("/n", "one\ntwo\nthree\n");
  for (auto [digits, want] : {std::pair{"3", 8}, {"0", 0}, {"99", 14}}) {
    press("\x1b" "l");
    for (const char *c = digits; *c; c++) press(std::string(1, *c));
    press("x");  // not a digit: not typed in
    EXPECT_EQ(keys, "");
    press("\x1b" "l");
    for (const char *c = digits; *c; c++) press(std::string(1, *c));
    press("\n");
    EXPECT_EQ(d.point, want) << digits;
  }
}
