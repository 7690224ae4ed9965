// The undo log: the numbering and links of undo chains, redo, forgetting, the tree that holds
// the records, and a randomised check that undoing everything gives back the saved text.
#include <gtest/gtest.h>

#include <random>

#include "edit/optree.h"
#include "tests/edit/edittest.h"

class Log : public EditorTest<40, 8> {
 protected:
  // Records of the current document besides its base record.
  int records() {
    int n = 0;
    for (int64_t v = 1; v <= (int64_t)lastop()->v; v += 2) n += findop(v) != nullptr;
    return n;
  }
};

TEST_F(Log, AChainOfUndosWalksBackThroughTheEdits) {
  opendoc("/a", "");
  typetext("abc");
  EXPECT_EQ(lastop()->v, 5u);
  press("\x1f");
  EXPECT_EQ(lastop()->w, 7u);
  press("\x1f");
  EXPECT_EQ(textof(cur()), "a");
  EXPECT_EQ(lastop()->v, 9u);
  EXPECT_EQ(lastop()->w, 7u);
  EXPECT_EQ(findop(7)->w, 9u);
  press("\x1f");
  EXPECT_EQ(findop(7)->w, 11u);
  EXPECT_TRUE(isclean(cur()));
  EXPECT_TRUE(rings("\x1f"));
  EXPECT_EQ(records(), 6);
}

TEST_F(Log, RedoAndTheUndoOfAnUndo) {
  opendoc("/c", "");
  typetext("a\x1f");
  testlog.clear();
  press("\x12");
  EXPECT_EQ(textof(cur()), "a");
  EXPECT_EQ(records(), 1);
  EXPECT_TRUE(testlog.starts_with("C-r!\neditredo,t=0,v=3,w=3,z=")) << testlog;
  EXPECT_TRUE(rings("\x12"));  // the last record is no undo
  typetext("\x1f" "b\x1f\x1f");  // over the record of the undone "b" to the undo of "a"
  EXPECT_EQ(textof(cur()), "a");
  press("\x1f");
  EXPECT_FALSE(canundo());
  opendoc("/d", "");
  typetext("abc\x1f\x1f\x12");
  EXPECT_EQ(textof(cur()), "ab");
  press("\x1f");  // the raised link names the new record, which reverses the remaining undo
  EXPECT_EQ(textof(cur()), "abc");
}

// After three undos and two redos the last undo's link names a record that the redos took away:
// the next undo raises no link and reverses the undo that is left, bringing the "h" back.
TEST_F(Log, AnUndoAfterTwoRedosWhoseLinkIsGone) {
  opendoc("/g", "");
  typetext(")\x1fh\x1f\x1f\x1f\x12\x12");
  EXPECT_EQ(textof(cur()), "");
  press("\x1f");
  EXPECT_EQ(textof(cur()), "h");
  EXPECT_EQ(lastop()->w, 11u);
  press("\x1f");
  EXPECT_EQ(textof(cur()), "");
}

TEST_F(Log, CanUndoReadsAnOffsetAsALink) {
  for (uint64_t at : {0u, 2u, 3u}) {
    opendoc("/e" + std::to_string(at), "abcdef");
    typetext("x");
    Oper *o = new Oper;
    o->name = curname;
    o->t = 1;
    o->w = at;
    addop(o);
    EXPECT_EQ(canundo(), at != 3) << at;  // number 3 at offset 3: (3-1)/2 - (3-3+2)/2 is 0
  }
}

TEST_F(Log, ForgettingHistory) {
  opendoc("/f", "");
  typetext("ab");
  switchdoc(scratchname);
  typetext("c");
  EXPECT_FALSE(rings("\x1b" "d"));
  switchdoc("/f");
  EXPECT_FALSE(canundo());
  EXPECT_EQ(textof(cur()), "ab");
  EXPECT_TRUE(rings("\x1b" "d"));
  closelog("/f");
  EXPECT_EQ(findop(0), nullptr);
  EXPECT_NE(runchild([] { closelog("/f"); }).err.find("ASSERTION FAILED:v:"), std::string::npos);
}

// The black height below n, or -1 when a red node has a red child or two paths differ.
static int blacks(const Oper *n) {
  if (!n) return 1;
  int l = blacks(n->left), r = blacks(n->right);
  bool redred = !n->z && ((n->left && !n->left->z) || (n->right && !n->right->z));
  return l < 0 || l != r || redred ? -1 : l + n->z;
}

// Records of many documents put in and taken out in random order: the tree stays a red-black
// tree, walks in order of name and number, and finds every record that is left.
TEST_F(Log, TheTreeStaysBalancedAndInOrder) {
  forgetlogs();
  std::mt19937 rng(7);
  std::vector<Oper *> in;
  for (int i = 0; i < 3000; i++) {
    if (!in.empty() && rng() % 3 == 0) {
      size_t k = rng() % in.size();
      noderemove(in[k]);
      in.erase(in.begin() + (long)k);
      continue;
    }
    std::string name = "/n" + std::to_string(rng() % 20);  // "/n1" sorts before "/n10" to "/n19"
    uint64_t v = rng() % 100000;
    if (nodefind(name, v)) continue;
    in.push_back(new Oper);
    in.back()->name = name;
    in.back()->v = v;
    nodeinsert(in.back());
  }
  const Oper *root = nodefirst();
  while (root->up) root = root->up;
  EXPECT_TRUE(root->z);
  EXPECT_GT(blacks(root), 0);
  std::sort(in.begin(), in.end(), [](Oper *a, Oper *b) { return a->name < b->name || (a->name == b->name && a->v < b->v); });
  Oper *n = nodefirst();
  for (Oper *o : in) EXPECT_EQ(std::exchange(n, nodenext(n)), o);
  EXPECT_EQ(n, nullptr);
  auto pastn1 = std::find_if(in.begin(), in.end(), [](Oper *o) { return o->name > "/n1"; });
  EXPECT_EQ(nodelast("/n1"), pastn1[-1]);
}

// Typed bytes, Backspaces, overtypes, kills and C-space yanks at random places, undone completely:
// the saved text and a clean document come back.
TEST_F(Log, UndoingEverythingRestoresTheSavedText) {
  std::mt19937 rng(11);
  for (int round = 0; round < 400; round++) {
    std::string saved;
    for (int i = (int)(rng() % 30); i > 0; i--) saved += "ab\n x"[rng() % 5];
    editorreset(12, 6);
    opendoc("/r", saved);
    for (int step = (int)(rng() % 40); step > 0; step--) {
      Doc &d = cur();
      int64_t len = lenof(d);
      d.point = (int64_t)(rng() % (uint64_t)(len + 1));
      keepvisible(d, false);
      switch (rng() % 6) {
        case 0: typetext(std::string(1, "ab\n y"[rng() % 5])); break;
        case 1: press("\x7f"); break;
        case 2:
          if (d.point == len) break;  // overtyping appends at the end; its undo leaves a newline
          typetext("\x18" + std::string(1, "abq"[rng() % 3]) + "\x18");
          break;
        case 3: press("\x0b"); break;
        case 4: press(std::string(1, '\0')); break;
        case 5: press("\x0e"); break;
      }
    }
    while (canundo()) press("\x1f");
    ASSERT_EQ(textof(cur()), saved) << "round " << round;
    ASSERT_TRUE(isclean(cur())) << "round " << round;
  }
}

// A byte overtyped at the end of the text is appended, and its undo types back the newline that
// the end reads as, in place of taking the byte away: the text keeps one byte more.
TEST_F(Log, AnOvertypeAtTheEndIsUndoneToANewline) {
  opendoc("/e", "ab\n");
  typetext("\x18\x05Q\x0eu");
  EXPECT_EQ(textof(cur()), "abQu");
  press("\x1f");
  EXPECT_EQ(textof(cur()), "abQ\n");
  press("\x1f");
  EXPECT_EQ(textof(cur()), "ab\n\n");
}
