// Shared test helpers: captured log and screen, a child process with its output, a scratch
// directory, and an editor state reset to its start values.
#pragma once
#include <cstdint>
#include <functional>
#include <string>

#include "tests/edit/reset.h"

// What the log and the screen received since the last clear; every test runs with both captured.
extern std::string testlog, testscreen;

struct Child {
  int status;       // exit status, or 128 + signal number
  std::string out;  // standard output
  std::string err;  // standard error
};
// Runs fn in a forked child, or a command line when fn is empty, and collects what it wrote.
Child runchild(const std::function<void()> &fn);
Child runcommand(const std::string &command);
// The most memory a shell command took, in kilobytes, with its exit status: measured from a child
// of the test's own whose only child is the command, so that nothing else the test ran counts.
long peakkb(const std::string &command, int &status);

// In a child: caps the address space at what the process holds now and more bytes besides, so that
// a step that takes many times the room it should fails at once. Under the sanitizer, whose shadow
// takes more address space than any such cap, it leaves the process as it is.
void capmemory(uint64_t more);

// Sets the flag that halts a run after ms milliseconds, as the editor's interrupt key does: from a
// handler installed without SA_RESTART, so that a blocking call returns with EINTR. Whoever runs
// next clears runhalt.
void interruptafter(int ms);

// A fresh directory under /tmp, removed with everything in it at the end of the test program.
std::string scratchdir();
void writefile(const std::string &path, const std::string &bytes);

// A term from a small s-expression: atoms are leaf texts separated by blanks, parentheses group,
// and a sequence applies left to right, so "(f x y)" is the pair of the pair (f x) with y.
#include "core/cell.h"
CellRef sexp(const std::string &text);
