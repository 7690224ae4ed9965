// Cells made and released per second under several shapes of work, and the cost of interning.
// bench/heap.sh runs this program built on the chosen allocator and on the general heap in turn.
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "core/cell.h"
#include "core/tables.h"

static double seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Runs the work a few times and prints the best rate of cells made and released.
template <class Work>
static void measure(const char *name, Work work) {
  double best = 0;
  for (int round = 0; round < 9; round++) {
    uint64_t made = cellsmade, freed = cellsfreed;
    double t = seconds();
    work();
    double dt = seconds() - t;
    must(cellsmade - made == cellsfreed - freed);
    best = std::max(best, (double)(cellsmade - made) / dt);
  }
  printf("%-34s %8.1f million cells/s\n", name, best / 1e6);
}

// Short texts such as numbers and names, as the evaluator makes them.
static std::vector<std::string> shorttexts() {
  std::vector<std::string> t;
  for (int i = 0; i < 1000; i++) t.push_back(std::to_string(i * 7919 % 100000));
  return t;
}

int main() {
  const int n = 1000000;
  std::vector<std::string> texts = shorttexts();
  measure("pairs: a spine of a million", [&] {
    CellRef t("z");
    for (int i = 0; i < n; i++) t = cellpair(std::move(t), CellRef("K"));
  });
  measure("short leaves: a million held", [&] {
    std::vector<CellRef> held;
    held.reserve(n);
    for (int i = 0; i < n; i++) held.emplace_back(texts[i % 1000]);
  });
  measure("long leaves: a million held", [&] {
    std::vector<CellRef> held;
    held.reserve(n);
    std::string longtext(40, 'x');
    for (int i = 0; i < n; i++) held.emplace_back(longtext);
  });
  // Rewriting: small terms made and dropped at once, some kept for a while, as a machine step does.
  measure("steps: made and dropped in turn", [&] {
    std::vector<CellRef> kept;
    for (int i = 0; i < 64; i++) kept.emplace_back("I");
    for (int i = 0; i < n / 4; i++) {
      CellRef step = cellpair3(CellRef("plus"), CellRef(texts[i % 1000]), kept[i % 64]);
      if (i % 3 == 0) kept[(i * 13) % 64] = cellpair(step, CellRef(texts[(i + 1) % 1000]));
    }
  });
  CellRef big("z");
  for (int i = 0; i < n; i++) big = cellpair(std::move(big), CellRef(texts[i % 1000]));
  double t = seconds();
  CellRef kept = cellkeep(big);
  double dt = seconds() - t;
  printf("%-34s %8.1f million cells/s\n", "interning a million-deep spine", 2 / dt);
  Keep fresh;
  std::swap(fresh, keepset());
}
