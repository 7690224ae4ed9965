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
  typetext("\t\x0e\x0e\x0e\x0e\x0e");
  EXPECT_EQ(listing, (std::vector<std::string>{".", "/d0", "/d1", "/d2", "/d3", "/d4", "/d5"}));
  term.feed(testscreen);
  EXPECT_EQ(term.row(1).substr(0, 4), "/d2 ");  // the second page: keys 3 to 5
  EXPECT_EQ(term.at(1, 10).back, 8);  // slot 5, the first key row of its page, is selected
  testscreen.clear();
  typetext("\x1b[B\x1b[B\x1b[B");  // slot 8, the third page's title
  term.feed(testscreen);
  EXPECT_EQ(term.at(0, 0).back, 8);
  EXPECT_EQ(term.row(2), std::string(20, ' '));
  typetext("\x0e\x0e");  // past slot 9, the last, to the first
  EXPECT_EQ(listsel, 0);
  press("\x10");
  EXPECT_EQ(listsel, 9);
  press("\x08");  // C-h: the title of the page
  EXPECT_EQ(listsel, 8);
  typetext("\x10\n");
  EXPECT_EQ(curname, "/d4");
}

// When the keys fill their last page exactly, the slots end at that page's title row, and the
// keys of that page are reached by name only.
TEST_F(Picker, AFullLastPage) {
  open(5);  // six keys, three to a page: slots 0 to 3, then the second page's title only
  typetext("\t\x0e\x0e\x0e\x0e");
  EXPECT_EQ(listsel, 4);
  press("\x0e");
  EXPECT_EQ(listsel, 0);
  typetext("\t/d4\n");
  EXPECT_EQ(curname, "/d4");
}

TEST_F(Picker, TypingCompletingAndEnterOnTheTitle) {
  opendoc("/tmp/alpha", "");
  opendoc("/tmp/alps", "");
  opendoc("/usr/beta", "");
  typetext("\t\x0e/");
  EXPECT_EQ(listsel, 0);  // typing selects the title
  typetext("qt\t");  // no key goes on with "/q": taken back
  EXPECT_EQ(textof(promptline), "/tmp/alp");
  press("\n");  // no such key: the first that begins so takes its place
  EXPECT_EQ(textof(promptline), "/tmp/alpha");
  EXPECT_EQ(keys, "\t");
}
