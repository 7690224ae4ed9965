// The batch runner from the shell: result or message on standard output, the position on
// standard error, and its exit statuses.
#include <gtest/gtest.h>

#include <csignal>

#include "tests/support.h"

static Child tolmrun(const std::string &program) {
  std::string dir = scratchdir();
  writefile(dir + "p", program);
  return runcommand(std::string(TOLMRUN_BIN) + " " + dir + "p");
}

TEST(Runner, ResultsAndFailures) {
  Child ok = tolmrun("2^10");
  EXPECT_EQ(ok.status, 0);
  EXPECT_EQ(ok.out, "1024\n");
  EXPECT_EQ(ok.err, "");
  Child bad = tolmrun("ab,ab\\(1");
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.out, "Match[____f]Right dangling parenthesis.\n");
  EXPECT_EQ(bad.err, "where 6\n");
  Child nowhere = tolmrun("loop,loop\\loop+1");
  EXPECT_EQ(nowhere.status, 1);
  EXPECT_EQ(nowhere.err, "");
  EXPECT_EQ(tolmrun("x{puts(init[hello])}K").out, "hello\nK\n");  // what the program prints comes first
}

// A result that cannot be written is an error of the runner's, whichever way standard output failed.
TEST(Runner, AResultThatCannotBeWrittenFails) {
  std::string dir = scratchdir();
  writefile(dir + "p", "2^10");
  Child full = runcommand(std::string(TOLMRUN_BIN) + " " + dir + "p > /dev/full");
  EXPECT_EQ(full.status, 2);
  EXPECT_EQ(full.err, "tolmrun: standard output: No space left on device\n");
  Child closed = tolmrun("a{fclose stdout}K");
  EXPECT_EQ(closed.status, 2);
  EXPECT_EQ(closed.err, "tolmrun: standard output: Bad file descriptor\n");
}

TEST(Runner, NewlinesOfAResultStayAsTheyAre) {
  EXPECT_EQ(tolmrun("[a\nb]").out, "[ab]\n");  // a newline in the source of a text is layout
  EXPECT_EQ(tolmrun(std::string("[a") + '\0' + "b]").out, "[a\nb]\n");  // the editor's line end is one
}

// Standard input as the program ("-") is read in the tests of the C library's exit and abort.
TEST(Runner, UnreadableFiles) {
  Child missing = runcommand(std::string(TOLMRUN_BIN) + " /nonexistent/program");
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.out, "");
  EXPECT_NE(missing.err.find("/nonexistent/program"), std::string::npos);
}


// The interrupt ends the runner as it ends any program, with nothing printed, also when it reached
// a command the program ran; a run past TOLM_MEMORY stops with the message and status 1.
TEST(Runner, InterruptAndMemoryLimit) {
  std::string dir = scratchdir();
  writefile(dir + "loop", "loop 1,loop\\n\\loop n");
  Child stopped = runcommand("timeout --preserve-status -s INT 0.3 " + std::string(TOLMRUN_BIN) + " " + dir + "loop");
  EXPECT_EQ(stopped.status, 128 + SIGINT);
  EXPECT_EQ(stopped.out, "");
  Child command = tolmrun("x{system (init [kill -INT $$])}K");
  EXPECT_EQ(command.status, 128 + SIGINT);
  EXPECT_EQ(command.out, "");
  writefile(dir + "grow", "upto 0,upto\\n\\K(J n (upto(n+1)))");
  Child grown = runcommand("TOLM_MEMORY=16M " + std::string(TOLMRUN_BIN) + " " + dir + "grow");
  EXPECT_EQ(grown.status, 1);
  EXPECT_EQ(grown.out, "Out of memory\n");
  EXPECT_EQ(grown.err, "");
}
