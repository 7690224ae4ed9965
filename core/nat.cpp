// The two kits of natural numbers over byte strings. Each operation keeps its byte-string contract
// and its assertions; the arithmetic inside runs on whole words through the engine.
#include "core/nat.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "core/base.h"
#include "core/bignum.h"

// ---- BitNat

bool isbits(const std::string &s) { return !s.empty() && s.back() != 0; }

int getbit(int64_t i, const std::string &s) {
  must(i >= 0);
  if ((uint64_t)i >= 8 * (uint64_t)s.size()) return 0;
  return ((unsigned char)s[i / 8] >> (i % 8)) & 1;
}

// The length that growing s by runs of eight zero bytes gives, until bit i exists.
static size_t grownlength(size_t length, uint64_t i) {
  if (i < 8 * (uint64_t)length) return length;
  uint64_t missing = i + 1 - 8 * (uint64_t)length;  // bits still to come
  return length + 8 * (size_t)((missing + 63) / 64);
}

void setbit(int64_t i, int v, std::string &s) {
  must(i >= 0);
  s.resize(grownlength(s.size(), (uint64_t)i), '\0');
  unsigned char &byte = (unsigned char &)s[i / 8];
  if (v)
    byte |= (unsigned char)(1u << (i % 8));
  else
    byte &= (unsigned char)~(1u << (i % 8));
}

static int topbyteindex(unsigned char b) { return 7 - std::countl_zero(b); }

int64_t topbit(const std::string &s) {
  must(isbits(s));
  return 8 * (int64_t)(s.size() - 1) + topbyteindex((unsigned char)s.back());
}

int valuebit(int64_t i, const std::string &s) {
  must(i >= 0 && i < topbit(s));
  return getbit(i, s);
}

int64_t bitsused(const std::string &s) {
  size_t n = s.size();
  while (n && s[n - 1] == 0) n--;
  return n ? 8 * (int64_t)(n - 1) + topbyteindex((unsigned char)s[n - 1]) + 1 : 0;
}

bool nonzero(const std::string &s) { return bitsused(s) != 0; }
bool isclear(const std::string &s) { return !nonzero(s); }

std::string trimbits(std::string s) {
  while (!s.empty() && s.back() == 0) s.pop_back();
  return s;
}

std::string zeros(size_t n) { return std::string(n, '\0'); }

// The bytes of a value, padded with zero bytes up to the given width.
static std::string widthbytes(const Limbs &v, size_t width) {
  std::string s = byteswrite(v);
  must(s.size() <= width);
  s.resize(width, '\0');
  return s;
}

// Bit by bit this writes each value bit of b at the sentinel of a and a new sentinel above it;
// the whole of b, its sentinel included, shifted to a's sentinel gives the same bits at once.
std::string bitappend(const std::string &a, const std::string &b) {
  int64_t ta = topbit(a), tb = topbit(b);
  if (tb == 0) return a;
  Limbs low = bytesread(a), high = bigshl(bytesread(b), (uint64_t)ta);
  low[ta / 64] &= ~(1ull << (ta % 64));
  if (low.size() < high.size()) low.resize(high.size(), 0);
  for (size_t i = 0; i < high.size(); i++) low[i] |= high[i];
  return widthbytes(low, grownlength(a.size(), (uint64_t)(ta + tb)));
}

std::string bitsucc(std::string s) {
  size_t i = 0;
  while (i < s.size() && (unsigned char)s[i] == 0xFF) s[i++] = 0;
  if (i == s.size())
    setbit(8 * (int64_t)s.size(), 1, s);
  else
    s[i] = (char)((unsigned char)s[i] + 1);
  return s;
}

std::string bitshift(int64_t n, const std::string &s) {
  must(n >= 0);
  return widthbytes(bigshl(bytesread(s), (uint64_t)n), s.size() + (size_t)(n + 7) / 8);
}

std::string bitadd(const std::string &a, const std::string &b) {
  size_t width = std::max(a.size(), b.size());
  Limbs sum = bigadd<Bin>(bytesread(a), bytesread(b));
  must(bigbits(sum) <= 8 * (uint64_t)width + 1);
  return widthbytes(sum, width + 1);
}

std::string bitaddsmall(const std::string &s, uint64_t m) {
  uint64_t places = std::max<uint64_t>((uint64_t)bitsused(s), (uint64_t)std::bit_width(m)) + 1;
  Limbs sum = bigadd<Bin>(bytesread(s), m ? Limbs{m} : Limbs{});
  must(bigbits(sum) <= places);
  return widthbytes(sum, std::max<size_t>(s.size(), (size_t)(places + 7) / 8));
}

std::string bitmul(const std::string &s, int64_t m) {
  uint64_t low63 = (uint64_t)m & ~(1ull << 63);
  return widthbytes(bigmul<Bin>(bytesread(s), low63 ? Limbs{low63} : Limbs{}), s.size() + 8);
}

std::string bitdiv(const std::string &s, uint64_t d) {
  must(d != 0);
  Limbs q = bytesread(s);
  bigdivsmall<Bin>(q, d);
  return widthbytes(q, s.size());
}

std::string bithalf(const std::string &s) { return bitdiv(s, 2); }

int bitmod10(const std::string &s) {
  Limbs q = bytesread(s);
  return (int)bigdivsmall<Bin>(q, 10);
}

// ---- DecNat. The engine reads decimal text with its most significant digit first, so the
// digit strings are reversed on the way in and out.

bool isdec(const std::string &s) { return alldigits(s); }

static Limbs decin(const std::string &s) {
  must(isdec(s));
  std::string text(s.rbegin(), s.rend());
  return decread(text);
}

static std::string decout(const Limbs &d) {
  std::string text = decwrite(d);
  std::reverse(text.begin(), text.end());
  return text;
}

char digit(size_t i, const std::string &s) { return i < s.size() ? s[i] : '0'; }

// The length of s without the zeros above its top digit.
static size_t declength(const std::string &s) {
  size_t n = s.size();
  while (n && s[n - 1] == '0') n--;
  return n;
}

// Compared from the higher of the two lengths downward; the zeros above the top digits don't count.
static int deccompare(const std::string &a, const std::string &b) {
  must(isdec(a) && isdec(b));
  size_t na = declength(a), nb = declength(b);
  if (na != nb) return na < nb ? -1 : 1;
  for (size_t i = na; i-- > 0;)
    if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
  return 0;
}

bool decless(const std::string &a, const std::string &b) { return deccompare(a, b) < 0; }
bool declesseq(const std::string &a, const std::string &b) { return deccompare(a, b) <= 0; }

bool deciszero(const std::string &s) {
  must(isdec(s));
  return declength(s) == 0;
}

bool decisone(const std::string &s) {
  must(isdec(s));
  return !s.empty() && s[0] == '1' && declength(s) <= 1;
}

bool deceven(const std::string &s) {
  must(isdec(s));
  return s.empty() || (s[0] - '0') % 2 == 0;
}

std::string decadd(const std::string &a, const std::string &b) {
  return decout(bigadd<Dec>(decin(a), decin(b)));
}

std::string decsub(const std::string &a, const std::string &b) {
  must(!decless(a, b));
  return decout(bigsub<Dec>(decin(a), decin(b)));
}

std::string decmuldigit(int k, const std::string &s) {
  must(k >= 0 && k <= 9);
  return decout(bigmulsmall<Dec>(decin(s), (uint64_t)k));
}

std::string decmul(const std::string &a, const std::string &b) {
  return decout(bigmul<Dec>(decin(a), decin(b)));
}

std::string decdivmod(bool rounddown, const std::string &a, const std::string &b) {
  Limbs q, r, d = decin(b);
  must(!d.empty());
  bigdivmod<Dec>(decin(a), d, q, r);
  if (!rounddown && !r.empty()) q = bigaddsmall<Dec>(q, 1);
  return decout(q);
}

std::string dechalf(const std::string &s) { return decdivmod(true, s, "2"); }

std::string decpow(const std::string &a, const std::string &n) {
  return decout(bigpow<Dec>(decin(a), dectobin(decin(n))));
}
