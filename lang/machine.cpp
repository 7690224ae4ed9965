// The fast machine: the states and rules of the literal machine, with the continuation kept in
// native frames instead of cells, and definitions run from their compiled code.
#include <algorithm>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/halt.h"
#include "core/tables.h"
#include "lang/analysis.h"
#include "lang/chars.h"
#include "lang/code.h"
#include "lang/eval.h"
#include "lang/parse.h"
#include "lang/program.h"
#include "lang/rules.h"

Intact intact;

namespace {

// A frame: apply the value to cell (argument), or to the term cell with the values of its
// variables, not built until it is needed (deferred); apply cell to the value (function); or give
// the value to the suspended activation of compiled code (code).
enum class Kind : uint8_t { argument, deferred, function, code };

struct Frame {
  Cell *cell;  // counted; null for code
  const Code *code;
  uint32_t pc, base, floor;  // for deferred: where its values start in captures, and how many
  Kind kind;
};

// One activation of compiled code: slots from base, its own values from floor up.
struct Act {
  const Code *code;
  uint32_t pc, base, floor;
};

// Shared by nested evaluations, each above the part of the one that called it.
std::vector<Frame> frames;
std::vector<Cell *> stack;  // counted cells; a slot not bound yet holds null
std::vector<Cell *> captures;  // counted values of deferred frames, in the frames' order

// Where one evaluation's frames and values begin: a failure mark drops everything above.
struct Run {
  size_t frames, stack;
};

CellRef adopt(Cell *c) {
  CellRef r(c);
  celldec(c);
  return r;
}

void release(Cell *c) {
  if (c) celldec(c);
}

void push(Cell *c) {
  cellinc(c);
  stack.push_back(c);
}

Cell *pop() {
  Cell *c = stack.back();
  stack.pop_back();
  return c;
}

void truncate(size_t n) {
  while (stack.size() > n) release(pop());
}

void dropframe() {
  Frame &f = frames.back();
  release(f.cell);
  if (f.kind == Kind::deferred) {
    for (uint32_t i = f.base; i < f.base + f.floor; i++) celldec(captures[i]);
    captures.resize(f.base);
  }
  frames.pop_back();
}

void dropframes(size_t n) {
  while (frames.size() > n) dropframe();
}

// A new frame, its fields written in place: a frame built aside and copied in is written in
// small stores and read back in wide ones, which stalls the processor on every call.
void newframe(Kind kind, Cell *cell, const Code *code, uint32_t pc, uint32_t base, uint32_t floor) {
  Frame &f = frames.emplace_back();
  f.cell = cell;
  f.code = code;
  f.pc = pc;
  f.base = base;
  f.floor = floor;
  f.kind = kind;
}

void pushframe(Kind kind, Cell *counted) { newframe(kind, counted, nullptr, 0, 0, 0); }

void pushcode(const Act &a, uint32_t pc) { newframe(Kind::code, nullptr, a.code, pc, a.base, a.floor); }

// Whether a frame holds an argument for a linear head, as the literal machine finds (T r) frames.
bool waiting(const Frame &f) {
  return f.kind == Kind::argument || f.kind == Kind::deferred || (f.kind == Kind::function && argpart(f.cell));
}

// The argument cell that a waiting frame holds built; null for a deferred one.
Cell *held(const Frame &f) {
  if (f.kind == Kind::argument) return f.cell;
  if (f.kind == Kind::function && argpart(f.cell)) return f.cell->right;
  return nullptr;
}

// The term of a deferred frame, built now with the values it kept.
CellRef built(const Frame &f) {
  Cell *values[26];
  uint32_t vars = freeset(f.cell), i = f.base;
  for (uint32_t v = vars; v; v &= v - 1) values[__builtin_ctz(v)] = captures[i++];
  CellRef t = substall(CellRef(f.cell), values, vars);
  if (shapeof(f.cell) == 'u') lambdamade(t.get(), f.cell, values, vars);
  return t;
}

// The argument of the waiting frame on top, which goes.
CellRef takearg() {
  const Frame &f = frames.back();
  CellRef r = f.kind == Kind::deferred ? built(f) : CellRef(held(f));
  dropframe();
  return r;
}

size_t waitingcount(size_t floor, size_t want) {
  size_t have = 0;
  for (size_t i = frames.size(); i > floor && have < want && waiting(frames[i - 1]); i--) have++;
  return have;
}

// Thrown out of a run whose halt was asked for; the run's Floor puts its frames back.
struct Halted {};

// The bytes the machine's own stacks take. They count with what terms hold against the memory
// limit: a deep recursion grows them faster than it makes cells.
uint64_t stackbytes() {
  return frames.capacity() * sizeof(Frame) + (stack.capacity() + captures.capacity()) * sizeof(Cell *);
}

// Frames past which the machine asks for room again, every 4096 more. The values and the kept
// values of deferred frames grow with the frames they belong to.
size_t stackcheck = 0;

[[gnu::noinline]] void stackroom() {
  roomfor(stackbytes());
  stackcheck = frames.size() + 4096;
}

// The one place where the machine's work is bounded: a halt asked for by the interrupt or the
// memory limit (core/halt.h), the room its stacks take, and the fuzz build's budget of steps,
// whose keeper may end the input by an exception.
void counted() {
  machinesteps++;
  if (frames.size() > stackcheck) stackroom();
  if (runhalt) throw Halted{};
#ifdef TOLM_FUZZ
  if (machinesteps >= stepbudget) budgetspent();
#endif
}

// Puts the frames and values back where a run began, however it ends, an exception of an
// embedding program included.
struct Floor {
  const Run &run;
  ~Floor();
};

// A failure mark ends this evaluation: its frames and values go.
void dropall(const Run &run) {
  dropframes(run.frames);
  truncate(run.stack);
}

Floor::~Floor() { dropall(run); }

void runcode(Run &run, Act a, CellRef &e);

// A definition with parameters applied to all its arguments: its compiled code runs on them, or,
// for a linear head or a definition that could not be compiled, its body takes them all at once.
void enter(Run &run, CellRef &e, Cell *head, Cell *def) {
  Cell *args[12];
  int nargs = spineof(e.get(), args, head);
  const Code &code = codeof(def);
  if (code.ok && !code.captured && code.params == (uint32_t)nargs && !lazyhead(head)) {
    uint32_t base = (uint32_t)stack.size();
    for (int i = nargs - 1; i >= 0; i--) push(args[i]);
    stack.resize(base + code.slots, nullptr);
    e = CellRef(leaves().I);
    return runcode(run, Act{&code, 0, base, base}, e);
  }
  Cell *values[26];
  uint32_t vars = 0;
  int nvars = 0;
  for (; shapeof(def) == 'u'; def = def->right, nvars++) {
    must(nvars < nargs);
    int v = textof(def->left->right)[0] - 'a';
    values[v] = args[nargs - 1 - nvars];
    vars |= 1u << v;
  }
  must(nvars == nargs);
  e = substall(CellRef(def), values, vars);
}

// The abstractions whose making is known, each with the term it was made from and the values
// that term's free variables took. Each entry holds its cells; entries that alone hold their
// abstraction go when the table has doubled since it was last cleared of them.
struct Closure {
  CellRef lambda, from;
  std::vector<CellRef> values;  // in letter order
  const Code *code = nullptr;   // of from, once asked for; the entry holds from, so it stays
};
std::unordered_map<Cell *, Closure> closures;
uint64_t closuresgeneration = ~0ull;
size_t closureslimit = 4096;
// The entry found last: a walk over a list applies one abstraction to each element.
Cell *lastlambda = nullptr;
Closure *lastclosure = nullptr;

void closuresfresh() {
  if (closuresgeneration == tablesgeneration) return;
  closures.clear();
  lastlambda = nullptr;
  closuresgeneration = tablesgeneration;
}

Closure *knownclosure(Cell *lambda) {
  closuresfresh();
  if (lambda == lastlambda) return lastclosure;
  auto found = closures.find(lambda);
  if (found == closures.end()) return nullptr;
  lastlambda = lambda;
  lastclosure = &found->second;
  return lastclosure;
}

const Code &closurecode(Closure &k) {
  if (!k.code) k.code = &codeof(k.from.get());
  return *k.code;
}

// The activation of a known abstraction applied to first (unless null) and to the values that
// wait in the argument frames on top: the values it captured and the arguments go onto the stack,
// and the frames that held them go. Null, with nothing changed, when the abstraction is not known
// or too few values wait for its parameters.
const Code *closurecall(Run &run, Cell *lambda, Cell *first) {
  Closure *known = knownclosure(lambda);
  if (!known) return nullptr;
  const Code &code = closurecode(*known);
  uint32_t need = code.params - (first ? 1 : 0);
  size_t top = frames.size();
  if (!code.ok || code.params == 0 || top < run.frames + need) return nullptr;
  static std::vector<CellRef> args;
  args.clear();
  for (uint32_t i = 0; i < need; i++) {
    const Frame &f = frames[top - 1 - i];
    if (!waiting(f)) return nullptr;
    args.push_back(f.kind == Kind::deferred ? built(f) : CellRef(held(f)));
    if (!isnormal(args.back().get())) return nullptr;
  }
  for (const CellRef &v : known->values) push(v.get());
  if (first) push(first);
  for (CellRef &r : args) stack.push_back(r.release());
  args.clear();
  dropframes(top - need);
  return &code;
}

// An abstraction applied to a value: its compiled body runs when it is known, and otherwise the
// machine's rule does one substitution.
bool lambdacall(Run &run, CellRef &e) {
  uint32_t base = (uint32_t)stack.size();
  const Code *code = closurecall(run, e->left, e->right);
  if (!code) return false;
  stack.resize(base + code->slots, nullptr);
  e = CellRef(leaves().I);
  runcode(run, Act{code, 0, base, base}, e);
  return true;
}

void rewritefast(Run &run, CellRef &e) {
  Cell *h = e.get();
  while (!isleafcell(h) && !isdata(h)) h = h->left;
  if (isnameleaf(h)) {
    Named &n = named(h);
    if (!n.row && n.defined && shapeof(n.def->second.get()) == 'u') return enter(run, e, h, n.def->second.get());
  }
  if (!isleafcell(e.get()) && shapeof(e->left) == 'u' && lambdacall(run, e)) return;
  CellRef pushed = leaves().I;
  Then then = rewriteterm(e, pushed);
  if (then == Then::drop) dropall(run);
  if (then == Then::push) pushframe(Kind::function, pushed.release());
}

// One decision of the literal machine's scheduler, over native frames.
void step(Run &run, CellRef &e) {
  counted();
  Cell *E = e.get();
  int n = arityof(E);
  if (n < 0) {
    pushframe(Kind::argument, CellRef(E->right).release());
    e = CellRef(E->left);
    return;
  }
  if (n == 0) {
    if (lazyhead(E) || !redexflag(E)) return rewritefast(run, e);
    if (shapeof(E) == 'i') {
      Cell *b = E->left->right;
      if (isnormal(b)) return rewritefast(run, e);
      pushframe(Kind::function, cellpair3(leaves().lam, CellRef(E->left->left->right), CellRef(E->right)).release());
      e = CellRef(b);
      return;
    }
  } else if (lazyhead(E) && waitingcount(run.frames, (size_t)n) == (size_t)n) {
    for (int i = 0; i < n; i++) e = cellpair(std::move(e), takearg());
    return rewritefast(run, e);
  }
  bool left = n == 0 ? !isdata(E->left) && redexflag(E->left) : !isnormal(E->left);
  if (left) {
    pushframe(Kind::argument, CellRef(E->right).release());
    e = CellRef(E->left);
  } else {
    pushframe(Kind::function, CellRef(E->left).release());
    e = CellRef(E->right);
  }
}

int selection(Cell *c);

// Takes the waiting frame on top. A deferred term that is no abstraction gives its compiled code,
// with the values it kept pushed from base on the stack; any other gives its argument in e.
const Code *takeforce(CellRef &e, uint32_t &base) {
  const Frame &f = frames.back();
  if (f.kind != Kind::deferred || shapeof(f.cell) == 'u') {
    e = takearg();
    return nullptr;
  }
  const Code &code = codeof(f.cell);
  base = (uint32_t)stack.size();
  for (uint32_t i = f.base; i < f.base + f.floor; i++) push(captures[i]);
  dropframe();
  return &code;
}

// The prelude's K or H meets two waiting arguments, the first of them deferred: K keeps the first
// and H (by way of I) the second, which is evaluated in place of both; the other is never built.
bool choose(Run &run, CellRef &e) {
  int chosen = selection(e.get());
  if (!chosen || frames.size() < run.frames + 2 || !waiting(frames[frames.size() - 2])) return false;
  uint32_t base = 0;
  const Code *code;
  if (chosen == 1) {
    code = takeforce(e, base);
    dropframe();
  } else {
    dropframe();
    code = takeforce(e, base);
  }
  if (code) {
    stack.resize(base + code->slots, nullptr);
    runcode(run, Act{code, 0, base, base}, e);
  }
  return true;
}

// A value for the frame on top: applied to a waiting argument, given to a function, or handed
// to the activation that waits for it.
void deliver(Run &run, CellRef &e) {
  if (frames.back().kind == Kind::deferred && choose(run, e)) return;
  if (frames.back().kind != Kind::code && frames.back().kind != Kind::function) {
    e = cellpair(std::move(e), takearg());
    return;
  }
  Frame f = frames.back();
  frames.pop_back();
  if (f.kind == Kind::function) {
    e = cellpair(adopt(f.cell), std::move(e));
  } else {
    stack.push_back(e.release());
    e = CellRef(leaves().I);
    runcode(run, Act{f.code, f.pc, f.base, f.floor}, e);
  }
}

// ---- Running compiled code.

// Empties the slots of the variables given, by letter: their last read has been made.
void giveup(uint32_t base, const std::array<uint8_t, 26> &map, uint32_t gives) {
  for (; gives; gives &= gives - 1) {
    Cell *&slot = stack[base + map[__builtin_ctz(gives)]];
    release(slot);
    slot = nullptr;
  }
}

// The slots of a map's variables, by letter, for building a template.
void slotvalues(uint32_t base, const std::array<uint8_t, 26> &map, uint32_t vars, Cell **values) {
  for (; vars; vars &= vars - 1) {
    int v = __builtin_ctz(vars);
    must(map[v] != 255);
    values[v] = stack[base + map[v]];
  }
}

// The value of a constant: its entry when that is a value, else the machine evaluates the leaf.
bool global(const Act &a, CellRef &e, Cell *leaf) {
  Named &n = named(leaf);
  if (n.defined && isnormal(n.def->second.get())) {
    push(n.def->second.get());
    return true;
  }
  pushcode(a, a.pc);
  e = CellRef(leaf);
  return false;
}

// The top n values as the arguments of a fresh application of the head.
CellRef application(Cell *head, int n) {
  CellRef app(head);
  size_t from = stack.size() - (size_t)n;
  for (size_t i = from; i < stack.size(); i++) app = CellRef(newpair(app.release(), stack[i]));
  stack.resize(from);
  return app;
}

bool builtin(Run &run, const Code *code, CellRef &e, const Ins &in) {
  counted();  // a halted run calls no further built-in
  CellRef v = application(code->cells[in.m].get(), in.n);
  if (callbuiltin(code->rows[in.c], v) == Then::drop) {
    dropall(run);
    e = std::move(v);
    return false;
  }
  stack.push_back(v.release());
  return true;
}

// The compiled code of a named definition with parameters, kept with the name's lookup.
const Code *calledcode(Named &n) {
  if (!n.defined) return nullptr;
  Cell *d = n.def->second.get();
  if (n.codefor == d) return n.code;
  if (shapeof(d) != 'u') return nullptr;
  cellinc(d);
  if (n.codefor) celldec(n.codefor);
  n.codefor = d;
  n.code = &codeof(d);
  return n.code;
}

// A call of a definition: its code runs in a new activation above the caller's values, or in
// place of the caller's for a tail call. Anything unusual goes to the machine as an application.
bool call(Act &a, CellRef &e, const Ins &in) {
  counted();
  Cell *leaf = a.code->cells[in.c].get();
  const Code *code = calledcode(named(leaf));
  bool tail = in.s;
  if (!code || !code->ok || code->captured || code->params != in.n) {
    e = application(leaf, in.n);
    if (tail) truncate(a.floor);
    else pushcode(a, a.pc);
    return false;
  }
  uint32_t base = (uint32_t)stack.size() - in.n;
  if (tail && base != a.floor) {
    for (uint32_t i = a.floor; i < base; i++) release(stack[i]);
    memmove(&stack[a.floor], &stack[base], in.n * sizeof(Cell *));
    stack.resize(a.floor + in.n);
    base = a.floor;
  }
  if (!tail) pushcode(a, a.pc);
  stack.resize(base + code->slots, nullptr);
  a = Act{code, 0, base, base};
  return true;
}

// A deferred argument frame: the term and the values of its variables, in letter order.
void defer(const Code *code, uint32_t base, const Ins &in) {
  Cell *t = code->cells[in.c].get();
  const std::array<uint8_t, 26> &map = code->maps[in.m];
  uint32_t start = (uint32_t)captures.size();
  for (uint32_t v = freeset(t); v; v &= v - 1) {
    Cell *c = stack[base + map[__builtin_ctz(v)]];
    if (!(in.gives & v & -v)) cellinc(c);
    captures.push_back(c);
  }
  for (uint32_t v = in.gives; v; v &= v - 1) stack[base + map[__builtin_ctz(v)]] = nullptr;
  cellinc(t);
  newframe(Kind::deferred, t, nullptr, 0, start, (uint32_t)captures.size() - start);
}

// The prelude's K keeps the first of two arguments; its H drops the first and gives I, which
// gives the second.
int selection(Cell *c) {
  if (!isleafcell(c) || !isnormal(c)) return 0;
  if (intact.K && leafis(c, "K") && arityof(c) == 2) return 1;
  if (intact.H && intact.I && leafis(c, "H") && arityof(c) == 1) return 2;
  return 0;
}

// A pair ((h x) y) whose head h is the prelude's V or J: x and y go to the case's slots.
bool pairof(uint32_t base, Cell *v, const char *head, int arity, const Cases &cs) {
  if (isleafcell(v) || isleafcell(v->left) || !leafis(v->left->left, head) || arityof(v->left->left) != arity)
    return false;
  Cell *x = v->left->right, *y = v->right;
  cellinc(x);
  cellinc(y);
  release(stack[base + cs.first]);
  release(stack[base + cs.second]);
  stack[base + cs.first] = x;
  stack[base + cs.second] = y;
  return true;
}

// The case of an applied value by its shape; other when no case is compiled for it.
uint32_t dynamic(const Code *code, uint32_t base, const Ins &in) {
  const Cases &cs = code->cases[in.c];
  Cell *v = stack[base + in.s];
  int which = 4;  // the bit of the case in cs.gone
  if (isleafcell(v)) {
    int chosen = selection(v);
    which = chosen == 1 && cs.k != nocase ? 2 : chosen == 2 && cs.h != nocase ? 3 : 4;
  } else if (cs.v != nocase && intact.V && pairof(base, v, "V", 3, cs)) {
    which = 0;
  } else if (cs.j != nocase && intact.J && pairof(base, v, "J", 3, cs)) {
    which = 1;
  }
  if (cs.gone >> which & 1) {
    release(v);
    stack[base + in.s] = nullptr;
  }
  const uint32_t to[] = {cs.v, cs.j, cs.k, cs.h, cs.other};
  return to[which];
}

// The value under the top n terms applied to them, through the machine's argument frames.
void applyterms(const Act &a, CellRef &e, const Ins &in) {
  if (!in.s) pushcode(a, in.c);
  for (int i = 0; i < in.n; i++) pushframe(Kind::argument, pop());
  e = adopt(pop());
  if (in.s) truncate(a.floor);
}

void build(const Code *code, uint32_t base, const Ins &in) {
  Cell *t = code->cells[in.c].get(), *values[26];
  uint32_t vars = freeset(t);
  slotvalues(base, code->maps[in.m], vars, values);
  stack.push_back(substall(CellRef(t), values, vars).release());
  if (shapeof(t) == 'u') lambdamade(stack.back(), t, values, vars);
  giveup(base, code->maps[in.m], in.gives);
}

// The operator of in on x and y, which stay where they were read, when both are small integers:
// r the result, counted, and pc past an eval that it makes needless; or, for a comparison whose
// answer the select at pc takes at once, r null and pc the branch, chosen without the leaf K or
// H, which nothing else could see. False, with nothing changed, when the built-in must run.
bool operate(const Code *code, const Ins &in, Cell *x, Cell *y, uint32_t &pc, Cell *&r) {
  const Ins &next = code->ins[pc];
  if (in.s >= (int)Quick::less && next.op == Op::select && intact.K && intact.H && intact.I) {
    int t = quicktest((Quick)in.s, x, y);
    if (t >= 0) {
      r = nullptr;
      pc = t ? pc + 1 : next.c;
      return true;
    }
  }
  r = quick((Quick)in.s, x, y);
  if (!r) return false;
  if (next.op == Op::eval && isnormal(r)) pc++;
  return true;
}

bool quickly(Run &run, const Code *code, CellRef &e, const Ins &in, uint32_t &pc) {
  size_t n = stack.size();
  Cell *r;
  if (!operate(code, in, stack[n - 2], stack[n - 1], pc, r)) return builtin(run, code, e, in);
  celldec(stack[n - 1]);
  celldec(stack[n - 2]);
  if (r) {
    stack[n - 2] = r;
    stack.pop_back();
  } else {
    stack.resize(n - 2);
  }
  return true;
}

// The cell that a slot, take or cell instruction (op) would push.
Cell *operand(const Code *code, uint32_t base, Op op, const Ins &in) {
  return op == Op::cell ? code->cells[in.c].get() : stack[base + in.s];
}

// Pushes the operand, moving it out of its slot for a take.
void pushoperand(const Code *code, uint32_t base, Op op, const Ins &in) {
  if (op != Op::take) return push(operand(code, base, op, in));
  stack.push_back(stack[base + in.s]);
  stack[base + in.s] = nullptr;
}

// A take's operand is done with once the operator has run without it on the stack.
void spent(uint32_t base, Op op, const Ins &in) {
  if (op != Op::take) return;
  celldec(stack[base + in.s]);
  stack[base + in.s] = nullptr;
}

// A fused operator whose built-in must run: its operands are pushed as their instructions would.
[[gnu::noinline]] bool unfused(Run &run, const Code *code, uint32_t base, CellRef &e, uint32_t &pc, bool top) {
  const Ins &first = code->ins[pc - 1], &second = top ? first : code->ins[pc];
  if (!top) pushoperand(code, base, (Op)first.n, first);
  pushoperand(code, base, top ? (Op)first.n : second.op, second);
  pc += top ? 1 : 2;
  return builtin(run, code, e, code->ins[pc - 1]);
}

// A fused operator, at pc the instruction after its first operand's, or, for fusedtop, after its
// second's with the first on top of the stack, done on the operands where they stand.
bool fused(Run &run, const Code *code, uint32_t base, CellRef &e, uint32_t &pc, bool top) {
  const Ins &first = code->ins[pc - 1], &second = top ? first : code->ins[pc];
  Op a = (Op)first.n, b = top ? a : second.op;
  uint32_t after = top ? pc + 1 : pc + 2;
  Cell *x = top ? stack.back() : operand(code, base, a, first), *r;
  if (!operate(code, code->ins[after - 1], x, operand(code, base, b, second), after, r))
    return unfused(run, code, base, e, pc, top);
  if (top) celldec(pop());
  else spent(base, a, first);
  spent(base, b, second);
  if (r) stack.push_back(r);
  pc = after;
  return true;
}

// The top is the activation's value: an activation that waits for it goes on at once, and
// anything else is left to the machine. A value known to be normal goes back unanalysed: a list
// that code builds need not be analysed cell by cell while nothing asks.
bool finish(Run &run, Act &a, CellRef &e, bool normal = false) {
  Cell *v = pop();
  truncate(a.floor);
  if (frames.size() > run.frames && frames.back().kind == Kind::code && (normal || isnormal(v))) {
    const Frame &f = frames.back();
    a = Act{f.code, f.pc, f.base, f.floor};
    frames.pop_back();
    stack.push_back(v);
    return true;
  }
  e = adopt(v);
  return false;
}

// A term to evaluate before the code goes on: the machine takes it, with the code in a frame.
bool evaluated(const Act &a, CellRef &e) {
  if (isnormal(stack.back())) return true;
  e = adopt(pop());
  pushcode(a, a.pc);
  return false;
}

void pairing() {
  Cell *r = pop(), *l = pop();
  Cell *p = newpair(l, r);
  cellinc(p);
  stack.push_back(p);
}

uint32_t selecting(const Ins &in, uint32_t next) {
  int chosen = selection(stack.back());
  if (chosen) release(pop());
  return chosen == 1 ? next : chosen == 2 ? in.c : in.m;
}

// The value of slot s applied to the arguments that wait on top, the last act of the activation:
// a known abstraction runs its code in place of the activation, anything else goes to the machine.
bool applyslot(Run &run, Act &a, CellRef &e, const Ins &in) {
  counted();
  Cell *f = stack[a.base + in.s];
  if (in.n) stack[a.base + in.s] = nullptr;
  else cellinc(f);
  truncate(a.floor);
  uint32_t base = (uint32_t)stack.size();
  const Code *code = !isleafcell(f) && shapeof(f) == 'u' ? closurecall(run, f, nullptr) : nullptr;
  if (!code) {
    stack.push_back(f);
    return finish(run, a, e);
  }
  celldec(f);
  stack.resize(base + code->slots, nullptr);
  a = Act{code, 0, base, base};
  return true;
}

// The value of slot s applied to the top n values. A known abstraction with n parameters runs its
// code in a new activation, or in place of this one in tail position; anything else meets the
// values in argument frames, as the machine keeps them.
bool invoke(Run &run, Act &a, CellRef &e, const Ins &in) {
  Cell *f = stack[a.base + in.s];
  Closure *known = !isleafcell(f) && shapeof(f) == 'u' ? knownclosure(f) : nullptr;
  const Code *code = known ? &closurecode(*known) : nullptr;
  uint32_t n = in.n, top = (uint32_t)stack.size();
  bool direct = code && code->ok && code->params == n;
  for (uint32_t i = top - n; direct && i < top; i++) direct = isnormal(stack[i]);
  if (!direct) {
    if (!in.c) {
      pushcode(a, a.pc);
      a.floor = top - n;
    }
    for (uint32_t i = 0; i < n; i++) pushframe(Kind::argument, pop());
    return applyslot(run, a, e, Ins{Op::enter, (uint8_t)in.m, in.s});
  }
  counted();
  if (in.m) {
    stack[a.base + in.s] = nullptr;
    celldec(f);  // the entry holds the abstraction and its values
  }
  uint32_t base = top - n, captured = code->captured;
  if (in.c) {
    for (uint32_t i = a.floor; i < base; i++) release(stack[i]);
    memmove(&stack[a.floor], &stack[base], n * sizeof(Cell *));
    base = a.floor;
  } else {
    pushcode(a, a.pc);
  }
  stack.resize(base + n);  // what lay above was given up or moved
  stack.resize(base + std::max(code->slots, captured + n), nullptr);
  memmove(&stack[base + captured], &stack[base], n * sizeof(Cell *));
  for (uint32_t i = 0; i < captured; i++) {
    stack[base + i] = known->values[i].get();
    cellinc(stack[base + i]);
  }
  stack.resize(base + code->slots);
  a = Act{code, 0, base, base};
  return true;
}

// Runs code until it hands a term to the machine in e, or its value to a frame that is no code.
// The activation's fields stay in locals, so that they live in registers through the dispatch;
// a helper that reads them gets them by value, and one that changes the activation gets a copy
// in an Act and gives it back.
void runcode(Run &run, Act a, CellRef &e) {
  const Code *code = a.code;
  const Ins *ins = code->ins.data();
  uint32_t pc = a.pc, base = a.base, floor = a.floor;
  auto here = [&] { return Act{code, pc, base, floor}; };
  auto into = [&](const Act &t) {
    code = t.code;
    ins = code->ins.data();
    pc = t.pc;
    base = t.base;
    floor = t.floor;
  };
  for (bool going = true; going;) {
    const Ins &in = ins[pc++];
    switch (in.op) {
      case Op::slot: push(stack[base + in.s]); break;
      case Op::take: {
        Cell *c = stack[base + in.s];
        stack[base + in.s] = nullptr;
        stack.push_back(c);
        break;
      }
      case Op::cell: push(code->cells[in.c].get()); break;
      case Op::global: going = global(here(), e, code->cells[in.c].get()); break;
      case Op::build: build(code, base, in); break;
      case Op::eval: going = evaluated(here(), e); break;
      case Op::quick: going = quickly(run, code, e, in, pc); break;
      case Op::fused: going = fused(run, code, base, e, pc, false); break;
      case Op::fusedtop: going = fused(run, code, base, e, pc, true); break;
      case Op::builtin: going = builtin(run, code, e, in); break;
      case Op::call: {
        Act t = here();
        going = call(t, e, in);
        into(t);
        break;
      }
      case Op::select: pc = selecting(in, pc); break;
      case Op::jump: pc = in.c; break;
      case Op::let:
        release(stack[base + in.s]);
        stack[base + in.s] = pop();
        break;
      case Op::done: {
        Act t = here();
        going = finish(run, t, e, in.n);
        into(t);
        break;
      }
      case Op::apply: applyterms(here(), e, in), going = false; break;
      case Op::resume:
        pushcode(here(), in.c);
        floor = (uint32_t)stack.size();
        break;
      case Op::argument: pushframe(Kind::argument, pop()); break;
      case Op::defer: defer(code, base, in); break;
      case Op::pair: pairing(); break;
      case Op::grab:
        if (waitingcount(run.frames, in.n) == in.n) pc = in.c;
        break;
      case Op::dynamic: pc = dynamic(code, base, in); break;
      case Op::enter: {
        Act t = here();
        going = applyslot(run, t, e, in);
        into(t);
        break;
      }
      case Op::invoke: {
        Act t = here();
        going = invoke(run, t, e, in);
        into(t);
        break;
      }
    }
  }
}

// ---- Which of the prelude's combinators a run may take short cuts through.

// The six combinators and their prelude definitions. The answer is kept while the table holds
// the same cells under their names.
const char *combinators[][2] = {{"T", "T\\a\\b\\b a"}, {"K", "K\\a\\b\\a"},
                                {"H", "H\\a\\I"},        {"I", "I\\a\\a"},
                                {"V", "V\\a\\b\\c\\c a b"}, {"J", "J\\a\\b\\c\\V a b"}};

Intact checkintact() {
  static uint64_t generation = ~0ull;
  static Cell *seen[6] = {};
  static Intact known;
  Defs &defs = deftable();
  Cell *now[6];
  for (int k = 0; k < 6; k++) {
    auto d = defs.find(std::string_view(combinators[k][0]));
    now[k] = d == defs.end() || freshnames().count(std::string_view(combinators[k][0])) ? nullptr : d->second.get();
  }
  if (generation == tablesgeneration && std::equal(now, now + 6, seen)) return known;
  bool as[6];
  for (int k = 0; k < 6; k++)
    as[k] = now[k] && cellcompare(cellright(parsetop(normalise(combinators[k][1]))), CellRef(now[k])) == 0;
  known = Intact{as[0], as[1], as[2], as[3], as[4], as[5], as[2] ? now[2]->right : nullptr};
  generation = tablesgeneration;
  for (int k = 0; k < 6; k++) {  // held, so that no other definition comes to have their address
    if (now[k]) cellinc(now[k]);
    if (seen[k]) celldec(seen[k]);
    seen[k] = now[k];
  }
  return known;
}

}  // namespace

void lambdamade(Cell *lambda, Cell *from, Cell *const *values, uint32_t vars) {
  closuresfresh();
  if (closures.count(lambda)) return;
  if (closures.size() >= closureslimit) {
    std::erase_if(closures, [](const auto &entry) { return countof(entry.first) == 1; });
    lastlambda = nullptr;
    closureslimit = std::max<size_t>(4096, 2 * closures.size());
  }
  Closure c{CellRef(lambda), CellRef(from), {}};
  for (; vars; vars &= vars - 1) c.values.emplace_back(values[__builtin_ctz(vars)]);
  closures.emplace(lambda, std::move(c));
}

bool fastready() {
  intact = checkintact();
  return intact.T;
}

// A run asked to halt ends at its next step with Z, as on the literal machine; a load around it
// meets the same flag and ends too.
static CellRef fastloop(CellRef term) {
  Run run{frames.size(), stack.size()};
  Floor floor{run};
  CellRef e = term;  // term itself stays held while its code runs: the cache may not drop it
  if (!isleafcell(e.get()) && !isnormal(e.get())) {
    const Code &code = codeof(e.get());
    uint32_t base = (uint32_t)stack.size();
    stack.resize(base + code.slots, nullptr);
    runcode(run, Act{&code, 0, base, base}, e);
  }
  for (;;) {
    if (!isnormal(e.get())) {
      step(run, e);
    } else if (frames.size() > run.frames) {
      deliver(run, e);
    } else {
      must(stack.size() == run.stack);
      return e;
    }
  }
}

// Once the outermost run is over, stacks that a deep recursion grew past a sixteenth of the memory
// limit give their room back; smaller ones are kept, since growing them again costs each run.
static void stacksgiveback() {
  if (!frames.empty() || stackbytes() < memorylimit / 16) return;
  frames.shrink_to_fit();
  stack.shrink_to_fit();
  captures.shrink_to_fit();
}

CellRef fastrun(CellRef term) {
  stackcheck = 0;  // the stacks are asked for at the run's first step
  CellRef r = leaves().Z;
  try {
    r = fastloop(std::move(term));
  } catch (const Halted &) {
  }
  stacksgiveback();
  return r;
}
