// The motion commands: the point by bytes and screen rows, the screen by pages, and the two
// prompts that jump to a base-64 offset (Byte) or to a line number (Line). No text changes here.
#include <algorithm>

#include "core/base.h"
#include "core/cell.h"
#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/term.h"
#include "edit/view.h"

// Runs a motion in place and tells whether anything a motion can change has moved.
static bool moved(void (*motion)(Doc &, bool)) {
  Doc &d = cur();
  int64_t point = d.point, top = d.top, edge = d.edge;
  motion(d, false);
  return d.point != point || d.top != top || d.edge != edge;
}

void tolmdoca() {
  plain("C-a", [] { return moved([](Doc &d, bool) { gobol(d); }); });
}

void tolmdoce() {
  plain("C-e", [] { return moved([](Doc &d, bool) { goeol(d); }); });
}

void tolmdocb() {
  plain("C-b", [] {
    Doc &d = cur();
    if (d.point == 0) return false;
    d.point--;
    if (d.point < d.top) recentre(d, false);
    return true;
  });
}

void tolmdocf() {
  plain("C-f", [] {
    Doc &d = cur();
    if (d.point >= lenof(d)) return false;
    d.point++;
    ensureedge(d);
    if (d.point == d.edge || !onscreen(d, false)) recentre(d, false);
    return true;
  });
}

// C-l also draws the whole screen again, as the key does in other terminal programs: what a
// program wrote to the terminal while it ran stays on the screen until then.
void tolmdocl() {
  plain("C-l", [] {
    recentre(cur(), false);
    screenforget();
    return true;
  });
}

// The offset of the first newline at or after from and before to, or -1.
static int64_t newlinein(const Doc &d, int64_t from, int64_t to) {
  int64_t i = findbyte(d, from, to, 10);
  return i < to ? i : -1;
}

void tolmdocn() {
  plain("C-n", [] {
    Doc &d = cur();
    int64_t len = lenof(d);
    ensureedge(d);
    // The line's start, but not before top.
    int64_t s = d.point > d.top ? findbyteback(d, d.top, d.point, 10) + 1 : d.point;
    int64_t c = (d.point - s) % width;
    int64_t nl = newlinein(d, d.point, std::min(len, d.point + width));
    if (d.point + width > len && nl == -1) return false;
    if (nl == -1) {
      d.point += width;
    } else {
      int64_t start = nl + 1;
      d.point = findbyte(d, start, std::min(len, start + c), 10);
    }
    if (!onscreen(d, false)) recentre(d, false);
    return true;
  });
}

// While the point stays on the screen C-p repaints nothing: the terminal's cursor goes up by
// the rows it moved and to its column, and the next paint puts everything else right.
void tolmdocp() {
  fresh = 1;
  plainenter("C-p");
  Doc &d = cur();
  // lb is the start of the line that the point ends on, for the column of the hint.
  int64_t b = bolof(d, d.point), o = d.point - b, rows = 1, lb = b;
  if (o >= width) {
    d.point -= width;
  } else if (b == 0) {
    bell();
    return;
  } else {
    int64_t a = bolof(d, b - 1), l = b - 1 - a;
    lb = a;
    if (l >= o) {
      d.point = a + o;
      while (d.point + width < b) d.point += width;
      rows = l % width < o ? 2 : 1;
    } else {
      d.point = b - 1;
    }
  }
  if (!onscreen(d, false)) {
    recentre(d, false);
    repaint();
    return;
  }
  screenout += "\x1b[" + std::to_string(rows) + "F";
  int64_t col = (d.point - lb) % width;
  if (col != 0) screenout += "\x1b[" + std::to_string(col + 1) + "G";
  flushout();
}

void tolmdocd() {
  plain("C-d", [] {
    Doc &d = cur();
    ensureedge(d);
    if (d.edge > lenof(d)) return false;
    d.top = d.edge;
    measure(d);
    d.point = std::min(lenof(d), (d.top + d.edge) / 2);
    return true;
  });
}

void tolmdocu() {
  plain("C-u", [] {
    Doc &d = cur();
    if (d.top == 0) return false;
    d.edge = d.top;
    d.point = d.top - 1;
    d.top = rowup(d, d.point);
    // Then height - 2 rows further up, none past offset 0. The point is the top reached half
    // way, which is 0 when the walk meets the start of the text before then.
    int64_t rows = height - 2, half = rows / 2;
    for (int64_t r = 0; r <= rows; r++) {
      if (r > 0 && d.top > 0) d.top = rowup(d, d.top - 1);
      if (r == half) d.point = d.top;
    }
    snaprow(d);
    tolmlog("tolmdocu,e=" + std::to_string(d.point) + "\n");
    return true;
  });
}

void tolmdomf() {
  plain("M-f", [] {
    Doc &d = cur();
    int64_t len = lenof(d);
    d.edge = len + 1;
    int64_t top = rowup(d, len);
    for (int64_t r = 1; r < height - 1 && top > 0; r++) top = rowup(d, top - 1);
    if (top == d.top) return false;
    d.top = top;
    if (top == 0) d.edge = -1;
    ensureedge(d);
    snaprow(d);
    if (!onscreen(d, false)) d.point = d.top + (d.edge - d.top) / 2;
    return true;
  });
}

void tolmdomh() {
  plain("M-h", [] {
    Doc &d = cur();
    if (d.top == 0) return false;
    d.top = 0;
    d.edge = -1;
    ensureedge(d);
    if (!onscreen(d, false)) d.point = std::min(d.edge, lenof(d)) / 2;
    return true;
  });
}

// The two number prompts share their keys: typed bytes that the prompt takes, Backspace, Enter
// to jump, C-g and the shared mode keys; any other key leaves as C-g does.
static void numberprompt(const char *name, void (*modepainter)(), bool (*takes)(unsigned char),
                         int64_t (*target)(const std::string &)) {
  std::string key = modekey(name, modepainter);
  if (key.empty()) {
    promptline = newdoc("");
    repaint();
  } else if (modecommon(key, false)) {
  } else if (key.size() == 1 && takes((unsigned char)key[0])) {
    usedput(promptline, (unsigned char)key[0]);
    toendkeep(promptline);
    repaint();
  } else if (key == "\x7f") {
    dropback(promptline, true);
    toendkeep(promptline);
    repaint();
  } else if (key == "\n") {
    Doc &d = cur();
    d.point = std::min(target(textof(promptline)), lenof(d));
    d.edge = -1;
    keepvisible(d, false);
    leavemode();
  } else {
    leavemode();
  }
}

static bool bytedigit(unsigned char b) {
  return b == ',' || b == '_' || isalnum(b);
}

// The prompt as a base-64 number in the language's digit order; past the text is as good as its end.
static int64_t byteoffset(const std::string &text) {
  int64_t limit = lenof(cur()), n = 0;
  for (char c : text) n = std::min(n * 64 + digitvalue(c), limit + 1);
  return n;
}

void tolmdomb() {
  numberprompt("M-b", [] { paintdoc("Byte"); }, bytedigit, byteoffset);
}

// The start of line n, counted from 1 (0 is the first line too), or the end of a shorter text.
static int64_t linestartof(const std::string &text) {
  const Doc &d = cur();
  int64_t len = lenof(d), n = 0;
  for (char c : text) n = std::min<int64_t>(n * 10 + (c - '0'), len + 2);
  return skiplines(d, 0, n - 1);
}

void tolmdoml() {
  numberprompt("M-l", [] { paintdoc("Line"); }, [](unsigned char b) { return isdigit(b) != 0; },
               linestartof);
}
