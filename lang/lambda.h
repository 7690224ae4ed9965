// The passes over lambdas and locals: quotes and pair patterns desugared, binders checked,
// the globals a definition refers to, and word locals turned into single letters.
#pragma once
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/cell.h"

// Name lists are terms: the leaf "()" when empty, else pairs of a name leaf and the rest, in plain
// byte order without repeats.
CellRef nameone(const CellRef &leaf);
size_t namecount(const CellRef &list);
bool namehas(const CellRef &list, const std::string &name);
CellRef nameadd(const CellRef &list, const CellRef &leaf);
CellRef namedrop(const CellRef &list, const std::string &name);
CellRef nameunion(const CellRef &a, const CellRef &b);

CellRef unquote(const CellRef &t);
CellRef unpair(const CellRef &t);
// unquote, then unpair; a term with neither comes back as it is after one walk.
CellRef unsugar(const CellRef &t);
CellRef funkyterm(const CellRef &t);
// What the first walk of a definition finds. It stops at the first binder that is no name, and,
// when asked to look for them, at the first quote or pair pattern, which are to be rewritten
// before the term is walked again.
struct Firstfound {
  Cell *bad = nullptr;                 // the first binder that is no name, as funkyterm finds it
  bool sugar = false;                  // a quote or a pair pattern stopped the walk
  bool words = false;                  // a binder is no single letter
  std::vector<std::string_view> refs;  // the leaves that name a global, as often as they stand
};
void firstwalk(Cell *t, bool sugar, Firstfound &out);
CellRef globalrefs(const CellRef &t);
// Calls found for each leaf of the term that names a global, as often as the name stands there.
void refseach(const CellRef &term, const std::function<void(std::string_view)> &found);
// The names of globalrefs as strings, in plain byte order.
std::vector<std::string> refsof(const CellRef &term);
CellRef wordbinders(const CellRef &t);
CellRef letterbinders(const CellRef &t);
// Whether a binder of the term is no single letter, so that wordlocals has work.
bool anywordbinder(Cell *t);
// Nothing when the definition has more than 26 local names.
std::optional<CellRef> wordlocals(const std::string &name, CellRef t);
CellRef renamebinder(const CellRef &t, const std::string &from, const std::string &to);
CellRef renamewithin(const CellRef &t, const std::string &from, const std::string &to);
