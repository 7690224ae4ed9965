// The process-wide tables of the language: definitions, fresh names, interned terms, built-ins.
// Each is built on first use; tablesreset empties all but the interned terms before each run.
#pragma once
#include <map>
#include <set>
#include <string>
#include <unordered_map>

#include "core/cell.h"

// Both name tables compare plain byte strings; they can be searched with a string_view.
using Defs = std::map<std::string, CellRef, std::less<>>;
Defs &deftable();
std::set<std::string, std::less<>> &freshnames();

// Counts the resets of the tables, so that what is derived from them can tell it is stale.
extern uint64_t tablesgeneration;

// The interned terms. Members are found by a structural hash and told apart by cellcompare, so
// that interning costs no walk of the members; the order of members is never looked at.
struct Keep {
  std::unordered_multimap<uint64_t, CellRef> members;  // structural hash to member
  std::unordered_map<Cell *, uint64_t> hashes;          // member to its structural hash
};
Keep &keepset();
void keepdrop(Keep &k, Cell *member);

// One row of the built-in table: the number of arguments and the function that rewrites a
// saturated application into its result.
struct builtinrow {
  uint8_t arity;
  CellRef (*run)(CellRef app);
};
// The storage of the built-in table; its reader fills it on first use.
std::map<std::string, builtinrow> &builtintable();

void tablesreset();
