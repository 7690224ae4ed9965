// Integer leaves as a sign and binary words: made from words without writing their digits when
// the number is large, and read back as words without reading digits that were never written.
#pragma once
#include "core/bignum.h"
#include "core/cell.h"

// The sign and the magnitude in binary words of an integer: where a leaf keeps its words they are
// read in place, a value that fits a word stands in word, and digits and a list of bits are read
// into own. w may point into the record itself, which is therefore never copied.
struct Intwords {
  bool minus = false;
  const uint64_t *w = nullptr;
  size_t n = 0;  // no zero word on top; zero has none
  uint64_t word = 0;
  Limbs own;
  Intwords() = default;
  Intwords(const Intwords &) = delete;
  Intwords &operator=(const Intwords &) = delete;
};
void intwords(const Cell *c, Intwords &x);  // c passes intform

// A number leaf being made, with room for the words of its magnitude, which the caller writes at
// w; numberdone finishes it with the sign and the count of words written, and gives the integer
// leaf (zero is spelled 0 whatever the sign), made already analysed. A magnitude of two words or
// more stays as words, and its digits are written the first time anything reads the text (see
// textof).
struct Numberroom {
  Cell *c;
  uint64_t *w;
};
Numberroom numberroom(size_t words);
CellRef numberdone(Numberroom room, bool minus, size_t n);

// The same for words that stand in a vector.
CellRef wordsleaf(bool minus, const Limbs &m);

// The integer leaf of a sign and a magnitude that fit a word, made already analysed. A value of 3
// to 18 digits keeps its word in the leaf until its text is first read, so that a result that is
// only an operand of the next operation is never spelled out and read back.
CellRef wordleaf(uint64_t magnitude, bool minus);
// The value of a leaf with pending digits when one word waits there; false for more words.
bool waitingvalue(const Cell *c, int64_t &v);

// The sign and the magnitude of an integer digit leaf, copied out as a vector.
void leafwords(const Cell *c, bool &minus, Limbs &m);
