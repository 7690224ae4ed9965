// The built-in load: compiles a text as a program of its own against the current definition
// table, runs its main expression nested in the current step, and takes its definitions out again.
#include <map>
#include <set>
#include <vector>

#include "core/data.h"
#include "core/number.h"
#include "core/tables.h"
#include "lang/analysis.h"
#include "lang/chars.h"
#include "lang/eval.h"
#include "lang/lambda.h"
#include "lang/parse.h"
#include "lang/program.h"
#include "lib/builtins.h"

std::set<std::string> &loadednames() {
  static std::set<std::string> names;
  return names;
}

namespace {
// The definitions of one load, the main expression under the empty name, and its once-names.
struct Loaded {
  std::map<std::string, CellRef> defs;
  std::set<std::string> fresh;
};

// A post gives its bytes, a text its characters, an integer the C string at that address.
bool sourceof(const CellRef &x, std::string &text) {
  switch (numclass(x)) {
    case 'a':
      text = blobbytes(x);
      return true;
    case 'u':
      text = datatext(x);
      return true;
    case 'i':
      text = (const char *)(uintptr_t)toword(x);
      return true;
  }
  return false;
}

// The bracket check, the cut at the commas and the parse of each piece, then quotes and pair
// patterns as the front end rewrites them. A letter or a binder defined, or a binder that is no
// name, refuses the whole text.
bool compile(const std::string &source, Loaded &l) {
  std::string error;
  int64_t where;
  if (!matchcheck(source, 0, error, where)) return false;
  auto all = pieces(normalise(source));
  l.defs.insert_or_assign("", parsetop(all[0].second));
  for (size_t i = 1; i < all.size(); i++) {
    std::optional<Definition> d = definitionof(parsetop(all[i].second));
    if (!d) continue;
    if (isvarname(d->name) || d->name == "\\" || d->name == "{") return false;
    l.defs.insert_or_assign(d->name, d->body);
    if (d->fresh) l.fresh.insert(d->name);
    else l.fresh.erase(d->name);
  }
  for (auto &[name, term] : l.defs) {
    term = unpair(unquote(term));
    CellRef bad = funkyterm(term);
    if (cellispair(bad) || celllen(bad)) return false;
  }
  return true;
}

// The names reached from the main expression. Every name they refer to is defined by the text or
// by the table, and nothing the text defines is in the table already.
bool reach(const Loaded &l, std::set<std::string> &reached) {
  Defs &table = deftable();
  for (const auto &[name, term] : l.defs)
    if (!name.empty() && table.count(name)) return false;
  std::vector<std::string> todo{""};
  reached.insert("");
  while (!todo.empty()) {
    std::string n = todo.back();
    todo.pop_back();
    for (const std::string &r : refsof(l.defs.at(n))) {
      if (l.defs.count(r)) {
        if (reached.insert(r).second) todo.push_back(r);
      } else if (!table.count(r)) {
        return false;
      }
    }
  }
  return true;
}

// Word locals become letters, at most 26 names to a definition, and at most ten parameters.
bool letters(Loaded &l, const std::set<std::string> &reached) {
  for (const std::string &name : reached) {
    CellRef &term = l.defs.at(name);
    std::optional<CellRef> renamed = wordlocals(name, term);
    if (!renamed || paramcount(*renamed) > 10) return false;
    term = *renamed;
  }
  return true;
}

void takeout(const Loaded &l) {
  for (const auto &[name, term] : l.defs) {
    if (name.empty()) continue;
    deftable().erase(name);
    loadednames().erase(name);
    if (l.fresh.count(name)) freshnames().erase(name);
  }
}

// The reached definitions go into the table, interned like a program's; each must be closed.
bool enter(Loaded &l, const std::set<std::string> &reached) {
  for (const std::string &name : reached) {
    CellRef &term = l.defs.at(name);
    term = cellkeep(term);
    if (name.empty()) continue;
    deftable().insert_or_assign(name, term);
    loadednames().insert(name);
    if (l.fresh.count(name)) freshnames().insert(name);
  }
  for (const std::string &name : reached) {
    if (freeset(l.defs.at(name)) == 0) continue;
    takeout(l);
    return false;
  }
  keepvalues();
  return true;
}

CellRef load(CellRef app) {
  std::string source;
  Loaded l;
  std::set<std::string> reached;
  if (!sourceof(CellRef(argof(app.get(), 1, 0)), source) || !compile(source, l) || !reach(l, reached) ||
      !letters(l, reached) || !enter(l, reached))
    return CellRef("Z");
  CellRef result = evaluate(l.defs.at(""));
  takeout(l);
  return result;
}
}  // namespace

void fillload(Builtins &table) { table["load"].run = load; }
