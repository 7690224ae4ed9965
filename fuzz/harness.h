// What the fuzz targets share: the start of the process and of each input, the bounds of one
// input, the fence around the built-ins and the judge of stops.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "core/base.h"

// Thrown to end an input early and quietly: a stop that the language asks for on a misuse of it,
// or a bound of the fuzz build reached. Caught by fuzzinput alone.
struct Ended {
  const char *why;
};

// The bounds of one input: machine steps, bytes of memory held, blocks allocated, bytes of one
// value (a text, a post or the digits of a number), bytes written to files.
constexpr uint64_t maxsteps = 200000;
constexpr uint64_t maxheld = 64ull << 20;
constexpr uint64_t maxmade = 1 << 20;  // blocks allocated, which under the sanitizers cost time
constexpr uint64_t maxvalue = 1 << 16;
constexpr uint64_t maxdigits = 4096;
constexpr uint64_t maxwritten = 8 << 20;

// Once, before the first input: the library's tables, the fence, the judge, the bounds, and a
// private folder that is the working directory while an input runs, so that files named without
// a "/" land there.
void fuzzstart();

// The start of an input, with a fresh budget, and its end, which undoes what it left behind.
void inputbegin();
void inputend();

// Runs the work of one input. What the input opened, allocated or wrote is undone after it.
template <class Work>
void fuzzinput(Work work) {
  inputbegin();
  try {
    work();
  } catch (const Ended &) {
  }
  inputend();
}

// The fence (fence.cpp): each built-in row runs through it. It answers Z where a built-in would
// reach outside the process or through an address the program did not get from it, and ends the
// input where a call would pass a bound.
void fenceinstall();
void fencereset();  // after each input: files closed and removed, blocks freed
// The names of the built-ins running now, the innermost last.
const std::vector<std::string> &running();
// Ends the input when the memory it holds, above what the process held when it began, or the
// blocks it has allocated pass their bounds; heldbegin marks where the input begins.
void heldbegin();
void heldcheck();

// The fence of paths (paths.cpp): the libraries' calls of the C functions that take a path reach
// it instead. An absolute path names a place under folder, which "/" is to them; a relative one
// must name an entry of the working directory.
void pathsinstall(const std::string &folder);
// The folder that "/" names, made empty by fuzzstart.
const std::string &fuzzroot();

// The judge (judge.cpp): the one place that tells the stops the language asks for, which end an
// input, from every other stop, which is a fault and aborts as it always does.
void judgeinstall();
// Set by the editor's target while the current document's undo log no longer fits its text, as
// the editor allows after some keys: the judge then lets the checks of a record against the text
// end the input too.
extern bool logmisfit;
