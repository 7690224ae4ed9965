// Times the number engine on operands of 1,000, 10,000 and 100,000 decimal digits against python3
// on the same operands in the same run: sums, products, floor quotients, powers of two, and the
// conversions between decimal text and binary; then the integer routines on number leaves, the
// operators on word integers, factorials built one word factor at a time, other loops over big
// integers, and the element access words on short and long posts and texts.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>

#include "core/bignum.h"
#include "core/cell.h"
#include "core/number.h"
#include "core/numberleaf.h"
#include "lang/program.h"
#include "lib/builtins.h"

namespace {

// Seconds for one call: the number of calls in a batch doubles until a batch takes 20 ms, and the
// best of five batches counts, which keeps the noise of a shared machine out.
double timeit(const std::function<void()> &f) {
  using clock = std::chrono::steady_clock;
  auto seconds = [&](int calls) {
    auto t0 = clock::now();
    for (int i = 0; i < calls; i++) f();
    return std::chrono::duration<double>(clock::now() - t0).count();
  };
  int calls = 1;
  while (seconds(calls) < 0.02) calls *= 2;
  double best = 1e9;
  for (int i = 0; i < 5; i++) best = std::min(best, seconds(calls) / calls);
  return best;
}

// The same timing in python3, over the operands in the file named by its first argument.
const char *pythonscript = R"(
import sys, time
sys.set_int_max_str_digits(0)
def timeit(f):
    def seconds(calls):
        t = time.perf_counter()
        for _ in range(calls): f()
        return time.perf_counter() - t
    calls = 1
    while seconds(calls) < 0.02: calls *= 2
    return min(seconds(calls) / calls for _ in range(5))
words = open(sys.argv[1]).read().split()
for i in range(0, len(words), 5):
    n, ta, tb, td, te = words[i:i + 5]
    a, b, d, e = int(ta), int(tb), int(td), int(te)
    for name, f in (("add", lambda: a + b), ("mul", lambda: a * b), ("div", lambda: a // d),
                    ("pow", lambda: 2 ** e), ("tobin", lambda: int(ta)), ("totext", lambda: str(a)),
                    ("addtext", lambda: str(int(ta) + int(tb))), ("multext", lambda: str(int(ta) * int(tb)))):
        print(n, name, timeit(f), flush=True)
x, y = 123456789, 9876
for name, f in (("plus", lambda: x + y), ("mult", lambda: x * y), ("over", lambda: x // y),
                ("less", lambda: x < y)):
    print("word", name, timeit(f), flush=True)
def fact(n):
    f = 1
    for i in range(1, n + 1): f *= i
    return f
for n in (1000, 10000):
    print("fact", n, timeit(lambda: fact(n)), flush=True)
    print("facttext", n, timeit(lambda: str(fact(n))), flush=True)
def fib(n):
    a, b = 0, 1
    for _ in range(n): a, b = b, a + b
    return a
print("fib", 20000, timeit(lambda: fib(20000)), flush=True)
def digits(n):
    s = 0
    while n: s, n = s + n % 10, n // 10
    return s
big = 7 ** 2000
print("digitsum", 2000, timeit(lambda: digits(big)), flush=True)
for n in (10, 1000000):
    p = bytes(n)
    print("look", n, timeit(lambda: p[7]), flush=True)
    print("rank", n, timeit(lambda: len(p)), flush=True)
)";

std::string randomdigits(std::mt19937_64 &g, size_t n) {
  std::string s(1, (char)('1' + g() % 9));
  while (s.size() < n) s += (char)('0' + g() % 10);
  return s;
}

std::string timetext(double s) {
  char text[32];
  if (s < 1e-6)
    snprintf(text, sizeof text, "%.0f ns", s * 1e9);
  else if (s < 1e-3)
    snprintf(text, sizeof text, "%.1f us", s * 1e6);
  else
    snprintf(text, sizeof text, "%.2f ms", s * 1e3);
  return text;
}

// Runs python3 on the operands and collects its times by size and operation.
std::map<std::string, double> runpython(const std::string &operands) {
  char name[] = "/tmp/tolmbench.XXXXXX";
  int fd = mkstemp(name);
  if (fd < 0 || write(fd, operands.data(), operands.size()) != (ssize_t)operands.size()) exit(1);
  close(fd);
  int out[2];
  if (pipe(out) != 0) exit(1);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(out[1], 1);
    close(out[0]);
    execlp("python3", "python3", "-c", pythonscript, name, (char *)nullptr);
    _exit(127);
  }
  close(out[1]);
  FILE *f = fdopen(out[0], "r");
  std::map<std::string, double> times;
  char size[32], op[32];
  double s;
  while (fscanf(f, "%31s %31s %lf", size, op, &s) == 3) times[std::string(size) + " " + op] = s;
  fclose(f);
  waitpid(pid, nullptr, 0);
  unlink(name);
  return times;
}

}  // namespace

int main() {
  const size_t sizes[] = {1000, 10000, 100000};
  std::mt19937_64 g(2024);
  struct Operands {
    std::string a, b, d;
    uint64_t e;
  };
  std::map<size_t, Operands> ops;
  std::string file;
  for (size_t n : sizes) {
    uint64_t e = (uint64_t)std::ceil((double)(n - 1) / std::log10(2.0));  // 2^e has n digits
    ops[n] = Operands{randomdigits(g, n), randomdigits(g, n), randomdigits(g, n / 2), e};
    file +=
        std::to_string(n) + " " + ops[n].a + " " + ops[n].b + " " + ops[n].d + " " + std::to_string(e) + "\n";
  }
  std::map<std::string, double> python = runpython(file);

  printf("%-8s %8s %12s %12s %8s\n", "", "digits", "tolm", "python3", "ratio");
  for (size_t n : sizes) {
    const Operands &o = ops[n];
    Limbs a = decread(o.a), b = decread(o.b), d = decread(o.d), abin = dectobin(a), q, r;
    std::pair<const char *, std::function<void()>> rows[] = {
        {"add", [&] { bigadd<Dec>(a, b); }},          {"mul", [&] { bigmul<Dec>(a, b); }},
        {"div", [&] { bigdivmod<Dec>(a, d, q, r); }}, {"pow", [&] { bigpow<Dec>(Limbs{2}, Limbs{o.e}); }},
        {"tobin", [&] { dectobin(decread(o.a)); }},   {"totext", [&] { decwrite(bintodec(abin)); }},
    };
    for (auto &[name, f] : rows) {
      double ours = timeit(f), theirs = python[std::to_string(n) + " " + name];
      printf("%-8s %8zu %12s %12s %7.1fx\n", name, n, timetext(ours).c_str(), timetext(theirs).c_str(),
             theirs / ours);
    }
  }

  // The routines the operators call, on leaves as the arithmetic leaves them (words kept, digits
  // not yet written). Python's times are those of its own operations above.
  printf("\nOn integer leaves that keep their words:\n");
  for (size_t n : sizes) {
    const Operands &o = ops[n];
    CellRef a = wordsleaf(false, dectobin(decread(o.a))), b = wordsleaf(false, dectobin(decread(o.b)));
    CellRef d = wordsleaf(false, dectobin(decread(o.d))), two("2"), e = fromuword(o.e);
    std::string natural = textnatural(o.a);
    std::pair<const char *, std::function<void()>> rows[] = {
        {"intadd", [&] { intadd(a, b); }},      {"intmul", [&] { intmul(a, b); }},
        {"intdiv", [&] { intdiv(a, d); }},      {"intpow", [&] { intpow(two, e); }},
        {"natural", [&] { textnatural(o.a); }}, {"spell", [&] { naturaltext(natural); }},
    };
    const char *same[] = {"add", "mul", "div", "pow", "tobin", "totext"};
    for (int i = 0; i < 6; i++) {
      double ours = timeit(rows[i].second), theirs = python[std::to_string(n) + " " + same[i]];
      printf("%-8s %8zu %12s %12s %7.1fx\n", rows[i].first, n, timetext(ours).c_str(),
             timetext(theirs).c_str(), theirs / ours);
    }
  }

  // The same from decimal text to decimal text: both operands read from digits, the result's
  // digits written; Python reads and writes its text too.
  printf("\nFrom digit leaves to digit leaves:\n");
  for (size_t n : sizes) {
    const Operands &o = ops[n];
    CellRef a(o.a), b(o.b);
    std::pair<const char *, std::function<void()>> rows[] = {
        {"intadd", [&] { celltext(intadd(a, b)); }},
        {"intmul", [&] { celltext(intmul(a, b)); }},
    };
    const char *same[] = {"addtext", "multext"};
    for (int i = 0; i < 2; i++) {
      double ours = timeit(rows[i].second), theirs = python[std::to_string(n) + " " + same[i]];
      printf("%-8s %8zu %12s %12s %7.1fx\n", rows[i].first, n, timetext(ours).c_str(),
             timetext(theirs).c_str(), theirs / ours);
    }
  }

  // The operators as the machine calls them, on an application of two word integers.
  printf("\nOperators on word integers (application in, leaf out):\n");
  builtinsinstall();
  preludeload();
  CellRef x = fromword(123456789), y = fromword(9876);
  for (const char *op : {"plus", "mult", "over", "less"}) {
    CellRef app = cellpair3(CellRef(op), x, y);
    builtinrow row = builtins()[op];
    double ours = timeit([&] { row.run(app); }), theirs = python[std::string("word ") + op];
    printf("%-8s %8s %12s %12s %7.1fx\n", op, "", timetext(ours).c_str(), timetext(theirs).c_str(), theirs / ours);
  }

  // Factorials by the operator mult, one word factor at a time; then the same with the text of
  // the result written at the end.
  printf("\nRepeated products of a big integer by a word (factorial of n):\n");
  for (int n : {1000, 10000}) {
    builtinrow mult = builtins()["mult"];
    auto fact = [&] {
      CellRef f("1");
      for (int i = 1; i <= n; i++) f = mult.run(cellpair3(CellRef("mult"), f, fromword(i)));
      return f;
    };
    double ours = timeit([&] { fact(); }), theirs = python["fact " + std::to_string(n)];
    printf("%-8s %8d %12s %12s %7.1fx\n", "fact", n, timetext(ours).c_str(), timetext(theirs).c_str(), theirs / ours);
    ours = timeit([&] { celltext(fact()); }), theirs = python["facttext " + std::to_string(n)];
    printf("%-8s %8d %12s %12s %7.1fx\n", "+text", n, timetext(ours).c_str(), timetext(theirs).c_str(), theirs / ours);
  }

  // Sums of big integers (Fibonacci of 20,000 by iteration), and quotients and remainders of a
  // big integer by a word (the digit sum of 7^2000 by repeated division by 10).
  printf("\nOther loops over big integers:\n");
  {
    builtinrow plus = builtins()["plus"], over = builtins()["over"], cent = builtins()["cent"];
    auto fib = [&] {
      CellRef a("0"), b("1");
      for (int i = 0; i < 20000; i++) {
        CellRef next = plus.run(cellpair3(CellRef("plus"), a, b));
        a = std::move(b), b = std::move(next);
      }
    };
    double ours = timeit(fib), theirs = python["fib 20000"];
    printf("%-8s %8d %12s %12s %7.1fx\n", "fib", 20000, timetext(ours).c_str(), timetext(theirs).c_str(), theirs / ours);
    CellRef big = intpow(CellRef("7"), CellRef("2000")), ten("10");
    auto digitsum = [&] {
      CellRef n = big, sum("0");
      while (!leafis(n.get(), "0")) {
        sum = plus.run(cellpair3(CellRef("plus"), sum, cent.run(cellpair3(CellRef("cent"), n, ten))));
        n = over.run(cellpair3(CellRef("over"), n, ten));
      }
    };
    ours = timeit(digitsum), theirs = python["digitsum 2000"];
    printf("%-8s %8d %12s %12s %7.1fx\n", "digitsum", 2000, timetext(ours).c_str(), timetext(theirs).c_str(), theirs / ours);
  }

  // One element and the length of posts and texts of 10 and of 1,000,000 bytes.
  printf("\nElement access on posts and texts (bytes):\n");
  for (size_t n : {10, 1000000}) {
    CellRef post = mkblob(std::string(n, 'x')), text("[" + std::string(n, 'x') + "]");
    for (const char *word : {"look", "rank"})
      for (const CellRef &v : {post, text}) {
        CellRef app = strcmp(word, "look") == 0 ? cellpair3(CellRef(word), CellRef("7"), v) : cellpair(CellRef(word), v);
        builtinrow row = builtins()[word];
        double ours = timeit([&] { row.run(app); }), theirs = python[std::string(word) + " " + std::to_string(n)];
        printf("%-8s %8zu %12s %12s %7.1fx\n", (std::string(word) + (v.get() == post.get() ? " a" : " u")).c_str(), n,
               timetext(ours).c_str(), timetext(theirs).c_str(), theirs / ours);
      }
  }
  return 0;
}
