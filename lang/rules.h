// The rewrite rules that both machines share: the literal machine of the continuation term and the
// fast machine of native frames. A rule gives the next term and what becomes of the continuation.
#pragma once
#include <cstdint>

#include "core/cell.h"
#include "core/tables.h"

// The leaves the machines build with, made anew for each set of tables, since a leaf's analysis
// reads the definitions of the run it is first asked in.
struct Leaves {
  uint64_t generation = ~0ull;
  CellRef B{"B"}, T{"T"}, I{"I"}, K{"K"}, H{"H"}, V{"V"}, J{"J"}, X{"X"}, Z{"Z"}, lam{"\\"};
};
Leaves &leaves();

// What a name leaf means, looked up once and kept while the leaf is held here: its row in the
// built-in table and its entry in the definitions. A reset of the tables or an erased definition
// makes the kept answer stale.
struct Named {
  Cell *leaf = nullptr;
  uint64_t generation = 0, epoch = 0;
  const builtinrow *row = nullptr;
  Defs::iterator def;
  bool defined = false;
  // The compiled code of the definition codefor (counted while kept here), so that a call finds
  // it without a search; it holds while the entry's term is still that cell.
  Cell *codefor = nullptr;
  const struct Code *code = nullptr;
};
Named &named(Cell *leaf);

// After a rewrite the continuation is kept, gets the frame ((B K) pushed) on top, or is dropped
// because the new term is a failure mark that ends the run.
enum class Then { keep, push, drop };
Then rewriteterm(CellRef &e, CellRef &pushed);
Then callbuiltin(const builtinrow *row, CellRef &e);

// The spine of a term: its head and its arguments, args[0] the last; at most twelve.
int spineof(Cell *e, Cell **args, Cell *&head);

// The argument part (T r) of a frame ((B K) (T r)), as the literal machine recognises it.
inline bool argpart(const Cell *q) { return !isleafcell(q) && leafis(q->left, "T"); }

// A leaf that the rewrite reads as a global name (its last case): no number, blob, real, mark or
// data, and neither of the two binders, whose cases come first.
inline bool isnameleaf(const Cell *h) {
  unsigned char f = headbyte(h);
  return isleafcell(h) && f > ' ' && f != ')' && f != ']' && f != '[' && f != '(' && !(f >= '0' && f <= '9') &&
         !((f == '{' || f == '\\') && textof(h)[1] == 0);
}

// The fast machine, and whether the definitions it relies on are the prelude's in this run.
bool fastready();
CellRef fastrun(CellRef term);
