// Times whole programs, run as Escape e runs them, against the same algorithms in python3 in the
// same run: factorials of 1,000 and 10,000 printed in full, Fibonacci of 25 by plain recursion,
// and a list of a million integers built and then summed.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "core/number.h"
#include "lang/program.h"
#include "lib/builtins.h"

namespace {

struct Program {
  const char *name;
  std::string text;    // the program in the language
  const char *python;  // the same algorithm, a Python expression over the functions below
};

const Program programs[] = {
    {"fact 1000", "fact 1000,fact\\n\\(n=0)1(n*fact(n-1))", "str(fact(1000))"},
    {"fact 10000", "fact 10000,fact\\n\\(n=0)1(n*fact(n-1))", "str(fact(10000))"},
    {"fib 25", "fib 25,fib\\n\\(n<2)n(fib(n-1)+fib(n-2))", "str(fib(25))"},
    {"list sum", "sum (make 1000000 H) 0,make\\n\\l\\(n=0)l(make(n-1)(V n l)),sum\\l\\s\\l(a\\b\\c\\(sum b)(s+a))s",
     "str(total(make(1000000)))"},
};

// Python has no tail calls and a small stack, so the list is built and summed by loops over the
// same pairs; the recursions stay recursions.
const char *pythonscript = R"(
import sys, time
sys.set_int_max_str_digits(0)
sys.setrecursionlimit(100000)
def fact(n): return 1 if n == 0 else n * fact(n - 1)
def fib(n): return n if n < 2 else fib(n - 1) + fib(n - 2)
def make(n):
    l = None
    while n:
        l = (n, l)
        n -= 1
    return l
def total(l):
    s = 0
    while l:
        s += l[0]
        l = l[1]
    return s
for line in sys.stdin:
    expr = line.strip()
    best = 1e9
    for _ in range(3):
        t = time.perf_counter()
        out = eval(expr)
        best = min(best, time.perf_counter() - t)
    print(best, len(out), flush=True)
)";

double seconds(const std::string &text, size_t &printedsize) {
  double best = 1e9;
  for (int i = 0; i < 3; i++) {
    std::string printed;
    auto t0 = std::chrono::steady_clock::now();
    runprogram(0, text, printed);
    best = std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    printedsize = printed.size();
  }
  return best;
}

std::string shown(double s) {
  char buf[32];
  if (s < 1e-3) snprintf(buf, sizeof buf, "%.1f us", s * 1e6);
  else if (s < 1) snprintf(buf, sizeof buf, "%.1f ms", s * 1e3);
  else snprintf(buf, sizeof buf, "%.2f s", s);
  return buf;
}

}  // namespace

int main() {
  builtinsinstall();
  bothcapture = new std::string;  // no exact sums here; keep the trace file out of it anyway
  char script[] = "/tmp/tolm.bench.XXXXXX";
  int fd = mkstemp(script);
  if (fd < 0 || write(fd, pythonscript, strlen(pythonscript)) < 0) return 1;
  close(fd);
  // Ours first and Python after, so that neither takes the other's core.
  double ours[4];
  size_t oursize[4];
  for (int i = 0; i < 4; i++) ours[i] = seconds(programs[i].text, oursize[i]);
  std::string input;
  for (const Program &p : programs) input += std::string(p.python) + "\\n";
  FILE *py = popen(("printf '" + input + "' | python3 " + script).c_str(), "r");
  printf("| program | tolm | python3 | ratio |\n|---|---:|---:|---:|\n");
  for (int i = 0; i < 4; i++) {
    double pt = 0;
    size_t theirs = 0;
    if (!py || fscanf(py, "%lf %zu", &pt, &theirs) != 2) return 1;
    if (oursize[i] != theirs) fprintf(stderr, "%s: printed %zu bytes, python3 %zu\n", programs[i].name, oursize[i], theirs);
    printf("| %s | %s | %s | %.2f |\n", programs[i].name, shown(ours[i]).c_str(), shown(pt).c_str(), pt / ours[i]);
  }
  pclose(py);
  unlink(script);
  return 0;
}
