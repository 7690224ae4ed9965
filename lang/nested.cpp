// The steps of a run-time load: the unit steps of every program text, then the load's own rules.
// Nothing may be defined again, and only what the main expression reaches enters the table.
#include "lang/nested.h"

#include <vector>

#include "core/tables.h"
#include "lang/analysis.h"
#include "lang/lambda.h"

namespace {
// The names reached from the main expression. Every name they refer to is defined by the text or
// by the table, and nothing the text defines is in the table already.
bool reach(const Unit &u, std::set<std::string> &reached) {
  Defs &table = deftable();
  for (const auto &[name, term] : u.defs)
    if (!name.empty() && table.count(name)) return false;
  std::vector<std::string> todo{""};
  reached.insert("");
  while (!todo.empty()) {
    std::string n = todo.back();
    todo.pop_back();
    for (const std::string &r : refsof(u.defs.at(n))) {
      if (u.defs.count(r)) {
        if (reached.insert(r).second) todo.push_back(r);
      } else if (!table.count(r)) {
        return false;
      }
    }
  }
  return true;
}

// The reached definitions go into the table, interned like a program's; each must be closed.
bool enter(Unit &u, const std::set<std::string> &reached) {
  for (const std::string &name : reached) {
    CellRef &term = u.defs.at(name);
    term = cellkeep(term);
    if (name.empty()) continue;
    deftable().insert_or_assign(name, term);
    loadednames().insert(name);
    if (u.fresh.count(name)) freshnames().insert(name);
  }
  for (const std::string &name : reached) {
    if (!failed(unitclosed(name, u.defs.at(name)))) continue;
    nestedleave(u);
    return false;
  }
  keepvalues();
  return true;
}
}  // namespace

bool nestedenter(const std::string &source, Unit &u) {
  if (failed(unitread(0, source, u))) return false;
  for (auto &[name, term] : u.defs) {
    term = unsugar(term);
    if (failed(unitfunky(name, term))) return false;
  }
  std::set<std::string> reached;
  if (!reach(u, reached)) return false;
  // Word locals become letters, at most 26 names to a definition, and at most ten parameters.
  for (const std::string &name : reached) {
    CellRef &term = u.defs.at(name);
    if (failed(unitletters(name, term)) || failed(unitarity(name, term))) return false;
  }
  return enter(u, reached);
}

void nestedleave(const Unit &u) {
  for (const auto &[name, term] : u.defs) {
    if (name.empty()) continue;
    deftable().erase(name);
    loadednames().erase(name);
    if (u.fresh.count(name)) freshnames().erase(name);
  }
}
