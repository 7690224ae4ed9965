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
