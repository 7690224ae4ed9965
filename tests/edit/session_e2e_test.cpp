// A whole session in a terminal: two files opened, a region marked and killed in one and put into
// the other through the document picker, the program sorted and run, both saved and compared.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "core/file.h"
#include "tests/support.h"
#include "tests/tmux.h"

// The file's bytes once they are what is expected, or what they are after a few seconds.
static std::string settled(const std::string &path, const std::string &want) {
  std::string now;
  for (int i = 0; i < 100 && now != want; i++) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    now = fileread(path);
  }
  return now;
}

TEST(Session, MarkKillMoveSortRunAndSave) {
  std::string dir = scratchdir(), text = dir + "a.txt", prog = dir + "prog.txt";
  writefile(text, "main text\nMOVE ME\nend\n");
  writefile(prog, "K first 9,zed\\K,first\\I 7");
  Tmux t(60, 10, std::string(TOLM_BIN) + " " + text + " " + prog);
  ASSERT_TRUE(t.waitfor("File " + prog)) << t.screen();
  t.key("Tab");  // the picker: ".", then the two files
  ASSERT_TRUE(t.waitfor("Tabs")) << t.screen();
  t.key("C-n");
  t.key("C-n");
  t.key("Enter");
  ASSERT_TRUE(t.waitfor("File " + text)) << t.screen();
  t.key("C-n");
  t.key("Escape");
  t.type("j");
  t.key("C-n");  // the whole second line, its newline too
  ASSERT_TRUE(t.waitfor("Mark")) << t.screen();
  t.key("C-k");
  ASSERT_TRUE(t.waitfor("main_text,\nend,")) << t.screen();
  t.key("Tab");
  for (int i = 0; i < 3; i++) t.key("C-n");
  t.key("Enter");
  ASSERT_TRUE(t.waitfor("File " + prog)) << t.screen();
  t.key("C-e");
  t.type(",");
  t.key("C-Space");  // the killed line goes in as a piece that defines nothing
  ASSERT_TRUE(t.waitfor("MOVE_ME,")) << t.screen();
  t.key("Escape");
  t.type("v");
  ASSERT_TRUE(t.waitfor("K_first_9,first\\I_7,zed\\K,MOVE_ME,")) << t.screen();
  t.key("Escape");
  t.type("e");
  ASSERT_TRUE(t.waitfor("Eval 7")) << t.screen();
  t.key("C-w");
  EXPECT_EQ(settled(prog, "K first 9,first\\I 7,zed\\K,MOVE ME\n"), "K first 9,first\\I 7,zed\\K,MOVE ME\n");
  t.key("Tab");
  t.type("/");
  t.key("Tab");  // completes to the directory both files share
  ASSERT_TRUE(t.waitfor("Tabs " + dir)) << t.screen();
  t.type("a");
  t.key("Enter");
  t.key("Enter");
  ASSERT_TRUE(t.waitfor("File " + text)) << t.screen();
  t.key("C-w");
  EXPECT_EQ(settled(text, "main text\nend\n"), "main text\nend\n");
}
