// The run-time base: the assertion line, the fatal stop, the log and the tables.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "core/base.h"
#include "core/file.h"
#include "core/tables.h"
#include "tests/support.h"

TEST(Base, GroupOfPathNamesTheSourceGroup) {
  EXPECT_EQ(groupof("/x/core/cell.cpp"), 'b');
  EXPECT_EQ(groupof("/x/lang/parse.cpp"), 'b');
  EXPECT_EQ(groupof("/x/lib/arith.cpp"), 'l');
  EXPECT_EQ(groupof("/work/lib/x/tests/edit/doc_test.cpp"), 'v');
}

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

TEST(Tables, ResetEmptiesDefinitionsFreshNamesAndBuiltinsButNotInterned) {
  deftable().emplace("K", CellRef("K"));
  freshnames().insert("f");
  builtintable()["plus"] = builtinrow{2, nullptr};
  CellRef kept = cellkeep(CellRef("tablesreset-survivor"));
  size_t members = keepset().members.size();
  tablesreset();
  EXPECT_TRUE(deftable().empty());
  EXPECT_TRUE(freshnames().empty());
  EXPECT_TRUE(builtintable().empty());
  EXPECT_EQ(keepset().members.size(), members);
  EXPECT_EQ(cellkeep(CellRef("tablesreset-survivor")).get(), kept.get());
}
