// Arithmetic on number terms: exact fractions through a fixed-point view of their interleaved
// places, and integers on decimal words, with the sign rules of each operation.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>

#include "core/base.h"
#include "core/bignum.h"
#include "core/halt.h"
#include "core/nat.h"
#include "core/number.h"
#include "core/numberleaf.h"

// ---- Exact fractions. A magnitude is read as the integer m = |value| * 2^f, where f is the lowest
// place present: D's odd bits are the integer part in order, its even bits from bit 2 up are the
// fraction from 2^-1 down, so they go in reversed under the integer part.

namespace {

struct Fixed {
  Limbs m;
  uint64_t f = 0;
  bool plus = true;
};

uint64_t compact(uint64_t x) {  // the even bits of x, side by side in the low half
  x &= 0x5555555555555555ull;
  x = (x | x >> 1) & 0x3333333333333333ull;
  x = (x | x >> 2) & 0x0F0F0F0F0F0F0F0Full;
  x = (x | x >> 4) & 0x00FF00FF00FF00FFull;
  x = (x | x >> 8) & 0x0000FFFF0000FFFFull;
  return (x | x >> 16) & 0x00000000FFFFFFFFull;
}

uint64_t spread(uint64_t x) {  // the low half of x onto the even bits
  x &= 0x00000000FFFFFFFFull;
  x = (x | x << 16) & 0x0000FFFF0000FFFFull;
  x = (x | x << 8) & 0x00FF00FF00FF00FFull;
  x = (x | x << 4) & 0x0F0F0F0F0F0F0F0Full;
  x = (x | x << 2) & 0x3333333333333333ull;
  return (x | x << 1) & 0x5555555555555555ull;
}

uint64_t reverse64(uint64_t x) {
  x = (x >> 1 & 0x5555555555555555ull) | (x & 0x5555555555555555ull) << 1;
  x = (x >> 2 & 0x3333333333333333ull) | (x & 0x3333333333333333ull) << 2;
  x = (x >> 4 & 0x0F0F0F0F0F0F0F0Full) | (x & 0x0F0F0F0F0F0F0F0Full) << 4;
  return __builtin_bswap64(x);
}

// The low f bits of x (which has no higher bits) in the reverse order.
Limbs reversebits(const Limbs &x, uint64_t f) {
  size_t words = (size_t)((f + 63) / 64);
  Limbs r(words, 0);
  for (size_t i = 0; i < x.size(); i++) r[words - 1 - i] = reverse64(x[i]);
  return bigshr(r, 64 * words - f);
}

void trim(Limbs &a) {
  while (!a.empty() && a.back() == 0) a.pop_back();
}

Fixed fixedof(const std::string &d) {
  Limbs w = bytesread(d), odd((w.size() + 1) / 2, 0), even((w.size() + 1) / 2, 0);
  for (size_t i = 0; i < w.size(); i++) {
    odd[i / 2] |= compact(w[i] >> 1) << (32 * (i % 2));
    even[i / 2] |= compact(w[i]) << (32 * (i % 2));
  }
  trim(odd);
  trim(even);
  Fixed x;
  x.plus = getbit(0, d);
  Limbs fraction = bigshr(even, 1);  // bit j - 1 is the place 2^-j
  x.f = bigbits(fraction);
  x.m = bigadd<Bin>(bigshl(odd, x.f), reversebits(fraction, x.f));
  return x;
}

// D of a magnitude m * 2^-f with the given sign; a zero magnitude is exact zero.
std::string exactof(const Limbs &m, uint64_t f, bool plus) {
  if (m.empty()) return std::string(1, '\1');
  Limbs whole = bigshr(m, f), low = m;
  if (low.size() > (f + 63) / 64) low.resize((size_t)((f + 63) / 64));
  if (f % 64 && !low.empty()) low.back() &= (1ull << (f % 64)) - 1;
  Limbs even = bigshl(reversebits(low, f), 1);
  size_t words = 2 * std::max(whole.size(), even.size());
  whole.resize(words / 2, 0);
  even.resize(words / 2, 0);
  Limbs d(words, 0);
  for (size_t i = 0; i < words; i++) {
    uint64_t o = whole[i / 2] >> (32 * (i % 2)), e = even[i / 2] >> (32 * (i % 2));
    d[i] = spread(e) | spread(o) << 1;
  }
  d[0] = (d[0] & ~1ull) | (plus ? 1 : 0);
  return byteswrite(d);
}

void align(Fixed &x, Fixed &y) {
  if (x.f < y.f) x.m = bigshl(x.m, y.f - x.f), x.f = y.f;
  if (y.f < x.f) y.m = bigshl(y.m, x.f - y.f), y.f = x.f;
}

bool hasplace(const std::string &d) { return bitsused(d) > 1; }

// The trace file stays open once opened: a program may add exact numbers in a loop. A file that
// cannot be opened costs the trace and nothing else.
int bothfile = -1;

void traceaddition(bool aplus, bool bplus) {
  std::string line = std::string("jjaa") + (aplus ? '1' : '0') + (bplus ? '1' : '0') + "\n";
  must(line.back() == '\n');
  if (bothcapture) {
    *bothcapture += line;
    return;
  }
  if (bothfile < 0) bothfile = open("/tmp/both.bug", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
  if (bothfile >= 0) (void)!write(bothfile, line.data(), line.size());
}

}  // namespace

std::string *bothcapture = nullptr;

std::string withsign(bool plus, const std::string &d) {
  if (!hasplace(d)) return std::string(1, '\1');
  std::string r = trimbits(d);
  setbit(0, plus, r);
  return r;
}

std::string exactneg(const std::string &d) {
  if (!hasplace(d)) return d;
  std::string r = d;
  setbit(0, !getbit(0, d), r);
  return r;
}

// Magnitudes of equal sign add with their carries. Of different signs, the larger magnitude gives
// the sign and the places of the difference are the exclusive or of the two: no borrow travels.
std::string exactadd(const std::string &a, const std::string &b) {
  bool aplus = getbit(0, a), bplus = getbit(0, b);
  traceaddition(aplus, bplus);
  Fixed x = fixedof(a), y = fixedof(b);
  align(x, y);
  if (aplus == bplus) return exactof(bigadd<Bin>(x.m, y.m), x.f, aplus);
  bool plus = bigcmp(x.m, y.m) >= 0 ? aplus : bplus;
  std::string r(std::max(a.size(), b.size()), '\0');
  for (size_t i = 0; i < r.size(); i++) r[i] = (char)((i < a.size() ? a[i] : 0) ^ (i < b.size() ? b[i] : 0));
  return withsign(plus, r);
}

std::string exactsub(const std::string &a, const std::string &b) { return exactadd(a, exactneg(b)); }

std::string exactmul(const std::string &a, const std::string &b) {
  if (!hasplace(a) || !hasplace(b)) return std::string(1, '\1');
  Fixed x = fixedof(a), y = fixedof(b);
  if (!productroom(8 * (x.m.size() + y.m.size()))) return std::string(1, '\1');
  return exactof(bigmul<Bin>(x.m, y.m), x.f + y.f, x.plus == y.plus);
}

// The language's own order: square, one more factor when the exponent is odd, then halve the
// exponent. It gives the true power for exponents that are powers of two, and for 3, and not for
// most others (5 gives the sixth power); it stands as it is. Like an integer power, it stops
// before a squaring that would take the run past its memory limit.
std::string exactpow(const std::string &d, uint64_t e) {
  if (e == 0) return std::string(1, '\1');
  std::string r = d;
  for (; 1 < e; e /= 2) {
    if (!productroom(2 * r.size() + d.size())) return d;
    r = exactmul(r, r);
    if (e % 2) r = exactmul(r, d);
  }
  return r;
}

bool exactmod(const std::string &a, const std::string &b, std::string &r) {
  Fixed x = fixedof(a), y = fixedof(b);
  if (y.m.empty()) return false;
  align(x, y);
  if (!productroom(8 * (x.m.size() + y.m.size()))) {
    r = std::string(1, '\1');
    return true;
  }
  Limbs q, rest;
  bigdivmod<Bin>(x.m, y.m, q, rest);
  if (!rest.empty() && x.plus != y.plus) rest = bigsub<Bin>(y.m, rest);
  r = exactof(rest, x.f, y.plus);
  return true;
}

int exactcompare(const std::string &a, const std::string &b) {
  Fixed x = fixedof(a), y = fixedof(b);
  align(x, y);
  bool xplus = x.plus || x.m.empty(), yplus = y.plus || y.m.empty();
  if (xplus != yplus) return xplus ? 1 : -1;
  int c = bigcmp(x.m, y.m);
  return xplus ? c : -c;
}

CellRef numbadd(const CellRef &a, const CellRef &b) {
  return bitsexact(exactadd(exactbits(a), exactbits(b)));
}
CellRef numbsub(const CellRef &a, const CellRef &b) {
  return bitsexact(exactsub(exactbits(a), exactbits(b)));
}
CellRef numbmul(const CellRef &a, const CellRef &b) {
  return bitsexact(exactmul(exactbits(a), exactbits(b)));
}
CellRef numbneg(const CellRef &a) { return bitsexact(exactneg(exactbits(a))); }
bool numbless(const CellRef &a, const CellRef &b) { return exactcompare(exactbits(a), exactbits(b)) < 0; }

CellRef numbmod(const CellRef &a, const CellRef &b) {
  std::string r;
  if (!exactmod(exactbits(a), exactbits(b), r)) return CellRef("Z");
  return bitsexact(r);
}

// ---- Integers: a sign and a magnitude in binary words, read from the operand (a leaf's kept
// words in place, or its digits, or a list's natural) and made into a digit leaf. Sums,
// differences and products by a word read their operands in place and write into the leaf they
// make; the other operations work on copies.

namespace {

struct Int {
  bool minus = false;
  Limbs mag;
};

Int intof(const CellRef &t) {
  needint(t);
  Intwords x;
  intwords(t.get(), x);
  return Int{x.minus, x.own.empty() ? Limbs(x.w, x.w + x.n) : std::move(x.own)};
}

void wordsof(const CellRef &t, Intwords &x) {
  needint(t);
  intwords(t.get(), x);
}

CellRef intleaf(const Int &x) { return wordsleaf(x.minus, x.mag); }

// x + y, or x - y when negate is set.
CellRef addsigned(const Intwords &x, const Intwords &y, bool negate) {
  bool yminus = y.minus != negate && y.n;
  Numberroom r = numberroom(std::max(x.n, y.n) + 1);
  if (x.minus == yminus) return numberdone(r, x.minus, binadd(r.w, x.w, x.n, y.w, y.n));
  int c = bincmp(x.w, x.n, y.w, y.n);
  if (c >= 0) return numberdone(r, x.minus, binsub(r.w, x.w, x.n, y.w, y.n));
  return numberdone(r, yminus, binsub(r.w, y.w, y.n, x.w, x.n));
}

Int negated(Int x) {
  x.minus = !x.minus && !x.mag.empty();
  return x;
}

bool isone(const Limbs &m) { return m.size() == 1 && m[0] == 1; }

const uint64_t one = 1;

}  // namespace

CellRef intadd(const CellRef &a, const CellRef &b) {
  Intwords x, y;
  wordsof(a, x), wordsof(b, y);
  return addsigned(x, y, false);
}

CellRef intsub(const CellRef &a, const CellRef &b) {
  Intwords x, y;
  wordsof(a, x), wordsof(b, y);
  return addsigned(x, y, true);
}
CellRef intneg(const CellRef &a) { return intleaf(negated(intof(a))); }

CellRef intmul(const CellRef &a, const CellRef &b) {
  Intwords x, y;
  wordsof(a, x), wordsof(b, y);
  bool minus = x.minus != y.minus;
  if (x.n == 0 || y.n == 0) return wordsleaf(false, Limbs{});
  if (x.n == 1 || y.n == 1) {
    const Intwords &big = x.n == 1 ? y : x;
    Numberroom r = numberroom(big.n + 1);
    return numberdone(r, minus, binmulword(r.w, big.w, big.n, (x.n == 1 ? x : y).w[0]));
  }
  if (!productroom(8 * (x.n + y.n))) return wordsleaf(false, Limbs{});
  return wordsleaf(minus, bigmul<Bin>(Limbs(x.w, x.w + x.n), Limbs(y.w, y.w + y.n)));
}

// The quotient's magnitude rounds down when the signs agree and up when they differ, so that the
// signed quotient is the floor. A divisor of one word divides in place into the result's leaf.
CellRef intdiv(const CellRef &a, const CellRef &b) {
  Intwords x, y;
  wordsof(a, x), wordsof(b, y);
  if (y.n == 0) return CellRef("Z");
  bool differ = x.minus != y.minus;
  if (y.n == 1) {
    Numberroom r = numberroom(x.n + 1);
    bool rest = bindivword(r.w, x.w, x.n, y.w[0]) != 0;
    r.w[x.n] = 0;
    size_t n = x.n;
    while (n && r.w[n - 1] == 0) n--;
    if (differ && rest) n = binadd(r.w, r.w, n, &one, 1);
    return numberdone(r, differ, n);
  }
  Limbs q, rest;
  if (!productroom(8 * (x.n + y.n))) return wordsleaf(false, Limbs{});
  bigdivmod<Bin>(Limbs(x.w, x.w + x.n), Limbs(y.w, y.w + y.n), q, rest);
  if (differ && !rest.empty()) q = bigaddsmall<Bin>(q, 1);
  return wordsleaf(differ, q);
}

// The remainder that goes with the floor quotient: it takes the sign of the divisor. A divisor
// of one word needs no quotient at all.
CellRef intmod(const CellRef &a, const CellRef &b) {
  Intwords x, y;
  wordsof(a, x), wordsof(b, y);
  if (y.n == 0) return CellRef("Z");
  Limbs q, r;
  if (y.n == 1) {
    uint64_t rest = bindivword(nullptr, x.w, x.n, y.w[0]);
    if (rest) r.push_back(rest);
  } else {
    if (!productroom(8 * (x.n + y.n))) return wordsleaf(false, Limbs{});
    bigdivmod<Bin>(Limbs(x.w, x.w + x.n), Limbs(y.w, y.w + y.n), q, r);
  }
  if (!r.empty() && x.minus != y.minus) r = bigsub<Bin>(Limbs(y.w, y.w + y.n), r);
  return wordsleaf(y.minus, r);
}

// A negative exponent gives the floor of 1 / a^n, as the quotient would: 0 or -1 unless a is 1
// or -1, and Z for a zero base. Bases 0, 1 and -1 are answered without multiplying.
CellRef intpow(const CellRef &a, const CellRef &b) {
  Int x = intof(a), e = intof(b);
  bool odd = !e.mag.empty() && (e.mag[0] & 1), minus = x.minus && odd;
  if (e.minus) {
    if (x.mag.empty()) return CellRef("Z");
    return intleaf(Int{minus, isone(x.mag) || minus ? Limbs{1} : Limbs{}});
  }
  if (e.mag.empty()) return CellRef("1");
  if (x.mag.empty() || isone(x.mag)) return intleaf(Int{minus, x.mag});
  return intleaf(Int{minus, bigpow<Bin>(x.mag, e.mag)});
}

int intcompare(const CellRef &a, const CellRef &b) {
  Intwords x, y;
  wordsof(a, x), wordsof(b, y);
  if (x.minus != y.minus) return x.minus ? -1 : 1;
  int c = bincmp(x.w, x.n, y.w, y.n);
  return x.minus ? -c : c;
}

bool intless(const CellRef &a, const CellRef &b) { return intcompare(a, b) < 0; }
