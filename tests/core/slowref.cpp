// The slow reference: digit by digit, with no cleverness at all.
#include "tests/core/slowref.h"

#include <vector>

std::string refnorm(std::string a) {
  size_t i = 0;
  while (i + 1 < a.size() && a[i] == '0') i++;
  a = a.substr(i);
  return a.empty() ? "0" : a;
}

int refcmp(const std::string &x, const std::string &y) {
  std::string a = refnorm(x), b = refnorm(y);
  if (a.size() != b.size()) return a.size() < b.size() ? -1 : 1;
  return a < b ? -1 : a > b ? 1 : 0;
}

std::string refadd(const std::string &a, const std::string &b) {
  std::string r;
  int carry = 0;
  for (size_t i = 0; i < a.size() || i < b.size() || carry; i++) {
    int s = carry;
    if (i < a.size()) s += a[a.size() - 1 - i] - '0';
    if (i < b.size()) s += b[b.size() - 1 - i] - '0';
    r.insert(r.begin(), (char)('0' + s % 10));
    carry = s / 10;
  }
  return refnorm(r);
}

std::string refsub(const std::string &a, const std::string &b) {
  std::string r;
  int borrow = 0;
  for (size_t i = 0; i < a.size(); i++) {
    int d = a[a.size() - 1 - i] - '0' - borrow;
    if (i < b.size()) d -= b[b.size() - 1 - i] - '0';
    borrow = d < 0;
    r.insert(r.begin(), (char)('0' + d + 10 * borrow));
  }
  return refnorm(r);
}

std::string refmul(const std::string &a, const std::string &b) {
  std::vector<long> col(a.size() + b.size(), 0);  // column sums, most significant first
  for (size_t i = 0; i < a.size(); i++)
    for (size_t j = 0; j < b.size(); j++) col[i + j + 1] += (a[i] - '0') * (b[j] - '0');
  std::string r(col.size(), '0');
  long carry = 0;
  for (size_t k = col.size(); k-- > 0;) {
    long s = col[k] + carry;
    r[k] = (char)('0' + s % 10);
    carry = s / 10;
  }
  return refnorm(r);
}

void refdivmod(const std::string &a, const std::string &b, std::string &q, std::string &r) {
  q.clear();
  r = "0";
  for (char c : a) {
    r = refnorm(r + c);
    int d = 0;
    while (refcmp(r, b) >= 0) r = refsub(r, b), d++;
    q += (char)('0' + d);
  }
  q = refnorm(q);
}

std::string refpow(const std::string &a, unsigned n) {
  std::string r = "1";
  while (n--) r = refmul(r, a);
  return r;
}

std::string refofbytes(const std::string &bytes) {
  std::string r = "0";
  for (size_t i = bytes.size(); i-- > 0;)
    r = refadd(refmul(r, "256"), std::to_string((unsigned char)bytes[i]));
  return r;
}

std::string refrandom(std::mt19937_64 &g, size_t maxdigits) {
  size_t n = 1 + g() % maxdigits;
  std::string a;
  switch (g() % 5) {
    case 0:
      a = std::string(n, '9');
      break;
    case 1:
      a = "1" + std::string(n - 1, '0');
      break;
    case 2:
      a = refsub("1" + std::string(n, '0'), std::to_string(g() % 3 + 1));
      break;
    default:
      for (size_t i = 0; i < n; i++) a += (char)('0' + g() % 10);
  }
  return refnorm(a);
}
