// Saving the current document in place with C-w: the file is truncated and rewritten, and the
// saved text becomes the current one. A file that cannot be written leaves the document changed.
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

#include "core/base.h"
#include "edit/commands.h"
#include "edit/editor.h"
#include "edit/save.h"

static bool writeall(int fd, const char *p, size_t n) {
  while (n > 0) {
    ssize_t k = write(fd, p, n);
    if (k < 0 && errno == EINTR) continue;
    if (k <= 0) return false;
    p += k;
    n -= (size_t)k;
  }
  return true;
}

// Writes bytes from..to of the common text, which lies in its buffer on both sides of the gap.
static bool writecommon(int fd, const Common &c, size_t from, size_t to) {
  size_t gap = c.ge - c.gs;
  if (from < c.gs && !writeall(fd, c.buf.data() + from, std::min(to, c.gs) - from)) return false;
  size_t rest = std::max(from, c.gs);
  return rest >= to || writeall(fd, c.buf.data() + rest + gap, to - rest);
}

// The current text straight from head, window and tail, without joining them first.
bool writedoc(const std::string &path, const Doc &d) {
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (fd < 0) return false;
  const Common &c = d.common;
  size_t all = c.buf.size() - (c.ge - c.gs);
  bool ok = writecommon(fd, c, 0, c.split) && writeall(fd, d.now.data(), d.now.size()) &&
            writecommon(fd, c, c.split, all);
  return close(fd) == 0 && ok;
}

bool savedoc() {
  Doc &d = cur();
  if (isclean(d) || curname == scratchname) return true;
  if (!writedoc(curname, d)) return false;
  d.was = d.now;
  settle(d);
  return true;
}

// The scratch document takes C-w silently; a clean file and a failed write ring the bell.
void tolmdocw() {
  plain("C-w", [] { return curname == scratchname || (isdirty(cur()) && savedoc()); });
}
