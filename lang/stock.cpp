// The prelude, the built-ins' entries and the layout table, checked once and kept between runs, and
// the test that tells whether a run's table still holds them as they were loaded.
#include "lang/stock.h"

#include <vector>

#include "lang/analysis.h"
#include "lang/program.h"

namespace {

Stock *kept = nullptr;
bool making = false;

std::vector<std::pair<std::string, uint8_t>> rowsnow() {
  std::vector<std::pair<std::string, uint8_t>> rows;
  for (const auto &[name, row] : builtins()) rows.emplace_back(name, row.arity);
  return rows;
}

// A copy of a term in cells of its own, with no analysis: what parsing the same text gives.
Cell *copyof(Cell *c) {
  if (isleafcell(c)) {
    Cell *leaf = newleaf(textof(c), celllenof(c));
    cellinc(leaf);
    return leaf;
  }
  Cell *p = newpair(copyof(c->left), copyof(c->right));
  cellinc(p);
  return p;
}

CellRef copied(const CellRef &t) {
  CellRef r(copyof(t.get()));
  celldec(r.get());
  return r;
}

// The members that are no values pass in each run's interning, since they would not stay after it.
void passing(Keep &k) {
  for (Slot &s : k.members.slots)
    if (s.key && !isnormal(keepmember(s.value))) {
      must(flatdrop(k.hashes, s.value, s.key));
      s.value |= 1;
    }
}

// The stock of this run's built-ins and layout: the prelude and the entries parsed and checked as
// any program's are, alone in the table with a main expression that names nothing. The tables are
// reset afterwards, as the prelude's load found them.
Stock *make() {
  making = true;
  Stock *b = new Stock;
  b->rows = rowsnow();
  b->layout = layoutsource();
  Defs &defs = deftable();
  preludeparse(defs);
  for (const auto &[name, term] : defs) b->prelude.emplace(name, term);
  for (const auto &[name, arity] : b->rows) defs.insert_or_assign(name, builtinstub(arity));
  for (const auto &[name, term] : defs) b->loaded.emplace(name, copied(term));
  b->loaded.emplace("_", CellRef(b->layout));
  defs.insert_or_assign("", CellRef("I"));
  must(!failed(textcheck()));
  defs.erase("");
  b->checked.insert(defs.begin(), defs.end());
  for (auto &[name, term] : b->prelude) term = b->checked.at(name);
  for (const auto &[name, arity] : b->rows) b->stubs.emplace(name, b->checked.at(name));
  // Every subterm of the checked terms, interned already, goes into the stock's own set.
  keepset() = Keep();
  for (const auto &[name, term] : b->checked) must(cellkeep(term).get() == term.get());
  b->whole = std::move(keepset());
  passing(b->whole);
  tablesreset();
  making = false;
  return b;
}

bool fits(const Stock &b) { return b.rows == rowsnow() && b.layout == layoutsource(); }

}  // namespace

CellRef builtinstub(int arity) {
  CellRef body("Z");
  for (int i = arity - 1; i >= 0; i--)
    body = cellpair3(CellRef("\\"), CellRef(std::string(1, (char)('a' + i))), std::move(body));
  return body;
}

bool stockprelude(Defs &defs) {
  if (making) return false;
  if (!kept || !fits(*kept)) {
    delete kept;
    kept = make();
  }
  defs.clear();
  static_cast<Defmap &>(defs) = kept->prelude;
  return true;
}

bool stockstubs(Defs &defs) {
  if (!kept || making) return false;
  // The entries go in in name order, each just before the place the last one left
  auto hint = defs.begin();
  for (const auto &[name, term] : kept->stubs) hint = std::next(defs.insert_or_assign(hint, name, term));
  return true;
}

const Stock *stockchecked(Defs &defs, std::vector<Defs::value_type *> &own) {
  if (!kept || making) return nullptr;
  // Both maps are in name order: one walk pairs each entry of the table with the stock's.
  bool warm = true;
  auto b = kept->checked.begin(), bend = kept->checked.end();
  for (auto &entry : defs) {
    auto &[name, term] = entry;
    while (b != bend && b->first < name) b++, warm = false;
    bool same = b != bend && b->first == name;
    if (same && (term.get() == b->second.get() || (name == "_" && celltext(term) == kept->layout))) {
      b++;
      continue;
    }
    if (same) b++, warm = false;
    own.push_back(&entry);
  }
  if (b != bend) warm = false;
  if (warm) {
    defs.insert_or_assign("_", kept->checked.at("_"));
    return kept;
  }
  // Some of the stock is missing or replaced: what is left of it is checked as loaded, in cells
  // of its own.
  own.clear();
  for (auto &[name, term] : defs) {
    auto k = kept->checked.find(name);
    if (k != kept->checked.end() && k->second.get() == term.get()) term = copied(kept->loaded.at(name));
  }
  return nullptr;
}

Keep stockkeep(const Stock &b) {
  Keep k;
  k.members = b.whole.members;
  k.hashes = b.whole.hashes;
  for (const Slot &s : k.members.slots)
    if (s.key) cellinc(keepmember(s.value));
  return k;
}
