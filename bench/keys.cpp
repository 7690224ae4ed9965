// The cost of a key as the user meets it: each editor runs in a pseudo-terminal of 200 by 50 on a
// document of 1 MB and of 100 MB, and gets a mix of typing, cursor moves and backspace in the
// middle of the text. Measured from outside: processor time and bytes written per key.
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Editor {
  std::string name, path;
  // The keys that bring the point to a line in the middle; %d is the line number.
  const char *golines;
};

// One session: the editor in a pseudo-terminal, the master side held here.
struct Session {
  pid_t pid = -1;
  int fd = -1;
};

Session start(const Editor &e, const std::string &file) {
  winsize ws{};
  ws.ws_row = 50;
  ws.ws_col = 200;
  Session s;
  s.pid = forkpty(&s.fd, nullptr, nullptr, &ws);
  if (s.pid == 0) {
    setenv("TERM", "xterm-256color", 1);
    execl(e.path.c_str(), e.path.c_str(), file.c_str(), (char *)nullptr);
    _exit(127);
  }
  return s;
}

// Reads what the editor writes until it has been quiet for the given time, or at most limit;
// gives the number of bytes read.
size_t drain(int fd, int quietms, int limitms) {
  char buf[65536];
  size_t total = 0;
  auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(limitms);
  for (;;) {
    pollfd p{fd, POLLIN, 0};
    int left = (int)std::chrono::duration_cast<std::chrono::milliseconds>(until - std::chrono::steady_clock::now()).count();
    if (left <= 0 || poll(&p, 1, std::min(quietms, left)) <= 0) return total;
    ssize_t n = read(fd, buf, sizeof buf);
    if (n <= 0) return total;
    total += (size_t)n;
  }
}

// Processor time of a process in nanoseconds, from the scheduler's own accounting.
double cpuns(pid_t pid) {
  char path[64];
  snprintf(path, sizeof path, "/proc/%d/schedstat", (int)pid);
  FILE *f = fopen(path, "r");
  if (!f) return 0;
  double ns = 0;
  if (fscanf(f, "%lf", &ns) != 1) ns = 0;
  fclose(f);
  return ns;
}

void send(int fd, const std::string &keys) {
  if (write(fd, keys.data(), keys.size()) != (ssize_t)keys.size()) perror("write");
}

std::string maketext(size_t bytes) {
  std::string line = "the quick brown fox jumps over the lazy dog and keeps running on;\n";
  std::string text;
  text.reserve(bytes + line.size());
  while (text.size() < bytes) text += line;
  return text;
}

struct Figures {
  double uspk = 0, bytespk = 0;
};

Figures measure(const Editor &e, const std::string &file, size_t lines, int rounds) {
  Session s = start(e, file);
  drain(s.fd, 300, 60000);  // the load and the first paint
  char go[64];
  snprintf(go, sizeof go, e.golines, (int)(lines / 2));
  for (const char *p = go; *p; p++) {
    send(s.fd, std::string(1, *p));
    drain(s.fd, 30, 5000);
  }
  // One round: three letters typed, down, up, and the three letters taken back.
  const std::vector<std::string> round = {"a", "b", "c", "\x1b[B", "\x1b[A", "\x7f", "\x7f", "\x7f"};
  double before = cpuns(s.pid);
  size_t bytes = 0, keys = 0;
  for (int r = 0; r < rounds; r++)
    for (const std::string &k : round) {
      send(s.fd, k);
      bytes += drain(s.fd, 3, 2000);
      keys++;
    }
  double after = cpuns(s.pid);
  kill(s.pid, SIGKILL);
  waitpid(s.pid, nullptr, 0);
  close(s.fd);
  return Figures{(after - before) / 1e3 / (double)keys, (double)bytes / (double)keys};
}

}  // namespace

int main(int argc, char **argv) {
  std::string tolm = argc > 1 ? argv[1] : "build/tolm";
  std::vector<Editor> editors = {{"tolm", tolm, "\x1bl%d\r"}};
  // The peers, when installed: nano's goto-line is C-_, mg's is C-x g.
  if (access("/usr/bin/mg", X_OK) == 0) editors.push_back({"mg", "/usr/bin/mg", "\x18g%d\r"});
  if (access("/usr/bin/nano", X_OK) == 0) editors.push_back({"nano", "/usr/bin/nano", "\x1f%d\r"});
  printf("| document | editor | cpu per key | bytes per key |\n|---|---|---:|---:|\n");
  for (size_t mb : {1, 100}) {
    std::string text = maketext(mb << 20);
    size_t lines = 0;
    for (char c : text) lines += c == '\n';
    for (const Editor &e : editors) {
      std::string file = "/tmp/tolm.keys." + std::to_string(getpid()) + ".txt";
      FILE *f = fopen(file.c_str(), "w");
      if (!f || fwrite(text.data(), 1, text.size(), f) != text.size()) return 1;
      fclose(f);
      Figures best{1e18, 0};
      for (int i = 0; i < 3; i++) {
        Figures fig = measure(e, file, lines, 100);
        if (fig.uspk < best.uspk) best = fig;
      }
      unlink(file.c_str());
      printf("| %zu MB | %s | %.1f us | %.0f |\n", mb, e.name.c_str(), best.uspk, best.bytespk);
      fflush(stdout);
    }
  }
}
