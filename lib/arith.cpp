// The operators: plus, dash, mult, over, cent, powa, less, gteq, same, diff, cmpr, buck and wave.
// Each looks at the classes of its arguments and picks a row; a mismatch is the answer Z.
#include "lib/arith.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <unistd.h>

#include "core/bignum.h"
#include "core/data.h"
#include "core/halt.h"
#include "core/nat.h"
#include "core/number.h"
#include "lib/builtins.h"

std::string numbertext(const CellRef &t) {
  std::string s = isleafcell(t.get()) ? celltext(t) : naturaltext(listbits(t));
  if (s.starts_with("00")) return s.substr(2);
  if (s.size() > 1 && s[0] == '0') return s.substr(1);
  return s;
}

size_t numberdigits(const CellRef &t) {
  if (!isleafcell(t.get())) return numbertext(t).size();
  size_t n = celllen(t);
  return exactform(t) ? n - 2 : isplus(t) ? n : n - 1;
}

CellRef intleafof(const CellRef &t) {
  if (isleafcell(t.get())) return t;
  return CellRef(naturaltext(listbits(t)));
}

int64_t intword(const CellRef &t) { return toword(intleafof(t)); }

bool bitchain(const CellRef &t) {
  const Cell *c = t.get();
  for (; !isleafcell(c); c = c->right) {
    if (isleafcell(c->left) || !leafis(c->left->left, "J")) return false;
    if (!leafis(c->left->right, "K") && !leafis(c->left->right, "H")) return false;
  }
  return leafis(c, "K") || (headbyte(c) >= '0' && headbyte(c) <= '9');
}

std::string_view postview(const CellRef &p) {
  must(cellhead(p) == '(');
  const char *t = textof(p.get());
  size_t n = 0, i = 1;
  for (; t[i] != ')'; i++) n = n * 64 + (size_t)digitvalue(t[i]);
  return std::string_view(t + i + 1, n);
}

// Newline, "[" and "]" have no character form in a text and take their groups.
CellRef bytetext(unsigned char b) {
  if (b == '\n') return CellRef("[[p]]");
  if (b == '[') return CellRef("[[q]]");
  if (b == ']') return CellRef("[[r]]");
  return databox(std::string(1, (char)b));
}

namespace {

CellRef leaf(const char *text) { return CellRef(text); }
CellRef truth(bool b) { return CellRef(b ? "K" : "H"); }

bool textlike(char c) { return c == 'a' || c == 'u'; }

// The two arguments of a binary operator with their classes.
struct Two {
  CellRef a, b;
  char ca, cb;
};

Two twoof(const CellRef &app) {
  CellRef a(argof(app.get(), 2, 0)), b(argof(app.get(), 2, 1));
  char ca = numclass(a), cb = numclass(b);
  return Two{std::move(a), std::move(b), ca, cb};
}

// The same, with integers as digit leaves: the integer routines' form test refuses most lists
// of bits, such as the chains that lots gives.
Two operands(const CellRef &app) {
  Two t = twoof(app);
  if (t.ca == 'i') t.a = intleafof(t.a);
  if (t.cb == 'i') t.b = intleafof(t.b);
  return t;
}

// A real, an integer or an exact fraction as a real; the callers have tested the classes.
CellRef torealterm(const CellRef &x) {
  switch (numclass(x)) {
    case 'e':
      return x;
    case 'i':
      return inttoreal(intleafof(x));
    case 'o':
      return exacttoreal(x);
  }
  tolmfail("truecast");
}

double realof(const CellRef &x) { return realvalue(torealterm(x)); }

// The exact fraction of an integer: its sign, and each bit k of its magnitude at the place 2^k.
CellRef exactofint(const CellRef &t) {
  std::string n = listbits(t);  // the integer's natural: 1, the sign, then the magnitude's bits
  int64_t used = bitsused(n);
  std::string d = zeros((size_t)(used / 4 + 2));
  d[0] = (char)getbit(1, n);
  for (int64_t k = 2; k < used; k++)
    if (getbit(k, n)) setbit(2 * (k - 2) + 1, 1, d);
  return bitsexact(withsign(getbit(1, n), d));
}

// An integer widened to an exact fraction. The raw widening passes the exact form only for zero;
// every other integer takes the other branch, its own places.
CellRef widen(const CellRef &hint) {
  CellRef x = inttoexact(hint);
  if (exactform(x)) return x;
  return exactofint(hint);
}

// The integer of a mixed integer and exact pair widened, so that an exact operation takes both.
void widenpair(Two &t) {
  if (t.ca == 'i') t.a = widen(t.a);
  if (t.cb == 'i') t.b = widen(t.b);
}

// The printed form of a number or real, for joining it to bytes or text.
std::string shown(const CellRef &x, char c) { return c == 'e' ? realtext(x) : numbertext(x); }

// ---- Integers that fit a word: both arguments digit leaves read by smallint. Each operator
// tries this first and takes the general path when an argument does not fit or the answer would
// leave the word.

bool smalltwo(const CellRef &app, int64_t &a, int64_t &b) {
  return smallint(argof(app.get(), 2, 0), a) && smallint(argof(app.get(), 2, 1), b);
}

// The floor quotient and the remainder that goes with it, which takes the divisor's sign.
bool smalldiv(int64_t a, int64_t b, int64_t &q, int64_t &r) {
  if (b == 0 || (a == INT64_MIN && b == -1)) return false;
  q = a / b, r = a % b;
  if (r != 0 && (r < 0) != (b < 0)) q--, r += b;
  return true;
}

// a to the power e by squaring; negative exponents are the general path's.
bool smallpow(int64_t a, int64_t e, int64_t &r) {
  if (e < 0) return false;
  r = 1;
  for (; e; e >>= 1) {
    if ((e & 1) && __builtin_mul_overflow(r, a, &r)) return false;
    if (e > 1 && __builtin_mul_overflow(a, a, &a)) return false;
  }
  return true;
}

// ---- plus

// Two texts joined. A first text that only this application holds, a leaf with room for both,
// takes the second on its end in place and is itself the answer: nothing else can see it change.
// A join whose first text is held only here is made with room to spare, so that a text grown by
// one join after another costs its length once and not at every join.
CellRef jointexts(bool alone, const CellRef &a, const CellRef &b) {
  std::string tail = datatext(b);
  Cell *c = a.get();
  size_t la = isleafcell(c) ? celllenof(c) : 0, n = la + tail.size();
  if (alone && la >= 2 && leafroom(c) >= n) {
    char *t = textof(c);
    memcpy(t + la - 1, tail.data(), tail.size());
    t[n - 1] = ']';
    t[n] = 0;
    setfield(c, n < fieldmax ? n : 0);
    return a;
  }
  std::string head = datatext(a);
  n = head.size() + tail.size() + 2;
  Cell *r = newleafspace(n, '[', alone ? 2 * n : n);
  char *t = rawtext(r);
  memcpy(t + 1, head.data(), head.size());
  memcpy(t + 1 + head.size(), tail.data(), tail.size());
  t[n - 1] = ']';
  return CellRef(r);
}

CellRef tolmplus(CellRef app) {
  int64_t x, y, r;
  if (smalltwo(app, x, y) && !__builtin_add_overflow(x, y, &r)) return fromword(r);
  // Held only here: the application, its left part (a partial application may be shared) and the
  // first argument each have no other holder.
  bool alone = countof(app.get()) == 1 && countof(app->left) == 1 && countof(argof(app.get(), 2, 0)) == 1;
  Two t = operands(app);
  char ca = t.ca, cb = t.cb;
  if (ca == 'w' || cb == 'w') return leaf("Z");
  if (ca == 'a' && cb == 'a') return mkblob(blobbytes(t.a) + blobbytes(t.b));
  if (ca == 'u' && cb == 'u') return jointexts(alone, t.a, t.b);
  if (ca == 'e' && cb == 'e') return fromreal(realvalue(t.a) + realvalue(t.b));
  if (ca == 'i' && cb == 'i') return intadd(t.a, t.b);
  if (ca == 'o' && cb == 'o') return numbadd(t.a, t.b);
  if (textlike(ca) && textlike(cb)) return leaf("Z");  // a post and a text
  if (ca == 'a') return mkblob(blobbytes(t.a) + shown(t.b, cb));
  if (cb == 'a') return mkblob(shown(t.a, ca) + blobbytes(t.b));
  if (ca == 'u') return databox(datatext(t.a) + shown(t.b, cb));
  if (cb == 'u') return databox(shown(t.a, ca) + datatext(t.b));
  if (ca == 'e' || cb == 'e') return fromreal(realof(t.a) + realof(t.b));
  widenpair(t);
  return numbadd(t.a, t.b);
}

// ---- dash

// Drops the first n bytes for a positive n, else the last |n|; all of them gives the empty string,
// more than there are gives false.
bool cut(std::string &s, int64_t n) {
  uint64_t m = n < 0 ? 0 - (uint64_t)n : (uint64_t)n;
  if (m > s.size()) return false;
  if (n > 0) s.erase(0, m);
  else s.resize(s.size() - m);
  return true;
}

CellRef tolmdash(CellRef app) {
  int64_t x, y, r;
  if (smalltwo(app, x, y) && !__builtin_sub_overflow(x, y, &r)) return fromword(r);
  Two t = operands(app);
  char ca = t.ca, cb = t.cb;
  if (ca == 'w' || cb == 'w') return leaf("Z");
  if ((ca == 'a' || ca == 'u') && cb == 'i') {
    std::string s = ca == 'a' ? blobbytes(t.a) : datatext(t.a);
    if (!cut(s, intword(t.b))) return leaf("Z");
    return ca == 'a' ? mkblob(s) : databox(s);
  }
  if (ca == 'u' && cb == 'u') return cellpair(std::move(t.a), std::move(t.b));  // a rope, not a copy
  if (textlike(ca) || textlike(cb)) return leaf("Z");
  if (ca == 'e' && cb == 'e') return fromreal(realvalue(t.a) - realvalue(t.b));
  if (ca == 'i' && cb == 'i') return intsub(t.a, t.b);
  if (ca == 'o' && cb == 'o') return numbsub(t.a, t.b);
  if (ca == 'e' || cb == 'e') return fromreal(realof(t.a) - realof(t.b));
  widenpair(t);
  return numbsub(t.a, t.b);
}

// ---- mult

// s repeated n times by doubling from the highest set bit of n down. The search for that bit
// has no lower limit, so a count of 0 never ends: the program waits until it is interrupted.
// Each doubling first asks whether the run may take it, the old and the new text and the leaf
// they go into, so that a count past the memory limit halts the run instead of the process.
std::string repeat(const std::string &s, int64_t n) {
  if (n == 0)
    for (;;) pause();
  int top = 62;
  while (!((n >> top) & 1)) top--;
  std::string r = s;
  for (int bit = top - 1; bit >= 0; bit--) {
    if (!roomfor(5 * (r.size() + s.size()))) return s;
    r += r;
    if ((n >> bit) & 1) r += s;
  }
  return r;
}

CellRef tolmmult(CellRef app) {
  int64_t x, y, r;
  if (smalltwo(app, x, y) && !__builtin_mul_overflow(x, y, &r)) return fromword(r);
  Two t = operands(app);
  char ca = t.ca, cb = t.cb;
  if (ca == 'w' || cb == 'w') return leaf("Z");
  if ((ca == 'u' || ca == 'a') && cb == 'i') {
    int64_t n = intword(t.b);
    if (n < 0) return leaf("Z");
    if (ca == 'u') return databox(repeat(datatext(t.a), n));
    return mkblob(repeat(blobbytes(t.a), n));
  }
  if (ca == 'e' && cb == 'e') return fromreal(realvalue(t.a) * realvalue(t.b));
  if (ca == 'i' && cb == 'i') return intmul(t.a, t.b);
  if (ca == 'o' && cb == 'o') return numbmul(t.a, t.b);
  if (textlike(ca) || textlike(cb)) return leaf("Z");
  if (ca == 'e' || cb == 'e') return fromreal(realof(t.a) * realof(t.b));
  widenpair(t);
  return numbmul(t.a, t.b);
}

// ---- over and cent

CellRef tolmover(CellRef app) {
  int64_t x, y, q, r;
  if (smalltwo(app, x, y) && smalldiv(x, y, q, r)) return fromword(q);
  Two t = operands(app);
  char ca = t.ca, cb = t.cb;
  if (ca == 'w' || cb == 'w') return leaf("Z");
  if (ca == 'e' && cb == 'e') return fromreal(realvalue(t.a) / realvalue(t.b));
  if (ca == 'i' && cb == 'i') return intdiv(t.a, t.b);
  if (ca == 'o' && cb == 'o') return leaf("Z");  // exact fractions have no division of their own
  if (textlike(ca) || textlike(cb)) return leaf("Z");
  return fromreal(realof(t.a) / realof(t.b));
}

CellRef tolmcent(CellRef app) {
  int64_t x, y, q, r;
  if (smalltwo(app, x, y) && smalldiv(x, y, q, r)) return fromword(r);
  Two t = operands(app);
  char ca = t.ca, cb = t.cb;
  if (ca == 'w' || cb == 'w') return leaf("Z");
  if (ca == 'e' && cb == 'e') return fromreal(fmod(realvalue(t.a), realvalue(t.b)));
  if (ca == 'i' && cb == 'i') return intmod(t.a, t.b);
  if (ca == 'o' && cb == 'o') return numbmod(t.a, t.b);
  if (textlike(ca) || textlike(cb)) return leaf("Z");
  if (ca == 'e' || cb == 'e') return fromreal(fmod(realof(t.a), realof(t.b)));
  widenpair(t);
  return numbmod(t.a, t.b);
}

// ---- powa

// The power of an exact fraction by an integer in word form. Two is raised by placing one bit;
// any other base goes through the exact power's own order of squaring, and the exponent 0 gives
// exact zero.
CellRef numbpow(const CellRef &a, const CellRef &b) {
  if (!bitchain(b)) return leaf("Z");
  CellRef e = intleafof(b);
  if (isleafcell(a.get()) && celltext(a) == "004") {
    if (bitsused(listbits(magnitude(e))) - 2 >= 61) return leaf("Z");
    int64_t n = toword(e), at = n >= 0 ? 2 * n + 1 : -2 * n;
    // its one place and the zeros of its digits below it; a run halted for memory never sees the Z
    if (!productroom((uint64_t)at / 8)) return leaf("Z");
    std::string d(1, '\1');
    setbit(at, 1, d);
    return bitsexact(d);
  }
  if (!isplus(e)) return leaf("Z");
  return bitsexact(exactpow(exactbits(a), (uint64_t)toword(e)));
}

CellRef tolmpowa(CellRef app) {
  int64_t x, y, r;
  if (smalltwo(app, x, y) && smallpow(x, y, r)) return fromword(r);
  Two t = twoof(app);
  char ca = t.ca, cb = t.cb;
  if (ca == 'w' || cb == 'w') return leaf("Z");
  if (ca == 'o' && cb == 'i') return numbpow(t.a, t.b);
  t = operands(app);
  if (ca == 'e' && cb == 'e') return fromreal(pow(realvalue(t.a), realvalue(t.b)));
  if (ca == 'i' && cb == 'i') return intpow(t.a, t.b);
  if (ca == 'o' && cb == 'o') return leaf("Z");
  if (textlike(ca) || textlike(cb)) return leaf("Z");
  return fromreal(pow(realof(t.a), realof(t.b)));
}

// ---- less, gteq, same, diff, cmpr

// Whether a comes before b. Different classes go by their letters; within a class by value,
// where a NaN is before nothing and nothing is before it.
bool before(const Two &t) {
  if (t.ca != t.cb) return (signed char)t.ca < (signed char)t.cb;
  switch (t.ca) {
    case 'a':
      return postview(t.a) < postview(t.b);
    case 'u':
      return datatext(t.a) < datatext(t.b);
    case 'i':
      return intless(t.a, t.b);
    case 'o':
      return numbless(t.a, t.b);
  }
  return realvalue(t.b) > realvalue(t.a);
}

CellRef tolmless(CellRef app) {
  int64_t x, y;
  if (smalltwo(app, x, y)) return truth(x < y);
  Two t = operands(app);
  if (t.ca == 'w' || t.cb == 'w') return leaf("Z");
  return truth(before(t));
}

CellRef tolmgteq(CellRef app) {
  int64_t x, y;
  if (smalltwo(app, x, y)) return truth(x >= y);
  Two t = operands(app);
  if (t.ca == 'w' || t.cb == 'w') return leaf("Z");
  if (t.ca == 'e' && t.cb == 'e') return truth(realvalue(t.a) >= realvalue(t.b));
  return truth(!before(t));
}

// The text that stands for an integer under equality: a leaf's own, a list's digits.
std::string equaltext(const CellRef &x) { return isleafcell(x.get()) ? celltext(x) : numbertext(x); }

// 1 when equal, 0 when not, -1 for the failure Z; the very same cell is equal to itself.
int equal(const CellRef &app) {
  if (argof(app.get(), 2, 0) == argof(app.get(), 2, 1)) return 1;
  int64_t x, y;
  if (smalltwo(app, x, y)) return x == y;  // an integer has one spelling
  Two t = twoof(app);
  if (t.ca == 'w' || t.cb == 'w') return -1;
  if (t.ca != t.cb) return 0;
  switch (t.ca) {
    case 'a':
      return postview(t.a) == postview(t.b);
    case 'i':  // two leaves have equal text exactly when their values are equal
      if (isleafcell(t.a.get()) && isleafcell(t.b.get())) return intcompare(t.a, t.b) == 0;
      return equaltext(t.a) == equaltext(t.b);
    case 'o':
      return numbertext(t.a) == numbertext(t.b);
    case 'e':
      return realvalue(t.a) == realvalue(t.b);
  }
  return datatext(t.a) == datatext(t.b);
}

CellRef tolmsame(CellRef app) {
  int e = equal(app);
  return e < 0 ? leaf("Z") : truth(e == 1);
}

CellRef tolmdiff(CellRef app) {
  int e = equal(app);
  return e < 0 ? leaf("Z") : truth(e == 0);
}

CellRef tolmcmpr(CellRef app) {
  int c = cellcompare(CellRef(argof(app.get(), 2, 0)), CellRef(argof(app.get(), 2, 1)));
  return fromword(c < 0 ? -1 : c > 0 ? 1 : 0);
}

// ---- buck and wave

CellRef tolmbuck(CellRef app) {
  int64_t n;
  if (smallint(argof(app.get(), 1, 0), n)) return truth(n >= 0);
  CellRef x(argof(app.get(), 1, 0));
  switch (numclass(x)) {
    case 'a': {
      std::string_view s = postview(x);
      return s.empty() ? leaf("Z") : bytetext((unsigned char)s[0]);
    }
    case 'e':
      return truth(!std::signbit(realvalue(x)));
    case 'i':
      return truth(isplus(intleafof(x)));
    case 'o':
      return truth(getbit(0, exactbits(x)));
    case 'u':
      return dataempty(x) ? leaf("Z") : datainit(x);
  }
  return leaf("Z");
}

CellRef tolmwave(CellRef app) {
  int64_t n;
  if (smallint(argof(app.get(), 1, 0), n) && n != INT64_MIN) return fromword(-n);
  CellRef x(argof(app.get(), 1, 0));
  switch (numclass(x)) {
    case 'a': {
      std::string_view s = postview(x);
      return s.empty() ? leaf("Z") : mkblob(std::string(s.substr(1)));
    }
    case 'e':
      return fromreal(-realvalue(x));
    case 'i':
      return intneg(intleafof(x));
    case 'o':
      return numbneg(x);
    case 'u':
      return dataempty(x) ? leaf("Z") : datalast(x);
  }
  return leaf("Z");
}

}  // namespace


void fillarith(Builtins &table) {
  table["plus"].run = tolmplus;
  table["dash"].run = tolmdash;
  table["mult"].run = tolmmult;
  table["over"].run = tolmover;
  table["cent"].run = tolmcent;
  table["powa"].run = tolmpowa;
  table["less"].run = tolmless;
  table["gteq"].run = tolmgteq;
  table["same"].run = tolmsame;
  table["diff"].run = tolmdiff;
  table["cmpr"].run = tolmcmpr;
  table["buck"].run = tolmbuck;
  table["wave"].run = tolmwave;
}
