// Saving the current document in place with C-w. The file keeps its inode, and with it its hard
// links, owner, mode and attributes; a save that fails part way puts the old contents back.
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "core/base.h"
#include "core/halt.h"
#include "edit/commands.h"
#include "edit/editor.h"
#include "edit/rescue.h"
#include "edit/save.h"

bool writeall(int fd, const char *p, size_t n) {
  while (n > 0) {
    ssize_t k = write(fd, p, n);
    if (k < 0 && errno == EINTR) continue;
    if (k <= 0) return false;
    p += k;
    n -= (size_t)k;
  }
  return true;
}

// The text goes out piece by piece as it lies in memory, without being joined first.
bool writetext(int fd, const Doc &d) {
  for (const Run &r : runsof(d, 0, lenof(d)))
    if (!writeall(fd, r.p, (size_t)r.n)) return false;
  return true;
}

// The whole file from its start, without moving its offset.
static bool readold(int fd, std::string &old) {
  char buf[65536];
  for (;;) {
    ssize_t n = pread(fd, buf, sizeof buf, (off_t)old.size());
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) return true;
    old.append(buf, (size_t)n);
  }
}

// The old contents back over what a failed save left, as far as the disk lets them.
static void putback(int fd, const std::string &old) {
  if (lseek(fd, 0, SEEK_SET) == 0 && writeall(fd, old.data(), old.size()) && ftruncate(fd, (off_t)old.size()) == 0)
    fsync(fd);
}

// A file that is there is read before it is overwritten, so that a write cut short by a full
// disk or a quota can be undone; one that was not there is removed again. The text is on the
// disk when this says so.
bool writedoc(const std::string &path, const Doc &d) {
  bool made = false;
  int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0 && (errno == EMFILE || errno == ENFILE) && sparefree()) {  // a program took them all
    bool ok = writedoc(path, d);
    spareopen();
    return ok;
  }
  if (fd < 0 && errno == ENOENT) made = (fd = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666)) >= 0;
  bool blind = fd < 0 && errno == EACCES;  // writable but not readable: nothing to put back
  if (blind) fd = open(path.c_str(), O_WRONLY | O_CLOEXEC);
  if (fd < 0) return false;
  // Only a regular file is written over, and only one whose old contents can be held for the
  // putting back: a device would be read without end, and a file past textmost would
  // end the session for want of memory. Either rings the bell; the document stays unsaved.
  struct stat st;
  if (!made && (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || (uint64_t)st.st_size > textmost())) {
    close(fd);
    return false;
  }
  std::string old;
  if (!made && !blind && !readold(fd, old)) {
    close(fd);
    return false;
  }
  bool ok = writetext(fd, d) && ftruncate(fd, (off_t)lenof(d)) == 0 && fsync(fd) == 0;
  if (!ok && made) unlink(path.c_str());
  else if (!ok && !blind) putback(fd, old);
  return close(fd) == 0 && ok;
}

bool savedoc() {
  Doc &d = cur();
  if (isclean(d) || curname == scratchname) return true;
  if (!writedoc(curname, d)) return false;
  setsaved(d);
  return true;
}

// The scratch document takes C-w silently; a clean file and a failed write ring the bell.
void tolmdocw() {
  plain("C-w", [] { return curname == scratchname || (isdirty(cur()) && savedoc()); });
}
