// Helpers of the library tests: programs run whole, in this process or in a child with a limit.
#include "tests/lib/libtest.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "core/number.h"
#include "lang/program.h"
#include "lib/builtins.h"

std::string ranhere(const std::string &text) {
  std::string printed;
  runprogram(0, text, printed);
  return printed;
}

void expectprinted(const std::vector<std::pair<std::string, std::string>> &cases, bool inchild) {
  for (const auto &[program, printed] : cases) EXPECT_EQ(inchild ? ran(program) : ranhere(program), printed) << program;
}

Child ranlimited(const std::string &text, unsigned seconds) {
  return runchild([&] {
    alarm(seconds);
    std::string printed = ranhere(text);
    fwrite(printed.data(), 1, printed.size(), stdout);
  });
}

std::string ran(const std::string &text) {
  Child c = ranlimited(text);
  return c.status ? c.out + " (status " + std::to_string(c.status) + ")" : c.out;
}

std::string filled(std::string text, const std::string &key, const std::string &value) {
  std::string mark = "@" + key + "@";
  for (size_t at; (at = text.find(mark)) != std::string::npos;) text.replace(at, mark.size(), value);
  return text;
}

int freeport() {
  int s = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t n = sizeof a;
  if (s < 0 || bind(s, (sockaddr *)&a, sizeof a) != 0 || getsockname(s, (sockaddr *)&a, &n) != 0) abort();
  close(s);
  return ntohs(a.sin_port);
}

CellRef applied(const char *name, std::initializer_list<CellRef> args) {
  CellRef app(name);
  for (const CellRef &a : args) app = cellpair(app, a);
  return builtins()[name].run(app);
}

CellRef aslist(const CellRef &leaf) { return bitlist(textnatural(celltext(leaf))); }
