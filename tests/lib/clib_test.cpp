// The C library bindings run from programs, family by family, each case a program and what it
// prints; then the rows whose declared arity is short, the process, and files written and read.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <sys/select.h>
#include <unistd.h>

#include "core/file.h"
#include "core/halt.h"
#include "lib/builtins.h"
#include "tests/lib/libtest.h"

namespace {
std::string addressof(const void *p) { return std::to_string((uintptr_t)p); }
}  // namespace

TEST(CLibrary, StringsOnTextsAndPosts) {
  expectprinted({
      {"strspn [aab] [[a]]", "3"},                          // the set holds the brackets too
      {"strlen (strtok (strdup [one]) [])", "3"},           // the brackets are the delimiters
      {"strcmp [a] [z]", "01"},                             // exactly one step, not the distance
      {"strcmp [\xc3] [a]", "1"},                           // bytes compare unsigned
      {"strcmp (init [a]) [a]", "1"},                       // "a" against "[a]"
      {"p{calloc 1 16}q{strcpy p (init [ab])}r{strcat p [cd]}V (p-q) (V (r-p) (strlen p))", "(V0 (V0 6))"},
      {"d{calloc 1 8}x{strncpy d (strdup (init [ab])) 3}strlen d", "2"},
  }, true);
}

TEST(CLibrary, ConversionsClassesAndMaths) {
  expectprinted({
      {"isascii 01", "K"},  // a negative value counts as ascii
      {"V (isalpha 97) (isdigit 97)", "VKH"},
      {"atoi (init [-12])", "012"},
      {"atoi [12]", "0"},  // the bracket stops the digits
      {"strtod (init [2.5]) 0", "real[2.500000e+00]"},  // no end pointer
      {"abs 09223372036854775808", "09223372036854775808"},  // the most negative word stays
      {"sqrt 4", "Z"},                                   // reals only
      {"sqrt (real 4)", "real[2.000000e+00]"},
      {"p{malloc 4}x{frexp (real 8) p}V x (gets p)", "(V real[5.000000e-01] 4)"},
  }, true);
}

TEST(CLibrary, MemoryRoundTrips) {
  expectprinted({
      {"p{calloc 1 8}x{copy (init [hi]) p}q{strdup p}y{free p}strcmp q (init [hi])", "0"},
      {"p{malloc 8}x{setw p 7}y{bzero p 0}getw p", "7"},  // zero writes nothing
      {"p{malloc 8}x{setw p 7}y{bzero p 8}getw p", "0"},
      {"p{malloc 8}bzero p 01", "Z"},
      {"a{strdup (init [abcd])}b{calloc 1 8}c{memcpy b a 4}V (memcmp a b 4) (strlen b)", "(V0 4)"},
      {"a{strdup (init [abc])}(memchr a 99 3) - a", "2"},
  }, true);
}

// Blocks from the C allocator count with the terms against the memory limit: past it the call
// gives a null pointer and the run halts. What is freed, or given back by realloc, counts no more;
// what a run keeps counts against the next. In a child, since some blocks are kept on purpose.
TEST(CLibrary, AllocationsCountAgainstTheMemoryLimit) {
  Child c = runchild([] {
    uint64_t before = mallocheld;
    memorylimit = memoryheld() + (64 << 20);
    auto run = [](const char *text) {  // a halted run leaves its flag for the caller, as the editor's
      std::string printed = ranhere(text);
      runhalt = 0;
      return printed + "|";
    };
    std::string out = run("p{malloc 100000000}p") + run("p{calloc 10000 10000}p");
    out += run("calloc 4294967296 4294967296");  // the size does not fit a word
    out += run("go 100,go\\n\\(n=0)0(p{malloc 1000000}q{realloc p 3000000}r{free q}go(n-1))");
    out += run("p{strdup (init [abc])}q{realloc p 0}0");
    out += std::to_string(mallocheld - before) + "|";
    out += run("p{malloc 1000}q{realloc p 100000000}q");  // p stays, and counts
    out += run("p{malloc 40000000}0");
    out += std::to_string(mallocheld - before >= 40000000) + "|";
    printf("%s%s", out.c_str(), run("p{malloc 40000000}0").c_str());
  });
  EXPECT_EQ(c.out, "Out of memory|Out of memory|0|0|0|0|Out of memory|0|1|Out of memory|");
}

// strtol and strtoul read three arguments from rows that declare two, and fd_set two from a row
// that declares none: from a program they end in the assertion of the argument reader.
TEST(CLibrary, RowsThatReadMoreThanTheyDeclare) {
  for (const char *program : {"strtol (init [1]) 0 10", "fd_set"}) {
    Child c = ranlimited(program);
    EXPECT_EQ(c.status, 128 + SIGABRT) << program;
    EXPECT_NE(c.err.find("ASSERTION FAILED:l:"), std::string::npos) << program;
  }
  ranhere("0");  // the tables in place for the direct calls
  auto call = [](const std::string &app) { return celltext(builtins().at(app.substr(0, app.find(' '))).run(sexp(app))); };
  EXPECT_EQ(call("strtol " + addressof("-15") + " 0 10"), "015");
  EXPECT_EQ(call("strtoul " + addressof("99999999999999999999") + " 0 10"), "9223372036854775807");  // strtol's limit
  fd_set set;
  FD_ZERO(&set);
  EXPECT_EQ(call("fd_set 5 " + addressof(&set)), "I");
  EXPECT_TRUE(FD_ISSET(5, &set) && !FD_ISSET(4, &set));
}

TEST(CLibrary, Process) {
  setenv("[TOLMTEST]", "hello", 1);  // a text names the variable with its brackets
  srand(7);
  std::string first = std::to_string(rand());
  expectprinted({
      {"strlen (getenv [TOLMTEST])", "5"},
      {"system (init [exit 3])", "768"},
      {"x{srand 7}rand", first},
      {"x{remove (init [/nonexistent/tolm])}V x errno", "(V01 2)"},
      {"exit [3]", "Z"},
  }, true);
  std::string runner = std::string(TOLM_BIN).substr(0, std::string(TOLM_BIN).rfind('/')) + "/tolmrun -";
  EXPECT_EQ(runcommand("printf 'exit 3' | " + runner).status, 3);
  EXPECT_EQ(runcommand("printf abort | " + runner).status, 128 + SIGABRT);
}

// A blocking call returns with EINTR when the interrupt comes, and the run stops at its next step;
// a command that the interrupt ended stops the run too, since system holds the signal off us.
TEST(CLibrary, InterruptedCallsStopTheRun) {
  Child c = runchild([] {
    int fds[2];
    if (pipe(fds) != 0 || dup2(fds[0], 0) != 0) _exit(1);  // the writer stays open: the read waits
    interruptafter(200);
    fputs(ranhere("x{read 0 (malloc 8) 8}x").c_str(), stdout);
  });
  EXPECT_EQ(c.out, "Interrupted");
  EXPECT_EQ(ranhere("x{system (init [kill -INT $$])}K"), "Interrupted");
  runhalt = 0;
}

TEST(CLibrary, WriteAFileAndReadItBack) {
  std::string dir = scratchdir();
  expectprinted({
      {filled("f{fopen (init [@D@note]) (init [w])}b{calloc 1 64}c{copy (init [one[p]two]) b}x{fputs b f}fclose f",
              "D", dir),
       "0"},
      {filled("f{fopen (init [@D@note]) (init [r])}b{calloc 1 64}x{fgets b 64 f}y{fclose f}strcmp b (init [one[p]])",
              "D", dir),
       "0"},  // one line with its newline
      {filled("fopen (init [@D@missing]) (init [r])", "D", dir), "0"},
      {"fopen [x] [r]", "0"},  // a text names the file "[x]", with the mode "[r]"
  }, true);
  ASSERT_TRUE(fileisplain(dir + "note"));
  EXPECT_EQ(fileread(dir + "note"), "one\ntwo");
}
