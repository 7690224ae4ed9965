// The way back from the machine's views of raw values: fixed-shape matchers that recognise a bit
// tree, a list of byte trees or a J tree in a normal-form term and fold it into bytes, a double or data.
#pragma once
#include <string>

#include "core/cell.h"

// A byte as a depth-3 tree of J whose leaves are I for a set bit; any other leaf reads as clear.
bool isbytetree(const CellRef &t);
unsigned char bytetree(const CellRef &t);
// A byte as a depth-3 tree of V with K and H leaves, and eight such bytes as a depth-6 tree.
bool isrealbyte(const CellRef &t);
unsigned char realbyte(const CellRef &t);
bool isrealtree(const CellRef &t);
std::string realtree(const CellRef &t);  // eight bytes, the first byte from the leftmost sub-tree
// A byte string: K for none, a byte tree for one, ((J a) b) for the bytes of a then those of b.
bool isbytes(const CellRef &t);
std::string bytes(const CellRef &t);
// A K-terminated chain ((J b) rest) of H and K bits, other than the bare K.
bool isbitlist(const CellRef &t);
// A tree of J pairs as data: K is "[]", ((J a) b) the pair of the data of a and of b; any other
// shape gives Z.
CellRef treetext(const CellRef &t);
