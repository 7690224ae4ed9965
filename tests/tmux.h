// End-to-end driving of the editor in a tmux server of its own: keys in, screen text out.
#pragma once
#include <string>

struct Tmux {
  std::string sock;  // the server's socket name, one per session
  Tmux(int w, int h, const std::string &command);
  ~Tmux();
  void type(const std::string &text);  // literal bytes
  void key(const std::string &name);   // a tmux key name: Enter, Escape, C-c, Up
  std::string screen();                // the pane's text, rows joined by newlines
  // Waits until the screen holds text; false after timeout.
  bool waitfor(const std::string &text, int ms = 5000);
  void resize(int w, int h);
  // Appends everything the pane's program writes from now on to a file.
  void record(const std::string &path);
};

// The file's bytes once they are what is expected, or what they are after a few seconds: the
// editor in the pane writes it in its own time.
std::string settled(const std::string &path, const std::string &want);
