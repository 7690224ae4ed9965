// Integer leaves that carry their binary words: a large result keeps its words where its digits
// will go, and the digits are written over them when something first reads the text.
#include "core/numberleaf.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "core/base.h"
#include "core/number.h"

// A leaf with pending digits has its true first byte (the minus sign 0, or the leading digit) and
// its true length in field, both known when it is made; its second byte is the mark 1, the word
// count stands at byte 8 and the words from byte 16, least significant first. Its room is made
// for the longest text that its words could have, and for the words and their count before it.
constexpr size_t countat = 8, wordsat = 16;

// The digit count and the leading digit of a magnitude X of two words or more, from its bit
// length b and its top 64 bits t: log10 X = ((b - 1) + log2 (t / 2^63)) * log10 2. The first term
// is taken in 64.64 fixed point, whose whole part is exact and whose fraction joins the rest in
// doubles; the error stays far below eps. Where the interval of that width settles both the whole
// part and the leading digit d (log10 d <= the fraction < log10 (d + 1)), they are exact. Near a
// power of ten or near a change of the leading digit it does not, and the caller writes the
// digits instead.
static bool textshape(const uint64_t *m, size_t n, size_t &digits, unsigned &lead) {
  static const double *logs = [] {
    static double t[11];
    for (int d = 1; d <= 10; d++) t[d] = log10((double)d);
    return t;
  }();
  constexpr uint64_t log10of2 = 0x4d104d427de7fbccull;  // log10 2 * 2^64, rounded
  int s = std::countl_zero(m[n - 1]);
  uint64_t bits = 64 * n - (uint64_t)s, top = s ? m[n - 1] << s | m[n - 2] >> (64 - s) : m[n - 1];
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

// n words have at most 19.27 n + 1 digits.
Numberroom numberroom(size_t words) {
  size_t room = std::max(20 * words + 8, wordsat + 8 * words);
  Cell *c = newleafspace(room, '0');
  return Numberroom{c, (uint64_t *)(rawtext(c) + wordsat)};
}

// The length goes into field once it is known; the room was made with a length of its own.
static void setlength(Cell *c, size_t len) { setfield(c, len < fieldmax ? len : 0); }

CellRef numberdone(Numberroom room, bool minus, size_t n) {
  Cell *c = room.c;
  char *t = rawtext(c);
  minus = minus && n;
  size_t digits;
  unsigned lead;
  if (n >= 2 && textshape(room.w, n, digits, lead)) {
    t[0] = minus ? '0' : (char)('0' + lead);
    t[1] = 1;
    memset(t + 2, 0, countat - 2);
    uint64_t count = n;
    memcpy(t + countat, &count, 8);
    setlength(c, (minus ? 1 : 0) + digits);
  } else {
    std::string text = n ? (minus ? "0" : "") + decwrite(bintodec(Limbs(room.w, room.w + n))) : "0";
    memcpy(t, text.data(), text.size() + 1);
    setlength(c, text.size());
  }
  settop(c, plainleaftop);
  return CellRef(c);
}

CellRef wordsleaf(bool minus, const Limbs &m) {
  Numberroom room = numberroom(m.size());
  if (!m.empty()) memcpy(room.w, m.data(), 8 * m.size());
  return numberdone(room, minus, m.size());
}

// The decimal digits of n, written backward so that they end at end; gives where they start.
static char *worddigits(uint64_t n, char *end) {
  static const char pairs[] =
      "0001020304050607080910111213141516171819202122232425262728293031323334353637383940414243444546474849"
      "5051525354555657585960616263646566676869707172737475767778798081828384858687888990919293949596979899";
  for (; n >= 100; n /= 100) memcpy(end -= 2, pairs + 2 * (n % 100), 2);
  if (n >= 10) memcpy(end -= 2, pairs + 2 * n, 2);
  else *--end = (char)('0' + n);
  return end;
}
// A waiting word has the mark 1 in the third byte as well (the count of a larger magnitude leaves
// it 0) and stands at byte 8, which every leaf has room for: a small leaf holds 15 text bytes
// and their NUL. A value below 100 is written at once, since smallint reads one or two digits as
// fast as a word, and so is one of 19 digits or more, whose word might not fit a signed one.
constexpr size_t oneat = 8;
CellRef wordleaf(uint64_t magnitude, bool minus) {
  static const uint64_t powers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000,
                                    10000000000ull, 100000000000ull, 1000000000000ull, 10000000000000ull,
                                    100000000000000ull, 1000000000000000ull, 10000000000000000ull,
                                    100000000000000000ull, 1000000000000000000ull, 10000000000000000000ull};
  minus = minus && magnitude;
  // 1233 / 4096 is log10 2 to four places: below is the digit count or one short of it. Zero has
  // the one digit that one has.
  uint64_t odd = magnitude | 1;
  size_t below = (size_t)(64 - std::countl_zero(odd)) * 1233 >> 12;
  size_t digits = below + (odd >= powers[below]), len = digits + minus;
  bool waits = magnitude >= 100 && magnitude < powers[18];
  // the first byte is the sign or the leading digit; written digits put the leading one themselves
  Cell *c = newleafspace(len, waits && !minus ? (unsigned char)('0' + magnitude / powers[digits - 1]) : '0');
  char *t = rawtext(c);
  if (waits) {
    memset(t + 1, 0, oneat - 1);
    t[1] = t[2] = 1;
    memcpy(t + oneat, &magnitude, 8);
  } else {
    worddigits(magnitude, t + len);
  }
  settop(c, plainleaftop);
  return CellRef(c);
}
static bool waitingword(const Cell *c) { return rawtext(c)[2] == 1; }
static uint64_t oneword(const Cell *c) {
  uint64_t w;
  memcpy(&w, rawtext(c) + oneat, 8);
  return w;
}
bool waitingvalue(const Cell *c, int64_t &v) {
  if (!waitingword(c)) return false;
  uint64_t w = oneword(c);
  v = rawtext(c)[0] == '0' ? -(int64_t)w : (int64_t)w;  // the first byte 0 is the sign
  return true;
}
static const uint64_t *keptat(const Cell *c, size_t &n) {
  const char *t = rawtext(c);
  if (waitingword(c)) {
    n = 1;
    return (const uint64_t *)(t + oneat);
  }
  uint64_t count;
  memcpy(&count, t + countat, 8);
  n = count;
  return (const uint64_t *)(t + wordsat);
}

static void keptwords(const Cell *c, Limbs &m) {
  size_t n;
  const uint64_t *w = keptat(c, n);
  m.assign(w, w + n);
}

void numberwrite(Cell *c) {
  char *t = rawtext(c);
  char first = t[0];
  if (waitingword(c)) {
    size_t len = fieldof(c);
    worddigits(oneword(c), t + len);  // the sign, where there is one, stays before them
    t[len] = 0;
    return;
  }
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

void intwords(const Cell *c, Intwords &x) {
  int64_t v;
  x.own.clear();
  if (smallint(c, v)) {
    x.minus = v < 0;
    x.word = v < 0 ? 0 - (uint64_t)v : (uint64_t)v;
    x.w = &x.word;
    x.n = v != 0;
    return;
  } else if (digitspending(c)) {
    x.minus = rawtext(c)[0] == '0';
    x.w = keptat(c, x.n);
    return;
  } else if (headbyte(c) >= '0' && headbyte(c) <= '9') {
    leafwords(c, x.minus, x.own);
  } else {  // the natural N of a list or of K: the magnitude above two bits, bit 1 the sign
    Limbs n = bytesread(listbits(CellRef((Cell *)c)));
    x.own = bigshr(n, 2);
    x.minus = !(n[0] & 2) && !x.own.empty();
  }
  x.w = x.own.data();
  x.n = x.own.size();
}
