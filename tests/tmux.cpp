// End-to-end driving of the editor in a tmux server of its own.
#include "tests/tmux.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <unistd.h>

#include "core/file.h"
#include "tests/support.h"

static std::string shellquote(const std::string &s) {
  std::string q = "'";
  for (char c : s) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

static std::atomic<int> sessions{0};

Tmux::Tmux(int w, int h, const std::string &command) {
  sock = "tolmtest" + std::to_string(getpid()) + "x" + std::to_string(sessions++);
  runcommand("tmux -L " + sock + " -f /dev/null new-session -d -x " + std::to_string(w) + " -y " +
             std::to_string(h) + " " + shellquote(command) + " </dev/null >/dev/null 2>&1");
}

Tmux::~Tmux() { runcommand("tmux -L " + sock + " kill-server"); }

void Tmux::type(const std::string &text) {
  runcommand("tmux -L " + sock + " send-keys -l " + shellquote(text));
}

void Tmux::key(const std::string &name) { runcommand("tmux -L " + sock + " send-keys " + name); }

std::string Tmux::screen() { return runcommand("tmux -L " + sock + " capture-pane -p").out; }

bool Tmux::waitfor(const std::string &text, int ms) {
  for (int waited = 0; waited < ms; waited += 50) {
    if (screen().find(text) != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

void Tmux::resize(int w, int h) {
  runcommand("tmux -L " + sock + " resize-window -x " + std::to_string(w) + " -y " +
             std::to_string(h));
}

void Tmux::record(const std::string &path) {
  runcommand("tmux -L " + sock + " pipe-pane -o " + shellquote("cat >> " + shellquote(path)));
}

std::string settled(const std::string &path, const std::string &want) {
  std::string now;
  for (int i = 0; i < 100 && now != want; i++) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    now = fileread(path);
  }
  return now;
}
