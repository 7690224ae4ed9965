// The passes over lambdas and locals. They walk definitions as written in a program, so they
// recurse by the nesting of its source, as the parser does.
#include "lang/lambda.h"

#include <vector>

#include "core/base.h"
#include "lang/analysis.h"
#include "lang/chars.h"
#include "lang/print.h"

static CellRef emptynames() { return CellRef("()"); }
static bool isempty(Cell *list) { return isleafcell(list); }

CellRef nameone(const CellRef &leaf) { return cellpair(leaf, emptynames()); }

size_t namecount(const CellRef &list) {
  size_t n = 0;
  for (Cell *c = list.get(); !isempty(c); c = c->right) n++;
  return n;
}

bool namehas(const CellRef &list, const std::string &name) {
  for (Cell *c = list.get(); !isempty(c); c = c->right)
    if (celltextof(c->left) == name) return true;
  return false;
}

// The merge of two sorted lists, built from the back so that no recursion is needed.
CellRef nameunion(const CellRef &a, const CellRef &b) {
  std::vector<Cell *> merged;
  Cell *x = a.get(), *y = b.get();
  while (!isempty(x) || !isempty(y)) {
    int c = isempty(x) ? 1 : isempty(y) ? -1 : celltextof(x->left).compare(celltextof(y->left));
    if (c <= 0) merged.push_back(x->left), x = x->right;
    else merged.push_back(y->left), y = y->right;
    if (c == 0) y = y->right;
  }
  CellRef out = emptynames();
  for (size_t i = merged.size(); i-- > 0;) out = cellpair(CellRef(merged[i]), std::move(out));
  return out;
}

CellRef nameadd(const CellRef &list, const CellRef &leaf) { return nameunion(list, nameone(leaf)); }

CellRef namedrop(const CellRef &list, const std::string &name) {
  if (!namehas(list, name)) return list;
  std::vector<Cell *> kept;
  for (Cell *c = list.get(); !isempty(c); c = c->right)
    if (celltextof(c->left) != name) kept.push_back(c->left);
  CellRef out = emptynames();
  for (size_t i = kept.size(); i-- > 0;) out = cellpair(CellRef(kept[i]), std::move(out));
  return out;
}

// A pair rebuilt from new children, or the same cell when both came back unchanged.
static CellRef rebuild(const CellRef &t, CellRef l, CellRef r) {
  if (l.get() == t->left && r.get() == t->right) return t;
  return cellpair(std::move(l), std::move(r));
}

static CellRef leftof(const CellRef &t) { return cellleft(t); }
static CellRef rightof(const CellRef &t) { return cellright(t); }

// The binder of a term of shape u or i.
static std::string bindername(const CellRef &t, char shape) {
  Cell *x = shape == 'u' ? t->left->right : t->left->left->right;
  return namecore(celltextof(x));
}

CellRef unquote(const CellRef &t) {
  if (!cellispair(t)) return t;
  if (isleafcell(t->left) && headbyte(t->left) == '`') {
    CellRef e = rightof(t);
    return cellpair3(CellRef("V"), CellRef("[" + termprint(e) + "]"), unquote(e));
  }
  return rebuild(t, unquote(leftof(t)), unquote(rightof(t)));
}

CellRef unpair(const CellRef &t) {
  if (!cellispair(t)) return t;
  CellRef r = rebuild(t, unpair(leftof(t)), unpair(rightof(t)));
  if (shapeof(r) != 'i') return r;
  Cell *p = r->left->left->right;
  if (isleafcell(p) || !isleafcell(p->left) || !isleafcell(p->right)) return r;
  CellRef x(p->left), y(p->right);
  if (!isname(celltext(x)) || !isname(celltext(y))) return r;
  CellRef e(r->left->right), b(r->right), brace(r->left->left->left);
  std::string core = namecore(celltext(y));
  CellRef second = cellpair4(brace, y, cellpair(CellRef(core), CellRef("H")), b);
  CellRef first = cellpair4(brace, x, cellpair(CellRef(core), CellRef("K")), second);
  return cellpair4(brace, y, e, first);
}

static bool clean(const CellRef &found) { return !cellispair(found) && celllen(found) == 0; }

CellRef funkyterm(const CellRef &t) {
  if (!cellispair(t)) return CellRef("");
  CellRef l = leftof(t), r = rightof(t);
  if (!cellispair(l)) return funkyterm(r);
  CellRef found("");
  if (isleafcell(l->left)) {
    if (leafis(l->left, "\\")) return isname(celltextof(l->right)) ? funkyterm(r) : t;
    found = funkyterm(rightof(l));
  } else if (leafis(l->left->left, "{")) {
    if (!isname(celltextof(l->left->right))) return t;
    found = funkyterm(rightof(l));
  } else {
    found = funkyterm(l);
  }
  return clean(found) ? funkyterm(r) : found;
}

CellRef globalrefs(const CellRef &t) {
  if (!cellispair(t)) {
    std::string text = celltext(t);
    if (isleafname(text) && text[0] != '{' && text[0] != '\\') return nameone(t);
    return emptynames();
  }
  char shape = shapeof(t);
  if (shape == 'u') return namedrop(globalrefs(rightof(t)), bindername(t, 'u'));
  if (shape == 'i') {
    CellRef e(t->left->right);
    return nameunion(globalrefs(e), namedrop(globalrefs(rightof(t)), bindername(t, 'i')));
  }
  return nameunion(globalrefs(leftof(t)), globalrefs(rightof(t)));
}

// The binders of a term whose text passes or fails the test of a single letter.
static CellRef binders(const CellRef &t, bool letters) {
  if (!cellispair(t)) return emptynames();
  Cell *l = t->left, *r = t->right;
  if (isleafcell(l) && (headbyte(l) == '{' || headbyte(l) == '\\') && isleafcell(r))
    return isvarname(celltextof(r)) == letters ? nameone(rightof(t)) : emptynames();
  return nameunion(binders(leftof(t), letters), binders(rightof(t), letters));
}

CellRef wordbinders(const CellRef &t) { return binders(t, false); }
CellRef letterbinders(const CellRef &t) { return binders(t, true); }

std::optional<CellRef> wordlocals(const std::string &name, CellRef t) {
  CellRef words = wordbinders(t), letters = letterbinders(t);
  if (namecount(words)) tolmlog("First " + name + ": " + termprint(t) + "\n");
  if (namecount(words) + namecount(letters) > 26) return std::nullopt;
  for (Cell *w = words.get(); !isempty(w); w = w->right) {
    char letter = 'a';
    while (namehas(letters, std::string(1, letter))) letter++;
    letters = nameadd(letters, CellRef(std::string(1, letter)));
    t = renamebinder(t, celltextof(w->left), std::string(1, letter));
  }
  return t;
}

CellRef renamebinder(const CellRef &t, const std::string &from, const std::string &to) {
  if (!cellispair(t)) return t;
  char shape = shapeof(t);
  if (shape == 'i' && bindername(t, 'i') == from) {
    Cell *brace = t->left->left->left;
    return cellpair4(CellRef(brace), CellRef(to), renamebinder(CellRef(t->left->right), from, to),
                     renamewithin(rightof(t), from, to));
  }
  if (shape == 'u' && bindername(t, 'u') == from)
    return cellpair3(CellRef(t->left->left), CellRef(to), renamewithin(rightof(t), from, to));
  return rebuild(t, renamebinder(leftof(t), from, to), renamebinder(rightof(t), from, to));
}

// An occurrence is renamed only where it stands as the body of a binder, or as the whole of a
// binding's body: inside an application the children are walked as binders only.
CellRef renamewithin(const CellRef &t, const std::string &from, const std::string &to) {
  if (!cellispair(t)) return celltext(t) == from ? CellRef(to) : t;
  char shape = shapeof(t);
  if (shape == 'i') {
    bool same = bindername(t, 'i') == from;
    Cell *brace = t->left->left->left;
    CellRef binder = same ? CellRef(to) : CellRef(t->left->left->right);
    CellRef e = same ? renamebinder(CellRef(t->left->right), from, to) : renamewithin(CellRef(t->left->right), from, to);
    return cellpair4(CellRef(brace), binder, e, renamewithin(rightof(t), from, to));
  }
  if (shape == 'u') {
    CellRef binder = bindername(t, 'u') == from ? CellRef(to) : CellRef(t->left->right);
    return cellpair3(CellRef(t->left->left), binder, renamewithin(rightof(t), from, to));
  }
  return rebuild(t, renamebinder(leftof(t), from, to), renamebinder(rightof(t), from, to));
}
