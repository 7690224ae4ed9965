// The batch runner: evaluates a file's text as the editor's Escape e does on a document holding
// it, and writes the printed result or the failure's message on standard output.
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "core/base.h"
#include "core/file.h"
#include "lang/eval.h"
#include "lang/program.h"
#include "lib/builtins.h"

static bool readall(int fd, std::string &text) {
  char buf[65536];
  for (;;) {
    ssize_t n = read(fd, buf, sizeof buf);
    if (n == 0) return true;
    if (n < 0) return false;
    text.append(buf, (size_t)n);
  }
}

int main(int argc, char **argv) {
  bool reference = argc == 3 && std::string(argv[1]) == "--reference";
  if (argc != 2 && !reference) {
    fprintf(stderr, "usage: tolmrun [--reference] FILE (or - for standard input)\n");
    return 2;
  }
  machinereference = machinereference || reference;
  tolmstart();
  builtinsinstall();
  srand(0);
  std::string name = argv[argc - 1], text;
  if (name == "-") {
    if (!readall(0, text)) {
      perror("tolmrun: standard input");
      return 2;
    }
  } else if (!fileisplain(name) || !filereadable(name)) {
    fprintf(stderr, "tolmrun: cannot read %s\n", name.c_str());
    return 2;
  } else {
    text = fileread(name);
  }
  std::string printed;
  Outcome o = runprogram(0, text, printed);
  fflush(stdout);
  printed += "\n";
  fwrite(printed.data(), 1, printed.size(), stdout);
  fflush(stdout);
  if (o.status == "Empty") return 0;
  if (o.where != -1) fprintf(stderr, "where %lld\n", (long long)o.where);
  return 1;
}
