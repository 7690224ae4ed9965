// Documents: reading, editing and settling the window of difference, the document model alone.
// Head and tail live in one gap buffer; only the window and what an edit touches are copied.
#include "edit/doc.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "core/base.h"
#include "edit/view.h"

// The common text as one string with a gap.

static size_t csize(const Common &c) { return c.buf.size() - (c.ge - c.gs); }

static unsigned char cat(const Common &c, size_t i) {
  return (unsigned char)c.buf[i < c.gs ? i : i + (c.ge - c.gs)];
}

// Appends n common bytes from pos on to out, a run each side of the gap.
static void cappend(const Common &c, size_t pos, size_t n, std::string &out) {
  size_t end = pos + n;
  if (pos < c.gs) out.append(c.buf, pos, std::min(end, c.gs) - pos);
  if (end > c.gs) {
    size_t from = std::max(pos, c.gs);
    out.append(c.buf, from + (c.ge - c.gs), end - from);
  }
}

static std::string csub(const Common &c, size_t pos, size_t n) {
  std::string s;
  s.reserve(n);
  cappend(c, pos, n, s);
  return s;
}

static void movegap(Common &c, size_t pos) {
  if (pos < c.gs) {
    size_t n = c.gs - pos;
    std::copy_backward(c.buf.begin() + pos, c.buf.begin() + c.gs, c.buf.begin() + c.ge);
    c.gs -= n;
    c.ge -= n;
  } else if (pos > c.gs) {
    size_t n = pos - c.gs;
    std::copy(c.buf.begin() + c.ge, c.buf.begin() + c.ge + n, c.buf.begin() + c.gs);
    c.gs += n;
    c.ge += n;
  }
}

static void cinsert(Common &c, size_t pos, std::string_view s) {
  if (s.empty()) return;
  movegap(c, pos);
  if (c.ge - c.gs < s.size()) {
    size_t size = csize(c), room = s.size() + size / 2 + 64;
    std::string nb(size + room, '\0');
    std::copy(c.buf.begin(), c.buf.begin() + c.gs, nb.begin());
    std::copy(c.buf.begin() + c.ge, c.buf.end(), nb.begin() + c.gs + room);
    c.buf.swap(nb);
    c.ge = c.gs + room;
  }
  std::copy(s.begin(), s.end(), c.buf.begin() + c.gs);
  c.gs += s.size();
}

static void cerase(Common &c, size_t pos, size_t n) {
  movegap(c, pos);
  c.ge += n;
}

// Reading.

Doc newdoc(const std::string &text) {
  Doc d;
  d.common.buf = text;
  d.common.gs = d.common.ge = d.common.split = text.size();
  return d;
}

int64_t headlen(const Doc &d) { return (int64_t)d.common.split; }
int64_t taillen(const Doc &d) { return (int64_t)(csize(d.common) - d.common.split); }
std::string headof(const Doc &d) { return csub(d.common, 0, d.common.split); }
std::string tailof(const Doc &d) { return csub(d.common, d.common.split, (size_t)taillen(d)); }
std::string textof(const Doc &d) { return headof(d) + d.now + tailof(d); }
int64_t lenof(const Doc &d) { return (int64_t)csize(d.common) + (int64_t)d.now.size(); }

// Outside the text the answer is a newline, as if one stood before and after it.
unsigned char charat(const Doc &d, int64_t i) {
  int64_t h = headlen(d), n = (int64_t)d.now.size();
  if (i < 0) return 10;
  if (i < h) return cat(d.common, (size_t)i);
  if (i < h + n) return (unsigned char)d.now[(size_t)(i - h)];
  if (i < lenof(d)) return cat(d.common, (size_t)(i - n));
  return 10;
}

// Head and tail are each one run, or two where the gap cuts them; the window is one.
Runs runsof(const Doc &d, int64_t from, int64_t to) {
  const Common &c = d.common;
  int64_t h = headlen(d), w = (int64_t)d.now.size(), gs = (int64_t)c.gs, skip = (int64_t)(c.ge - c.gs);
  from = std::max<int64_t>(from, 0), to = std::min(to, lenof(d));
  Runs r;
  auto add = [&](int64_t lo, int64_t hi, const char *base) {  // base stands for offset lo
    int64_t a = std::max(lo, from), b = std::min(hi, to);
    if (a < b) r.run[r.count++] = Run{a, base + (a - lo), b - a};
  };
  // Common byte i is at buf[i] before the gap and at buf[i + skip] behind it; in the text, tail
  // byte i stands at offset i + w.
  auto common = [&](int64_t lo, int64_t hi, int64_t shift) {
    int64_t cut = std::clamp(gs, lo, hi);
    add(lo + shift, cut + shift, c.buf.data() + lo);
    add(cut + shift, hi + shift, c.buf.data() + cut + skip);
  };
  common(0, h, 0);
  add(h, h + w, d.now.data());
  common(h, (int64_t)csize(c), w);
  return r;
}

int64_t findbyte(const Doc &d, int64_t from, int64_t to, unsigned char b) {
  Runs r = runsof(d, from, to);
  for (int i = 0; i < r.count; i++)
    if (const void *f = memchr(r.run[i].p, b, (size_t)r.run[i].n))
      return r.run[i].at + ((const char *)f - r.run[i].p);
  return std::max(from, to);
}

int64_t findbyteback(const Doc &d, int64_t from, int64_t to, unsigned char b) {
  Runs r = runsof(d, from, to);
  for (int i = r.count - 1; i >= 0; i--)
    if (const void *f = memrchr(r.run[i].p, b, (size_t)r.run[i].n))
      return r.run[i].at + ((const char *)f - r.run[i].p);
  return from - 1;
}

int64_t skiplines(const Doc &d, int64_t from, int64_t n) {
  if (n <= 0) return from;
  Runs r = runsof(d, from, lenof(d));
  for (int i = 0; i < r.count; i++) {
    const char *p = r.run[i].p, *end = p + r.run[i].n;
    while ((p = (const char *)memchr(p, '\n', (size_t)(end - p)))) {
      p++;
      if (--n == 0) return r.run[i].at + (p - r.run[i].p);
    }
  }
  return lenof(d);
}

// Whatever lies outside the text is newlines, as charat gives it.
void copytext(const Doc &d, int64_t from, int64_t n, char *out) {
  int64_t lo = std::clamp<int64_t>(0, from, from + n), hi = std::clamp(lenof(d), lo, from + n);
  std::fill(out, out + (lo - from), '\n');
  std::fill(out + (hi - from), out + n, '\n');
  Runs r = runsof(d, from, from + n);
  for (int i = 0; i < r.count; i++) std::copy_n(r.run[i].p, r.run[i].n, out + (r.run[i].at - from));
}

std::string textrange(const Doc &d, int64_t from, int64_t to) {
  std::string s((size_t)std::max<int64_t>(to - from, 0), '\0');
  copytext(d, from, (int64_t)s.size(), s.data());
  return s;
}

bool isclean(const Doc &d) { return d.was == d.now; }
bool isdirty(const Doc &d) { return d.was != d.now; }

bool samedoc(const Doc &a, const Doc &b) {
  return a.top == b.top && a.point == b.point && a.edge == b.edge && a.over == b.over &&
         a.was == b.was && a.now == b.now && a.common.split == b.common.split &&
         headof(a) == headof(b) && tailof(a) == tailof(b);
}

bool endswith(const Doc &d, const std::string &s) {
  int64_t n = (int64_t)s.size();
  if (d.point < n) return false;
  for (int64_t i = 0; i < n; i++)
    if (charat(d, d.point - n + i) != (unsigned char)s[(size_t)i]) return false;
  return true;
}

std::string restofline(const Doc &d) {
  int64_t len = lenof(d), j = d.point;
  if (j >= len) return "";
  if (charat(d, j) == 10) return "\n";
  return textrange(d, d.point, findbyte(d, j, len, 10));
}

// Editing.

// The length of the common start of a and b, at most n; eight bytes at a time, for the window
// between two distant edits is as long as the text between them.
static size_t sameprefix(const char *a, const char *b, size_t n) {
  size_t i = 0;
  for (uint64_t x, y; i + 8 <= n; i += 8)
    if (memcpy(&x, a + i, 8), memcpy(&y, b + i, 8), x != y) break;
  while (i < n && a[i] == b[i]) i++;
  return i;
}

// The length of the common end of the bytes before a and before b, at most n.
static size_t samesuffix(const char *a, const char *b, size_t n) {
  size_t i = 0;
  for (uint64_t x, y; i + 8 <= n; i += 8)
    if (memcpy(&x, a - i - 8, 8), memcpy(&y, b - i - 8, 8), x != y) break;
  while (i < n && *(a - i - 1) == *(b - i - 1)) i++;
  return i;
}

void settle(Doc &d) {
  Common &c = d.common;
  if (d.was == d.now) {
    cinsert(c, c.split, d.was);
    c.split = csize(c);
    d.was.clear();
    d.now.clear();
    return;
  }
  size_t m = std::min(d.was.size(), d.now.size());
  size_t p = sameprefix(d.was.data(), d.now.data(), m);
  size_t s = samesuffix(d.was.data() + d.was.size(), d.now.data() + d.now.size(), m - p);
  cinsert(c, c.split, std::string_view(d.was).substr(d.was.size() - s));
  cinsert(c, c.split, std::string_view(d.was).substr(0, p));
  c.split += p;
  // Cut in place, the end first: after an edit at one end of a wide window only that end moves,
  // and the window is not copied.
  for (std::string *w : {&d.was, &d.now}) w->erase(w->size() - s).erase(0, p);
  if (!d.was.empty() && !d.now.empty()) return;
  std::string &w = d.was.empty() ? d.now : d.was;
  size_t k = 0, tail = csize(c) - c.split;
  while (k < tail && cat(c, c.split + k) == (unsigned char)w[k % w.size()]) k++;
  c.split += k;
  std::rotate(w.begin(), w.begin() + (long)(k % w.size()), w.end());
}

// Moves head bytes from point on into the front of both sides of the window.
static void takehead(Doc &d) {
  Common &c = d.common;
  size_t p = (size_t)d.point, n = c.split - p;
  std::string s = csub(c, p, n);
  cerase(c, p, n);
  c.split = p;
  d.was.insert(0, s);
  d.now.insert(0, s);
}

// Moves the first n tail bytes onto the end of both sides of the window. A window that grows
// by much gets room for half as much again, so that the keys typed next at its end do not copy it.
static void taketail(Doc &d, size_t n) {
  Common &c = d.common;
  for (std::string *w : {&d.was, &d.now})
    if (w->size() + n > w->capacity()) w->reserve(w->size() + n + (w->size() + n) / 2);
  cappend(c, c.split, n, d.was);
  cappend(c, c.split, n, d.now);
  cerase(c, c.split, n);
}

void widen(Doc &d) {
  settle(d);
  int64_t h = headlen(d);
  if (d.was == d.now) {
    d.common.split = (size_t)d.point;
  } else if (d.point < h) {
    takehead(d);
  } else if (d.point > h + (int64_t)d.now.size()) {
    taketail(d, (size_t)(d.point - h - (int64_t)d.now.size()));
  }
}

void widenover(Doc &d) {
  settle(d);
  int64_t h = headlen(d);
  if (d.was == d.now) {
    if (d.point == h) {
      d.now = "!";
    } else {
      d.common.split = (size_t)d.point;
      taketail(d, 1);
    }
  } else if (d.point < h) {
    takehead(d);
  } else {
    int64_t o = d.point - h - (int64_t)d.now.size();
    if (o < 0) return;
    must(o <= taillen(d));
    if (o == taillen(d)) {
      taketail(d, (size_t)o);
      d.now += "!";
    } else {
      taketail(d, (size_t)o + 1);
    }
  }
}

void insertbyte(Doc &d, unsigned char b) {
  d.edge = -1;
  widen(d);
  d.now.insert(d.now.begin() + (d.point - headlen(d)), (char)b);
  d.point++;
  settle(d);
}

static void logdoc(const Doc &d, const char *stage) {
  char line[256];
  snprintf(line, sizeof line,
           "usedputo %s(z=%" PRId64 ",a=%" PRId64 ",b=%" PRId64 ",c=%zu,d=%zu,e=%" PRId64
           ",f=%" PRId64 ")\n",
           stage, d.top, taillen(d), headlen(d), d.was.size(), d.now.size(), d.point, d.edge);
  tolmlog(line);
}

void usedputo(Doc &d, unsigned char b) {
  d.edge = -1;
  logdoc(d, "initish");
  widenover(d);
  logdoc(d, "preoish");
  int64_t at = d.point - headlen(d);
  must(at < (int64_t)d.now.size());
  d.now[(size_t)at] = (char)b;
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
  d.now.erase((size_t)(d.point - headlen(d)), 1);
  keepvisible(d, one);
}

// Puts s for the n bytes at point, then settles as if both whole texts stood in the window: the
// bytes that both texts share at their ends stay in head and tail, which gives the same window.
static void replace(Doc &d, int64_t n, const std::string &s) {
  int64_t len = lenof(d), p = d.point, h = headlen(d), t = taillen(d);
  must(n >= 0 && p + n <= len);
  int64_t lo = std::min(h, p), keep = std::min(t, len - p - n);
  int64_t cut = (int64_t)csize(d.common) - keep;  // common bytes from lo to cut leave
  std::string saved = csub(d.common, (size_t)lo, (size_t)(h - lo)) + d.was +
                      csub(d.common, (size_t)h, (size_t)(cut - h));
  std::string current = textrange(d, lo, p) + s + textrange(d, p + n, len - keep);
  cerase(d.common, (size_t)lo, (size_t)(cut - lo));
  d.common.split = (size_t)lo;
  d.was = saved;
  d.now = current;
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

void flatten(Doc &d) {
  std::string h = headof(d), t = tailof(d);
  d.was = h + d.was + t;
  d.now = h + d.now + t;
  d.common = Common();
}

void setnow(Doc &d, const std::string &s) {
  flatten(d);
  d.now = s;
}

