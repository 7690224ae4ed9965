// An install puts both programs and their manual pages where man finds them, and the pages are
// well-formed.
#include <gtest/gtest.h>

#include <string>

#include "core/file.h"
#include "tests/support.h"

TEST(Install, BothProgramsAndTheirManualPages) {
  std::string build = TOLM_BIN, prefix = scratchdir();
  build = build.substr(0, build.rfind('/'));
  Child install = runcommand("cmake --install '" + build + "' --prefix '" + prefix + "'");
  ASSERT_EQ(install.status, 0) << install.out << install.err;
  EXPECT_TRUE(fileisplain(prefix + "bin/tolm"));
  EXPECT_TRUE(fileisplain(prefix + "bin/tolmrun"));
  if (runcommand("command -v man").status != 0) GTEST_SKIP() << "no man here";
  for (std::string page : {"tolm", "tolmrun"}) {
    Child found = runcommand("MANPATH='" + prefix + "share/man' man -w " + page);
    EXPECT_EQ(found.out, prefix + "share/man/man1/" + page + ".1\n") << found.err;
    Child shown = runcommand("MANWIDTH=80 man --warnings -l '" + prefix + "share/man/man1/" + page + ".1'");
    EXPECT_EQ(shown.err, "") << page;
    EXPECT_NE(shown.out.find("SYNOPSIS"), std::string::npos) << page;
  }
}
