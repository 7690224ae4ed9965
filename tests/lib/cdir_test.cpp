// The directory bindings over a directory made by the test: the entry record at its offsets, each
// name listed once, the end that stays the end, and the errors of opening and closing. The
// chapter's listing example reads the names in a program.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sys/stat.h>

#include "tests/lib/libtest.h"

namespace {
template <class T>
T at(const std::string &record, size_t offset) {
  T v;
  memcpy(&v, (const char *)(uintptr_t)std::stoull(record) + offset, sizeof v);
  return v;
}

uint32_t namehash(const std::string &name) {
  uint32_t h = 5381;
  for (unsigned char c : name) h = h * 33 + c;
  return h & 0x7fffffff;
}
}  // namespace

TEST(CDirectories, EachNameOnceInItsRecord) {
  std::string dir = scratchdir();
  writefile(dir + "a", "1");
  writefile(dir + "bb", "22");
  mkdir((dir + "sub").c_str(), 0700);
  std::string handle = ranhere("n{strdup (init [" + dir + "])}d{opendir n}x{free n}d"), r;
  std::vector<std::string> names;
  std::vector<uint32_t> offs;
  while ((r = ranhere("readdir " + handle)) != "0" && names.size() < 9) {
    ASSERT_EQ(r, handle);  // one record, filled anew each time
    std::string name = (const char *)(uintptr_t)std::stoull(r) + 28;
    names.push_back(name);
    offs.push_back(at<uint32_t>(r, 4));
    EXPECT_EQ(at<uint32_t>(r, 0) + at<uint16_t>(r, 8), 296u);  // d_ino 0, d_reclen 296
    EXPECT_EQ(at<uint64_t>(r, 16), name.size());
    EXPECT_EQ(at<uint32_t>(r, 24), name == "a" || name == "bb" ? 32768u : 16384u) << name;
  }
  EXPECT_EQ(ranhere("readdir " + handle), "0");  // the end stays the end
  for (size_t i = 0; i < names.size(); i++)
    EXPECT_EQ(offs[i], i + 1 < names.size() ? namehash(names[i + 1]) : 0x7fffffffu);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".", "..", "a", "bb", "sub"}));
  EXPECT_EQ(ranhere("closedir " + handle), "0");
}

TEST(CDirectories, OpenAndCloseFailures) {
  std::string dir = scratchdir();
  writefile(dir + "a", "1");
  for (const auto &[program, printed] : std::vector<std::pair<std::string, std::string>>{
           {"x{closedir 0}V x errno", "(V01 9)"},
           {"p{calloc 1 304}x{closedir p}V x errno", "(V01 9)"},  // a record with no listing
           {"x{opendir (strdup (init []))}V x errno", "(V0 2)"},
           {"x{opendir (strdup (init [/nonexistent/tolm]))}V x errno", "(V0 2)"},
           {"x{opendir (strdup (init [" + dir + "a]))}V x errno", "(V0 20)"},
           {"opendir (init [" + dir + "])", "Z"},  // a post is no address
       })
    EXPECT_EQ(ran(program), printed) << program;
}
