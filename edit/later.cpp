// Commands whose work is not built yet: each keeps the frame of a plain command and rings the
// bell, so that its key is seen in the log and does nothing else.
#include "core/base.h"
#include "edit/commands.h"
#include "edit/editor.h"
#include "edit/undo.h"

#define LATER(fn, name) \
  void fn() { plain(name, [] { return false; }); }

LATER(tolmdoci, "Tab")
LATER(tolmdoch, "C-h")
LATER(tolmdoct, "C-t")
LATER(tolmdoma, "M-a")
LATER(tolmdomc, "M-c")
LATER(tolmdomi, "M-i")
LATER(tolmdomj, "M-j")
LATER(tolmdomk, "M-k")
LATER(tolmdomm, "M-m")
LATER(tolmdomn, "M-n")
LATER(tolmdomp, "M-p")
LATER(tolmdomq, "M-q")
LATER(tolmdomu, "M-u")
LATER(tolmdomv, "M-v")
LATER(tolmdomz, "M-z")

// The sort of definitions and Dent make their records only once their commands exist, so
// none of these can be reached yet: a record of such a type is a broken log.
void vowstodo(Oper *) { must(false); }
void denttodo(Oper *) { must(false); }
void dentundo(Oper *) { must(false); }
