// The pickers in a terminal: a file opened through M-o, edited, saved under another name through
// M-w, and both files compared byte for byte.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "core/file.h"
#include "tests/support.h"
#include "tests/tmux.h"

TEST(PickersEndToEnd, OpenEditAndSaveUnderAnotherName) {
  std::string dir = scratchdir(), original = std::string("hello\n\x01\xff world\n");
  writefile(dir + "in.txt", original);
  Tmux t(40, 8, "cd " + shellquote(dir) + " && " + TOLM_BIN);
  ASSERT_TRUE(t.waitfor("Tolm Press")) << t.screen();
  t.key("Escape");
  t.type("o");
  t.key("C-w");  // the working directory
  ASSERT_TRUE(t.waitfor("in.txt")) << t.screen();
  t.type("in.txt");
  t.key("Enter");
  ASSERT_TRUE(t.waitfor("File " + dir + "in.txt")) << t.screen();
  t.type("X");
  ASSERT_TRUE(t.waitfor("Xhello,")) << t.screen();
  t.key("Escape");
  t.type("w");
  ASSERT_TRUE(t.waitfor("Save " + dir)) << t.screen();
  t.type("out.txt");
  t.key("Enter");
  ASSERT_TRUE(t.waitfor("File " + dir + "out.txt")) << t.screen();
  std::string saved;
  for (int i = 0; i < 100 && saved.empty(); i++) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    saved = fileread(dir + "out.txt");
  }
  EXPECT_EQ(saved, "X" + original);
  EXPECT_EQ(fileread(dir + "in.txt"), original);
}
