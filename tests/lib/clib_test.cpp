// The C library bindings run from programs: strings on texts and posts, conversions and classes,
// maths, memory, the process and its constants, the rows whose declared arity is short, files.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <sys/select.h>

#include "core/file.h"
#include "lang/program.h"
#include "lib/builtins.h"
#include "tests/lib/libtest.h"

namespace {
std::string addressof(const void *p) { return std::to_string((uintptr_t)p); }

// A negative integer prints with a leading 0 before its digits.
bool negative(const std::string &printed) { return printed.size() > 1 && printed[0] == '0'; }
}  // namespace

TEST(CStrings, TextsGoWithTheirBrackets) {
  EXPECT_EQ(ran("strlen [abc]"), "5");
  EXPECT_EQ(ran("strnlen [abcdef] 3"), "3");
  EXPECT_EQ(ran("strspn [aab] [[a]]"), "3");  // the set holds the brackets too
  EXPECT_EQ(ran("strlen (strstr [a[b]c] [b])"), "5");
  EXPECT_EQ(ran("strlen (strtok (strdup [one]) [])"), "3");  // the brackets are the delimiters
  EXPECT_EQ(ran("s{strdup [abab]}strlen (strrchr s 98)"), "2");
  EXPECT_EQ(ran("s{strdup [abab]}strlen (strchr s 98)"), "4");
  EXPECT_EQ(ran("strcasecmp [ABC] [abc]"), "0");
  EXPECT_EQ(ran("strncmp [abc] [abd] 3"), "0");
  EXPECT_TRUE(negative(ran("strncmp [abc] [abd] 4")));
  EXPECT_EQ(ran("strncpy (malloc 8) [ab] 3"), "Z");  // only addresses
}

TEST(CStrings, OwnCompareGivesExactlyOneStepOnUnsignedBytes) {
  EXPECT_EQ(ran("strcmp [a] [z]"), "01");
  EXPECT_EQ(ran("strcmp [z] [a]"), "1");
  EXPECT_EQ(ran("strcmp [ab] [ab]"), "0");
  EXPECT_EQ(ran("strcmp [a] [ab]"), "01");  // "]" against "b"
  EXPECT_EQ(ran("strcmp [\xc3] [a]"), "1");  // a byte above 127 is large
}

TEST(CStrings, OwnCopyAndAppendGiveTheDestination) {
  std::string out = ran("p{calloc 1 16}q{strcpy p [ab]}r{strcat p [cd]}V (V p q) (V r (strlen p))");
  size_t open = out.find("(V (V");
  ASSERT_EQ(open, 0u) << out;
  std::string p = out.substr(5, out.find(' ', 5) - 5);
  EXPECT_EQ(out, "(V (V" + p + " " + p + ") (V" + p + " 8))");
  EXPECT_EQ(ran("p{calloc 1 16}q{strcpy p [ab]}r{strcat p [cd]}strncmp p [ab] 4"), "0");
}

TEST(CStrings, PostsGoWithoutBrackets) {
  EXPECT_EQ(ran("strlen (init [abc])"), "3");
  EXPECT_EQ(ran("strcmp (init [a]) [a]"), "1");  // "a" against "[a]"
  EXPECT_EQ(ran("strcmp (init [a]) (init [a])"), "0");
  EXPECT_EQ(ran("atoi (init [012])"), "12");
  EXPECT_EQ(ran("atoi [12]"), "0");
}

TEST(CConversions, ClassesAndCases) {
  EXPECT_EQ(ran("isascii 01"), "K");  // a negative value counts as ascii
  EXPECT_EQ(ran("isascii 128"), "H");
  EXPECT_EQ(ran("isascii 127"), "K");
  EXPECT_EQ(ran("isalpha 97"), "K");
  EXPECT_EQ(ran("isdigit 97"), "H");
  EXPECT_EQ(ran("isspace 32"), "K");
  EXPECT_EQ(ran("isupper 97"), "H");
  EXPECT_EQ(ran("toascii 200"), "72");
  EXPECT_EQ(ran("toupper 97"), "65");
  EXPECT_EQ(ran("tolower 65"), "97");
  EXPECT_EQ(ran("isalpha [a]"), "Z");
  EXPECT_EQ(ran("atoi (strtok (strdup [-12]) [])"), "012");
  EXPECT_EQ(ran("atof (strtok (strdup [2.25]) [])"), "real[2.250000e+00]");
  EXPECT_EQ(ran("strtod (strtok (strdup [2.5]) []) 0"), "real[2.500000e+00]");  // no end pointer
}

TEST(CConversions, AbsoluteValuesInSixtyFourBits) {
  EXPECT_EQ(ran("abs 05"), "5");
  EXPECT_EQ(ran("labs 07"), "7");
  EXPECT_EQ(ran("abs 4294967296"), "4294967296");
  EXPECT_EQ(ran("abs 09223372036854775808"), "09223372036854775808");  // the most negative word
  EXPECT_EQ(ran("abs [1]"), "Z");
}

// strtol and strtoul read three arguments from rows that declare two: from a program they end in
// the assertion of the argument reader, and given three they parse, strtoul through strtol.
TEST(CConversions, StrtolRowsReadAThirdArgument) {
  Child c = runchild([] { ran("strtol [1] 0 10"); });
  EXPECT_EQ(c.status, 134);
  EXPECT_NE(c.err.find("ASSERTION FAILED:l:"), std::string::npos);
  ran("0");  // tables in place for the direct calls
  auto call = [](const char *name, const char *text) {
    return celltext(builtins().at(name).run(sexp(std::string(name) + " " + addressof(text) + " 0 10")));
  };
  EXPECT_EQ(call("strtol", "-15"), "015");
  EXPECT_EQ(call("strtoul", "-1"), "18446744073709551615");
  EXPECT_EQ(call("strtoul", "99999999999999999999"), "9223372036854775807");  // strtol's limit
}

TEST(CMaths, RealsOnly) {
  std::string two = "(atof (strtok (strdup [2]) []))";
  EXPECT_EQ(ran("sqrt 4"), "Z");
  EXPECT_EQ(ran("sqrt (atof (strtok (strdup [2.25]) []))"), "real[1.500000e+00]");
  EXPECT_EQ(ran("pow " + two + " " + two), "real[4.000000e+00]");
  EXPECT_EQ(ran("pow " + two + " 10"), "Z");
  EXPECT_EQ(ran("ldexp " + two + " 3"), "real[1.600000e+01]");
  EXPECT_EQ(ran("hypot (ldexp " + two + " 01) 01"), "Z");
}

TEST(CMaths, ResultsThroughAddresses) {
  EXPECT_EQ(ran("sqrt (real 4)"), "real[2.000000e+00]");
  EXPECT_EQ(ran("p{malloc 4}x{frexp (real 8) p}V x (gets p)"), "(Vreal[5.000000e-01] 4)");
  EXPECT_EQ(ran("p{malloc 8}x{modf (ldexp (real 5) 01) p}V x (getz p)"), "(Vreal[5.000000e-01] 4611686018427387904)");
}

TEST(CMemory, RawMemory) {
  EXPECT_EQ(ran("p{malloc 8}bzero p 0"), "I");
  EXPECT_EQ(ran("p{malloc 8}bzero p 01"), "Z");
  EXPECT_EQ(ran("p{calloc 4 4}strlen p"), "0");
  EXPECT_EQ(ran("p{strdup [ab]}q{realloc p 64}strlen q"), "4");
  EXPECT_EQ(ran("a{strdup [abcd]}b{calloc 1 8}c{memcpy b a 6}V (memcmp a b 6) (strlen b)"), "(V0 6)");
  EXPECT_EQ(ran("a{strdup [abc]}strlen (memchr a 99 5)"), "2");
  EXPECT_EQ(ran("a{strdup [abc]}b{memset a 120 2}strchr b 91"), "0");  // the [ is overwritten
  EXPECT_EQ(ran("s{strdup [x]}free s"), "I");
}

TEST(CMemory, RoundTripsThroughTheMemoryWords) {
  EXPECT_EQ(ran("p{malloc 8}x{setu p 4000000000}getu p"), "4000000000");
  EXPECT_EQ(ran("p{malloc 8}x{setu p 4000000000}gets p"), "0294967296");
  EXPECT_EQ(ran("p{malloc 8}x{copy (init [hi]) p}y{setx (p + 2) 0}q{strdup p}z{free p}strcmp q (init [hi])"), "0");
  EXPECT_EQ(ran("p{calloc 1 8}x{setw p 1}y{bzero p 8}getw p"), "0");
}

TEST(CProcess, EnvironmentCommandsAndRandomNumbers) {
  setenv("[TOLMTEST]", "hello", 1);  // a text names the variable with its brackets
  EXPECT_EQ(ran("strlen (getenv [TOLMTEST])"), "5");
  EXPECT_EQ(ran("getenv [TOLMNOTSET]"), "0");
  EXPECT_EQ(ran("system (strtok (strdup [exit 3]) [])"), "768");
  srand(7);
  int first = rand(), second = rand();
  EXPECT_EQ(ran("x{srand 7}V rand rand"), "(V" + std::to_string(first) + " " + std::to_string(second) + ")");
  EXPECT_EQ(ran("rand_max"), std::to_string(RAND_MAX));
  EXPECT_EQ(ran("time_t"), "8");
  EXPECT_EQ(runchild([] { ran("exit 3"); }).status, 3);
  EXPECT_EQ(ran("exit [3]"), "Z");
  EXPECT_EQ(runchild([] { ran("abort"); }).status, 128 + SIGABRT);
}

TEST(CProcess, ErrorConstantsArePlatformValues) {
  const std::pair<const char *, int> constants[] = {
      {"eacces", EACCES}, {"ebadf", EBADF},   {"econnaborted", ECONNABORTED}, {"efault", EFAULT},
      {"eintr", EINTR},   {"einval", EINVAL}, {"eio", EIO},                   {"emfile", EMFILE},
      {"enfile", ENFILE}, {"enodev", ENODEV}, {"enomem", ENOMEM},             {"enotsock", ENOTSOCK},
      {"enxio", ENXIO},   {"eopnotsupp", EOPNOTSUPP}, {"eoverflow", EOVERFLOW}, {"ewouldblock", EWOULDBLOCK},
  };
  for (const auto &[name, value] : constants) EXPECT_EQ(ran(name), std::to_string(value)) << name;
  EXPECT_EQ(ran("x{remove (strtok (strdup [/nonexistent/tolm]) [])}V x errno"), "(V01 2)");
}

TEST(CFiles, WriteAFileAndReadItBack) {
  std::string dir = scratchdir();
  std::string write = "f{fopen (init [@DIR@note.txt]) (init [w])}b{calloc 1 64}"
                      "c{copy (init [first line[p]second]) b}x{fputs b f}fclose f";
  EXPECT_EQ(ran(filled(write, "DIR", dir)), "0");
  ASSERT_TRUE(fileisplain(dir + "note.txt"));
  EXPECT_EQ(fileread(dir + "note.txt"), "first line\nsecond");
  std::string read = "f{fopen (init [@DIR@note.txt]) (init [r])}b{calloc 1 64}x{fgets b 64 f}y{fclose f}"
                     "V (strlen b) (strcmp b (init [first line[p]]))";
  EXPECT_EQ(ran(filled(read, "DIR", dir)), "(V11 0)");  // the first line with its newline
  EXPECT_EQ(ran(filled("fopen (init [@DIR@missing]) (init [r])", "DIR", dir)), "0");
  EXPECT_EQ(ran("fopen [x] [r]"), "0");  // a text names the file "[x]" with the mode "[r]"
}

// fd_set declares no arguments and reads two: from a program it ends in the assertion of the
// argument reader; given both it puts the descriptor into the set.
TEST(CFiles, DescriptorSetInsertion) {
  EXPECT_EQ(runchild([] { ran("fd_set"); }).status, 134);
  ran("0");
  fd_set set;
  FD_ZERO(&set);
  EXPECT_EQ(celltext(builtins().at("fd_set").run(sexp("fd_set 5 " + addressof(&set)))), "I");
  EXPECT_TRUE(FD_ISSET(5, &set));
  EXPECT_FALSE(FD_ISSET(4, &set));
}
