// The process-wide tables of the language and their reset before each evaluation.
// All are function-local statics, built on first use and kept to process exit.
#include "core/tables.h"

uint64_t tablesgeneration = 0;

Defs &deftable() {
  static Defs table;
  return table;
}

std::set<std::string, std::less<>> &freshnames() {
  static std::set<std::string, std::less<>> names;
  return names;
}

Keep &keepset() {
  static Keep keep;
  return keep;
}

size_t flathome(const Flat &f, uint64_t key) {
  key ^= key >> 31;
  key *= 0x9e3779b97f4a7c15ull;
  return (size_t)(key >> 17) & (f.keys.size() - 1);
}

static void flatresize(Flat &f, size_t slots) {
  Flat bigger;
  bigger.keys.assign(slots, 0);
  bigger.values.assign(bigger.keys.size(), 0);
  for (size_t i = 0; i < f.keys.size(); i++)
    if (f.keys[i]) flatput(bigger, f.keys[i], f.values[i]);
  std::swap(f, bigger);
}

static void flatgrow(Flat &f) { flatresize(f, f.keys.empty() ? 16 : f.keys.size() * 2); }

void flatreserve(Flat &f, size_t n) {
  size_t slots = f.keys.empty() ? 16 : f.keys.size();
  while (2 * n > slots) slots *= 2;
  if (slots > f.keys.size()) flatresize(f, slots);
}

void flatput(Flat &f, uint64_t key, uint64_t value) {
  must(key != 0);
  if (2 * (f.count + 1) > f.keys.size()) flatgrow(f);
  size_t mask = f.keys.size() - 1, i = flathome(f, key);
  while (f.keys[i]) i = (i + 1) & mask;
  f.keys[i] = key;
  f.values[i] = value;
  f.count++;
}

// Removing an entry moves later entries of its run back into the hole when their home lies at
// or before it, so that lookups never need markers of removed entries.
bool flatdrop(Flat &f, uint64_t key, uint64_t value) {
  if (f.keys.empty()) return false;
  size_t mask = f.keys.size() - 1, i = flathome(f, key);
  for (; f.keys[i]; i = (i + 1) & mask)
    if (f.keys[i] == key && f.values[i] == value) break;
  if (!f.keys[i]) return false;
  for (size_t j = (i + 1) & mask; f.keys[j]; j = (j + 1) & mask) {
    size_t home = flathome(f, f.keys[j]);
    if (((j - home) & mask) >= ((j - i) & mask)) {
      f.keys[i] = f.keys[j];
      f.values[i] = f.values[j];
      i = j;
    }
  }
  f.keys[i] = 0;
  f.count--;
  return true;
}

void keepadd(Keep &k, Cell *member, uint64_t hash) {
  cellinc(member);
  flatput(k.members, hash, (uint64_t)(uintptr_t)member);
  flatput(k.hashes, (uint64_t)(uintptr_t)member, hash);
}

void keepdrop(Keep &k, Cell *member) {
  uint64_t hash = 0;
  must(flatscan(k.hashes, (uint64_t)(uintptr_t)member, [&](uint64_t h) { return hash = h, true; }));
  must(flatdrop(k.hashes, (uint64_t)(uintptr_t)member, hash));
  must(flatdrop(k.members, hash, (uint64_t)(uintptr_t)member));
  celldec(member);
}

Keep::~Keep() {
  for (size_t i = 0; i < members.keys.size(); i++)
    if (members.keys[i]) celldec((Cell *)(uintptr_t)members.values[i]);
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
