// The expression parser: a ladder of precedence levels that cuts normalised text at its operators
// and builds the term directly, and the bracket check that the raw text passes first.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/cell.h"
#include "core/tables.h"

// The positions at nesting depth 0 of any of the characters; a group's opening byte is seen.
std::vector<size_t> oppositions(std::string_view text, std::string_view chars);
// The leaves of one byte that the parses of a text share, each made at its first need: the
// operators and letters of a long program are then a few cells, which interning meets as one.
// Pairs of two shared cells are shared in turn, so that a subterm spelled alike in many places,
// such as "(x - 1)", is one cell for interning to meet. The table holds a count of each cell in it.
struct Bytecells {
  Cell *cell[256] = {};
  Flat pairs;  // a hash of the two children to the pair
  Bytecells() = default;
  Bytecells(const Bytecells &) = delete;
  Bytecells &operator=(const Bytecells &) = delete;
  ~Bytecells();
};

// A definition or an expression: the level of ";", "\" and "{". Its one-byte leaves are shared
// with the other parses of bytes when it is given.
CellRef parsetop(std::string_view text, Bytecells *bytes = nullptr);
// The inside of a pair of wings: the level of the comma.
CellRef parselist(std::string_view text);

// Five blob digits for a position from 0 to 0x3FFFFFFF; 0x40000000 gives "!!!!!".
std::string posname(int64_t n);
// Checks the brackets of a raw text whose first byte lies at offset base of its document. On
// failure it returns false with the status word, "[", the position's name, "]" and the message
// in error, and the position in where.
bool matchcheck(const std::string &text, int64_t base, std::string &error, int64_t &where);
