// The abstract machine: schedule decides what to work on next, rewrite carries out one redex at
// the head. All pending work is in the continuation, a term, so depth costs heap, not stack.
#include "lang/eval.h"

#include <cstring>
#include <string_view>
#include <vector>

#include "core/data.h"
#include "core/halt.h"
#include "core/number.h"
#include "core/tables.h"
#include "lang/analysis.h"
#include "lang/rules.h"

uint64_t machinesteps = 0;

bool machinereference = [] {
  const char *chosen = getenv("TOLM_MACHINE");
  return chosen && std::string_view(chosen) == "reference";
}();

static Leaves *current = nullptr;

Leaves &leaves() {
  if (!current || current->generation != tablesgeneration) {
    delete current;
    current = new Leaves();
    current->generation = tablesgeneration;
  }
  return *current;
}

// A slot gives back the cells it held.
static void forget(Named &n) {
  if (n.leaf) celldec(n.leaf);
  if (n.codefor) celldec(n.codefor);
  n.leaf = n.codefor = nullptr;
}

Named &named(Cell *leaf) {
  static Named slots[4096];
  static std::vector<Named *> filled;
  static uint64_t swept = 0;
  Named &n = slots[((uintptr_t)leaf >> 4) & 4095];
  Defs &defs = deftable();
  if (n.leaf == leaf && n.generation == tablesgeneration && n.epoch == defs.epoch && n.defined) return n;
  // The first look in new tables gives back what the filled slots held for the old ones: the
  // definitions of a finished run must not stay alive in slots that no later run happens to use.
  if (swept != tablesgeneration) {
    for (Named *s : filled) forget(*s);
    filled.clear();
    swept = tablesgeneration;
  }
  cellinc(leaf);
  if (!n.leaf) filled.push_back(&n);
  forget(n);
  n.leaf = leaf;
  n.generation = tablesgeneration;
  n.epoch = defs.epoch;
  std::string_view name(textof(leaf));
  unsigned char first = (unsigned char)name[0];
  Builtins &table = builtins();
  auto row = first >= 'a' && first <= 'z' ? table.find(std::string(name)) : table.end();
  n.row = row == table.end() ? nullptr : &row->second;
  n.def = defs.find(name);
  n.defined = n.def != defs.end();
  return n;
}

namespace {

// The continuation that goes on with p once q has been applied to the value: ((B p) q).
CellRef frame(CellRef k, CellRef q) { return cellpair(cellpair(leaves().B, std::move(k)), std::move(q)); }

CellRef apply(Cell *f, Cell *x) { return cellpair(CellRef(f), CellRef(x)); }

// A frame that holds an argument for the value: ((B K2) (T r)).
bool argframe(Cell *k) { return !isleafcell(k) && !isleafcell(k->left) && argpart(k->right); }

}  // namespace

CellRef bytetreeview(unsigned char byte) {
  Leaves &L = leaves();
  auto bit = [&](int i) { return (byte >> i) & 1 ? L.I : L.H; };
  auto j = [&](CellRef a, CellRef b) { return cellpair3(L.J, std::move(a), std::move(b)); };
  return cellpair3(L.V, j(j(bit(0), bit(1)), j(bit(2), bit(3))), j(j(bit(4), bit(5)), j(bit(6), bit(7))));
}

// A complete tree of V of the given depth over the bits from first on, low bit leftmost.
static CellRef bittree(const unsigned char *bits, int first, int depth) {
  Leaves &L = leaves();
  if (depth == 0) return (bits[first / 8] >> (first % 8)) & 1 ? L.K : L.H;
  int half = 1 << (depth - 1);
  return cellpair3(L.V, bittree(bits, first, depth - 1), bittree(bits, first + half, depth - 1));
}

CellRef realtreeview(const unsigned char bits[8]) { return bittree(bits, 0, 6); }

void schedule(CellRef &k, CellRef &e) {
  machinesteps++;
  Cell *E = e.get();
  if (isnormal(E)) {
    Cell *K = k.get();
    must(!isleafcell(K));
    must(!isleafcell(K->left));
    must(leafis(K->left->left, "B"));
    CellRef p(K->left->right);
    e = apply(K->right, E);
    k = std::move(p);
    return;
  }
  int n = arityof(E);
  Leaves &L = leaves();
  if (n < 0) {
    k = frame(std::move(k), cellpair(L.T, CellRef(E->right)));
    e = CellRef(E->left);
    return;
  }
  if (n == 0) {
    if (lazyhead(E) || !redexflag(E)) return rewrite(k, e);
    if (shapeof(E) == 'i') {
      Cell *b = E->left->right;
      if (isnormal(b)) return rewrite(k, e);
      k = frame(std::move(k), cellpair3(L.lam, CellRef(E->left->left->right), CellRef(E->right)));
      e = CellRef(b);
      return;
    }
    if (!isdata(E->left) && redexflag(E->left)) {
      k = frame(std::move(k), cellpair(L.T, CellRef(E->right)));
      e = CellRef(E->left);
      return;
    }
    k = frame(std::move(k), CellRef(E->left));
    e = CellRef(E->right);
    return;
  }
  if (lazyhead(E)) {
    int have = 0;
    for (Cell *c = k.get(); have < n && argframe(c); c = c->left->right) have++;
    if (have == n) {
      for (int i = 0; i < n; i++) {
        Cell *K = k.get();
        e = cellpair(std::move(e), CellRef(K->right->right));
        k = CellRef(K->left->right);
      }
      return rewrite(k, e);
    }
  }
  if (isnormal(E->left)) {
    k = frame(std::move(k), CellRef(E->left));
    e = CellRef(E->right);
  } else {
    k = frame(std::move(k), cellpair(L.T, CellRef(E->right)));
    e = CellRef(E->left);
  }
}

// The view of a blob as a tree: nothing, eight bits, or a split at the largest power of two
// below its length.
static CellRef blobview(Cell *h) {
  Leaves &L = leaves();
  std::string bytes = blobbytes(CellRef(h));
  if (bytes.empty()) return L.Z;
  if (bytes.size() == 1) return bytetreeview((unsigned char)bytes[0]);
  size_t m = 1;
  while (m * 2 < bytes.size()) m *= 2;
  return cellpair3(L.V, mkblob(bytes.substr(0, m)), mkblob(bytes.substr(m)));
}

// A global name at the head. Its leading variables take the arguments; a constant is evaluated once
// under the mark of its name and then kept.
static Then globalname(CellRef &e, Cell *leaf, Cell *const *args, int nargs) {
  std::string_view name(textof(leaf));
  Named &n = named(leaf);
  if (!n.defined) {
    e = CellRef("]" + std::string(name));
    return Then::drop;
  }
  auto found = n.def;
  Cell *d = found->second.get();
  char vars[12];
  int nvars = 0;
  while (shapeof(d) == 'u') {
    must(nvars < 12);
    vars[nvars++] = textof(d->left->right)[0];
    d = d->right;
  }
  if (nvars) {
    must(nvars == nargs);
    CellRef body(d);
    for (int i = nvars - 1; i >= 0; i--) body = subst(body, CellRef(args[nargs - 1 - i]), vars[i]);
    e = std::move(body);
    return Then::keep;
  }
  if (isnormal(d) || freshnames().count(name)) {
    e = CellRef(d);
    return Then::keep;
  }
  std::string mark = ")" + std::string(name);
  if (!isleafcell(d) && isleafcell(d->left) && headbyte(d->left) == ')') {
    e = CellRef(mark);
    return Then::drop;
  }
  found->second = cellpair(CellRef(mark), CellRef(d));
  e = found->second;
  return Then::keep;
}

// A constant's mark applied to its value: the value goes into the constant's entry, an
// abstraction behind B I, so that the constant is evaluated once.
static void update(CellRef &e, std::string_view name, Cell *value) {
  Leaves &L = leaves();
  Defs &defs = deftable();
  auto entry = defs.find(name);
  must(entry != defs.end());
  CellRef v(value);
  must(isnormal(v));
  must(freshnames().count(name) == 0);
  if (shapeof(v) == 'u') v = cellpair3(L.B, L.I, std::move(v));
  entry->second = v;
  e = std::move(v);
}

Then callbuiltin(const builtinrow *row, CellRef &e) {
  CellRef v = row->run(std::move(e));
  Cell *vl = isleafcell(v.get()) ? nullptr : v->left;
  e = std::move(v);
  return vl && isleafcell(vl) && (headbyte(vl) == ')' || headbyte(vl) == ']') ? Then::drop : Then::keep;
}

int spineof(Cell *e, Cell **args, Cell *&head) {
  int nargs = 0;
  Cell *h = e;
  while (!isleafcell(h) && !isdata(h)) {
    must(nargs < 12);
    args[nargs++] = h->right;
    h = h->left;
  }
  head = h;
  return nargs;
}

Then rewriteterm(CellRef &e, CellRef &pushed) {
  Cell *E = e.get();
  needclosed(e);
  must(!isdata(E));
  must(arityof(E) == 0);
  Cell *args[12], *h;  // args[0] is the last argument
  int nargs = spineof(E, args, h);
  Leaves &L = leaves();
  const char *t = isleafcell(h) ? textof(h) : "";
  unsigned char first = (unsigned char)t[0];
  if (first >= 'a' && first <= 'z') {
    if (const builtinrow *row = named(h).row) return callbuiltin(row, e);
  }
  if (t[0] == '{' && t[1] == 0) {
    Cell *x = args[2], *b = args[1], *c = args[0];
    if (!isnormal(b)) {
      pushed = cellpair3(L.lam, CellRef(x), CellRef(c));
      e = CellRef(b);
      return Then::push;
    }
    e = subst(CellRef(c), CellRef(b), textof(x)[0]);
  } else if (t[0] == '\\' && t[1] == 0) {
    e = subst(CellRef(args[1]), CellRef(args[0]), textof(args[2])[0]);
  } else if (first >= '0' && first <= '9') {
    if (t[1] == 0 && first == '0') e = cellpair(CellRef(args[0]), L.K);
    else e = cellpair3(L.V, first == '0' ? L.K : L.H, digitsrest(CellRef(h)));
  } else if (isdata(h)) {
    Cell *a = args[0];
    CellRef selector = cellpair(CellRef(a), cellpair(L.X, L.J));
    if (leafis(h, "[]")) e = cellpair(std::move(selector), L.K);
    else if (headbyte(a) == 'G') e = cellpair3(L.V, datainit(CellRef(h)), datalast(CellRef(h)));
    else e = cellpair(std::move(selector), datalist(CellRef(h)));
  } else if (first == '(') {
    e = blobview(h);
  } else if (first == ' ') {
    e = cellpair(realtreeview((const unsigned char *)t + 1), CellRef(args[0]));
  } else if (first == ')') {
    update(e, t + 1, args[0]);
  } else {
    return globalname(e, h, args, nargs);
  }
  return Then::keep;
}

void rewrite(CellRef &k, CellRef &e) {
  CellRef pushed = leaves().I;
  Then then = rewriteterm(e, pushed);
  if (then == Then::drop) k = leaves().I;
  if (then == Then::push) k = frame(std::move(k), std::move(pushed));
}

// A run asked to halt ends before its next step with Z, and its state is released on the way
// out like any other; a load around it meets the same flag and ends too.
CellRef runmachine(CellRef state) {
  CellRef k = cellleft(state), e = cellright(state);
  celldec(state.release());
  for (;;) {
    if (headbyte(k.get()) == 'I' && isnormal(e)) return e;
    if (runhalt) return leaves().Z;
#ifdef TOLM_FUZZ
    if (machinesteps >= stepbudget) budgetspent();
#endif
    schedule(k, e);
  }
}

CellRef evaluate(CellRef term) {
  if (machinereference || !fastready()) return runmachine(cellpair(leaves().I, std::move(term)));
  return fastrun(std::move(term));
}
