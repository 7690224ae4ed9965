// Rescue copies: their names and folder, which documents are written and how, copies that never
// overwrite one another, the ways out that write them, and a folder that cannot be written.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <csignal>

#include "core/base.h"
#include "core/file.h"
#include "core/halt.h"
#include "edit/rescue.h"
#include "edit/signals.h"
#include "tests/edit/edittest.h"

using Rescue = EditorTest<40, 6>;

static int modeof(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 ? (int)(st.st_mode & 0777) : -1;
}

TEST(RescueNames, StemsTimesAndFolders) {
  EXPECT_EQ(rescuestem("/home/ann/notes.txt"), "%home%ann%notes.txt");
  EXPECT_EQ(rescuestem(scratchname), "scratch");
  std::string longest = rescuestem("/" + std::string(300, 'd') + "/end.txt");
  EXPECT_EQ(longest, std::string(192, 'd') + "%end.txt");  // the end of the path, within a name's length
  char name[rescuenamemax];
  const std::tuple<const char *, int64_t, int, const char *> names[] = {
      {"%a%b", 0, 1, "%a%b.19700101T000000"},
      {"scratch", 951827696, 2, "scratch.20000229T123456-2"},  // a leap day
      {"x", -1, 99, "x.19691231T235959-99"},
  };
  for (const auto &[stem, seconds, n, want] : names) {
    rescuename(name, stem, seconds, n);
    EXPECT_STREQ(name, want);
  }
  EXPECT_EQ(rescuefolder("/st/", "/home/ann/"), "/st/tolm/rescue/");
  EXPECT_EQ(rescuefolder("relative", "/home/ann/"), "/home/ann/.local/state/tolm/rescue/");
  EXPECT_EQ(rescuefolder(nullptr, "/"), "/.local/state/tolm/rescue/");
}

// The folder is made on the way and private; a closed document is no longer read; the scratch
// document is kept when it holds anything; a later rescue writes beside the earlier copies.
TEST_F(Rescue, CopiesGoBesideEachOtherIntoAPrivateFolder) {
  std::string dir = scratchdir(), folder = dir + "state/tolm/rescue/";
  insertbyte(opendoc("/r/gone", "text"), 'y');
  press("\x1b" "c");
  insertbyte(opendoc("/r/doc", "text"), 'x');
  rescueready();
  EXPECT_EQ(rescuewrite(folder.c_str()).kept, 1);
  insertbyte(docs[scratchname], 's');
  rescueready();
  EXPECT_EQ(rescuewrite(folder.c_str()).kept, 2);
  std::string copies = runcommand("cd " + folder + " && export LC_ALL=C; for f in *; do printf '%s=' \"${f%%.*}\"; cat \"$f\"; done").out;
  EXPECT_EQ(copies, "%r%doc=xtext%r%doc=xtextscratch=s");
  EXPECT_EQ(runcommand("stat -c %a " + folder + "scratch.*").out, "600\n");
  EXPECT_EQ(modeof(folder), 0700);
  EXPECT_EQ(modeof(dir + "state"), 0700);
}

// Each way out writes the copies once, after the stop's own output; a folder that cannot be made
// loses them but not the stop's line. During a run the interrupt only halts it, until a third
// press that the run has not answered.
TEST_F(Rescue, WaysOutWriteTheCopiesOnceAfterTheirOwnOutput) {
  std::string dir = scratchdir(), kept = "tolm: 1 unsaved documents kept in " + dir + "tolm/rescue/\n";
  insertbyte(opendoc("/r/doc", "text"), 'x');
  writefile(dir + "file", "");
  setenv("XDG_STATE_HOME", (dir + "file").c_str(), 1);
  int line = __LINE__ + 1;
  Child lost = runchild([] { signalsinstall(), must(false); });
  EXPECT_EQ(lost.status, 128 + SIGABRT);
  EXPECT_EQ(lost.err, "ASSERTION FAILED:v:" + std::to_string(line) + "\ntolm: 1 unsaved documents could not be kept in " +
                          dir + "file/tolm/rescue/\n");
  setenv("XDG_STATE_HOME", dir.c_str(), 1);
  Child pressed = runchild([] {
    signalsinstall();
    runopen();
    raise(SIGINT);
    raise(SIGINT);
    printf("%d", (int)runhalt);
    fflush(stdout);
    raise(SIGINT);
  });
  EXPECT_EQ(pressed.out, "1");
  EXPECT_EQ(pressed.status, 128 + SIGINT);
  EXPECT_EQ(pressed.err, kept);
  // Last, since exit also runs the tests' own cleanup, which takes the scratch folders away.
  Child exited = runchild([] { signalsinstall(), exit(3); });
  unsetenv("XDG_STATE_HOME");
  EXPECT_EQ(exited.status, 3);
  EXPECT_EQ(exited.err, kept);
}
