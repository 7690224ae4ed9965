// Run-time base: start-up, the debug log, the fatal stop and the assertion path.
// The log has no levels and no time stamps; it is appended to as it stands.
#include "core/base.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <unistd.h>

#include "core/file.h"
#include "core/halt.h"

int64_t starttime = 0;
std::string *logcapture = nullptr;
void (*stophook)() = nullptr;

// On this platform files are always binary and sockets need no start. The memory limit of runs is
// read once, here. Every pass over program text and terms walks with stacks of its own, so the
// system's stack limit is left as it is.
void tolmstart() {
  starttime = (int64_t)time(nullptr);
  memorysetup();
}

// Writes all of text to a descriptor, going on after partial writes; errors end the attempt.
static void writeall(int fd, const char *p, size_t n) {
  while (n > 0) {
    ssize_t k = write(fd, p, n);
    if (k <= 0) return;
    p += k;
    n -= (size_t)k;
  }
}

// The log stays open between lines, as the editor logs on almost every key, and is opened
// again, and so made anew, once its file has been removed, or once a program closed its
// descriptor: a file the program opened under the same number is not written into.
static Kept logfile;

void tolmlog(const std::string &text) {
  if (logcapture) {
    *logcapture += text;
    return;
  }
  uint64_t links = 0;
  bool ours = kept(logfile, &links);
  if (ours && links == 0) close(logfile.fd);
  if (!ours || links == 0) logfile = keepfd(open("/tmp/tolm.log", O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
  if (logfile.fd >= 0) writeall(logfile.fd, text.data(), text.size());
}

// The assertion line and the abort, with nothing cleaned up.
[[noreturn]] static void stopnow(char group, int line) {
  char text[64];
  int n = snprintf(text, sizeof text, "ASSERTION FAILED:%c:%d\n", group, line);
  writeall(2, text, (size_t)n);
  if (stophook) stophook();
  abort();
}

#ifndef TOLM_FUZZ
void tolmabort(char group, int line) { stopnow(group, line); }
#else
void (*stopjudge)(const Stop &stop) = nullptr;
uint64_t stepbudget = ~0ull;
void (*budgetspent)() = nullptr;

void tolmstop(const Stop &stop) {
  if (stopjudge) stopjudge(stop);
  stopnow(stop.group, stop.line);
}

void tolmabort(char group, int line) { tolmstop(Stop{"", "tolmabort", "", line, group}); }
#endif

void tolmfail(const std::string &text) {
#ifdef TOLM_FUZZ
  if (stopjudge) stopjudge(Stop{__FILE__, "tolmfail", text.c_str(), __LINE__, groupof(__FILE__)});
#endif
  std::string line = "TOLMFAIL: " + text + "\n";
  fflush(stdout);
  writeall(1, line.data(), line.size());
  stopnow(groupof(__FILE__), __LINE__);
}
