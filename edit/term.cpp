// The terminal layer: termios character mode with the interrupt key alive, TIOCGWINSZ and
// SIGWINCH for the window, key bytes cut into units, and the one buffered writer of the screen.
// It calls nothing of the editor: the key loop calls down into it.
#include "edit/term.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "core/base.h"
#include "core/file.h"

std::string screenout;
std::string *screencapture = nullptr;

// The terminal as the editor reaches it: its own copies of standard input and output once the
// character mode is set, so that a program that closes or reopens 0 or 1 cannot take the screen
// or the keys away from the editor. A program can close the copies too (closesocket takes any
// number): after each run a copy that lost its file is opened again by the terminal's name.
static Kept keys{0}, screen{1};
static std::string keysname, screenname;

void flushout() {
  if (screencapture) {
    *screencapture += screenout;
    screenout.clear();
    return;
  }
  size_t done = 0;
  while (done < screenout.size()) {
    ssize_t n = write(screen.fd, screenout.data() + done, screenout.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && errno == EAGAIN) {  // the terminal's output was made non-blocking: wait for room
      pollfd room = {screen.fd, POLLOUT, 0};
      poll(&room, 1, -1);
      continue;
    }
    must(n > 0);
    done += (size_t)n;
  }
  screenout.clear();
}

static termios original, editing;
static bool modeset = false;
// The pipe through which the handlers tell the key loop of a change of size or a continue.
static Kept winchends[2];

void consolerestore() {
  if (modeset) tcsetattr(keys.fd, TCSANOW, &original);
}

// A change of size, or a continue after the process was stopped (by a signal a program raised,
// or from outside), is told to the key loop through the pipe; after a stop the screen holds the
// shell's lines, so it is painted whole as after a resize, and the modes are set again. While a
// program holds the pipe's number for a file of its own, nothing is written into that file.
static void winch(int) {
  int saved = errno;
  char b = 1;
  if (kept(winchends[1]) && write(winchends[1].fd, &b, 1) < 0) {
  }
  errno = saved;
}

// The pipe made, at start, or made anew when a program closed either end. A new pipe starts with
// a notice in it, since one may have been missed while the old one was gone: the screen is then
// painted whole at the window's size, once.
static void winchopen() {
  if (kept(winchends[0]) && kept(winchends[1])) return;
  bool again = winchends[0].fd >= 0;
  for (Kept &k : winchends)
    if (kept(k)) close(k.fd);
  int ends[2];
  must(pipe2(ends, O_CLOEXEC) == 0);
  fcntl(ends[1], F_SETFL, O_NONBLOCK);
  winchends[0] = keepfd(ends[0]);
  winchends[1] = keepfd(ends[1]);
  if (again) winch(0);
}

// The terminal's ways of sending keys, put back to those the key layer reads: cursor keys and the
// keypad as plain keys, and no reports of the mouse or of pasting. A program or a command it ran
// may have asked for any of them and not asked back (a full-screen command that was killed), and
// then a click, a keypad digit or a paste would come in as bytes typed into the text.
static const char keymodes[] = "\x1b[?1l\x1b>\x1b[?1000l\x1b[?1002l\x1b[?1003l\x1b[?1005l\x1b[?1006l\x1b[?1015l\x1b[?2004l";

// A terminal descriptor of the editor's that a program closed, or took the number of, opened
// again by the terminal's name; the program's own file under the old number is left to it.
static void reopen(Kept &k, const std::string &name) {
  if (kept(k) || name.empty()) return;
  Kept again = keepfd(open(name.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY));
  if (again.fd >= 0) k = again;
}

void consolemode() {
  must(tcgetattr(0, &original) == 0);
  keys = keepfd(fcntl(0, F_DUPFD_CLOEXEC, 3));
  screen = keepfd(fcntl(1, F_DUPFD_CLOEXEC, 3));
  must(keys.fd >= 0 && screen.fd >= 0);
  if (const char *name = ttyname(keys.fd)) keysname = name;
  if (const char *name = ttyname(screen.fd)) screenname = name;
  // A program's getchar and gets read the keys through the C library's stdin. Buffered, stdin
  // would take every key typed ahead in one read and keep those the program does not ask for,
  // and they would never reach the editor; unbuffered, it takes only the bytes it returns.
  setvbuf(stdin, nullptr, _IONBF, 0);
  termios &raw = editing;
  raw = original;
  raw.c_lflag &= ~(tcflag_t)(ICANON | ECHO);
  raw.c_iflag &= ~(tcflag_t)IXON;
  raw.c_cc[VSUSP] = _POSIX_VDISABLE;
  raw.c_cc[VQUIT] = _POSIX_VDISABLE;
  raw.c_cc[VLNEXT] = _POSIX_VDISABLE;
  raw.c_cc[VDISCARD] = _POSIX_VDISABLE;
  raw.c_cc[VMIN] = 1;
  raw.c_cc[VTIME] = 0;
  must(tcsetattr(keys.fd, TCSANOW, &raw) == 0);
  modeset = true;
  screenout += keymodes;
  winchopen();
  signal(SIGWINCH, winch);
  signal(SIGCONT, winch);
}

// A command a program ran may leave the terminal non-blocking (as some runtimes do on their way
// out), and the editor's copies share that with descriptors 0 and 1: it is taken off again, so
// that reads wait for keys and writes for room, here and in the shell after the editor.
static void blocking(int fd) {
  int flags = fcntl(fd, F_GETFL);
  if (flags != -1 && (flags & O_NONBLOCK)) fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
}

void consoleagain() {
  if (!modeset) return;
  reopen(keys, keysname);
  reopen(screen, screenname);
  blocking(keys.fd);
  blocking(screen.fd);
  winchopen();
  tcsetattr(keys.fd, TCSANOW, &editing);
  screenout += keymodes;
}

void windowsize(int64_t &w, int64_t &h) {
  winsize ws;
  must(ioctl(screen.fd, TIOCGWINSZ, &ws) == 0);
  w = std::min<int64_t>(ws.ws_col, windowmost);
  h = std::min<int64_t>(ws.ws_row, windowmost);
}

// The length of the key unit at i, or 0 when the string ends before the unit does.
size_t keyunit(const std::string &s, size_t i) {
  size_t n = s.size();
  unsigned char b = (unsigned char)s[i];
  if (b < 0x80 && b != 0x1B) return 1;
  if (b >= 0x80) {
    int ones = 0;
    while (ones < 8 && (b & (0x80 >> ones))) ones++;
    if (ones == 1 || ones >= 5) return 1;
    for (int j = 1; j < ones; j++) {
      if (i + j >= n) return 0;
      if (((unsigned char)s[i + j] & 0xC0) != 0x80) return (size_t)j;
    }
    return (size_t)ones;
  }
  if (i + 1 >= n) return 0;
  unsigned char c = (unsigned char)s[i + 1];
  if (c >= 0x80) {
    size_t u = keyunit(s, i + 1);
    return u ? u + 1 : 0;
  }
  if (c != '[') return 2;
  size_t j = i + 2;
  if (j >= n) return 0;
  auto in = [&](unsigned char lo, unsigned char hi) {
    return (unsigned char)s[j] >= lo && (unsigned char)s[j] <= hi;
  };
  while (j < n && in(0x30, 0x3F)) j++;
  while (j < n && in(0x20, 0x2F)) j++;
  if (j >= n) return 0;
  return j + 1 - i;
}

// The terminal's spelling of a navigation key, as the byte of the Control key it stands for.
static std::string navkey(char final, int param) {
  if (final >= 'A' && final <= 'D') return std::string("\x1b[") + final;
  if (final == 'H') return "\x01";
  if (final == 'F') return "\x05";
  if (final != '~') return "";
  switch (param) {
    case 1: case 7: return "\x01";
    case 4: case 8: return "\x05";
    case 5: return "\x15";
    case 6: return "\x04";
    case 2: return "\x18";
    case 3: return "\x1c";
  }
  return "";
}

std::vector<std::string> takeunits(std::string &pending) {
  std::vector<std::string> units;
  size_t i = 0;
  while (i < pending.size()) {
    if (pending.compare(i, 2, "\x1bO") == 0 && i + 2 < pending.size() && pending[i + 2] >= 'A' &&
        pending[i + 2] <= 'Z') {
      // An SS3 key: arrows, Home and End count; the function keys have no row and are dropped.
      std::string k = navkey(pending[i + 2], 0);
      if (!k.empty()) units.push_back(k);
      i += 3;
      continue;
    }
    size_t u = keyunit(pending, i);
    if (!u) break;
    std::string unit = pending.substr(i, u);
    i += u;
    if (unit.size() > 2 && unit[1] == '[') {
      std::string k = navkey(unit.back(), atoi(unit.c_str() + 2));
      if (!k.empty()) unit = k;
    }
    units.push_back(unit);
  }
  pending.erase(0, i);
  return units;
}

std::vector<std::string> readkeys(bool &resized) {
  static std::string pending;
  resized = false;
  pollfd fds[2] = {{keys.fd, POLLIN, 0}, {winchends[0].fd, POLLIN, 0}};
  if (poll(fds, 2, -1) < 0) {
    must(errno == EINTR);
    return {};
  }
  if (fds[1].revents & POLLIN) {
    char drain[64];
    must(read(winchends[0].fd, drain, sizeof drain) > 0);
    consoleagain();
    resized = true;
  }
  if (!fds[0].revents) return {};
  char buf[4096];
  ssize_t n = read(keys.fd, buf, sizeof buf);
  if (n < 0 && (errno == EINTR || errno == EAGAIN)) return {};
  must(n > 0);
  pending.append(buf, (size_t)n);
  return takeunits(pending);
}
