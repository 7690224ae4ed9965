// File helpers and path functions.
#include <gtest/gtest.h>

#include "core/file.h"
#include "tests/support.h"

TEST(Files, DirOfKeepsEverythingUpToTheLastSlash) {
  for (auto [path, dir] : {std::pair{"name", ""}, {"a/b/c", "a/b/"}, {"/", "/"}}) EXPECT_EQ(filedirof(path), dir);
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

// fileload gives a file whole or nothing: never a text that only looks like the file.
TEST(Files, LoadRefusesWhatItCannotHoldWhole) {
  std::string dir = scratchdir(), text = "stale", big(200000, 'b');
  big[0] = 13, big[1] = 10;
  filewrite(dir + "big", big);
  EXPECT_TRUE(fileload(dir + "big", text, big.size()));  // several reads, up to the bound exactly
  EXPECT_EQ(text, big);
  EXPECT_FALSE(fileload(dir + "big", text, big.size() - 1));
  EXPECT_EQ(text, "");
  text = "stale";
  EXPECT_FALSE(fileload(dir + "missing", text, 100));
  EXPECT_EQ(text, "");
  text = "stale";
  EXPECT_FALSE(fileload(dir, text, 100));  // a directory opens, but its reads fail
  EXPECT_EQ(text, "");
  // A kernel file says it holds 0 bytes and then gives more: the bound holds while it is read.
  EXPECT_FALSE(fileload("/proc/self/maps", text, 10));
  EXPECT_TRUE(fileload("/proc/self/maps", text, 1 << 20));
  EXPECT_NE(text.find("["), std::string::npos);
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

// Each function against a few paths and what it makes of them.
TEST_F(Paths, NamesDirectoriesAndPrettyForms) {
  using Rows = std::initializer_list<std::pair<const char *, const char *>>;
  for (auto [in, out] : Rows{{"../x", "/a/x"}, {"x", "/a/b/x"}, {"~/notes", "/home/u/notes"}, {"/p/./q/../r", "/p/r"},
                             {"/..", ""}, {"~", "/a/b/~"}})
    EXPECT_EQ(normalpath(in), out) << in;
  for (auto [in, out] : Rows{{"/", "/"}, {"c/", "/a/b/c/"}, {"..", "/a/"}, {"/..", ""}, {"~/", "/home/u/"}})
    EXPECT_EQ(normaldir(in), out) << in;
  for (auto [in, out] : Rows{{"x/", "/a/b/x/"}, {"x", "/a/b/x"}, {"", "/a/b/"}}) EXPECT_EQ(normalany(in), out) << in;
  for (auto [in, out] : Rows{{"/p/q/r.txt", "/p/q/"}, {"r.txt", "/a/b/"}, {"/p/q/", "/p/q/"}})
    EXPECT_EQ(dirof(in), out) << in;
  for (auto [in, out] : Rows{{"/p/q/", "/p/q"}, {"/", "/"}, {"/p/./", "/p/"}, {"/p/.", "/p"}, {"/p/..", ""}})
    EXPECT_EQ(pretty(in), out) << in;
  EXPECT_DEATH(normalpath(""), "ASSERTION FAILED:b:");
  EXPECT_DEATH(normalpath("x/"), "ASSERTION FAILED:b:");
}
