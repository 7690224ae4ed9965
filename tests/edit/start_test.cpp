// The editor as a whole, started as users start it: in a terminal, on files, and on bad names.
// An install puts both programs and their manual pages where man finds them, well-formed.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/file.h"
#include "core/version.h"
#include "tests/support.h"
#include "tests/tmux.h"

static const std::string tolm = TOLM_BIN;

// An unreadable file is refused like a missing one. Permissions do not bind the superuser, so
// the editor runs as nobody when the tests are root.
TEST(Start, BadNamesStopBeforeTheScreenIsTouched) {
  std::string dir = scratchdir(), folder = dir.substr(0, dir.size() - 1);
  writefile(dir + "good", "x");
  writefile(dir + "secret", "x");
  chmod(dir.c_str(), 0755);
  chmod((dir + "secret").c_str(), 0);
  std::string as = geteuid() == 0 ? "setpriv --reuid=nobody --regid=nogroup --clear-groups " : "";
  const std::pair<std::string, std::string> runs[] = {
      {dir + "good " + dir + "missing", "Cannot open file: " + dir + "missing\n"},
      {"/..", "Cannot normalize file: /..\n"},
      {folder, "Cannot open file: " + folder + "\n"},
      {dir, "Cannot normalize file: " + dir + "\n"},
      {dir + "secret", "Cannot open file: " + dir + "secret\n"},
  };
  for (const auto &[args, out] : runs) {
    Child c = runcommand(as + tolm + " " + args);
    EXPECT_EQ(c.status, 1) << args << c.err;
    EXPECT_EQ(c.out, out);
  }
  // A file larger than a quarter of the memory limit is refused by both programs before they read it.
  writefile(dir + "large", std::string(2048, '1'));
  Child large = runcommand("TOLM_MEMORY=4K " + tolm + " " + dir + "large");
  EXPECT_EQ(large.status, 1);
  EXPECT_EQ(large.out, "Cannot open file: " + dir + "large\n");
  Child batch = runcommand("TOLM_MEMORY=4K " + std::string(TOLMRUN_BIN) + " " + dir + "large");
  EXPECT_EQ(batch.status, 2);
  EXPECT_EQ(batch.err, "tolmrun: cannot read " + dir + "large\n");
  Child piped = runcommand("TOLM_MEMORY=4K " + std::string(TOLMRUN_BIN) + " - < " + dir + "large");
  EXPECT_EQ(piped.status, 2);
  EXPECT_EQ(piped.err, "tolmrun: standard input: File too large\n");
}

// Started in a directory that was removed, the editor reaches relative names through the one way
// left, /proc/self/cwd/, where none can be opened; in one deeper than the longest path the system
// names at once, it still has the whole name.
TEST(Start, FromARemovedDirectoryOrOneDeeperThanTheLongestPath) {
  std::string dir = scratchdir(), deep = dir, step(200, 'd');
  Child gone = runcommand("mkdir " + dir + "gone && cd " + dir + "gone && rmdir ../gone && " + tolm + " rel");
  EXPECT_EQ(gone.status, 1) << gone.err;
  EXPECT_EQ(gone.out, "Cannot open file: /proc/self/cwd/rel\n");
  for (int i = 0; i < 24; i++) deep += step + "/";
  Child far = runchild([&] {  // a step at a time: the shell's cd takes the whole name at once
    if (chdir(dir.c_str()) != 0) _exit(3);
    for (int i = 0; i < 24; i++)
      if (mkdir(step.c_str(), 0755) != 0 || chdir(step.c_str()) != 0) _exit(3);
    execl(tolm.c_str(), "tolm", "rel", (char *)nullptr);
    _exit(3);
  });
  EXPECT_EQ(far.status, 1) << far.err;
  EXPECT_EQ(far.out, "Cannot open file: " + deep + "rel\n");
}

// Both programs read their options before anything else: an unknown one stops them with nothing
// on standard output (no screen) and no abort from a terminal they never set up.
TEST(Start, OptionsOfBothProgramsAndTheEndOfThem) {
  std::string dir = scratchdir();
  writefile(dir + "-v", "K 7 8");
  for (std::string name : {"tolm", "tolmrun"}) {
    std::string bin = name == "tolm" ? tolm : TOLMRUN_BIN;
    Child help = runcommand(bin + " x --help");
    EXPECT_EQ(help.status, 0) << name;
    EXPECT_TRUE(help.out.starts_with("Usage: " + name + " [OPTION]...")) << help.out;
    EXPECT_NE(help.out.find("--version"), std::string::npos) << help.out;
    EXPECT_EQ(runcommand(bin + " -V").out, name + " " + tolmversion + "\n");
    Child bad = runcommand(bin + " --x --help");
    EXPECT_EQ(bad.status, 2) << name;
    EXPECT_EQ(bad.out, "");
    EXPECT_EQ(bad.err, name + ": unknown option '--x' (try '" + name + " --help')\n");
  }
  Child file = runcommand(tolm + " -- --help");  // a file name, which does not exist here
  EXPECT_EQ(file.status, 1);
  EXPECT_TRUE(file.out.starts_with("Cannot open file: /")) << file.out;
  EXPECT_EQ(runcommand("cd " + dir + " && " + TOLMRUN_BIN + " -- -v").out, "7\n");
}

// A name under "~" is read below HOME; on leaving, the terminal's modes are as they were.
TEST(Start, ShowsTheFileUnderHomeAndLeavesTheTerminalAsItFoundIt) {
  std::string dir = scratchdir();
  writefile(dir + "notes", "at home\nsecond line\n");
  Tmux t(60, 10, "bash --norc --noprofile");
  t.type("cd " + dir + " && PS1='$ ' && HOME=" + dir + " " + tolm + " '~/notes' notes");
  t.key("Enter");
  ASSERT_TRUE(t.waitfor("File " + dir + "notes")) << t.screen();
  std::string s = t.screen();
  EXPECT_NE(s.find("at_home,"), std::string::npos) << s;
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

TEST(Install, BothProgramsAndTheirManualPages) {
  std::string build = TOLM_BIN, prefix = scratchdir();
  build = build.substr(0, build.rfind('/'));
  Child install = runcommand("cmake --install '" + build + "' --prefix '" + prefix + "'");
  ASSERT_EQ(install.status, 0) << install.out << install.err;
  EXPECT_TRUE(fileisplain(prefix + "bin/tolm"));
  EXPECT_TRUE(fileisplain(prefix + "bin/tolmrun"));
  if (runcommand("command -v man").status != 0) GTEST_SKIP() << "no man here";
  for (std::string page : {"tolm", "tolmrun"}) {
    Child found = runcommand("MANPATH='" + prefix + "share/man' man -w " + page);
    EXPECT_EQ(found.out, prefix + "share/man/man1/" + page + ".1\n") << found.err;
    Child shown = runcommand("MANWIDTH=80 man --warnings -l '" + prefix + "share/man/man1/" + page + ".1'");
    EXPECT_EQ(shown.err, "") << page;
    EXPECT_NE(shown.out.find("SYNOPSIS"), std::string::npos) << page;
  }
}
