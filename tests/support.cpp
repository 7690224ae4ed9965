// Shared test helpers: capture of log and screen for every test, child processes, scratch files.
#include "tests/support.h"

#include <cstdio>
#include <cstdlib>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "core/base.h"
#include "core/halt.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/term.h"
#include "edit/undo.h"
#include "edit/view.h"
#include "lib/builtins.h"

std::string testlog, testscreen;

namespace {
struct Capture : ::testing::Environment {
  void SetUp() override {
    builtinsinstall();
    logcapture = &testlog;
    screencapture = &testscreen;
  }
};
const auto *capture = ::testing::AddGlobalTestEnvironment(new Capture);

std::vector<std::string> madedirs;
struct Cleanup {
  ~Cleanup() {
    for (const std::string &d : madedirs) (void)!system(("rm -rf '" + d + "'").c_str());
  }
} cleanup;
}  // namespace

static std::string drain(int fd) {
  std::string s;
  char buf[4096];
  ssize_t n;
  while ((n = read(fd, buf, sizeof buf)) > 0) s.append(buf, (size_t)n);
  close(fd);
  return s;
}

static Child collect(const std::function<void()> &fn, const std::string &command) {
  int out[2], err[2];
  if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) abort();
  fflush(stdout);
  fflush(stderr);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(out[1], 1);
    dup2(err[1], 2);
    if (fn) {
      fn();
      fflush(stdout);
      _exit(0);
    }
    execl("/bin/sh", "sh", "-c", command.c_str(), (char *)nullptr);
    _exit(127);
  }
  close(out[1]);
  close(err[1]);
  Child c;
  // Standard error is small in every use here, so reading it after standard output is safe.
  c.out = drain(out[0]);
  c.err = drain(err[0]);
  int st = 0;
  waitpid(pid, &st, 0);
  c.status = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
  return c;
}

Child runchild(const std::function<void()> &fn) { return collect(fn, ""); }
Child runcommand(const std::string &command) { return collect(nullptr, command); }

long peakkb(const std::string &command, int &status) {
  Child run = runchild([&] {
    int s = system((command + " >/dev/null 2>&1").c_str());
    rusage used;
    getrusage(RUSAGE_CHILDREN, &used);
    printf("%d %ld", WIFEXITED(s) ? WEXITSTATUS(s) : 128 + WTERMSIG(s), used.ru_maxrss);
  });
  long kb = 0;
  status = -1;
  sscanf(run.out.c_str(), "%d %ld", &status, &kb);
  return kb;
}

void capmemory(uint64_t more) {
#ifndef __SANITIZE_ADDRESS__
  std::string status;
  char buf[4096];
  FILE *f = fopen("/proc/self/status", "r");
  while (f && fgets(buf, sizeof buf, f)) status += buf;
  if (f) fclose(f);
  rlim_t held = (rlim_t)atoll(status.c_str() + status.find("VmSize:") + 7) << 10;
  rlimit most = {held + more, held + more};
  setrlimit(RLIMIT_AS, &most);
#else
  (void)more;
#endif
}

void interruptafter(int ms) {
  struct sigaction sa = {};
  sa.sa_handler = [](int) { runhalt = haltinterrupt; };
  sigaction(SIGALRM, &sa, nullptr);
  itimerval t = {};
  t.it_value.tv_sec = ms / 1000;
  t.it_value.tv_usec = ms % 1000 * 1000;
  setitimer(ITIMER_REAL, &t, nullptr);
}

std::string scratchdir() {
  char name[] = "/tmp/tolmtest.XXXXXX";
  if (!mkdtemp(name)) abort();
  madedirs.push_back(name);
  return std::string(name) + "/";
}

void writefile(const std::string &path, const std::string &bytes) {
  FILE *f = fopen(path.c_str(), "wb");
  if (!f) abort();
  fwrite(bytes.data(), 1, bytes.size(), f);
  fclose(f);
}

static CellRef sexpat(const std::string &s, size_t &i) {
  CellRef acc("");
  bool any = false;
  while (i < s.size() && s[i] != ')') {
    if (s[i] == ' ') {
      i++;
      continue;
    }
    CellRef item("");
    if (s[i] == '(') {
      i++;
      item = sexpat(s, i);
      i++;
    } else {
      size_t j = i;
      while (j < s.size() && s[j] != ' ' && s[j] != '(' && s[j] != ')') j++;
      item = CellRef(s.substr(i, j - i));
      i = j;
    }
    acc = any ? cellpair(std::move(acc), std::move(item)) : std::move(item);
    any = true;
  }
  return acc;
}

CellRef sexp(const std::string &text) {
  size_t i = 0;
  return sexpat(text, i);
}
