// The ways out of the editor: the signals that end the process, exit, and core's stops each go
// through leaving once. The interrupt key halts a run of Escape e instead, without SA_RESTART, so
// that a blocking call of the program returns with EINTR and the machine sees the flag.
#include "edit/signals.h"

#include <csignal>
#include <cstdlib>
#include <unistd.h>

#include "core/base.h"
#include "core/file.h"
#include "core/halt.h"
#include "edit/rescue.h"
#include "edit/term.h"

namespace {
volatile std::sig_atomic_t left = 0;
volatile std::sig_atomic_t running = 0;
volatile std::sig_atomic_t presses = 0;

// A signal that ends the process: the way out, then the signal's own ending, so that the status
// is the one the signal gives. A fault returns to its instruction and meets the default there.
void ending(int sig) {
  leaving();
  signal(sig, SIG_DFL);
  raise(sig);
}

void interrupt(int sig) {
  if (running) {
    presses = presses + 1;
    runhalt = haltinterrupt;
    if (presses < 3) return;
  }
  ending(sig);
}

// The signals that do not end the process by default, or that have handlers of their own.
bool endsnot(int sig) {
  for (int s : {SIGINT, SIGKILL, SIGSTOP, SIGTSTP, SIGTTIN, SIGTTOU, SIGCONT, SIGCHLD, SIGURG, SIGWINCH, SIGXFSZ})
    if (sig == s) return true;
  return false;
}

// A stack of its own for the handlers, so that a native stack run out still ends in the rescue.
char altstack[1 << 16];
}  // namespace

// Every other signal waits while the way out is taken, so that a second one cannot cut it short.
void leaving() {
  if (left) return;
  left = 1;
  sigset_t all;
  sigfillset(&all);
  sigprocmask(SIG_BLOCK, &all, nullptr);
  consolerestore();
  sparefree();
  rescuereport(rescuewrite(rescuedir.c_str()), rescuedir.c_str());
}

void signalsinstall() {
  rescuedir = rescuefolder(getenv("XDG_STATE_HOME"), homedir);
  rescueready();
  spareopen();
  stack_t stack = {};
  stack.ss_sp = altstack;
  stack.ss_size = sizeof altstack;
  sigaltstack(&stack, nullptr);
  struct sigaction sa = {};
  sigfillset(&sa.sa_mask);
  sa.sa_flags = SA_ONSTACK;
  sa.sa_handler = ending;
  // Every signal whose default ends the process, the real-time ones and those a program can raise
  // included; the rest stop, continue or are ignored by default, or have handlers of their own.
  for (int sig = 1; sig <= SIGRTMAX; sig++)
    if (!endsnot(sig)) sigaction(sig, &sa, nullptr);
  sa.sa_handler = interrupt;
  sigaction(SIGINT, &sa, nullptr);
  // A file grown past its size limit fails the write instead of ending the editor.
  signal(SIGXFSZ, SIG_IGN);
  atexit(leaving);
  stophook = leaving;
}

void runopen() {
  runhalt = 0;
  presses = 0;
  running = 1;
}

void runclose() {
  running = 0;
  runhalt = 0;
}
