// The undo log: the records of each document numbered in the tree of edit/optree.h, applying and
// reversing them, undo as a record that points back at what it reverses, redo as popping it.
#include "edit/undo.h"

#include <algorithm>
#include <cstdio>

#include "core/base.h"
#include "edit/commands.h"
#include "edit/editor.h"
#include "edit/view.h"

Oper *findop(int64_t v) { return nodefind(curname, v); }
Oper *firstop() { return findop(0); }

Oper *lastop() {
  Oper *l = nodelast(curname);
  must(l != nullptr);
  return l;
}

void openlog(const std::string &name) {
  must(!docs.count(name) && !nodelast(name));
  Oper *base = new Oper;
  base->name = name;
  base->t = 1;
  nodeinsert(base);
}

void closelog(const std::string &name) {
  must(nodefind(name, 0) != nullptr);
  while (Oper *o = nodelast(name)) noderemove(o);
}

void addop(Oper *o) {
  Oper *l = nodelast(o->name);
  must(l != nullptr);
  o->v = l->v == 0 ? 1 : l->v + 2;
  nodeinsert(o);
}

// Removal relinks records instead of moving their contents, so the successor stays valid.
bool dropoplog() {
  bool dropped = false;
  for (Oper *n = nodefirst(); n;) {
    Oper *next = nodenext(n);
    if (n->v != 0) {
      noderemove(n);
      dropped = true;
    }
    n = next;
  }
  return dropped;
}

void forgetlogs() {
  while (Oper *n = nodefirst()) noderemove(n);
}

std::string dumplog() {
  std::string s;
  char line[64];
  for (Oper *n = nodefirst(); n; n = nodenext(n)) {
    snprintf(line, sizeof line, " %d %d %d %p ", (int)n->w, (int)n->v, (int)n->t, (void *)n);
    s += line + n->data + "\n";
  }
  return s + " " + std::to_string(blackheight()) + "\n";
}

// Applying and reversing.

// The count of a taps record: the decimal digits before its fill byte.
static int64_t tapcount(const Oper *o) {
  int64_t n = 0;
  for (size_t i = 0; i + 1 < o->data.size(); i++) n = n * 10 + (o->data[i] - '0');
  return n;
}

// The number that a type-0 record reverses. Numbers are odd, which the arithmetic relies on.
static int64_t undotarget(const Oper *o) {
  int64_t v = o->v, w = o->w;
  return 2 * (std::min(w, v) - 1) - v;
}

static void bytetodo(Doc &d, const Oper *o) {
  must(o->data.size() == 3);
  unsigned char a = (unsigned char)o->data[1], b = (unsigned char)o->data[2];
  uint8_t over = d.over;
  switch (o->data[0]) {
    case ':': d.point = o->w; d.over = 0; usedput(d, b); break;
    case ';':
      d.point = o->w;
      must(charat(d, d.point) == a);
      d.over = 1;
      usedput(d, b);
      break;
    case ',': d.point = o->w; dropback(d, false); break;
    case '.': break;
    default: tolmfail("Bad oper type in edittodo");
  }
  d.over = over;
}

static void byteundo(Doc &d, const Oper *o) {
  must(o->data.size() == 3);
  unsigned char a = (unsigned char)o->data[1], b = (unsigned char)o->data[2];
  uint8_t over = d.over;
  switch (o->data[0]) {
    case ':': d.point = o->w + 1; dropback(d, false); break;
    case ';':
      d.over = 1;
      d.point = o->w;
      must(charat(d, d.point) == b);
      usedput(d, a);
      d.point = o->w;
      break;
    case ',': d.point = o->w - 1; usedput(d, a); break;
    case '.': break;
    default: tolmfail("Bad oper type in editundo");
  }
  d.over = over;
}

void edittodo(int64_t v) {
  Oper *o = findop(v);
  must(o != nullptr);
  Doc &d = cur();
  int64_t w = o->w, n = (int64_t)o->data.size();
  uint8_t over = d.over;
  switch (o->t) {
    case 0: editundo(undotarget(o)); return;
    case 1: swaptodo(o); break;
    case 2:
      d.over = 0;
      d.point = w;
      addspan(d, std::string((size_t)tapcount(o), o->data.back()));
      d.over = over;
      break;
    case 3: vowstodo(o); break;
    case 4: d.point = w; dropspan(d, n); break;
    case 5:
      d.over = 0;
      d.point = w;
      addspan(d, o->data);
      d.point = w + n;
      d.over = over;
      d.edge = -1;
      break;
    case 6: bytetodo(d, o); break;
    case 7: denttodo(o); break;
    default: tolmfail("Kinda bad type in edittodo last!");
  }
  keepvisible(d, false);
}

void editundo(int64_t v) {
  Oper *o = findop(v);
  must(o != nullptr);
  Doc &d = cur();
  int64_t w = o->w, n = (int64_t)o->data.size();
  uint8_t over = d.over;
  switch (o->t) {
    case 0: edittodo(undotarget(o)); return;
    case 1: swapundo(o); break;
    case 2:
      must(!o->data.empty());
      d.point = w;
      dropspan(d, tapcount(o));
      break;
    case 3:
      setnow(d, o->data);
      settle(d);
      d.point = w;
      recentre(d, false);
      return;
    case 4:
      d.point = w;
      addspan(d, o->data);
      d.point = w;
      d.over = over;
      d.edge = -1;
      break;
    case 5: d.point = w; dropspan(d, n); break;
    case 6: byteundo(d, o); break;
    case 7: dentundo(o); break;
    default: tolmfail("Kinda bad type in editundo!");
  }
  keepvisible(d, false);
}

// Undo, redo and forgetting.

bool canundo() {
  Oper *l = lastop();
  if (l == firstop()) return false;
  if (l->t >= 2) return true;
  int64_t v = l->v, m = std::min<int64_t>(l->w, v);
  return (m - 1) / 2 - (v - m + 2) / 2 != 0;
}

void undo() {
  Oper *l = lastop(), *n = new Oper;
  n->name = curname;
  addop(n);
  if (l->t == 0) {
    // The link is raised where the record it names is there: a redo takes its record away and
    // leaves the links as they were, so that after two redos the link may name no record.
    n->w = l->w;
    if (Oper *link = findop(l->w)) link->w = link->w + 2;
  } else {
    n->w = n->v;
  }
  edittodo(n->v);
}

bool redo() {
  Oper *l = lastop();
  if (l->t != 0) return false;
  editundo(l->v);
  char line[128];
  snprintf(line, sizeof line, "editredo,t=%d,v=%d,w=%d,z=%d %p\n", (int)l->t, (int)l->v,
           (int)l->w, (int)l->z, (void *)l);
  tolmlog(line);
  noderemove(l);
  tolmlog("editredo\n" + dumplog());
  return true;
}

// The records that edits make.

static void logop(int t, const std::string &data) {
  Oper *o = new Oper;
  o->name = curname;
  o->t = (uint64_t)t;
  o->w = (uint64_t)cur().point;
  o->data = data;
  addop(o);
  edittodo(o->v);
}

void logtyped(unsigned char b) {
  const Doc &d = cur();
  if (d.over == 1) logop(6, std::string{';', (char)charat(d, d.point), (char)b});
  else logop(6, std::string{':', '\0', (char)b});
}

void logback() {
  const Doc &d = cur();
  if (d.point > 0) logop(6, std::string{',', (char)charat(d, d.point - 1), '\0'});
}

void logkill(const std::string &s) { logop(4, s); }
void logyank() { logop(5, killtext); }
void logtaps(const std::string &digits, unsigned char b) { logop(2, digits + (char)b); }
void logvows() { logop(3, textof(cur())); }

// The commands of the log.

void tolmdocundo() {
  plain("C-_", [] {
    if (!canundo()) return false;
    undo();
    return true;
  });
}

void tolmdocr() { plain("C-r", redo); }
void tolmdomd() { plain("M-d", dropoplog); }
