// The editor's globals back to their start values, so that each test, and each input of the
// editor's fuzz target, begins where the editor begins.
#include "tests/edit/reset.h"

#include "core/base.h"
#include "edit/display.h"
#include "edit/documents.h"
#include "edit/editor.h"
#include "edit/files.h"
#include "edit/term.h"
#include "edit/undo.h"
#include "edit/view.h"

void editorreset(int64_t w, int64_t h) {
  width = w;
  height = h;
  keys.clear();
  painter = defaultpainter;
  hold = 0;
  fresh = 1;
  docs.clear();
  forgetlogs();
  openlog(scratchname);
  docs[scratchname] = newdoc("");
  curname = scratchname;
  mark = -1;
  alphabet = 3;
  kink = defaultkink;
  killtext.clear();
  listsel = 0;
  listing.clear();
  listdir = "/";
  listwidth = 2;
  namestreams = {0, 0};
  flipped = 0;
  screenresize();
  resetprompt();
  screenout.clear();
  if (logcapture) logcapture->clear();
  if (screencapture) screencapture->clear();
}
