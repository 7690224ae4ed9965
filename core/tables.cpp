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

void keepdrop(Keep &k, Cell *member) {
  auto h = k.hashes.find(member);
  must(h != k.hashes.end());
  auto range = k.members.equal_range(h->second);
  for (auto i = range.first; i != range.second; ++i) {
    if (i->second.get() == member) {
      k.hashes.erase(h);
      k.members.erase(i);
      return;
    }
  }
  must(false);
}

std::map<std::string, builtinrow> &builtintable() {
  static std::map<std::string, builtinrow> table;
  return table;
}

// The interned terms stay: the compile steps clear them for themselves.
void tablesreset() {
  tablesgeneration++;
  deftable().clear();
  freshnames().clear();
  builtintable().clear();
}
