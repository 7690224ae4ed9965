// The painter seen through a terminal: glyphs and colours of every byte class, changed bytes,
// the title row and its alphabet block, the cursor, and the minimal output of a repaint.
#include <gtest/gtest.h>

#include "edit/display.h"
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

TEST_F(Screen, ARepaintOfAnUnchangedScreenWritesOnlyTheCursor) {
  opendoc("/r", "one\ntwo\nthree");
  repaint();
  testscreen.clear();
  repaint();
  EXPECT_EQ(testscreen, "\x1b[1;1H\x1b[0m\x1b[2;1H");
  testscreen.clear();
  cur().point = 4;  // row 2, column 0: the two extra moves go out after the cursor's
  repaint();
  EXPECT_EQ(testscreen, "\x1b[1;1H\x1b[0m\x1b[3;1H\x1b[1;3H\x1b[3;1H");
  testscreen.clear();
  press("\x1bg");  // the alphabet block is the only cell that changes
  EXPECT_EQ(testscreen, "\x1b[1;1H\x1b[0m\x1b[1;5H\x1b[102m \x1b[3;1H\x1b[1;3H\x1b[3;1H");
}
