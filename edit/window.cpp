// Documents: settling and widening the window of difference, and the edits, which all go through it.
// An edit touches the change where it lands; the saved bytes between changes are never copied.
#include <algorithm>
#include <cinttypes>
#include <cstdio>

#include "core/base.h"
#include "edit/doc.h"
#include "edit/view.h"

// Where the window ends in the saved text: tail begins there.
static int64_t wasend(const Doc &d) { return d.window.back().at + d.window.back().len; }

// A clean document's window: one empty change where head ends.
static bool bare(const Doc &d) {
  return d.window.size() == 1 && d.window[0].len == 0 && d.window[0].now.empty();
}

// Change i takes in the saved bytes after it and change i + 1.
static void join(Doc &d, size_t i) {
  Change &a = d.window[i], &b = d.window[i + 1];
  int64_t end = a.at + a.len;
  a.now.append(d.saved, (size_t)end, (size_t)(b.at - end));
  a.now += b.now;
  a.len = b.at + b.len - a.at;
  d.window.erase(d.window.begin() + (long)i + 1);
}

// Moves r bytes that was and now both begin with into head. They are cut from the first change;
// where one side of it runs out first, what is left of the change is a pure insertion or
// deletion, and it slides over the saved bytes behind it, which repeat it, until it meets the
// next change and joins it.
static void cutfront(Doc &d, int64_t r) {
  while (r > 0) {
    Change &c = d.window.front();
    int64_t q = std::min({r, c.len, (int64_t)c.now.size()});
    c.at += q, c.len -= q, r -= q;
    c.now.erase(0, (size_t)q);
    if (r == 0) return;
    must(d.window.size() > 1);
    int64_t k = std::min(r, d.window[1].at - c.at - c.len);
    if (!c.now.empty()) std::rotate(c.now.begin(), c.now.begin() + (long)(k % (int64_t)c.now.size()), c.now.end());
    c.at += k, r -= k;
    if (c.at + c.len == d.window[1].at) join(d, 0);
  }
}

// The same at the window's end: r bytes that both sides end with go to tail, and a pure
// insertion or deletion slides back over the saved bytes before it.
static void cutback(Doc &d, int64_t r) {
  while (r > 0) {
    Change &c = d.window.back();
    int64_t q = std::min({r, c.len, (int64_t)c.now.size()});
    c.len -= q, r -= q;
    c.now.erase(c.now.size() - (size_t)q);
    if (r == 0) return;
    size_t n = d.window.size();
    must(n > 1);
    int64_t k = std::min(r, c.at - d.window[n - 2].at - d.window[n - 2].len);
    if (!c.now.empty()) std::rotate(c.now.begin(), c.now.end() - (long)(k % (int64_t)c.now.size()), c.now.end());
    c.at -= k, r -= k;
    if (d.window[n - 2].at + d.window[n - 2].len == c.at) join(d, n - 2);
  }
}

// A window of one pure insertion or deletion slides right as far as the tail repeats it. The
// deleted bytes are saved bytes, so moving their place is all that a deletion needs.
static void slide(Doc &d) {
  Change &c = d.window[0];
  const std::string &s = d.saved;
  const char *w = c.len ? s.data() + c.at : c.now.data();
  int64_t n = c.len ? c.len : (int64_t)c.now.size(), e = c.at + c.len, k = 0;
  while (e + k < (int64_t)s.size() && s[(size_t)(e + k)] == w[k % n]) k++;
  if (!c.len) std::rotate(c.now.begin(), c.now.begin() + (long)(k % n), c.now.end());
  c.at += k;
}

// Changes left empty inside the window by edits that undid each other are dropped, and changes
// with no saved byte between them are joined: fewer changes make every walk over the window
// shorter, and saved bytes between any two keep both sides of a wider window from being empty.
static void tidy(Doc &d) {
  for (size_t i = 0; i + 1 < d.window.size();) {
    Change &c = d.window[i];
    if (c.at + c.len == d.window[i + 1].at) join(d, i);
    else if (i > 0 && c.len == 0 && c.now.empty()) d.window.erase(d.window.begin() + (long)i);
    else i++;
  }
}

void settle(Doc &d) {
  tidy(d);
  int64_t wl = waslen(d), nl = nowlen(d), m = std::min(wl, nl), p = samefrom(d, 0, m);
  if (wl == nl && p == m) {
    d.window.assign(1, Change{(int64_t)d.saved.size(), 0, ""});
    return;
  }
  // The common end is measured on the window as it stands, before its start is cut.
  int64_t s = sameend(d, m - p);
  cutfront(d, p);
  cutback(d, s);
  if (waslen(d) == 0 || nowlen(d) == 0) {
    must(d.window.size() == 1);
    slide(d);
  }
}

void widen(Doc &d) {
  settle(d);
  int64_t h = headlen(d), end = h + nowlen(d);
  if (bare(d)) {
    d.window[0].at = d.point;
  } else if (d.point < h) {
    d.window.insert(d.window.begin(), Change{d.point, 0, ""});
  } else if (d.point > end) {
    d.window.push_back(Change{wasend(d) + d.point - end, 0, ""});
  }
}

// The saved byte at saved offset at, in a change of its own.
static Change one(const Doc &d, int64_t at) { return Change{at, 1, d.saved.substr((size_t)at, 1)}; }

void widenover(Doc &d) {
  settle(d);
  int64_t h = headlen(d), o = d.point - h - nowlen(d), t = taillen(d);
  if (bare(d)) {
    d.window[0] = d.point == h ? Change{h, 0, "!"} : one(d, d.point);
  } else if (d.point < h) {
    d.window.insert(d.window.begin(), one(d, d.point));
    if (d.point + 1 == h) join(d, 0);
  } else if (o >= 0) {
    must(o <= t);
    if (o == t && o == 0) d.window.back().now += "!";
    else d.window.push_back(o == t ? Change{(int64_t)d.saved.size(), 0, "!"} : one(d, wasend(d) + o));
    if (o == 0 && o < t) join(d, d.window.size() - 2);
  }
}

// The change into which a byte goes at offset pos of the window, with the offset in the text where
// its bytes begin: the change that holds pos or ends at it, or a new empty one where pos falls
// among saved bytes between two changes.
static size_t changeat(Doc &d, int64_t pos, int64_t &start) {
  int64_t c = headlen(d), s = c;
  for (size_t i = 0; i < d.window.size(); i++) {
    Change &h = d.window[i];
    if (pos < c + h.at - s) {
      d.window.insert(d.window.begin() + (long)i, Change{s + pos - c, 0, ""});
      start = pos;
      return i;
    }
    c += h.at - s;
    if (pos <= c + (int64_t)h.now.size()) {
      start = c;
      return i;
    }
    c += (int64_t)h.now.size(), s = h.at + h.len;
  }
  must(false);
  return 0;
}

// The change that holds the byte at pos, inside the window, with the byte's place o in it: where
// the byte is a saved one, the change before it takes it in, and joins the next change when that
// leaves no saved byte between them.
static Change &holding(Doc &d, int64_t pos, int64_t &o) {
  int64_t start = 0;
  size_t i = changeat(d, pos, start);
  Change &c = d.window[i];
  o = pos - start;
  if (o == (int64_t)c.now.size()) {
    must(i + 1 < d.window.size());
    c.now += d.saved[(size_t)(c.at + c.len++)];
    if (c.at + c.len == d.window[i + 1].at) join(d, i);
  }
  return d.window[i];
}

void insertbyte(Doc &d, unsigned char b) {
  d.edge = -1;
  widen(d);
  int64_t start = 0;
  Change &c = d.window[changeat(d, d.point, start)];
  c.now.insert(c.now.begin() + (d.point - start), (char)b);
  d.point++;
  settle(d);
}

static void logdoc(const Doc &d, const char *stage) {
  char line[256];
  snprintf(line, sizeof line,
           "usedputo %s(z=%" PRId64 ",a=%" PRId64 ",b=%" PRId64 ",c=%" PRId64 ",d=%" PRId64 ",e=%" PRId64
           ",f=%" PRId64 ")\n",
           stage, d.top, taillen(d), headlen(d), waslen(d), nowlen(d), d.point, d.edge);
  tolmlog(line);
}

void usedputo(Doc &d, unsigned char b) {
  d.edge = -1;
  logdoc(d, "initish");
  widenover(d);
  logdoc(d, "preoish");
  must(d.point - headlen(d) < nowlen(d));
  int64_t o = 0;
  holding(d, d.point, o).now[(size_t)o] = (char)b;
  d.point++;
  logdoc(d, "doneish");
  settle(d);
}

void usedput(Doc &d, unsigned char b) {
  if (d.over == 1) usedputo(d, b);
  else insertbyte(d, b);
}

// The only edit that scrolls: Backspace keeps the point on the screen as part of its meaning.
void dropback(Doc &d, bool one) {
  if (d.over == 1) {
    if (d.point == 0) return;
    d.point--;
    if (d.point < d.top) recentre(d, one);
    else if (charat(d, d.point) == 10) keepvisible(d, one);
    return;
  }
  if (d.point == 0) return;
  d.edge = -1;
  d.point--;
  widenover(d);
  int64_t o = 0;
  holding(d, d.point, o).now.erase((size_t)o, 1);
  keepvisible(d, one);
}

// Puts s for the n bytes at point. The window first grows to take in the span, as if both whole
// texts stood in it and settle then gave back to head and tail what they share at their ends;
// the changes that the span touches become one, and s goes into it.
static void replace(Doc &d, int64_t n, const std::string &s) {
  int64_t p = d.point, h = headlen(d), end = h + nowlen(d);
  must(n >= 0 && p + n <= lenof(d));
  if (p < h) d.window.insert(d.window.begin(), Change{p, 0, ""});
  if (p + n > end) d.window.push_back(Change{wasend(d) + p + n - end, 0, ""});
  int64_t start = 0, ignored = 0;
  size_t i = changeat(d, p, start), j = changeat(d, p + n, ignored);
  for (; j > i; j--) join(d, i);
  d.window[i].now.replace((size_t)(p - start), (size_t)n, s);
  settle(d);
}

void dropspan(Doc &d, int64_t n) {
  d.edge = -1;
  replace(d, n, "");
}

void addspan(Doc &d, const std::string &s) {
  d.edge = -1;
  replace(d, 0, s);
  d.point += (int64_t)s.size();
}

void flatten(Doc &d) { setnow(d, textof(d)); }

void setnow(Doc &d, const std::string &s) {
  d.window.assign(1, Change{0, (int64_t)d.saved.size(), s});
}

void setsaved(Doc &d) {
  d.saved = textof(d);
  d.window.assign(1, Change{(int64_t)d.saved.size(), 0, ""});
}
