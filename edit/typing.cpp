// The editing commands: typing in three alphabets, Backspace and Delete, overtype, kill and the
// two pastes, and the Taps prompt that inserts one byte many times. All but C-y go through the log.
#include "core/base.h"
#include "core/halt.h"
#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/glyph.h"
#include "edit/undo.h"
#include "edit/view.h"

// The byte that a typed key stores in an alphabet. Alphabet 2 is the inverse of the glyphs of
// class 2, small and capital letters alike, so that a byte shows as the key that types it.
unsigned char typed(uint8_t alpha, unsigned char key) {
  if (key == ' ' || key == '\n' || alpha == 3) return key;
  if (alpha == 1) return (unsigned char)(key - 128);
  static int inverse[256];
  static bool made = false;
  if (!made) {
    for (int &b : inverse) b = -1;
    for (int b = 0; b < 256; b++)
      if (byteclass((unsigned char)b) == 2) inverse[glyphof((unsigned char)b)] = b;
    made = true;
  }
  int b = inverse[toupper(key)];
  if (b < 0) tolmfail("nopqchar");
  return (unsigned char)b;
}

void tolmtype() {
  fresh = 1;
  unsigned char key = (unsigned char)keys[0];
  keys.clear();
  logtyped(typed(alphabet, key));
  keepvisible(cur(), false);
  repaint();
}

void tolmdomr() {
  plain("M-r", [] { return setalphabet(1); });
}
void tolmdomg() {
  plain("M-g", [] { return setalphabet(2); });
}
void tolmdomy() {
  plain("M-y", [] { return setalphabet(3); });
}

// A Backspace at 0 makes no record and still repaints.
static bool backspace() {
  logback();
  return true;
}

void tolmdocbs() { plain("Backspace", backspace); }

void tolmdocdel() {
  plain("C-\\", [] {
    Doc &d = cur();
    if (d.point >= lenof(d)) return false;
    d.point++;
    return backspace();
  });
}

void tolmdocx() {
  plain("C-x", [] {
    Doc &d = cur();
    d.over = !d.over;
    return true;
  });
}

// C-k keeps fresh at 0 while it gathers, so that the next C-k adds to the same kill text; any
// other command sets it and so starts a new one.
void tolmdock() {
  plainenter("C-k");
  Doc &d = cur();
  if (mark != -1) {
    int64_t lo = std::min(d.point, mark), hi = std::max(d.point, mark);
    killtext = textrange(d, lo, hi);
    fresh = 0;
    d.point = lo;
    logkill(killtext);
    mark = -1;
    resetprompt();
    plainend(true);
    return;
  }
  if (d.point >= lenof(d)) {
    fresh = 1;
    plainend(false);
    return;
  }
  if (fresh) {
    fresh = 0;
    killtext.clear();
  }
  std::string s = restofline(d);
  killtext += s;
  logkill(s);
  plainend(true);
}

// The paste that honours overtype and leaves no record.
void tolmdocy() {
  plain("C-y", [] {
    Doc &d = cur();
    for (char b : killtext) usedput(d, (unsigned char)b);
    d.edge = -1;
    keepvisible(d, false);
    return true;
  });
}

void tolmdocspace() {
  plain("M-space", [] {
    logyank();
    return true;
  });
}

// Whether the count of a Taps prompt is one the editor can hold (textmost): an insertion, its undo
// and its redo hold the bytes about three times over. A larger count would end the editor, or
// have the system end it with no copy kept. The digits are read no further than the bound.
static bool tapsfit(const std::string &digits) {
  uint64_t n = 0;
  for (char c : digits) {
    if (n > textmost() / 10) return false;
    n = n * 10 + (uint64_t)(c - '0');
  }
  return n <= textmost();
}

void tolmdomt() {
  std::string key = modekey("M-t", [] { paintdoc("Taps"); });
  unsigned char b = key.size() == 1 ? (unsigned char)key[0] : 0;
  if (key.empty()) {
    promptline = newdoc("");
    repaint();
  } else if (modecommon(key, false)) {
  } else if (key == "\x07") {
    leavemode();
  } else if (isdigit(b)) {
    usedput(promptline, b);
    toendkeep(promptline);
    repaint();
  } else if (b == 127) {
    dropback(promptline, true);
    toendkeep(promptline);
    repaint();
  } else if (b == '\n' || b >= 32) {
    if (!tapsfit(textof(promptline))) return bell();  // the count waits to be mended
    logtaps(textof(promptline), b);
    leavemode();
  } else {
    bell();
  }
}
