// Compiling a definition's body: each part becomes code that gives the value the machine's steps
// over the substituted body would give, with the same calls of built-ins in the same order and the
// same cells made. What the compiler cannot follow is built as a term and left to the machine.
#include <algorithm>
#include <unordered_map>

#include "lang/analysis.h"
#include "lang/code.h"
#include "lang/rules.h"

namespace {

struct Compiler {
  Code &code;
  std::array<uint8_t, 26> env;  // slot of each bound variable; 255 where none
  uint32_t bound = 0;
  int depth = 0;

  uint32_t vars(Cell *t) { return freeset(t) & bound; }

  uint32_t cellindex(Cell *c) {
    code.cells.emplace_back(c);
    return (uint32_t)code.cells.size() - 1;
  }

  size_t emit(Op op, uint32_t c = 0, uint32_t m = 0, int n = 0, int s = 0) {
    code.ins.push_back(Ins{op, (uint8_t)n, (uint16_t)s, c, m});
    return code.ins.size() - 1;
  }

  size_t here() { return code.ins.size(); }
  void patch(size_t at) { code.ins[at].c = (uint32_t)here(); }

  // The term as the machine would have it: the cell itself, or a copy with the slots' values.
  void term(Cell *t) {
    if (!vars(t)) {
      emit(Op::cell, cellindex(t));
      return;
    }
    if (code.maps.empty() || code.maps.back() != env) code.maps.push_back(env);
    emit(Op::build, cellindex(t), (uint32_t)code.maps.size() - 1);
  }

  void finish(bool tail) { emit(tail ? Op::done : Op::eval); }

  void gen(Cell *t, bool tail);
  bool spine(Cell *t, bool tail);
  bool withextras(Cell *x, const std::vector<Cell *> &extras, size_t from, bool tail);
  bool selector(Cell *h, const std::vector<Cell *> &a, bool tail);
  bool bind(Cell *x, Cell *value, Cell *body, const std::vector<Cell *> &a, bool tail);
  bool builtin(Cell *h, const builtinrow *row, const std::vector<Cell *> &a, int arity, bool tail);
  bool call(Cell *h, const std::vector<Cell *> &a, int arity, bool tail);
  bool partial(Cell *t, Cell *h, const std::vector<Cell *> &a, bool virt, int arity, bool tail);
  bool staticnormal(Cell *t);
};


// A global constant whose entry is a value already: that entry stays for the run.
Cell *constvalue(Cell *h) {
  if (!isnameleaf(h) || arityof(h) != 0) return nullptr;
  Named &n = named(h);
  if (!n.defined || n.row) return nullptr;
  Cell *d = n.def->second.get();
  return shapeof(d) != 'u' && isnormal(d) ? d : nullptr;
}

bool isconstleaf(Cell *h) {
  if (!isnameleaf(h) || arityof(h) != 0) return false;
  Named &n = named(h);
  return n.defined && !n.row && shapeof(n.def->second.get()) != 'u';
}

// Whether the term with normal values put for its variables is normal: a variable, an
// abstraction, or a named head short of its arguments, all of which are such terms.
bool Compiler::staticnormal(Cell *t) {
  if (!vars(t)) return isnormal(t);
  if (isleafcell(t) || shapeof(t) == 'u') return true;
  int m = 0;
  Cell *h = t;
  for (; !isleafcell(h) && !isdata(h); h = h->left, m++)
    if (!staticnormal(h->right)) return false;
  if (!isnameleaf(h) || vars(h)) return false;
  int a = arityof(h);
  return a != 11 && a - m >= 1;
}

void Compiler::gen(Cell *t, bool tail) {
  depth++;
  uint32_t b = vars(t);
  if (!b && isnormal(t)) {
    emit(Op::cell, cellindex(t));
  } else if (b && isleafcell(t)) {
    emit(Op::slot, 0, 0, 0, env[headbyte(t) - 'a']);
  } else if (b && staticnormal(t)) {
    term(t);
  } else if (!b && isconstleaf(t)) {
    emit(Op::global, cellindex(t));
  } else if (depth < 200 && spine(t, tail)) {
    depth--;
    return;
  } else {
    term(t);
    finish(tail);
    depth--;
    return;
  }
  if (tail) emit(Op::done);
  depth--;
}

// x applied to the extra arguments: they wait in argument frames, as the machine keeps them,
// while x is evaluated in their sight.
bool Compiler::withextras(Cell *x, const std::vector<Cell *> &extras, size_t from, bool tail) {
  if (from >= extras.size()) {
    gen(x, tail);
    return true;
  }
  size_t resume = tail ? 0 : emit(Op::resume);
  for (size_t i = extras.size(); i-- > from;) {
    term(extras[i]);
    emit(Op::argument);
  }
  gen(x, true);
  if (!tail) patch(resume);
  return true;
}

bool Compiler::spine(Cell *t, bool tail) {
  std::vector<Cell *> a;
  Cell *h = t;
  for (; !isleafcell(h) && !isdata(h); h = h->left) a.push_back(h->right);
  std::reverse(a.begin(), a.end());
  if (!isleafcell(h) || vars(h)) return false;
  bool virt = false;
  if (Cell *d = constvalue(h)) {
    if (!isnameleaf(d)) return false;
    h = d;
    virt = true;
  }
  int m = (int)a.size(), arity = arityof(h);
  if (!virt && m >= 3 && (leafis(h, "\\") || leafis(h, "{")) && isleafcell(a[0]) && freeset(a[0])) {
    bool lam = leafis(h, "\\");
    return bind(a[0], a[lam ? 2 : 1], a[lam ? 1 : 2], a, tail);
  }
  if (!isnameleaf(h) || arity < 1 || arity > 10) return false;
  Named &n = named(h);
  if (!n.row && !n.defined) return false;
  if (m < arity) return partial(t, h, a, virt, arity, tail);
  if (lazyhead(h)) return selector(h, a, tail);
  if (n.row) return builtin(h, n.row, a, arity, tail);
  if (shapeof(n.def->second.get()) == 'u') return call(h, a, arity, tail);
  return false;
}

// The prelude's K, H and I with all their arguments: the argument they give, applied to the rest.
bool Compiler::selector(Cell *h, const std::vector<Cell *> &a, bool tail) {
  int m = (int)a.size();
  if (intact.K && leafis(h, "K") && m >= 2) return withextras(a[0], a, 2, tail);
  if (intact.I && leafis(h, "I")) return withextras(a[0], a, 1, tail);
  if (!intact.H || !leafis(h, "H")) return false;
  if (m >= 2 && intact.I) return withextras(a[1], a, 2, tail);
  if (m != 1) return false;
  emit(Op::cell, cellindex(intact.hbody));
  if (tail) emit(Op::done);
  return true;
}

// (\ x) body applied to a value, or { x value body: the value first, then the body with x bound.
bool Compiler::bind(Cell *x, Cell *value, Cell *body, const std::vector<Cell *> &a, bool tail) {
  if (code.slots >= 250) return false;
  gen(value, false);
  uint32_t slot = code.slots++;
  emit(Op::let, 0, 0, 0, (int)slot);
  auto saved = env;
  uint32_t savedbound = bound;
  int v = headbyte(x) - 'a';
  env[v] = (uint8_t)slot;
  bound |= 1u << v;
  withextras(body, a, 3, tail);
  env = saved;
  bound = savedbound;
  return true;
}

bool Compiler::builtin(Cell *h, const builtinrow *row, const std::vector<Cell *> &a, int arity, bool tail) {
  for (int i = 0; i < arity; i++) gen(a[i], false);
  code.rows.push_back(row);
  emit(Op::builtin, (uint32_t)code.rows.size() - 1, cellindex(h), arity);
  size_t extras = a.size() - (size_t)arity;
  if (extras == 0) {
    finish(tail);
    return true;
  }
  std::vector<size_t> joins;
  if (extras == 2 && (intact.K || intact.H)) {
    size_t select = emit(Op::select);
    gen(a[arity], tail);
    if (!tail) joins.push_back(emit(Op::jump));
    patch(select);
    gen(a[arity + 1], tail);
    if (!tail) joins.push_back(emit(Op::jump));
    code.ins[select].m = (uint32_t)here();
  }
  for (size_t i = (size_t)arity; i < a.size(); i++) term(a[i]);
  joins.push_back(emit(Op::apply, 0, 0, (int)extras, tail));
  for (size_t j : joins) patch(j);
  return true;
}

bool Compiler::call(Cell *h, const std::vector<Cell *> &a, int arity, bool tail) {
  bool extras = a.size() > (size_t)arity;
  size_t resume = extras && !tail ? emit(Op::resume) : 0;
  for (size_t i = a.size(); extras && i-- > (size_t)arity;) {
    term(a[i]);
    emit(Op::argument);
  }
  for (int i = 0; i < arity; i++) gen(a[i], false);
  emit(Op::call, cellindex(h), 0, arity, tail || extras);
  if (extras && !tail) patch(resume);
  return true;
}

// A named head short of its arguments: the part up to the first argument that is not a value
// is built, the others are evaluated in order and paired on. A linear head in tail position
// takes waiting arguments instead when enough of them wait, as the machine does.
bool Compiler::partial(Cell *t, Cell *h, const std::vector<Cell *> &a, bool virt, int arity, bool tail) {
  int m = (int)a.size(), first = 0;
  if (!virt)
    while (first < m && staticnormal(a[first])) first++;
  bool grabs = lazyhead(h) && tail;
  size_t grab = grabs ? emit(Op::grab, 0, 0, arity - m) : 0;
  Cell *prefix = t;
  for (int i = m; i > first; i--) prefix = prefix->left;
  if (virt) emit(Op::cell, cellindex(h));
  else term(prefix);
  for (int i = first; i < m; i++) {
    gen(a[i], false);
    emit(Op::pair);
  }
  if (tail) emit(Op::done);
  if (grabs) {
    patch(grab);
    term(t);
    emit(Op::done);
  }
  return true;
}

Code compile(Cell *def) {
  Code code;
  Compiler c{code, {}, 0, 0};
  c.env.fill(255);
  for (; shapeof(def) == 'u'; def = def->right) {
    int v = textof(def->left->right)[0] - 'a';
    c.env[v] = (uint8_t)code.slots++;
    c.bound |= 1u << v;
  }
  code.params = code.slots;
  c.gen(def, true);
  code.ok = true;
  return code;
}

}  // namespace

const Code &codeof(Cell *def) {
  struct Entry {
    CellRef def;
    Code code;
  };
  static std::unordered_map<Cell *, Entry> cache;
  static uint64_t generation = ~0ull;
  if (generation != tablesgeneration) {
    cache.clear();
    generation = tablesgeneration;
  }
  auto found = cache.find(def);
  if (found != cache.end()) return found->second.code;
  if (cache.size() > 4096)
    std::erase_if(cache, [](const auto &e) { return countof(e.second.def.get()) == 1; });
  return cache.emplace(def, Entry{CellRef(def), compile(def)}).first->second.code;
}
