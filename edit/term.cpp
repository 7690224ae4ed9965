// The terminal layer: termios character mode with the interrupt key alive, TIOCGWINSZ and
// SIGWINCH for the window, key bytes cut into units, and the one buffered writer of the screen.
#include "edit/term.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include "core/base.h"
#include "edit/display.h"
#include "edit/editor.h"

std::string screenout;
std::string *screencapture = nullptr;

void flushout() {
  if (screencapture) {
    *screencapture += screenout;
    screenout.clear();
    return;
  }
  size_t done = 0;
  while (done < screenout.size()) {
    ssize_t n = write(1, screenout.data() + done, screenout.size() - done);
    if (n < 0 && errno == EINTR) continue;
    must(n > 0);
    done += (size_t)n;
  }
  screenout.clear();
}

static termios original;
static bool modeset = false;
static int winchpipe[2] = {-1, -1};

static void restoreconsole() {
  if (modeset) tcsetattr(0, TCSANOW, &original);
}

// Every way out puts the terminal back as it was: the interrupt key, a hang-up, an abort.
static void ending(int sig) {
  restoreconsole();
  signal(sig, SIG_DFL);
  raise(sig);
}

static void winch(int) {
  int saved = errno;
  char b = 1;
  if (write(winchpipe[1], &b, 1) < 0) {
  }
  errno = saved;
}

void consolemode() {
  must(tcgetattr(0, &original) == 0);
  termios raw = original;
  raw.c_lflag &= ~(tcflag_t)(ICANON | ECHO);
  raw.c_iflag &= ~(tcflag_t)IXON;
  raw.c_cc[VSUSP] = _POSIX_VDISABLE;
  raw.c_cc[VQUIT] = _POSIX_VDISABLE;
  raw.c_cc[VLNEXT] = _POSIX_VDISABLE;
  raw.c_cc[VDISCARD] = _POSIX_VDISABLE;
  raw.c_cc[VMIN] = 1;
  raw.c_cc[VTIME] = 0;
  must(tcsetattr(0, TCSANOW, &raw) == 0);
  modeset = true;
  atexit(restoreconsole);
  for (int sig : {SIGINT, SIGTERM, SIGHUP, SIGABRT}) signal(sig, ending);
  must(pipe(winchpipe) == 0);
  fcntl(winchpipe[1], F_SETFL, O_NONBLOCK);
  signal(SIGWINCH, winch);
}

void windowsize(int64_t &w, int64_t &h) {
  winsize ws;
  must(ioctl(1, TIOCGWINSZ, &ws) == 0);
  w = ws.ws_col;
  h = ws.ws_row;
}

void needwindow(int64_t w, int64_t h) {
  if (w >= 7 && h >= 2) return;
  screenout += "\x1b[1;1HTolm cannot recover from windows less than 7,2\n";
  flushout();
  exit(1);
}

void resized(int64_t w, int64_t h) {
  width = w;
  height = h;
  needwindow(w, h);
  screenresize();
  keepvisible(cur(), false);
  repaint();
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

void keyround() {
  static std::string pending;
  pollfd fds[2] = {{0, POLLIN, 0}, {winchpipe[0], POLLIN, 0}};
  if (poll(fds, 2, -1) < 0) {
    must(errno == EINTR);
    return;
  }
  if (fds[1].revents & POLLIN) {
    char drain[64];
    must(read(winchpipe[0], drain, sizeof drain) > 0);
    int64_t w, h;
    windowsize(w, h);
    resized(w, h);
  }
  if (fds[0].revents) {
    char buf[4096];
    ssize_t n = read(0, buf, sizeof buf);
    if (n < 0 && errno == EINTR) return;
    must(n > 0);
    pending.append(buf, (size_t)n);
    for (const std::string &unit : takeunits(pending)) {
      keys += unit;
      if (keydone(keys)) keydispatch();
    }
  }
}
