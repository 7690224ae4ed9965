// Integer leaves that carry their binary words: a large result keeps its words where its digits
// will go, and the digits are written over them when something first reads the text.
#include "core/numberleaf.h"

#include <bit>
#include <cmath>
#include <cstring>

#include "core/base.h"

// A leaf with pending digits is allocated for its whole text, whose length and first byte (the
// minus sign 0, or the leading digit) are known when it is made. The second byte is the mark 1;
// the word count stands at byte 8 and the words from byte 16, least significant first. Three
// words or more are always above 2^128, at least 39 digits, which leaves room for 16 + 24 bytes
// and more; smaller numbers are written at once.
constexpr size_t fewestwords = 3;
constexpr size_t countat = 8, wordsat = 16;

// The digit count and the leading digit of a magnitude X of three words or more, from its bit
// length b and its top 64 bits t: log10 X = ((b - 1) + log2 (t / 2^63)) * log10 2. The first term
// is taken in 64.64 fixed point, whose whole part is exact and whose fraction joins the rest in
// doubles; the error stays far below eps. Where the interval of that width settles both the whole
// part and the leading digit d (log10 d <= the fraction < log10 (d + 1)), they are exact. Near a
// power of ten or near a change of the leading digit it does not, and the caller writes the
// digits instead.
static bool textshape(const Limbs &m, size_t &digits, unsigned &lead) {
  static const double *logs = [] {
    static double t[11];
    for (int d = 1; d <= 10; d++) t[d] = log10((double)d);
    return t;
  }();
  constexpr uint64_t log10of2 = 0x4d104d427de7fbccull;  // log10 2 * 2^64, rounded
  uint64_t bits = bigbits(m);
  int s = std::countl_zero(m.back());
  uint64_t top = s ? m.back() << s | m[m.size() - 2] >> (64 - s) : m.back();
  unsigned __int128 scaled = (unsigned __int128)(bits - 1) * log10of2;
  uint64_t whole = (uint64_t)(scaled >> 64);
  double f = (double)(uint64_t)scaled * 0x1p-64 + log2((double)top * 0x1p-63) * logs[2];
  double eps = 1e-13 + (double)bits * 0x1p-63;
  if (f >= 1) whole++, f -= 1;
  if (f < eps || f > 1 - eps) return false;
  unsigned d = 1;
  while (f >= logs[d + 1]) d++;
  if (f - eps < logs[d] || f + eps >= logs[d + 1]) return false;
  digits = (size_t)whole + 1;
  lead = d;
  return true;
}

static CellRef written(bool minus, const Limbs &m) {
  std::string text = m.empty() ? "0" : (minus ? "0" : "") + decwrite(bintodec(m));
  Cell *c = newleaf(text.data(), text.size());
  settop(c, plainleaftop);
  return CellRef(c);
}

CellRef wordsleaf(bool minus, const Limbs &m) {
  size_t n = m.size(), digits;
  unsigned lead;
  if (n < fewestwords || !textshape(m, digits, lead)) return written(minus, m);
  size_t len = (minus ? 1 : 0) + digits;
  must(wordsat + 8 * n <= len + 1);
  Cell *c = newleafspace(len, minus ? '0' : (unsigned char)('0' + lead));
  char *t = rawtext(c);
  memset(t + 1, 0, wordsat - 1);
  t[1] = 1;
  uint64_t count = n;
  memcpy(t + countat, &count, 8);
  memcpy(t + wordsat, m.data(), 8 * n);
  settop(c, plainleaftop);
  return CellRef(c);
}

static void keptwords(const Cell *c, Limbs &m) {
  const char *t = rawtext(c);
  uint64_t n;
  memcpy(&n, t + countat, 8);
  m.resize(n);
  memcpy(m.data(), t + wordsat, 8 * n);
}

void numberwrite(Cell *c) {
  char *t = rawtext(c);
  char first = t[0];
  Limbs m;
  keptwords(c, m);
  Limbs d = bintodec(m);
  size_t at = first == '0' ? 1 : 0, len = at + decdigits(d);
  must(fieldof(c) == 0 || fieldof(c) == len);
  decwriteat(d, t + at);
  must(t[0] == first);
  t[len] = 0;  // the words may have covered the terminating NUL
}

void leafwords(const Cell *c, bool &minus, Limbs &m) {
  if (digitspending(c)) {
    minus = rawtext(c)[0] == '0';
    return keptwords(c, m);
  }
  std::string_view text(textof(c), celllenof(c));
  minus = text.size() > 1 && text[0] == '0';
  m = dectobin(decread(text));
}
