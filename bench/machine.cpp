// The machine on four workloads, each on the fast machine and on the literal one: a countdown
// loop in constant space, a list of a million elements built and walked, a tree recursion and a
// walk over a list with a function given as an argument. Prints the time of each, cells made, the
// literal machine's steps, and the peak memory; checks that the countdown's memory does not grow
// with its length on either machine, up to ten million on the fast one.
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

static void report(const char *name, const Figures &fast, const Figures &literal) {
  printf("%-36s fast %7.3f s %6.2f cells/call  literal %7.3f s %11llu steps %5.2f cells/step  %5.1fx  = %.20s%s\n",
         name, fast.seconds, (double)fast.cells / (double)fast.steps, literal.seconds,
         (unsigned long long)literal.steps, (double)literal.cells / (double)literal.steps,
         literal.seconds / fast.seconds, fast.printed.c_str(), fast.printed == literal.printed ? "" : "  DIFFERENT");
}

static Figures on(bool reference, const std::string &program) {
  machinereference = reference;
  Figures f = measure(program);
  machinereference = false;
  return f;
}

static std::string countdown(int n) { return "count " + std::to_string(n) + ",count\\n\\(n=0)0(count(n-1))"; }

int main() {
  builtinsinstall();
  // The countdowns first, while the peak is still theirs.
  Figures small = on(false, countdown(100000)), big = on(false, countdown(10000000));
  printf("memory of the fast countdown: %ld kB at 100,000, %ld kB at 10,000,000: %s\n", small.peak, big.peak,
         big.peak - small.peak < 4096 ? "constant" : "GROWS");
  Figures lsmall = on(true, countdown(100000)), lbig = on(true, countdown(1000000));
  printf("memory of the literal countdown: %ld kB at 100,000, %ld kB at 1,000,000: %s\n", lsmall.peak, lbig.peak,
         lbig.peak - lsmall.peak < 4096 ? "constant" : "GROWS");
  report("countdown 1,000,000", on(false, countdown(1000000)), lbig);
  const char *programs[][2] = {
      {"list of 1,000,000 built and summed", "sum(upto 1000000),upto\\n\\(n=0)K(J n (upto(n-1))),sum\\l\\l I (h\\t\\K(h+sum(t))) 0"},
      {"fibonacci 25 by plain recursion", "fib 25,fib\\n\\(n<2)n(fib(n-1)+fib(n-2))"},
      {"fold with a function over 300,000", "fold (x\\y\\x+y) 0 (upto 300000),upto\\n\\(n=0)K(J n (upto(n-1))),"
                                            "fold\\f\\a\\l\\l I (h\\t\\K(fold f (f a h) t)) a"},
  };
  for (auto &[name, program] : programs) report(name, on(false, program), on(true, program));
}
