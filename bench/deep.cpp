// Deep and long program texts on the road of Escape e: texts nested a million levels deep in
// parentheses, read, run and printed, and a program of ten megabytes of definitions loaded and run.
// Usage: bench_deep [levels] [megabytes]; each case prints its processor time and the first bytes
// of what it printed.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "core/base.h"
#include "lang/program.h"
#include "lib/builtins.h"

namespace {

// Processor time of the process, so that other work on a shared machine does not count.
double seconds() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return (double)t.tv_sec + (double)t.tv_nsec * 1e-9;
}

std::string times(const std::string &s, size_t n) {
  std::string out;
  out.reserve(s.size() * n);
  for (size_t i = 0; i < n; i++) out += s;
  return out;
}

// A number spelled in letters, since a name holds no digits.
std::string spelled(int i) {
  std::string s;
  do s += (char)('a' + i % 26), i /= 26;
  while (i);
  return s;
}

// Definitions of several shapes, each called from the main expression through a chain, so that
// liveness keeps every one of them and the run reaches them all.
std::string program(size_t size) {
  std::string defs;
  int i = 0;
  for (; defs.size() < size; i++) {
    std::string n = spelled(i), m = spelled(i + 1);
    switch (i % 4) {
      case 0: defs += ",vf" + n + "\\x\\\n  (x=0) 0 (vg" + m + "(x - 1) + x * 2)\n"; break;
      case 1: defs += ",vg" + n + "\\n\\\n  k{n + 1}vh" + m + "(k * k - n / 2)\n"; break;
      case 2: defs += ",vh" + n + "\\s\\\n  (a b){V s 3}vp" + m + " (a + b)\n"; break;
      default: defs += ",vp" + n + "\\v\\ vf" + m + " (v % 7) + rank [" + std::to_string(i) + "]\n"; break;
    }
  }
  std::string n = spelled(i);
  return "vfa 5" + defs + ",vf" + n + "\\x\\x,vg" + n + "\\x\\x,vh" + n + "\\x\\x,vp" + n + "\\x\\x";
}

void run(const char *name, const std::string &text) {
  std::string printed;
  double t0 = seconds();
  Outcome o = runprogram(0, text, printed);
  double t = seconds() - t0;
  if (printed.size() > 40) printed = printed.substr(0, 37) + "...";
  printf("%-34s %8.3f s  %s %s\n", name, t, o.status.c_str(), printed.c_str());
}

}  // namespace

int main(int argc, char **argv) {
  size_t n = argc > 1 ? strtoul(argv[1], nullptr, 10) : 1000000;
  size_t mb = argc > 2 ? strtoul(argv[2], nullptr, 10) : 10;
  tolmstart();
  builtinsinstall();
  printf("%zu levels, a program of %zu MB\n", n, mb);
  run("parentheses around 1", times("(", n) + "1" + times(")", n));
  run("sums nested to the right", times("(1+", n) + "1" + times(")", n));
  run("sums nested to the left", times("(", n) + "1" + times("+1)", n));
  run("calls of I nested", times("I(", n) + "5" + times(")", n));
  run("partial applications of K", times("K(", n) + "1" + times(")", n));
  run("wings binding x", times("x{1}(", n) + "x" + times(")", n));
  run("program of definitions", program(mb << 20));
}
