// The abstract machine: schedule decides what to work on next, rewrite carries out one redex at
// the head. All pending work is in the continuation, a term, so depth costs heap, not stack.
#include "lang/eval.h"

#include <cstring>
#include <string_view>

#include "core/data.h"
#include "core/number.h"
#include "core/tables.h"
#include "lang/analysis.h"

uint64_t machinesteps = 0;

namespace {

// The leaves the machine builds with, made anew for each set of tables, since a leaf's analysis
// reads the definitions of the run it is first asked in.
struct Leaves {
  uint64_t generation = ~0ull;
  CellRef B{"B"}, T{"T"}, I{"I"}, K{"K"}, H{"H"}, V{"V"}, J{"J"}, X{"X"}, Z{"Z"}, lam{"\\"};
};

Leaves *current = nullptr;

Leaves &leaves() {
  if (!current || current->generation != tablesgeneration) {
    delete current;
    current = new Leaves();
    current->generation = tablesgeneration;
  }
  return *current;
}

// What a name leaf means, looked up once and kept while the leaf is held here: its row in the
// built-in table and its entry in the definitions. A reset of the tables or an erased definition
// makes the kept answer stale.
struct Named {
  Cell *leaf = nullptr;
  uint64_t generation = 0, epoch = 0;
  const builtinrow *row = nullptr;
  Defs::iterator def;
  bool defined = false;
};

Named &named(Cell *leaf) {
  static Named slots[4096];
  Named &n = slots[((uintptr_t)leaf >> 4) & 4095];
  Defs &defs = deftable();
  if (n.leaf == leaf && n.generation == tablesgeneration && n.epoch == defs.epoch && n.defined) return n;
  cellinc(leaf);
  if (n.leaf) celldec(n.leaf);
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

// The continuation that goes on with p once q has been applied to the value: ((B p) q).
CellRef frame(CellRef k, CellRef q) { return cellpair(cellpair(leaves().B, std::move(k)), std::move(q)); }

CellRef apply(Cell *f, Cell *x) { return cellpair(CellRef(f), CellRef(x)); }

// A frame that holds an argument for the value: ((B K2) (T r)).
bool argframe(Cell *k) {
  return !isleafcell(k) && !isleafcell(k->left) && !isleafcell(k->right) &&
         leafis(k->right->left, "T");
}

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
static void globalname(CellRef &k, CellRef &e, Cell *leaf, Cell *const *args, int nargs) {
  Leaves &L = leaves();
  std::string_view name(textof(leaf));
  Named &n = named(leaf);
  if (!n.defined) {
    k = L.I;
    e = CellRef("]" + std::string(name));
    return;
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
    return;
  }
  if (isnormal(d) || freshnames().count(name)) {
    e = CellRef(d);
    return;
  }
  std::string mark = ")" + std::string(name);
  if (!isleafcell(d) && isleafcell(d->left) && headbyte(d->left) == ')') {
    k = L.I;
    e = CellRef(mark);
    return;
  }
  found->second = cellpair(CellRef(mark), CellRef(d));
  e = found->second;
}

void rewrite(CellRef &k, CellRef &e) {
  Cell *E = e.get();
  needclosed(e);
  must(!isdata(E));
  must(arityof(E) == 0);
  Cell *args[12];  // args[0] is the last argument
  int nargs = 0;
  Cell *h = E;
  while (!isleafcell(h) && !isdata(h)) {
    must(nargs < 12);
    args[nargs++] = h->right;
    h = h->left;
  }
  Leaves &L = leaves();
  const char *t = isleafcell(h) ? textof(h) : "";
  unsigned char first = (unsigned char)t[0];
  if (first >= 'a' && first <= 'z') {
    if (const builtinrow *row = named(h).row) {
      CellRef v = row->run(std::move(e));
      Cell *vl = isleafcell(v.get()) ? nullptr : v->left;
      if (vl && isleafcell(vl) && (headbyte(vl) == ')' || headbyte(vl) == ']')) k = L.I;
      e = std::move(v);
      return;
    }
  }
  if (t[0] == '{' && t[1] == 0) {
    Cell *x = args[2], *b = args[1], *c = args[0];
    if (!isnormal(b)) {
      k = frame(std::move(k), cellpair3(L.lam, CellRef(x), CellRef(c)));
      e = CellRef(b);
    } else {
      e = subst(CellRef(c), CellRef(b), textof(x)[0]);
    }
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
    std::string_view name(t + 1);
    Defs &defs = deftable();
    auto entry = defs.find(name);
    must(entry != defs.end());
    CellRef v(args[0]);
    must(isnormal(v));
    must(freshnames().count(name) == 0);
    if (shapeof(v) == 'u') v = cellpair3(L.B, L.I, std::move(v));
    entry->second = v;
    e = std::move(v);
  } else {
    globalname(k, e, h, args, nargs);
  }
}

CellRef runmachine(CellRef state) {
  CellRef k = cellleft(state), e = cellright(state);
  celldec(state.release());
  for (;;) {
    if (headbyte(k.get()) == 'I' && isnormal(e)) return e;
#ifdef TOLM_FUZZ
    if (machinesteps >= stepbudget) budgetspent();
#endif
    schedule(k, e);
  }
}

CellRef evaluate(CellRef term) { return runmachine(cellpair(leaves().I, std::move(term))); }
