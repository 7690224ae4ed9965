// Compiling a definition's body: each part becomes code that gives the value the machine's steps
// over the substituted body would give, with the same calls of built-ins in the same order and the
// same cells made. What the compiler cannot follow is built as a term and left to the machine.
#include <algorithm>
#include <limits>
#include <unordered_map>

#include "lang/analysis.h"
#include "lang/code.h"
#include "lang/rules.h"

namespace {

// An argument as the compiler knows it: a term of the body, or a value that waits in a slot.
struct Item {
  Cell *t = nullptr;
  int slot = -1;
};
using Items = std::vector<Item>;

// Nesting of the walk past which a term is left to the machine, against deep native recursion;
// and the most values one instruction counts in its n.
constexpr int deepest = 200;
constexpr size_t mostvalues = std::numeric_limits<decltype(Ins::n)>::max();

struct Compiler {
  Code &code;
  std::array<uint8_t, 26> env;  // slot of each bound variable; 255 where none
  uint32_t bound = 0;
  int depth = 0;      // of nested terms, against deep recursion here
  int dynamics = 0;   // of nested case splits, each of which copies the code after it
  uint32_t top = 0;   // the first free slot; slots of finished scopes are used again

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
  int newslot() {
    if (top >= 250) return -1;
    code.slots = std::max(code.slots, top + 1);
    return (int)top++;
  }

  // The term as the machine would have it: the cell itself, or a copy with the slots' values.
  void term(Cell *t) {
    if (!vars(t)) {
      lambda(t);
      emit(Op::cell, cellindex(t));
      return;
    }
    if (code.maps.empty() || code.maps.back() != env) code.maps.push_back(env);
    emit(Op::build, cellindex(t), (uint32_t)code.maps.size() - 1);
  }

  void term(const Item &i) {
    if (!i.t) emit(Op::slot, 0, 0, 0, i.slot);
    else if (isleafcell(i.t) && vars(i.t)) emit(Op::slot, 0, 0, 0, env[headbyte(i.t) - 'a']);
    else term(i.t);
  }

  // An argument frame for the item; a term with variables is kept unbuilt with their values.
  void waits(const Item &i) {
    if (!i.t || !vars(i.t) || isleafcell(i.t)) {
      term(i);
      emit(Op::argument);
      return;
    }
    if (code.maps.empty() || code.maps.back() != env) code.maps.push_back(env);
    emit(Op::defer, cellindex(i.t), (uint32_t)code.maps.size() - 1);
  }

  void value(const Item &i) {
    if (i.t) gen(i.t, false);
    else emit(Op::slot, 0, 0, 0, i.slot);
  }

  // A closed abstraction of the text: its applications may run its compiled body.
  void lambda(Cell *t) {
    if (shapeof(t) == 'u') lambdamade(t, t, nullptr, 0);
  }

  bool isvalue(const Item &i) { return !i.t || (vars(i.t) ? staticnormal(i.t) : isnormal(i.t)); }

  void finish(bool tail) { emit(tail ? Op::done : Op::eval); }

  void gen(Cell *t, bool tail);
  void apply(const Item &head, const Items &items, size_t from, bool tail);
  void applyterm(Cell *t, const Items &items, size_t from, bool tail);
  void framed(const Item &head, const Items &items, size_t from, bool tail);
  void dynamic(int slot, const Items &items, size_t from, bool tail);
  bool spine(Cell *h, const Items &a, Cell *real, bool tail);
  bool selector(Cell *h, const Items &a, bool tail);
  bool bind(const Item &x, const Item &value, const Item &body, const Items &a, size_t from, bool tail);
  bool builtin(Cell *h, const builtinrow *row, const Items &a, int arity, bool tail);
  bool call(Cell *h, const Items &a, int arity, bool tail);
  bool partial(Cell *h, const Items &a, Cell *real, int arity, bool tail);
  bool staticnormal(Cell *t);
  bool plain(const Item &i);
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
    lambda(t);
    emit(Op::cell, cellindex(t));
  } else if (b && isleafcell(t)) {
    emit(Op::slot, 0, 0, 0, env[headbyte(t) - 'a']);
  } else if (b && staticnormal(t)) {
    term(t);
  } else if (!b && isconstleaf(t)) {
    emit(Op::global, cellindex(t));
  } else if (depth < deepest && !isleafcell(t) && !isdata(t)) {
    applyterm(t, {}, 0, tail);
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

// The head applied to items[from..]: a value in a slot goes by its shape, an abstraction takes
// the items one by one, and any other term is taken apart at its spine.
void Compiler::apply(const Item &head, const Items &items, size_t from, bool tail) {
  if (from >= items.size()) {
    if (head.t) return gen(head.t, tail);
    value(head);
    if (tail) emit(Op::done);
    return;
  }
  if (!head.t) return dynamic(head.slot, items, from, tail);
  Cell *t = head.t;
  depth++;
  if (shapeof(t) != 'u' || !bind(Item{t->left->right}, items[from], Item{t->right}, items, from + 1, tail))
    applyterm(t, items, from, tail);
  depth--;
}

// A term applied to items[from..], both as one spine: a variable at its head goes by the shape of
// its value, a name by what the name is. Anything else is evaluated by the machine, with the
// items waiting in argument frames as it keeps them. So is a spine of more than mostvalues items,
// or one met deeper than the nesting limit: each level of the walk copies its items, and a text
// of a long chain such as I I I ... K would otherwise take time and memory in its square. The
// bound also keeps the count of extra arguments within an instruction's n.
void Compiler::applyterm(Cell *t, const Items &items, size_t from, bool tail) {
  bool alone = from >= items.size();
  size_t count = items.size() - std::min(from, items.size());
  Cell *h = t;
  for (; !isleafcell(h) && !isdata(h) && count <= mostvalues; h = h->left) count++;
  if (count > mostvalues || depth >= deepest) {
    if (!alone) return framed(Item{t}, items, from, tail);
    term(t);
    return finish(tail);
  }
  Items all;
  for (h = t; !isleafcell(h) && !isdata(h); h = h->left) all.push_back(Item{h->right});
  std::reverse(all.begin(), all.end());
  all.insert(all.end(), items.begin() + (long)from, items.end());
  if (isleafcell(h) && vars(h)) return dynamic(env[headbyte(h) - 'a'], all, 0, tail);
  if (spine(h, all, alone ? t : nullptr, tail)) return;
  if (!alone) return framed(Item{t}, items, from, tail);
  term(t);
  finish(tail);
}

// An item that is a value as it stands: a slot, a variable, or a closed normal term.
bool Compiler::plain(const Item &i) {
  if (!i.t) return true;
  return vars(i.t) ? isleafcell(i.t) : isnormal(i.t);
}

// The items wait in argument frames while the head is evaluated in their sight. A slot's value
// applied gets its leading items that need no evaluation as values instead, so that a known
// abstraction's code can take them without the frames; the rest wait above it all the same. The
// values are counted in an instruction's n, so at most mostvalues of them.
void Compiler::framed(const Item &head, const Items &items, size_t from, bool tail) {
  size_t plainend = from;
  while (!head.t && plainend < items.size() && plainend - from < mostvalues && plain(items[plainend])) plainend++;
  bool rest = plainend < items.size();
  bool nested = !tail && (plainend == from || rest);
  size_t resume = nested ? emit(Op::resume) : 0;
  for (size_t i = items.size(); i-- > plainend;) waits(items[i]);
  if (head.t) {
    term(head);
    emit(Op::done);
  } else if (plainend > from) {
    for (size_t i = from; i < plainend; i++) term(items[i]);
    emit(Op::invoke, tail || rest, 0, (int)(plainend - from), head.slot);
  } else {
    emit(Op::enter, 0, 0, 0, head.slot);
  }
  if (nested) patch(resume);
}

// A variable's value applied: a pair of V or J hands its parts to the next item, K keeps the
// first item and H the second; anything else is applied by the machine.
void Compiler::dynamic(int slot, const Items &items, size_t from, bool tail) {
  size_t n = items.size() - from;
  uint32_t savedtop = top;
  int first = n && dynamics < 2 && code.ins.size() < 4000 ? newslot() : -1, second = first < 0 ? -1 : newslot();
  if (second < 0) {
    top = savedtop;
    return framed(Item{nullptr, slot}, items, from, tail);
  }
  dynamics++;
  size_t at = code.cases.size();
  code.cases.push_back(Cases{nocase, nocase, nocase, nocase, nocase, (uint16_t)first, (uint16_t)second});
  emit(Op::dynamic, (uint32_t)at, 0, 0, slot);
  std::vector<size_t> joins;
  auto branch = [&](uint32_t Cases::*which, const Item &head, Items rest) {
    code.cases[at].*which = (uint32_t)here();
    apply(head, rest, 0, tail);
    if (!tail) joins.push_back(emit(Op::jump));
  };
  Items rest(items.begin() + (long)from, items.end());
  Items parts{Item{nullptr, first}, Item{nullptr, second}};
  if (n >= 1) {
    Items after = parts;
    after.insert(after.end(), rest.begin() + 1, rest.end());
    branch(&Cases::v, rest[0], after);
  }
  if (n >= 2) {
    Items after = parts;
    after.insert(after.end(), rest.begin() + 2, rest.end());
    branch(&Cases::j, rest[1], after);
    branch(&Cases::k, rest[0], Items(rest.begin() + 2, rest.end()));
    branch(&Cases::h, rest[1], Items(rest.begin() + 2, rest.end()));
  }
  code.cases[at].other = (uint32_t)here();
  framed(Item{nullptr, slot}, items, from, tail);
  for (size_t j : joins) patch(j);
  dynamics--;
  top = savedtop;
}

bool Compiler::spine(Cell *h, const Items &a, Cell *real, bool tail) {
  if (!isleafcell(h)) return false;
  if (Cell *d = constvalue(h)) {
    if (!isnameleaf(d)) return false;
    h = d;
    real = nullptr;
  }
  int m = (int)a.size(), arity = arityof(h);
  bool lam = leafis(h, "\\"), let = leafis(h, "{");
  if ((lam || let) && m >= 3 && a[0].t && isleafcell(a[0].t) && freeset(a[0].t) && a[lam ? 1 : 2].t)
    return bind(a[0], a[lam ? 2 : 1], a[lam ? 1 : 2], a, 3, tail);
  if (!isnameleaf(h) || arity < 1 || arity > 10) return false;
  Named &n = named(h);
  if (!n.row && !n.defined) return false;
  if (m < arity) return partial(h, a, real, arity, tail);
  if (lazyhead(h)) return selector(h, a, tail);
  if (n.row) return builtin(h, n.row, a, arity, tail);
  if (shapeof(n.def->second.get()) == 'u') return call(h, a, arity, tail);
  return false;
}

// The prelude's K, H and I with all their arguments: the argument they give, applied to the rest.
bool Compiler::selector(Cell *h, const Items &a, bool tail) {
  int m = (int)a.size();
  if (intact.K && leafis(h, "K") && m >= 2) {
    Items rest(a.begin() + 2, a.end());
    apply(a[0], rest, 0, tail);
    return true;
  }
  if (intact.I && leafis(h, "I")) {
    apply(a[0], a, 1, tail);
    return true;
  }
  if (!intact.H || !leafis(h, "H")) return false;
  if (m >= 2 && intact.I) {
    apply(a[1], a, 2, tail);
    return true;
  }
  if (m != 1) return false;
  emit(Op::cell, cellindex(intact.hbody));
  if (tail) emit(Op::done);
  return true;
}

// (\ x) body applied to a value, or { x value body: the value first, then the body with x bound
// to it, applied to a[from..].
bool Compiler::bind(const Item &x, const Item &value, const Item &body, const Items &a, size_t from, bool tail) {
  int slot = value.slot;
  uint32_t savedtop = top;
  if (value.t) {
    slot = newslot();
    if (slot < 0) return false;
    gen(value.t, false);
    emit(Op::let, 0, 0, 0, slot);
  }
  auto saved = env;
  uint32_t savedbound = bound;
  int v = headbyte(x.t) - 'a';
  must(v >= 0 && v < 26);  // a variable is one small letter
  env[v] = (uint8_t)slot;
  bound |= 1u << v;
  apply(body, a, from, tail);
  env = saved;
  bound = savedbound;
  top = savedtop;
  return true;
}

bool Compiler::builtin(Cell *h, const builtinrow *row, const Items &a, int arity, bool tail) {
  for (int i = 0; i < arity; i++) value(a[i]);
  code.rows.push_back(row);
  Quick q = arity == 2 ? quickof(textof(h)) : Quick::none;
  emit(q == Quick::none ? Op::builtin : Op::quick, (uint32_t)code.rows.size() - 1, cellindex(h), arity, (int)q);
  size_t extras = a.size() - (size_t)arity;
  if (extras == 0) {
    finish(tail);
    return true;
  }
  std::vector<size_t> joins;
  if (extras == 2 && (intact.K || intact.H)) {
    size_t select = emit(Op::select);
    apply(a[arity], {}, 0, tail);
    if (!tail) joins.push_back(emit(Op::jump));
    patch(select);
    apply(a[arity + 1], {}, 0, tail);
    if (!tail) joins.push_back(emit(Op::jump));
    code.ins[select].m = (uint32_t)here();
  }
  for (size_t i = (size_t)arity; i < a.size(); i++) term(a[i]);
  joins.push_back(emit(Op::apply, 0, 0, (int)extras, tail));
  for (size_t j : joins) patch(j);
  return true;
}

bool Compiler::call(Cell *h, const Items &a, int arity, bool tail) {
  bool extras = a.size() > (size_t)arity;
  size_t resume = extras && !tail ? emit(Op::resume) : 0;
  for (size_t i = a.size(); extras && i-- > (size_t)arity;) waits(a[i]);
  for (int i = 0; i < arity; i++) value(a[i]);
  emit(Op::call, cellindex(h), 0, arity, tail || extras);
  if (extras && !tail) patch(resume);
  return true;
}

// A named head short of its arguments: the part up to the first argument that is not a value
// is built, the others are evaluated in order and paired on. A linear head in tail position
// takes waiting arguments instead when enough of them wait, as the machine does.
bool Compiler::partial(Cell *h, const Items &a, Cell *real, int arity, bool tail) {
  int m = (int)a.size(), first = 0;
  if (real)
    while (first < m && isvalue(a[first])) first++;
  bool grabs = lazyhead(h) && tail;
  size_t grab = grabs ? emit(Op::grab, 0, 0, arity - m) : 0;
  // the prefix keeps the leading arguments that are closed, so that it is a cell of the text;
  // values with variables are paired on rather than copied into a fresh prefix
  int closed = 0;
  while (closed < first && a[closed].t && !vars(a[closed].t)) closed++;
  Cell *prefix = real ? real : h;
  for (int i = m; real && i > closed; i--) prefix = prefix->left;
  term(prefix);
  for (int i = closed; i < m; i++) {
    value(a[i]);
    emit(Op::pair);
  }
  if (tail) emit(Op::done, 0, 0, 1);  // normal values given to a head short of its arguments
  if (grabs) {
    patch(grab);
    if (real) {
      term(real);
      emit(Op::done);
    } else {
      framed(Item{h}, a, 0, true);
    }
  }
  return true;
}

Code compile(Cell *def) {
  Code code;
  Compiler c{code, {}, 0, 0};
  c.env.fill(255);
  for (uint32_t free = freeset(def); free; free &= free - 1) {
    c.env[__builtin_ctz(free)] = (uint8_t)c.newslot();
    c.bound |= free & -free;
  }
  code.captured = c.top;
  for (; shapeof(def) == 'u'; def = def->right) {
    int v = textof(def->left->right)[0] - 'a';
    c.env[v] = (uint8_t)c.newslot();
    c.bound |= 1u << v;
  }
  code.params = c.top - code.captured;
  c.gen(def, true);
  lastreads(code);
  fuse(code);
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
