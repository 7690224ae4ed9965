// The batch runner: evaluates a file's text as the editor's Escape e does on a document holding
// it, and writes the printed result or the failure's message on standard output.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "core/base.h"
#include "core/file.h"
#include "core/halt.h"
#include "core/version.h"
#include "lang/eval.h"
#include "lang/program.h"
#include "lib/builtins.h"

static const char usage[] =
    "Usage: tolmrun [OPTION]... FILE\n"
    "Run the program in FILE, or on standard input when FILE is -, as Escape e runs a\n"
    "document in tolm, and print its result.\n"
    "\n"
    "  --reference    run on the literal machine, which the fast one is checked against";

// Takes the runner's own option out of the arguments, up to the end of the options.
static int ownoptions(int argc, char **argv) {
  int kept = 1;
  bool options = true;
  for (int i = 1; i < argc; i++) {
    std::string arg = argv[i];
    if (options && arg == "--reference") {
      machinereference = true;
      continue;
    }
    if (arg == "--") options = false;
    argv[kept++] = argv[i];
  }
  return kept;
}

int main(int argc, char **argv) {
  argc = ownoptions(argc, argv);
  std::vector<std::string> args = operands(argc, argv, "tolmrun", usage);
  if (args.size() != 1) {
    fprintf(stderr, "usage: tolmrun FILE (or - for standard input)\n");
    return 2;
  }
  tolmstart();
  builtinsinstall();
  srand(0);
  std::string name = args[0], text;
  if (name == "-") {
    if (!fdload(0, text, textmost())) {
      perror("tolmrun: standard input");
      return 2;
    }
  } else if (!fileisplain(name) || !fileload(name, text, textmost())) {
    fprintf(stderr, "tolmrun: cannot read %s\n", name.c_str());
    return 2;
  }
  std::string printed;
  Outcome o = runprogram(0, text, printed);
  if (runhalt == haltinterrupt) {
    // The key reached a command that the program ran, not the runner: end as the key ends it.
    signal(SIGINT, SIG_DFL);
    raise(SIGINT);
  }
  fflush(stdout);
  printed += "\n";
  fwrite(printed.data(), 1, printed.size(), stdout);
  // A result that could not be written (a full disk, or a program that closed standard output)
  // is lost: the runner says so and fails, as a tool in a pipeline must.
  if (fflush(stdout) != 0 || ferror(stdout)) {
    perror("tolmrun: standard output");
    return 2;
  }
  if (o.status == "Empty") return 0;
  if (o.where != -1) fprintf(stderr, "where %lld\n", (long long)o.where);
  return 1;
}
