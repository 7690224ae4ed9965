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

// The digit count and the leading digit of a magnitude of three words or more, from its top 64
// bits: log10 of the magnitude is known to well within eps, and where the interval of that width
// settles both, they are exact. The leading digit d is the one with log10 d <= the fraction of the
// logarithm < log10 (d + 1). Near a power of ten or near a change of the leading digit the
// interval does not settle them, and the caller writes the digits instead.
static bool textshape(const Limbs &m, size_t &digits, unsigned &lead) {
  static const long double *logs = [] {
    static long double t[11];
    for (int d = 1; d <= 10; d++) t[d] = log10l((long double)d);
    return t;
  }();
  uint64_t bits = bigbits(m), shift = bits - 64;
  int s = std::countl_zero(m.back());
  uint64_t top = s ? m.back() << s | m[m.size() - 2] >> (64 - s) : m.back();
  long double lg = log10l((long double)top) + (long double)shift * logs[2];
  long double eps = 1e-15L + (long double)shift * 1e-18L;
  long double k = floorl(lg - eps);
  if (k != floorl(lg + eps)) return false;
  long double low = lg - eps - k, high = lg + eps - k;
  unsigned d = 1;
  while (low >= logs[d + 1]) d++;
  if (high >= logs[d + 1]) return false;
  digits = (size_t)k + 1;
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
