// The socket bindings from programs: a send to a peer that has gone answers -1 and EPIPE, and
// the process that runs the program goes on.
#include <gtest/gtest.h>

#include "tests/lib/libtest.h"

TEST(Sockets, ASendToAPeerThatHasGoneFailsWithoutASignal) {
  std::string text =
      "pp @PORT@,\n"
      "pp\\p\\a{calloc 1 16}\n"
      "x{sett a 2}\n"
      "y{sett (a+2) (htons p)}\n"
      "z{inet_pton 2 (strdup (init [127.0.0.1])) (a+4)}\n"
      "s{socket 2 sock_stream 0}\n"
      "b{bind s a 16}\n"
      "l{listen s 1}\n"
      "c{socket 2 sock_stream 0}\n"
      "k{connect c a 16}\n"
      "e{accept s 0 0}\n"
      "q{closesocket e}\n"
      "w{send c (init [a]) 1 0}\n"
      "u{calloc 1 8}\n"
      "g{recv c u 8 0}\n"
      "v{send c (init [b]) 1 0}\n"
      "V v errno";
  Child c = ranlimited(filled(text, "PORT", std::to_string(freeport())), 20);
  EXPECT_EQ(c.status, 0) << c.err;
  EXPECT_EQ(c.out, "(V01 32)");  // EPIPE
}
