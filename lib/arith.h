// What the operators and the structure words share about number terms: their digits as text, their
// machine words, and the widening of an integer to an exact fraction.
#pragma once
#include <cstdint>
#include <string>

#include "core/cell.h"

// The decimal digits of an integer's or exact fraction's text without its sign: "05" gives "5",
// "002" gives "2"; a list is spelled first.
std::string numbertext(const CellRef &t);
// An integer (leaf or list) as its digit leaf, and as a machine word: the low 64 bits of the
// magnitude with the sign.
CellRef intleafof(const CellRef &t);
int64_t intword(const CellRef &t);
// A number in word form: K or a digit leaf, or a chain of J links of H and K bits ended by one.
bool bitchain(const CellRef &t);
// A byte as a one-element text.
CellRef bytetext(unsigned char b);
