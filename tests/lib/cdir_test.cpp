// The directory bindings over a directory made by the test: the entry record at its offsets, each
// name listed once, the end that stays the end, and the errors of opening and closing. The
// chapter's listing example reads the names in a program.
// The socket bindings: byte orders and buffers by class; the chapter's echo example is the
// loopback between a listening and a connecting socket in one program.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/lib/libtest.h"

namespace {
template <class T>
T at(const std::string &record, size_t offset) {
  T v;
  memcpy(&v, (const char *)(uintptr_t)std::stoull(record) + offset, sizeof v);
  return v;
}

uint32_t namehash(const std::string &name) {
  uint32_t h = 5381;
  for (unsigned char c : name) h = h * 33 + c;
  return h & 0x7fffffff;
}
}  // namespace

TEST(CDirectories, EachNameOnceInItsRecord) {
  std::string dir = scratchdir();
  writefile(dir + "a", "1");
  writefile(dir + "bb", "22");
  mkdir((dir + "sub").c_str(), 0700);
  std::string handle = ranhere("n{strdup (init [" + dir + "])}d{opendir n}x{free n}d"), r;
  std::vector<std::string> names;
  std::vector<uint32_t> offs;
  while ((r = ranhere("readdir " + handle)) != "0" && names.size() < 9) {
    ASSERT_EQ(r, handle);  // one record, filled anew each time
    std::string name = (const char *)(uintptr_t)std::stoull(r) + 28;
    names.push_back(name);
    offs.push_back(at<uint32_t>(r, 4));
    EXPECT_EQ(at<uint32_t>(r, 0) + at<uint16_t>(r, 8), 296u);  // d_ino 0, d_reclen 296
    EXPECT_EQ(at<uint64_t>(r, 16), name.size());
    EXPECT_EQ(at<uint32_t>(r, 24), name == "a" || name == "bb" ? 32768u : 16384u) << name;
  }
  EXPECT_EQ(ranhere("readdir " + handle), "0");  // the end stays the end
  for (size_t i = 0; i < names.size(); i++)
    EXPECT_EQ(offs[i], i + 1 < names.size() ? namehash(names[i + 1]) : 0x7fffffffu);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".", "..", "a", "bb", "sub"}));
  EXPECT_EQ(ranhere("closedir " + handle), "0");
}

TEST(CDirectories, OpenAndCloseFailures) {
  std::string dir = scratchdir();
  writefile(dir + "a", "1");
  expectprinted({{"x{closedir 0}V x errno", "(V01 9)"},
                 {"p{calloc 1 304}x{closedir p}V x errno", "(V01 9)"},  // a record with no listing
                 {"x{opendir (strdup (init []))}V x errno", "(V0 2)"},
                 {"x{opendir (strdup (init [/nonexistent/tolm]))}V x errno", "(V0 2)"},
                 {"x{opendir (strdup (init [" + dir + "a]))}V x errno", "(V0 20)"},
                 {"opendir (init [" + dir + "])", "Z"}},  // a post is no address
                true);
}

TEST(Sockets, ConstantsAndByteOrders) {
  expectprinted({{"af_unspec", "0"}, {"V sock_stream ai_passive", "(V1 1)"}, {"addrinfo", "48"},
                 {"ntohl 128", "2147483648"}, {"htonl 128", "02147483648"},  // unsigned; the word read as signed
                 {"V (htons 1) (ntohs 256)", "(V256 1)"},
                 {"gai_strerror 02", std::to_string((uintptr_t)gai_strerror(-2))}},
                true);
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
