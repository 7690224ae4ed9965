// Documents: reading the current and the saved text, whole or in pieces, and comparing them.
// The edits and the settling of the window of difference are in window.cpp.
#include "edit/doc.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstring>

#include "core/base.h"
#include "edit/view.h"

// Reading.

Doc newdoc(std::string text) {
  Doc d;
  d.window[0].at = (int64_t)text.size();
  d.saved = std::move(text);  // a file's text is held once, not copied
  return d;
}

// Where the window ends in the saved text: tail begins there.
static int64_t wasend(const Doc &d) { return d.window.back().at + d.window.back().len; }

// How much longer the current text is than the saved one.
static int64_t growth(const Doc &d) {
  int64_t g = 0;
  for (const Change &c : d.window) g += (int64_t)c.now.size() - c.len;
  return g;
}

int64_t headlen(const Doc &d) { return d.window.front().at; }
int64_t taillen(const Doc &d) { return (int64_t)d.saved.size() - wasend(d); }
int64_t waslen(const Doc &d) { return wasend(d) - headlen(d); }
int64_t nowlen(const Doc &d) { return waslen(d) + growth(d); }
int64_t lenof(const Doc &d) { return (int64_t)d.saved.size() + growth(d); }
std::string headof(const Doc &d) { return d.saved.substr(0, (size_t)headlen(d)); }
std::string tailof(const Doc &d) { return d.saved.substr((size_t)wasend(d)); }
std::string wasof(const Doc &d) { return d.saved.substr((size_t)headlen(d), (size_t)waslen(d)); }
std::string nowof(const Doc &d) { return textrange(d, headlen(d), headlen(d) + nowlen(d)); }
std::string textof(const Doc &d) { return textrange(d, 0, lenof(d)); }

// Outside the text the answer is a newline, as if one stood before and after it. The saved
// bytes before each change and the change's own bytes are passed in turn, c counting offsets in
// the current text and s in the saved one.
unsigned char charat(const Doc &d, int64_t i) {
  if (i < 0) return 10;
  if (i < headlen(d)) return (unsigned char)d.saved[(size_t)i];
  int64_t c = 0, s = 0;
  for (const Change &h : d.window) {
    if (i < c + h.at - s) return (unsigned char)d.saved[(size_t)(s + i - c)];
    c += h.at - s;
    if (i < c + (int64_t)h.now.size()) return (unsigned char)h.now[(size_t)(i - c)];
    c += (int64_t)h.now.size(), s = h.at + h.len;
  }
  if (i < c + (int64_t)d.saved.size() - s) return (unsigned char)d.saved[(size_t)(s + i - c)];
  return 10;
}

Runs runsof(const Doc &d, int64_t from, int64_t to) {
  from = std::max<int64_t>(from, 0), to = std::min(to, lenof(d));
  Runs r;
  int64_t c = 0, s = 0;
  auto add = [&](const char *base, int64_t n, int64_t saved) {  // the next n bytes, from c on
    int64_t a = std::max(c, from), b = std::min(c + n, to);
    if (a < b) r.push_back(Run{a, base + (a - c), b - a, saved < 0 ? -1 : saved + (a - c)});
    c += n;
  };
  for (const Change &h : d.window) {
    if (c >= to) return r;
    add(d.saved.data() + s, h.at - s, s);
    add(h.now.data(), (int64_t)h.now.size(), -1);
    s = h.at + h.len;
  }
  add(d.saved.data() + s, (int64_t)d.saved.size() - s, s);
  return r;
}

int64_t findbyte(const Doc &d, int64_t from, int64_t to, unsigned char b) {
  for (const Run &r : runsof(d, from, to))
    if (const void *f = memchr(r.p, b, (size_t)r.n)) return r.at + ((const char *)f - r.p);
  return std::max(from, to);
}

int64_t findbyteback(const Doc &d, int64_t from, int64_t to, unsigned char b) {
  Runs rs = runsof(d, from, to);
  for (auto r = rs.rbegin(); r != rs.rend(); ++r)
    if (const void *f = memrchr(r->p, b, (size_t)r->n)) return r->at + ((const char *)f - r->p);
  return from - 1;
}

// The newlines among 4096 bytes, counted in 64 byte lanes that cannot overflow, so that the
// compiler turns the inner loop into compares of whole vector registers.
static int64_t newlines4k(const char *p) {
  unsigned char lane[64] = {};
  for (int i = 0; i < 4096; i += 64)
    for (int j = 0; j < 64; j++) lane[j] += p[i + j] == '\n';
  int64_t k = 0;
  for (unsigned char c : lane) k += c;
  return k;
}

int64_t skiplines(const Doc &d, int64_t from, int64_t n) {
  if (n <= 0) return from;
  for (const Run &r : runsof(d, from, lenof(d))) {
    const char *p = r.p, *end = p + r.n;
    // Whole blocks that hold fewer newlines than are left are counted, not searched, where a
    // search per newline pays a call for each short line.
    for (int64_t k; end - p >= 4096 && (k = newlines4k(p)) < n; p += 4096) n -= k;
    while ((p = (const char *)memchr(p, '\n', (size_t)(end - p)))) {
      p++;
      if (--n == 0) return r.at + (p - r.p);
    }
  }
  return lenof(d);
}

// Whatever lies outside the text is newlines, as charat gives it.
void copytext(const Doc &d, int64_t from, int64_t n, char *out) {
  int64_t lo = std::clamp<int64_t>(0, from, from + n), hi = std::clamp(lenof(d), lo, from + n);
  std::fill(out, out + (lo - from), '\n');
  std::fill(out + (hi - from), out + n, '\n');
  for (const Run &r : runsof(d, from, from + n)) std::copy_n(r.p, r.n, out + (r.at - from));
}

std::string textrange(const Doc &d, int64_t from, int64_t to) {
  std::string s((size_t)std::max<int64_t>(to - from, 0), '\0');
  copytext(d, from, (int64_t)s.size(), s.data());
  return s;
}

// The length of the common start of a and b, at most n; eight bytes at a time, for the window
// between two distant edits is as long as the text between them.
static int64_t sameprefix(const char *a, const char *b, int64_t n) {
  int64_t i = 0;
  for (uint64_t x, y; i + 8 <= n; i += 8)
    if (memcpy(&x, a + i, 8), memcpy(&y, b + i, 8), x != y) break;
  while (i < n && a[i] == b[i]) i++;
  return i;
}

// The length of the common end of the bytes before a and before b, at most n.
static int64_t samesuffix(const char *a, const char *b, int64_t n) {
  int64_t i = 0;
  for (uint64_t x, y; i + 8 <= n; i += 8)
    if (memcpy(&x, a - i - 8, 8), memcpy(&y, b - i - 8, 8), x != y) break;
  while (i < n && *(a - i - 1) == *(b - i - 1)) i++;
  return i;
}

// now is read in its pieces and was straight from the saved text; a piece of now that is the
// very saved bytes it stands against is passed over without comparing them.
int64_t samefrom(const Doc &d, int64_t o, int64_t n) {
  int64_t h = headlen(d);
  for (const Run &r : runsof(d, h + o, h + o + n)) {
    int64_t at = r.at - h;  // window offset; was has the same offset in saved from h on
    if (r.saved == h + at) continue;
    int64_t k = sameprefix(r.p, d.saved.data() + h + at, r.n);
    if (k < r.n) return at + k - o;
  }
  return n;
}

int64_t sameend(const Doc &d, int64_t n) {
  int64_t e = headlen(d) + nowlen(d), we = wasend(d);  // ends of now in the text, of was in saved
  Runs rs = runsof(d, e - n, e);
  for (auto r = rs.rbegin(); r != rs.rend(); ++r) {
    int64_t behind = e - (r->at + r->n);  // bytes matched behind this piece
    if (r->saved == we - (e - r->at)) continue;
    int64_t k = samesuffix(r->p + r->n, d.saved.data() + we - behind, r->n);
    if (k < r->n) return behind + k;
  }
  return n;
}

bool isclean(const Doc &d) {
  int64_t n = waslen(d);
  return n == nowlen(d) && samefrom(d, 0, n) == n;
}

bool isdirty(const Doc &d) { return !isclean(d); }

bool samedoc(const Doc &a, const Doc &b) {
  return a.top == b.top && a.point == b.point && a.edge == b.edge && a.over == b.over &&
         headlen(a) == headlen(b) && taillen(a) == taillen(b) && a.saved == b.saved && textof(a) == textof(b);
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
