// The machine on three workloads: a countdown loop in constant space, a list of a million
// elements built and walked, and a tree recursion. Prints steps per second, cells per step and
// the peak memory, and checks that the countdown's memory does not grow with its length.
#include <sys/resource.h>

#include <ctime>
#include <cstdio>
#include <string>

#include "core/cell.h"
#include "lang/eval.h"
#include "lang/program.h"
#include "lib/builtins.h"

static long peakkb() {
  rusage r;
  getrusage(RUSAGE_SELF, &r);
  return r.ru_maxrss;
}

struct Figures {
  double seconds;
  uint64_t steps, cells;
  long peak;
  std::string printed;
};

static Figures measure(const std::string &program) {
  uint64_t steps = machinesteps, cells = cellsmade;
  // Processor time, so that other work on a shared machine does not count.
  std::clock_t start = std::clock();
  Figures f;
  runprogram(0, program, f.printed);
  f.seconds = double(std::clock() - start) / CLOCKS_PER_SEC;
  f.steps = machinesteps - steps;
  f.cells = cellsmade - cells;
  f.peak = peakkb();
  return f;
}

static void report(const char *name, const Figures &f) {
  printf("%-34s %11llu steps %7.3f s %6.1f M steps/s %5.2f cells/step  peak %ld kB  = %.20s\n", name,
         (unsigned long long)f.steps, f.seconds, f.steps / f.seconds / 1e6, (double)f.cells / (double)f.steps,
         f.peak, f.printed.c_str());
}

int main() {
  builtinsinstall();
  const char *count = "count %d,count\\n\\(n=0)0(count(n-1))";
  char text[128];
  snprintf(text, sizeof text, count, 100000);
  Figures small = measure(text);
  report("countdown 100,000", small);
  snprintf(text, sizeof text, count, 1000000);
  Figures big = measure(text);
  report("countdown 1,000,000", big);
  printf("memory of the countdown: %ld kB at 100,000, %ld kB at 1,000,000: %s\n", small.peak, big.peak,
         big.peak - small.peak < 4096 ? "constant" : "GROWS");
  report("list of 1,000,000 built and summed",
         measure("sum(upto 1000000),upto\\n\\(n=0)K(J n (upto(n-1))),sum\\l\\l I (h\\t\\K(h+sum(t))) 0"));
  report("fibonacci 25 by plain recursion", measure("fib 25,fib\\n\\(n<2)n(fib(n-1)+fib(n-2))"));
}
