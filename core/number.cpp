// Number forms: classes and form tests, the spelling of naturals as text and as bit lists, machine
// words and reals, and the conversions between integers, exact fractions and reals.
#include "core/number.h"

#include <bit>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "core/base.h"
#include "core/bignum.h"
#include "core/nat.h"
#include "core/numberleaf.h"

// ---- Shapes of cells.

static bool isdigitbyte(unsigned char c) { return c >= '0' && c <= '9'; }

// The shape tests read the first two bytes as they stand: a leaf with pending digits has its true
// first byte and the mark 1 second, and is always an integer, which these tests tell correctly.
static bool digitleaf(const Cell *c) { return isdigitbyte(headbyte(c)); }

static bool exactleaf(const Cell *c) { return isleafcell(c) && rawtext(c)[0] == '0' && rawtext(c)[1] == '0'; }

static std::string_view leafview(const Cell *c) { return std::string_view(textof(c), celllenof(c)); }

// The bit leaf b of a pair ((J b) rest), or null when the pair has another shape.
static const Cell *listbit(const Cell *c) {
  if (isleafcell(c) || isleafcell(c->left) || !leafis(c->left->left, "J")) return nullptr;
  return c->left->right;
}

static bool listof(const Cell *c, const char *bit) {
  const Cell *b = listbit(c);
  return b && leafis(b, bit);
}

// ---- Classes and forms.

char numclass(const CellRef &t) {
  Cell *c = t.get();
  unsigned char first = headbyte(c);
  if (isleafcell(c) && first == ' ') return 'e';
  if (isleafcell(c) && first == '(') return 'a';
  if (datakind(c)) return 'u';
  if (!isleafcell(c)) {
    if (isleafcell(c->left)) return 'w';
    if (listof(c, "H")) return 'o';
    if (listof(c, "K")) return 'i';
    return 'w';
  }
  if (!isdigitbyte(first)) return 'w';
  return exactleaf(c) ? 'o' : 'i';
}

bool intform(const CellRef &t) {
  const Cell *c = t.get();
  if (leafis(c, "K")) return true;
  if (isleafcell(c)) return digitleaf(c) && !exactleaf(c);
  if (listof(c, "H")) return true;
  if (!listof(c, "K")) return false;
  const Cell *x = c->right;
  return leafis(x, "K") || digitleaf(x) || listof(x, "H");
}

void needint(const CellRef &t) { must(intform(t)); }

bool natform(const CellRef &t) {
  const Cell *c = t.get();
  return leafis(c, "K") || digitleaf(c) || listof(c, "H") || listof(c, "K");
}

void neednat(const CellRef &t) { must(natform(t)); }

bool exactform(const CellRef &t) { return exactleaf(t.get()) || listof(t.get(), "H"); }

void needexact(const CellRef &t) { must(exactform(t)); }

bool isplus(const CellRef &t) {
  const Cell *c = t.get();
  if (digitleaf(c) && rawtext(c)[0] == '0' && rawtext(c)[1] != 0 && rawtext(c)[1] != '0') return false;
  return !listof(c, "K");
}

CellRef magnitude(const CellRef &t) {
  const Cell *c = t.get();
  if (digitleaf(c)) {
    if (headbyte(c) != '0' || leafis(c, "0")) return t;
    return CellRef(std::string(leafview(c).substr(1)));
  }
  must(listof(c, "H"));
  std::string n = listbits(t);
  setbit(1, 1, n);
  return CellRef(naturaltext(n));
}

// ---- The natural behind a digit text or a bit list.

// Odd N: the integer N / 4, negative when bit 1 is clear. Even N: "00", one more 0 for each clear
// bit above bit 1 up to the lowest set one, then the digits of what lies above that bit.
static std::string spell(const Limbs &n) {
  must(!n.empty());
  if (n.size() == 1 && n[0] == 2) return "00";
  if (n.size() == 1 && n[0] == 3) return "0";
  if (n[0] & 1) return ((n[0] & 2) ? "" : "0") + decwrite(bintodec(bigshr(n, 2)));
  uint64_t f = 0;
  while (n[f / 64] == 0) f += 64;
  f += (uint64_t)std::countr_zero(n[f / 64]);
  std::string text = "00" + std::string(f - 1, '0');
  if (f + 1 == bigbits(n)) return text;
  return text + decwrite(bintodec(bigshr(n, f + 1)));
}

static Limbs naturalof(std::string_view text) {
  must(!text.empty());
  must(alldigits(text));
  if (text == "0") return Limbs{3};
  if (text == "00") return Limbs{2};
  if (text.starts_with("00")) {
    size_t end = std::min(text.find_first_not_of('0'), text.size());
    uint64_t z = end - 2;
    Limbs low = bigshl(Limbs{1}, z + 1);
    if (end == text.size()) return low;
    return bigadd<Bin>(bigshl(dectobin(decread(text.substr(end))), z + 2), low);
  }
  return bigaddsmall<Bin>(bigshl(dectobin(decread(text)), 2), text[0] == '0' ? 1 : 3);
}

// The natural of a digit leaf; pending digits give it from the leaf's words, without writing them.
static Limbs leafnatural(const Cell *c) {
  if (!digitspending(c)) return naturalof(leafview(c));
  bool minus;
  Limbs x;
  leafwords(c, minus, x);
  return bigaddsmall<Bin>(bigshl(x, 2), minus ? 1 : 3);
}

std::string naturaltext(const std::string &n) { return spell(bytesread(n)); }

std::string textnatural(const std::string &text) { return byteswrite(naturalof(text)); }

// The bits of a list from the lowest, then the whole natural of its end, K or a digit leaf, above.
static Limbs termnatural(const Cell *c) {
  Limbs bits;
  uint64_t m = 0;
  for (; !isleafcell(c); c = c->right, m++) {
    const Cell *b = listbit(c);
    must(b && (leafis(b, "K") || leafis(b, "H")));
    if (m % 64 == 0) bits.push_back(0);
    if (leafis(b, "K")) bits.back() |= 1ull << (m % 64);
  }
  Limbs tail;
  if (leafis(c, "K"))
    tail = Limbs{1};
  else {
    must(digitleaf(c));
    tail = leafnatural(c);
  }
  tail = bigshl(tail, m);
  if (tail.size() < bits.size()) tail.resize(bits.size(), 0);
  for (size_t i = 0; i < bits.size(); i++) tail[i] |= bits[i];
  return tail;
}

std::string listbits(const CellRef &t) { return byteswrite(termnatural(t.get())); }

CellRef bitlist(const std::string &n) {
  int64_t top = topbit(n);
  CellRef j("J"), one("K"), zero("H"), list = one;
  for (int64_t i = top; i-- > 0;) list = cellpair(cellpair(j, getbit(i, n) ? one : zero), std::move(list));
  return list;
}

// X is N without its two low bits; the tail counts X's low run of ones as zeros in front of the
// digits of what lies above the zero bit that ends the run.
CellRef digitsrest(const CellRef &t) {
  must(digitleaf(t.get()));
  Limbs x = bigshr(leafnatural(t.get()), 2);
  uint64_t ones = 0;
  while (ones / 64 < x.size() && x[ones / 64] == ~0ull) ones += 64;
  if (ones / 64 < x.size()) ones += (uint64_t)std::countr_one(x[ones / 64]);
  return CellRef(std::string(ones, '0') + decwrite(bintodec(bigshr(x, ones + 1))));
}

// ---- Machine words and reals.

uint64_t lowword(const CellRef &t) {
  if (digitspending(t.get())) {
    bool minus;
    Limbs x;
    leafwords(t.get(), minus, x);
    return x[0];
  }
  CellRef m = magnitude(t);
  uint64_t v = 0;
  for (char ch : leafview(m.get())) v = v * 10 + (uint64_t)(ch - '0');  // modulo 2^64 throughout
  return v;
}

int64_t toword(const CellRef &t) {
  uint64_t v = lowword(t);
  return (int64_t)(isplus(t) ? v : 0 - v);
}

CellRef fromuword(uint64_t n) { return wordleaf(n, false); }

CellRef fromword(int64_t n) { return wordleaf(n < 0 ? 0 - (uint64_t)n : (uint64_t)n, n < 0); }

// The value of 1 to 8 decimal digits at t, most significant first, all in one load: the bytes
// after them are shifted out, the digits' values are added pairwise, then by fours, then by
// eights. A negative answer when a byte is no digit. The cell holds 16 text bytes however short
// its text, and a longer text has its own room, so the load never leaves the leaf.
static inline int64_t eightdigits(const char *t, size_t n) {
  uint64_t w, zeros = 0x3030303030303030ull << 8 * (8 - n);
  memcpy(&w, t, 8);
  uint64_t d = (w << 8 * (8 - n)) ^ zeros;  // digit values; the bytes before them stand for zeros
  if (((d + 0x7676767676767676ull) | d) & 0x8080808080808080ull) return -1;
  d = (d * 10 + (d >> 8)) & 0x00FF00FF00FF00FFull;
  d = (d * 100 + (d >> 16)) & 0x0000FFFF0000FFFFull;
  return (int64_t)((d * 10000 + (d >> 32)) & 0xFFFFFFFFull);
}

// A leaf whose digits are not written yet is read from its word, if it waits for one. Otherwise
// at most 19 digits after the sign: 19 digits never overflow the unsigned word, and only then can
// the value pass the signed range. A few digits are read one by one; more, up to 16, eight at a
// time.
bool smallintread(const Cell *c, int64_t &v) {
  if (!isleafcell(c)) return false;
  const char *t = rawtext(c);
  if (digitspending(c)) return waitingvalue(c, v);
  size_t n = fieldof(c);
  if ((unsigned char)(t[0] - '0') > 9 || n == 0 || n > 20) return false;
  bool minus = t[0] == '0' && n > 1;
  if (minus && t[1] == '0') return false;  // an exact number
  t += minus, n -= minus;
  if (n > 19) return false;
  int64_t high = n <= 4 ? -1 : n <= 8 ? 0 : n <= 16 ? eightdigits(t, n - 8) : -1;
  int64_t low = n <= 4 ? -1 : n <= 8 ? eightdigits(t, n) : n <= 16 ? eightdigits(t + n - 8, 8) : -1;
  uint64_t x = (uint64_t)high * 100000000 + (uint64_t)low;
  if ((high | low) < 0) {
    x = 0;
    for (size_t i = 0; i < n; i++) x = x * 10 + (uint64_t)(t[i] - '0');
    if (n == 19 && x > (minus ? 1ull << 63 : (uint64_t)INT64_MAX)) return false;
  }
  v = (int64_t)(minus ? 0 - x : x);
  return true;
}

CellRef fromreal(double x) {
  std::string text(9, ' ');
  memcpy(text.data() + 1, &x, 8);
  return CellRef(text);
}

void needreal(const CellRef &t) { must(isleafcell(t.get()) && cellhead(t) == ' '); }

double realvalue(const CellRef &t) {
  needreal(t);
  double x;
  memcpy(&x, textof(t.get()) + 1, 8);
  return x;
}

static uint64_t realbits(const CellRef &t) { return std::bit_cast<uint64_t>(realvalue(t)); }

static CellRef realofbits(uint64_t bits) { return fromreal(std::bit_cast<double>(bits)); }

uint64_t toaddress(const CellRef &t) {
  Cell *c = t.get();
  switch (numclass(t)) {
    case 'i':
      return (uint64_t)toword(t);
    case 'u':
      return isleafcell(c) ? (uint64_t)(uintptr_t)textof(c) : (uint64_t)(uintptr_t)&c->left;
    case 'a':
      return (uint64_t)(uintptr_t)(strchr(textof(c), ')') + 1);
  }
  must(false);
  return 0;
}

std::string realtext(const CellRef &t) {
  char text[99];
  snprintf(text, sizeof text, "%e", realvalue(t));
  return text;
}

CellRef realdata(const CellRef &t) { return CellRef("[" + realtext(t) + "]"); }

CellRef inttoreal(const CellRef &t) {
  needint(t);
  std::string text = (isplus(t) ? "" : "-") + celltext(magnitude(t));
  return fromreal(strtod(text.c_str(), nullptr));
}

// ---- Exact fractions and reals.

static int64_t placeindex(int64_t k) { return k >= 0 ? 2 * k + 1 : -2 * k; }

static int place(int64_t k, const std::string &d) { return getbit(placeindex(k), d); }

std::string exactbits(const CellRef &t) { return bithalf(listbits(t)); }

CellRef bitsexact(const std::string &d) {
  must(nonzero(d));
  return CellRef(spell(bigshl(bytesread(d), 1)));
}

CellRef realtoexact(const CellRef &t) {
  uint64_t x = realbits(t), field = x >> 52 & 0x7FF, mantissa = x & ((1ull << 52) - 1);
  if (x == 1ull << 63 || field == 0x7FF) return CellRef("00");
  if (x == 0) return CellRef("000");
  std::string d(1, (x >> 63) ? '\0' : '\1');
  if (field) {
    int64_t e = (int64_t)field - 1023;
    setbit(placeindex(e), 1, d);
    for (int k = 51; k >= 0; k--) setbit(placeindex(k - 52 + e), (int)(mantissa >> k & 1), d);
  } else {
    if (!mantissa) tolmfail("why?");
    int top = 63 - std::countl_zero(mantissa);
    int64_t e = top - 1074;
    // From the highest set bit down, onto the places from e - 1 down to -1074.
    for (int k = top, p = (int)e - 1; k >= 0 && p >= -1074; k--, p--)
      setbit(placeindex(p), (int)(mantissa >> k & 1), d);
  }
  return bitsexact(d);
}

// The exponent of the highest place: the highest set odd index if there is one, else the lowest
// set even index from 2 up. The scan starts at the string's highest bit index.
static int64_t rankof(const std::string &d) {
  for (int64_t p = 8 * (int64_t)d.size() - 1; p >= 1; p -= 2)
    if (getbit(p, d)) return (p - 1) / 2;
  for (int64_t p = 2; p < 8 * (int64_t)d.size(); p += 2)
    if (getbit(p, d)) return -(p / 2);
  tolmfail("rakerank");
}

CellRef exacttoreal(const CellRef &t) {
  std::string d = exactbits(t);
  bool plus = getbit(0, d);
  setbit(0, 1, d);
  if (bitsused(d) <= 1) return fromreal(0.0);
  int64_t e = rankof(d);
  if (e >= 1024 || e < -1074) return realofbits(0x7FF9000000000000ull);
  uint64_t bits = plus ? 0 : 1ull << 63;
  if (e >= -1022) {
    bits |= (uint64_t)(e + 1023) << 52;
    for (int k = 51; k >= 0; k--) bits |= (uint64_t)place(e - 52 + k, d) << k;
  } else {
    for (int64_t i = 0; i <= e + 1074; i++) bits |= (uint64_t)place(e - 1 - i, d) << (52 - (e + 1075) + i);
  }
  return realofbits(bits);
}

// Every value bit k of the integer without its bit 0 goes to index 2k + 1 above a set bit 0, in a
// raw string grown as setbit grows it; the leaf holds that string as it is.
CellRef inttoexact(const CellRef &t) {
  needint(t);
  std::string m = trimbits(bithalf(listbits(t)));  // halving keeps the width: the top byte may empty
  int64_t top = topbit(m);
  if (top == 0) return CellRef("00");
  std::string raw(1, '\1');
  for (int64_t k = top; k-- > 0;) setbit(2 * k + 1, getbit(k, m), raw);
  return CellRef(raw);
}
