// M-c closes the current document, M-n opens a new one on a free temporary name, and M-m walks to
// the next byte that differs from the saved text, typing the saved byte back over a changed one.
#include "edit/documents.h"

#include "core/base.h"
#include "core/cell.h"
#include "core/file.h"
#include "edit/commands.h"
#include "edit/editor.h"
#include "edit/files.h"
#include "edit/undo.h"
#include "edit/view.h"

// Unsaved text is dropped without a question; the scratch document is never closed, and it sorts
// first, so closing the last file goes back to it.
void tolmdomc() {
  plain("M-c", [] {
    if (docs.size() == 1 || curname == scratchname) return false;
    closedoc(curname);
    return true;
  });
}

// Temporary names.

// The counters start from the clock, so that runs at different times begin on different names.
Namestreams namestreams = {0, 0};
static bool seeded = false;

std::string tempname(uint32_t n) {
  const char *digits = blobdigits + 27;  // "0" to "9", then the capitals in the language's order
  std::string six(6, '0');
  for (int i = 5; i >= 0; i--, n /= 36) six[(size_t)i] = digits[n % 36];
  return "/tmp/tolm.new." + six;
}

std::string drawname(Namestreams &s) {
  uint32_t n = 0;
  for (int i = 0; i < 31; i++) {
    uint32_t from = i % 2 == 0 ? s.a : s.b;
    n |= (from >> (i / 2) & 1) << i;
  }
  s.a = (s.a + 1) & 0xFFFF;
  if (s.a == 0) s.b = (s.b + 1) & 0x7FFF;
  return tempname(n);
}

// A name that a file or a document already has is passed over. Nothing is written until the
// first save.
void tolmdomn() {
  plain("M-n", [] {
    if (!seeded) {
      namestreams = {(uint32_t)starttime & 0xFFFF, (uint32_t)(starttime >> 16) & 0x7FFF};
      seeded = true;
    }
    std::string name = drawname(namestreams);
    while (docs.count(name) || filereadable(name)) name = drawname(namestreams);
    openlog(name);
    docs[name] = newdoc("");
    switchdoc(name);
    return true;
  });
}

// Walking the differences.

// Steps of the walk: a point before the window goes to its start; a point past it rings and goes
// back to its start, which ends the step; a window whose two sides differ in length cannot be
// walked. At a byte that differs the saved byte is typed back over it, with undo; at one that does
// not the point moves on to the next that does.
static void walk() {
  Doc &d = cur();
  int64_t h = headlen(d);
  if (isclean(d)) return bell();
  if (d.point < h) {
    d.point = h;
    keepvisible(d, false);
  }
  int64_t o = d.point - h, n = nowlen(d);
  if (o >= n) {
    bell();
    d.point = h;
    keepvisible(d, false);
    return repaint();
  }
  if (waslen(d) != n) return bell();
  int64_t same = samefrom(d, o, n - o);
  if (same == 0) {
    d.over = 1;
    logtyped((unsigned char)d.saved[(size_t)d.point]);  // was and head line up in saved
  } else {
    o += same;
    must(o < n);  // a settled window ends on a difference
    d.point = h + o;
    keepvisible(d, false);
  }
  repaint();
}

void tolmdomm() {
  fresh = 1;
  plainenter("M-m");
  walk();
}
