// The socket bindings: constants, byte orders and buffers by class. The chapter's echo example is
// the loopback between a listening and a connecting socket in one program.
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
  EXPECT_EQ(ranhere("send " + fd + " [abc] 3 0"), "3");  // the bracket and two letters
  char got[8] = {};
  ASSERT_EQ(recv(pair[1], got, sizeof got, 0), 3);
  EXPECT_STREQ(got, "[ab");
  EXPECT_EQ(ranhere("recv " + fd + " [abc] 3 0"), "Z");  // data comes in only through memory
  EXPECT_EQ(send(pair[1], "xyz", 3, 0), 3);
  EXPECT_EQ(ranhere("b{calloc 1 8}n{recv " + fd + " b 8 0}l{strlen b}x{free b}V n l"), "(V3 3)");
  EXPECT_EQ(ranhere("closesocket " + fd), "0");
  EXPECT_EQ(ranhere("closesocket " + fd), "01");
  close(pair[1]);
  EXPECT_EQ(ranhere("s{socket 2 1 0}x{shutdown s 2}y{closesocket s}errno"), std::to_string(ENOTCONN));
}
