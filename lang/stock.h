// The stock definitions (the prelude, the built-ins' entries and the layout table), checked once and
// kept: a run whose text redefines none of them starts from their checked terms.
#pragma once
#include <string_view>
#include <vector>

#include "core/tables.h"
#include "lang/unit.h"

// The kept terms of the stock: as loaded (never checked, never in a table) and as checked, with
// every subterm of the checked ones interned.
struct Stock {
  Defmap loaded, checked;
  Defmap prelude, stubs;  // the checked terms of the prelude's names, and of the built-ins'
  Keep whole;
  std::vector<std::pair<std::string, uint8_t>> rows;  // the built-ins it was made for, by name
  std::string layout;
};

// Puts the prelude's checked terms into the table; false when no stock fits this run's built-ins
// and layout and none can be made now, and the prelude must be parsed.
bool stockprelude(Defs &defs);
// Puts each built-in's checked entry into the table; false when the prelude came from no stock.
bool stockstubs(Defs &defs);
// The stock when the table holds all of it as loaded; otherwise null, after the kept terms still in
// the table were replaced by fresh copies, so that the checks never touch a kept cell.
// When the stock is there, own gets the table's other entries in name order, which alone need
// checking.
const Stock *stockchecked(Defs &defs, std::vector<Defs::value_type *> &own);
// A built-in's entry: Z inside as many abstractions as it takes, only for its name and arity.
CellRef builtinstub(int arity);
// The prelude's definitions parsed into the table, unchecked.
void preludeparse(Defs &defs);
// A set of interned terms that holds every member of the stock's, those that are no values passing.
Keep stockkeep(const Stock &b);
