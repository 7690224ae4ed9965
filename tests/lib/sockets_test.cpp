// The socket bindings: constants, byte orders, buffers by class, and a loopback echo between a
// listening and a connecting socket in one program, run in a child with a time limit.
#include <gtest/gtest.h>

#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include "tests/lib/libtest.h"

TEST(Sockets, ConstantsAndByteOrders) {
  EXPECT_EQ(ran("af_unspec"), "0");
  EXPECT_EQ(ran("V sock_stream ai_passive"), "(V1 1)");
  EXPECT_EQ(ran("addrinfo"), "48");
  EXPECT_EQ(ran("ntohl 128"), "2147483648");   // unsigned
  EXPECT_EQ(ran("htonl 128"), "02147483648");  // the word read as signed
  EXPECT_EQ(ran("V (htons 1) (ntohs 256)"), "(V256 1)");
  EXPECT_EQ(ran("gai_strerror 02"), std::to_string((uintptr_t)gai_strerror(-2)));
}

TEST(Sockets, BuffersByClass) {
  int pair[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
  std::string fd = std::to_string(pair[0]);
  EXPECT_EQ(ran("send " + fd + " [abc] 3 0"), "3");  // the bracket and two letters
  char got[8] = {};
  ASSERT_EQ(recv(pair[1], got, sizeof got, 0), 3);
  EXPECT_STREQ(got, "[ab");
  EXPECT_EQ(ran("recv " + fd + " [abc] 3 0"), "Z");  // data comes in only through memory
  EXPECT_EQ(send(pair[1], "xyz", 3, 0), 3);
  EXPECT_EQ(ran("b{calloc 1 8}n{recv " + fd + " b 8 0}V n (strlen b)"), "(V3 3)");
  EXPECT_EQ(ran("closesocket " + fd), "0");
  EXPECT_EQ(ran("closesocket " + fd), "01");
  close(pair[1]);
  EXPECT_EQ(ran("s{socket 2 1 0}x{shutdown s 2}y{closesocket s}errno"), std::to_string(ENOTCONN));
}

// Server and client in one program on 127.0.0.1: the client's connection waits in the backlog
// until the server accepts it, and each side's data waits in the kernel until the other reads.
TEST(Sockets, LoopbackEchoInOneProgram) {
  std::string port = std::to_string(freeport());
  std::string program = filled(
      "a{calloc 1 16}x{sett a 2}y{sett (a+2) (htons @PORT@)}z{inet_pton 2 (strdup (init [127.0.0.1])) (a+4)}"
      "l{socket 2 1 0}b{bind l a 16}m{listen l 1}"
      "c{socket 2 1 0}k{connect c a 16}s{accept l 0 0}"
      "p{calloc 1 16}n{malloc 4}o{setu n 16}g{getpeername c p n}"
      "w{send c (init [ping]) 4 0}r{calloc 1 8}v{recv s r 8 0}e{send s r v 0}"
      "t{calloc 1 8}u{recv c t 8 0}"
      "z{closesocket c}z{closesocket s}z{closesocket l}"
      "V (V b (V m (V k g))) (V (ntohs (gett (p+2))) (V u (strcmp t (init [ping]))))",
      "PORT", port);
  Child c = ranlimited(program, 20);
  EXPECT_EQ(c.status, 0) << c.err;
  EXPECT_EQ(c.out, "(V (V0 (V0 (V0 0))) (V" + port + " (V4 0)))");
}
