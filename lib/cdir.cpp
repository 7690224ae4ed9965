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
#include "lib/layout.h"

namespace {
// The entry record a program reads is a direntry; the address of the listing follows it.
constexpr size_t entrysize = sizeof(direntry), listingat = sizeof(direntry);
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
  size_t n = strnlen(e->d_name, sizeof l.name - 1);
  memcpy(l.name, e->d_name, n);
  l.name[n] = 0;
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
  direntry *e = (direntry *)record;
  size_t length = strlen(l.name);
  memcpy(e->d_name, l.name, length + 1);
  e->d_namlen = length;
  e->d_type = l.type;
  e->d_ino = 0;
  e->d_reclen = (uint16_t)entrysize;
  l.finished = !fetch(l);
  e->d_off = l.finished ? lastoff : namehash(l.name);
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
