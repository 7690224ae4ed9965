// The run-time base: the assertion line, the fatal stop and the log, which keeps to its own file.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base.h"
#include "core/file.h"
#include "tests/support.h"

TEST(Base, AssertionWritesGroupAndLineThenAborts) {
  int line = __LINE__ + 1;
  Child c = runchild([] { must(1 + 1 == 3); });
  EXPECT_EQ(c.status, 128 + SIGABRT);
  EXPECT_EQ(c.err, "ASSERTION FAILED:b:" + std::to_string(line) + "\n");
  EXPECT_EQ(c.out, "");
  Child l = runchild([] { tolmabort('l', 242); });
  EXPECT_EQ(l.err, "ASSERTION FAILED:l:242\n");
}

TEST(Base, FatalStopWritesItsTextOnStandardOutputFirst) {
  Child c = runchild([] { tolmfail("nopqchar"); });
  EXPECT_EQ(c.status, 128 + SIGABRT);
  EXPECT_EQ(c.out, "TOLMFAIL: nopqchar\n");
  EXPECT_TRUE(c.err.starts_with("ASSERTION FAILED:b:")) << c.err;
}

// The log makes its file and appends to it as it stands. A program may close the log's descriptor
// and open a file of its own under the number: the log goes on in its own file, and the program's
// file gets none of it. (One test: tests run side by side, and a second one that took the log's
// file away would leave this one looking at a new file.)
TEST(Base, LogMakesItsFileAppendsAndKeepsToIt) {
  std::string theirs = scratchdir() + "theirs";
  Child c = runchild([&theirs] {
    logcapture = nullptr;
    unlink("/tmp/tolm.log");
    tolmlog("");
    if (!fileisplain("/tmp/tolm.log")) _exit(1);
    tolmlog("tolm-log-test-marker-");
    tolmlog("42\n");
    int fd = 3;
    for (char link[64]; fd < 1024; fd++) {
      ssize_t n = readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), link, sizeof link);
      if (n > 0 && std::string(link, (size_t)n) == "/tmp/tolm.log") break;
    }
    int mine = open(theirs.c_str(), O_WRONLY | O_CREAT, 0666);
    if (fd == 1024 || mine < 0 || dup2(mine, fd) != fd) _exit(2);
    tolmlog("tolm-log-test-taken-7\n");
  });
  ASSERT_EQ(c.status, 0);
  std::string log = fileread("/tmp/tolm.log");
  EXPECT_NE(log.find("tolm-log-test-marker-42\n"), std::string::npos);
  EXPECT_NE(log.find("tolm-log-test-taken-7\n"), std::string::npos);
  EXPECT_EQ(fileread(theirs), "");
}

