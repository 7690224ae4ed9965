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
#include "lang/chars.h"
#include "lang/eval.h"
#include "lang/lambda.h"
#include "lang/print.h"

namespace {
Outcome fails(const std::string &name, const std::string &status, const std::string &message) {
  return Outcome{name, -1, status, message};
}

// A built-in's entry: Z inside as many abstractions as it takes, only for its name and arity.
CellRef builtinstub(int arity) {
  CellRef body("Z");
  for (int i = arity - 1; i >= 0; i--)
    body = cellpair3(CellRef("\\"), CellRef(std::string(1, (char)('a' + i))), std::move(body));
  return body;
}

// The global names each definition refers to, found once for liveness and pruning. The keys are
// the names in the definition table, which neither step changes.
using Refs = std::unordered_map<std::string_view, std::vector<std::string>>;

Refs allrefs() {
  Refs refs;
  for (const auto &[name, term] : deftable()) refs.emplace(name, refsof(term));
  return refs;
}

// Whether every name reachable from the main expression is defined, by a walk in any order.
bool allalive(const Refs &refs) {
  std::unordered_set<std::string_view> seen{""};
  std::vector<std::string_view> todo{""};
  while (!todo.empty()) {
    auto r = refs.find(todo.back());
    todo.pop_back();
    if (r == refs.end()) return false;
    for (const std::string &n : r->second)
      if (seen.insert(n).second) todo.push_back(n);
  }
  return true;
}

// Every name reachable from the main expression must be defined; the smallest waiting name is
// taken first, and a missing one is reported with the definition that named it. The walk in name
// order runs only when some name is missing, to find the one it reports.
Outcome alive(const Refs &refs) {
  if (allalive(refs)) return Outcome();
  std::map<std::string, std::string> work{{"", "nowhere"}};
  std::unordered_set<std::string> seen;
  Defs &defs = deftable();
  while (!work.empty()) {
    auto [m, f] = *work.begin();
    work.erase(work.begin());
    seen.insert(m);
    auto d = defs.find(m);
    if (d == defs.end()) {
      must(defs.count(f));
      std::string by = f.empty() ? "TOP" : f;
      return fails(swapnewline(m), "Alive", "Alive function [" + by + "] references undefined [" + swapnewline(m) + "].");
    }
    for (const std::string &n : refs.at(d->first))
      if (!seen.count(n)) work[n] = m;
  }
  return Outcome();
}

// Definitions that name something undefined go, with every definition that names one of them.
void prune(const Refs &refs) {
  Defs &defs = deftable();
  std::vector<std::string> todo;
  for (const auto &[name, names] : refs)
    for (const std::string &n : names)
      if (!refs.count(n)) {
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
  for (const std::string &n : gone) defs.erase(n);
}

// Runs a step of one definition over the whole table in name order; the first failure counts.
template <typename Step>
Outcome eachdef(Step step) {
  for (auto &[name, term] : deftable()) {
    Outcome o = step(name, term);
    if (failed(o)) return o;
  }
  return Outcome();
}

// Equal subterms of all definitions come to share one cell; only values stay in the set.
void intern() {
  keepset() = Keep();
  for (auto &[name, term] : deftable()) term = cellkeep(term);
  keepvalues();
}
}  // namespace

Outcome textload(int64_t base, const std::string &text) {
  Unit u;
  for (const auto &[name, row] : builtins()) u.defs.insert_or_assign(name, builtinstub(row.arity));
  Outcome o = unitread(base, text, u);
  if (o.status == "Match" || o.status == "Comma") return o;
  for (auto &[name, term] : u.defs) deftable().insert_or_assign(name, term);
  for (const auto &[name, term] : u.defs)
    if (u.fresh.count(name)) freshnames().insert(name);
  return o;
}

// The checks of a loaded program, in their order; each step is over the whole table.
Outcome textcheck() {
  Defs &defs = deftable();
  defs.insert_or_assign("_", CellRef(layoutsource()));
  unittidy(defs);
  Outcome o = unitfunky(defs);
  if (failed(o)) return o;
  Refs refs = allrefs();
  o = alive(refs);
  if (failed(o)) return o;
  prune(refs);
  o = eachdef(unitletters);
  if (!failed(o)) o = eachdef([](const std::string &n, CellRef &t) { return unitarity(n, t); });
  if (failed(o)) return o;
  intern();
  o = eachdef([](const std::string &n, CellRef &t) { return unitclosed(n, t); });
  if (failed(o)) return o;
  for (const auto &[name, term] : defs) sizeup(term);
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
