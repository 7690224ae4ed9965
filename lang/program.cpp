// The run of a document's text: loaded into the definition table beside the prelude and the
// built-ins, checked as a whole in the order below, then its main expression evaluated.
#include "lang/program.h"

#include <map>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/halt.h"
#include "core/tables.h"
#include "lang/analysis.h"
#include "lang/stock.h"
#include "lang/chars.h"
#include "lang/eval.h"
#include "lang/lambda.h"
#include "lang/print.h"

namespace {
Outcome fails(const std::string &name, const std::string &status, const std::string &message) {
  return Outcome{name, -1, status, message};
}

// The global names each definition refers to, found once for liveness and pruning. The keys are
// the names in the definition table, which neither step changes.
using Refs = std::unordered_map<std::string_view, std::vector<std::string>>;

Refs allrefs(const Defmap &defs) {
  Refs refs;
  for (const auto &[name, term] : defs) refs.emplace(name, refsof(term));
  return refs;
}

// The names whose definitions are checked: the whole table, or only what the stock leaves. A name
// of the stock is defined, and its definition reaches only names of the stock.
struct Scope {
  Defmap &defs;
  const Stock *stock;
  bool instock(std::string_view n) const { return stock && stock->checked.count(n); }
};

// Whether every name reachable from the main expression is defined, by a walk in any order.
bool allalive(const Refs &refs, const Scope &scope) {
  std::unordered_set<std::string_view> seen{""};
  std::vector<std::string_view> todo{""};
  while (!todo.empty()) {
    auto r = refs.find(todo.back());
    todo.pop_back();
    if (r == refs.end()) return false;
    for (const std::string &n : r->second)
      if (!scope.instock(n) && seen.insert(n).second) todo.push_back(n);
  }
  return true;
}

// Every name reachable from the main expression must be defined; the smallest waiting name is
// taken first, and a missing one is reported with the definition that named it. The walk in name
// order runs only when some name is missing, to find the one it reports.
Outcome alive(const Refs &refs, const Scope &scope) {
  if (allalive(refs, scope)) return Outcome();
  std::map<std::string, std::string> work{{"", "nowhere"}};
  std::unordered_set<std::string> seen;
  while (!work.empty()) {
    auto [m, f] = *work.begin();
    work.erase(work.begin());
    seen.insert(m);
    if (scope.instock(m)) continue;
    auto d = refs.find(m);
    if (d == refs.end()) {
      must(refs.count(f));
      std::string by = f.empty() ? "TOP" : f;
      return fails(swapnewline(m), "Alive", "Alive function [" + by + "] references undefined [" + swapnewline(m) + "].");
    }
    for (const std::string &n : refs.at(d->first))
      if (!seen.count(n)) work[n] = m;
  }
  return Outcome();
}

// Definitions that name something undefined go, with every definition that names one of them.
void prune(const Refs &refs, const Scope &scope) {
  std::vector<std::string> todo;
  for (const auto &[name, names] : refs)
    for (const std::string &n : names)
      if (!refs.count(n) && !scope.instock(n)) {
        todo.emplace_back(name);
        break;
      }
  if (todo.empty()) return;
  std::map<std::string, std::vector<std::string>> referrers;
  for (const auto &[name, names] : refs)
    for (const std::string &n : names) referrers[n].emplace_back(name);
  std::set<std::string> gone(todo.begin(), todo.end());
  while (!todo.empty()) {
    std::string n = todo.back();
    todo.pop_back();
    for (const std::string &r : referrers[n])
      if (gone.insert(r).second) todo.push_back(r);
  }
  must(!gone.count(""));
  for (const std::string &n : gone) {
    deftable().erase(n);
    if (scope.stock) scope.defs.erase(n);
  }
}

// Runs a step of one definition over the checked names in name order; the first failure counts.
template <typename Step>
Outcome eachdef(const Scope &scope, Step step) {
  for (auto &[name, term] : scope.defs) {
    Outcome o = step(name, term);
    if (failed(o)) return o;
  }
  return Outcome();
}

// Equal subterms of all definitions, the stock's among them, come to share one cell; only values
// stay in the set.
void intern(const Scope &scope) {
  keepset() = scope.stock ? stockkeep(*scope.stock) : Keep();
  for (auto &[name, term] : scope.defs) term = cellkeep(term);
  keepvalues();
}
Outcome checks(const Scope &scope) {
  unittidy(scope.defs);
  Outcome o = unitfunky(scope.defs);
  if (failed(o)) return o;
  Refs refs = allrefs(scope.defs);
  o = alive(refs, scope);
  if (failed(o)) return o;
  prune(refs, scope);
  o = eachdef(scope, unitletters);
  if (!failed(o)) o = eachdef(scope, [](const std::string &n, CellRef &t) { return unitarity(n, t); });
  if (failed(o)) return o;
  intern(scope);
  o = eachdef(scope, [](const std::string &n, CellRef &t) { return unitclosed(n, t); });
  if (failed(o)) return o;
  for (const auto &[name, term] : scope.defs) sizeup(term);
  return o;
}
}  // namespace

Outcome textload(int64_t base, const std::string &text) {
  Unit u;
  Outcome o = unitread(base, text, u);
  if (o.status == "Match" || o.status == "Comma") return o;
  // The checked entries kept with the prelude, or fresh ones beside a prelude that was parsed
  if (deftable().empty() || !stockstubs(deftable()))
    for (const auto &[name, row] : builtins()) deftable().insert_or_assign(name, builtinstub(row.arity));
  for (auto &[name, term] : u.defs) deftable().insert_or_assign(name, term);
  for (const auto &[name, term] : u.defs)
    if (u.fresh.count(name)) freshnames().insert(name);
  return o;
}

// The checks of a loaded program, in their order; each step is over the whole table, or, when
// the table holds the kept base as loaded, over the program's own definitions beside it.
Outcome textcheck() {
  Defs &defs = deftable();
  defs.insert_or_assign("_", CellRef(layoutsource()));
  Defmap own;
  const Stock *stock = stockchecked(defs, own);
  Scope scope{stock ? own : defs, stock};
  Outcome o = checks(scope);
  if (stock)
    for (auto &[name, term] : own) defs.insert_or_assign(name, term);
  return o;
}

Outcome textrun() {
  Defs &defs = deftable();
  auto main = defs.find("_");
  if (main != defs.end()) defs.insert_or_assign("", main->second);
  Outcome o = textcheck();
  if (failed(o)) return o;
  CellRef r = evaluate(defs.at(""));
  if (runhalt) {
    // A stopped run leaves nothing behind: what its constants held is given back now.
    Outcome halted = fails("", "Halts", haltmessage(runhalt));
    tablesreset();
    return halted;
  }
  unsigned char h = cellhead(r);
  std::string n = h ? celltext(r).substr(1) : "";
  if (h == ')') return fails(n, "Cycle", "Cycle detected on function [" + n + "].");
  if (h == ']')
    return fails(n, "Table",
                 "Table error while dereferencing the [" + n +
                     "] variable. This only occurs when you define a function in a load and use it again outside the load.");
  defs.insert_or_assign("", r);
  return o;
}

CellRef textresult() {
  auto main = deftable().find("");
  must(main != deftable().end());
  return main->second;
}

// The road of one evaluation: the prelude, the document's text, the checks and the machine, then
// the printed result or the message of the first failure.
Outcome runprogram(int64_t base, const std::string &text, std::string &printed) {
  preludeload();
  Outcome o = textload(base, text);
  if (!failed(o)) o = textrun();
  printed = failed(o) ? o.message : termprint(textresult());
  return o;
}
