// The cached analysis of a term and the substitution that every beta step uses.
// Each cell is analysed once: arity, redex flag and free variables land in its header word.
#pragma once
#include "core/cell.h"

// Every reader analyses the cell first; the handle forms only save the caller a get().
void sizeup(Cell *c);
int arityof(Cell *c);
bool isdata(Cell *c);
bool isnormal(Cell *c);
bool lazyhead(Cell *c);
char shapeof(Cell *c);
uint32_t freeset(Cell *c);

inline void sizeup(const CellRef &t) { sizeup(t.get()); }
inline int arityof(const CellRef &t) { return arityof(t.get()); }
inline bool isdata(const CellRef &t) { return isdata(t.get()); }
inline bool isnormal(const CellRef &t) { return isnormal(t.get()); }
inline bool lazyhead(const CellRef &t) { return lazyhead(t.get()); }
inline char shapeof(const CellRef &t) { return shapeof(t.get()); }
inline uint32_t freeset(const CellRef &t) { return freeset(t.get()); }

void needclosed(const CellRef &term);
CellRef subst(const CellRef &term, const CellRef &value, char var);
