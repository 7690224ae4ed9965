// Fusing in compiled code: an operator on two word integers whose operands are slots or cells
// reads them where they stand, so that the common arithmetic step pushes nothing but its result.
#include <vector>

#include "lang/code.h"

namespace {

bool pushes(Op op) { return op == Op::slot || op == Op::take || op == Op::cell; }

// The instructions that some instruction other than the one just before may go to. A return
// from a nested part goes to the instruction after the one that began it, which is never one
// that only pushes.
std::vector<bool> targets(const Code &code) {
  std::vector<bool> to(code.ins.size() + 1);
  for (const Ins &in : code.ins) {
    switch (in.op) {
      case Op::jump:
      case Op::apply:
      case Op::grab:
      case Op::resume: to[in.c] = true; break;
      case Op::select: to[in.c] = to[in.m] = true; break;
      case Op::dynamic: {
        const Cases &cs = code.cases[in.c];
        for (uint32_t c : {cs.v, cs.j, cs.k, cs.h, cs.other})
          if (c != nocase) to[c] = true;
        break;
      }
      default: break;
    }
  }
  return to;
}

}  // namespace

void fuse(Code &code) {
  std::vector<bool> to = targets(code);
  std::vector<Ins> &ins = code.ins;
  // a quick is never the last instruction: its value goes on to a done, an eval or a select
  for (size_t i = 0; i + 2 < ins.size(); i++) {
    if (!pushes(ins[i].op)) continue;
    if (pushes(ins[i + 1].op) && ins[i + 2].op == Op::quick && !to[i + 1] && !to[i + 2]) {
      ins[i].n = (uint8_t)ins[i].op;
      ins[i].op = Op::fused;
      i += 2;
    } else if (ins[i + 1].op == Op::quick && !to[i + 1]) {
      ins[i].n = (uint8_t)ins[i].op;
      ins[i].op = Op::fusedtop;
      i += 1;
    }
  }
}
