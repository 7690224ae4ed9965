// The editor's global state and the frames of plain commands and modes.
// A command repaints through the painter of its mode, or rings the bell when it cannot act.
#include "edit/editor.h"

#include "core/base.h"
#include "edit/term.h"

std::string keys;
void (*painter)() = defaultpainter;
uint8_t hold = 0;
uint8_t fresh = 1;
Doc promptline;
std::string curname = ".";
std::map<std::string, Doc> docs;
const std::string scratchname = ".";
int64_t mark = -1;
uint8_t alphabet = 3;
uint64_t kink = defaultkink;

Doc &cur() {
  auto d = docs.find(curname);
  must(d != docs.end());
  return d->second;
}

void bell() {
  screenout += '\a';
  flushout();
}

void repaint() {
  if (!hold) painter();
  flushout();
}

void plain(const char *name, bool (*act)()) {
  fresh = 1;
  tolmlog(std::string(name) + "!\n");
  painter = defaultpainter;
  keys.clear();
  if (act()) repaint();
  else bell();
}

std::string modekey(const char *name, void (*modepainter)()) {
  fresh = 1;
  tolmlog(std::string(name) + "!\n");
  painter = modepainter;
  size_t n = keys[0] == '\t' ? 1 : 2;
  std::string rest = keys.substr(n);
  keys.resize(n);
  return rest;
}

void leavemode() {
  keys.clear();
  resetprompt();
  painter = defaultpainter;
  repaint();
}

void passon(const std::string &key) {
  leavemode();
  keys = key;
  keydispatch();
}
