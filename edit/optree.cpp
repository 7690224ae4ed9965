// The red-black tree of the undo log's records: the links live in the records, z = 1 is black,
// the leaves are null. Insertion and removal rebalance as in the textbook; nothing is copied.
#include "edit/optree.h"

static Oper *root = nullptr;

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

void nodeinsert(Oper *n) {
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

Oper *nodenext(Oper *n) {
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

void noderemove(Oper *n) {
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

Oper *nodelast(const std::string &name) {
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

Oper *nodefind(const std::string &name, int64_t v) {
  for (Oper *n = root; n;) {
    int c = order(n, name, v);
    if (c == 0) return n;
    n = c > 0 ? n->left : n->right;
  }
  return nullptr;
}

Oper *nodefirst() { return leftmost(root); }

int blackheight() {
  int blacks = 0;
  for (Oper *n = root; n; n = n->left) blacks += n->z;
  return blacks;
}
