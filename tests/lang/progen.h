// Random programs that end, for comparing the two machines: numbers of every kind, texts, lists,
// lambdas and bindings, constants, shared and unshared cells under same, diff and raws, partial
// and over-applied calls, effects in order on a scratch file, and now and then a broken text.
#pragma once
#include <cstdint>
#include <string>

// The program of a seed; "@OUT@" in it stands for the path of the scratch file it writes.
std::string makeprogram(uint64_t seed);

// What one run of a program shows: the printed result or message, the position, the scratch
// file's bytes, and how the process ended (exit status, standard error).
struct Seen {
  std::string printed, file, err;
  int64_t where = -1;
  int exit = 0;
};
// Runs the program in a child process on the chosen machine, killed after the given seconds.
Seen runseen(const std::string &program, bool reference, const std::string &outpath, unsigned seconds);
// A description of the first difference, or empty when both runs showed the same.
std::string difference(const Seen &fast, const Seen &reference);
