// The last reads of slots in compiled code: which read of a slot no path after it reads again,
// found by a pass backwards over the finished code, so that such a read moves the value out.
#include <bitset>
#include <vector>

#include "lang/analysis.h"
#include "lang/code.h"

namespace {

using Slots = std::bitset<256>;

// The slots an instruction reads. A dynamic also writes the two slots of its parts, but only on
// the way to some cases; counting no write there keeps the answer on the safe side.
Slots reads(const Code &code, const Ins &in) {
  Slots r;
  switch (in.op) {
    case Op::slot:
    case Op::take:
    case Op::dynamic:
    case Op::enter:
    case Op::invoke: r.set(in.s); break;
    case Op::build:
    case Op::defer:
      for (uint32_t v = freeset(code.cells[in.c].get()); v; v &= v - 1) r.set(code.maps[in.m][__builtin_ctz(v)]);
      break;
    default: break;
  }
  return r;
}

bool ends(const Ins &in) {
  return in.op == Op::done || in.op == Op::enter || ((in.op == Op::call || in.op == Op::apply) && in.s) ||
         (in.op == Op::invoke && in.c);
}

// Where each instruction may go next. An instruction that ends the activation goes nowhere,
// except inside a nested part that a resume began: the code goes on where that resume says once
// the nested part's value comes back, with the slots as they were.
std::vector<std::vector<uint32_t>> successors(const Code &code) {
  size_t n = code.ins.size();
  std::vector<std::vector<uint32_t>> next(n);
  std::vector<uint32_t> open;  // the ends of the nested parts around the instruction, innermost last
  for (uint32_t i = 0; i < n; i++) {
    while (!open.empty() && i >= open.back()) open.pop_back();
    const Ins &in = code.ins[i];
    auto &to = next[i];
    if (ends(in)) {
      if (!open.empty()) to.push_back(open.back());
      continue;
    }
    switch (in.op) {
      case Op::jump: to.push_back(in.c); break;
      case Op::apply: to.push_back(in.c); break;
      case Op::select: to = {i + 1, in.c, in.m}; break;
      case Op::grab: to = {i + 1, in.c}; break;
      case Op::dynamic: {
        const Cases &cs = code.cases[in.c];
        for (uint32_t c : {cs.v, cs.j, cs.k, cs.h, cs.other})
          if (c != nocase) to.push_back(c);
        break;
      }
      case Op::resume:
        must(in.c > i);
        open.push_back(in.c);
        to.push_back(i + 1);
        break;
      default: to.push_back(i + 1); break;
    }
  }
  return next;
}

// The slots that are read later on some path from the start of each instruction.
std::vector<Slots> livein(const Code &code, const std::vector<std::vector<uint32_t>> &next) {
  size_t n = code.ins.size();
  std::vector<Slots> in(n + 1);
  for (bool changed = true; changed;) {
    changed = false;
    for (size_t i = n; i-- > 0;) {
      Slots out;
      for (uint32_t j : next[i]) out |= in[j];
      if (code.ins[i].op == Op::let) out.reset(code.ins[i].s);
      Slots now = out | reads(code, code.ins[i]);
      if (now != in[i]) in[i] = now, changed = true;
    }
  }
  return in;
}

}  // namespace

void lastreads(Code &code) {
  auto next = successors(code);
  auto in = livein(code, next);
  for (size_t i = 0; i < code.ins.size(); i++) {
    Ins &ins = code.ins[i];
    Slots out;
    for (uint32_t j : next[i]) out |= in[j];
    if (ins.op == Op::slot && !out[ins.s]) ins.op = Op::take;
    if (ins.op == Op::enter) ins.n = !out[ins.s];
    if (ins.op == Op::invoke) ins.m = !out[ins.s];
    if (ins.op == Op::build || ins.op == Op::defer) {
      Slots given;  // two letters may stand for one slot, which is given up once
      for (uint32_t v = freeset(code.cells[ins.c].get()); v; v &= v - 1) {
        uint8_t s = code.maps[ins.m][__builtin_ctz(v)];
        if (!out[s] && !given[s]) ins.gives |= v & -v, given.set(s);
      }
    }
    if (ins.op == Op::dynamic) {
      Cases &cs = code.cases[ins.c];
      uint32_t to[] = {cs.v, cs.j, cs.k, cs.h, cs.other};
      for (int k = 0; k < 5; k++)
        if (to[k] != nocase && !in[to[k]][ins.s]) cs.gone |= 1 << k;
    }
  }
}
