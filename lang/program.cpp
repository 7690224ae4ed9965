// The run of a document's text: loaded into the definition table beside the prelude and the
// built-ins, checked as a whole in the order below, then its main expression evaluated.
#include "lang/program.h"

#include <array>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <span>
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

// The definitions that are checked, in name order: the whole table, or only what the stock
// leaves. Each is its entry in the definition table, changed there in place, or null once pruning
// took it out. A name of the stock is defined, and its definition reaches only names of the stock.
using Def = Defs::value_type *;
struct Scope {
  std::vector<Def> defs;
  const Stock *stock;
  bool instock(std::string_view n) const { return stock && stock->checked.count(n); }
};

// The checked definitions and every name they refer to, looked up once and numbered: the
// definitions from 0 in their order, the main expression first, then the other names as met.
struct Refs {
  std::vector<std::string_view> names;  // by number; a definition's is its key in the table
  Flat number;                            // hash of a name to its number
  uint32_t defined = 0;                   // the numbers below are definitions
  std::vector<char> stocked;              // by number: a name of the stock, defined though not checked
  std::vector<uint32_t> named;            // the names each definition refers to, each once, definition after definition
  std::vector<uint32_t> from{0};          // by definition: where its names begin in named, and where the last ends
  std::vector<uint32_t> last;             // by number: the last definition that named it
  std::deque<std::string> missing;        // the texts of the names neither defined nor stock
  std::array<uint32_t, 256> bytes;        // by byte: the number of the one-byte name, ~0 until met
  bool missed(uint32_t n) const { return n >= defined && !stocked[n]; }
  bool anymissed() const {
    for (uint32_t n = defined; n < names.size(); n++)
      if (!stocked[n]) return true;
    return false;
  }
  // The names a definition refers to; none for one that was not walked.
  std::span<const uint32_t> of(uint32_t d) const {
    if (d + 1 >= from.size()) return {};
    return {named.data() + from[d], from[d + 1] - from[d]};
  }
};

// The number of a name, or nothing.
std::optional<uint32_t> numberof(const Refs &refs, std::string_view name) {
  std::optional<uint32_t> n;
  flatscan(refs.number, namekey(name), [&](uint64_t v) { return refs.names[v] == name && (n = (uint32_t)v); });
  return n;
}

uint32_t newnumber(Refs &refs, std::string_view name) {
  flatput(refs.number, namekey(name), refs.names.size());
  refs.names.push_back(name);
  return (uint32_t)refs.names.size() - 1;
}

Refs numbered(const Scope &scope) {
  Refs refs;
  refs.bytes.fill(~0u);
  flatreserve(refs.number, scope.defs.size());
  for (Def d : scope.defs) newnumber(refs, d->first);
  refs.defined = (uint32_t)refs.names.size();
  refs.stocked.assign(refs.defined, 0);
  refs.last.assign(refs.defined, ~0u);
  return refs;
}

// The number of a name met in a definition, a new one for a name neither defined nor met. The
// operators are one-byte names that most definitions use, so those are looked up once each.
uint32_t refnumber(Refs &refs, std::string_view n, const Scope &scope) {
  uint32_t *byte = n.size() == 1 ? &refs.bytes[(unsigned char)n[0]] : nullptr;
  if (byte && *byte != ~0u) return *byte;
  std::optional<uint32_t> i = numberof(refs, n);
  if (!i) {
    i = newnumber(refs, refs.missing.emplace_back(n));
    refs.stocked.push_back(scope.instock(n));
    refs.last.push_back(~0u);
  }
  if (byte) *byte = *i;
  return *i;
}

// The definitions are walked in their order, each once.
void addrefs(Refs &refs, uint32_t d, const std::vector<std::string_view> &found, const Scope &scope) {
  while (refs.from.size() < d + 1) refs.from.push_back((uint32_t)refs.named.size());
  for (std::string_view n : found) {
    uint32_t i = refnumber(refs, n, scope);
    if (refs.last[i] != d) refs.named.push_back(i), refs.last[i] = d;
  }
  refs.from.push_back((uint32_t)refs.named.size());
}

// Whether every name reachable from the main expression is defined, by a walk in any order.
bool allalive(const Refs &refs) {
  std::vector<char> seen(refs.names.size(), 0);
  std::vector<uint32_t> todo{0};
  seen[0] = 1;
  while (!todo.empty()) {
    uint32_t m = todo.back();
    todo.pop_back();
    if (refs.missed(m)) return false;
    if (m >= refs.defined) continue;
    for (uint32_t n : refs.of(m))
      if (!seen[n]) seen[n] = 1, todo.push_back(n);
  }
  return true;
}

// Every name reachable from the main expression must be defined; the smallest waiting name is
// taken first, and a missing one is reported with the definition that named it. The walk in name
// order runs only when some name is missing, to find the one it reports.
Outcome alive(const Refs &refs) {
  if (!refs.anymissed() || allalive(refs)) return Outcome();
  std::map<std::string, std::string> work{{"", "nowhere"}};
  std::unordered_set<std::string> seen;
  while (!work.empty()) {
    auto [m, f] = *work.begin();
    work.erase(work.begin());
    seen.insert(m);
    uint32_t k = *numberof(refs, m);
    if (k >= refs.defined && refs.stocked[k]) continue;
    if (k >= refs.defined) {
      must(numberof(refs, f) && *numberof(refs, f) < refs.defined);
      std::string by = f.empty() ? "TOP" : f;
      return fails(swapnewline(m), "Alive", "Alive function [" + by + "] references undefined [" + swapnewline(m) + "].");
    }
    for (uint32_t n : refs.of(k))
      if (!seen.count(std::string(refs.names[n]))) work[std::string(refs.names[n])] = m;
  }
  return Outcome();
}

// Definitions that name something undefined go, with every definition that names one of them.
void prune(const Refs &refs, Scope &scope) {
  if (!refs.anymissed()) return;
  std::vector<uint32_t> todo;
  std::vector<char> gone(refs.defined, 0);
  for (uint32_t d = 0; d < refs.defined; d++)
    for (uint32_t n : refs.of(d))
      if (refs.missed(n)) {
        todo.push_back(d), gone[d] = 1;
        break;
      }
  if (todo.empty()) return;
  std::vector<std::vector<uint32_t>> referrers(refs.defined);
  for (uint32_t d = 0; d < refs.defined; d++)
    for (uint32_t n : refs.of(d))
      if (n < refs.defined) referrers[n].push_back(d);
  while (!todo.empty()) {
    uint32_t n = todo.back();
    todo.pop_back();
    for (uint32_t r : referrers[n])
      if (!gone[r]) gone[r] = 1, todo.push_back(r);
  }
  must(!gone[0]);
  for (uint32_t d = 0; d < refs.defined; d++)
    if (gone[d]) deftable().erase(std::string(refs.names[d])), scope.defs[d] = nullptr;
}

// What the first walks learn of each definition for the later steps: whether it has word
// binders to make letters, and whether it has more than ten parameters.
struct Traits {
  std::vector<char> words, toomany;
};

// Quotes and pair patterns rewritten in every definition, then the first binder that is no name
// reported; the references and traits of each definition are found while its cells are at hand.
// One walk finds them all; a term it finds sugar in, or a bad binder, is rewritten first and
// walked again, so that the bad binder reported is that of the rewritten term.
Outcome tidy(Scope &scope, Refs &refs, Traits &traits) {
  Outcome funky;
  traits.words.assign(scope.defs.size(), 0);
  traits.toomany.assign(scope.defs.size(), 0);
  Firstfound found;
  for (uint32_t d = 0; d < scope.defs.size(); d++) {
    CellRef &term = scope.defs[d]->second;
    if (failed(funky)) {
      term = unsugar(term);
      continue;
    }
    firstwalk(term.get(), true, found);
    if (found.sugar || found.bad) {
      term = unsugar(term);
      firstwalk(term.get(), false, found);
    }
    if (found.bad) {
      funky = unitbadkey(scope.defs[d]->first, CellRef(found.bad));
      continue;
    }
    addrefs(refs, d, found.refs, scope);
    traits.words[d] = found.words;
    traits.toomany[d] = failed(unitarity(scope.defs[d]->first, term));
  }
  return funky;
}

// Word locals made letters in every definition that has them, then the parameters counted: the
// first failure of the letters counts before any of the parameters. Making letters keeps the
// shape of every binding and function, and so the count of parameters.
Outcome letters(const Scope &scope, const Traits &traits) {
  for (size_t d = 0; d < scope.defs.size(); d++) {
    Outcome o;
    if (scope.defs[d] && traits.words[d] && failed(o = unitletters(scope.defs[d]->first, scope.defs[d]->second)))
      return o;
  }
  for (size_t d = 0; d < scope.defs.size(); d++)
    if (scope.defs[d] && traits.toomany[d]) return unitarity(scope.defs[d]->first, scope.defs[d]->second);
  return Outcome();
}

// Equal subterms of all definitions, the stock's among them, come to share one cell; only values
// stay in the set. Each cell is analysed as it is interned, and what is no value only passes.
void intern(const Scope &scope) {
  Keep &k = keepset();
  k = scope.stock ? stockkeep(*scope.stock) : Keep();
  // A sixteenth of the way through a long program, the set is made as large as the rest will
  // need if it goes on as it began, so that it does not grow step by step through every size.
  size_t n = scope.defs.size();
  for (size_t i = 0; i < n; i++) {
    if (i == n / 16 && i >= 1024) {
      flatreserve(k.members, k.members.size() * n / i);
      flatreserve(k.hashes, k.hashes.size() * n / i);
    }
    if (Def d = scope.defs[i]) d->second = cellkeepif(d->second, [](Cell *c) { return isnormal(c); });
  }
  keepsettle(k);
}

Outcome checks(Scope &scope) {
  Refs refs = numbered(scope);
  Traits traits;
  Outcome o = tidy(scope, refs, traits);
  if (failed(o)) return o;
  o = alive(refs);
  if (failed(o)) return o;
  prune(refs, scope);
  o = letters(scope, traits);
  if (failed(o)) return o;
  intern(scope);
  for (Def d : scope.defs) {
    if (d && failed(o = unitclosed(d->first, d->second))) return o;
  }
  for (Def d : scope.defs)
    if (d) sizeup(d->second);
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
  // Both maps are in name order: each entry goes in just before the place the last one left,
  // unless some of the table's own entries lie between.
  Defs &defs = deftable();
  auto hint = defs.begin();
  for (auto &[name, term] : u.defs) {
    if (hint != defs.end() && hint->first < name) hint = defs.lower_bound(name);
    hint = std::next(defs.insert_or_assign(hint, name, std::move(term)));
  }
  for (const std::string &name : u.fresh) freshnames().insert(name);
  return o;
}

// The checks of a loaded program, in their order; each step is over the whole table, or, when
// the table holds the kept base as loaded, over the program's own definitions beside it.
Outcome textcheck() {
  Defs &defs = deftable();
  defs.insert_or_assign("_", CellRef(layoutsource()));
  Scope scope{{}, nullptr};
  scope.stock = stockchecked(defs, scope.defs);
  if (!scope.stock)
    for (auto &entry : defs) scope.defs.push_back(&entry);
  return checks(scope);
}

// A stopped run leaves nothing behind: what its constants held is given back now.
static Outcome halted() {
  Outcome o = fails("", "Halts", haltmessage(runhalt));
  tablesreset();
  return o;
}

Outcome textrun() {
  Defs &defs = deftable();
  auto main = defs.find("_");
  if (main != defs.end()) defs.insert_or_assign("", main->second);
  Outcome o = textcheck();
  if (failed(o)) return o;
  CellRef r = evaluate(defs.at(""));
  if (runhalt) return halted();
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
  Outcome o;
  try {
    // armed for this run only, however it ends: an exception of an embedding program included
    struct Armed {
      Armed() { overrunarmed = true; }
      ~Armed() { overrunarmed = false; }
    } armed;
    o = textload(base, text);
    if (!failed(o)) o = textrun();
  } catch (const Overrun &) {
    // The throw set the flag for memory. The names of loads in progress and the terms interned
    // so far go too, since the unwinding may have left either half made.
    loadednames().clear();
    keepset() = Keep();
    o = halted();
  }
  if (failed(o)) {
    printed = o.message;
    return o;
  }
  // An empty print: the result's text was more than the run may hold, and the run halts.
  printed = termprint(textresult());
  if (printed.empty()) {
    o = halted();
    printed = o.message;
  }
  return o;
}
