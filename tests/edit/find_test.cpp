// Search and replace: the pattern classes, the matcher, Find's moves and its marks on the screen,
// and Swap with its record, its exact undo and its bound.
#include <gtest/gtest.h>

#include "core/halt.h"
#include "edit/find.h"
#include "edit/glyph.h"
#include "tests/edit/edittest.h"
#include "tests/vterm.h"

// For each pattern letter, text bytes it must accept and bytes it must refuse. Bytes of classes 1
// and 2 count by their glyphs: 225 shows "a", 193 "A", 151 "0", a blank "_", 10 stays. The
// matcher keeps one bit for each prefix of the pattern that ends at the byte.
TEST(Patterns, EveryLetterAndTheMatcher) {
  const std::string nl = "\n";
  const struct {
    char p;
    std::string yes, no;
  } cases[] = {
      {'a', "aA\xe1\xc1", "bq"},        {'G', "\\;", "/:"},   {'H', "-.029:<acfhlnoqxACFX", "1b#"},
      {'Q', "~!@#$%^&*<>-|+/=\\.`'\":;?", "()[]{},_a0"},  {'R', "az_ \xe1", "A0!" + nl},
      {'U', "AZ\xc1\x01", "a0"},        {'S', "aA_", "0!"},     {'T', "09\x97", "a!"},
      {'Z', "aA0", "!" + nl},            {'X', "!()" + nl, "aA0_"}, {'B', "aA!", "0"},
      {'D', "a0!", "A"},                 {'F', "aA0!_" + nl + "\xff", ""}, {'7', "7\x9e", "8"},
      {' ', " ", "_"},  // outside 33 to 126: itself only
  };
  for (const auto &c : cases) {
    for (char y : c.yes) EXPECT_TRUE(charlike(c.p, y)) << c.p << " takes " << (int)(unsigned char)y;
    for (char n : c.no) EXPECT_FALSE(charlike(c.p, n)) << c.p << " refuses " << (int)(unsigned char)n;
  }
  uint64_t st = 1;
  for (char c : std::string("ababa")) st = matchstep("aba", st, c);
  EXPECT_EQ(st, 1u | 2u | 8u);  // "a" and "aba" end here, "ab" does not
  EXPECT_NE(runchild([] { matchstep("a", 2, 'a'); }).status, 0);  // bit 0 must be set
}

using Find = EditorTest<20, 5>;

// seek against its rule tried place by place, over texts of every byte class whose changes
// split them between head, window and tail and whose pattern bytes run from plain bytes to the
// widest classes: texts long enough for whole blocks to be skipped, hits near both ends, and
// patterns longer than the matcher's words, which Mark mode's prompt can grow to.
TEST_F(Find, SeekFindsWhatTheRuleFindsPlaceByPlace) {
  auto rule = [](const Doc &d, const std::string &s, bool forward) {
    int64_t n = lenof(d), m = (int64_t)s.size();
    for (int64_t k = 1; k < n; k++) {
      int64_t q = forward ? (d.point + k + n) % n : (d.point - k + n) % n;
      bool hit = q >= m && q != 0;
      for (int64_t i = 0; i < m && hit; i++) hit = charlike((unsigned char)s[(size_t)i], charat(d, q - m + i));
      if (hit) return q;
    }
    return d.point;
  };
  srand(5);
  const std::string bytes = "abAB0 \n\x01\xe1\xc1!.", pats = "abAB0 !.TURXFQ";
  for (int round = 0; round < 400; round++) {
    std::string text;
    for (int i = rand() % (round % 4 ? 50 : 3000); i > 0; i--) text += rand() % 9 ? 'x' : bytes[rand() % bytes.size()];
    Doc d = newdoc(text);
    for (int e = rand() % 3; e > 0 && lenof(d) > 0; e--) d.point = rand() % lenof(d), insertbyte(d, 'a');
    std::string s;
    for (int i = rand() % 4; i > 0; i--) s += pats[rand() % pats.size()];
    if (round % 8 == 0 && text.size() > 200) {  // longer than the masks: a piece of the text, or near one
      s = text.substr(rand() % 100, 60 + rand() % 40);
      if (rand() % 2) s[rand() % s.size()] = pats[rand() % pats.size()];
    }
    d.point = rand() % (lenof(d) + 1);
    bool forward = rand() % 2;
    int64_t want = rule(d, s, forward);
    seek(d, s, forward);
    ASSERT_EQ(d.point, want) << round << " [" << s << "] " << forward;
  }
}

TEST_F(Find, TypingSearchesOnAndAFailureWaitsForBackspace) {
  Doc &d = opendoc("/f", "xab abc ab");
  typetext("\x1bsab");
  EXPECT_EQ(d.point, 3);
  EXPECT_FALSE(rings("c"));  // "abc" ends further on
  EXPECT_EQ(d.point, 7);
  EXPECT_TRUE(rings("q"));
  EXPECT_EQ(failtext, "abcq");
  typetext("z\x7f");  // no search while failing; back to the text that failed, the failure ends
  EXPECT_EQ(failtext, "");
  typetext("\x7f\x7f");  // "abcq" does not stand before the point, "abc" does: a step back
  EXPECT_EQ(d.point, 6);
  EXPECT_FALSE(rings("\x08"));  // C-h: back to the "ab" before
  EXPECT_TRUE(rings("\x08"));  // the next one back wraps around: no retreat
  press("\x07");  // back to where the search began
  EXPECT_EQ(d.point, 0);
  press("\x1bs");
  d = newdoc(std::string(70, 'a'));
  typetext(std::string(64, 'a'));  // the 64th byte is ignored
  EXPECT_EQ(lenof(promptline), 63);
  press("\x06");  // a key of no meaning here leaves and acts
  EXPECT_EQ(d.point, 64);
}

TEST_F(Find, EveryHitOnTheScreenIsMarkedAlsoAcrossTheTop) {
  // Rows of 20 bytes: "ab" ends the first row, so with top at 20 the match "abc" crosses the top.
  Doc &d = opendoc("/h", std::string(18, '.') + "ab" + "c.abc" + std::string(30, '.'));
  Vterm term(20, 5);
  press("\x1bs");
  testlog.clear();
  promptline = newdoc("abc");
  d.top = 20;
  d.point = 30;
  repaint();
  term.feed(testscreen);
  EXPECT_EQ(term.row(1).substr(0, 6), "c.abc.");
  for (int c = 0; c < 7; c++) EXPECT_EQ(term.at(1, c).back == 14, c == 1 || c == 5) << c;
  EXPECT_EQ(testlog, "");  // no match ends just before top
  promptline = newdoc("a");
  d.top = 19;
  repaint();
  EXPECT_EQ(testlog, "OMG I had that simple!\n11" + std::string(62, '0') + " [a]\n");
}

class Swap : public EditorTest<20, 5> {
 protected:
  void swap(const std::string &from, const std::string &to) { typetext("\x1bx" + from + "\t" + to + "\t"); }
};

TEST_F(Swap, ReplaceAllAndUndoExactly) {
  Doc &d = opendoc("/s", "aba");
  swap("a", "aa");
  EXPECT_EQ(textof(d), "aabaa");
  // The range's end, both texts behind 32 + length, then occurrence 1 0 0, byte 0, 1 0 0.
  EXPECT_EQ(lastop()->data, std::string("\x03\0\0\0!a\"aa\x11", 10));
  press("\x1f");
  EXPECT_TRUE(isclean(d));
  press("\x12");
  EXPECT_EQ(textof(d), "aabaa");
}

TEST_F(Swap, AReplacementThatHoldsTheSearchText) {
  Doc &d = opendoc("/r", "ab ba aab");
  swap("ab", "xabab");
  EXPECT_EQ(textof(d), "xabab ba axabab");
  press("\x1f");
  EXPECT_EQ(textof(d), "ab ba aab");
  swap("b", "a");  // the text held the replacement before: only the places recorded go back
  EXPECT_EQ(textof(d), "aa aa aaa");
  press("\x1f");
  EXPECT_EQ(textof(d), "ab ba aab");
}

TEST_F(Swap, TheSelectionAndAnEmptySearchText) {
  Doc &d = opendoc("/t", "aaaa");
  Vterm term(20, 5);
  d.point = 3;
  mark = 1;
  swap("a", "b");  // the selection 1..3 only
  EXPECT_EQ(textof(d), "abba");
  EXPECT_EQ(mark, -1);
  d.point = 2;
  typetext("\x1bx\t\x1bgq\t");  // Tab on an empty search text keeps asking for it
  term.feed(testscreen);
  EXPECT_EQ(term.row(0).substr(0, 4), "With");
  EXPECT_EQ(failtext, "\x11");  // typed in alphabet 2
  press("\x07");
  logswap(1, 4, "", "-");  // the empty text occurs between every two bytes of the range
  EXPECT_EQ(textof(d), "ab-b-a");
  EXPECT_EQ(d.point, 4);  // behind the start: it moves with the change of length
  press("\x1f");
  EXPECT_EQ(textof(d), "abba");
  EXPECT_EQ(d.point, 2);
}

// A swap that would put in more than the editor may hold rings and waits, with both texts kept,
// for a shorter replacement.
TEST_F(Swap, OnePastWhatTheEditorMayHoldRingsAndWaits) {
  Doc &d = opendoc("/m", std::string(60, 'a'));
  uint64_t limit = memorylimit;
  memorylimit = 400;  // at most 100 bytes put in
  d.point = 0;
  typetext("\x1bxa\taaa");
  EXPECT_TRUE(rings("\t"));  // 60 places, two more bytes each
  EXPECT_EQ(keys, "\x1bx");
  EXPECT_EQ(textof(d), std::string(60, 'a'));
  typetext("\x7f\t");
  EXPECT_EQ(textof(d), std::string(120, 'a'));
  memorylimit = limit;
}
