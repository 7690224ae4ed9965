// The cached analysis of a term and the substitution that every beta step uses.
// Each cell is analysed once: arity, redex flag and free variables land in its header word.
#pragma once
#include "core/cell.h"

// Every reader analyses the cell first; the handle forms only save the caller a get(). The
// readers are inline: once a cell is analysed, each costs a load and a mask.
inline bool analysed(const Cell *c) { return (topbyte(c) & 0x7F) != 0; }
void analyse(Cell *c);  // the work behind sizeup, for a cell not analysed yet

inline void sizeup(Cell *c) {
  if (!analysed(c)) analyse(c);
}

inline int arityof(Cell *c) {
  sizeup(c);
  return datakind(c) ? 1 : (int)aritycode(c) - 52;
}

inline bool isdata(Cell *c) {
  sizeup(c);
  return datakind(c);
}

inline bool isnormal(Cell *c) {
  sizeup(c);
  return datakind(c) || (!redexflag(c) && (int)aritycode(c) - 52 >= 1);
}

inline uint32_t freeset(Cell *c) {
  sizeup(c);
  unsigned char h = headbyte(c);
  if (datakind(c) || h == '[' || (h >= '0' && h <= '9')) return 0;
  return fieldof(c);
}

bool lazyhead(Cell *c);
char shapeof(Cell *c);

inline void sizeup(const CellRef &t) { sizeup(t.get()); }
inline int arityof(const CellRef &t) { return arityof(t.get()); }
inline bool isdata(const CellRef &t) { return isdata(t.get()); }
inline bool isnormal(const CellRef &t) { return isnormal(t.get()); }
inline bool lazyhead(const CellRef &t) { return lazyhead(t.get()); }
inline char shapeof(const CellRef &t) { return shapeof(t.get()); }
inline uint32_t freeset(const CellRef &t) { return freeset(t.get()); }

void needclosed(const CellRef &term);
CellRef subst(const CellRef &term, const CellRef &value, char var);
// Every variable of the set at once, variable c taking values[c - 'a']; the same as one subst
// for each of them, and the cells made are the same.
CellRef substall(const CellRef &term, Cell *const *values, uint32_t vars);
