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

Cell *truth(bool b) { return CellRef(b ? "K" : "H").release(); }

// Quotient and remainder rounded toward minus infinity.
int64_t floordiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }
int64_t floormod(int64_t a, int64_t b) { return a - b * floordiv(a, b); }

}  // namespace

int quicktest(Quick q, Cell *a, Cell *b) {
  int64_t x, y;
  if (q < Quick::less || !smallint(a, x) || !smallint(b, y)) return -1;
  switch (q) {
    case Quick::less: return x < y;
    case Quick::gteq: return x >= y;
    case Quick::same: return x == y;
    default: return x != y;
  }
}

Cell *quick(Quick q, Cell *a, Cell *b) {
  int64_t x, y, r = 0;
  // smallint reads a leaf that keeps its words without writing its digits, so that a large
  // operand of a chain of products stays binary
  if (!smallint(a, x) || !smallint(b, y)) return nullptr;
  switch (q) {
    case Quick::plus:
      if (__builtin_add_overflow(x, y, &r)) return nullptr;
      break;
    case Quick::dash:
      if (__builtin_sub_overflow(x, y, &r)) return nullptr;
      break;
    case Quick::mult:
      if (__builtin_mul_overflow(x, y, &r)) return nullptr;
      break;
    case Quick::over:
    case Quick::cent:
      if (y == 0) return CellRef("Z").release();
      if (x == INT64_MIN && y == -1) return nullptr;
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
