// File helpers and path functions.
#include <gtest/gtest.h>

#include "core/file.h"
#include "tests/support.h"

TEST(Files, DirOfKeepsEverythingUpToTheLastSlash) {
  EXPECT_EQ(filedirof("name"), "");
  EXPECT_EQ(filedirof("a/b/c"), "a/b/");
  EXPECT_EQ(filedirof("/"), "/");
  EXPECT_EQ(dirpart("/x/y.txt"), "/x/");
}

TEST(Files, BytesRoundTripWholeAndAppend) {
  std::string dir = scratchdir();
  std::string all;
  for (int round = 0; round < 40; round++)
    for (int b = 0; b < 256; b++) all += (char)b;  // 10240 bytes: several read chunks
  filewrite(dir + "all", all);
  EXPECT_EQ(fileread(dir + "all"), all);
  filewrite(dir + "empty", "");
  EXPECT_EQ(fileread(dir + "empty"), "");
  EXPECT_TRUE(fileisplain(dir + "empty"));
  std::string chunk(4095, 'x');
  filewrite(dir + "chunk", chunk);
  EXPECT_EQ(fileread(dir + "chunk"), chunk);
  fileappend(dir + "log", "one\n");
  fileappend(dir + "log", "");
  fileappend(dir + "log", "two\n");
  EXPECT_EQ(fileread(dir + "log"), "one\ntwo\n");
}

class Paths : public ::testing::Test {
 protected:
  void SetUp() override {
    homedir = "/home/u/";
    workdir = "/a/b/";
  }
  void TearDown() override {
    homedir = "/";
    workdir = "/";
  }
};

TEST_F(Paths, NormalPathExpandsWalksSegmentsAndRefusesDirectoryNames) {
  EXPECT_EQ(normalpath("../x"), "/a/x");
  EXPECT_EQ(normalpath("x"), "/a/b/x");
  EXPECT_EQ(normalpath("~/notes"), "/home/u/notes");
  EXPECT_EQ(normalpath("/p/./q/../r"), "/p/r");
  EXPECT_EQ(normalpath("/.."), "");
  EXPECT_EQ(normalpath("~"), "/a/b/~");
  EXPECT_DEATH(normalpath(""), "ASSERTION FAILED:b:");
  EXPECT_DEATH(normalpath("x/"), "ASSERTION FAILED:b:");
}

TEST_F(Paths, DirectoriesEndInSlash) {
  EXPECT_EQ(normaldir("/"), "/");
  EXPECT_EQ(normaldir("c/"), "/a/b/c/");
  EXPECT_EQ(normaldir(".."), "/a/");
  EXPECT_EQ(normaldir("/.."), "");
  EXPECT_EQ(normaldir("~/"), "/home/u/");
  EXPECT_EQ(normalany("x/"), "/a/b/x/");
  EXPECT_EQ(normalany("x"), "/a/b/x");
  EXPECT_EQ(normalany(""), "/a/b/");
  EXPECT_EQ(dirof("/p/q/r.txt"), "/p/q/");
  EXPECT_EQ(dirof("r.txt"), "/a/b/");
  EXPECT_EQ(dirof("/p/q/"), "/p/q/");
}

TEST_F(Paths, PrettyDropsTheEndSlashAndDotSegments) {
  EXPECT_EQ(pretty("/p/q/"), "/p/q");
  EXPECT_EQ(pretty("/"), "/");
  EXPECT_EQ(pretty("/p/./"), "/p/");
  EXPECT_EQ(pretty("/p/."), "/p");
  EXPECT_EQ(pretty("/p/.."), "");
}
