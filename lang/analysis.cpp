// The cached analysis of a term and substitution.
// Both walk with explicit stacks, so a term's depth costs heap and not native stack.
#include "lang/analysis.h"

#include <array>
#include <cstring>
#include <string_view>
#include <vector>

#include "core/tables.h"
#include "lang/chars.h"


// The leading abstractions of a definition, at most 11.
static int leadingbinders(Cell *d) {
  int n = 0;
  while (!isleafcell(d) && !isleafcell(d->left) && leafis(d->left->left, "\\")) {
    if (n < 11) n++;
    d = d->right;
  }
  return n;
}

static void sizename(Cell *c, const char *t);

// One-byte names are analysed once for each state of the definition table: the truth values and
// failures that built-ins make afresh are such leaves, and the machine asks about each of them.
static void sizebyte(Cell *c, unsigned char first) {
  static struct {
    uint64_t generation = ~0ull, epoch = 0;
    size_t size = 0;
    std::array<uint64_t, 256> top{};  // the analysed bits of the header, with bit 0 set once known
  } seen;
  Defs &defs = deftable();
  if (seen.generation != tablesgeneration || seen.epoch != defs.epoch || seen.size != defs.size()) {
    seen.top.fill(0);
    seen.generation = tablesgeneration;
    seen.epoch = defs.epoch;
    seen.size = defs.size();
  }
  constexpr uint64_t analysis = ~(countmask | leafbit);
  if (!seen.top[first]) {
    sizename(c, textof(c));
    seen.top[first] = (c->word & analysis) | 1;
  }
  c->word = (c->word & ~analysis) | (seen.top[first] & analysis & ~1ull);
}

static void sizeleaf(Cell *c) {
  const char *t = textof(c);
  unsigned char first = (unsigned char)t[0];
  if (first == ')' || first == ']') return settop(c, 0xB5);
  if (first == '[') return settop(c, 0xC0);
  if (first == ' ' || first == '(' || (first >= '0' && first <= '9')) return settop(c, 0xB5);
  if (first && !t[1]) return sizebyte(c, first);
  sizename(c, t);
}

// Names by the definition table; any other leaf is a value of arity 1.
static void sizename(Cell *c, const char *t) {
  unsigned char first = (unsigned char)t[0];
  std::string_view text(t);
  if (!isleafname(text)) return settop(c, 0xB5);
  if (Defs::value_type *d = deffind(text)) {
    setarity(c, leadingbinders(d->second.get()));
    setredex(c, false);
    return;
  }
  must(text.size() == 1);
  must(first >= 'a');
  must(first <= 'z');
  settop(c, 0xBF);
  setfield(c, 1u << (first - 'a'));
}

static bool leafstarts(const Cell *c, char first) { return isleafcell(c) && textof(c)[0] == first; }

// A pair whose children are analysed.
static void sizepair(Cell *c) {
  Cell *l = c->left, *r = c->right;
  bool ld = datakind(l), rd = datakind(r);
  if (ld && rd) {
    settop(c, 0x40);
    uint64_t a = fieldof(l), b = fieldof(r);
    if (a >= 2 && b >= 2 && a + b < fieldmax) setfield(c, a + b);
    return;
  }
  int a = 0;
  if (!ld) {
    a = arityof(l);
    if (a != 11 && a >= -50) a--;
  }
  setarity(c, a);
  int ar = arityof(r);
  if (!isleafcell(l) && leafstarts(l->left, '\\')) {
    setfield(c, freeset(r) & ~freeset(l));
    return;
  }
  setredex(c, (!ld && redexflag(l)) || (!rd && redexflag(r)) || ar < 1);
  uint32_t field;
  if (!isleafcell(l) && leafstarts(l->left, '{')) {
    field = freeset(r);
  } else if (!isleafcell(l) && !isleafcell(l->left) && leafstarts(l->left->left, '{')) {
    field = (freeset(r) & ~freeset(l->left->right)) | freeset(l);
  } else {
    field = freeset(l) | freeset(r);
  }
  setfield(c, field);
}

void analyse(Cell *c) {
  if (isleafcell(c)) return sizeleaf(c);
  if (analysed(c->left) && analysed(c->right)) return sizepair(c);
  // A deep unanalysed term: post-order with an explicit stack. Nothing below calls back here
  // with an unanalysed pair, so one stack serves every call.
  static std::vector<Cell *> todo;
  todo.assign(1, c);
  while (!todo.empty()) {
    Cell *t = todo.back();
    if (analysed(t)) {
      todo.pop_back();
    } else if (isleafcell(t)) {
      sizeleaf(t);
      todo.pop_back();
    } else if (analysed(t->left) && analysed(t->right)) {
      sizepair(t);
      todo.pop_back();
    } else {
      if (!analysed(t->right)) todo.push_back(t->right);
      if (!analysed(t->left)) todo.push_back(t->left);
    }
  }
}

bool lazyhead(Cell *c) {
  static const auto linear = [] {
    std::array<bool, 256> t{};
    for (unsigned char h : std::string("&ABCDEFHIJKLNQRTUVXZ|")) t[h] = true;
    return t;
  }();
  while (!isleafcell(c) && !isdata(c)) c = c->left;
  return linear[headbyte(c)];
}

char shapeof(Cell *c) {
  if (isleafcell(c) || isleafcell(c->left)) return 'o';
  Cell *l = c->left;
  if (isleafcell(l->left)) return leafis(l->left, "\\") ? 'u' : 'o';
  return leafis(l->left->left, "{") ? 'i' : 'o';
}

void needclosed(const CellRef &term) { must(freeset(term) == 0); }

// A new pair analysed at once: its parts are, so this costs no walk, and the machine asks anyway.
static CellRef analysedpair(CellRef l, CellRef r) {
  CellRef p = cellpair(std::move(l), std::move(r));
  sizepair(p.get());
  return p;
}

// Substitution as an explicit walk: each frame rebuilds one cell once its parts are done, and
// carries the variables still to be replaced below it. Parts that mention none of them come back
// as the very same cells. A binder takes its own variable out of the set for what it binds.
CellRef substall(const CellRef &term, Cell *const *values, uint32_t vars) {
  struct Frame {
    Cell *t;
    uint32_t vars;
    char shape;
    int done;  // parts finished so far
  };
  // Nothing below calls back into substitution, so one pair of stacks serves every call.
  static std::vector<Frame> frames;
  static std::vector<CellRef> parts;  // finished results, innermost last
  frames.clear();
  parts.clear();
  // Either finishes t at once (pushing its result) or opens a frame for it.
  auto enter = [&](Cell *t, uint32_t set) {
    uint32_t here = freeset(t) & set;
    if (!here || isdata(t)) return parts.emplace_back(t), void();
    if (isleafcell(t)) return parts.emplace_back(values[__builtin_ctz(here)]), void();
    frames.push_back({t, here, shapeof(t), 0});
  };
  enter(term.get(), vars);
  while (!frames.empty()) {
    Frame &f = frames.back();
    Cell *t = f.t;
    if (f.shape == 'u') {
      if (f.done++ == 0) {
        enter(t->right, f.vars);
        continue;
      }
      CellRef body = std::move(parts.back());
      parts.pop_back();
      frames.pop_back();
      parts.push_back(analysedpair(CellRef(t->left), std::move(body)));
    } else if (f.shape == 'i') {
      Cell *binder = t->left->left, *y = binder->right;
      uint32_t inner = f.vars & ~(isleafcell(y) ? freeset(y) : 0);
      if (f.done == 0) {
        f.done = 1;
        enter(t->left->right, f.vars);
        continue;
      }
      if (f.done == 1) {
        f.done = 2;
        enter(t->right, inner);
        continue;
      }
      CellRef c = std::move(parts.back());
      parts.pop_back();
      CellRef b = std::move(parts.back());
      parts.pop_back();
      frames.pop_back();
      parts.push_back(analysedpair(analysedpair(CellRef(binder), std::move(b)), std::move(c)));
    } else {
      if (f.done < 2) {
        enter(f.done++ == 0 ? t->left : t->right, f.vars);
        continue;
      }
      CellRef r = std::move(parts.back());
      parts.pop_back();
      CellRef l = std::move(parts.back());
      parts.pop_back();
      frames.pop_back();
      parts.push_back(analysedpair(std::move(l), std::move(r)));
    }
  }
  must(parts.size() == 1);
  CellRef result = std::move(parts.back());
  parts.clear();
  return result;
}

CellRef subst(const CellRef &term, const CellRef &value, char var) {
  must(var >= 'a' && var <= 'z');
  Cell *values[26];
  values[var - 'a'] = value.get();
  return substall(term, values, 1u << (var - 'a'));
}
