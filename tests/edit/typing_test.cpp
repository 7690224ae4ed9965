// Editing: the three alphabets, Backspace and Delete, kills that gather, the two pastes, Taps,
// and saving with C-w, including a file that cannot be written.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "core/file.h"
#include "core/halt.h"
#include "tests/edit/edittest.h"

using Typing = EditorTest<20, 6>;

TEST_F(Typing, TheThreeAlphabets) {
  Doc &d = opendoc("/a", "");
  EXPECT_TRUE(rings("\x1by"));  // alphabet 3 already
  typetext("\x1bra \x1bgaJ,]~!?09_\n\x1bya");
  EXPECT_EQ(textof(d), std::string("\xe1 \x01\x00\x0a\xff\x7f\x80\x96\x97\xa0\x20\x0a" "a", 14));
  EXPECT_EQ(typed(2, 'Q'), typed(2, 'q'));
  EXPECT_EQ(runchild([] { typed(2, 0xC8); }).out, "TOLMFAIL: nopqchar\n");
}

TEST_F(Typing, BackspaceAndDelete) {
  Doc &d = opendoc("/b", "abc");
  EXPECT_FALSE(rings("\x7f"));  // at 0: no record, no bell
  EXPECT_FALSE(canundo());
  press("\x1c");
  EXPECT_EQ(textof(d), "bc");
  d.point = 2;
  EXPECT_TRUE(rings("\x1c"));
  typetext("\x7f\x18\x7f");  // overtyping, Backspace only steps back
  EXPECT_EQ(textof(d), "b");
  EXPECT_EQ(d.point, 0);
  press("\x1f");  // undone in the same mode, as records of typed bytes must be
  EXPECT_EQ(textof(d), "b");
  press("\x18");
  while (canundo()) press("\x1f");
  EXPECT_EQ(textof(d), "abc");
}

TEST_F(Typing, KillsGatherUntilAnotherCommand) {
  Doc &d = opendoc("/k", "ab\ncd\nef");
  typetext("\x0b\x0b");
  EXPECT_EQ(killtext, "ab\n");
  typetext("\x06\x0b");
  EXPECT_EQ(killtext, "d");  // another command between: a fresh kill
  EXPECT_EQ(textof(d), "c\nef");
  d.point = lenof(d);
  EXPECT_TRUE(rings("\x0b"));
  mark = 1;
  d.point = 4;
  press("\x0b");
  EXPECT_EQ(killtext, "\nef");
  EXPECT_EQ(textof(d), "c");
  EXPECT_EQ(mark, -1);
}

TEST_F(Typing, PastesWithAndWithoutARecord) {
  Doc &d = opendoc("/y", "abcd");
  killtext = "XY";
  typetext("\x18\x19");  // C-y honours overtype and leaves no record
  EXPECT_EQ(textof(d), "XYcd");
  EXPECT_FALSE(canundo());
  press(std::string(1, '\0'));  // C-space inserts, overtype or not, and can be undone
  EXPECT_EQ(textof(d), "XYXYcd");
  press("\x1f");
  EXPECT_EQ(textof(d), "XYcd");
}

TEST_F(Typing, TapsInsertsOneByteManyTimes) {
  Doc &d = opendoc("/t", "ab");
  d.point = 1;
  typetext("\x1bt12x\x1bt4\x7f" "3\n");
  EXPECT_EQ(textof(d), "a" + std::string(12, 'x') + "\n\n\nb");
  press("\x1bt");
  EXPECT_TRUE(rings("\x02"));  // a control byte: a bell, and the mode stays
  EXPECT_EQ(keys, "\x1bt");
  press("q");  // no count: a record that inserts nothing
  typetext("\x1f\x1f\x1f");
  EXPECT_EQ(textof(d), "ab");
  // A count past what the editor may hold, or past any word, rings and waits to be mended.
  uint64_t limit = memorylimit;
  memorylimit = 4000;
  typetext("\x1bt1001");
  EXPECT_TRUE(rings("x"));
  EXPECT_EQ(keys, "\x1bt");
  typetext("\x7f\x7fx");
  EXPECT_EQ(textof(d), "a" + std::string(10, 'x') + "b");
  typetext("\x1bt18446744073709551621");  // 2^64 + 5
  EXPECT_TRUE(rings("x"));
  typetext(std::string(19, '\x7f') + "x");
  EXPECT_EQ(textof(d), "a" + std::string(11, 'x') + "b");
  memorylimit = limit;
}

// C-w rewrites the file in place, so a hard link still shares it, and rings on a clean one; the
// scratch document takes it silently and stays as it is; a file that cannot be written, or not
// all of it, is left as it was and the document stays changed.
TEST_F(Typing, SavingWithControlW) {
  std::string dir = scratchdir(), path = dir + "f.txt";
  writefile(path, "one\n");
  link(path.c_str(), (dir + "link").c_str());
  struct stat before, after;
  stat(path.c_str(), &before);
  Doc &d = opendoc(path, fileread(path));
  typetext("new ");
  EXPECT_FALSE(rings("\x17"));
  EXPECT_EQ(fileread(path), "new one\n");
  EXPECT_EQ(fileread(dir + "link"), "new one\n");
  stat(path.c_str(), &after);
  EXPECT_EQ(before.st_ino, after.st_ino);
  Child full = runchild([&] {
    signal(SIGXFSZ, SIG_IGN);
    rlimit small = {100, 100};  // a disk that fills after 100 bytes
    setrlimit(RLIMIT_FSIZE, &small);
    typetext(std::string(300, 'x'));
    printf("%d %d", rings("\x17"), isdirty(d));
  });
  EXPECT_EQ(full.out, "1 1");
  EXPECT_EQ(fileread(path), "new one\n");
  EXPECT_TRUE(rings("\x17"));
  press("\x1f");  // the log stays: undo makes the document differ from the file again
  EXPECT_TRUE(isdirty(d));
  unlink(path.c_str());
  unlink((dir + "link").c_str());
  rmdir(dir.c_str());
  EXPECT_TRUE(rings("\x17"));
  EXPECT_TRUE(isdirty(d));
  switchdoc(scratchname);
  typetext("x");
  EXPECT_FALSE(rings("\x17"));
  EXPECT_TRUE(isdirty(cur()));
}
