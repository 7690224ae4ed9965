// The undo log: the numbering and links of undo chains, redo, forgetting, and a randomised check
// that undoing everything gives back the saved text whatever edits came before.
#include <gtest/gtest.h>

#include <random>

#include "tests/edit/edittest.h"
#include "tests/support.h"

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

TEST_F(Log, RedoPopsTheLastUndo) {
  opendoc("/c", "");
  typetext("a");
  press("\x1f");
  testlog.clear();
  press("\x12");
  EXPECT_EQ(textof(cur()), "a");
  EXPECT_EQ(records(), 1);
  EXPECT_TRUE(testlog.starts_with("C-r!\neditredo,t=0,v=3,w=3,z=")) << testlog;
  EXPECT_TRUE(rings("\x12"));  // the last record is no undo
}

TEST_F(Log, UndoingAnUndoOrARedoBringsItsEditBack) {
  opendoc("/b", "");
  typetext("a");
  press("\x1f");
  typetext("b");
  press("\x1f");
  press("\x1f");  // over the record of the undone "b" to the undo of "a"
  EXPECT_EQ(textof(cur()), "a");
  press("\x1f");
  EXPECT_FALSE(canundo());
  opendoc("/d", "");
  typetext("abc");
  press("\x1f");
  press("\x1f");
  press("\x12");
  EXPECT_EQ(textof(cur()), "ab");
  press("\x1f");  // the raised link names the new record, which reverses the remaining undo
  EXPECT_EQ(textof(cur()), "abc");
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
  Child c = runchild([] { closelog("/f"); });
  EXPECT_NE(c.err.find("ASSERTION FAILED:v:"), std::string::npos);
}

// Many documents, records added and removed in every order: the tree stays balanced and finds all.
TEST_F(Log, TheTreeStaysBalanced) {
  std::mt19937 rng(7);
  std::vector<std::string> names;
  for (int i = 0; i < 20; i++) names.push_back("/n" + std::to_string(rng() % 1000 * 20 + i));
  for (const std::string &n : names) opendoc(n, "");
  for (int i = 0; i < 3000; i++) {
    switchdoc(names[rng() % names.size()]);
    if (rng() % 3 == 0 && canundo()) press("\x1f");
    else if (rng() % 4 == 0) press("\x12");
    else typetext("x");
  }
  for (int i = 0; i < 5; i++) closelog(names[(size_t)i]);
  for (size_t i = 5; i < names.size(); i++) {
    switchdoc(names[i]);
    EXPECT_EQ(findop(0)->v, 0u);
    EXPECT_EQ(findop(lastop()->v), lastop());
  }
  int lines = 0, blacks = 0;
  std::string dump = dumplog();
  for (char c : dump) lines += c == '\n';
  blacks = std::stoi(dump.substr(dump.rfind('\n', dump.size() - 2) + 1));
  EXPECT_GE(blacks, 1);
  EXPECT_LE(1 << blacks, lines * 2 + 2);  // black height at most log2 of the size, plus one
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
          press("\x18");
          typetext(std::string(1, "abq"[rng() % 3]));
          press("\x18");
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
