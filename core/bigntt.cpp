// Column sums of very long products through number-theoretic transforms modulo three primes below
// 2^62, put together by the Chinese remainder theorem into exact sums of three words each.
#include <bit>
#include <vector>

#include "core/base.h"
#include "core/bignum.h"

using u128 = unsigned __int128;

namespace {

// A prime c * 2^k + 1 with a primitive root, its transform tables and the constants of Montgomery
// reduction. The tables hold, at index len + j, the 2len-th root of unity to the power j, with its
// companion for Shoup's product; a table that serves length n serves every shorter length too.
struct Prime {
  uint64_t p, root;
  std::vector<uint64_t> fw, fwq, iw, iwq;
  uint64_t pinv = 0;  // -1/p modulo 2^64
};

uint64_t mulmod(uint64_t a, uint64_t b, uint64_t p) { return (uint64_t)((u128)a * b % p); }

uint64_t powmod(uint64_t a, uint64_t e, uint64_t p) {
  uint64_t r = 1;
  for (; e; e >>= 1, a = mulmod(a, a, p))
    if (e & 1) r = mulmod(r, a, p);
  return r;
}

uint64_t companion(uint64_t w, uint64_t p) { return (uint64_t)(((u128)w << 64) / p); }

// x * w modulo p, in [0, 2p), for any x below 2^64.
inline uint64_t mulshoup(uint64_t x, uint64_t w, uint64_t wq, uint64_t p) {
  uint64_t q = (uint64_t)(((u128)x * wq) >> 64);
  return x * w - q * p;
}

// a * b / 2^64 modulo p, in [0, 2p), for a and b below 2p.
inline uint64_t redc(u128 t, const Prime &pr) {
  uint64_t m = (uint64_t)t * pr.pinv;
  return (uint64_t)((t + (u128)m * pr.p) >> 64);
}

Prime primes[3] = {{4179340454199820289ull, 3}, {2485986994308513793ull, 5}, {2936346957045563393ull, 3}};

void growtables(Prime &pr, size_t n) {
  if (pr.fw.size() >= n) return;
  uint64_t p = pr.p;
  if (!pr.pinv) {
    uint64_t inv = p;  // Newton's iteration doubles the correct low bits each time
    for (int i = 0; i < 6; i++) inv *= 2 - p * inv;
    pr.pinv = 0 - inv;
  }
  pr.fw.assign(n, 0), pr.fwq.assign(n, 0), pr.iw.assign(n, 0), pr.iwq.assign(n, 0);
  for (size_t len = 1; len < n; len *= 2) {
    uint64_t w = powmod(pr.root, (p - 1) / (2 * len), p), iw = powmod(w, p - 2, p), x = 1, y = 1;
    for (size_t j = 0; j < len; j++) {
      pr.fw[len + j] = x, pr.fwq[len + j] = companion(x, p);
      pr.iw[len + j] = y, pr.iwq[len + j] = companion(y, p);
      x = mulmod(x, w, p), y = mulmod(y, iw, p);
    }
  }
}

// Decimation in frequency: natural order in, bit-reversed order out, values kept in [0, 2p).
// Two levels are done in one pass over the data, so that each pass moves half the memory.
inline void dif(uint64_t &x, uint64_t &y, uint64_t w, uint64_t wq, uint64_t p, uint64_t p2) {
  uint64_t u = x + y, t = x - y + p2;
  x = u >= p2 ? u - p2 : u;
  y = mulshoup(t, w, wq, p);
}
inline void dit(uint64_t &x, uint64_t &y, uint64_t w, uint64_t wq, uint64_t p, uint64_t p2) {
  uint64_t a = x >= p2 ? x - p2 : x;
  uint64_t t = mulshoup(y, w, wq, p);
  x = a + t;
  y = a - t + p2;
}
void forward(uint64_t *a, size_t n, const Prime &pr) {
  uint64_t p = pr.p, p2 = 2 * p;
  size_t len = n / 2;
  for (; len >= 2; len /= 4) {
    size_t q = len / 2;
    for (size_t s = 0; s < n; s += 2 * len)
      for (size_t j = 0; j < q; j++) {
        uint64_t *x = a + s + j;
        dif(x[0], x[len], pr.fw[len + j], pr.fwq[len + j], p, p2);
        dif(x[q], x[len + q], pr.fw[len + j + q], pr.fwq[len + j + q], p, p2);
        dif(x[0], x[q], pr.fw[q + j], pr.fwq[q + j], p, p2);
        dif(x[len], x[len + q], pr.fw[q + j], pr.fwq[q + j], p, p2);
      }
  }
  if (len == 1)
    for (size_t s = 0; s < n; s += 2) dif(a[s], a[s + 1], 1, pr.fwq[1], p, p2);
}
void inverse(uint64_t *a, size_t n, const Prime &pr) {
  uint64_t p = pr.p, p2 = 2 * p;
  size_t len = 1;
  if ((std::countr_zero(n) & 1)) {
    for (size_t s = 0; s < n; s += 2) dit(a[s], a[s + 1], 1, pr.iwq[1], p, p2);
    len = 2;
  }
  for (; len < n; len *= 4) {
    size_t big = 2 * len;
    for (size_t s = 0; s < n; s += 2 * big)
      for (size_t j = 0; j < len; j++) {
        uint64_t *x = a + s + j;
        dit(x[0], x[len], pr.iw[len + j], pr.iwq[len + j], p, p2);
        dit(x[big], x[big + len], pr.iw[len + j], pr.iwq[len + j], p, p2);
        dit(x[0], x[big], pr.iw[big + j], pr.iwq[big + j], p, p2);
        dit(x[len], x[big + len], pr.iw[big + j + len], pr.iwq[big + j + len], p, p2);
      }
  }
}

void load(uint64_t *f, const uint64_t *a, size_t na, size_t n, const Prime &pr) {
  uint64_t one = companion(1, pr.p);
  for (size_t i = 0; i < na; i++) f[i] = mulshoup(a[i], 1, one, pr.p);
  for (size_t i = na; i < n; i++) f[i] = 0;
}

// The column sums modulo one prime, reduced into [0, p).
void residues(const uint64_t *a, size_t na, const uint64_t *b, size_t nb, size_t n, Prime &pr,
              std::vector<uint64_t> &fa, std::vector<uint64_t> &fb, uint64_t *out) {
  load(fa.data(), a, na, n, pr);
  forward(fa.data(), n, pr);
  const std::vector<uint64_t> *fbp = &fa;
  if (b) {
    load(fb.data(), b, nb, n, pr);
    forward(fb.data(), n, pr);
    fbp = &fb;
  }
  for (size_t i = 0; i < n; i++) fa[i] = redc((u128)fa[i] * (*fbp)[i], pr);
  inverse(fa.data(), n, pr);
  // The pointwise products lost a factor 2^64 and the transforms gained n: both are undone here.
  uint64_t p = pr.p, scale = mulmod(powmod(2, 64, p), powmod(n % p, p - 2, p), p);
  uint64_t scaleq = companion(scale, p);
  for (size_t i = 0; i + 1 < na + nb; i++) {
    uint64_t x = mulshoup(fa[i], scale, scaleq, p);
    out[i] = x >= p ? x - p : x;
  }
}

}  // namespace

void convolve(const uint64_t *a, size_t na, const uint64_t *b, size_t nb, std::vector<Wide> &cols) {
  bool square = a == b && na == nb;
  size_t m = na + nb - 1, n = 1;
  while (n < m) n *= 2;
  std::vector<uint64_t> fa(n), fb(square ? 0 : n), res(3 * m);
  for (int i = 0; i < 3; i++) {
    growtables(primes[i], n);
    residues(a, na, square ? nullptr : b, nb, n, primes[i], fa, fb, res.data() + i * m);
  }
  // Garner's form: x = v1 + p1 (v2 + p2 v3), each v below its own prime.
  uint64_t p1 = primes[0].p, p2 = primes[1].p, p3 = primes[2].p;
  static const uint64_t c12 = powmod(p1 % p2, p2 - 2, p2), c12q = companion(c12, p2);
  static const uint64_t c3 = powmod(mulmod(p1 % p3, p2 % p3, p3), p3 - 2, p3), c3q = companion(c3, p3);
  static const uint64_t p1m3 = p1 % p3, p1m3q = companion(p1m3, p3);
  cols.resize(m);
  for (size_t k = 0; k < m; k++) {
    uint64_t v1 = res[k], r2 = res[m + k], r3 = res[2 * m + k];
    uint64_t v1m2 = v1 >= p2 ? v1 - p2 : v1, v1m3 = v1 >= p3 ? v1 - p3 : v1;
    uint64_t v2 = mulshoup(r2 + p2 - v1m2, c12, c12q, p2);
    v2 = v2 >= p2 ? v2 - p2 : v2;
    uint64_t x12 = mulshoup(v2, p1m3, p1m3q, p3) + v1m3;  // v1 + p1 v2 modulo p3, below 3 p3
    x12 = x12 >= p3 ? x12 - p3 : x12;
    x12 = x12 >= p3 ? x12 - p3 : x12;
    uint64_t v3 = mulshoup(r3 + p3 - x12, c3, c3q, p3);
    v3 = v3 >= p3 ? v3 - p3 : v3;
    u128 inner = (u128)p2 * v3 + v2;
    u128 low = (u128)p1 * (uint64_t)inner + v1,
         high = (u128)p1 * (uint64_t)(inner >> 64) + (uint64_t)(low >> 64);
    cols[k] = Wide{(uint64_t)low, (uint64_t)high, (uint64_t)(high >> 64)};
  }
}
