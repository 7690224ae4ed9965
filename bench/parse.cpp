// The front end over a program text of about a megabyte with thousands of definitions: the
// bracket check, normalisation, the cut at top-level commas and the parse of every piece.
#include <chrono>
#include <cstdio>
#include <string>

#include "lang/chars.h"
#include "lang/parse.h"

static double seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Definitions of several shapes: arithmetic with calls, conditionals, local bindings by wings,
// pipelines over lines, prefix operators and bracket literals.
static std::string program(size_t size) {
  std::string text = "main 10\n";
  for (int i = 0; text.size() < size; i++) {
    std::string n = std::to_string(i), m = std::to_string(i / 2);
    switch (i % 5) {
      case 0: text += ",f" + n + "\\x\\y\\\n  (x=0) y (f" + m + "(x - 1, y * 2 + 3))\n"; break;
      case 1: text += ",g" + n + "\\n\\\n  k{n + 1}k * k - n / 2 ^ 3\n"; break;
      case 2: text += ",h" + n + "\\s\\\n  s\n  reverse\n  length\n  plus [abc def [g]]\n"; break;
      case 3: text += ",p" + n + "\\a\\b\\ (a b){V a b}~a & !b | a # b\n"; break;
      default: text += ",q" + n + "\\l\\ l @ K : (I (S K K)) . [x]\n"; break;
    }
  }
  return text;
}

int main() {
  std::string text = program(1 << 20);
  std::string error;
  int64_t where = -1;
  double best[4] = {1e9, 1e9, 1e9, 1e9};
  size_t pieces = 0;
  for (int round = 0; round < 7; round++) {
    double t0 = seconds();
    bool ok = matchcheck(text, 0, error, where);
    double t1 = seconds();
    std::string norm = normalise(text);
    double t2 = seconds();
    std::vector<size_t> commas = oppositions(norm, ",");
    double t3 = seconds();
    size_t from = 0;
    pieces = 0;
    for (size_t i = 0; i <= commas.size(); i++) {
      size_t to = i < commas.size() ? commas[i] : norm.size();
      CellRef term = parsetop(norm.substr(from, to - from));
      pieces++;
      from = to + 1;
    }
    double t4 = seconds();
    if (!ok) return printf("check failed: %s\n", error.c_str()), 1;
    double times[4] = {t1 - t0, t2 - t1, t3 - t2, t4 - t3};
    for (int k = 0; k < 4; k++) best[k] = std::min(best[k], times[k]);
  }
  double mb = (double)text.size() / (1 << 20), total = best[0] + best[1] + best[2] + best[3];
  printf("program text: %.2f MB, %zu pieces\n", mb, pieces);
  printf("bracket check   %7.2f ms\n", best[0] * 1e3);
  printf("normalise       %7.2f ms\n", best[1] * 1e3);
  printf("cut at commas   %7.2f ms\n", best[2] * 1e3);
  printf("parse pieces    %7.2f ms\n", best[3] * 1e3);
  printf("all             %7.2f ms, %.1f MB/s\n", total * 1e3, mb / total);
}
