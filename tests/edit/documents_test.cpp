// Documents as a whole: closing with M-c, new temporary documents with M-n and their names, and
// M-m walking the differences from the saved text.
#include <gtest/gtest.h>

#include <set>
#include <unistd.h>

#include "core/file.h"
#include "edit/documents.h"
#include "tests/edit/edittest.h"

using Documents = EditorTest<20, 5>;

TEST_F(Documents, CloseDropsUnsavedTextAndNeverTheScratch) {
  EXPECT_TRUE(rings("\x1b" "c"));  // the scratch document alone
  opendoc("/a", "a");
  opendoc("/b", "b");
  typetext("unsaved");
  switchdoc(scratchname);
  EXPECT_TRUE(rings("\x1b" "c"));
  switchdoc("/b");
  EXPECT_FALSE(rings("\x1b" "c"));
  EXPECT_EQ(curname, scratchname);  // the first key in order
  EXPECT_EQ(docs.count("/b"), 0u);
}

// Names in the language's digits, none repeated through the wrap of both counters, and none
// that a file already has; nothing is written before a save.
TEST_F(Documents, NewDocumentsOnFreeTemporaryNames) {
  EXPECT_EQ(tempname(27 * 36 + 28), "/tmp/tolm.new.0000RU");
  EXPECT_EQ(tempname(33 * 36 + 35), "/tmp/tolm.new.0000ZY");
  EXPECT_EQ(tempname((1u << 31) - 1), "/tmp/tolm.new.YIK0YJ");  // 35 is "Y", the last
  Namestreams s = {0xFFF0, 0x7FFF};
  std::set<std::string> seen;
  for (int i = 0; i < 70000; i++) EXPECT_TRUE(seen.insert(drawname(s)).second) << i;
  press("\x1bn");
  EXPECT_FALSE(fileisplain(curname));
  Namestreams next = namestreams;
  std::string taken = drawname(next);
  writefile(taken, "someone's file");
  press("\x1bn");
  unlink(taken.c_str());
  EXPECT_NE(curname, taken);
  EXPECT_EQ(docs.size(), 3u);
}

TEST_F(Documents, WalkTakesBackOvertypedBytesInTurn) {
  Doc &d = opendoc("/w", "abcdef");
  typetext("\x18xyz");
  EXPECT_TRUE(rings("\x1bm"));  // past the window: back to its start
  for (int i = 0; i < 3; i++) EXPECT_FALSE(rings("\x1bm"));
  EXPECT_TRUE(isclean(d));
  press("\x1f");  // each walk was a typed byte, with undo
  EXPECT_EQ(textof(d), "abzdef");
  d = newdoc("abcdef");
  d.over = 1;
  typetext("XbY");
  d.point = 1;  // on a byte that did not change: the walk goes on to the next that did
  EXPECT_FALSE(rings("\x1bm"));
  EXPECT_EQ(d.point, 2);
  d.over = 0;
  typetext("q");
  d.point = 0;
  EXPECT_TRUE(rings("\x1bm"));  // the window's sides differ in length
}
