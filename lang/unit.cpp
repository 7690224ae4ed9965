// The steps of a unit of program text, shared by the document's run and the run-time load: each
// works on a map of definitions and reports the first failure in the words the user sees.
#include "lang/unit.h"

#include <algorithm>

#include "core/tables.h"
#include "lang/analysis.h"
#include "lang/chars.h"
#include "lang/lambda.h"
#include "lang/parse.h"
#include "lang/print.h"

namespace {
Outcome fails(const std::string &name, int64_t where, const std::string &status, const std::string &message) {
  return Outcome{name, where, status, message};
}

// The pieces of a normalised text between its depth-0 commas: the text before the first comma,
// then each piece after a comma, with the comma's index.
std::vector<std::pair<size_t, std::string_view>> pieces(std::string_view text) {
  std::vector<size_t> commas = oppositions(text, ",");
  std::vector<std::pair<size_t, std::string_view>> out;
  out.reserve(commas.size() + 1);
  size_t start = 0;
  for (size_t i = 0; i <= commas.size(); i++) {
    size_t end = i < commas.size() ? commas[i] : text.size();
    out.emplace_back(i ? commas[i - 1] : 0, text.substr(start, end - start));
    start = end + 1;
  }
  return out;
}

// A parsed piece of the form name\body or name()\body: the name's core, whether it has the form
// with (), and the body, which that form wraps as I body. Nothing for any other piece.
struct Definition {
  std::string name;
  bool fresh;
  CellRef body;
  uint64_t lead = 0;  // the name's first eight bytes read as a big-endian number, zeros past its end
};

// Names whose leads differ are in the order of their leads: unsigned byte order, as the full
// comparison, in one step; only equal leads need the full names.
uint64_t leadof(const std::string &name) {
  uint64_t lead = 0;
  for (size_t i = 0; i < 8; i++) lead = lead << 8 | (i < name.size() ? (unsigned char)name[i] : 0);
  return lead;
}

std::optional<Definition> definitionof(const CellRef &t) {
  if (!cellispair(t) || isleafcell(t->left) || !leafis(t->left->left, "\\")) return std::nullopt;
  Cell *x = t->left->right;
  bool fresh = !isleafcell(x);
  if (fresh && !leafis(x->right, "}")) return std::nullopt;
  std::string named = celltextof(fresh ? x->left : x);
  if (!isname(named)) return std::nullopt;
  CellRef body(t->right);
  if (fresh) body = cellpair(CellRef("I"), std::move(body));
  std::string core = namecore(named);
  uint64_t lead = leadof(core);
  return Definition{std::move(core), fresh, std::move(body), lead};
}

// The definitions read, in text order, go into the unit at once: sorted by name, the last of
// each name wins, and each enters the map at its end rather than by a search of its own.
void defsput(std::vector<Definition> &read, Unit &u) {
  std::stable_sort(read.begin(), read.end(), [](const Definition &a, const Definition &b) {
    return a.lead != b.lead ? a.lead < b.lead : a.name < b.name;
  });
  for (size_t i = 0; i < read.size(); i++) {
    if (i + 1 < read.size() && read[i + 1].name == read[i].name) continue;
    Definition &d = read[i];
    if (d.fresh) u.fresh.insert(d.name);
    else u.fresh.erase(d.name);
    u.defs.insert_or_assign(u.defs.end(), std::move(d.name), std::move(d.body));
  }
}

int paramcount(const CellRef &term) {
  int n = 0;
  for (Cell *d = term.get(); shapeof(d) == 'u'; d = d->right) n++;
  return n;
}
}  // namespace

Outcome unitread(int64_t base, const std::string &text, Unit &u) {
  std::string error;
  int64_t where = -1;
  if (!matchcheck(text, base, error, where)) return fails("", where, error.substr(0, 5), error);
  std::string norm = normalise(text);
  auto all = pieces(norm);
  Bytecells bytes;
  u.defs.insert_or_assign("", parsetop(all[0].second, &bytes));
  std::vector<Definition> read;
  read.reserve(all.size() - 1);
  for (size_t i = 1; i < all.size(); i++) {
    std::optional<Definition> d = definitionof(parsetop(all[i].second, &bytes));
    if (!d) continue;
    const std::string &n = d->name;
    size_t at = all[i].first + 1;
    while (at < norm.size() && norm[at] == ' ') at++;
    if (isvarname(n)) {
      defsput(read, u);
      return fails(n, base + (int64_t)at, "Lower",
                   "Single lowercase letters (" + n + ") cannot be defined as global variables.");
    }
    if (n == "\\" || n == "{" || builtins().count(n)) {
      defsput(read, u);
      return fails(n, base + (int64_t)at, "Built", "Built in function [" + n + "] cannot be re-defined.");
    }
    read.push_back(std::move(*d));
  }
  defsput(read, u);
  return Outcome();
}

Outcome unitfunky(const std::string &name, const CellRef &term) {
  CellRef bad = funkyterm(term);
  if (!cellispair(bad) && celllen(bad) == 0) return Outcome();
  return unitbadkey(name, bad);
}

Outcome unitbadkey(const std::string &name, const CellRef &bad) {
  std::string e = swapnewline(termprint(bad));
  std::string where = name.empty() ? "" : " in function " + name;
  return fails(name, -1, "Funky", "Funky key in expression " + e + where + ".");
}

Outcome unitletters(const std::string &name, CellRef &term) {
  std::optional<CellRef> renamed = wordlocals(name, term);
  if (!renamed) return fails(name, -1, "Place", name.empty() ? "Place error." : "Place error in function " + name + ".");
  term = std::move(*renamed);
  return Outcome();
}

Outcome unitarity(const std::string &name, const CellRef &term) {
  if (paramcount(term) <= 10) return Outcome();
  return fails(name, -1, "Arity", "Arity of function " + name + " may not exceed ten.");
}

Outcome unitclosed(const std::string &name, const CellRef &term) {
  uint32_t s = freeset(term);
  if (!s) return Outcome();
  std::string c(1, (char)('a' + __builtin_ctz(s)));
  std::string message = name.empty() ? "Local variable " + c + " unbound."
                                     : "Local variable " + c + " unbound in function [" + name + "].";
  return fails(name, -1, "Local", message);
}

// The values are put into a set of their own, which then replaces the old one: cheaper than
// taking the others out one by one when most members are no values.
void keepvalues() {
  Keep &k = keepset();
  Keep values;
  for (const Slot &s : k.members.slots)
    if (s.key && isnormal(keepmember(s.value))) keepadd(values, keepmember(s.value), s.key);
  k = std::move(values);
}
