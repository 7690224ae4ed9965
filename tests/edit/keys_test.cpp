// Key units, the terminal's spellings of keys, the window's bounded size, and the dispatcher's
// routing.
#include <gtest/gtest.h>
#include <pty.h>
#include <unistd.h>

#include <cstdio>
#include <tuple>

#include "edit/term.h"
#include "tests/edit/edittest.h"

TEST(KeyUnits, EscapesCsisAndUtf8Units) {
  const std::pair<std::string, bool> units[] = {
      {"", true}, {std::string(1, '\0'), true}, {"\x1b", false}, {"\x1b\x1b", true},
      {"\x1b[", false}, {"\x1b[1;5", false}, {"\x1b[1;5H", true},
      {"\x1b[ ", false}, {"\x1b[ q", true},  // an intermediate byte and then the final byte
      {"\xe2\x82", false}, {"\xe2\x82\xac", true}, {"\xf0\x9f\x98\x80", true},
      {"\x80", true}, {"\xf8", true},  // a stray continuation byte, five leading ones: units alone
      {"\x1b\xc3", false}, {"\x1b\xc3\xa9", true},
  };
  for (const auto &[bytes, done] : units) EXPECT_EQ(keydone(bytes), done) << bytes.size();
  EXPECT_EQ(keyunit("\xc3" "a", 0), 1u);  // a non-continuation byte ends the unit
  EXPECT_EQ(keyunit("\x1b\xc3\xa9x", 0), 3u);
}

TEST(TerminalKeys, NavigationSpellingsBecomeControlBytesAndOthersPassWhole) {
  std::string in = "\x1b[H\x1b[F\x1bOH\x1bOF\x1b[1~\x1b[4~\x1b[7~\x1b[8~\x1b[5~\x1b[6~\x1b[2~\x1b[3~";
  std::vector<std::string> want = {"\x01", "\x05", "\x01", "\x05", "\x01", "\x05",
                                   "\x01", "\x05", "\x15", "\x04", "\x18", "\x1c"};
  EXPECT_EQ(takeunits(in), want);
  std::string mods = "\x1b[1;5H\x1b[3;2~\x1b[1;5A\x1bOB";
  EXPECT_EQ(takeunits(mods), (std::vector<std::string>{"\x01", "\x1c", "\x1b[A", "\x1b[B"}));
  // Everything else passes whole, and an unfinished unit waits.
  in = "ab\x1b" "e\xc3\xa9\x1b[15~\n\x7f\x1b";
  EXPECT_EQ(takeunits(in),
            (std::vector<std::string>{"a", "b", "\x1b" "e", "\xc3\xa9", "\x1b[15~", "\n", "\x7f"}));
  EXPECT_EQ(in, "\x1b");  // a lone escape waits for the next read
  in += "x";
  EXPECT_EQ(takeunits(in), (std::vector<std::string>{"\x1bx"}));
  std::string f1 = "\x1bOP" "q";
  EXPECT_EQ(takeunits(f1), (std::vector<std::string>{"q"}));  // a function key has no row
}

class Dispatch : public EditorTest<40, 8> {
 protected:
  void press(const std::string &k) {
    keys = k;
    keydispatch();
  }
};

// The window's size as the terminal tells it, each side bounded: a pseudo-terminal told 50000 rows
// of 60000 columns gives windowmost for both.
TEST(TerminalKeys, TheWindowSizeIsBounded) {
  for (auto [rows, cols, want] : {std::tuple{40, 100, "100 40"}, {50000, 60000, "4096 4096"}}) {
    Child c = runchild([rows, cols] {
      int master, slave;
      winsize ws = {(unsigned short)rows, (unsigned short)cols, 0, 0};
      if (openpty(&master, &slave, nullptr, nullptr, &ws) != 0 || dup2(slave, 1) != 1) _exit(1);
      int64_t w, h;
      windowsize(w, h);
      fprintf(stderr, "%lld %lld", (long long)w, (long long)h);
    });
    EXPECT_EQ(c.err, want);
  }
}

TEST_F(Dispatch, ControlGRingsTheBellButNotAfterEscape) {
  press("\x1b\x07");
  EXPECT_EQ(keys, "");
  EXPECT_EQ(testlog, "");
  EXPECT_EQ(testscreen, "");
  fresh = 0;
  press("\x07");
  EXPECT_EQ(testlog, "C-g!\n");
  EXPECT_EQ(testscreen, "\a");
  EXPECT_EQ(fresh, 1);
}

TEST_F(Dispatch, UnboundKeysAndControlSequencesAreLogged) {
  press("\x1b" "1");
  EXPECT_EQ(testlog, "WHAT THE FUCK\nline[0]=27\nline[1]=49\n");  // byte by byte
  EXPECT_EQ(keys, "");
  testlog.clear();
  press("\x1b[");
  EXPECT_EQ(testlog, "CSI...\n");
  EXPECT_EQ(keys, "\x1b[");
  testlog.clear();
  press("\x1b[5~");
  EXPECT_EQ(testlog, "Got a CSI with a final byte I don't handle (~.\n");
  EXPECT_EQ(keys, "");
  testlog.clear();
  press("\x1b[1;");  // no final byte yet: the keys stay
  EXPECT_EQ(testlog, "");
  EXPECT_EQ(keys, "\x1b[1;");
  press("\x1b[A");
  EXPECT_EQ(testlog, "C-p!\n");
  EXPECT_EQ(keys, "");
}

