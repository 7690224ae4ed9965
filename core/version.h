// The version of both programs, and the command-line manners they share: --help, --version and
// "--" mean the same to tolm and to tolmrun, and an unknown option stops either before it starts.
#pragma once
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

constexpr const char *tolmversion = "1.0.0";

// The operands of a command line, in order. "-h" and "--help" print the usage, then the lines of
// the options below, on standard output; "-V" and "--version" print the name and the version;
// both then exit with status 0. "--" ends the options, so that every later argument is an
// operand, and "-" alone is always one. Any other argument that begins with "-" is an unknown
// option: one line on standard error and status 2, before the program has done anything.
inline std::vector<std::string> operands(int argc, char **argv, const char *name, const char *usage) {
  std::vector<std::string> found;
  bool options = true;
  for (int i = 1; i < argc; i++) {
    std::string arg = argv[i];
    if (!options || arg == "-" || !arg.starts_with("-")) {
      found.push_back(arg);
    } else if (arg == "--") {
      options = false;
    } else if (arg == "-h" || arg == "--help") {
      printf("%s\n  -h, --help     print this help and exit\n"
             "  -V, --version  print the version and exit\n"
             "  --             end the options; every later argument is a file\n", usage);
      exit(0);
    } else if (arg == "-V" || arg == "--version") {
      printf("%s %s\n", name, tolmversion);
      exit(0);
    } else {
      fprintf(stderr, "%s: unknown option '%s' (try '%s --help')\n", name, arg.c_str(), name);
      exit(2);
    }
  }
  return found;
}
