// The abstract machine: a state (K . E) of a continuation and the term in work, rewritten step by
// step to a normal form. Continuations are terms; the loop is an iteration, not a recursion.
#pragma once
#include <cstdint>

#include "core/cell.h"

// Machine steps since the start; the benchmarks and tests read it.
extern uint64_t machinesteps;

// Whether evaluate runs the literal machine rather than the fast one; the environment variable
// TOLM_MACHINE=reference sets it at start-up.
extern bool machinereference;

// A run ends early, with Z, once runhalt (core/halt.h) is set.
CellRef evaluate(CellRef term);
CellRef runmachine(CellRef state);
// One decision: the next state, after one rewrite where the term is a saturated redex.
void schedule(CellRef &k, CellRef &e);
void rewrite(CellRef &k, CellRef &e);

// The machine's views of raw values as trees.
CellRef bytetreeview(unsigned char byte);
CellRef realtreeview(const unsigned char bits[8]);
