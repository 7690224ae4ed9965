// Loading program text at run time: results, nesting and its bound, every refusal as Z with the
// definition table as it was, the same name in two loads, and a failed nested run that stops the
// outer one.
#include <gtest/gtest.h>

#include "core/file.h"
#include "core/halt.h"
#include "core/tables.h"
#include "lib/builtins.h"
#include "tests/lib/libtest.h"

TEST(Load, RunsTheTextAgainstTheProgram) {
  expectprinted({{"load [outer 5],outer\\x\\K x", "K5"},  // the program's own definitions are there
                 {"load [word 3,word\\value\\value]", "3"},  // word locals become letters
                 {"s{strdup (init [K 5 6])}r{load s}x{free s}r", "5"}, {"load (init [K 5 6])", "5"}},  // C string, post
                true);
}

TEST(Load, Nests) {
  EXPECT_EQ(ran("load [gg 1,gg\\x\\load [hh 5 2,hh\\a\\b\\a]]"), "5");
  // The inner load sees the definitions of the load around it.
  EXPECT_EQ(ran("load [K (load [gg 7]) gg,gg\\x\\x]"), "7");
}

TEST(Load, TwoLoadsOfOneNameInARow) {
  EXPECT_EQ(ranhere("V (load [ww 1,ww\\x\\x]) (load [ww 2,ww\\x\\x])"), "(V1 2)");
  EXPECT_EQ(deftable().count("ww"), 0u);
  EXPECT_TRUE(loadednames().empty());
}

TEST(Load, EveryRefusalIsZ) {
  const char *refused[] = {
      "load K",                     // no text
      "load (x\\x)",                // a function
      "load [(1]",                  // brackets that do not match
      "load [1,K\\2]",              // a prelude name
      "load [1,plus\\2]",           // a built-in
      "load [1,x\\2]",              // a letter
      "load [nothere]",             // an undefined name
      "load [ww 1,ww\\x\\y]",       // a free letter
      "load [ww,ww\\a\\b\\c\\d\\e\\f\\g\\h\\i\\j\\k\\a]",  // eleven parameters
      "load [ww,ww\\aa\\ab\\ac\\ad\\ae\\af\\ag\\ah\\ai\\aj\\ak\\al\\am\\an\\ao\\ap\\aq\\ar\\as\\at\\au\\av\\aw\\ax\\ay\\az\\ba\\K]",
  };
  for (const char *text : refused) {
    EXPECT_EQ(ranhere(std::string(text) + ",outer\\1"), "Z") << text;
    EXPECT_TRUE(loadednames().empty()) << text;
    EXPECT_EQ(deftable().count("ww"), 0u) << text;
  }
  EXPECT_EQ(ran("load [ww 1 2 3 4 5 6 7 8 9 0,ww\\a\\b\\c\\d\\e\\f\\g\\h\\i\\j\\a]"), "1");  // ten pass
}

TEST(Load, AFailedRunStopsTheProgram) {
  EXPECT_EQ(ran("load [cc,cc\\cc+1]"), "Cycle detected on function [cc].");
  EXPECT_EQ(ran("load [ww,ww\\x\\x] 5"),
            "Table error while dereferencing the [ww] variable. This only occurs when you define a function in a load "
            "and use it again outside the load.");
}

// A load that loads itself without end stops as for memory once the C stack runs short, and the
// process goes on: the run after it works, with the table as it was.
TEST(Load, EndlessNestingStopsTheRunBeforeTheStackEnds) {
  EXPECT_EQ(ranhere("go 0,go\\n\\load [go 0]"), "Out of memory");
  runhalt = 0;
  EXPECT_TRUE(loadednames().empty());
  EXPECT_EQ(ran("load [gg 1,gg\\x\\load [hh 5 2,hh\\a\\b\\a]]"), "5");
}

// The run around an interrupted load ends before its next step, and the load's definitions leave
// the table on the way out.
TEST(Load, AnInterruptStopsTheLoadAndTheRunAroundIt) {
  std::string dir = scratchdir();
  interruptafter(200);
  EXPECT_EQ(ranhere("r{load [lp 1,lp\\n\\lp n]}x{system (init [touch " + dir + "after])}r"), "Interrupted");
  runhalt = 0;
  EXPECT_TRUE(loadednames().empty());
  EXPECT_FALSE(fileisplain(dir + "after"));
}
