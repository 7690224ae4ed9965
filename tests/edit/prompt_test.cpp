// The title row's line outside the pickers: C-h and C-t, and the quips.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <set>

#include "tests/edit/edittest.h"
#include "tests/vterm.h"

using Prompt = EditorTest<20, 4>;

TEST_F(Prompt, ScrollingTheLine) {
  opendoc("/a/long/name/of/thirty/bytes", "text");  // 28 bytes: shown from byte 14 on
  EXPECT_EQ(promptline.top, 14);
  EXPECT_TRUE(rings("\x14"));  // the end shows already
  EXPECT_FALSE(rings("\x08"));
  EXPECT_EQ(promptline.top, 0);
  EXPECT_TRUE(rings("\x08"));
}

// The quips of a run, one for each entry into the mode, as a child process writes them.
static std::string quiprun() {
  return runchild([] {
           editorreset(80, 4);
           srand(0);
           for (int i = 0; i < 60; i++) {
             press("\x1bq");
             printf("%s\n", textof(promptline).c_str());
             press("\x06");
           }
         })
      .out;
}

TEST_F(Prompt, TheQuipsComeInTheSameOrderInEveryRun) {
  std::string first = quiprun();
  EXPECT_EQ(first, quiprun());
  std::set<std::string> lines;
  for (size_t at = 0, nl; (nl = first.find('\n', at)) != std::string::npos; at = nl + 1) {
    std::string line = first.substr(at, nl - at);
    EXPECT_TRUE(line.size() >= 7 && line.size() <= 74) << line;
    lines.insert(line);
  }
  EXPECT_EQ(lines.size(), 10u);
  EXPECT_TRUE(lines.count("I am the final quip."));
  Vterm term(20, 4);
  press("\x1bq");
  press("\x1b" "a");  // copied, and the mode stays
  EXPECT_EQ(killtext, textof(promptline));
  term.feed(testscreen);
  EXPECT_EQ(term.row(0).substr(0, 5), "Quip ");
}
