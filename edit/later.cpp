// Commands whose work is not built yet: each keeps the frame of a plain command and rings the
// bell, so that its key is seen in the log and does nothing else.
#include "edit/commands.h"
#include "edit/editor.h"
#include "edit/undo.h"

#define LATER(fn, name) \
  void fn() { plain(name, [] { return false; }); }

LATER(tolmdoci, "Tab")
LATER(tolmdocspace, "M-space")
LATER(tolmdoca, "C-a")
LATER(tolmdocb, "C-b")
LATER(tolmdocd, "C-d")
LATER(tolmdoce, "C-e")
LATER(tolmdocf, "C-f")
LATER(tolmdoch, "C-h")
LATER(tolmdock, "C-k")
LATER(tolmdocl, "C-l")
LATER(tolmdocn, "C-n")
LATER(tolmdocp, "C-p")
LATER(tolmdocr, "C-r")
LATER(tolmdoct, "C-t")
LATER(tolmdocu, "C-u")
LATER(tolmdocw, "C-w")
LATER(tolmdocx, "C-x")
LATER(tolmdocy, "C-y")
LATER(tolmdocdel, "C-\\")
LATER(tolmdocundo, "C-_")
LATER(tolmdocbs, "Backspace")
LATER(tolmtype, "Type")
LATER(tolmdoma, "M-a")
LATER(tolmdomb, "M-b")
LATER(tolmdomc, "M-c")
LATER(tolmdomd, "M-d")
LATER(tolmdome, "M-e")
LATER(tolmdomf, "M-f")
LATER(tolmdomg, "M-g")
LATER(tolmdomh, "M-h")
LATER(tolmdomi, "M-i")
LATER(tolmdomj, "M-j")
LATER(tolmdomk, "M-k")
LATER(tolmdoml, "M-l")
LATER(tolmdomm, "M-m")
LATER(tolmdomn, "M-n")
LATER(tolmdomo, "M-o")
LATER(tolmdomp, "M-p")
LATER(tolmdomq, "M-q")
LATER(tolmdomr, "M-r")
LATER(tolmdomu, "M-u")
LATER(tolmdoms, "M-s")
LATER(tolmdomt, "M-t")
LATER(tolmdomv, "M-v")
LATER(tolmdomw, "M-w")
LATER(tolmdomz, "M-z")
LATER(tolmdomx, "M-x")
LATER(tolmdomy, "M-y")

// The undo log comes with the editing commands; until then a document opens no history.
void openlog(const std::string &) {}
