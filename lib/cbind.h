// The pattern every C binding follows: its arguments tested in order and converted by one letter
// each, the C call on machine words, and the result made into a term.
#pragma once
#include <bit>
#include <cstdint>
#include <cstddef>

#include "core/cell.h"
#include "lib/builtins.h"

// The converted arguments of one call, one machine word each.
struct Cargs {
  uint64_t w[8];
  int64_t n(int i) const { return (int64_t)w[i]; }
  int in(int i) const { return (int)w[i]; }
  double r(int i) const { return std::bit_cast<double>(w[i]); }
  template <class T = char>
  T *p(int i) const {
    return (T *)(uintptr_t)w[i];
  }
};

// A binding: one letter for each argument it reads, from the first, and the call on the converted
// arguments. r is a real (its eight bytes), n an integer or a pointer held as one, s a string or a
// buffer (its address), - an integer that is not tested.
struct Binding {
  const char *name;
  const char *letters;
  CellRef (*call)(const Cargs &);
};

// Puts the bindings into the rows of their names; each row tests and converts its arguments
// before its call, and gives Z at the first test that fails without calling anything.
void fillbindings(Builtins &table, const Binding *first, size_t count);
template <size_t N>
void fillbindings(Builtins &table, const Binding (&all)[N]) {
  fillbindings(table, all, N);
}

// Results: an address as an integer, a C truth as K or H, and I for a call that gives nothing.
CellRef fromaddress(const void *p);
CellRef truth(bool b);
CellRef done();
