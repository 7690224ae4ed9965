// The undo log: every record of every document in one red-black tree ordered by document key and
// number, undo as a record that points back at what it reverses, and redo as popping that record.
#include "edit/undo.h"

#include <algorithm>
#include <cstdio>

#include "core/base.h"
#include "edit/commands.h"
#include "edit/editor.h"
#include "edit/term.h"
#include "edit/view.h"

static Oper *root = nullptr;

// The tree: links inside the records, z = 1 for black, leaves are null.

static int order(const Oper *a, const std::string &name, int64_t v) {
  if (int c = a->name.compare(name)) return c;
  return (int64_t)a->v < v ? -1 : (int64_t)a->v > v;
}

static bool red(const Oper *n) { return n && !n->z; }

static void relink(Oper *old, Oper *with) {
  if (!old->up) root = with;
  else if (old == old->up->left) old->up->left = with;
  else old->up->right = with;
  if (with) with->up = old->up;
}

static void turnleft(Oper *x) {
  Oper *y = x->right;
  x->right = y->left;
  if (y->left) y->left->up = x;
  relink(x, y);
  y->left = x;
  x->up = y;
}

static void turnright(Oper *x) {
  Oper *y = x->left;
  x->left = y->right;
  if (y->right) y->right->up = x;
  relink(x, y);
  y->right = x;
  x->up = y;
}

static void insertnode(Oper *n) {
  Oper **at = &root, *parent = nullptr;
  while (*at) {
    parent = *at;
    at = order(parent, n->name, n->v) > 0 ? &parent->left : &parent->right;
  }
  *at = n;
  n->up = parent;
  n->left = n->right = nullptr;
  n->z = 0;
  while (red(n->up)) {
    Oper *p = n->up, *g = p->up;
    bool leftside = p == g->left;
    Oper *uncle = leftside ? g->right : g->left;
    if (red(uncle)) {
      p->z = uncle->z = 1;
      g->z = 0;
      n = g;
      continue;
    }
    if (n == (leftside ? p->right : p->left)) {
      n = p;
      leftside ? turnleft(n) : turnright(n);
      p = n->up;
    }
    p->z = 1;
    g->z = 0;
    leftside ? turnright(g) : turnleft(g);
  }
  root->z = 1;
}

static Oper *leftmost(Oper *n) {
  while (n && n->left) n = n->left;
  return n;
}

static Oper *nextnode(Oper *n) {
  if (n->right) return leftmost(n->right);
  while (n->up && n == n->up->right) n = n->up;
  return n->up;
}

// Restores the black heights after a black node left from under parent; x took its place.
static void removefix(Oper *x, Oper *parent) {
  while (x != root && !red(x)) {
    bool leftside = x == parent->left;
    Oper *s = leftside ? parent->right : parent->left;
    if (red(s)) {
      s->z = 1;
      parent->z = 0;
      leftside ? turnleft(parent) : turnright(parent);
      s = leftside ? parent->right : parent->left;
    }
    Oper *near = leftside ? s->left : s->right, *far = leftside ? s->right : s->left;
    if (!red(near) && !red(far)) {
      s->z = 0;
      x = parent;
      parent = x->up;
      continue;
    }
    if (!red(far)) {
      near->z = 1;
      s->z = 0;
      leftside ? turnright(s) : turnleft(s);
      s = leftside ? parent->right : parent->left;
      far = leftside ? s->right : s->left;
    }
    s->z = parent->z;
    parent->z = 1;
    far->z = 1;
    leftside ? turnleft(parent) : turnright(parent);
    x = root;
  }
  if (x) x->z = 1;
}

static void removenode(Oper *n) {
  Oper *x, *parent;
  bool black = n->z;
  if (!n->left || !n->right) {
    x = n->left ? n->left : n->right;
    parent = n->up;
    relink(n, x);
  } else {
    Oper *y = leftmost(n->right);
    black = y->z;
    x = y->right;
    if (y->up == n) {
      parent = y;
    } else {
      parent = y->up;
      relink(y, y->right);
      y->right = n->right;
      y->right->up = y;
    }
    relink(n, y);
    y->left = n->left;
    y->left->up = y;
    y->z = n->z;
  }
  if (black) removefix(x, parent);
  delete n;
}

// Finding records.

static Oper *lastof(const std::string &name) {
  Oper *best = nullptr;
  for (Oper *n = root; n;) {
    if (n->name.compare(name) > 0) {
      n = n->left;
    } else {
      best = n;
      n = n->right;
    }
  }
  return best && best->name == name ? best : nullptr;
}

static Oper *find(const std::string &name, int64_t v) {
  for (Oper *n = root; n;) {
    int c = order(n, name, v);
    if (c == 0) return n;
    n = c > 0 ? n->left : n->right;
  }
  return nullptr;
}

Oper *findop(int64_t v) { return find(curname, v); }
Oper *firstop() { return findop(0); }

Oper *lastop() {
  Oper *l = lastof(curname);
  must(l != nullptr);
  return l;
}

void openlog(const std::string &name) {
  must(!docs.count(name) && !lastof(name));
  Oper *base = new Oper;
  base->name = name;
  base->t = 1;
  insertnode(base);
}

void closelog(const std::string &name) {
  must(find(name, 0) != nullptr);
  while (Oper *o = lastof(name)) removenode(o);
}

void addop(Oper *o) {
  Oper *l = lastof(o->name);
  must(l != nullptr);
  o->v = l->v == 0 ? 1 : l->v + 2;
  insertnode(o);
}

// Removal relinks records instead of moving their contents, so the successor stays valid.
bool dropoplog() {
  bool dropped = false;
  for (Oper *n = leftmost(root); n;) {
    Oper *next = nextnode(n);
    if (n->v != 0) {
      removenode(n);
      dropped = true;
    }
    n = next;
  }
  return dropped;
}

void forgetlogs() {
  while (root) removenode(root);
}

std::string dumplog() {
  std::string s;
  char line[64];
  for (Oper *n = leftmost(root); n; n = nextnode(n)) {
    snprintf(line, sizeof line, " %d %d %d %p ", (int)n->w, (int)n->v, (int)n->t, (void *)n);
    s += line + n->data + "\n";
  }
  int blacks = 0;
  for (Oper *n = root; n; n = n->left) blacks += n->z;
  return s + " " + std::to_string(blacks) + "\n";
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
      flatten(d);
      d.now = o->data;
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
    n->w = l->w;
    Oper *link = findop(l->w);
    must(link != nullptr);
    link->w = link->w + 2;
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
  removenode(l);
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
