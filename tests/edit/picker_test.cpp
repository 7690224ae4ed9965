// The document picker: its pages of keys under the title, the moves of the selection over the
// slots of all pages, and choosing a document by row or by a typed and completed key.
#include <gtest/gtest.h>

#include "edit/files.h"
#include "tests/edit/edittest.h"
#include "tests/vterm.h"

class Picker : public EditorTest<20, 4> {  // three keys to a page
 protected:
  void open(int n) {
    for (int i = 0; i < n; i++) opendoc("/d" + std::to_string(i), "");
  }
};

// Seven keys with three to a page: pages of slots 0-3, 4-7, and 8-9 for the seventh key.
TEST_F(Picker, PagesOfKeysAndTheSlotsBetweenThem) {
  open(6);
  Vterm term(20, 4);
  press("\t");
  EXPECT_EQ(listing, (std::vector<std::string>{".", "/d0", "/d1", "/d2", "/d3", "/d4", "/d5"}));
  for (int i = 0; i < 5; i++) press("\x0e");
  term.feed(testscreen);
  EXPECT_EQ(term.row(1).substr(0, 4), "/d2 ");  // the second page: keys 3 to 5
  testscreen.clear();
  EXPECT_EQ(term.at(1, 10).back, 8);  // slot 5, the first key row of its page, is selected
  for (int i = 0; i < 3; i++) press("\x1b[B");  // slot 8, the third page's title
  term.feed(testscreen);
  EXPECT_EQ(term.at(0, 0).back, 8);
  EXPECT_EQ(term.row(2), std::string(20, ' '));
  for (int i = 0; i < 2; i++) press("\x0e");  // past slot 9, the last, to the first
  EXPECT_EQ(listsel, 0);
  press("\x10");
  EXPECT_EQ(listsel, 9);
  press("\x08");  // C-h: the title of the page
  EXPECT_EQ(listsel, 8);
  press("\x10");
  press("\n");
  EXPECT_EQ(curname, "/d4");
}

// When the keys fill their last page exactly, the slots end at that page's title row.
TEST_F(Picker, AFullLastPage) {
  open(5);  // six keys, three to a page: slots 0 to 3, then the second page's title only
  press("\t");
  for (int i = 0; i < 4; i++) press("\x0e");
  EXPECT_EQ(listsel, 4);
  press("\x0e");
  EXPECT_EQ(listsel, 0);
  press("\x10");
  EXPECT_EQ(listsel, 4);
  press("\t");  // completion from the empty prompt still reaches every key by name
  for (char c : std::string("/d4")) press(std::string(1, c));
  press("\n");
  EXPECT_EQ(curname, "/d4");
}

TEST_F(Picker, TypingCompletingAndEnterOnTheTitle) {
  opendoc("/tmp/alpha", "");
  opendoc("/tmp/alps", "");
  opendoc("/usr/beta", "");
  press("\t");
  press("\x0e");
  press("/");
  EXPECT_EQ(listsel, 0);  // typing selects the title
  press("q");  // no key goes on with "/q": taken back
  press("t");
  press("\t");
  EXPECT_EQ(textof(promptline), "/tmp/alp");
  press("\n");  // no such key: the first that begins so takes its place
  EXPECT_EQ(textof(promptline), "/tmp/alpha");
  EXPECT_EQ(keys, "\t");
}
