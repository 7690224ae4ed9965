// Numbers as terms: which terms are numbers, the spelling of every natural as a digit leaf or a
// bit list, the conversions between integers, exact binary fractions, reals and machine words,
// and the integer and exact arithmetic that the operators call.
#pragma once
#include <cstdint>
#include <string>

#include "core/cell.h"

// ---- Classes and forms. A pair is read as ((J b) rest) where the form names one; data is told
// by the mark every data cell carries from its making.

char numclass(const CellRef &t);  // e real, a post, u text, i integer, o exact, w anything else
bool intform(const CellRef &t);
void needint(const CellRef &t);
bool natform(const CellRef &t);
void neednat(const CellRef &t);
bool exactform(const CellRef &t);
void needexact(const CellRef &t);
bool isplus(const CellRef &t);
CellRef magnitude(const CellRef &t);

// ---- The natural N behind every digit leaf and bit list, as a BitNat byte string.

// The text of N: odd N are integers (bit 1 the sign, the rest above), even N exact fractions.
std::string naturaltext(const std::string &n);
// The natural of a digit text; the inverse of naturaltext.
std::string textnatural(const std::string &text);
// The bit list ((J b0) ((J b1) ... K)) of N's value bits, least significant first, and back.
// The way back also reads a digit leaf, and a list whose tail is a digit leaf.
CellRef bitlist(const std::string &n);
std::string listbits(const CellRef &t);
// The tail of a digit leaf's view as a pair (sign and rest).
CellRef digitsrest(const CellRef &t);

// ---- Machine words and reals.

// An integer digit leaf whose value fits a signed word gives that value, read straight from its
// digits or from the word that waits in it for them; anything else (a pair, another leaf, an exact
// number, a larger integer) gives false. Code that only wants a word asks this rather than reading
// the text: reading the text of a result writes its digits (core/numberleaf.h), which this never
// does.
bool smallintread(const Cell *c, int64_t &v);
// Zero and the positive integers of one or two digits, the commonest operands, are read here at
// once: a leaf holds at least 16 text bytes, ended by a NUL, so the bytes looked at are its own.
inline bool smallint(const Cell *c, int64_t &v) {
  if (isleafcell(c)) {
    const unsigned char *t = (const unsigned char *)rawtext(c);
    unsigned a = t[0] - (unsigned)'0', b = t[1] - (unsigned)'0';
    if (a <= 9 && t[1] == 0) {
      v = a;
      return true;
    }
    if (a - 1 < 9 && b <= 9 && t[2] == 0) {
      v = 10 * a + b;
      return true;
    }
  }
  return smallintread(c, v);
}

uint64_t lowword(const CellRef &t);
int64_t toword(const CellRef &t);  // no range check: higher bits are lost
// Words as digit leaves, made already analysed.
CellRef fromword(int64_t n);
CellRef fromuword(uint64_t n);
CellRef fromreal(double x);
void needreal(const CellRef &t);
double realvalue(const CellRef &t);
uint64_t toaddress(const CellRef &t);  // integers, texts and posts, as the C interface takes them
// The classes toaddress takes: post, integer and text.
inline bool isstringish(char cls) { return cls == 'a' || cls == 'i' || cls == 'u'; }
std::string realtext(const CellRef &t);
CellRef realdata(const CellRef &t);
CellRef inttoreal(const CellRef &t);

// ---- Exact fractions. D is a BitNat read without a sentinel: bit 0 the sign (1 plus), bit 2k+1
// the place 2^k, bit 2k the place 2^-k. Zero is D = 1.

std::string exactbits(const CellRef &t);  // D of an exact term
CellRef bitsexact(const std::string &d);  // the leaf of D
CellRef exacttoreal(const CellRef &t);
CellRef realtoexact(const CellRef &t);
CellRef inttoexact(const CellRef &t);

// Each exact addition appends a line of its two signs to "/tmp/both.bug", or to this string when set.
extern std::string *bothcapture;

std::string withsign(bool plus, const std::string &d);
std::string exactadd(const std::string &a, const std::string &b);
std::string exactneg(const std::string &d);
std::string exactsub(const std::string &a, const std::string &b);  // addition of the negation
std::string exactmul(const std::string &a, const std::string &b);
std::string exactpow(const std::string &d, uint64_t e);  // zero for e = 0
// a - b * floor(a / b), exactly; false for a zero divisor.
bool exactmod(const std::string &a, const std::string &b, std::string &r);
int exactcompare(const std::string &a, const std::string &b);

// The same on exact terms, each giving a leaf; the remainder by zero gives Z.
CellRef numbadd(const CellRef &a, const CellRef &b);
CellRef numbsub(const CellRef &a, const CellRef &b);
CellRef numbmul(const CellRef &a, const CellRef &b);
CellRef numbmod(const CellRef &a, const CellRef &b);
CellRef numbneg(const CellRef &a);
bool numbless(const CellRef &a, const CellRef &b);

// ---- Integers, on their decimal text. Operands must pass intform; results are digit leaves, zero
// always spelled 0. Division and remainder round toward minus infinity, and by zero give Z.

CellRef intadd(const CellRef &a, const CellRef &b);
CellRef intsub(const CellRef &a, const CellRef &b);
CellRef intmul(const CellRef &a, const CellRef &b);
CellRef intdiv(const CellRef &a, const CellRef &b);
CellRef intmod(const CellRef &a, const CellRef &b);
CellRef intpow(const CellRef &a, const CellRef &b);
CellRef intneg(const CellRef &a);
int intcompare(const CellRef &a, const CellRef &b);
bool intless(const CellRef &a, const CellRef &b);
