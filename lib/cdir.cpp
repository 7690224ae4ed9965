// The directory bindings: opendir, readdir and closedir over the C library's listing, giving
// programs the language's own 296-byte entry record, read with the memory words.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "core/number.h"
#include "lib/cbind.h"

namespace {
// The entry record a program reads, by offset: d_ino 4 bytes at 0, d_off 4 at 4, d_reclen 2 at 8,
// d_namlen 8 at 16, d_type 4 at 24, d_name 261 at 28. The address of the listing follows it.
constexpr size_t entrysize = 296, listingat = 296;
constexpr uint32_t lastoff = 0x7fffffff;

// Type words of an entry: a device, a directory, a link, and everything else as a plain file.
constexpr uint32_t devicetype = 8192, directorytype = 16384, plaintype = 32768, linktype = 49152;

// The listing behind a record. It always holds the next entry to give out, fetched ahead so that
// each entry given out can carry the hash of the name after it, until the listing is finished.
struct Listing {
  DIR *dir;
  bool finished = false;
  char name[256];
  uint32_t type = 0;
};

uint32_t typeword(unsigned char dtype, DIR *dir, const char *name) {
  if (dtype == DT_UNKNOWN) {
    struct stat st;
    if (fstatat(dirfd(dir), name, &st, AT_SYMLINK_NOFOLLOW) != 0) return plaintype;
    dtype = S_ISDIR(st.st_mode) ? DT_DIR : S_ISLNK(st.st_mode) ? DT_LNK : S_ISCHR(st.st_mode) ? DT_CHR : DT_REG;
  }
  if (dtype == DT_DIR) return directorytype;
  if (dtype == DT_LNK) return linktype;
  if (dtype == DT_CHR || dtype == DT_BLK) return devicetype;
  return plaintype;
}

// Fetches the next entry into the listing; false at the end of the listing.
bool fetch(Listing &l) {
  dirent *e = ::readdir(l.dir);
  if (!e) return false;
  strncpy(l.name, e->d_name, sizeof l.name - 1);
  l.name[sizeof l.name - 1] = 0;
  l.type = typeword(e->d_type, l.dir, e->d_name);
  return true;
}

// The hash of a name: 5381, then times 33 plus each byte, at most 260 bytes, kept to 31 bits.
uint32_t namehash(const char *name) {
  uint32_t h = 5381;
  for (int i = 0; i < 260 && name[i]; i++) h = h * 33 + (unsigned char)name[i];
  return h & lastoff;
}

Listing *&listingof(char *record) { return *(Listing **)(record + listingat); }

template <class T>
void put(char *record, size_t offset, T value) {
  memcpy(record + offset, &value, sizeof value);
}

CellRef opendirectory(const Cargs &a) {
  const char *name = a.p(0);
  if (!name || !*name) {
    errno = ENOENT;
    return fromword(0);
  }
  DIR *dir = ::opendir(name);
  if (!dir) {
    if (errno != EACCES && errno != ENOTDIR) errno = ENOENT;
    return fromword(0);
  }
  char *record = (char *)calloc(1, entrysize + sizeof(Listing *));
  Listing *l = new Listing{dir};
  listingof(record) = l;
  l->finished = !fetch(*l);
  return fromaddress(record);
}

CellRef readdirectory(const Cargs &a) {
  char *record = a.p(0);
  Listing &l = *listingof(record);
  if (l.finished) return fromword(0);
  memset(record, 0, entrysize);
  size_t length = strlen(l.name);
  memcpy(record + 28, l.name, length + 1);
  put<uint64_t>(record, 16, length);
  put<uint32_t>(record, 24, l.type);
  put<uint32_t>(record, 0, 0);
  put<uint16_t>(record, 8, (uint16_t)entrysize);
  l.finished = !fetch(l);
  put<uint32_t>(record, 4, l.finished ? lastoff : namehash(l.name));
  return fromaddress(record);
}

CellRef closedirectory(const Cargs &a) {
  char *record = a.p(0);
  if (!record || !listingof(record)) {
    errno = EBADF;
    return fromword(-1);
  }
  Listing *l = listingof(record);
  ::closedir(l->dir);
  delete l;
  free(record);
  return fromword(0);
}

const Binding dirs[] = {
    {"opendir", "n", opendirectory},
    {"readdir", "n", readdirectory},
    {"closedir", "n", closedirectory},
    {"dirent", "", [](const Cargs &) { return fromword(entrysize); }},
};
}  // namespace

void filldirs(Builtins &table) { fillbindings(table, dirs); }
