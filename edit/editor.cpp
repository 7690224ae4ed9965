// The editor's global state and the frames of plain commands and modes.
// A command repaints through the painter of its mode, or rings the bell when it cannot act.
#include "edit/editor.h"

#include "core/base.h"
#include "edit/display.h"
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
std::string killtext;
int64_t listsel = 0;

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

void plainenter(const char *name) {
  tolmlog(std::string(name) + "!\n");
  painter = defaultpainter;
  keys.clear();
}

void plainend(bool done) {
  if (done) repaint();
  else bell();
}

void plain(const char *name, bool (*act)()) {
  fresh = 1;
  plainenter(name);
  plainend(act());
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

bool setalphabet(uint8_t a) {
  if (alphabet == a) return false;
  alphabet = a;
  return true;
}

bool modecommon(const std::string &key, bool alphabets) {
  if (key.size() != 2 || key[0] != '\x1b') return false;
  switch (key[1]) {
    case 'k': newkink(); repaint(); return true;
    case 'u': kink = defaultkink; repaint(); return true;
    case 'a': killtext = textof(promptline); return true;
    case 'z': killtext = textof(cur()); return true;
  }
  if (!alphabets) return false;
  const std::string abc = "rgy";
  size_t a = abc.find(key[1]);
  if (a == std::string::npos) return false;
  plainend(setalphabet((uint8_t)(a + 1)));
  return true;
}
