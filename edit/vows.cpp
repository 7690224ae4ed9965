// M-v: the definitions of the program in the document are put in the order of their names, as one
// undoable record that keeps the whole text before the sort.
#include <algorithm>

#include "core/cell.h"
#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/prompt.h"
#include "edit/undo.h"
#include "edit/view.h"
#include "lang/chars.h"
#include "lang/parse.h"

// The name that a piece after a depth-0 comma defines, or "" when the piece defines nothing: its
// term must be "\" applied to a name, or to name() for a global without parameters, and to a body
// that is not empty. The piece's leading white space is not part of the definition.
static std::string definedname(std::string_view piece) {
  size_t from = piece.find_first_not_of(" \n");
  if (from == std::string::npos) return "";
  CellRef t = parsetop(normalise(piece.substr(from)));
  if (!cellispair(t) || isleafcell(t->left) || !leafis(t->left->left, "\\") || leafis(t->right, "}"))
    return "";
  const Cell *x = t->left->right;
  if (!isleafcell(x)) {
    if (!leafis(x->right, "}")) return "";
    x = x->left;
  }
  std::string name = isleafcell(x) ? celltextof(x) : "";
  return isname(name) ? name : "";
}

// The text before the first definition stays in front; then come the definitions by name, one
// name's definitions in their old order; then every other piece in its old order. Each piece keeps
// the comma before it, so the bytes of the text are only moved, never changed. The pieces stay in
// the text, known by their commas: copies of them would take 32 bytes and more a piece, many times
// a text of short ones, and the system ends an editor that runs out of memory with no copy kept.
static std::string sortdefinitions(const std::string &text) {
  std::vector<size_t> ends = oppositions(text, ",");  // each piece runs from its comma to the next
  size_t pieces = ends.size();
  ends.push_back(text.size());
  auto piece = [&](size_t i) { return std::string_view(text).substr(ends[i], ends[i + 1] - ends[i]); };
  std::vector<std::pair<std::string, size_t>> defs;  // by name, then in their old order
  std::vector<bool> isdef(pieces);
  for (size_t i = 0; i < pieces; i++) {
    std::string name = definedname(piece(i).substr(1));
    if (name.empty()) continue;
    isdef[i] = true;
    defs.push_back({std::move(name), i});
  }
  if (defs.empty()) return text;
  size_t first = defs[0].second;
  std::sort(defs.begin(), defs.end());
  std::string out = text.substr(0, ends[first]);
  out.reserve(text.size());
  for (const auto &[name, i] : defs) out += piece(i);
  for (size_t i = first; i < pieces; i++)
    if (!isdef[i]) out += piece(i);
  return out;
}

// The undo log applies its type-3 records here (edit/undo.cpp) and reverses them itself from the
// whole text that the record keeps. The point stays at its offset, moved back to its line's start.
void vowstodo(Oper *o) {
  Doc &d = cur();
  setnow(d, sortdefinitions(textof(d)));
  settle(d);
  d.edge = -1;
  d.point = std::min((int64_t)o->w, lenof(d));
  while (charat(d, d.point - 1) != 10) d.point--;
  recentre(d, false);
}

static void vowspainter() { paintdoc("Vows"); }

// The sort runs only on a text whose brackets match, the one check the parser needs; a text that
// fails it shows the message and has the point on the bracket at fault.
static void vowsrun() {
  Doc &d = cur();
  std::string error;
  int64_t where = -1;
  if (!matchcheck(textof(d), 0, error, where)) {
    promptline = newdoc(error);
    if (where != -1) {
      d.point = std::min(where, lenof(d));
      keepvisible(d, false);
    }
  } else {
    logvows();
    resetprompt();
  }
  repaint();
}

void tolmdomv() {
  std::string key = modekey("M-v", vowspainter);
  if (key.empty()) {
    vowsrun();
  } else if (key == "\x7f") {
    prompthome();
    repaint();
  } else if (key == "\x14") {
    promptstep();
    repaint();
  } else if (key == "\x07") {
    leavemode();
  } else {
    passon(key);
  }
}
