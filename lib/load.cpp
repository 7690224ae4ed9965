// The built-in load: a text compiled as a program of its own against the current definition
// table, its main expression run nested in the current step, its definitions taken out again.
#include "core/data.h"
#include "core/halt.h"
#include "core/number.h"
#include "lang/eval.h"
#include "lang/nested.h"
#include "lib/builtins.h"

namespace {
// A post gives its bytes, a text its characters, an integer the C string at that address.
bool sourceof(const CellRef &x, std::string &text) {
  switch (numclass(x)) {
    case 'a':
      text = blobbytes(x);
      return true;
    case 'u':
      text = datatext(x);
      return true;
    case 'i':
      text = (const char *)(uintptr_t)toword(x);
      return true;
  }
  return false;
}

// The C stack a nested run needs besides the loads nested in it: its text's parse and compile
// and the built-ins it calls, with room to spare.
constexpr uint64_t nestroom = 512 * 1024;

CellRef load(CellRef app) {
  if (!stackfor(nestroom)) return CellRef("Z");
  std::string source;
  Unit u;
  if (!sourceof(CellRef(argof(app.get(), 1, 0)), source) || !nestedenter(source, u)) return CellRef("Z");
  CellRef result = evaluate(u.defs.at(""));
  nestedleave(u);
  return result;
}
}  // namespace

void fillload(Builtins &table) { table["load"].run = load; }
