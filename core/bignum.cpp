// Arithmetic on words in either base: sums, differences, schoolbook, Karatsuba and transform
// products, long and recursive division, powers and binary shifts.
#include "core/bignum.h"

#include <algorithm>
#include <bit>
#include <cstring>
#if defined(__x86_64__)
#include <x86intrin.h>
#endif

#include "core/base.h"
#include "core/halt.h"

Bigtuning bigtuning;

using u128 = unsigned __int128;

static_assert(std::endian::native == std::endian::little, "byte strings are read as little-endian words");

// ---- One word. Each operation comes once for each base, chosen by the tag argument.

// Division of a two-word number by one word d whose top bit is set, the high word below d, with a
// precomputed inverse: two products and two rare corrections instead of a hardware division.
static inline uint64_t inverseof(uint64_t d) { return (uint64_t)(~(u128)0 / d); }

// The first correction goes either way about as often, so it is made with a mask rather than a
// branch that would be mispredicted half the time; the second is rare.
static inline uint64_t divword(uint64_t hi, uint64_t lo, uint64_t d, uint64_t inv, uint64_t &rem) {
  u128 q = (u128)inv * hi + (((u128)hi << 64) | lo);
  uint64_t q1 = (uint64_t)(q >> 64) + 1, q0 = (uint64_t)q;
  uint64_t r = lo - q1 * d;
  uint64_t back = 0 - (uint64_t)(r > q0);
  q1 += back;
  r += d & back;
  if (__builtin_expect(r >= d, 0)) {
    q1++;
    r -= d;
  }
  rem = r;
  return q1;
}

// 10^19 has its top bit set, so decimal words split with a constant inverse.
static constexpr uint64_t decinverse = (uint64_t)(~(u128)0 / Dec::base);

static inline uint64_t decdivword(uint64_t hi, uint64_t lo, uint64_t &rem) {
  return divword(hi, lo, Dec::base, decinverse, rem);
}

static inline uint64_t addw(Bin, uint64_t a, uint64_t b, uint64_t &c) {
  u128 s = (u128)a + b + c;
  c = (uint64_t)(s >> 64);
  return (uint64_t)s;
}
// Decimal sums and differences without branches, since carries in random digits would defeat
// prediction. A sum is taken with one operand raised by 2^64 - 10^19, so that the binary carry out
// of the word is the decimal one; the raise is taken back off when there is no carry.
static constexpr uint64_t decgap = 0 - Dec::base;

static inline uint64_t addw(Dec, uint64_t a, uint64_t b, uint64_t &c) {
  u128 s = (u128)(a + decgap) + b + c;
  c = (uint64_t)(s >> 64);
  return (uint64_t)s - (decgap & (c - 1));
}
static inline uint64_t subw(Bin, uint64_t a, uint64_t b, uint64_t &c) {
  u128 d = (u128)a - b - c;
  c = (uint64_t)(d >> 64) & 1;
  return (uint64_t)d;
}
static inline uint64_t subw(Dec, uint64_t a, uint64_t b, uint64_t &c) {
  uint64_t t = b + c;
  c = a < t;
  return a - t + (Dec::base & (0 - c));
}
// The low word of p in the base, with the rest in hi. For decimal words p must stay below 10^19 * 2^64.
static inline uint64_t splitw(Bin, u128 p, uint64_t &hi) {
  hi = (uint64_t)(p >> 64);
  return (uint64_t)p;
}
static inline uint64_t splitw(Dec, u128 p, uint64_t &hi) {
  uint64_t r;
  hi = decdivword((uint64_t)(p >> 64), (uint64_t)p, r);
  return r;
}
static inline u128 basew(Bin) { return (u128)1 << 64; }
static inline u128 basew(Dec) { return Dec::base; }

// ---- Runs of words. Sizes are explicit; results may overlap the first operand.

static void trim(Limbs &a) {
  while (!a.empty() && a.back() == 0) a.pop_back();
}

static size_t trimmed(const uint64_t *a, size_t n) {
  while (n && a[n - 1] == 0) n--;
  return n;
}

// r = a + b over na words (na >= nb); gives the carry out.
template <class B>
static uint64_t addn(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  uint64_t c = 0;
  size_t i = 0;
  for (; i < nb; i++) r[i] = addw(B{}, a[i], b[i], c);
  for (; i < na && c; i++) r[i] = addw(B{}, a[i], 0, c);
  if (r != a)
    for (; i < na; i++) r[i] = a[i];
  return c;
}

// r = a - b over na words (na >= nb); gives the borrow out.
template <class B>
static uint64_t subn(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  uint64_t c = 0;
  size_t i = 0;
  for (; i < nb; i++) r[i] = subw(B{}, a[i], b[i], c);
  for (; i < na && c; i++) r[i] = subw(B{}, a[i], 0, c);
  if (r != a)
    for (; i < na; i++) r[i] = a[i];
  return c;
}

// Binary runs add and subtract four words a step with the processor's carry, which the generic
// form above leaves to the compiler to find. step is the one or the other intrinsic.
#if defined(__x86_64__)
template <class Step>
static uint64_t carryrun(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb, Step step) {
  unsigned char c = 0;
  size_t i = 0;
  unsigned long long *t = (unsigned long long *)r;
  for (; i + 4 <= nb; i += 4) {
    c = step(c, a[i], b[i], &t[i]);
    c = step(c, a[i + 1], b[i + 1], &t[i + 1]);
    c = step(c, a[i + 2], b[i + 2], &t[i + 2]);
    c = step(c, a[i + 3], b[i + 3], &t[i + 3]);
  }
  for (; i < nb; i++) c = step(c, a[i], b[i], &t[i]);
  for (; i < na && c; i++) c = step(c, a[i], 0, &t[i]);
  if (r != a)
    for (; i < na; i++) r[i] = a[i];
  return c;
}

template <>
uint64_t addn<Bin>(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  auto add = [](unsigned char c, uint64_t x, uint64_t y, unsigned long long *to) { return _addcarry_u64(c, x, y, to); };
  return carryrun(r, a, na, b, nb, add);
}

template <>
uint64_t subn<Bin>(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  auto sub = [](unsigned char c, uint64_t x, uint64_t y, unsigned long long *to) { return _subborrow_u64(c, x, y, to); };
  return carryrun(r, a, na, b, nb, sub);
}
#endif

static int cmpn(const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  na = trimmed(a, na);
  nb = trimmed(b, nb);
  if (na != nb) return na < nb ? -1 : 1;
  for (size_t i = na; i-- > 0;)
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  return 0;
}

// r = a * m + c over n words; gives the word above. m and c below the base.
static uint64_t mul1(Bin, uint64_t *r, const uint64_t *a, size_t n, uint64_t m, uint64_t c) {
  for (size_t i = 0; i < n; i++) r[i] = splitw(Bin{}, (u128)a[i] * m + c, c);
  return c;
}

// Decimal: each word's product is split by the base on its own, so that the splits of successive
// words overlap; only the sum of a remainder and the previous quotient waits for the word before,
// and it carries at most one. The quotient of a word's product is below m, so the carry stays
// below the base.
static uint64_t mul1(Dec, uint64_t *r, const uint64_t *a, size_t n, uint64_t m, uint64_t c) {
  for (size_t i = 0; i < n; i++) {
    uint64_t q, low = splitw(Dec{}, (u128)a[i] * m, q);
    uint64_t over = c >= Dec::base - low;  // low + c itself may pass 2^64
    r[i] = low + c - (Dec::base & (0 - over));
    c = q + over;
  }
  return c;
}

template <class B>
static uint64_t mul1(uint64_t *r, const uint64_t *a, size_t n, uint64_t m, uint64_t c) {
  return mul1(B{}, r, a, n, m, c);
}

// u -= v * q over n words; gives what is still to be taken from the word above.
template <class B>
static uint64_t submul1(uint64_t *u, const uint64_t *v, size_t n, uint64_t q) {
  uint64_t carry = 0, borrow = 0;
  for (size_t i = 0; i < n; i++) {
    uint64_t low = splitw(B{}, (u128)v[i] * q + carry, carry);
    u[i] = subw(B{}, u[i], low, borrow);
  }
  return carry + borrow;
}

// ---- Schoolbook products.

// Binary: row by row, each row one pass of multiply and add.
static void mulbase(Bin, uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  r[nb] = mul1<Bin>(r, b, nb, a[0], 0);
  for (size_t i = 1; i < na; i++) {
    uint64_t c = 0, ai = a[i], *ri = r + i;
    for (size_t j = 0; j < nb; j++) {
      u128 p = (u128)ai * b[j] + ri[j] + c;
      ri[j] = (uint64_t)p;
      c = (uint64_t)(p >> 64);
    }
    ri[nb] = c;
  }
}

static void sqrbase(Bin, uint64_t *r, const uint64_t *a, size_t n) {
  std::fill(r, r + 2 * n, 0);
  for (size_t i = 0; i + 1 < n; i++) {
    uint64_t c = 0, ai = a[i], *ri = r + 2 * i + 1;
    for (size_t j = 0; j + i + 1 < n; j++) {
      u128 p = (u128)ai * a[i + 1 + j] + ri[j] + c;
      ri[j] = (uint64_t)p;
      c = (uint64_t)(p >> 64);
    }
    ri[n - i - 1] = c;
  }
  uint64_t top = 0;  // double the cross products
  for (size_t i = 0; i < 2 * n; i++) {
    uint64_t w = r[i];
    r[i] = (w << 1) | top;
    top = w >> 63;
  }
  uint64_t c = 0;
  for (size_t i = 0; i < n; i++) {
    u128 s = (u128)a[i] * a[i];
    r[2 * i] = addw(Bin{}, r[2 * i], (uint64_t)s, c);
    r[2 * i + 1] = addw(Bin{}, r[2 * i + 1], (uint64_t)(s >> 64), c);
  }
}

// Decimal: column by column. A column's sum of products stays exact in three words and is split
// by the base once, so the costly split is paid per column and not per product. The products of a
// column are summed apart from the carry, so that they need not wait for the previous split.
struct Column {
  u128 low = 0;
  uint64_t top = 0;
  void add(u128 p) {
    low += p;
    top += low < p;
  }
  // Leaves the column's word in the base; the rest is the carry into the next column.
  uint64_t settle(u128 &carry) {
    add(carry);
    uint64_t r1, r0;
    uint64_t q1 = decdivword(top, (uint64_t)(low >> 64), r1);
    uint64_t q0 = decdivword(r1, (uint64_t)low, r0);
    carry = ((u128)q1 << 64) | q0;
    return r0;
  }
};

static void mulbase(Dec, uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  u128 carry = 0;
  for (size_t k = 0; k + 1 < na + nb; k++) {
    Column col;
    size_t lo = k >= nb ? k - nb + 1 : 0, hi = std::min(k, na - 1);
    for (size_t i = lo; i <= hi; i++) col.add((u128)a[i] * b[k - i]);
    r[k] = col.settle(carry);
  }
  r[na + nb - 1] = (uint64_t)carry;
}

static void sqrbase(Dec, uint64_t *r, const uint64_t *a, size_t n) {
  u128 carry = 0;
  for (size_t k = 0; k + 1 < 2 * n; k++) {
    Column col;
    for (size_t i = k >= n ? k - n + 1 : 0; 2 * i < k; i++) col.add((u128)a[i] * a[k - i]);
    col.top = (col.top << 1) | (uint64_t)(col.low >> 127);  // the cross products count twice
    col.low <<= 1;
    if (k % 2 == 0) col.add((u128)a[k / 2] * a[k / 2]);
    r[k] = col.settle(carry);
  }
  r[2 * n - 1] = (uint64_t)carry;
}

// ---- Karatsuba over balanced halves, scratch space passed down; transforms for the longest.

template <class B>
static void mulany(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb);

// |x - y| into d (n words; x has nx words, y has ny, both at most n); true when x < y.
template <class B>
static bool absdiff(uint64_t *d, const uint64_t *x, size_t nx, const uint64_t *y, size_t ny, size_t n) {
  bool less = cmpn(x, nx, y, ny) < 0;
  if (less) std::swap(x, y), std::swap(nx, ny);
  std::copy(x, x + nx, d);
  std::fill(d + nx, d + n, 0);
  subn<B>(d, d, n, y, ny);
  return less;
}

static size_t kspace(size_t n) { return 6 * n + 64; }

// r (2n words) = a * b (n words each), or a * a when b is null.
template <class B>
static void kmul(uint64_t *r, const uint64_t *a, const uint64_t *b, size_t n, uint64_t *tmp) {
  bool square = b == nullptr;
  if (n < bigtuning.karatsuba) {
    if (square)
      sqrbase(B{}, r, a, n);
    else
      mulbase(B{}, r, a, n, b, n);
    return;
  }
  size_t h = n / 2, hh = n - h;
  kmul<B>(r, a, square ? nullptr : b, h, tmp);
  kmul<B>(r + 2 * h, a + h, square ? nullptr : b + h, hh, tmp);
  uint64_t *da = tmp, *db = tmp + hh, *m = tmp + 2 * hh, *next = tmp + 4 * hh;
  // The product of the two differences is negative when exactly one of them is; a square never is.
  bool negative = absdiff<B>(da, a, h, a + h, hh, hh);
  negative = square ? false : negative != absdiff<B>(db, b, h, b + h, hh, hh);
  kmul<B>(m, da, square ? nullptr : db, hh, next);
  // The middle term is z0 + z2 - (a0 - a1)(b0 - b1).
  uint64_t *t = next;
  std::copy(r + 2 * h, r + 2 * n, t);
  t[2 * hh] = addn<B>(t, t, 2 * hh, r, 2 * h);
  if (negative)
    addn<B>(t, t, 2 * hh + 1, m, 2 * hh);
  else
    must(subn<B>(t, t, 2 * hh + 1, m, 2 * hh) == 0);
  must(addn<B>(r + h, r + h, 2 * n - h, t, trimmed(t, 2 * hh + 1)) == 0);
}

// Products by transform: the exact column sums are carried into the base.
static void carrycolumns(Dec, uint64_t *r, const std::vector<Wide> &cols) {
  u128 carry = 0;
  for (size_t k = 0; k < cols.size(); k++) {
    Column col{((u128)cols[k].mid << 64) | cols[k].low, cols[k].top};
    r[k] = col.settle(carry);
  }
  r[cols.size()] = (uint64_t)carry;
}

static void carrycolumns(Bin, uint64_t *r, const std::vector<Wide> &cols) {
  u128 carry = 0;
  for (size_t k = 0; k < cols.size(); k++) {
    u128 low = (((u128)cols[k].mid << 64) | cols[k].low) + carry;
    uint64_t top = cols[k].top + (low < carry);
    r[k] = (uint64_t)low;
    carry = ((u128)top << 64) | (uint64_t)(low >> 64);
  }
  r[cols.size()] = (uint64_t)carry;
}

// r (na + nb words) = a * b; r must not overlap either operand.
template <class B>
static void mulany(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  if (na < nb) std::swap(a, b), std::swap(na, nb);
  if (nb == 1) {
    r[na] = mul1<B>(r, a, na, b[0], 0);
    return;
  }
  if (nb < bigtuning.karatsuba) {
    mulbase(B{}, r, a, na, b, nb);
    return;
  }
  if (nb >= bigtuning.ntt) {
    std::vector<Wide> cols;
    convolve(a, na, b, nb, cols);
    carrycolumns(B{}, r, cols);
    return;
  }
  bool square = a == b && na == nb;
  if (na == nb) {
    std::vector<uint64_t> tmp(kspace(na));
    kmul<B>(r, a, square ? nullptr : b, na, tmp.data());
    return;
  }
  // Unbalanced: a in pieces of nb words, each product added in at its place.
  std::fill(r, r + na + nb, 0);
  std::vector<uint64_t> piece(2 * nb);
  for (size_t at = 0; at < na; at += nb) {
    size_t len = std::min(nb, na - at);
    mulany<B>(piece.data(), a + at, len, b, nb);
    must(addn<B>(r + at, r + at, na + nb - at, piece.data(), len + nb) == 0);
  }
}

// ---- The public routines on whole numbers.

int bigcmp(const Limbs &a, const Limbs &b) { return cmpn(a.data(), a.size(), b.data(), b.size()); }

template <class B>
Limbs bigadd(const Limbs &a, const Limbs &b) {
  const Limbs &x = a.size() >= b.size() ? a : b, &y = a.size() >= b.size() ? b : a;
  Limbs r(x.size() + 1);
  r[x.size()] = addn<B>(r.data(), x.data(), x.size(), y.data(), y.size());
  trim(r);
  return r;
}

template <class B>
Limbs bigsub(const Limbs &a, const Limbs &b) {
  must(bigcmp(a, b) >= 0);
  Limbs r(a.size());
  subn<B>(r.data(), a.data(), a.size(), b.data(), b.size());
  trim(r);
  return r;
}

template <class B>
Limbs bigmul(const Limbs &a, const Limbs &b) {
  if (a.empty() || b.empty()) return {};
  Limbs r(a.size() + b.size());
  mulany<B>(r.data(), a.data(), a.size(), b.data(), b.size());
  trim(r);
  return r;
}

template <class B>
Limbs bigmulsmall(const Limbs &a, uint64_t m) {
  Limbs r(a.size() + 1);
  r[a.size()] = mul1<B>(r.data(), a.data(), a.size(), m, 0);
  trim(r);
  return r;
}

template <class B>
Limbs bigaddsmall(const Limbs &a, uint64_t m) {
  Limbs r(a.size() + 1);
  r[a.size()] = addn<B>(r.data(), a.data(), a.size(), &m, a.empty() ? 0 : 1);
  if (a.empty()) r[0] = m;
  trim(r);
  return r;
}

// Each step divides rem * base + word by d; both are shifted so that d has its top bit set.
template <class B>
uint64_t bigdivsmall(Limbs &a, uint64_t d) {
  must(d != 0);
  int s = std::countl_zero(d);
  uint64_t dn = d << s, inv = inverseof(dn), rem = 0;
  for (size_t i = a.size(); i-- > 0;) {
    u128 x = ((u128)rem * basew(B{}) + a[i]) << s;
    a[i] = divword((uint64_t)(x >> 64), (uint64_t)x, dn, inv, rem);
    rem >>= s;
  }
  trim(a);
  return rem;
}

int bincmp(const uint64_t *a, size_t na, const uint64_t *b, size_t nb) { return cmpn(a, na, b, nb); }

size_t binadd(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  if (na < nb) std::swap(a, b), std::swap(na, nb);
  r[na] = addn<Bin>(r, a, na, b, nb);
  return trimmed(r, na + 1);
}

size_t binsub(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb) {
  must(cmpn(a, na, b, nb) >= 0);
  subn<Bin>(r, a, na, b, trimmed(b, nb));
  return trimmed(r, na);
}

size_t binmulword(uint64_t *r, const uint64_t *a, size_t na, uint64_t m) {
  r[na] = mul1<Bin>(r, a, na, m, 0);
  return trimmed(r, na + 1);
}

uint64_t bindivword(uint64_t *q, const uint64_t *a, size_t na, uint64_t d) {
  must(d != 0);
  int s = std::countl_zero(d);
  uint64_t dn = d << s, inv = inverseof(dn), rem = 0;
  for (size_t i = na; i-- > 0;) {
    u128 x = (((u128)rem << 64) | a[i]) << s;
    uint64_t w = divword((uint64_t)(x >> 64), (uint64_t)x, dn, inv, rem);
    if (q) q[i] = w;
    rem >>= s;
  }
  return rem;
}

// ---- Division.

// Long division of a by b (b at least two words, a >= b), with Knuth's normalising factor so that
// the top word of the divisor is at least half the base and each estimated quotient word is at
// most two too large.
template <class B>
static void divbase(const Limbs &a, const Limbs &b, Limbs &q, Limbs &r) {
  size_t n = b.size(), m = a.size() - n;
  uint64_t f = (uint64_t)(basew(B{}) / ((u128)b.back() + 1));
  Limbs v(n + 1), u(a.size() + 1);
  must(mul1<B>(v.data(), b.data(), n, f, 0) == 0);
  u[a.size()] = mul1<B>(u.data(), a.data(), a.size(), f, 0);
  q.assign(m + 1, 0);
  u128 base = basew(B{});
  uint64_t vtop = v[n - 1], vnext = v[n - 2];
  for (size_t j = m + 1; j-- > 0;) {
    u128 num = (u128)u[j + n] * base + u[j + n - 1];
    u128 qhat = num / vtop, rhat = num % vtop;
    while (qhat >= base || qhat * vnext > rhat * base + u[j + n - 2]) {
      qhat--;
      rhat += vtop;
      if (rhat >= base) break;
    }
    uint64_t borrow = submul1<B>(u.data() + j, v.data(), n, (uint64_t)qhat);
    uint64_t c = 0;
    u[j + n] = subw(B{}, u[j + n], borrow, c);
    if (c) {  // one too many: add the divisor back
      qhat--;
      uint64_t carry = addn<B>(u.data() + j, u.data() + j, n, v.data(), n);
      u[j + n] = addw(B{}, u[j + n], carry, c);
    }
    q[j] = (uint64_t)qhat;
  }
  trim(q);
  r.assign(u.begin(), u.begin() + n);
  trim(r);
  must(bigdivsmall<B>(r, f) == 0);
}

template <class B>
static void divsmallinto(const Limbs &a, uint64_t d, Limbs &q, Limbs &r) {
  q = a;
  uint64_t rem = bigdivsmall<B>(q, d);
  r.clear();
  if (rem) r.push_back(rem);
}

template <class B>
static void divplain(const Limbs &a, const Limbs &b, Limbs &q, Limbs &r) {
  if (b.size() == 1) return divsmallinto<B>(a, b[0], q, r);
  if (bigcmp(a, b) < 0) {
    q.clear();
    r = a;
    return;
  }
  divbase<B>(a, b, q, r);
}

static Limbs shiftwords(const Limbs &a, size_t n) {  // times base^n
  if (a.empty()) return {};
  Limbs r(n + a.size(), 0);
  std::copy(a.begin(), a.end(), r.begin() + n);
  return r;
}

// The words from..from+len of a, trimmed.
static Limbs part(const uint64_t *a, size_t n, size_t from, size_t len) {
  if (from >= n) return {};
  Limbs p(a + from, a + std::min(n, from + len));
  trim(p);
  return p;
}

static Limbs lowwords(const Limbs &a, size_t n) { return part(a.data(), a.size(), 0, n); }
static Limbs highwords(const Limbs &a, size_t n) { return part(a.data(), a.size(), n, a.size()); }

template <class B>
static void div3n2n(const Limbs &a, const Limbs &b, size_t h, Limbs &q, Limbs &r);

// The recursive division of Burnikel and Ziegler: a below b * base^n, b of n words with its top
// word at least half the base. Two steps of three halves by two halves each.
template <class B>
static void div2n1n(const Limbs &a, const Limbs &b, size_t n, Limbs &q, Limbs &r) {
  if (n % 2 || n < bigtuning.burnikel) return divplain<B>(a, b, q, r);
  size_t h = n / 2;
  Limbs q1, r1, q2;
  div3n2n<B>(highwords(a, h), b, h, q1, r1);
  div3n2n<B>(bigadd<B>(shiftwords(r1, h), lowwords(a, h)), b, h, q2, r);
  q = bigadd<B>(shiftwords(q1, h), q2);
}

// a below b * base^h, b of 2h words, normalised.
template <class B>
static void div3n2n(const Limbs &a, const Limbs &b, size_t h, Limbs &q, Limbs &r) {
  Limbs b1 = highwords(b, h), b2 = lowwords(b, h), a12 = highwords(a, h), r1;
  if (bigcmp(highwords(a, 2 * h), b1) < 0) {
    div2n1n<B>(a12, b1, h, q, r1);
  } else {  // the quotient word is base^h - 1, and a12 - q * b1 is a12 - b1 * base^h + b1
    q.assign(h, (uint64_t)(basew(B{}) - 1));
    r1 = bigsub<B>(bigadd<B>(a12, b1), shiftwords(b1, h));
  }
  Limbs d = bigmul<B>(q, b2);
  Limbs rhat = bigadd<B>(shiftwords(r1, h), lowwords(a, h));
  while (bigcmp(rhat, d) < 0) {  // at most twice
    q = bigsub<B>(q, Limbs{1});
    rhat = bigadd<B>(rhat, b);
  }
  r = bigsub<B>(rhat, d);
}

// Large divisors: the divisor is padded to a block of n words (a multiple of a power of two) and
// normalised; the dividend is then divided block by block, each step a division of two blocks by one.
template <class B>
static void divlarge(const Limbs &a, const Limbs &b, Limbs &q, Limbs &r) {
  size_t s = b.size(), m = 1;
  while (s / m >= bigtuning.burnikel) m *= 2;
  size_t n = (s + m - 1) / m * m, pad = n - s;
  uint64_t f = (uint64_t)(basew(B{}) / ((u128)b.back() + 1));
  Limbs bn = shiftwords(bigmulsmall<B>(b, f), pad), an = shiftwords(bigmulsmall<B>(a, f), pad);
  must(bn.size() == n);
  size_t t = std::max<size_t>(2, (an.size() + n - 1) / n);
  if (bigcmp(highwords(an, (t - 1) * n), bn) >= 0) t++;
  Limbs z = highwords(an, (t - 2) * n), qi, ri;
  q.assign((t - 1) * n, 0);
  for (size_t i = t - 1; i-- > 0;) {
    div2n1n<B>(z, bn, n, qi, ri);
    must(qi.size() <= n);
    std::copy(qi.begin(), qi.end(), q.begin() + i * n);
    if (i) z = bigadd<B>(shiftwords(ri, n), part(an.data(), an.size(), (i - 1) * n, n));
  }
  trim(q);
  r = highwords(ri, pad);
  must(bigdivsmall<B>(r, f) == 0);
}

template <class B>
void bigdivmod(const Limbs &a, const Limbs &b, Limbs &q, Limbs &r) {
  must(!b.empty());
  if (b.size() >= bigtuning.burnikel && a.size() >= b.size() + bigtuning.burnikel / 2)
    divlarge<B>(a, b, q, r);
  else
    divplain<B>(a, b, q, r);
}

// ---- Powers, by squaring from the top bit of the exponent down.

bool productroom(uint64_t bytes) { return roomfor(24 * bytes); }

template <class B>
Limbs bigpow(const Limbs &a, const Limbs &e) {
  uint64_t bits = bigbits(e);
  if (bits == 0) return Limbs{1};
  if (a.empty()) return {};
  Limbs r = a;
  for (uint64_t i = bits - 1; i-- > 0;) {
    if (!productroom(8 * (2 * r.size() + a.size()))) return {};
    r = bigmul<B>(r, r);
    if (e[i / 64] >> (i % 64) & 1) r = a.size() == 1 ? bigmulsmall<B>(r, a[0]) : bigmul<B>(r, a);
  }
  return r;
}

// ---- Binary shifts.

uint64_t bigbits(const Limbs &a) { return a.empty() ? 0 : 64 * a.size() - std::countl_zero(a.back()); }

Limbs bigshl(const Limbs &a, uint64_t n) {
  if (a.empty()) return {};
  size_t words = n / 64, bits = n % 64;
  Limbs r(a.size() + words + 1, 0);
  for (size_t i = 0; i < a.size(); i++) {
    r[i + words] |= a[i] << bits;
    if (bits) r[i + words + 1] = a[i] >> (64 - bits);
  }
  trim(r);
  return r;
}

Limbs bigshr(const Limbs &a, uint64_t n) {
  size_t words = n / 64, bits = n % 64;
  if (words >= a.size()) return {};
  Limbs r(a.size() - words);
  for (size_t i = 0; i < r.size(); i++) {
    r[i] = a[i + words] >> bits;
    if (bits && i + words + 1 < a.size()) r[i] |= a[i + words + 1] << (64 - bits);
  }
  trim(r);
  return r;
}

#define BIGBASE(B)                                                            \
  template Limbs bigadd<B>(const Limbs &, const Limbs &);                     \
  template Limbs bigsub<B>(const Limbs &, const Limbs &);                     \
  template Limbs bigmul<B>(const Limbs &, const Limbs &);                     \
  template void bigdivmod<B>(const Limbs &, const Limbs &, Limbs &, Limbs &); \
  template Limbs bigmulsmall<B>(const Limbs &, uint64_t);                     \
  template Limbs bigaddsmall<B>(const Limbs &, uint64_t);                     \
  template uint64_t bigdivsmall<B>(Limbs &, uint64_t);                        \
  template Limbs bigpow<B>(const Limbs &, const Limbs &);
BIGBASE(Dec)
BIGBASE(Bin)
