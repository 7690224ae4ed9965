// The editor as a whole, started as users start it: in a terminal, on files, and on bad names.
#include <gtest/gtest.h>
#include <unistd.h>

#include "core/file.h"
#include "tests/support.h"
#include "tests/tmux.h"

static const std::string tolm = TOLM_BIN;

TEST(Start, BadNamesStopBeforeTheScreenIsTouched) {
  std::string dir = scratchdir();
  writefile(dir + "good", "x");
  Child missing = runcommand(tolm + " " + dir + "good " + dir + "missing");
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.out, "Cannot open file: " + dir + "missing\n");
  Child up = runcommand(tolm + " /..");
  EXPECT_EQ(up.status, 1);
  EXPECT_EQ(up.out, "Cannot normalize file: /..\n");
  Child folder = runcommand(tolm + " " + dir.substr(0, dir.size() - 1));
  EXPECT_EQ(folder.status, 1);
  EXPECT_EQ(folder.out, "Cannot open file: " + dir.substr(0, dir.size() - 1) + "\n");
  Child slash = runcommand(tolm + " " + dir);
  EXPECT_EQ(slash.status, 1);
  EXPECT_EQ(slash.out, "Cannot normalize file: " + dir + "\n");
}

TEST(Start, AnUnreadableFileIsRefusedLikeAMissingOne) {
  std::string dir = scratchdir();
  writefile(dir + "secret", "x");
  chmod(dir.c_str(), 0755);
  chmod((dir + "secret").c_str(), 0);
  // Permissions do not bind the superuser, so the editor runs as nobody when the tests are root.
  std::string as = geteuid() == 0 ? "setpriv --reuid=nobody --regid=nogroup --clear-groups " : "";
  Child c = runcommand(as + tolm + " " + dir + "secret");
  EXPECT_EQ(c.status, 1) << c.err;
  EXPECT_EQ(c.out, "Cannot open file: " + dir + "secret\n");
}

TEST(Start, ShowsTheFileAndLeavesTheTerminalAsItFoundIt) {
  std::string dir = scratchdir();
  writefile(dir + "one.txt", "hello world\nsecond line\n");
  Tmux t(60, 10, "bash --norc --noprofile");
  t.type("cd " + dir + " && PS1='$ ' && " + tolm + " one.txt one.txt");
  t.key("Enter");
  ASSERT_TRUE(t.waitfor("File " + dir + "one.txt")) << t.screen();
  std::string s = t.screen();
  EXPECT_NE(s.find("hello_world,"), std::string::npos) << s;
  EXPECT_NE(s.find("second_line,"), std::string::npos) << s;
  t.key("C-c");
  t.type("stty -a > stty.out; echo status=$?");
  t.key("Enter");
  ASSERT_TRUE(t.waitfor("status=0")) << t.screen();
  std::string stty = fileread(dir + "stty.out");
  EXPECT_NE(stty.find(" icanon"), std::string::npos) << stty;
  EXPECT_EQ(stty.find("-icanon"), std::string::npos) << stty;
  EXPECT_NE(stty.find(" echo "), std::string::npos) << stty;
  EXPECT_NE(stty.find(" ixon"), std::string::npos) << stty;
}

TEST(Start, TheScratchDocumentAndAWindowTooSmall) {
  std::string dir = scratchdir();
  Tmux t(40, 6, "bash --norc --noprofile");
  t.record(dir + "pane");
  t.type("PS1='$ ' && " + tolm + "; echo status=$?");
  t.key("Enter");
  ASSERT_TRUE(t.waitfor("Tolm Press_escape_and_then")) << t.screen();
  t.resize(6, 6);
  ASSERT_TRUE(t.waitfor("status")) << t.screen();
  t.resize(40, 6);  // the wrapped lines flow back into rows of 40
  EXPECT_TRUE(t.waitfor("status=1")) << t.screen();
  EXPECT_NE(fileread(dir + "pane").find("\x1b[1;1HTolm cannot recover from windows less than 7,2"),
            std::string::npos);
}

TEST(Start, AHomeNameMeansTheHomeVariable) {
  std::string dir = scratchdir();
  writefile(dir + "notes", "at home");
  Tmux t(60, 6, "bash --norc --noprofile");
  t.type("HOME=" + dir + " " + tolm + " '~/notes'");
  t.key("Enter");
  EXPECT_TRUE(t.waitfor("File " + dir + "notes")) << t.screen();
  EXPECT_TRUE(t.waitfor("at_home")) << t.screen();
  t.key("C-c");
}
