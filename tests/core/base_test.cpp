// The run-time base: the assertion line, the fatal stop and the log.
#include <gtest/gtest.h>
#include <sys/stat.h>

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

TEST(Base, LogCreatesItsFileAndAppendsToItAsItStands) {
  Child c = runchild([] {
    logcapture = nullptr;
    unlink("/tmp/tolm.log");
    tolmlog("");
    if (!fileisplain("/tmp/tolm.log")) _exit(1);
    tolmlog("tolm-log-test-marker-");
    tolmlog("42\n");
  });
  ASSERT_EQ(c.status, 0);
  EXPECT_NE(fileread("/tmp/tolm.log").find("tolm-log-test-marker-42\n"), std::string::npos);
}

