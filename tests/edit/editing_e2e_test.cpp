// The editor edits: a file opened in a terminal, typed into, moved in, overtyped, undone and saved.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "core/file.h"
#include "tests/support.h"
#include "tests/tmux.h"

TEST(Editing, TypeMoveOvertypeUndoAndSave) {
  std::string dir = scratchdir(), path = dir + "doc.txt";
  writefile(path, "hello\nworld\n");
  Tmux t(40, 8, std::string(TOLM_BIN) + " " + path);
  ASSERT_TRUE(t.waitfor("hello,")) << t.screen();
  t.type("X");
  ASSERT_TRUE(t.waitfor("Xhello,")) << t.screen();
  t.key("C-n");
  t.key("C-e");
  t.type("!");
  ASSERT_TRUE(t.waitfor("world!,")) << t.screen();
  t.key("C-x");
  t.key("C-a");
  t.type("W");
  ASSERT_TRUE(t.waitfor("World!,")) << t.screen();
  t.key("C-_");
  ASSERT_TRUE(t.waitfor("world!,")) << t.screen();
  t.key("C-w");
  std::string saved;
  for (int i = 0; i < 100 && saved != "Xhello\nworld!\n"; i++) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    saved = fileread(path);
  }
  EXPECT_EQ(saved, "Xhello\nworld!\n");
  t.key("C-x");  // records of typed bytes are undone in the mode they were typed in
  t.key("C-_");  // the log outlives the save: the document differs from the file again
  ASSERT_TRUE(t.waitfor("world,")) << t.screen();
  EXPECT_EQ(fileread(path), "Xhello\nworld!\n");
}
