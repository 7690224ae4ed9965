// The parser as it was first written, one function for each level of the ladder, recursing by the
// nesting of the text: the oracle that the parser's terms are compared with on random texts.
#include "tests/lang/ladder.h"

#include "core/base.h"
#include "lang/chars.h"
#include "lang/parse.h"

namespace {
using Text = std::string_view;
using Positions = std::vector<size_t>;

static CellRef leaf(char c) { return CellRef(newleaf(&c, 1)); }

// The text before the first position, each piece from the end of a position's group to the next
// position, and the text after the last position's group: one more piece than positions.
static std::vector<Text> pieces(Text t, const Positions &p) {
  std::vector<Text> out;
  size_t from = 0;
  for (size_t at : p) {
    out.push_back(t.substr(from, at - from));
    from = groupend(t, at) + 1;
  }
  out.push_back(t.substr(from));
  return out;
}

using Level = CellRef (*)(Text);

// Groups to the right: the last piece first, then each operator with the piece on its left.
template <class Make>
static CellRef rightfold(Text t, const Positions &p, Level next, Make make) {
  std::vector<Text> piece = pieces(t, p);
  CellRef acc = next(piece.back());
  for (size_t k = p.size(); k-- > 0;) acc = make(p[k], next(piece[k]), std::move(acc));
  return acc;
}

// Groups to the left: the first piece first, then each operator with the piece on its right,
// which runs from just past the operator to the next one.
template <class Make>
static CellRef leftfold(Text t, const Positions &p, Level next, Make make) {
  CellRef acc = next(t.substr(0, p.empty() ? t.size() : p[0]));
  for (size_t k = 0; k < p.size(); k++) {
    size_t end = k + 1 < p.size() ? p[k + 1] : t.size();
    acc = make(p[k], std::move(acc), next(t.substr(p[k] + 1, end - p[k] - 1)));
  }
  return acc;
}

static CellRef level1(Text t);
static CellRef commas(Text t);
static CellRef level9(Text t);
static CellRef level11(Text t);
static CellRef level13(Text t);

// Levels 2 to 8: binary operators. The newline applies the line below to the term above it, the
// blank applies the term on its left to the one on its right, and every other operator is the
// application of its own leaf to both operands.
struct Rung {
  const char *chars;
  bool right;
};
static const Rung rungs[] = {{"?\n", false}, {"&|", true},  {"=<>#", true}, {"@ ", false},
                             {"+-:.", false}, {"*/%'", false}, {"^", true}};

template <int level>
static CellRef rung(Text t) {
  const Rung &r = rungs[level - 2];
  Level next;
  if constexpr (level == 8) next = level9;
  else next = rung<level + 1>;
  Positions p = oppositions(t, r.chars);
  auto make = [t](size_t at, CellRef a, CellRef b) {
    if (t[at] == '\n') return cellpair(std::move(b), std::move(a));
    if (t[at] == ' ') return cellpair(std::move(a), std::move(b));
    return cellpair3(leaf(t[at]), std::move(a), std::move(b));
  };
  return r.right ? rightfold(t, p, next, make) : leftfold(t, p, next, make);
}

// ";" and "\" join two parts; a pair of wings joins the part on its left, its inside read as a
// comma list, and what follows the closing wing.
static CellRef level1(Text t) {
  return rightfold(t, oppositions(t, ";\\{"), rung<2>, [t](size_t at, CellRef left, CellRef acc) {
    if (t[at] != '{') return cellpair3(leaf(t[at]), std::move(left), std::move(acc));
    Text inside = t.substr(at + 1, groupend(t, at) - at - 1);
    return cellpair4(leaf('{'), std::move(left), commas(inside), std::move(acc));
  });
}

static CellRef commas(Text t) {
  return rightfold(t, oppositions(t, ","), level1, [](size_t, CellRef a, CellRef acc) {
    return cellpair3(leaf(','), std::move(a), std::move(acc));
  });
}

// A run of prefix characters at the start of t, each applied to what follows it, the innermost
// first; what follows must not be empty.
static CellRef prefixed(Text t, Level next) {
  size_t n = 0;
  while (n < t.size() && isprefix(t[n])) n++;
  must(n < t.size());
  CellRef acc = next(t.substr(n));
  while (n-- > 0) acc = cellpair(leaf(t[n]), std::move(acc));
  return acc;
}

// Leading prefix characters, as in "!x".
static CellRef level10(Text t) { return prefixed(t, level11); }

// Trailing prefix characters peel first, the last one outermost; nothing at all is the leaf "}".
static CellRef level9(Text t) {
  size_t n = t.size();
  while (n > 0 && isprefix(t[n - 1])) n--;
  CellRef acc = n ? level10(t.substr(0, n)) : leaf('}');
  for (size_t i = n; i < t.size(); i++) acc = cellpair(leaf(t[i]), std::move(acc));
  return acc;
}

// Prefix runs inside the text, as in "f~x": each run with what follows it up to the next run is
// one argument of what stands before the first run.
static CellRef level11(Text t) {
  Positions runs;
  for (size_t i = 0; i < t.size(); i = groupend(t, i) + 1) {
    if (!isprefix(t[i])) continue;
    runs.push_back(i);
    while (i + 1 < t.size() && isprefix(t[i + 1])) i++;
  }
  if (runs.empty()) return level13(t);
  CellRef acc = level13(t.substr(0, runs[0]));
  for (size_t k = 0; k < runs.size(); k++) {
    size_t end = k + 1 < runs.size() ? runs[k + 1] : t.size();
    acc = cellpair(std::move(acc), prefixed(t.substr(runs[k], end - runs[k]), level13));
  }
  return acc;
}

static CellRef level14(Text t);

// Juxtaposition of tokens, to the left. A parenthesised token after the first is a call list:
// each of its comma pieces is one more argument.
static CellRef level13(Text t) {
  Positions starts = tokenstarts(t);
  must(!starts.empty());
  starts.push_back(t.size());
  CellRef acc = level14(t.substr(0, starts[1]));
  for (size_t k = 1; k + 1 < starts.size(); k++) {
    Text token = t.substr(starts[k], starts[k + 1] - starts[k]);
    if (token[0] != '(') {
      acc = cellpair(std::move(acc), level14(token));
      continue;
    }
    Text inside = token.substr(1, groupend(token, 0) - 1);
    for (Text piece : pieces(inside, oppositions(inside, ","))) acc = cellpair(std::move(acc), level1(piece));
  }
  return acc;
}

// Atoms. In a bracket literal a newline byte is layout and a NUL byte, the editor's line break,
// is a real newline; a NUL byte alone is the newline leaf as well.
static CellRef level14(Text t) {
  must(!t.empty());
  unsigned char c = t[0];
  if ((c >= '0' && c <= '9') || wordbyte(c)) return CellRef(std::string(t));
  if (c == '[') {
    std::string s;
    s.reserve(t.size());
    for (char b : t)
      if (b != '\n') s += b ? b : '\n';
    return CellRef(s);
  }
  if (c == '(') {
    Text inside = t.substr(1, groupend(t, 0) - 1);
    return level1(inside);
  }
  must(t.size() == 1);
  return leaf(c ? (char)c : '\n');
}

}  // namespace

CellRef ladderparse(const std::string &text) { return level1(text); }
