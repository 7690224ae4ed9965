// What the operators and the structure words share about number terms: their digits as text, their
// machine words, and the widening of an integer to an exact fraction.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "core/cell.h"

// The decimal digits of an integer's or exact fraction's text without its sign: "05" gives "5",
// "002" gives "2"; a list is spelled first.
std::string numbertext(const CellRef &t);
// Its length, for a leaf without reading its digits.
size_t numberdigits(const CellRef &t);
// An integer (leaf or list) as its digit leaf, and as a machine word: the low 64 bits of the
// magnitude with the sign.
CellRef intleafof(const CellRef &t);
int64_t intword(const CellRef &t);
// A number in word form: K or a digit leaf, or a chain of J links of H and K bits ended by one.
bool bitchain(const CellRef &t);
// A byte as a one-element text.
CellRef bytetext(unsigned char b);
// The bytes of a post where they stand in its leaf, so that a word that needs a few of them, or
// only their count, copies none; valid while the post is held.
std::string_view postview(const CellRef &p);
