// Helpers of the library tests: the printed result of a program, run in a child process that an
// alarm ends, so that a program that blocks never hangs the tests and C memory that a program keeps
// is never counted against the test; or run in this process, for tests that read what it left.
#pragma once
#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include "core/cell.h"
#include "tests/support.h"

// The printed result of the text as a whole program, or the message of its failure.
std::string ran(const std::string &text);
std::string ranhere(const std::string &text);
// Each program against what it prints, run in this process, or in a child when inchild is set.
void expectprinted(const std::vector<std::pair<std::string, std::string>> &cases, bool inchild = false);
// The child that ran the text, killed after the given seconds; the printed result is its output.
Child ranlimited(const std::string &text, unsigned seconds = 20);
// The text with every "@KEY@" replaced by its value, for programs that name scratch paths.
std::string filled(std::string text, const std::string &key, const std::string &value);
// A port on 127.0.0.1 that the kernel picked as free a moment ago.
int freeport();
// The built-in's function applied to the arguments, as the machine calls it; the tables must
// hold the prelude.
CellRef applied(const char *name, std::initializer_list<CellRef> args);
// An integer leaf as the chain of its bits, which the word paths of the built-ins never take.
CellRef aslist(const CellRef &leaf);
