// The editor in a terminal: a file typed into, moved in, overtyped, undone and saved; and a
// session in which a marked region is killed in one file and put into another through the
// document picker, and the program there is sorted, run and saved.
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <tuple>

#include "core/file.h"
#include "tests/support.h"
#include "tests/tmux.h"

// Waits for the editor in t to show the file at path, then runs it with Escape e; false when the
// file never showed.
static bool runfile(Tmux &t, const std::string &path) {
  if (!t.waitfor("File " + path)) return false;
  t.key("Escape");
  t.type("e");
  return true;
}

TEST(Editing, TypeMoveOvertypeUndoAndSave) {
  std::string dir = scratchdir(), path = dir + "doc.txt";
  writefile(path, "hello\nworld\n");
  Tmux t(40, 8, std::string(TOLM_BIN) + " " + path);
  ASSERT_TRUE(t.waitfor("hello,")) << t.screen();
  t.type("X");
  ASSERT_TRUE(t.waitfor("Xhello,")) << t.screen();
  t.key("C-n");
  t.key("End");
  t.type("!");
  ASSERT_TRUE(t.waitfor("world!,")) << t.screen();
  t.key("Insert");
  t.key("Home");
  t.type("W");
  ASSERT_TRUE(t.waitfor("World!,")) << t.screen();
  t.key("C-_");
  ASSERT_TRUE(t.waitfor("world!,")) << t.screen();
  t.key("C-w");
  EXPECT_EQ(settled(path, "Xhello\nworld!\n"), "Xhello\nworld!\n");
  t.key("C-x");  // records of typed bytes are undone in the mode they were typed in
  t.key("C-_");  // the log outlives the save: the document differs from the file again
  ASSERT_TRUE(t.waitfor("world,")) << t.screen();
  EXPECT_EQ(fileread(path), "Xhello\nworld!\n");
}

// A program can change the terminal's modes through a command it starts, or close standard input
// and output, or any descriptor; the keys after it still reach the editor one by one, unechoed,
// and it still paints.
TEST(Editing, KeysStillArriveAfterAProgramTookTheTerminal) {
  std::string dir = scratchdir(), path = dir + "prog.txt";
  for (auto [text, shown, result] : {
           std::tuple{"system (init [stty icanon echo])", "system_(init", "Eval 0"},
           {"a{fclose stdout}b{fclose (fdopen 0 (init [r]))}V a b", "a{fclose_stdout}", "Eval (V0_0)"},
           // every descriptor past the standard three, the editor's own copies among them
           {"cl 3,cl\\n\\(n>60) 0 (a{closesocket n}cl (n+1))", "cl_3,cl", "Eval 0"},
       }) {
    writefile(path, text);
    Tmux t(60, 8, std::string(TOLM_BIN) + " " + path);
    ASSERT_TRUE(runfile(t, path)) << t.screen();
    ASSERT_TRUE(t.waitfor(result)) << t.screen();
    t.type("X");
    EXPECT_TRUE(t.waitfor(std::string("X") + shown)) << t.screen();
  }
}

// A program that reads a key takes that key alone: the keys typed after it in the same burst
// still reach the editor, and are typed in at the point.
TEST(Editing, AProgramReadingAKeyLeavesTheKeysTypedAheadToTheEditor) {
  std::string dir = scratchdir(), path = dir + "prog.txt";
  writefile(path, "a{puts (init [ready])}b{getchar}V a b");
  Tmux t(60, 8, std::string(TOLM_BIN) + " " + path);
  ASSERT_TRUE(runfile(t, path)) << t.screen();
  ASSERT_TRUE(t.waitfor("ready")) << t.screen();  // the program now waits for its key
  t.type("xyz");  // x to the program; y leaves Eval, so the result is seen no more
  EXPECT_TRUE(t.waitfor("\nyza{puts_(init")) << t.screen();
}

// The window changes while a program holds every number past the standard three, that of the
// pipe which tells the editor of a resize among them: the program's file gets nothing of the
// editor's, and once the run is over the screen is drawn at the new size all the same.
TEST(Editing, AResizeWhileAProgramHoldsTheEditorsNumbers) {
  std::string dir = scratchdir(), path = dir + "prog.txt", out = dir + "out";
  std::string open = "fopen (init [" + out + "]) (init [a])";
  writefile(path, "a{cl 3}b{go 20}s{system (init [sleep 2])}f{" + open + "}w{fputc 111 f}x{fclose f}0," +
                      "cl\\n\\(n>60) 0 (a{closesocket n}cl (n+1)),go\\n\\(n=0) 0 (f{" + open + "}go (n-1))");
  Tmux t(80, 20, std::string(TOLM_BIN) + " " + path);
  ASSERT_TRUE(runfile(t, path)) << t.screen();
  ASSERT_TRUE(t.waitfor("Eval Running...")) << t.screen();
  std::this_thread::sleep_for(std::chrono::milliseconds(500));  // the files are open, the command sleeps
  t.resize(70, 15);
  ASSERT_TRUE(t.waitfor("Eval 0", 10000)) << t.screen();
  EXPECT_EQ(fileread(out), "o");
  EXPECT_TRUE(t.waitfor("Eval 0\na{cl_3}b{go_20}")) << t.screen();  // the title row where it belongs
}

// A program that asks the terminal to report the mouse, to send the cursor keys and the keypad in
// their other forms, to insert what is written and to hide the cursor, and does not ask back:
// after the run the terminal sends plain keys again, so that a click or a keypad digit does not
// come in as bytes typed into the text, and the editor's paint lands where it should.
TEST(Editing, AfterARunTheTerminalSendsPlainKeysAndTakesPaintAgain) {
  std::string dir = scratchdir(), path = dir + "prog.txt";
  writefile(path, "a{csi (init [?1000h])}b{csi (init [?1006h])}c{csi (init [?1h])}d{putchar 27}e{putchar 61}"
                  "f{csi (init [4h])}g{csi (init [?25l])}h{fflush stdout}0,csi\\s\\a{putchar 27}b{putchar 91}puts s");
  Tmux t(60, 8, std::string(TOLM_BIN) + " " + path);
  ASSERT_TRUE(runfile(t, path)) << t.screen();
  ASSERT_TRUE(t.waitfor("Eval 0")) << t.screen();
  std::string flags = "#{mouse_standard_flag}#{mouse_sgr_flag}#{keypad_flag}#{keypad_cursor_flag}#{insert_flag}#{cursor_flag}";
  EXPECT_EQ(runcommand("tmux -L " + t.sock + " display -p '" + flags + "'").out, "000001\n");
  t.type("X");
  EXPECT_TRUE(t.waitfor("File " + path + "\nXa{csi_(init_[?1000h])}")) << t.screen();
}

// A command that leaves the terminal non-blocking, as some runtimes do on their way out: the
// editor takes that off again, and pages of text that fill the terminal's buffer still go out.
TEST(Editing, ATerminalLeftNonBlockingStillTakesWholePages) {
  std::string dir = scratchdir(), path = dir + "prog.txt", pad;
  for (int i = 1; i < 1 << 20; i++) pad += (char)('a' + (i * 7 + i / 251) % 26);  // every cell changes
  writefile(path, "system (init [python3 -c 'import fcntl, os; fcntl.fcntl(0, fcntl.F_SETFL, os.O_NONBLOCK); "
                  "fcntl.fcntl(1, fcntl.F_SETFL, os.O_NONBLOCK)']),pad\\[" + pad + "]");
  Tmux t(250, 80, std::string(TOLM_BIN) + " " + path);
  ASSERT_TRUE(runfile(t, path)) << t.screen();
  ASSERT_TRUE(t.waitfor("Eval 0")) << t.screen();
  for (int i = 0; i < 30; i++) t.key("C-d");
  t.type("#");  // typed where the last page put the point
  EXPECT_TRUE(t.waitfor("#")) << t.screen();
}

// Continued after a stop, as job control does, the editor paints the screen whole: the lines the
// shell wrote over it while it was stopped go away. (tmux continues a stopped pane at once, so the
// shell's lines are written first and the continue is sent alone.)
TEST(Editing, AContinueAfterAStopPaintsTheScreenWhole) {
  std::string dir = scratchdir(), path = dir + "doc.txt";
  writefile(path, "hello\n");
  Tmux t(40, 8, std::string(TOLM_BIN) + " " + path);
  ASSERT_TRUE(t.waitfor("hello,")) << t.screen();
  std::string pane = runcommand("tmux -L " + t.sock + " display -p '#{pane_pid} #{pane_tty}'").out;
  int pid = atoi(pane.c_str());
  std::string tty = pane.substr(pane.find(' ') + 1, pane.find('\n') - pane.find(' ') - 1);
  ASSERT_GT(pid, 1) << pane;
  FILE *f = fopen(tty.c_str(), "w");
  ASSERT_NE(f, nullptr) << tty;
  fputs("\x1b[2;1H[1]+  Stopped", f);
  fclose(f);
  ASSERT_TRUE(t.waitfor("Stopped")) << t.screen();
  kill(pid, SIGCONT);
  EXPECT_TRUE(t.waitfor("hello,")) << t.screen();
  EXPECT_EQ(t.screen().find("Stopped"), std::string::npos) << t.screen();
}

TEST(Session, MarkKillMoveSortRunAndSave) {
  std::string dir = scratchdir(), text = dir + "a.txt", prog = dir + "prog.txt";
  writefile(text, "main text\nMOVE ME\nend\n");
  writefile(prog, "K first 9,zed\\K,first\\I 7");
  Tmux t(60, 10, std::string(TOLM_BIN) + " " + text + " " + prog);
  ASSERT_TRUE(t.waitfor("File " + prog)) << t.screen();
  t.key("Tab");  // the picker: ".", then the two files
  ASSERT_TRUE(t.waitfor("Tabs")) << t.screen();
  t.key("Down");
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
  EXPECT_EQ(fileread(text), "main text\nMOVE ME\nend\n");  // changed, but not saved
}
