// The process-wide tables of the language and their reset before each evaluation.
// All are function-local statics, built on first use and kept to process exit.
#include "core/tables.h"

uint64_t tablesgeneration = 0;

std::set<std::string, std::less<>> &freshnames() {
  static std::set<std::string, std::less<>> names;
  return names;
}

Keep &keepset() {
  static Keep keep;
  return keep;
}

// A hash index of the definition table's entries, made once the table has been asked about more
// names since its last change than a quarter of its size: a load of many definitions asks about
// each, and a run that changes the table often keeps to the ordered search. An entry that is
// replaced keeps its node, so only a new or erased name makes the index stale.
struct Defindex {
  uint64_t generation = ~0ull, epoch = 0;
  size_t size = 0, asked = 0;
  bool made = false;
  Flat at;  // hash of a name to its entry
};

Defs::value_type *deffind(std::string_view name) {
  static Defindex ix;
  Defs &defs = deftable();
  if (ix.generation != tablesgeneration || ix.epoch != defs.epoch || ix.size != defs.size()) {
    ix.generation = tablesgeneration, ix.epoch = defs.epoch, ix.size = defs.size();
    ix.asked = 0, ix.made = false, ix.at = Flat();
  }
  if (!ix.made && ++ix.asked < 64 + defs.size() / 4) {
    auto d = defs.find(name);
    return d == defs.end() ? nullptr : &*d;
  }
  if (!ix.made) {
    flatreserve(ix.at, defs.size());
    for (auto &entry : defs) flatput(ix.at, namekey(entry.first), (uint64_t)(uintptr_t)&entry);
    ix.made = true;
  }
  Defs::value_type *found = nullptr;
  flatscan(ix.at, namekey(name), [&](uint64_t v) {
    auto *entry = (Defs::value_type *)(uintptr_t)v;
    return entry->first == name && (found = entry);
  });
  return found;
}

static void flatresize(Flat &f, size_t slots) {
  Flat bigger;
  bigger.slots.assign(slots, Slot{0, 0});
  for (const Slot &s : f.slots)
    if (s.key) flatput(bigger, s.key, s.value);
  std::swap(f, bigger);
}

static void flatgrow(Flat &f) { flatresize(f, f.slots.empty() ? 16 : f.slots.size() * 2); }

void flatreserve(Flat &f, size_t n) {
  size_t slots = f.slots.empty() ? 16 : f.slots.size();
  while (2 * n > slots) slots *= 2;
  if (slots > f.slots.size()) flatresize(f, slots);
}

void flatput(Flat &f, uint64_t key, uint64_t value) {
  must(key != 0);
  if (2 * (f.count + 1) > f.slots.size()) flatgrow(f);
  size_t mask = f.slots.size() - 1, i = flathome(f, key);
  while (f.slots[i].key) i = (i + 1) & mask;
  f.slots[i] = Slot{key, value};
  f.count++;
}

// Empties slot i. Later entries of its run move back into the hole when their home lies at or
// before it, so that lookups never need markers of removed entries; an entry moves only forward
// of i or into i itself.
static void flatdropat(Flat &f, size_t i) {
  size_t mask = f.slots.size() - 1;
  for (size_t j = (i + 1) & mask; f.slots[j].key; j = (j + 1) & mask) {
    size_t home = flathome(f, f.slots[j].key);
    if (((j - home) & mask) >= ((j - i) & mask)) {
      f.slots[i] = f.slots[j];
      i = j;
    }
  }
  f.slots[i].key = 0;
  f.count--;
}

bool flatdrop(Flat &f, uint64_t key, uint64_t value) {
  if (f.slots.empty()) return false;
  size_t mask = f.slots.size() - 1, i = flathome(f, key);
  for (; f.slots[i].key; i = (i + 1) & mask)
    if (f.slots[i].key == key && f.slots[i].value == value) break;
  if (!f.slots[i].key) return false;
  flatdropat(f, i);
  return true;
}

void keepadd(Keep &k, Cell *member, uint64_t hash) {
  cellinc(member);
  flatput(k.members, hash, (uint64_t)(uintptr_t)member);
  flatput(k.hashes, (uint64_t)(uintptr_t)member, hash);
}

void keeppassing(Keep &k, Cell *member, uint64_t hash) {
  cellinc(member);
  flatput(k.members, hash, (uint64_t)(uintptr_t)member | 1);
}

void keepdrop(Keep &k, Cell *member) {
  uint64_t hash = 0;
  must(flatscan(k.hashes, (uint64_t)(uintptr_t)member, [&](uint64_t h) { return hash = h, true; }));
  must(flatdrop(k.hashes, (uint64_t)(uintptr_t)member, hash));
  must(flatdrop(k.members, hash, (uint64_t)(uintptr_t)member));
  celldec(member);
}

// A slot is looked at again after a removal there, since an entry from further on may have moved
// into it; the entries that move behind the sweep were looked at already and are lasting.
void keepsettle(Keep &k) {
  std::vector<Slot> &s = k.members.slots;
  for (size_t i = 0; i < s.size(); i++)
    while (s[i].key && (s[i].value & 1)) {
      Cell *passing = keepmember(s[i].value);
      flatdropat(k.members, i);
      celldec(passing);
    }
}

Keep::~Keep() {
  for (const Slot &s : members.slots)
    if (s.key) celldec(keepmember(s.value));
}

void (*builtinsource)(Builtins &table) = nullptr;
std::string (*layoutsource)() = nullptr;

static Builtins &builtintable() {
  static Builtins table;
  return table;
}

// The table is filled again only when its source changed since: filling it is a good part of the
// fixed cost of a short run, and a source gives the same table each time.
Builtins &builtins() {
  static void (*filledby)(Builtins &) = nullptr;
  Builtins &table = builtintable();
  if (table.empty() || filledby != builtinsource) {
    must(builtinsource != nullptr);
    table.clear();
    builtinsource(table);
    filledby = builtinsource;
  }
  return table;
}

std::set<std::string> &loadednames() {
  static std::set<std::string> names;
  return names;
}

// The interned terms stay: the compile steps clear them for themselves. The built-in table stays
// while its source is the same.
void tablesreset() {
  tablesgeneration++;
  deftable().clear();
  freshnames().clear();
}
