// Documents: the window of difference against a plain model that keeps every field as a string
// and copies whole texts, as the operations are defined; then the rows of a narrow screen and seek.
#include <gtest/gtest.h>

#include <random>

#include "edit/doc.h"
#include "edit/find.h"
#include "tests/edit/edittest.h"

namespace {

// The plain model: head + now + tail is the text, head + was + tail the saved text.
struct Model {
  std::string head, was, now, tail;
  int64_t point = 0;
  uint8_t over = 0;
  std::string text() const { return head + now + tail; }
};

void msettle(Model &m) {
  if (m.was == m.now) {
    m.head += m.was + m.tail;
    m.tail = m.was = m.now = "";
    return;
  }
  size_t n = std::min(m.was.size(), m.now.size()), p = 0, s = 0;
  while (p < n && m.was[p] == m.now[p]) p++;
  while (s < n - p && m.was[m.was.size() - 1 - s] == m.now[m.now.size() - 1 - s]) s++;
  m.tail = m.was.substr(m.was.size() - s) + m.tail;
  m.head += m.was.substr(0, p);
  m.was = m.was.substr(p, m.was.size() - p - s);
  m.now = m.now.substr(p, m.now.size() - p - s);
  if (!m.was.empty() && !m.now.empty()) return;
  std::string &w = m.was.empty() ? m.now : m.was;
  size_t k = 0;
  while (k < m.tail.size() && m.tail[k] == w[k % w.size()]) k++;
  m.head += m.tail.substr(0, k);
  m.tail = m.tail.substr(k);
  std::rotate(w.begin(), w.begin() + (long)(k % w.size()), w.end());
}

void mwidenover(Model &m) {
  msettle(m);
  int64_t h = (int64_t)m.head.size();
  if (m.was == m.now) {
    if (m.point == h) {
      m.now = "!";
    } else {
      m.tail = m.head.substr((size_t)m.point + 1);
      m.was = m.now = m.head.substr((size_t)m.point, 1);
      m.head = m.head.substr(0, (size_t)m.point);
    }
  } else if (m.point < h) {
    std::string s = m.head.substr((size_t)m.point);
    m.head = m.head.substr(0, (size_t)m.point);
    m.was = s + m.was;
    m.now = s + m.now;
  } else {
    int64_t o = m.point - h - (int64_t)m.now.size();
    if (o < 0) return;
    if (o == (int64_t)m.tail.size()) {
      m.was += m.tail;
      m.now += m.tail + "!";
      m.tail = "";
    } else {
      m.was += m.tail.substr(0, (size_t)o + 1);
      m.now += m.tail.substr(0, (size_t)o + 1);
      m.tail = m.tail.substr((size_t)o + 1);
    }
  }
}

void mwiden(Model &m) {
  msettle(m);
  int64_t h = (int64_t)m.head.size();
  if (m.was == m.now) {
    m.tail = m.head.substr((size_t)m.point);
    m.head = m.head.substr(0, (size_t)m.point);
  } else if (m.point < h) {
    std::string s = m.head.substr((size_t)m.point);
    m.head = m.head.substr(0, (size_t)m.point);
    m.was = s + m.was;
    m.now = s + m.now;
  } else if (m.point > h + (int64_t)m.now.size()) {
    size_t k = (size_t)(m.point - h - (int64_t)m.now.size());
    m.was += m.tail.substr(0, k);
    m.now += m.tail.substr(0, k);
    m.tail = m.tail.substr(k);
  }
}

void minsert(Model &m, char b) {
  mwiden(m);
  m.now.insert(m.now.begin() + (m.point - (int64_t)m.head.size()), b);
  m.point++;
  msettle(m);
}

void moverput(Model &m, char b) {
  mwidenover(m);
  m.now[(size_t)(m.point - (int64_t)m.head.size())] = b;
  m.point++;
  msettle(m);
}

void mback(Model &m) {
  if (m.point == 0) return;
  if (m.over) {
    m.point--;
    return;
  }
  m.point--;
  mwidenover(m);
  m.now.erase((size_t)(m.point - (int64_t)m.head.size()), 1);
}

void mreplace(Model &m, int64_t n, const std::string &s) {
  std::string t = m.text();
  m.was = m.head + m.was + m.tail;
  m.now = t.substr(0, (size_t)m.point) + s + t.substr((size_t)(m.point + n));
  m.head = m.tail = "";
  msettle(m);
}

void same(const Model &m, const Doc &d, const std::string &step) {
  ASSERT_EQ(headof(d), m.head) << step;
  ASSERT_EQ(d.was, m.was) << step;
  ASSERT_EQ(d.now, m.now) << step;
  ASSERT_EQ(tailof(d), m.tail) << step;
  ASSERT_EQ(d.point, m.point) << step;
  ASSERT_EQ(textof(d), m.text()) << step;
  ASSERT_EQ(lenof(d), (int64_t)m.text().size()) << step;
  for (int64_t i = -1; i <= lenof(d); i++) ASSERT_EQ(charat(d, i), i < 0 || i >= lenof(d) ? 10 : (unsigned char)m.text()[i]);
}

using Docs = EditorTest<20, 6>;

}  // namespace

TEST_F(Docs, OvertypeAtTheEndAppendsThroughThePlaceholder) {
  Doc d = newdoc("ab");
  d.point = 2;
  usedputo(d, 'c');
  EXPECT_EQ(textof(d), "abc");
  EXPECT_NE(testlog.find("usedputo preoish(z=0,a=0,b=2,c=0,d=1,e=2,f=-1)\n"), std::string::npos) << testlog;
}

TEST_F(Docs, RandomEditsAgreeWithThePlainModel) {
  std::mt19937 rng(7);
  for (int round = 0; round < 300; round++) {
    std::string start;
    for (int i = rng() % 12; i > 0; i--) start += "ab\n"[rng() % 3];
    Model m;
    m.head = start;
    Doc d = newdoc(start);
    for (int step = 0; step < 40; step++) {
      int64_t len = (int64_t)m.text().size();
      m.point = d.point = (int64_t)(rng() % (len + 1));
      char b = "ab\n"[rng() % 3];
      std::string what;
      switch (rng() % 6) {
        case 0: minsert(m, b), insertbyte(d, (unsigned char)b), what = "insert"; break;
        case 1: moverput(m, b), usedputo(d, (unsigned char)b), what = "overtype"; break;
        case 2: m.over = d.over = 0, mback(m), dropback(d, false), what = "back"; break;
        case 3: {
          int64_t n = (int64_t)(rng() % (len - m.point + 1));
          mreplace(m, n, ""), dropspan(d, n), what = "dropspan";
          break;
        }
        case 4: {
          std::string s;
          for (int i = rng() % 4; i > 0; i--) s += "ab\n"[rng() % 3];
          mreplace(m, 0, s), m.point += (int64_t)s.size(), addspan(d, s), what = "addspan";
          break;
        }
        case 5: mwidenover(m), widenover(d), what = "widenover"; break;
      }
      same(m, d, what + " in round " + std::to_string(round));
      if (HasFatalFailure()) return;
      EXPECT_EQ(isclean(d), m.was == m.now);
    }
  }
}

TEST_F(Docs, SpansBeyondTheTextStop) {
  Doc d = newdoc("abc");
  d.point = 2;
  EXPECT_DEATH(dropspan(d, 2), "ASSERTION FAILED:v:");
}

TEST_F(Docs, RowsOfANarrowScreen) {
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
  EXPECT_EQ(d.edge, 14);  // rows: abcdefg, h and newline, xy, then two rows past the end
}

TEST_F(Docs, SeekWrapsAndLandsBehindTheMatch) {
  Doc d = newdoc("ab ab ab");
  d.point = 2;
  seek(d, "ab", true);
  EXPECT_EQ(d.point, 5);
  seek(d, "ab", true);  // the last match ends at the end, which counts as offset 0: none there
  EXPECT_EQ(d.point, 2);
  seek(d, "ab", false);
  EXPECT_EQ(d.point, 5);
  seek(d, "U", true);  // no capital anywhere: the point stays
  EXPECT_EQ(d.point, 5);
  seek(d, "R", true);  // a blank shows as "_", so it is of the small letters' class
  EXPECT_EQ(d.point, 6);
  seek(d, "O", true);  // no quote-like byte anywhere
  EXPECT_EQ(d.point, 6);
}

TEST_F(Docs, SeekFindsNothingEndingAtTheStart) {
  Doc d = newdoc("xab");
  d.point = 1;
  seek(d, "a", true);
  EXPECT_EQ(d.point, 2);
  seek(d, "b", true);  // the end of the text is offset 0 again, and nothing ends before it
  EXPECT_EQ(d.point, 2);
}
