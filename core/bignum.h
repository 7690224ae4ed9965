// The engine under the natural numbers: unbounded naturals as vectors of 64-bit words, in base
// 10^19 for decimal work and in base 2^64 for binary work, with subquadratic products and conversions.
#pragma once
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A natural, least significant word first, with no zero word on top: zero is the empty vector.
using Limbs = std::vector<uint64_t>;

// The two bases; every generic routine below is made for both.
struct Dec {
  static constexpr uint64_t base = 10000000000000000000ull;  // 10^19: 19 decimal digits a word
  static constexpr int digits = 19;
};
struct Bin {};

// Operand sizes in words from which the faster algorithms take over. Plain globals, so that the
// tests can lower them and reach every algorithm with small numbers.
struct Bigtuning {
  size_t karatsuba = 24;  // products: Karatsuba from here, schoolbook below
  size_t ntt = 600;       // products: number-theoretic transforms from here
  size_t burnikel = 48;   // divisors: recursive division from here, long division below
  size_t convert = 30;    // decimal and binary conversion: divide and conquer from here
};
extern Bigtuning bigtuning;

int bigcmp(const Limbs &a, const Limbs &b);
template <class B>
Limbs bigadd(const Limbs &a, const Limbs &b);
template <class B>
Limbs bigsub(const Limbs &a, const Limbs &b);  // asserts a >= b
template <class B>
Limbs bigmul(const Limbs &a, const Limbs &b);
// Quotient and remainder; a zero divisor is an assertion failure.
template <class B>
void bigdivmod(const Limbs &a, const Limbs &b, Limbs &q, Limbs &r);
template <class B>
Limbs bigmulsmall(const Limbs &a, uint64_t m);  // m below the base
template <class B>
Limbs bigaddsmall(const Limbs &a, uint64_t m);  // m below the base
template <class B>
uint64_t bigdivsmall(Limbs &a, uint64_t d);  // in place; gives the remainder
// a to the power e, where e is given in binary words whatever the base of a. A power that would
// take the run past its memory limit stops before the squaring that would, asking the run to halt,
// and gives zero.
template <class B>
Limbs bigpow(const Limbs &a, const Limbs &e);
// Whether the run may take a long product (or division, or decimal conversion) of so many bytes
// at its peak, transforms, columns and result included: 24 times the bytes, as 3^(2^30), a product
// of 212 MB, peaks at 23 times that. A no asks the run to halt; what the caller then gives is
// never seen.
bool productroom(uint64_t bytes);

// Binary sums, differences and products by a word on runs of words that stand elsewhere (the
// words a number leaf keeps), so that neither operand nor result is copied. r has room for the
// longer operand and one word more, and may be a itself; each gives the length of its result
// without zero words on top.
int bincmp(const uint64_t *a, size_t na, const uint64_t *b, size_t nb);
size_t binadd(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb);
size_t binsub(uint64_t *r, const uint64_t *a, size_t na, const uint64_t *b, size_t nb);  // a >= b
size_t binmulword(uint64_t *r, const uint64_t *a, size_t na, uint64_t m);
// a / d into q (na words, q may be a, or null for the remainder alone); gives the remainder.
uint64_t bindivword(uint64_t *q, const uint64_t *a, size_t na, uint64_t d);

// The exact column sums of a product, col[k] = sum of a[i] * b[j] over i + j = k, from transforms
// modulo three primes; the products above the transform threshold carry them into their base.
struct Wide {
  uint64_t low, mid, top;
};
void convolve(const uint64_t *a, size_t na, const uint64_t *b, size_t nb, std::vector<Wide> &cols);

// Binary shifts by any number of bits.
Limbs bigshl(const Limbs &a, uint64_t n);
Limbs bigshr(const Limbs &a, uint64_t n);
uint64_t bigbits(const Limbs &a);  // binary: index of the top set bit plus one, 0 for zero

// Between the bases, by divide and conquer over cached powers of the other base.
Limbs dectobin(const Limbs &d);
Limbs bintodec(const Limbs &b);

// Decimal words from and to decimal text, most significant digit first. The text must be all
// digits (see alldigits); leading zeros are allowed, and zero is written as the empty text.
bool alldigits(std::string_view text);
Limbs decread(std::string_view text);
std::string decwrite(const Limbs &d);
size_t decdigits(const Limbs &d);           // the length of decwrite's text
void decwriteat(const Limbs &d, char *p);  // the same text, written at p

// Binary words from and to little-endian byte strings; bytes are written without zero bytes on top.
Limbs bytesread(std::string_view bytes);
std::string byteswrite(const Limbs &b);
