// The directory bindings over a directory made by the test: the entry record at its offsets, each
// name listed once, the end that stays the end, and the errors of opening and closing.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sys/stat.h>
#include <vector>

#include "tests/lib/libtest.h"

namespace {
struct Entry {
  std::string name;
  uint32_t ino, off, type;
  uint16_t reclen;
  uint64_t namlen;
};

template <class T>
T at(uint64_t record, size_t offset) {
  T v;
  memcpy(&v, (const char *)(uintptr_t)record + offset, sizeof v);
  return v;
}

Entry entryat(uint64_t r) {
  return Entry{(const char *)(uintptr_t)r + 28, at<uint32_t>(r, 0), at<uint32_t>(r, 4), at<uint32_t>(r, 24),
               at<uint16_t>(r, 8), at<uint64_t>(r, 16)};
}

uint32_t namehash(const std::string &name) {
  uint32_t h = 5381;
  for (unsigned char c : name) h = h * 33 + c;
  return h & 0x7fffffff;
}

// A directory with a file, a longer file name and a subdirectory.
std::string madedir() {
  std::string dir = scratchdir();
  writefile(dir + "a", "1");
  writefile(dir + "bb", "22");
  mkdir((dir + "sub").c_str(), 0700);
  return dir;
}
}  // namespace

TEST(CDirectories, RecordsAtTheirOffsets) {
  std::string dir = madedir();
  std::string handle = ran("opendir (strtok (strdup [" + dir + "]) [])");
  ASSERT_NE(handle, "0");
  std::vector<Entry> seen;
  for (int i = 0; i < 10; i++) {
    std::string r = ran("readdir " + handle);
    if (r == "0") break;
    EXPECT_EQ(r, handle);  // the same record each time
    seen.push_back(entryat(std::stoull(r)));
  }
  ASSERT_EQ(seen.size(), 5u);
  EXPECT_EQ(ran("readdir " + handle), "0");  // the end stays the end
  std::vector<std::string> names;
  for (size_t i = 0; i < seen.size(); i++) {
    const Entry &e = seen[i];
    names.push_back(e.name);
    EXPECT_EQ(e.ino, 0u);
    EXPECT_EQ(e.reclen, 296);
    EXPECT_EQ(e.namlen, e.name.size());
    uint32_t kind = e.name == "sub" || e.name == "." || e.name == ".." ? 16384 : 32768;
    EXPECT_EQ(e.type, kind) << e.name;
    EXPECT_EQ(e.off, i + 1 < seen.size() ? namehash(seen[i + 1].name) : 0x7fffffffu) << e.name;
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".", "..", "a", "bb", "sub"}));
  EXPECT_EQ(ran("closedir " + handle), "0");
}

TEST(CDirectories, OpenAndCloseFailures) {
  std::string dir = madedir();
  EXPECT_EQ(ran("x{closedir 0}V x errno"), "(V01 9)");
  EXPECT_EQ(ran("x{opendir 0}V x errno"), "(V0 2)");
  EXPECT_EQ(ran("x{opendir (strtok (strdup []) [])}V x errno"), "(V0 2)");  // an empty name
  EXPECT_EQ(ran("x{opendir (strtok (strdup [/nonexistent/tolm]) [])}V x errno"), "(V0 2)");
  EXPECT_EQ(ran("x{opendir (strtok (strdup [" + dir + "a]) [])}V x errno"), "(V0 20)");
  EXPECT_EQ(ran("opendir [" + dir + "]"), "Z");  // a text is no address
  EXPECT_EQ(ran("p{calloc 1 304}x{closedir p}V x errno"), "(V01 9)");  // a record with no listing
}

// The whole listing in the language: each name read out of the record with the memory words.
TEST(CDirectories, ListingInAProgram) {
  std::string dir = madedir();
  std::string program = filled(
      "d{opendir (init [@DIR@])}s{each d}a{readdir d}b{readdir d}c{closedir d}V s (V a (V b c)),"
      "each\\d\\r{readdir d}(r=0)[](str(r+28)+[/]+each(d)),"
      "str\\p\\c{getx p}(c=0)[](rows(c)+str(p+1))",
      "DIR", dir);
  std::string out = ran(program);
  ASSERT_EQ(out.substr(0, 3), "(V[") << out;
  size_t close = out.find(']');
  EXPECT_EQ(out.substr(close), "] (V0 (V0 0)))");
  std::vector<std::string> names;
  std::string list = out.substr(3, close - 3);
  for (size_t start = 0, slash; (slash = list.find('/', start)) != std::string::npos; start = slash + 1)
    names.push_back(list.substr(start, slash - start));
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::string>{".", "..", "a", "bb", "sub"}));
}
