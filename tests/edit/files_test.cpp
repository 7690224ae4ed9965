// The file pickers: listings of a directory made here, the grid on the screen with its columns
// and pages, the keys of Open and Save, saving under a new name and the saves that must fail.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include "core/file.h"
#include "core/halt.h"
#include "edit/files.h"
#include "tests/edit/edittest.h"
#include "tests/vterm.h"

class Pickers : public EditorTest<20, 6> {
 protected:
  std::string dir = scratchdir();
  std::string prompt() { return textof(promptline); }
  // Puts a whole name on the prompt, as typing and Tab would have left it.
  void ask(const std::string &text) {
    promptline = newdoc(text);
    toend(promptline);
  }
};

TEST_F(Pickers, ListingsOfADirectory) {
  mkdir((dir + "sub").c_str(), 0755);
  mkdir((dir + "-early").c_str(), 0755);
  writefile(dir + "b.txt", "b");
  writefile(dir + "\xff\xfe", "bytes");
  mkfifo((dir + "pipe").c_str(), 0644);            // neither a directory nor a regular file
  symlink("nowhere", (dir + "dangling").c_str());  // no status
  listopen(dir);
  EXPECT_EQ(listing, (std::vector<std::string>{"./", "../", "-early/", "b.txt", "sub/", "\xff\xfe"}));
  EXPECT_EQ(listwidth, 7);
  listsave(dir + "sub/..");
  EXPECT_EQ(listdir, dir);
  EXPECT_EQ(listing, (std::vector<std::string>{".", "..", "-early", "sub"}));
  listsave("/");
  EXPECT_NE(listing.at(1), "..");
}

// 28 names in a window of 20 by 6: 5 rows, slots of 3 cells and a gap, 2 pages, so a column
// holds 10 names.
TEST_F(Pickers, TheGridRunsDownColumnsAndPages) {
  for (int i = 0; i < 25; i++) writefile(dir + "f" + std::to_string(100 + i).substr(1), "");
  mkdir((dir + "d").c_str(), 0755);
  opendoc(dir + "doc", "");
  Vterm term(20, 6);
  press("\x1bo");
  term.feed(testscreen);
  EXPECT_EQ(term.row(5), "f01 f11 f21         ");
  EXPECT_EQ(term.at(1, 2).back, 8);  // the selected name, highlighted over its slot
  EXPECT_EQ(term.at(1, 3).back, 4);
  press("\x04");  // C-d: the second page
  term.feed(testscreen);
  EXPECT_EQ(term.row(4), "f05 f15             ");
  const std::pair<const char *, int> moves[] = {
      {"\x06", 15}, {"\x06", 25}, {"\x06", 25}, {"\x04", 20},  // past the last name: a column back
      {"\x02", 10}, {"\x1b[A", 9},
  };
  for (auto [key, sel] : moves) {
    press(key);
    EXPECT_EQ(listsel, sel) << (int)key[0];
  }
  listsel = 0;
  press("\x10");  // up from the first name wraps to the last
  EXPECT_EQ(prompt(), dir + "f24");
}

TEST_F(Pickers, OpenTypesCompletesAndWalksDirectories) {
  mkdir((dir + "sub").c_str(), 0755);
  writefile(dir + "sub/inner", "in");
  writefile(dir + "alpha", "a");
  writefile(dir + "alps", "mountains");
  writefile(dir + "locked", "secret");
  chmod((dir + "locked").c_str(), 0);
  opendoc(dir + "doc", "");
  typetext("\x1boxa\t");  // no name starts with "x": taken back
  EXPECT_EQ(prompt(), dir + "alp");
  typetext("s\nX\x1bosu\t");  // completes to a directory, which is listed at once
  EXPECT_EQ(prompt(), dir + "sub/");
  EXPECT_EQ(listing.back(), "inner");
  press("\x7f");  // taking back the "/" lists the directory above, with sub/ selected
  EXPECT_EQ(listing[(size_t)listsel], "sub/");
  // A file that cannot be read keeps the picker. Permissions do not hold for root, but a
  // write-only kernel setting refuses reading to root too.
  std::string locked = filereadable(dir + "locked") ? "/proc/sys/vm/compact_memory" : dir + "locked";
  if (fileisplain(locked) && !filereadable(locked)) {
    ask(locked);
    EXPECT_TRUE(rings("\n"));
    EXPECT_EQ(keys, "\x1bo");
  }
  // A file larger than a quarter of the memory limit would end the session for want of memory
  // once it is run: refused alike.
  uint64_t limit = memorylimit;
  memorylimit = 16;
  writefile(dir + "bulky", "0123456789");
  ask(dir + "bulky");
  EXPECT_TRUE(rings("\n"));
  EXPECT_EQ(keys, "\x1bo");
  EXPECT_FALSE(docs.count(dir + "bulky"));
  memorylimit = limit;
  ask(dir + "alps");
  press("\n");  // loaded already: the document in memory, with its change
  EXPECT_EQ(textof(cur()), "Xmountains");
  typetext("\x1bo\x12");  // C-r: the root, with nothing above it to take back
  EXPECT_TRUE(rings("\x7f"));
}

// Save under a new name moves the document; from the scratch document it copies, onto the open
// document of that name; on the document's own name nothing is written.
TEST_F(Pickers, SaveUnderANewName) {
  writefile(dir + "orig", "one");
  opendoc(dir + "orig", "one");
  typetext("X\x1bw\x0e");  // ".." is the directory above
  EXPECT_EQ(prompt(), "/tmp/");
  typetext("\x10" "copy\n");
  EXPECT_EQ(fileread(dir + "copy"), "Xone");
  EXPECT_TRUE(isclean(cur()));
  EXPECT_EQ(docs.count(dir + "orig"), 0u);
  switchdoc(scratchname);
  typetext("s\x1bw");
  ask(dir + "copy");
  press("\n");
  EXPECT_EQ(fileread(dir + "copy"), "s");
  EXPECT_EQ(textof(docs[dir + "copy"]), "s");
  typetext("t\x1bw");
  ask(curname);
  press("\n");
  EXPECT_EQ(fileread(dir + "copy"), "s");
}

TEST_F(Pickers, AFailedSaveRingsAndKeepsEverything) {
  writefile(dir + "other", "keep me");
  mkfifo((dir + "pipe").c_str(), 0644);
  opendoc(dir + "doc", "text");
  typetext("x\x1bw");
  for (std::string name : {"missing/new", "other/new", "pipe"}) {
    ask(dir + name);
    EXPECT_TRUE(rings("\n")) << name;
    EXPECT_EQ(keys, "\x1bw");
  }
  EXPECT_EQ(fileread(dir + "other"), "keep me");
  // A write that fails after the file opened: the document stays as it was.
  Child c = runchild([&] {
    signal(SIGXFSZ, SIG_IGN);
    rlimit small = {2, 2};
    setrlimit(RLIMIT_FSIZE, &small);
    ask(dir + "big");
    press("\n");
    printf("%s %d %zu", curname.c_str(), isdirty(cur()), docs.size());
  });
  EXPECT_EQ(c.out, dir + "doc 1 2");
  EXPECT_FALSE(fileisplain(dir + "big"));  // a file the failed save made goes again
  // C-w over what is no longer a regular file, or over one grown past a quarter of the limit, rings
  // and writes nothing: the old contents could not be held for the putting back.
  press("\x07");
  symlink("/dev/zero", (dir + "zero").c_str());
  writefile(dir + "grown", "0123456789");
  Child w = runchild([&] {
    capmemory(1u << 30);  // a read of the device without end fails here, not the machine
    opendoc(dir + "zero", "z");
    typetext("y");
    bool zero = rings("\x17");
    opendoc(dir + "grown", "small");
    typetext("y");
    memorylimit = 16;
    printf("%d %d %d", zero, rings("\x17"), isdirty(cur()));
  });
  EXPECT_EQ(w.out, "1 1 1");
  EXPECT_EQ(fileread(dir + "grown"), "0123456789");
}
