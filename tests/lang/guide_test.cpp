// The user's guides stay true: every example program in them runs through the batch runner and
// prints exactly the result shown under it.
#include <gtest/gtest.h>

#include <dirent.h>

#include "core/file.h"
#include "tests/support.h"

namespace {
struct Example {
  std::string program, result;
};

// The pairs of a "tolm" block followed at once by a "result" block.
std::vector<Example> examples(const std::string &text) {
  std::vector<Example> out;
  const std::string open = "```tolm\n", result = "```result\n", close = "```\n";
  for (size_t at = text.find(open); at != std::string::npos; at = text.find(open, at + 1)) {
    size_t start = at + open.size(), end = text.find(close, start);
    size_t rstart = end + close.size();
    if (end == std::string::npos || text.compare(rstart, result.size(), result) != 0) continue;
    size_t rend = text.find(close, rstart + result.size());
    out.push_back({text.substr(start, end - start - 1),
                   text.substr(rstart + result.size(), rend - rstart - result.size())});
  }
  return out;
}
}  // namespace

TEST(Guides, EveryExampleGivesItsShownResult) {
  std::string docs = std::string(TOLM_SOURCE) + "/docs/", dir = scratchdir();
  DIR *d = opendir(docs.c_str());
  ASSERT_NE(d, nullptr);
  int checked = 0;
  while (dirent *e = readdir(d)) {
    std::string name = e->d_name;
    if (!name.ends_with(".md")) continue;
    for (const Example &x : examples(fileread(docs + name))) {
      writefile(dir + "program", x.program);
      Child c = runcommand(std::string(TOLMRUN_BIN) + " " + dir + "program");
      EXPECT_EQ(c.out, x.result) << name << ":\n" << x.program;
      checked++;
    }
  }
  closedir(d);
  EXPECT_GT(checked, 20);
}
