// Helpers of the library tests: programs run whole, in this process or in a child with a limit.
#include "tests/lib/libtest.h"

#include <cstdio>
#include <unistd.h>

#include "lang/program.h"

std::string ran(const std::string &text) {
  std::string printed;
  runprogram(0, text, printed);
  return printed;
}

Child ranlimited(const std::string &text, unsigned seconds) {
  return runchild([&] {
    alarm(seconds);
    std::string printed = ran(text);
    fwrite(printed.data(), 1, printed.size(), stdout);
  });
}

std::string filled(std::string text, const std::string &key, const std::string &value) {
  std::string mark = "@" + key + "@";
  for (size_t at; (at = text.find(mark)) != std::string::npos;) text.replace(at, mark.size(), value);
  return text;
}
