// Motion: bytes and screen rows, pages, the ends of the text, and the Byte and Line prompts.
#include <gtest/gtest.h>

#include "tests/edit/edittest.h"

using Motion = EditorTest<10, 4>;  // three text rows of ten bytes

// A width of 7: a line of 8 bytes is two rows, and a top inside the first rounds up to the second.
TEST_F(Motion, ATopInsideARowRoundsUpToTheNext) {
  width = 7;
  Doc d = newdoc("abcdefgh\nxy");
  d.top = 1;
  snaprow(d);
  EXPECT_EQ(d.top, 7);
}

// Rows, the edge and what is on the screen, over random texts of short and wrapping lines with
// the window of changes anywhere, against the rules walked one byte at a time.
TEST_F(Motion, RowsAgreeWithTheRulesByteByByte) {
  srand(11);
  for (int round = 0; round < 400; round++) {
    std::string text;
    for (int i = rand() % 60; i > 0; i--) text += rand() % 6 ? 'x' : '\n';
    Doc d = newdoc(text);
    if (!text.empty()) d.point = rand() % (int64_t)text.size(), insertbyte(d, '\n');
    int64_t len = lenof(d);
    d.top = rand() % (len + 2);
    d.point = rand() % (len + 1);
    int64_t pos = d.top, rows = 0, col = 0, t = d.top, count = 1;
    while (rows < height - 1)
      if (charat(d, pos++) == 10 || ++col == width) rows++, col = 0;
    measure(d);
    ASSERT_EQ(d.edge, pos) << round;
    for (;; count++) {  // rowafter's rule: a row that the text ends before its newline is the last
      int64_t n = t, i = 0;
      while (i < width && t + i < len && charat(d, t + i) != 10) i++;
      n = i == width ? t + width : t + i < len ? t + i + 1 : t;
      ASSERT_EQ(rowafter(d, t), n) << round;
      if (n > d.point || n == t) break;
      t = n;
    }
    ASSERT_EQ(onscreen(d, false), d.top <= d.point && count <= height - 1) << round;
    ASSERT_EQ(onscreen(d, true), d.top <= d.point && count <= 1) << round;
  }
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
  EXPECT_EQ(d.top, 4);  // the point's row in the middle, not one row scrolled
  d.point = 5;
  typetext("\x02\x02");  // before the top: recentred
  EXPECT_EQ(d.point, 3);
  EXPECT_EQ(d.top, 0);
}

// C-a, C-e, C-n and C-p over lines many rows long, with changes that cut the lines between
// head, window and tail: the point, and the cursor hint of C-p, against the rules walked one
// byte at a time.
TEST_F(Motion, LineKeysInLongLinesAgreeWithTheRules) {
  auto bol = [](const Doc &d, int64_t at) {
    while (charat(d, at - 1) != 10) at--;
    return at;
  };
  srand(3);
  for (int round = 0; round < 60; round++) {
    std::string text;
    for (int i = rand() % 400; i > 0; i--) text += rand() % 40 ? 'x' : '\n';
    Doc &d = opendoc("/l" + std::to_string(round), text);
    for (int e = 0; e < 2 && lenof(d) > 0; e++) d.point = rand() % lenof(d), insertbyte(d, 'y');
    moveto(d, rand() % (lenof(d) + 1));
    for (int step = 0; step < 40; step++) {
      const char *key = "\x01\x05\x0e\x10" + rand() % 4;
      Doc was = d;
      int64_t len = lenof(d), p = d.point, b = bol(d, p), want = p;
      std::string hint;
      if (*key == 1) {
        want = b;
      } else if (*key == 5) {
        while (want < len && charat(d, want) != 10) want++;
      } else if (*key == 14) {
        int64_t s = p, nl = p;
        while (s > d.top && charat(d, s - 1) != 10) s--;
        while (nl < std::min(len, p + width) && charat(d, nl) != 10) nl++;
        if (nl < std::min(len, p + width)) {
          int64_t end = nl + 1;
          while (end < len && charat(d, end) != 10) end++;
          want = std::min(nl + 1 + (p - s) % width, end);
        } else if (p + width <= len) {
          want = p + width;
        }
      } else if (p - b >= width) {
        want = p - width, hint = "\x1b[1F";
      } else if (b > 0) {
        int64_t a = bol(d, b - 1), l = b - 1 - a;
        want = l >= p - b ? a + p - b : b - 1;
        while (l >= p - b && want + width < b) want += width;
        hint = l >= p - b && l % width < p - b ? "\x1b[2F" : "\x1b[1F";
      }
      int64_t col = (want - bol(d, want)) % width;
      if (!hint.empty() && col) hint += "\x1b[" + std::to_string(col + 1) + "G";
      testscreen.clear();
      press(std::string(1, *key));
      std::string where = std::to_string(round) + "/" + std::to_string(step) + " key " + std::to_string(*key);
      ASSERT_EQ(d.point, want) << where;
      if (*key == 16 && onscreen(was, false) && d.top == was.top && !hint.empty()) {
        ASSERT_EQ(testscreen, hint) << where;
      }
    }
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

TEST_F(Motion, ByteAndLinePrompts) {
  Doc &d = opendoc("/b", std::string(300, '.'));
  for (auto [digits, want] : {std::pair{"s", 20}, {"d_", 256}, {"eb", 300}, {"", 0}}) {
    typetext(std::string("\x1b" "b") + digits + "\n");  // base 64 in the language's order
    EXPECT_EQ(d.point, want) << digits;
  }
  d.point = 5;
  typetext("\x1b" "bq\x7f" "b\x02");  // any other key leaves as C-g does
  EXPECT_EQ(d.point, 5);
  EXPECT_EQ(keys, "");
  Doc &e = opendoc("/n", "one\ntwo\nthree\n");
  for (auto [digits, want] : {std::pair{"3", 8}, {"0", 0}, {"99", 14}}) {
    typetext(std::string("\x1bl") + digits + "\n");  // lines count from 1, and 0 is the first
    EXPECT_EQ(e.point, want) << digits;
  }
}
