// Editing: the three alphabets, Backspace and Delete, kills that gather, the two pastes, Taps,
// and saving with C-w, including a file that cannot be written.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include "core/file.h"
#include "tests/edit/edittest.h"
#include "tests/support.h"

using Typing = EditorTest<20, 6>;

TEST_F(Typing, TheThreeAlphabets) {
  Doc &d = opendoc("/a", "");
  EXPECT_TRUE(rings("\x1by"));  // alphabet 3 already
  press("\x1br");
  typetext("a ");
  press("\x1bg");
  typetext("aJ,]~!?09_\n");
  press("\x1by");
  typetext("a");
  EXPECT_EQ(textof(d), std::string("\xe1 \x01\x00\x0a\xff\x7f\x80\x96\x97\xa0\x20\x0a" "a", 14));
  EXPECT_EQ(typed(2, 'Q'), typed(2, 'q'));
  Child c = runchild([] { typed(2, 0xC8); });
  EXPECT_EQ(c.out, "TOLMFAIL: nopqchar\n");
}

TEST_F(Typing, BackspaceAndDelete) {
  Doc &d = opendoc("/b", "abc");
  EXPECT_FALSE(rings("\x7f"));  // at 0: no record, no bell
  EXPECT_FALSE(canundo());
  press("\x1c");
  EXPECT_EQ(textof(d), "bc");
  d.point = 2;
  EXPECT_TRUE(rings("\x1c"));
  press("\x7f");
  EXPECT_EQ(textof(d), "b");
  press("\x18");
  press("\x7f");  // overtyping: the point goes back and nothing is removed
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
  press("\x0b");
  press("\x0b");
  EXPECT_EQ(killtext, "ab\n");
  EXPECT_EQ(textof(d), "cd\nef");
  press("\x06");
  press("\x0b");
  EXPECT_EQ(killtext, "d");  // another command between: a fresh kill
  d.point = lenof(d);
  EXPECT_TRUE(rings("\x0b"));
  mark = 1;
  d.point = 4;  // the selection runs from 1 to 4 in "c\nef"
  press("\x0b");
  EXPECT_EQ(killtext, "\nef");
  EXPECT_EQ(textof(d), "c");
  EXPECT_EQ(mark, -1);
}

TEST_F(Typing, PastesWithAndWithoutARecord) {
  Doc &d = opendoc("/y", "abcd");
  killtext = "XY";
  press("\x18");
  press("\x19");  // C-y honours overtype and leaves no record
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
  for (const char *k : {"\x1bt", "1", "2", "x"}) press(k);
  EXPECT_EQ(textof(d), "a" + std::string(12, 'x') + "b");
  EXPECT_EQ(keys, "");
  for (const char *k : {"\x1bt", "4", "\x7f", "3", "\n"}) press(k);
  EXPECT_EQ(textof(d), "a" + std::string(12, 'x') + "\n\n\nb");
  press("\x1bt");
  EXPECT_TRUE(rings("\x02"));  // a control byte: a bell, and the mode stays
  EXPECT_EQ(keys, "\x1bt");
  press("q");  // no count: a record that inserts nothing
  for (int i = 0; i < 3; i++) press("\x1f");
  EXPECT_EQ(textof(d), "ab");
}

class Saving : public Typing {};

TEST_F(Saving, ControlWWritesInPlaceAndRingsOnACleanFile) {
  std::string dir = scratchdir(), path = dir + "f.txt";
  writefile(path, "one\n");
  struct stat before, after;
  stat(path.c_str(), &before);
  Doc &d = opendoc(path, fileread(path));
  typetext("new ");
  EXPECT_FALSE(rings("\x17"));
  EXPECT_EQ(fileread(path), "new one\n");
  stat(path.c_str(), &after);
  EXPECT_EQ(before.st_ino, after.st_ino);
  EXPECT_TRUE(isclean(d));
  EXPECT_TRUE(rings("\x17"));
  press("\x1f");  // the log stays: undo makes the document differ from the file again
  EXPECT_TRUE(isdirty(d));
  switchdoc(scratchname);
  typetext("x");
  EXPECT_FALSE(rings("\x17"));
  EXPECT_TRUE(isdirty(cur()));
}

TEST_F(Saving, AFileThatCannotBeWrittenLeavesTheDocumentChanged) {
  std::string dir = scratchdir(), sub = dir + "gone/", path = sub + "f";
  mkdir(sub.c_str(), 0755);
  writefile(path, "abc");
  Doc &d = opendoc(path, "abc");
  typetext("2");
  unlink(path.c_str());
  rmdir(sub.c_str());
  EXPECT_TRUE(rings("\x17"));
  EXPECT_TRUE(isdirty(d));
}
