// Documents against what they mean: random edits checked against a plain model of the current
// text, the saved text and the point, and the window against what makes it canonical.
#include <gtest/gtest.h>

#include <random>

#include "core/file.h"
#include "edit/doc.h"
#include "tests/edit/edittest.h"

namespace {

struct Meaning {
  std::string text, saved;
  int64_t point = 0;
};

void agree(const Doc &d, const Meaning &m, bool settled, const std::string &step) {
  ASSERT_EQ(textof(d), m.text) << step;
  std::string was = wasof(d), now = nowof(d);
  ASSERT_EQ(headof(d) + was + tailof(d), m.saved) << step;
  ASSERT_EQ(headof(d) + now + tailof(d), m.text) << step;
  ASSERT_EQ(d.point, m.point) << step;
  ASSERT_EQ(isclean(d), m.text == m.saved) << step;
  int64_t len = lenof(d);
  ASSERT_EQ(len, (int64_t)m.text.size()) << step;
  for (int64_t i = -1; i <= len; i++) ASSERT_EQ(charat(d, i), i < 0 || i >= len ? 10 : (unsigned char)m.text[(size_t)i]) << step;
  int64_t from = len ? (int64_t)(m.text.size() * 7 % (size_t)len) - 1 : -1;  // in head, window or tail
  ASSERT_EQ(textrange(d, from, len + 2), ("\n" + m.text + "\n\n").substr((size_t)(from + 1))) << step;
  // The byte searches over head, window and tail, both ways, from every start to the end and
  // from the start to every end, and the skip over two lines.
  for (int64_t i = 0; i <= len; i++) {
    size_t fwd = m.text.find('\n', (size_t)i), back = i ? m.text.rfind('\n', (size_t)i - 1) : std::string::npos;
    ASSERT_EQ(findbyte(d, i, len, 10), fwd == std::string::npos ? len : (int64_t)fwd) << step;
    ASSERT_EQ(findbyteback(d, 0, i, 10), back == std::string::npos ? -1 : (int64_t)back) << step;
    ASSERT_EQ(findbyteback(d, i, len, 'a'), std::max<int64_t>(i - 1, (int64_t)m.text.rfind('a'))) << step;
    size_t two = fwd == std::string::npos ? fwd : m.text.find('\n', fwd + 1);
    ASSERT_EQ(skiplines(d, i, 2), two == std::string::npos ? len : (int64_t)two + 1) << step;
  }
  if (!settled) return;
  // The settled window is the smallest: was and now differ in their first and in their last
  // bytes; an insertion or a deletion stands as far right as it can; no change leaves no window.
  const std::string &w = was.empty() ? now : was, tail = tailof(d);
  if (was == now) {
    ASSERT_TRUE(w.empty() && tail.empty()) << step;
  } else if (was.empty() || now.empty()) {
    ASSERT_TRUE(tail.empty() || tail[0] != w[0]) << step;
  } else {
    ASSERT_NE(was[0], now[0]) << step;
    ASSERT_NE(was.back(), now.back()) << step;
  }
}

using Docs = EditorTest<20, 6>;

}  // namespace

// Few distinct bytes, so that edits often undo each other and windows slide over repetitions.
TEST_F(Docs, RandomEditsKeepTheirMeaningAndASettledWindow) {
  std::mt19937 rng(7);
  auto some = [&](int most) {
    std::string s;
    for (int i = (int)(rng() % (unsigned)most); i > 0; i--) s += "ab\n"[rng() % 3];
    return s;
  };
  for (int round = 0; round < 300; round++) {
    Meaning m;
    m.text = m.saved = some(round % 8 ? 12 : 400);  // long texts: windows between distant edits
    Doc d = newdoc(m.text);
    for (int step = 0; step < 40; step++) {
      int64_t len = (int64_t)m.text.size();
      m.point = d.point = (int64_t)(rng() % (len + 1));
      std::string s = some(4), what;
      unsigned char b = "ab\n"[rng() % 3];
      bool settled = true;
      switch (rng() % 7) {
        case 0: what = "insert", insertbyte(d, b), m.text.insert((size_t)m.point++, 1, (char)b); break;
        case 1:
          what = "overtype", usedputo(d, b);
          if (m.point < len) m.text[(size_t)m.point] = (char)b;
          else m.text += (char)b;
          m.point++;
          break;
        case 2:
          d.over = rng() % 2, what = d.over ? "back over" : "back", settled = false;
          dropback(d, false);
          if (m.point > 0 && !d.over) m.text.erase((size_t)m.point - 1, 1);
          if (m.point > 0) m.point--;
          d.over = 0;
          break;
        case 3: {
          int64_t n = (int64_t)(rng() % (len - m.point + 1));
          what = "dropspan", dropspan(d, n), m.text.erase((size_t)m.point, (size_t)n);
          break;
        }
        case 4: what = "addspan", addspan(d, s), m.text.insert((size_t)m.point, s), m.point += (int64_t)s.size(); break;
        case 5:
          what = "widen", settled = false;
          if (m.point < len && rng() % 2) {
            widenover(d);
            ASSERT_LT(d.point, headlen(d) + nowlen(d));
          } else {
            widen(d);
            ASSERT_LE(d.point, headlen(d) + nowlen(d));
          }
          ASSERT_LE(headlen(d), d.point);
          break;
        case 6:
          what = "setnow", setnow(d, s + m.text), settle(d), m.text = s + m.text;
          break;
      }
      agree(d, m, settled, what + " in round " + std::to_string(round) + ", step " + std::to_string(step));
      if (HasFatalFailure()) return;
    }
  }
}

// At the end of the text overtyping appends through the placeholder that widenover puts there.
TEST_F(Docs, OvertypeAtTheEndAndSpansPastIt) {
  Doc d = newdoc("ab");
  d.point = 2;
  usedputo(d, 'c');
  EXPECT_EQ(textof(d), "abc");
  EXPECT_NE(testlog.find("usedputo preoish(z=0,a=0,b=2,c=0,d=1,e=2,f=-1)\n"), std::string::npos) << testlog;
  d.point = 2;
  EXPECT_DEATH(dropspan(d, 2), "ASSERTION FAILED:v:");
}

// Edits far apart leave several changes in one window with long saved stretches between them.
// Typing, overtyping and deleting over the seams between changes and saved bytes, a kill, a save,
// and undoing everything keep the meaning, the settled window and the text that goes to the file.
TEST_F(Docs, EditsFarApartInOneWindowUndoAndSave) {
  std::string path = scratchdir() + "/far", text;
  for (int i = 0; i < 3000; i++) text += "abcdefghij\n"[i % 11];
  writefile(path, text);
  Doc &d = opendoc(path, text);
  Meaning m{text, text, 0};
  auto typed = [&](int64_t p, const std::string &k, const std::string &what) {
    moveto(d, p);
    typetext(k);
    m.point = d.point;
    agree(d, m, true, what);
  };
  m.text.insert(5, "xy"), typed(5, "xy", "typed at the start");
  m.text.insert(2900, "z"), typed(2900, "z", "typed near the end");
  m.text.erase(1498, 2), typed(1500, "\x7f\x7f", "deleted in the middle");
  m.text.replace(1497, 3, "QRS"), typed(1497, "\x18QRS\x18", "overtyped over the middle seam");
  m.text.erase(2900, 2), typed(2901, "\x7f\x1c", "deleted both ways at the end");
  m.text.erase(3, m.text.find('\n', 3) - 3), typed(3, "\x0b", "killed at the start");
  ASSERT_FALSE(HasFatalFailure());
  press("\x17");
  EXPECT_EQ(fileread(path), m.text);
  m.saved = m.text;
  m.text.insert(0, "s"), typed(0, "s", "typed at the start after the save");
  m.text += "e", typed((int64_t)m.text.size() - 1, "e", "typed at the end after the save");
  while (canundo()) press("\x1f");
  m.text = text, m.point = d.point;
  agree(d, m, true, "all undone");
}

// Skipping lines counts whole blocks of text at once: over lines of every short length, with
// changes that cut the text into pieces, each count must stop on the newline a search finds.
TEST_F(Docs, SkippingManyLinesOverPiecesAndBlocks) {
  std::mt19937 rng(3);
  std::string text;
  while (text.size() < 40000) text += std::string(rng() % 30, 'a') + "\n";
  Doc d = newdoc(text);
  for (int64_t at : {9000, 17, 30000}) d.point = at, insertbyte(d, '\n'), text.insert((size_t)at, "\n");
  // Every count from a few starts, so that counts ending on each block's last newline come up.
  for (int64_t from : {0, 4095, 4097, 12345}) {
    int64_t want = from;
    for (int64_t n = 0; want < (int64_t)text.size(); n++) {
      ASSERT_EQ(skiplines(d, from, n), want) << from << " " << n;
      want = (int64_t)text.find('\n', (size_t)want) + 1;
    }
  }
}
