// The cost of a key as the user meets it: each editor runs in a pseudo-terminal of 200 by 50 on a
// document of 1 MB and of 100 MB, and gets a mix of typing, cursor moves and backspace in the
// middle of the text. Measured from outside: processor time and bytes written per key.
// Usage: bench_keys [--install] [path of tolm]; --install first puts mg and nano on the machine
// with apt-get when they are missing, and without it the peers that are missing are left out.
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

// Reads what the editor writes: waits up to firstms for its answer to begin, then reads until it
// has been quiet for quietms. Gives the number of bytes read. Waiting for the answer keeps every
// key apart, so that no editor can take two keys in one read and repaint once for both.
size_t drain(int fd, int firstms, int quietms) {
  char buf[65536];
  size_t total = 0;
  for (int wait = firstms;; wait = quietms) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, wait) <= 0) return total;
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
  drain(s.fd, 60000, 300);  // the first paint
  char go[64];
  snprintf(go, sizeof go, e.golines, (int)(lines / 2));
  // An editor may paint before it has read the whole file; the keys of the jump wait in the
  // terminal until it has, and the jump's answer ends the load.
  for (const char *p = go; *p; p++) {
    send(s.fd, std::string(1, *p));
    drain(s.fd, *p == '\r' ? 120000 : 1000, 30);
  }
  drain(s.fd, 1000, 300);
  // One round: three letters typed, down, up, and the three letters taken back.
  const std::vector<std::string> round = {"a", "b", "c", "\x1b[B", "\x1b[A", "\x7f", "\x7f", "\x7f"};
  double before = cpuns(s.pid);
  size_t bytes = 0, keys = 0;
  for (int r = 0; r < rounds; r++)
    for (const std::string &k : round) {
      send(s.fd, k);
      bytes += drain(s.fd, 500, 3);
      keys++;
    }
  double after = cpuns(s.pid);
  kill(s.pid, SIGKILL);
  waitpid(s.pid, nullptr, 0);
  close(s.fd);
  return Figures{(after - before) / 1e3 / (double)keys, (double)bytes / (double)keys};
}

// Puts the peers that are missing on the machine through the system's package manager.
void install(const std::vector<Editor> &peers) {
  std::string missing;
  for (const Editor &e : peers)
    if (access(e.path.c_str(), X_OK) != 0) missing += " " + e.name;
  if (missing.empty()) return;
  std::string command = "apt-get install -y -q" + missing + " >/dev/null || (apt-get update -q >/dev/null && apt-get install -y -q" + missing + " >/dev/null)";
  if (system(command.c_str()) != 0) fprintf(stderr, "could not install%s\n", missing.c_str());
}

}  // namespace

int main(int argc, char **argv) {
  int arg = 1;
  bool wantpeers = argc > 1 && strcmp(argv[1], "--install") == 0;
  arg += wantpeers;
  std::string tolm = argc > arg ? argv[arg] : "build/tolm";
  // nano's goto-line is C-_, mg's is C-x g.
  std::vector<Editor> peers = {{"mg", "/usr/bin/mg", "\x18g%d\r"}, {"nano", "/usr/bin/nano", "\x1f%d\r"}};
  if (wantpeers) install(peers);
  std::vector<Editor> editors = {{"tolm", tolm, "\x1bl%d\r"}};
  for (const Editor &e : peers)
    if (access(e.path.c_str(), X_OK) == 0) editors.push_back(e);
  printf("| document | editor | cpu per key | bytes per key | cpu against mg |\n|---|---|---:|---:|---:|\n");
  for (size_t mb : {1, 100}) {
    std::string text = maketext(mb << 20);
    size_t lines = 0;
    for (char c : text) lines += c == '\n';
    std::string file = "/tmp/tolm.keys." + std::to_string(getpid()) + ".txt";
    FILE *f = fopen(file.c_str(), "w");
    if (!f || fwrite(text.data(), 1, text.size(), f) != text.size()) return 1;
    fclose(f);
    // The best of three sessions each, taken in turns so that every editor meets the same load.
    std::vector<Figures> results(editors.size(), Figures{1e18, 0});
    for (int i = 0; i < 3; i++)
      for (size_t j = 0; j < editors.size(); j++) {
        Figures fig = measure(editors[j], file, lines, 100);
        if (fig.uspk < results[j].uspk) results[j] = fig;
      }
    unlink(file.c_str());
    // The ratio is this editor's processor time over mg's in the same run: below 1 is cheaper.
    for (size_t i = 0; i < editors.size(); i++) {
      char ratio[32] = "-";
      for (size_t j = 0; j < editors.size(); j++)
        if (editors[j].name == "mg") snprintf(ratio, sizeof ratio, "%.2f", results[i].uspk / results[j].uspk);
      printf("| %zu MB | %s | %.1f us | %.0f | %s |\n", mb, editors[i].name.c_str(), results[i].uspk,
             results[i].bytespk, ratio);
    }
    fflush(stdout);
  }
}
