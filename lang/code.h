// The compiled form of a definition's body, which the fast machine runs instead of substituting
// the arguments into the body and rewriting the copy step by step.
#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "core/cell.h"
#include "core/tables.h"

// The operations of compiled code, over a stack of counted cells. An activation's slots (its
// parameters, then its local bindings) start at its base; its own values lie above them.
enum class Op : uint8_t {
  slot,     // push slot s
  take,     // push slot s and leave it empty: nothing after reads it
  cell,     // push cells[c]
  global,   // push the value of the constant leaf cells[c], evaluating it first when it has none
  build,    // push cells[c] with the slots of maps[m] put for its variables, then empty the
            // slots of the variables in gives
  eval,     // bring the top to normal form
  builtin,  // call rows[c] on a fresh application of leaf cells[m] to the top n values
  quick,    // the same for the operator s on two values, done at once when both are small integers
  call,     // call the definition of leaf cells[c] on the top n values; s = 1 in tail position
  select,   // top K: drop it and go on; top H: drop it, go to c; anything else: go to m
  jump,     // go to c
  let,      // pop into slot s
  done,     // the top is the result of the activation; n = 1 when it is normal as made
  apply,    // apply the value under the top n terms to them; s = 1 in tail position, else resume at c
  resume,   // frame that resumes at c; the values above now belong to a nested activation
  argument, // pop a term into a frame that applies the value to it
  defer,    // a frame that applies the value to cells[c] with the slots of maps[m], built when
            // needed; the slots of the variables in gives are handed to it, not copied
  pair,     // pop r and l, push the pair (l r)
  grab,     // when n argument frames wait on top, go to c
  dynamic,  // the value in slot s applied: go where cases[c] says for its shape, emptying slot s
            // on the way to a case that does not read it
  enter,    // the value in slot s applied to the waiting arguments, as the activation's last act;
            // n = 1 when nothing after reads slot s
  invoke,   // the value in slot s applied to the top n values: a known abstraction with n parameters
            // runs its code at once, anything else gets them in argument frames as enter does; c = 1
            // in tail position, m = 1 when nothing after reads slot s
  fused,    // the first operand of the quick two further on, its second the one after this: when
            // both, read where they stand, are small integers the operator is done here and the
            // code goes on past it (past its eval, or where its select goes); otherwise both are
            // pushed as the slot, take or cell of n and the next instruction say, and the
            // operator's built-in runs
  fusedtop, // the same for the second operand of the quick next, whose first is the top
};

// Where the application of a value goes by the value's shape: a pair V x or J x y with x and
// y put in the two slots, the selector K or H, or anything else.
struct Cases {
  uint32_t v, j, k, h, other;
  uint16_t first, second;  // slots
  uint8_t gone = 0;        // the cases, by bit in that order, that no longer read the value's slot
};
constexpr uint32_t nocase = ~0u;

struct Ins {
  Op op;
  uint8_t n = 0;
  uint16_t s = 0;
  uint32_t c = 0, m = 0;
  uint32_t gives = 0;  // build and defer: variables, by letter, whose slot this is the last read of
};

struct Code {
  std::vector<Ins> ins;
  std::vector<CellRef> cells;
  std::vector<std::array<uint8_t, 26>> maps;  // variable to slot, for build
  std::vector<const builtinrow *> rows;
  std::vector<Cases> cases;
  uint32_t captured = 0;  // slots of the variables that the term leaves free, in letter order
  uint32_t params = 0;    // slots of its parameters, after those
  uint32_t slots = 0;
  bool ok = false;  // false: the definition runs by substitution
};

// The operators that the fast machine does itself on two integers that fit a word, and the
// operator of a built-in's name (none for any other name).
enum class Quick : uint8_t { none, plus, dash, mult, over, cent, less, gteq, same, diff };
Quick quickof(const char *name);
// The operator's result, counted, the very leaf the built-in would give; null when an argument is
// no such integer or the result might not fit, and the built-in must run.
Cell *quick(Quick q, Cell *a, Cell *b);
// A comparison's answer, 1 for K and 0 for H, when both arguments are such integers; -1 when the
// built-in must run or the operator is no comparison.
int quicktest(Quick q, Cell *a, Cell *b);

// Marks each read of a slot that no path after it reads again, so that the read takes the value
// out of the slot: a handle moved rather than copied, and a value that nothing else holds stays
// alone for a built-in that may change it in place.
void lastreads(Code &code);

// Marks the first operand of each quick whose two operands are slots or cells pushed just before
// it, where no jump lands between them, as fused; and the second operand of one whose first
// comes before, as fusedtop.
void fuse(Code &code);

// Which of the prelude's combinators stand as the prelude defines them in this run: the fast
// machine's shortcuts hold only for those.
struct Intact {
  bool T = false, K = false, H = false, I = false, V = false, J = false;
  Cell *hbody = nullptr;  // the body of H, the leaf I it gives
};
extern Intact intact;

// The compiled body of a definition, or of an abstraction or a closed term that a program holds,
// made at its first use in a set of tables.
const Code &codeof(Cell *def);

// An abstraction that a program holds, made from the term from: the abstraction itself, or a
// template of the program's text whose free variables took the values given by letter.
void lambdamade(Cell *lambda, Cell *from, Cell *const *values, uint32_t vars);
