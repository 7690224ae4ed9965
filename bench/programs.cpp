// Times whole programs, run as Escape e runs them, against the same algorithms in python3 in the
// same run, and against the literal machine: factorials printed in full, Fibonacci by plain
// recursion, lists built and walked, a sort, a prime count, a text built by joining, a big-number
// loop, functions over lists and a deep call tree. Each row shows python3's time over ours and
// the literal machine's over ours. Times are processor time of the best of three runs (one for the
// literal machine), so that other work on a shared machine does not count. Usage: bench_programs
// [name...] runs only the rows whose names contain one of the words.
#include <ctime>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include "core/number.h"
#include "lang/eval.h"
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
    {"quicksort 20000",
     "check (qs (rnd 20000 7)) 1 0,"
     "rnd\\n\\x\\(n=0)K(J x (rnd(n-1)((x*1103515245+12345)%2147483648))),"
     "qs\\l\\l I (h\\t\\K(cat (qs (low h t)) (J h (qs (high h t))))) K,"
     "low\\p\\l\\l I (h\\t\\K((h<p)(J h (low p t))(low p t))) K,"
     "high\\p\\l\\l I (h\\t\\K((h<p)(high p t)(J h (high p t)))) K,"
     "cat\\a\\b\\a I (h\\t\\K(J h (cat t b))) b,"
     "check\\l\\i\\s\\l I (h\\t\\K(check t (i+1) (s+h*i))) s",
     "str(check(qs(rnd(20000, 7))))"},
    {"primes below 30000", "count 30000,count\\n\\(n<2)0((prime n 2)+count(n-1)),prime\\n\\d\\(d*d>n)1((n%d=0)0(prime n (d+1)))",
     "str(count(30000))"},
    {"text of 20000 joins", "strlen (build 20000 []),build\\n\\s\\(n=0)s(build(n-1)(s+[ab]))", "str(len(build(20000)) + 2)"},
    {"fibonacci 20000 by loop", "fi 20000 0 1,fi\\n\\a\\b\\(n=0)a(fi(n-1)b(a+b))", "str(fi(20000))"},
    {"map filter fold 300000",
     "fold (x\\y\\x+y) 0 (map (x\\x*x) (keep (x\\x%3=0) (upto 300000))),"
     "upto\\n\\(n=0)K(J n (upto(n-1))),"
     "map\\f\\l\\l I (h\\t\\K(J (f h) (map f t))) K,"
     "keep\\f\\l\\l I (h\\t\\K((f h)(J h (keep f t))(keep f t))) K,"
     "fold\\f\\a\\l\\l I (h\\t\\K(fold f (f a h) t)) a",
     "str(fold(lambda x, y: x + y, map(lambda x: x * x, filter(lambda x: x % 3 == 0, range(300000, 0, -1))), 0))"},
    {"tak 18 12 6", "tak 18 12 6,tak\\x\\y\\z\\(y<x)(tak(tak(x-1)y z)(tak(y-1)z x)(tak(z-1)x y))z", "str(tak(18, 12, 6))"},
};

// Python has no tail calls and a small stack, so lists are built and walked by loops over the
// same pairs, and the deep recursions of the language become loops; the tree recursions stay.
const char *pythonscript = R"(
import sys, time
from functools import reduce as fold
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
def rnd(n, x):
    out = []
    for _ in range(n):
        out.append(x)
        x = (x * 1103515245 + 12345) % 2147483648
    return out
def qs(l):
    if not l: return []
    h, t = l[0], l[1:]
    return qs([x for x in t if x < h]) + [h] + qs([x for x in t if not x < h])
def check(l):
    return sum(h * i for i, h in enumerate(l, 1))
def prime(n, d):
    while d * d <= n:
        if n % d == 0: return 0
        d += 1
    return 1
def count(n):
    c = 0
    while n >= 2:
        c += prime(n, 2)
        n -= 1
    return c
def build(n):
    s = ''
    for _ in range(n): s = s + 'ab'
    return s
def fi(n):
    a, b = 0, 1
    for _ in range(n): a, b = b, a + b
    return a
def tak(x, y, z): return tak(tak(x - 1, y, z), tak(y - 1, z, x), tak(z - 1, x, y)) if y < x else z
for line in sys.stdin:
    expr = line.strip()
    best = 1e9
    for _ in range(3):
        t = time.process_time()
        out = eval(expr)
        best = min(best, time.process_time() - t)
    print(best, len(out), flush=True)
)";

double cputime() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return (double)t.tv_sec + (double)t.tv_nsec * 1e-9;
}

double seconds(const std::string &text, int runs, std::string &printed) {
  double best = 1e9;
  for (int i = 0; i < runs; i++) {
    double t0 = cputime();
    runprogram(0, text, printed);
    best = std::min(best, cputime() - t0);
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

bool chosen(const Program &p, int argc, char **argv) {
  for (int i = 1; i < argc; i++)
    if (strstr(p.name, argv[i])) return true;
  return argc < 2;
}

}  // namespace

int main(int argc, char **argv) {
  builtinsinstall();
  bothcapture = new std::string;  // no exact sums here; keep the trace file out of it anyway
  char script[] = "/tmp/tolm.bench.XXXXXX";
  int fd = mkstemp(script);
  if (fd < 0 || write(fd, pythonscript, strlen(pythonscript)) < 0) return 1;
  close(fd);
  std::vector<const Program *> rows;
  for (const Program &p : programs)
    if (chosen(p, argc, argv)) rows.push_back(&p);
  // Ours first, then the literal machine once, then Python, so that none takes another's core.
  std::vector<double> ours, literal;
  std::vector<std::string> printed(rows.size()), checked(rows.size());
  for (size_t i = 0; i < rows.size(); i++) ours.push_back(seconds(rows[i]->text, 3, printed[i]));
  machinereference = true;
  for (size_t i = 0; i < rows.size(); i++) literal.push_back(seconds(rows[i]->text, 1, checked[i]));
  machinereference = false;
  std::string input;
  for (const Program *p : rows) input += std::string(p->python) + "\n";
  std::string lines = std::string(script) + ".in";
  FILE *in = fopen(lines.c_str(), "w");
  if (!in || fwrite(input.data(), 1, input.size(), in) != input.size() || fclose(in) != 0) return 1;
  FILE *py = popen(("python3 " + std::string(script) + " <" + lines).c_str(), "r");
  printf("| program | tolm | literal machine | python3 | python3 / tolm | literal / tolm |\n");
  printf("|---|---:|---:|---:|---:|---:|\n");
  for (size_t i = 0; i < rows.size(); i++) {
    double pt = 0;
    size_t theirs = 0;
    if (!py || fscanf(py, "%lf %zu", &pt, &theirs) != 2) return 1;
    if (printed[i].size() != theirs) fprintf(stderr, "%s: printed %zu bytes, python3 %zu\n", rows[i]->name, printed[i].size(), theirs);
    if (printed[i] != checked[i]) fprintf(stderr, "%s: the two machines printed differently\n", rows[i]->name);
    printf("| %s | %s | %s | %s | %.2f | %.1f |\n", rows[i]->name, shown(ours[i]).c_str(), shown(literal[i]).c_str(),
           shown(pt).c_str(), pt / ours[i], literal[i] / ours[i]);
  }
  pclose(py);
  unlink(script);
  unlink(lines.c_str());
  return 0;
}
