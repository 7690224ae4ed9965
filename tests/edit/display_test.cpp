// The painter seen through a terminal: glyphs and colours of every byte class, changed bytes,
// the title row and its alphabet block, the cursor, and the minimal output of a repaint.
#include <gtest/gtest.h>

#include "edit/display.h"
#include "edit/loop.h"
#include "edit/term.h"
#include "tests/edit/edittest.h"
#include "tests/support.h"
#include "tests/vterm.h"

class Screen : public ::testing::Test {
 protected:
  int w = 40, h = 8;
  Vterm term{40, 8};
  void SetUp() override { editorreset(w, h); }
  // Feeds the terminal everything painted so far and forgets it.
  void show() {
    term.feed(testscreen);
    testscreen.clear();
  }
};

// The glyphs of the class-2 bytes, as a user types them in alphabet 2.
static char glyph2(int b) {
  static const std::string low = "JABCDEFGHI,KLMNOPQRSTUVWXYZ(){}[_";
  static const std::string high = "~!@#$%^&*<>-|+/=\\.`'\":;?0123456789";
  if (b == 255) return ']';
  return b <= 32 ? low[(size_t)b] : high[(size_t)(b - 127)];
}

TEST_F(Screen, EveryByteShowsItsGlyphInTheColourOfItsClass) {
  std::string text;
  for (int b = 0; b < 256; b++)
    if (b != 10) text += (char)b;
  opendoc("/all", text);
  repaint();
  show();
  // With the default colour word a clean inserting document shows class k in colour k on 0.
  for (int i = 0; i < 255 && i / w + 1 < h; i++) {
    int b = i < 10 ? i : i + 1;
    int cls = b >= 33 && b <= 126 ? 3 : b >= 161 && b <= 254 ? 1 : 2;
    char want = cls == 3 ? (char)b : cls == 1 ? (char)(b - 128) : glyph2(b);
    Shown s = term.at(i / w + 1, i % w);
    EXPECT_EQ(s.ch, want) << "byte " << b;
    EXPECT_EQ(s.fore, cls) << "byte " << b;
    EXPECT_EQ(s.back, 0) << "byte " << b;
    EXPECT_FALSE(s.underline || s.bold || s.italic) << "byte " << b;
  }
}

TEST_F(Screen, TheTitleRowAndTheCursor) {
  opendoc("/t", "ab\ncd");
  cur().point = 5;
  repaint();
  show();
  EXPECT_EQ(term.row(0).substr(0, 8), "File /t ");
  EXPECT_EQ(term.at(0, 4).back, 11);  // alphabet 3: digit 9 of the colour word
  EXPECT_EQ(term.row(1).substr(0, 4), "ab, ");
  EXPECT_EQ(term.at(3, 5).back, 0);  // rows below the text: blanks on the state's background
  EXPECT_EQ(term.cursorrow(), 2);
  EXPECT_EQ(term.cursorcol(), 2);
  EXPECT_EQ(term.at(h - 1, w - 1).back, 5);  // the last cell never keeps background 0
  switchdoc(scratchname);
  repaint();
  show();
  EXPECT_EQ(term.row(0).substr(0, 16), "Tolm Press_escap");
  press("\x1b" "b");  // the number prompts take digits in any alphabet: their own block colour
  show();
  EXPECT_EQ(term.at(0, 4).back, 8);
}

TEST_F(Screen, ChangedBytesAndTheStateColours) {
  opendoc("/c", "abc\nd");
  press("X");  // inserting and changed: foregrounds from digits 7 to 9, background digit 4
  show();
  Shown x = term.at(1, 0), a = term.at(1, 1);
  EXPECT_TRUE(x.underline);
  EXPECT_EQ(x.fore, 11);
  EXPECT_FALSE(a.underline);
  EXPECT_EQ(a.back, 0);
  press("\x18");  // C-x: changed and overtyping, background digit 5
  show();
  EXPECT_EQ(term.at(1, 1).back, 8);
  EXPECT_EQ(term.at(2, 0).fore, 11);
  press("\x18");
  press("\x1f");  // undo, in the mode of the insert: clean again
  press("\x18");  // clean and overtyping: background digit 6
  show();
  EXPECT_FALSE(term.at(1, 0).underline);
  EXPECT_EQ(term.at(1, 0).fore, 3);
  EXPECT_EQ(term.at(1, 0).back, 8);
}

TEST_F(Screen, ASelectionItsLineEndsAndEqualColours) {
  opendoc("/s", "ab\ncd\nef");
  mark = 1;
  cur().point = 4;
  repaint();
  show();
  EXPECT_EQ(term.at(1, 0).back, 0);
  EXPECT_EQ(term.at(1, 1).back, 14);  // clean inserting has its state bit set: digit 13
  EXPECT_EQ(term.at(1, 30).back, 14);  // the selected newline fills its row
  EXPECT_EQ(term.at(2, 1).back, 0);   // the point's byte is outside
  kink = (defaultkink & ~0xF000ull) | 0x3000ull;  // background of clean text := 3, as class 3
  repaint();
  show();
  EXPECT_TRUE(term.at(1, 0).italic);  // equal colours: italic in the contrast colour
  EXPECT_EQ(term.at(1, 0).fore, 12);
}

TEST_F(Screen, ARepaintWritesOnlyWhatChanged) {
  opendoc("/r", "one\ntwo\nthree");
  repaint();
  testscreen.clear();
  repaint();
  EXPECT_EQ(testscreen, "\x1b[0m\x1b[2;1H");
  testscreen.clear();
  cur().point = 4;  // row 2, column 0: the two extra moves go out after the cursor's
  repaint();
  EXPECT_EQ(testscreen, "\x1b[0m\x1b[3;1H\x1b[1;3H\x1b[3;1H");
  testscreen.clear();
  press("\x1bg");  // the alphabet block is the only cell that changes
  EXPECT_EQ(testscreen, "\x1b[0m\x1b[1;5H\x1b[102m \x1b[3;1H\x1b[1;3H\x1b[3;1H");
  cur().point = 13;
  press("!");
  testscreen.clear();
  press("?");  // the cursor already stands behind the one cell written: no move after it
  EXPECT_EQ(testscreen, "\x1b[0m\x1b[4;7H\x1b[4m\x1b[92m\x1b[40m?");
}

// Bytes that reached the terminal past the painter, as a program's own output does, stay until
// C-l draws every cell again, in Mark mode as well; a resize, or a continue after a stop, draws
// them all as well (the empty key below).
TEST_F(Screen, ControlLAndAResizeDrawOverWhatOthersWrote) {
  opendoc("/r", "one\ntwo\nthree");
  repaint();
  show();
  std::vector<std::string> rows;
  for (int r = 0; r < h; r++) rows.push_back(term.row(r));
  for (std::string typed : {"\x0c", "\x1bj\x0c", ""}) {
    term.feed("\x1b[2;1Hscribbled\r\n\r\n\r\n\r\n\r\n\r\n\r\n\r\nscrolled");
    // a scrolling region, origin mode, no wrap, insertion, line drawing for the letters
    term.feed("\x1b[3;5r\x1b[?6h\x1b[?7l\x1b[4h\x1b(0");
    press("\x02");  // a move the painter sees as one cell at most
    press("\x06");
    show();
    EXPECT_NE(term.row(1), rows[1]);
    typed.empty() ? resized(w, h) : press(typed);
    show();
    for (int r = 1; r < h; r++) EXPECT_EQ(term.row(r), rows[(size_t)r]) << typed << r;
    press("\x07");
  }
}

// The text rows as the painter's rules build them, one position at a time with cellfor and
// blankfor; the cursor comes back in ccol and crow.
static std::vector<uint16_t> modelplane(int64_t &ccol, int64_t &crow) {
  const Doc &d = cur();
  std::vector<uint16_t> plane((size_t)(width * height), 0);
  std::string was = wasof(d), now = nowof(d);
  int64_t h = headlen(d), n = (int64_t)now.size(), len = lenof(d);
  int64_t lo = std::min(d.point, mark), hi = std::max(d.point, mark), col = 0, row = 1;
  for (int64_t pos = d.top; row < height; pos++) {
    if (pos == d.point) ccol = col, crow = row;
    unsigned char b = charat(d, pos);
    bool selected = mark != -1 && lo <= pos && pos < hi;
    bool changed = h <= pos && pos < h + n &&
                   (was.size() != now.size() || was[(size_t)(pos - h)] != now[(size_t)(pos - h)]);
    uint16_t *at = &plane[(size_t)(row * width)];
    if (b != 10 || pos < len) at[col++] = cellfor(selected, changed, false, b);
    else at[col++] = blankfor(selected, false);
    while (b == 10 && col < width) at[col++] = blankfor(selected, false);
    if (col == width) col = 0, row++;
  }
  return plane;
}

// What a terminal must show for a cell by the escape rules. A blank's foreground is never
// written, so it is not told (-3).
static Shown looks(uint16_t cell) {
  int f = (cell >> 8) & 15, g = cell >> 12, c = cell & 0xFF, c7 = cell & 0x7F;
  bool same = f == g, blank = same && c7 == 32, printable = c7 >= 33 && c7 <= 126;
  static const char controls[] = "[ABCDEFGHIJKLMNOPQRSTUVWXYZ(){}]<";
  char ch = printable || blank ? (char)c7 : c7 == 127 ? '>' : controls[c7];
  int fore = blank ? -3 : same ? (g < 8 ? 15 : 7) - (g & 7) : f;
  return {ch, fore, g, (c >= 161 && c <= 254) || (same && c == 160), !printable && !blank, same && c7 != 32};
}

// Random keys over text of every byte class on a small screen: after each key the painted
// plane is the one the rules give, and the terminal that got only the differences shows every
// cell as the plane says, with the cursor on the point.
TEST_F(Screen, RandomEditsShowExactlyTheCellsOfTheRules) {
  srand(7);
  std::string text;
  for (int i = 0; i < 600; i++) text += (char)(rand() % 12 == 0 ? '\n' : rand() % 256);  // some rows wrap
  opendoc("/m", text);
  repaint();
  show();
  const char *keyset[] = {"a", "Q", "\n", " ", "\x7f", "\x7f", "\x18", "\x1f", "\x0e", "\x0e", "\x10", "\x06",
                          "\x02", "\x01", "\x05", "\x04", "\x15", "\x1br", "\x1bg", "\x1by", "\x1bh", "\x1c"};
  for (int step = 0; step < 1500; step++) {
    if (rand() % 40 == 0) mark = rand() % 3 == 0 ? -1 : rand() % (lenof(cur()) + 20);
    if (rand() % 60 == 0) kink = ((uint64_t)rand() << 40) ^ ((uint64_t)rand() << 20) ^ (uint64_t)rand();
    std::string key = keyset[rand() % (sizeof keyset / sizeof *keyset)];
    press(key);
    // A bell paints nothing, and C-p may only hint where the cursor goes.
    if (testscreen.find('\a') != std::string::npos || key == "\x10") repaint();
    show();
    int64_t ccol = -1, crow = -1;
    std::vector<uint16_t> model = modelplane(ccol, crow);
    const uint16_t *painted = cells.data() + (flipped ? 0 : w * h);  // now the old plane
    for (int i = 0; i < w * h; i++) {
      std::string where = "step " + std::to_string(step) + " cell " + std::to_string(i);
      if (i >= w && i < w * h - 1) {
        ASSERT_EQ(painted[i], model[(size_t)i]) << where;
      }
      Shown want = looks(painted[i]), got = term.at(i / w, i % w);
      ASSERT_EQ(got.ch, want.ch) << where;
      ASSERT_TRUE(got.fore == want.fore || want.fore == -3) << where;
      ASSERT_EQ(got.back, want.back) << where;
      ASSERT_EQ(got.underline, want.underline) << where;
      ASSERT_EQ(got.bold, want.bold) << where;
      ASSERT_EQ(got.italic, want.italic) << where;
    }
    ASSERT_EQ(term.cursorrow(), crow) << step;
    ASSERT_EQ(term.cursorcol(), ccol) << step;
  }
}
