// The long comparison of the fast machine with the literal one: random programs from a range of
// seeds (by default 1,000 to 4,999, beyond the test suite's), each run on both, with every
// difference printed. Usage: bench_differential [first [count]].
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

#include "tests/lang/progen.h"

int main(int argc, char **argv) {
  uint64_t first = argc > 1 ? strtoull(argv[1], nullptr, 10) : 1000;
  uint64_t count = argc > 2 ? strtoull(argv[2], nullptr, 10) : 4000;
  std::string out = "/tmp/tolm.differential." + std::to_string(getpid());
  int differ = 0;
  for (uint64_t seed = first; seed < first + count; seed++) {
    std::string program = makeprogram(seed);
    std::string d = difference(runseen(program, false, out, 60), runseen(program, true, out, 60));
    if (d.empty()) continue;
    differ++;
    printf("seed %llu: %s\n  %s\n", (unsigned long long)seed, d.c_str(), program.c_str());
    fflush(stdout);
  }
  printf("%llu programs, %d differ\n", (unsigned long long)count, differ);
  return differ != 0;
}
