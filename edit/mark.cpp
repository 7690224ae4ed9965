// The Mark mode (M-j): the point moves while the mark stays where the mode began, and the
// keys that work on a selection take it over when they are pressed.
#include <algorithm>

#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/find.h"
#include "edit/view.h"

static void markpainter() { paintdoc("Mark"); }

static bool among(const std::string &key, std::initializer_list<const char *> list) {
  return std::any_of(list.begin(), list.end(), [&](const char *k) { return key == k; });
}

// A motion key runs as it would outside the mode, without painting, and the mode goes on after it.
static void replay(const std::string &key) {
  hold = 1;
  keys = key;
  keydispatch();
  hold = 0;
  painter = markpainter;
  keys = "\x1bj";
}

// A printable key goes into the line as its alphabet types it, and the point seeks forward to
// the end of the line's text; "\eh" and "\et" seek again backward and forward.
void tolmdomj() {
  std::string key = modekey("M-j", markpainter);
  Doc &d = cur();
  unsigned char b = key.size() == 1 ? (unsigned char)key[0] : 0;
  if (key.empty()) {
    mark = d.point;
    promptline = newdoc("");
  } else if (among(key, {"\x01", "\x02", "\x04", "\x05", "\x06", "\x0c", "\x0e", "\x10", "\x15",
                         "\x1b[A", "\x1b[B", "\x1b[C", "\x1b[D", "\x1b" "f"})) {
    replay(key);
  } else if (key == "\t") {
    std::swap(d.point, mark);
    keepvisible(d, false);
  } else if (key == "\x1bh" || key == "\x1bt") {
    seek(d, textof(promptline), key == "\x1bt");
  } else if (key == "\x7f") {
    dropback(promptline, true);
    toendkeep(promptline);
  } else if (modecommon(key, false)) {
    return;
  } else if (key == "\x07") {
    mark = -1;
    return leavemode();
  } else if (among(key, {"\x0b", "\x18", "\x1b" "e", "\x1b" "i", "\x1bx"})) {
    return passon(key);  // these work on the selection: the mark stays
  } else if (b >= 32 && b < 127) {
    usedput(promptline, typed(alphabet, b));
    toendkeep(promptline);
    seek(d, textof(promptline), true);
  } else {
    mark = -1;
    return passon(key);
  }
  repaint();
}
