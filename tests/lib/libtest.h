// Helpers of the library tests: the printed result of a program, and a program that may block
// run in a child process that an alarm ends, so that it can never hang the tests.
#pragma once
#include <string>

#include "tests/support.h"

// The printed result of the text as a whole program, or the message of its failure.
std::string ran(const std::string &text);
// The same in a child that is killed after the given seconds; the printed result is its output.
Child ranlimited(const std::string &text, unsigned seconds = 20);
// The text with every "@KEY@" replaced by its value, for programs that name scratch paths.
std::string filled(std::string text, const std::string &key, const std::string &value);
// A port on 127.0.0.1 that the kernel picked as free a moment ago.
int freeport();
