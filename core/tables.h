// The process-wide tables of the language: definitions, fresh names, interned terms, built-ins.
// Each is built on first use; tablesreset empties the definitions and fresh names before each run.
#pragma once
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/cell.h"

// Both name tables compare plain byte strings; they can be searched with a string_view. Every
// erasure of a definition counts in epoch, so that lookups cached elsewhere can tell that the
// entry they point to may be gone.
struct Defs : std::map<std::string, CellRef, std::less<>> {
  uint64_t epoch = 0;
  size_type erase(std::string_view name) {
    auto i = find(name);
    if (i == end()) return 0;
    erase(i);
    return 1;
  }
  iterator erase(iterator i) {
    epoch++;
    return map::erase(i);
  }
  void clear() {
    epoch++;
    map::clear();
  }
};
// Inline, as the machines ask for it at every call.
inline Defs &deftable() {
  static Defs table;
  return table;
}
std::set<std::string, std::less<>> &freshnames();

// Counts the resets of the tables, so that what is derived from them can tell it is stale.
extern uint64_t tablesgeneration;

// The entry of a name in the definition table, or null.
Defs::value_type *deffind(std::string_view name);

// A flat table of 64-bit keys and values with linear probing, for the lookups of interning, where
// node-based maps spend their time allocating and chasing pointers. Key 0 marks a free slot; a
// key may occur more than once. A key and its value share a slot, so that a probe touches one
// line of memory.
struct Slot {
  uint64_t key, value;
};
struct Flat {
  std::vector<Slot> slots;
  size_t count = 0;
  size_t size() const { return count; }
};
void flatput(Flat &f, uint64_t key, uint64_t value);
// Makes room for n entries in all, so that as many puts cause no growth on the way.
void flatreserve(Flat &f, size_t n);
bool flatdrop(Flat &f, uint64_t key, uint64_t value);
// The key of a name in a flat table: never 0, which marks a free slot.
inline uint64_t namekey(std::string_view name) { return std::hash<std::string_view>()(name) | 1; }
inline size_t flathome(const Flat &f, uint64_t key) {
  key ^= key >> 31;
  key *= 0x9e3779b97f4a7c15ull;
  return (size_t)(key >> 17) & (f.slots.size() - 1);
}

// Calls found(value) for each entry of the key until it returns true; tells whether one did.
template <class Found>
bool flatscan(const Flat &f, uint64_t key, Found found) {
  if (f.slots.empty()) return false;
  size_t mask = f.slots.size() - 1;
  for (size_t i = flathome(f, key); f.slots[i].key; i = (i + 1) & mask)
    if (f.slots[i].key == key && found(f.slots[i].value)) return true;
  return false;
}

// The interned terms. Members are found by a structural hash and told apart by cellcompare, so
// that interning costs no walk of the members; the order of members is never looked at. Each
// member holds one count, given back when it leaves the set or the set goes.
//
// A member may be passing: it serves the interning of a batch of terms and leaves when the batch
// settles (keepsettle). Its value in members carries bit 0, and it has no entry in hashes, which
// only spares interning the walk of a member met again.
struct Keep {
  Flat members;  // structural hash to member, bit 0 set when passing
  Flat hashes;   // lasting member to its structural hash
  Keep() = default;
  Keep(const Keep &) = delete;
  Keep(Keep &&o) noexcept { *this = std::move(o); }
  Keep &operator=(Keep &&o) noexcept {
    std::swap(members, o.members);
    std::swap(hashes, o.hashes);
    return *this;
  }
  ~Keep();
};
Keep &keepset();
inline Cell *keepmember(uint64_t value) { return (Cell *)(uintptr_t)(value & ~1ull); }
void keepadd(Keep &k, Cell *member, uint64_t hash);
void keeppassing(Keep &k, Cell *member, uint64_t hash);
void keepdrop(Keep &k, Cell *member);
// Takes the passing members out, by one sweep over the table.
void keepsettle(Keep &k);

// One row of the built-in table: the number of arguments and the function that rewrites a
// saturated application into its result.
struct builtinrow {
  uint8_t arity;
  CellRef (*run)(CellRef app);
};
using Builtins = std::map<std::string, builtinrow>;

// The built-in table, read here and filled by its owner, the library, which sets builtinsource
// at start. The reader fills the table on first use and again whenever builtinsource changed.
Builtins &builtins();
extern void (*builtinsource)(Builtins &table);

// The bracket text of the C records' sizes and field offsets that programs find under "_"; the
// library, which owns the records, sets the source at start.
extern std::string (*layoutsource)();

// The names that a running load has put into the definition table.
std::set<std::string> &loadednames();

void tablesreset();
