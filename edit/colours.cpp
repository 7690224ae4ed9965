// The colour word from the keyboard: M-k reads one from the text at the point, M-u puts the default
// back, and the Pink mode shows the word on the title row to be copied or changed.
#include <cstdint>

#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"

static int hexvalue(unsigned char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// The sixteen bytes from the point, each digit weighted in 32-bit arithmetic: the shift of a digit
// is taken modulo 32 and the weight wraps, so the first and ninth digits weigh nothing and the last
// eight add onto the first eight. A text that is not sixteen digits gives a random word instead.
static bool readkink() {
  const Doc &d = cur();
  bool digits = true;
  kink = 0;
  for (int i = 0; i < 16; i++) {
    int n = 60 - 4 * i, h = hexvalue(charat(d, d.point + i));
    if (h < 0) digits = false;
    else kink += (uint32_t)h * ((uint32_t)16 << (n % 32));
  }
  if (!digits) newkink();
  return true;
}

void tolmdomk() { plain("M-k", readkink); }

void tolmdomu() {
  plain("M-u", [] {
    kink = defaultkink;
    return true;
  });
}

static void pinkpainter() { paintdoc("Pink"); }

// The line shows the word as it was on entry and after "\eu"; a random word from "\ek" colours the
// screen while the line keeps the old digits.
void tolmdomp() {
  std::string key = modekey("M-p", pinkpainter);
  if (key.empty() || key == "\x1bu") {
    if (!key.empty()) kink = defaultkink;
    promptline = newdoc(showkink());
    repaint();
  } else if (key == "\x1bk" || key == "\x1b" "a" || key == "\x1bz") {
    modecommon(key, false);
  } else {
    passon(key);
  }
}
