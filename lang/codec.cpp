// Tree codecs: complete bit trees of a fixed depth read back into bytes, lists of byte trees into
// byte strings, J trees into data. None reduces anything; the walks of lists keep their own stack.
#include "lang/codec.h"

#include <vector>

#include "core/base.h"

namespace {

// The two children of ((N l) r) for the head letter N, or false when the cell has another shape.
bool node(const Cell *c, const char *head, const Cell *&l, const Cell *&r) {
  if (isleafcell(c) || isleafcell(c->left) || !leafis(c->left->left, head)) return false;
  l = c->left->right;
  r = c->right;
  return true;
}

// Tells whether c is a complete tree of the given depth under the head letter, each leaf set or
// clear (clear null: any leaf reads as clear), and adds its bits from bit first on into bits.
bool readtree(const Cell *c, int depth, const char *head, const char *set, const char *clear,
              unsigned char *bits, int first) {
  if (depth == 0) {
    if (!isleafcell(c)) return false;
    if (leafis(c, set)) bits[first / 8] |= (unsigned char)(1 << (first % 8));
    else if (clear && !leafis(c, clear)) return false;
    return true;
  }
  const Cell *l, *r;
  int half = 1 << (depth - 1);
  return node(c, head, l, r) && readtree(l, depth - 1, head, set, clear, bits, first) &&
         readtree(r, depth - 1, head, set, clear, bits, first + half);
}

bool bytetreebits(const Cell *c, unsigned char &byte) {
  byte = 0;
  return readtree(c, 3, "J", "I", nullptr, &byte, 0);
}

bool realbits(const Cell *c, int depth, unsigned char *bits) {
  return readtree(c, depth, "V", "K", "H", bits, 0);
}

// The leaves of a tree of ((J a) b) links from left to right, with an explicit stack so that a
// long list costs no native stack. visit tells whether to go on; a link's children are visited
// only when open(link) says so.
template <class Open, class Visit>
bool walklinks(const Cell *c, Open open, Visit visit) {
  std::vector<const Cell *> todo{c};
  while (!todo.empty()) {
    const Cell *t = todo.back();
    todo.pop_back();
    const Cell *l, *r;
    if (open(t) && node(t, "J", l, r)) {
      todo.push_back(r);
      todo.push_back(l);
    } else if (!visit(t)) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool isbytetree(const CellRef &t) {
  unsigned char b;
  return bytetreebits(t.get(), b);
}

unsigned char bytetree(const CellRef &t) {
  unsigned char b;
  must(bytetreebits(t.get(), b));
  return b;
}

bool isrealbyte(const CellRef &t) {
  unsigned char b = 0;
  return realbits(t.get(), 3, &b);
}

unsigned char realbyte(const CellRef &t) {
  unsigned char b = 0;
  must(realbits(t.get(), 3, &b));
  return b;
}

bool isrealtree(const CellRef &t) {
  unsigned char b[8] = {};
  return realbits(t.get(), 6, b);
}

std::string realtree(const CellRef &t) {
  unsigned char b[8] = {};
  must(realbits(t.get(), 6, b));
  return std::string((const char *)b, 8);
}

// A byte tree is taken whole before a link is split, so that its bits are never read as a list.
bool isbytes(const CellRef &t) {
  unsigned char b;
  auto open = [&](const Cell *c) { return !bytetreebits(c, b); };
  auto visit = [&](const Cell *c) { return leafis(c, "K") || bytetreebits(c, b); };
  return walklinks(t.get(), open, visit);
}

std::string bytes(const CellRef &t) {
  std::string out;
  unsigned char b;
  auto open = [&](const Cell *c) { return !bytetreebits(c, b); };
  auto visit = [&](const Cell *c) {
    if (leafis(c, "K")) return true;
    must(bytetreebits(c, b));
    out += (char)b;
    return true;
  };
  walklinks(t.get(), open, visit);
  return out;
}

bool isbitlist(const CellRef &t) {
  const Cell *c = t.get(), *b, *rest;
  if (leafis(c, "K")) return false;
  for (; node(c, "J", b, rest); c = rest)
    if (!leafis(b, "K") && !leafis(b, "H")) return false;
  return leafis(c, "K");
}

// Post-order over the links: each finished link joins the data of its two parts into a pair.
CellRef treetext(const CellRef &t) {
  struct Frame {
    const Cell *link;
    int done;  // children converted so far
  };
  std::vector<Frame> stack;
  std::vector<CellRef> parts;
  const Cell *c = t.get();
  for (;;) {
    const Cell *l, *r;
    while (node(c, "J", l, r)) {
      stack.push_back({c, 0});
      c = l;
    }
    if (!leafis(c, "K")) return CellRef("Z");
    parts.emplace_back("[]");
    for (;;) {
      if (stack.empty()) return std::move(parts.back());
      Frame &f = stack.back();
      if (++f.done == 1) {
        c = f.link->right;
        break;
      }
      CellRef right = std::move(parts.back());
      parts.pop_back();
      parts.back() = cellpair(std::move(parts.back()), std::move(right));
      stack.pop_back();
    }
  }
}
