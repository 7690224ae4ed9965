// The engine's conversions: decimal text to and from decimal words, eight digits at a time, byte
// strings to and from binary words, and the two bases into each other by divide and conquer.
#include <algorithm>
#include <cstring>

#include "core/base.h"
#include "core/bignum.h"

static void trim(Limbs &a) {
  while (!a.empty() && a.back() == 0) a.pop_back();
}

// ---- Text. Eight digits are read and written as one 64-bit word of bytes, the first byte
// holding the most significant digit.

static uint64_t load8(const char *p) {
  uint64_t v;
  memcpy(&v, p, 8);
  return v;
}

bool alldigits(std::string_view text) {
  size_t i = 0, n = text.size();
  for (; i + 8 <= n; i += 8) {
    uint64_t v = load8(text.data() + i);
    // A byte below '0' borrows in the subtraction; one above '9' carries into its top bit.
    if (((v - 0x3030303030303030ull) | (v + 0x4646464646464646ull)) & 0x8080808080808080ull) return false;
  }
  for (; i < n; i++)
    if (text[i] < '0' || text[i] > '9') return false;
  return true;
}

static uint64_t read8(const char *p) {
  uint64_t v = load8(p) - 0x3030303030303030ull;
  v = v * 10 + (v >> 8);  // pairs of digits in every other byte
  v = (((v & 0x000000FF000000FFull) * (100 + (1000000ull << 32))) +
       (((v >> 16) & 0x000000FF000000FFull) * (1 + (10000ull << 32)))) >>
      32;
  return v;
}

static uint64_t readshort(const char *p, size_t n) {
  uint64_t v = 0;
  for (size_t i = 0; i < n; i++) v = v * 10 + (uint64_t)(p[i] - '0');
  return v;
}

Limbs decread(std::string_view text) {
  size_t n = text.size();
  Limbs d((n + Dec::digits - 1) / Dec::digits);
  const char *p = text.data();
  size_t end = n;
  for (size_t i = 0; i < d.size(); i++) {
    if (end >= (size_t)Dec::digits) {
      const char *w = p + end - Dec::digits;
      d[i] = readshort(w, 3) * 10000000000000000ull + read8(w + 3) * 100000000ull + read8(w + 11);
      end -= Dec::digits;
    } else {
      d[i] = readshort(p, end);
      end = 0;
    }
  }
  trim(d);
  return d;
}

// Eight digits of x (below 10^8), as eight bytes in the order they are written.
static uint64_t write8(uint64_t x) {
  uint64_t hi = x / 10000, lo = x % 10000;
  uint64_t halves = hi | (lo << 32);                                     // two fours
  uint64_t hundreds = ((halves * 10486) >> 20) & 0x0000007F0000007Full;  // each four over 100
  uint64_t pairs = (hundreds | ((halves - 100 * hundreds) << 16));       // four pairs of digits
  uint64_t tens = ((pairs * 103) >> 10) & 0x000F000F000F000Full;         // each pair over 10
  uint64_t digits = tens | ((pairs - 10 * tens) << 8);
  return digits + 0x3030303030303030ull;
}

static void write19(char *p, uint64_t x) {
  uint64_t top = x / 10000000000000000ull, rest = x % 10000000000000000ull;
  p[0] = (char)('0' + top / 100);
  p[1] = (char)('0' + top / 10 % 10);
  p[2] = (char)('0' + top % 10);
  uint64_t a = write8(rest / 100000000ull), b = write8(rest % 100000000ull);
  memcpy(p + 3, &a, 8);
  memcpy(p + 11, &b, 8);
}

// Digits of one word: 1 for zero.
static size_t worddigits(uint64_t w) {
  size_t k = 1;
  for (uint64_t p = 10; k < (size_t)Dec::digits && w >= p; p *= 10) k++;
  return k;
}

size_t decdigits(const Limbs &d) {
  return d.empty() ? 0 : worddigits(d.back()) + Dec::digits * (d.size() - 1);
}

void decwriteat(const Limbs &d, char *p) {
  if (d.empty()) return;
  char first[24];
  write19(first, d.back());
  size_t skip = Dec::digits - worddigits(d.back());
  memcpy(p, first + skip, Dec::digits - skip);
  p += Dec::digits - skip;
  for (size_t i = d.size() - 1; i-- > 0; p += Dec::digits) write19(p, d[i]);
}

std::string decwrite(const Limbs &d) {
  std::string text(decdigits(d), '0');
  decwriteat(d, text.data());
  return text;
}

// ---- Bytes.

Limbs bytesread(std::string_view bytes) {
  size_t n = bytes.size();
  must(n < ((size_t)1 << 60));  // also tells the compiler that the word count cannot wrap
  Limbs b((n + 7) / 8, 0);
  if (n) memcpy(b.data(), bytes.data(), n);
  trim(b);
  return b;
}

std::string byteswrite(const Limbs &b) {
  std::string s(8 * b.size(), '\0');
  if (!b.empty()) memcpy(s.data(), b.data(), s.size());
  while (!s.empty() && s.back() == 0) s.pop_back();
  return s;
}

// ---- Between the bases. A number of n words is split at a power of two p below n: the high part
// is converted and multiplied by base^p, given in the other base, and the low part is added. The
// powers base^(2^j) in the other base are kept for the life of the process.

static const Limbs &powerof(std::vector<Limbs> &cache, size_t j, const Limbs &first, bool decimal) {
  if (cache.empty()) cache.push_back(first);
  while (cache.size() <= j) {
    const Limbs &last = cache.back();
    cache.push_back(decimal ? bigmul<Dec>(last, last) : bigmul<Bin>(last, last));
  }
  return cache[j];
}

static size_t splitpoint(size_t n, size_t &j) {
  size_t p = 1;
  j = 0;
  while (2 * p < n) p *= 2, j++;
  return p;
}

static Limbs words(const Limbs &a, size_t from, size_t to) {
  Limbs r(a.begin() + (ptrdiff_t)std::min(from, a.size()), a.begin() + (ptrdiff_t)std::min(to, a.size()));
  trim(r);
  return r;
}

Limbs dectobin(const Limbs &d) {
  if (d.size() < bigtuning.convert) {  // b = b * 10^19 + the next word down, in place
    Limbs b(d.size(), 0);
    size_t n = 0;
    for (size_t i = d.size(); i-- > 0;) {
      uint64_t carry = d[i];
      for (size_t j = 0; j < n; j++) {
        unsigned __int128 p = (unsigned __int128)b[j] * Dec::base + carry;
        b[j] = (uint64_t)p;
        carry = (uint64_t)(p >> 64);
      }
      if (carry) b[n++] = carry;
    }
    b.resize(n);
    return b;
  }
  static std::vector<Limbs> cache;
  size_t j, p = splitpoint(d.size(), j);
  Limbs high = dectobin(words(d, p, d.size())), low = dectobin(words(d, 0, p));
  return bigadd<Bin>(bigmul<Bin>(high, powerof(cache, j, Limbs{Dec::base}, false)), low);
}

Limbs bintodec(const Limbs &b) {
  if (b.size() < bigtuning.convert) {
    // Repeated division by 10^19; each step gives the next decimal word from the bottom.
    Limbs x = b, d;
    while (!x.empty()) d.push_back(bigdivsmall<Bin>(x, Dec::base));
    return d;
  }
  static std::vector<Limbs> cache;
  size_t j, p = splitpoint(b.size(), j);
  Limbs high = bintodec(words(b, p, b.size())), low = bintodec(words(b, 0, p));
  const Limbs twoto64{8446744073709551616ull, 1};
  return bigadd<Dec>(bigmul<Dec>(high, powerof(cache, j, twoto64, true)), low);
}
