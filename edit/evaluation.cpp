// Escape e: the current document, or the selection, runs as a program, and the title row shows
// its printed result or its failure; the mode stays so that the line can be scrolled and copied.
#include <algorithm>

#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/prompt.h"
#include "edit/rescue.h"
#include "edit/signals.h"
#include "edit/term.h"
#include "edit/view.h"
#include "lang/chars.h"
#include "lang/program.h"

static void evalpainter() { paintdoc("Eval"); }

// The line shows from its first byte; C-t scrolls it on.
static void setprompt(const std::string &text) { promptline = newdoc(text); }

// The run itself: "Running..." is on the screen while the program works. A run that the interrupt
// key or the memory limit halted shows why, and leaves the selection as it was.
static void evalrun() {
  runopen();
  setprompt("Running...");
  evalpainter();
  flushout();
  Doc &d = cur();
  std::string program = textof(d);
  int64_t offset = 0, marked = mark;
  if (mark != -1) {
    offset = std::min(d.point, mark);
    program = program.substr((size_t)offset, (size_t)(std::max(d.point, mark) - offset));
    mark = -1;
  }
  std::string printed;
  Outcome o = runprogram(offset, program, printed);
  runclose();
  consoleagain();
  spareopen();
  paintmodes();  // what the program wrote stays on the screen until C-l, but painting works
  if (o.status == "Halts") mark = marked;
  setprompt(o.status == "Empty" ? swapnewline(printed) : printed);
  if (o.where != -1) {
    Doc &after = cur();
    after.point = std::min(o.where, lenof(after));
    keepvisible(after, false);
  }
  repaint();
}

void tolmdome() {
  std::string key = modekey("M-e", evalpainter);
  if (key.empty()) return evalrun();
  if (key == "\x08" || key == "\x14") {
    bool moved = key == "\x08" ? prompthome() : promptstep();
    return moved ? repaint() : bell();
  }
  if (key == "\x1bk" || key == "\x1bu" || key == "\x1b" "a" || key == "\x1bz") {
    modecommon(key, false);
    return;
  }
  passon(key);
}
