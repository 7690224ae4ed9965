// The operators on two integers that fit a machine word, done by the fast machine without
// building the application for the built-in: the leaf they give is the one the built-in gives.
#include <cstring>

#include "core/number.h"
#include "lang/code.h"

Quick quickof(const char *name) {
  static const char *names[] = {"plus", "dash", "mult", "over", "cent", "less", "gteq", "same", "diff"};
  for (int i = 0; i < 9; i++)
    if (!strcmp(name, names[i])) return (Quick)(i + 1);
  return Quick::none;
}

namespace {

// The value of an integer digit leaf of at most 18 digits: a leading 0 before further digits is
// the minus sign, and 00 begins an exact number, which is no integer.
bool wordof(const Cell *c, int64_t &v) {
  if (!isleafcell(c)) return false;
  const char *t = textof(c);
  bool minus = t[0] == '0' && t[1];
  if (minus && t[1] == '0') return false;
  t += minus;
  int64_t x = 0;
  int n = 0;
  for (; t[n]; n++) {
    if (t[n] < '0' || t[n] > '9' || n == 18) return false;
    x = x * 10 + (t[n] - '0');
  }
  if (n == 0) return false;
  v = minus ? -x : x;
  return true;
}

Cell *truth(bool b) { return CellRef(b ? "K" : "H").release(); }

// Quotient and remainder rounded toward minus infinity.
int64_t floordiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }
int64_t floormod(int64_t a, int64_t b) { return a - b * floordiv(a, b); }

}  // namespace

Cell *quick(Quick q, Cell *a, Cell *b) {
  int64_t x, y, r = 0;
  if (!wordof(a, x) || !wordof(b, y)) return nullptr;
  switch (q) {
    case Quick::plus: r = x + y; break;
    case Quick::dash: r = x - y; break;
    case Quick::mult:
      if (__builtin_mul_overflow(x, y, &r)) return nullptr;
      break;
    case Quick::over:
    case Quick::cent:
      if (y == 0) return CellRef("Z").release();
      r = q == Quick::over ? floordiv(x, y) : floormod(x, y);
      break;
    case Quick::less: return truth(x < y);
    case Quick::gteq: return truth(x >= y);
    case Quick::same: return truth(x == y);
    case Quick::diff: return truth(x != y);
    case Quick::none: return nullptr;
  }
  return fromword(r).release();
}
