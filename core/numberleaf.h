// Integer leaves as a sign and binary words: made from words without writing their digits when
// the number is large, and read back as words without reading digits that were never written.
#pragma once
#include "core/bignum.h"
#include "core/cell.h"

// The integer digit leaf of a sign and a magnitude in binary words (zero is spelled 0 whatever
// the sign), made already analysed. A magnitude of several words keeps them in the leaf, and its
// digits are written the first time anything reads the text (see textof).
CellRef wordsleaf(bool minus, const Limbs &m);

// The sign and the magnitude in binary words of an integer digit leaf: its words as kept, or read
// from its digits.
void leafwords(const Cell *c, bool &minus, Limbs &m);
