// The passes over lambdas and locals. Each walks a definition with a stack of its own, so that a
// term as deep as the nesting of its source costs heap and not native stack.
#include "lang/lambda.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
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
static CellRef rebuild(Cell *t, CellRef l, CellRef r) {
  if (l.get() == t->left && r.get() == t->right) return CellRef(t);
  return cellpair(std::move(l), std::move(r));
}

// The binder of a term of shape u or i.
static std::string bindername(Cell *t, char shape) {
  Cell *x = shape == 'u' ? t->left->right : t->left->left->right;
  return namecore(celltextof(x));
}

namespace {
// What a rebuilding pass does with one cell: give its result at once, or first work on up to three
// parts of it, each in a mode of the pass, and then put their results together.
struct Plan {
  std::optional<CellRef> now;
  int n = 0;
  Cell *part[3];
  int mode[3];
};

Plan at(CellRef result) { return Plan{std::move(result)}; }
Plan parts(std::initializer_list<std::pair<Cell *, int>> list) {
  Plan p;
  for (auto [cell, mode] : list) p.part[p.n] = cell, p.mode[p.n++] = mode;
  return p;
}

// A term rebuilt from the bottom up with an explicit stack: open plans a cell, close makes its
// result from the results of its parts, which stand in order from done[0].
template <class Open, class Close>
CellRef rebuildwalk(Cell *root, int mode, Open open, Close close) {
  struct Frame {
    Cell *t;
    int mode;
    Plan plan;
    size_t base;
    int next;
  };
  std::vector<Frame> frames;
  std::vector<CellRef> done;
  auto enter = [&](Cell *t, int m) {
    Plan p = open(t, m);
    if (p.now) done.push_back(std::move(*p.now));
    else frames.push_back({t, m, std::move(p), done.size(), 0});
  };
  enter(root, mode);
  while (!frames.empty()) {
    Frame &f = frames.back();
    if (f.next < f.plan.n) {
      int k = f.next++;
      enter(f.plan.part[k], f.plan.mode[k]);
      continue;
    }
    CellRef r = close(f.t, f.mode, &done[f.base]);
    done.erase(done.begin() + (ptrdiff_t)f.base, done.end());
    frames.pop_back();
    done.push_back(std::move(r));
  }
  return std::move(done.back());
}
}  // namespace

// Whether a cell of the term passes the test, by a walk that makes nothing. No test walks a
// term itself, so one stack serves every call.
template <class Test>
static bool anycell(Cell *t, Test test) {
  static std::vector<Cell *> todo;
  todo.assign(1, t);
  while (!todo.empty()) {
    Cell *c = todo.back();
    todo.pop_back();
    if (test(c)) return true;
    if (!isleafcell(c)) todo.insert(todo.end(), {c->right, c->left});
  }
  return false;
}

static bool quoted(Cell *c) { return !isleafcell(c) && isleafcell(c->left) && headbyte(c->left) == '`'; }

CellRef unquote(const CellRef &t) {
  if (!anycell(t.get(), quoted)) return t;
  auto open = [](Cell *c, int) {
    if (isleafcell(c)) return at(CellRef(c));
    if (isleafcell(c->left) && headbyte(c->left) == '`') return parts({{c->right, 0}});
    return parts({{c->left, 0}, {c->right, 0}});
  };
  auto close = [](Cell *c, int, CellRef *r) {
    if (isleafcell(c->left) && headbyte(c->left) == '`')
      return cellpair3(CellRef("V"), CellRef(termprint(CellRef(c->right)).insert(0, 1, '[').append(1, ']')),
                       std::move(r[0]));
    return rebuild(c, std::move(r[0]), std::move(r[1]));
  };
  return rebuildwalk(t.get(), 0, open, close);
}

// A binding whose binder is a pair of two names. Its children never change that: a binder of two
// leaves and the pair of "{" with it come back from the walk as they were.
static bool pairpattern(Cell *r) {
  if (shapeof(r) != 'i') return false;
  Cell *p = r->left->left->right;
  if (isleafcell(p) || !isleafcell(p->left) || !isleafcell(p->right)) return false;
  return isname(celltextof(p->left)) && isname(celltextof(p->right));
}

// A binding with a pair pattern becomes three bindings: the value under the second name, then the
// first name bound to its first part, then the second to its second part.
static CellRef unpairone(CellRef r) {
  if (!pairpattern(r.get())) return r;
  Cell *p = r->left->left->right;
  CellRef x(p->left), y(p->right);
  CellRef e(r->left->right), b(r->right), brace(r->left->left->left);
  std::string core = namecore(celltext(y));
  CellRef second = cellpair4(brace, y, cellpair(CellRef(core), CellRef("H")), b);
  CellRef first = cellpair4(brace, x, cellpair(CellRef(core), CellRef("K")), second);
  return cellpair4(brace, y, e, first);
}

CellRef unpair(const CellRef &t) {
  if (!anycell(t.get(), pairpattern)) return t;
  auto open = [](Cell *c, int) { return isleafcell(c) ? at(CellRef(c)) : parts({{c->left, 0}, {c->right, 0}}); };
  auto close = [](Cell *c, int, CellRef *r) { return unpairone(rebuild(c, std::move(r[0]), std::move(r[1]))); };
  return rebuildwalk(t.get(), 0, open, close);
}

// A term without pair patterns keeps none after unquote, which rebuilds a pair only as it was or
// as the application of V.
CellRef unsugar(const CellRef &t) {
  if (!anycell(t.get(), [](Cell *c) { return quoted(c) || pairpattern(c); })) return t;
  return unpair(unquote(t));
}

// The text of a leaf as a view, and nothing for a pair.
static std::string_view textview(Cell *c) { return isleafcell(c) ? std::string_view(textof(c)) : std::string_view(); }

// The name a binder binds, as a view of its leaf's text: "[+]" binds "+".
static std::string_view bound(Cell *binder) {
  std::string_view text = textview(binder);
  must(isname(text));
  return text[0] == '[' ? text.substr(1, 1) : text;
}

// A binder leaf that is no single letter, in a pair of a leaf "{" or "\" with it.
static bool wordbinder(Cell *op, Cell *x) {
  return isleafcell(op) && (headbyte(op) == '{' || headbyte(op) == '\\') && isleafcell(x) && !isvarname(textof(x));
}

namespace {
// The names bound around the cell in work: single letters, the usual binders, by count, and other
// names by a count of their own; each walk has its own.
struct Scopes {
  int letters[26] = {};
  size_t words = 0;
  std::unordered_map<std::string_view, int> binding;  // views of binder texts in the term
  void step(Cell *binder, int by) {
    std::string_view name = bound(binder);
    if (isvarname(name)) {
      letters[name[0] - 'a'] += by;
      return;
    }
    words += by;
    auto b = binding.try_emplace(name, 0).first;
    if ((b->second += by) == 0) binding.erase(b);
  }
  // A leaf counts where no binder around it binds its name.
  bool refers(Cell *c) const {
    unsigned char h = headbyte(c);
    if (!h || h == '{' || h == '\\' || h == '[' || h == '(' || h == ' ' || isdigitbyte(h)) return false;
    std::string_view text(textof(c));
    if (!isleafname(text)) return false;
    return isvarname(text) ? letters[h - 'a'] == 0 : !words || !binding.count(text);
  }
};
}  // namespace

// One walk in the order of the search for a bad binder: the value of a binding before its body,
// the left of an application before its right. The binder of "\" over the body and of "{" over
// the body, not the value, hides a leaf of its name from the references.
void firstwalk(Cell *t, bool sugar, Firstfound &out) {
  enum Op { visit, bind, unbind };
  static std::vector<std::pair<Cell *, Op>> todo;  // nothing in the walk calls back here
  Scopes scopes;
  out.bad = nullptr, out.sugar = out.words = false;
  out.refs.clear();
  todo.assign(1, {t, visit});
  auto stop = [&](Cell *bad, bool sugared) { out.bad = bad, out.sugar = sugared; };
  while (!todo.empty()) {
    auto [c, op] = todo.back();
    todo.pop_back();
    if (op != visit) {
      scopes.step(c, op == bind ? 1 : -1);
      continue;
    }
    if (isleafcell(c)) {
      if (scopes.refers(c)) out.refs.emplace_back(textof(c));
      continue;
    }
    Cell *l = c->left, *r = c->right;
    if (sugar && quoted(c)) return stop(nullptr, true);
    if (isleafcell(l)) {
      out.words |= wordbinder(l, r);
      todo.insert(todo.end(), {{r, visit}, {l, visit}});
    } else if (isleafcell(l->left) && leafis(l->left, "\\")) {
      if (!isname(textview(l->right))) return stop(c, false);
      out.words |= wordbinder(l->left, l->right);
      todo.insert(todo.end(), {{l->right, unbind}, {r, visit}, {l->right, bind}});
    } else if (isleafcell(l->left)) {
      if (sugar && quoted(l)) return stop(nullptr, true);
      out.words |= wordbinder(l->left, l->right);
      todo.insert(todo.end(), {{r, visit}, {l->right, visit}, {l->left, visit}});
    } else if (leafis(l->left->left, "{")) {
      Cell *x = l->left->right;
      if (!isname(textview(x))) return sugar && pairpattern(c) ? stop(nullptr, true) : stop(c, false);
      out.words |= wordbinder(l->left->left, x);
      todo.insert(todo.end(), {{x, unbind}, {r, visit}, {x, bind}, {l->right, visit}});
    } else {
      todo.insert(todo.end(), {{r, visit}, {l, visit}});
    }
  }
}

// The first bad binder, or the empty leaf.
CellRef funkyterm(const CellRef &t) {
  Firstfound f;
  firstwalk(t.get(), false, f);
  return f.bad ? CellRef(f.bad) : CellRef("");
}

// A term given here has passed the search for bad binders.
void refseach(const CellRef &term, const std::function<void(std::string_view)> &found) {
  Firstfound f;
  firstwalk(term.get(), false, f);
  must(!f.bad);
  for (std::string_view n : f.refs) found(n);
}

std::vector<std::string> refsof(const CellRef &term) {
  std::unordered_set<std::string_view> found;  // views of leaf texts, alive while the term is
  refseach(term, [&](std::string_view n) { found.insert(n); });
  std::vector<std::string> out(found.begin(), found.end());
  std::sort(out.begin(), out.end());
  return out;
}

CellRef globalrefs(const CellRef &t) {
  std::vector<std::string> names = refsof(t);
  CellRef out = emptynames();
  for (size_t i = names.size(); i-- > 0;) out = cellpair(CellRef(names[i]), std::move(out));
  return out;
}

// Walks the binders of t, each the leaf right of a leaf "{" or "\", without looking below them;
// stops and answers true as soon as see does.
template <class See>
static bool walkbinders(Cell *t, std::vector<Cell *> &todo, See see) {
  todo.assign(1, t);
  while (!todo.empty()) {
    Cell *c = todo.back();
    todo.pop_back();
    if (isleafcell(c)) continue;
    Cell *l = c->left, *r = c->right;
    if (isleafcell(l) && (headbyte(l) == '{' || headbyte(l) == '\\') && isleafcell(r)) {
      if (see(r)) return true;
      continue;
    }
    todo.push_back(r);
    todo.push_back(l);
  }
  return false;
}

// The binders of a term whose text passes or fails the test of a single letter, each once.
static CellRef binders(const CellRef &t, bool letters) {
  std::vector<Cell *> todo, found;
  std::unordered_set<std::string_view> seen;
  walkbinders(t.get(), todo, [&](Cell *r) {
    std::string_view name(textof(r), celllenof(r));
    if (isvarname(std::string(name)) == letters && seen.insert(name).second) found.push_back(r);
    return false;
  });
  std::sort(found.begin(), found.end(), [](Cell *a, Cell *b) { return celltextof(a) < celltextof(b); });
  CellRef out = emptynames();
  for (size_t i = found.size(); i-- > 0;) out = cellpair(CellRef(found[i]), std::move(out));
  return out;
}

CellRef wordbinders(const CellRef &t) { return binders(t, false); }
CellRef letterbinders(const CellRef &t) { return binders(t, true); }

// The walk of binders that makes nothing.
bool anywordbinder(Cell *t) {
  static std::vector<Cell *> todo;  // nothing in the walk calls back here
  return walkbinders(t, todo, [](Cell *r) { return !isvarname(textof(r)); });
}

// A term whose binders are all single letters has no more than 26 of them and stays as it is.
std::optional<CellRef> wordlocals(const std::string &name, CellRef t) {
  if (!anywordbinder(t.get())) return t;
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

// Renaming walks in two modes. As binders, a binding or function of the old name gets the new
// one, and every other pair is walked as binders again. Within, an occurrence that is the whole of
// the term is renamed too, but inside an application the children are walked as binders only.
namespace {
enum Mode { asbinder, within };

CellRef rename(Cell *t, Mode mode, const std::string &from, const std::string &to) {
  auto open = [&](Cell *c, int m) {
    if (isleafcell(c)) return at(m == within && celltextof(c) == from ? CellRef(to) : CellRef(c));
    char shape = shapeof(c);
    bool same = (shape == 'i' || shape == 'u') && bindername(c, shape) == from;
    if (shape == 'i' && (same || m == within))
      return parts({{c->left->right, same ? asbinder : within}, {c->right, within}});
    if (shape == 'u' && (same || m == within)) return parts({{c->right, within}});
    return parts({{c->left, asbinder}, {c->right, asbinder}});
  };
  auto close = [&](Cell *c, int m, CellRef *r) {
    char shape = shapeof(c);
    bool same = (shape == 'i' || shape == 'u') && bindername(c, shape) == from;
    if (shape == 'i' && (same || m == within)) {
      CellRef binder = same ? CellRef(to) : CellRef(c->left->left->right);
      return cellpair4(CellRef(c->left->left->left), std::move(binder), std::move(r[0]), std::move(r[1]));
    }
    if (shape == 'u' && (same || m == within)) {
      CellRef binder = same ? CellRef(to) : CellRef(c->left->right);
      return cellpair3(CellRef(c->left->left), std::move(binder), std::move(r[0]));
    }
    return rebuild(c, std::move(r[0]), std::move(r[1]));
  };
  return rebuildwalk(t, mode, open, close);
}
}  // namespace

CellRef renamebinder(const CellRef &t, const std::string &from, const std::string &to) {
  return rename(t.get(), asbinder, from, to);
}

CellRef renamewithin(const CellRef &t, const std::string &from, const std::string &to) {
  return rename(t.get(), within, from, to);
}
