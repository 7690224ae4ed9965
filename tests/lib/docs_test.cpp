// The named examples of the guide's chapter on the C library, memory and sockets, run over scratch
// files and a free port, time-limited; the plain ones are checked with all the guide's examples.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "core/file.h"
#include "tests/lib/libtest.h"

namespace {
// The fenced "tolm" blocks by the name after the tag, each with the result written under it.
std::map<std::string, std::pair<std::string, std::string>> examples() {
  std::string doc = fileread(std::string(TOLM_SOURCE) + "/docs/language.md"), fence = "```tolm", mark = "\n\nResult: `";
  std::map<std::string, std::pair<std::string, std::string>> out;
  for (size_t at = 0, n = 0; (at = doc.find(fence, at)) != std::string::npos; n++) {
    size_t eol = doc.find('\n', at), end = doc.find("\n```", eol);
    std::string name = doc.substr(at + fence.size(), eol - at - fence.size()), result;
    at = end + 4;
    if (doc.compare(at, mark.size(), mark) == 0) result = doc.substr(at + mark.size(), doc.find('`', at + mark.size()) - at - mark.size());
    out[name.empty() ? std::to_string(n) : name.substr(1)] = {doc.substr(eol + 1, end - eol - 1), result};
  }
  return out;
}

// The text with one text in it replaced.
std::string swap(std::string text, const std::string &what, const std::string &by) {
  size_t at = text.find(what);
  return at == std::string::npos ? "" : text.replace(at, what.size(), by);
}

std::string example(const std::string &name) { return examples().at(name).first; }
}  // namespace

TEST(ChapterExamples, FileCopy) {
  std::string dir = scratchdir(), bytes;
  for (int i = 0; i < 10000; i++) bytes += (char)(i * 7 % 256);
  writefile(dir + "in", bytes);
  EXPECT_EQ(ran(swap(swap(example("file-copy"), "/tmp/in.txt", dir + "in"), "/tmp/out.txt", dir + "out")), "10000");
  ASSERT_TRUE(fileisplain(dir + "out"));
  EXPECT_EQ(fileread(dir + "out"), bytes);
}

TEST(ChapterExamples, DirectoryListing) {
  std::string dir = scratchdir();
  writefile(dir + "only", "");
  std::string out = ran(swap(example("list-directory"), "/tmp/dir", dir)), name;
  std::vector<std::string> names;
  for (char c : out.substr(1, out.size() - 2)) c == '/' ? names.push_back(name), name.clear() : name.push_back(c);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".", "..", "only"})) << out;
}

TEST(ChapterExamples, LoopbackEcho) {
  Child c = ranlimited(swap(example("echo"), "7077", std::to_string(freeport())), 20);
  EXPECT_EQ(c.status, 0) << c.err;
  EXPECT_EQ(c.out, "[ping]");
}
