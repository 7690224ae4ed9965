// The key loop and the resize: the editor's side of the terminal. Keys go onto the global keys
// one unit at a time, and the dispatcher runs whenever they stand whole.
#include "edit/loop.h"

#include <cstdlib>
#include <string>

#include "edit/display.h"
#include "edit/editor.h"
#include "edit/rescue.h"
#include "edit/term.h"
#include "edit/view.h"

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
  screenforget();  // after a stop the shell may have left modes of its own, as output can
  keepvisible(cur(), false);
  repaint();
}

void keyround() {
  bool changed = false;
  std::vector<std::string> units = readkeys(changed);
  if (changed) {
    int64_t w, h;
    windowsize(w, h);
    resized(w, h);
  }
  for (const std::string &unit : units) {
    keys += unit;
    if (keydone(keys)) keydispatch();
  }
  rescueready();
}
