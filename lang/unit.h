// A unit of program text and the steps every text passes on its way to the machine: read into
// definitions, quotes and patterns rewritten, binders checked, locals made letters, interned.
#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/cell.h"

struct Outcome {
  std::string name;              // the function the report concerns
  int64_t where = -1;            // position in the document, -1 for none
  std::string status = "Empty";  // one five-letter word; "Empty" means no error
  std::string message;           // the text for the user
};
inline bool failed(const Outcome &o) { return o.status != "Empty"; }

// Definitions by name in plain byte order; the main expression stands under the empty name. The
// definition table is one of these, and so is the unit of a run-time load.
using Defmap = std::map<std::string, CellRef, std::less<>>;

// What one text defines: its terms and the names in the form name() that are evaluated anew at
// each use.
struct Unit {
  Defmap defs;
  std::set<std::string> fresh;
};

// The bracket check of the raw text, then its pieces between depth-0 commas parsed: the main
// expression and each definition name\body or name()\body. Other pieces are ignored. A single
// letter, a binder or a built-in's name defined ends the reading with its Outcome; where counts
// from base, the text's offset in its document.
Outcome unitread(int64_t base, const std::string &text, Unit &u);

// The first binder of a definition that is no name ("Funky"); quotes and pair patterns are
// rewritten first (unsugar).
Outcome unitfunky(const std::string &name, const CellRef &term);
// The report of a bad binder found.
Outcome unitbadkey(const std::string &name, const CellRef &bad);

// Word locals of one definition made single letters ("Place" when more than 26), and the check
// of its parameters ("Arity" when more than ten).
Outcome unitletters(const std::string &name, CellRef &term);
Outcome unitarity(const std::string &name, const CellRef &term);
// The first free letter left in a definition ("Local").
Outcome unitclosed(const std::string &name, const CellRef &term);
// Takes out of the interned set every member that is not a value.
void keepvalues();
