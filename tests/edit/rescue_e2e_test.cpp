// The editor in a terminal when things go wrong: an endless program broken off with Control-C, a
// run past its memory limit, and every way out with a document unsaved, which leaves a copy of it.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "core/file.h"
#include "tests/support.h"
#include "tests/tmux.h"

namespace {
// The editor on args in dir, under a shell that takes no interrupt itself and writes the editor's
// exit status to the file status; its standard error and rescue folder are under dir too.
struct Session {
  std::string dir;
  Tmux t;
  Session(const std::string &d, const std::string &args, const std::string &env = "")
      : dir(d), t(60, 10, "bash --norc --noprofile") {
    t.type("cd " + dir + " && bash -c 'trap \"\" INT; echo $$ > shell; " + env + " XDG_STATE_HOME=" + dir + "state " +
           TOLM_BIN + " " + args + " 2>err; echo $? > status'");
    t.key("Enter");
  }
  // The status once the editor has ended, or "" after ten seconds.
  std::string status() {
    return runcommand("cd " + dir + " && for i in $(seq 200); do [ -s status ] && break; sleep 0.05; done; tr -d '\\n' < status").out;
  }
  // Types text and waits until the screen shows it taken: a signal sent before that could come
  // first, since the terminal raises it as soon as the key is pressed.
  void type(const std::string &text) {
    std::string before = t.screen();
    t.type(text);
    for (int i = 0; i < 100 && !text.empty() && t.screen() == before; i++)
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  // Escape, then the letter: an M- key.
  void escape(const char *letter) {
    t.key("Escape");
    t.type(letter);
  }
  std::string folder() { return dir + "state/tolm/rescue/"; }
  std::string kept() { return "tolm: 1 unsaved documents kept in " + folder() + "\n"; }
  void signal(const std::string &name) {
    runcommand("cd " + dir + " && kill -" + name + " $(cat /proc/$(cat shell)/task/$(cat shell)/children)");
  }
  // The rescue folder's copies, one after the other.
  std::string copy() { return runcommand("cat " + folder() + "*").out; }
};
}  // namespace

// The run stops and nothing else changes; a program nested by load stops as well; the next run
// works; outside a run the key ends the editor, which keeps the document typed into.
TEST(Interrupt, BreaksOffARunAndTheEditorGoesOn) {
  std::string dir = scratchdir();
  writefile(dir + "prog", "lp 1,lp\\n\\lp n");
  Session s(dir, "prog");
  ASSERT_TRUE(s.t.waitfor("File " + dir + "prog")) << s.t.screen();
  auto breakoff = [&] {
    s.escape("e");
    if (!s.t.waitfor("Eval Running...")) return false;
    s.t.key("C-c");
    return s.t.waitfor("Eval Interrupted");
  };
  ASSERT_TRUE(breakoff()) << s.t.screen();
  EXPECT_NE(s.t.screen().find("lp_1,lp\\n\\lp_n"), std::string::npos) << s.t.screen();
  s.escape("n");
  s.t.type("load [lp 1,lp\\n\\lp n]");
  ASSERT_TRUE(breakoff()) << s.t.screen();
  s.t.key("Home");
  s.t.type("K 7 8,");
  s.escape("e");
  ASSERT_TRUE(s.t.waitfor("Eval 7")) << s.t.screen();
  s.t.key("C-c");
  EXPECT_EQ(s.status(), "130");
  EXPECT_EQ(fileread(dir + "err"), s.kept());
  EXPECT_EQ(s.copy(), "K 7 8,load [lp 1,lp\\n\\lp n]");
  EXPECT_EQ(fileread(dir + "prog"), "lp 1,lp\\n\\lp n");
}

TEST(Interrupt, ARunPastTheMemoryLimitStopsAndTheEditorGoesOn) {
  std::string dir = scratchdir();
  writefile(dir + "grow", "upto 0,upto\\n\\K(J n (upto(n+1)))");
  Session s(dir, "grow", "TOLM_MEMORY=16M");
  ASSERT_TRUE(s.t.waitfor("File " + dir + "grow")) << s.t.screen();
  s.escape("e");
  ASSERT_TRUE(s.t.waitfor("Eval Out_of_memory", 20000)) << s.t.screen();
  s.escape("n");
  s.t.type("K 7 8");
  s.escape("e");
  ASSERT_TRUE(s.t.waitfor("Eval 7")) << s.t.screen();
}

// A program that opened files until no descriptor was left (64 here) still lets the editor save,
// and still lets it keep its copy on the way out.
TEST(WaysOut, ASaveAndACopyAfterAProgramTookEveryDescriptor) {
  std::string dir = scratchdir(), text = "go 100,go\\n\\(n=0)0(f{fopen (init [/dev/null]) (init [r])}go(n-1))";
  writefile(dir + "doc", text);
  Session s(dir, "doc", "ulimit -n 64;");
  ASSERT_TRUE(s.t.waitfor("File " + dir + "doc")) << s.t.screen();
  s.escape("e");
  ASSERT_TRUE(s.t.waitfor("Eval 0")) << s.t.screen();
  s.type("x");
  s.t.key("C-w");
  EXPECT_EQ(settled(dir + "doc", "x" + text), "x" + text);
  s.type("y");
  s.t.key("C-c");
  ASSERT_EQ(s.status(), "130") << s.t.screen();
  EXPECT_EQ(fileread(dir + "err"), s.kept());
  EXPECT_EQ(s.copy(), "xy" + text);
}

// A program that closed the editor's own descriptors, and then one that took every descriptor:
// the editor opened the terminal again under new numbers, so the one it keeps in reserve must be
// a new one too, or the save would give up the keys in its place.
TEST(WaysOut, ASaveAfterAProgramClosedTheEditorsDescriptors) {
  std::string dir = scratchdir(), taker = "go 100,go\\n\\(n=0)0(f{fopen (init [/dev/null]) (init [r])}go(n-1))";
  writefile(dir + "closer", "cl 3,cl\\n\\(n>60) 0 (a{closesocket n}cl (n+1))");
  writefile(dir + "taker", taker);
  Session s(dir, "closer", "ulimit -n 64;");
  ASSERT_TRUE(s.t.waitfor("File " + dir + "closer")) << s.t.screen();
  s.escape("e");
  ASSERT_TRUE(s.t.waitfor("Eval 0")) << s.t.screen();
  s.escape("o");
  s.type("taker");
  s.t.key("Enter");
  ASSERT_TRUE(s.t.waitfor("File " + dir + "taker")) << s.t.screen();
  s.escape("e");
  ASSERT_TRUE(s.t.waitfor("Eval 0")) << s.t.screen();
  s.type("x");
  s.t.key("C-w");
  EXPECT_EQ(settled(dir + "taker", "x" + taker), "x" + taker);
  s.type("y");
  EXPECT_TRUE(s.t.waitfor("xygo_100")) << s.t.screen();
}

// Each way out with a document changed: the stop's own output first, then the copy, byte for byte,
// and one line that says where it went. An editor with nothing unsaved leaves nothing.
TEST(WaysOut, EachKeepsTheUnsavedDocument) {
  std::string all;
  for (int i = 0; i < 256; i++) all += (char)i;
  struct Way {
    const char *name;
    std::string text, typed, status, before;
  };
  const Way ways[] = {
      {"C-c", all, "x", "130", ""},
      {"TERM", all, "x", "143", ""},
      {"HUP", all, "x", "129", ""},
      {"VTALRM", all, "x", "154", ""},  // as every other signal that ends a process, real-time too
      {"40", all, "x", "168", ""},
      {"window", all, "x", "1", ""},
      {"assert", "assert H", " ", "134", "ASSERTION FAILED:l:242\n"},
      {"clean", all, "", "130", ""},
  };
  for (const Way &w : ways) {
    std::string dir = scratchdir(), way = w.name;
    writefile(dir + "doc", w.text);
    Session s(dir, "doc");
    ASSERT_TRUE(s.t.waitfor("File " + dir + "doc")) << way << s.t.screen();
    s.type(w.typed);
    if (way == "C-c" || way == "clean") s.t.key("C-c");
    if (way == "TERM" || way == "HUP" || way == "VTALRM" || way == "40") s.signal(w.name);
    if (way == "window") s.t.resize(6, 6);
    if (way == "assert") s.escape("e");
    if (way == "window") s.t.resize(60, 10);
    ASSERT_EQ(s.status(), w.status) << way << s.t.screen();
    if (way == "clean") {
      EXPECT_EQ(fileread(dir + "err"), "");
      EXPECT_FALSE(fileisdir(dir + "state")) << way;
    } else {
      EXPECT_EQ(fileread(dir + "err"), w.before + s.kept()) << way;
      EXPECT_EQ(s.copy(), w.typed + w.text) << way;
    }
    EXPECT_EQ(fileread(dir + "doc"), w.text) << way;
  }
}
