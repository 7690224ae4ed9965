// The examples of the chapter on the C library, memory and sockets, run as written: each plain
// example against the result printed under it, the named ones over scratch files and a free port.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <vector>

#include "core/file.h"
#include "tests/lib/libtest.h"

namespace {
struct Example {
  std::string name, text, result;
};

// The fenced blocks of the chapter whose tag is "tolm", each with the result line after it.
std::vector<Example> examples() {
  std::string doc = fileread(std::string(TOLM_SOURCE) + "/docs/clib.md");
  std::vector<Example> out;
  const std::string fence = "```tolm";
  for (size_t at = 0; (at = doc.find(fence, at)) != std::string::npos;) {
    size_t eol = doc.find('\n', at);
    size_t end = doc.find("\n```", eol);
    Example e{doc.substr(at + fence.size(), eol - at - fence.size()), doc.substr(eol + 1, end - eol - 1), ""};
    if (!e.name.empty()) e.name = e.name.substr(1);
    at = end + 4;
    const std::string mark = "\n\nResult: `";
    if (doc.compare(at, mark.size(), mark) == 0) {
      size_t start = at + mark.size();
      e.result = doc.substr(start, doc.find('`', start) - start);
    }
    out.push_back(e);
  }
  return out;
}

// The text with its one occurrence of what replaced.
std::string swapped(std::string text, const std::string &what, const std::string &by) {
  size_t at = text.find(what);
  EXPECT_NE(at, std::string::npos) << what;
  return at == std::string::npos ? text : text.replace(at, what.size(), by);
}

std::map<std::string, std::string> named() {
  std::map<std::string, std::string> m;
  for (const Example &e : examples())
    if (!e.name.empty()) m[e.name] = e.text;
  return m;
}
}  // namespace

TEST(ChapterExamples, PlainOnesGiveTheirResults) {
  int plain = 0;
  for (const Example &e : examples()) {
    if (!e.name.empty()) continue;
    plain++;
    ASSERT_FALSE(e.result.empty()) << e.text;
    EXPECT_EQ(ran(e.text), e.result) << e.text;
  }
  EXPECT_GE(plain, 4);
}

TEST(ChapterExamples, FileCopy) {
  std::string dir = scratchdir(), bytes;
  for (int i = 0; i < 10000; i++) bytes += (char)(i * 7 % 256);
  writefile(dir + "in.txt", bytes);
  std::string text = swapped(swapped(named().at("file-copy"), "/tmp/in.txt", dir + "in.txt"), "/tmp/out.txt", dir + "out.txt");
  EXPECT_EQ(ran(text), "10000");
  ASSERT_TRUE(fileisplain(dir + "out.txt"));
  EXPECT_EQ(fileread(dir + "out.txt"), bytes);
}

TEST(ChapterExamples, DirectoryListing) {
  std::string dir = scratchdir();
  writefile(dir + "only", "");
  std::string out = ran(swapped(named().at("list-directory"), "/tmp/dir", dir));
  ASSERT_GE(out.size(), 2u);
  std::vector<std::string> names;
  for (size_t start = 1, slash; (slash = out.find('/', start)) != std::string::npos; start = slash + 1)
    names.push_back(out.substr(start, slash - start));
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".", "..", "only"})) << out;
}

TEST(ChapterExamples, LoopbackEcho) {
  Child c = ranlimited(swapped(named().at("echo"), "7077", std::to_string(freeport())), 20);
  EXPECT_EQ(c.status, 0) << c.err;
  EXPECT_EQ(c.out, "[ping]");
}
