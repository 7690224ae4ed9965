// The expression parser and the bracket check. Each level finds its own operators at depth 0,
// cuts the text there and hands the pieces down. Groups are read from the innermost out, each once,
// so that neither the nesting of a text nor its length costs native stack or a second scan.
#include "lang/parse.h"

#include "core/base.h"
#include "lang/chars.h"

using Text = std::string_view;
using Positions = std::vector<size_t>;

std::vector<size_t> oppositions(Text text, Text chars) {
  bool in[256] = {};
  for (unsigned char c : chars) in[c] = true;
  Positions p;
  for (size_t i = 0; i < text.size(); i++) {
    unsigned char c = text[i];
    if (in[c]) p.push_back(i);
    if (isbracket(c)) i = groupend(text, i);
  }
  return p;
}

namespace {

// One group of the text: where it closes and, for parentheses and wings, what its inside reads as.
// A parenthesis keeps the terms of its comma pieces, the arguments when it is a call list; when it
// has commas at depth 0 it also keeps its inside read whole, for when it groups. Wings keep their
// comma list. Reading a parenthesis whole is only a try: where the ladder would stop with an
// assertion, the group is marked, and the assertion comes when a grouping parenthesis uses it.
struct Group {
  size_t close = 0;
  size_t first = 0, count = 0;  // its terms in Parse::terms
  bool whole = false;           // the term after the pieces is the inside read whole
  bool broken = false;          // reading the inside whole met an assertion
};

// A text being parsed. Every piece handed down the ladder is a view into it, so that a piece finds
// its groups by its offset. For a byte that opens a group, link holds the group's number; for one
// that closes a group, the index of the byte that opened it.
struct Parse {
  Text text;
  std::vector<uint32_t> link;
  std::vector<Group> groups;
  std::vector<CellRef> terms;
  bool trying = false, broke = false;
  Bytecells *bytes;
  std::vector<Positions> spare;  // position lists given back, lent again before any is made
};

// The levels borrow their lists of positions and give them back, so that the thousands of short
// parses of a program reuse a few lists instead of allocating at every level.
Positions lend(Parse &P) {
  if (P.spare.empty()) return Positions();
  Positions p = std::move(P.spare.back());
  P.spare.pop_back();
  p.clear();
  return p;
}
void giveback(Parse &P, Positions &p) { P.spare.push_back(std::move(p)); }

size_t offset(const Parse &P, Text t) { return (size_t)(t.data() - P.text.data()); }

// The index in t of the other end of the group that t[i] opens or closes; i for other bytes.
size_t endof(const Parse &P, Text t, size_t i) {
  unsigned char c = t[i];
  if (!isbracket(c)) return i;
  size_t at = offset(P, t) + i;
  bool opens = c == '(' || c == '[' || c == '{';
  return (opens ? P.groups[P.link[at]].close : P.link[at]) - offset(P, t);
}

const Group &groupat(const Parse &P, Text t) { return P.groups[P.link[offset(P, t)]]; }

// An assertion of the ladder. While a parenthesis is read whole only as a try, it marks the try as
// broken instead, and the reading goes on with whatever term comes back.
bool holds(Parse &P, bool cond) {
  if (cond) return true;
  must(P.trying);
  P.broke = true;
  return false;
}

Positions opps(Parse &P, Text t, const char *chars) {
  bool in[256] = {};
  for (; *chars; chars++) in[(unsigned char)*chars] = true;
  Positions p = lend(P);
  p.reserve(8);  // most levels find a few, and growing one by one costs more than the room
  for (size_t i = 0; i < t.size(); i = endof(P, t, i) + 1)
    if (in[(unsigned char)t[i]]) p.push_back(i);
  return p;
}

// The leaf of one byte, made once for all the parses that share P.bytes.
CellRef leaf(Parse &P, char c) {
  Cell *&cell = P.bytes->cell[(unsigned char)c];
  if (!cell) cellinc(cell = newleaf(&c, 1));
  return CellRef(cell);
}

// A pair of a and b. When both are held elsewhere too, as shared leaves, group terms and shared
// pairs are, the pair is shared through P.bytes: cells are never changed once made, so equal
// children make an equal pair.
CellRef pair(Parse &P, CellRef a, CellRef b) {
  if (countof(a.get()) < 2 || countof(b.get()) < 2) return cellpair(std::move(a), std::move(b));
  Cell *l = a.get(), *r = b.get();
  uint64_t h = (((uint64_t)(uintptr_t)l * 0x9e3779b97f4a7c15ull) ^ (uint64_t)(uintptr_t)r) | 1;
  Cell *found = nullptr;
  flatscan(P.bytes->pairs, h, [&](uint64_t v) {
    Cell *c = (Cell *)(uintptr_t)v;
    return c->left == l && c->right == r && (found = c);
  });
  if (found) return CellRef(found);
  CellRef made = cellpair(std::move(a), std::move(b));
  cellinc(made.get());
  flatput(P.bytes->pairs, h, (uint64_t)(uintptr_t)made.get());
  return made;
}

CellRef pair3(Parse &P, CellRef a, CellRef b, CellRef c) { return pair(P, pair(P, std::move(a), std::move(b)), std::move(c)); }

// The text before the first position, each piece from the end of a position's group to the next
// position, and the text after the last position's group: one more piece than positions.
std::vector<Text> pieces(const Parse &P, Text t, const Positions &p) {
  std::vector<Text> out;
  size_t from = 0;
  for (size_t at : p) {
    out.push_back(t.substr(from, at - from));
    from = endof(P, t, at) + 1;
  }
  out.push_back(t.substr(from));
  return out;
}

// The bytes that stand at depth 0 somewhere in a text. A level none of whose operators is among
// them hands its text down without scanning it; a piece keeps the mask of the text it came from,
// which holds all of its own bytes at depth 0, and a group's inside gets its own.
struct Seen {
  uint64_t bits[4] = {};
  bool any(const char *chars) const {
    for (; *chars; chars++)
      if (bits[(unsigned char)*chars >> 6] >> (*chars & 63) & 1) return true;
    return false;
  }
};

Seen seenof(const Parse &P, Text t) {
  Seen s;
  for (size_t i = 0; i < t.size(); i = endof(P, t, i) + 1) {
    unsigned char c = t[i];
    s.bits[c >> 6] |= 1ull << (c & 63);
  }
  return s;
}

using Level = CellRef (*)(Parse &, Text, const Seen &);

// Groups to the right: the last piece first, then each operator with the piece on its left.
// The pieces are those of pieces(), found from the end.
template <class Make>
CellRef rightfold(Parse &P, Text t, const Seen &seen, const Positions &p, Level next, Make make) {
  auto from = [&](size_t k) { return k ? endof(P, t, p[k - 1]) + 1 : 0; };
  CellRef acc = next(P, t.substr(from(p.size())), seen);
  for (size_t k = p.size(); k-- > 0;) acc = make(p[k], next(P, t.substr(from(k), p[k] - from(k)), seen), std::move(acc));
  return acc;
}

// Groups to the left: the first piece first, then each operator with the piece on its right,
// which runs from just past the operator to the next one.
template <class Make>
CellRef leftfold(Parse &P, Text t, const Seen &seen, const Positions &p, Level next, Make make) {
  CellRef acc = next(P, t.substr(0, p.empty() ? t.size() : p[0]), seen);
  for (size_t k = 0; k < p.size(); k++) {
    size_t end = k + 1 < p.size() ? p[k + 1] : t.size();
    acc = make(p[k], std::move(acc), next(P, t.substr(p[k] + 1, end - p[k] - 1), seen));
  }
  return acc;
}

CellRef level9(Parse &P, Text t, const Seen &seen);
CellRef level11(Parse &P, Text t, const Seen &seen);
CellRef level13(Parse &P, Text t, const Seen &seen);

// Levels 2 to 8: binary operators. The newline applies the line below to the term above it, the
// blank applies the term on its left to the one on its right, and every other operator is the
// application of its own leaf to both operands.
struct Rung {
  const char *chars;
  bool right;
};
const Rung rungs[] = {{"?\n", false}, {"&|", true},  {"=<>#", true}, {"@ ", false},
                      {"+-:.", false}, {"*/%'", false}, {"^", true}};

template <int level>
CellRef rung(Parse &P, Text t, const Seen &seen) {
  const Rung &r = rungs[level - 2];
  Level next;
  if constexpr (level == 8) next = level9;
  else next = rung<level + 1>;
  if (!seen.any(r.chars)) return next(P, t, seen);
  Positions p = opps(P, t, r.chars);
  auto make = [&P, t](size_t at, CellRef a, CellRef b) {
    if (t[at] == '\n') return pair(P, std::move(b), std::move(a));
    if (t[at] == ' ') return pair(P, std::move(a), std::move(b));
    return pair3(P, leaf(P, t[at]), std::move(a), std::move(b));
  };
  CellRef made = p.empty()  ? next(P, t, seen)
                 : r.right ? rightfold(P, t, seen, p, next, make)
                           : leftfold(P, t, seen, p, next, make);
  giveback(P, p);
  return made;
}

// ";" and "\" join two parts; a pair of wings joins the part on its left, its inside read as a
// comma list, and what follows the closing wing.
CellRef level1(Parse &P, Text t, const Seen &seen) {
  if (!seen.any(";\\{")) return rung<2>(P, t, seen);
  Positions p = opps(P, t, ";\\{");
  CellRef made = rightfold(P, t, seen, p, rung<2>, [&P, t](size_t at, CellRef left, CellRef acc) {
    if (t[at] != '{') return pair3(P, leaf(P, t[at]), std::move(left), std::move(acc));
    const Group &g = groupat(P, t.substr(at));
    return pair(P, pair3(P, leaf(P, '{'), std::move(left), P.terms[g.first]), std::move(acc));
  });
  giveback(P, p);
  return made;
}

CellRef commas(Parse &P, Text t, const Seen &seen) {
  if (!seen.any(",")) return level1(P, t, seen);
  Positions p = opps(P, t, ",");
  CellRef made = rightfold(P, t, seen, p, level1, [&P](size_t, CellRef a, CellRef acc) {
    return pair3(P, leaf(P, ','), std::move(a), std::move(acc));
  });
  giveback(P, p);
  return made;
}

// A run of prefix characters at the start of t, each applied to what follows it, the innermost
// first; what follows must not be empty.
CellRef prefixed(Parse &P, Text t, const Seen &seen, Level next) {
  size_t n = 0;
  while (n < t.size() && isprefix(t[n])) n++;
  if (!holds(P, n < t.size())) return leaf(P, '}');
  CellRef acc = next(P, t.substr(n), seen);
  while (n-- > 0) acc = pair(P, leaf(P, t[n]), std::move(acc));
  return acc;
}

// Leading prefix characters, as in "!x".
CellRef level10(Parse &P, Text t, const Seen &seen) { return prefixed(P, t, seen, level11); }

// Trailing prefix characters peel first, the last one outermost; nothing at all is the leaf "}".
CellRef level9(Parse &P, Text t, const Seen &seen) {
  size_t n = t.size();
  while (n > 0 && isprefix(t[n - 1])) n--;
  CellRef acc = n ? level10(P, t.substr(0, n), seen) : leaf(P, '}');
  for (size_t i = n; i < t.size(); i++) acc = pair(P, leaf(P, t[i]), std::move(acc));
  return acc;
}

// Prefix runs inside the text, as in "f~x": each run with what follows it up to the next run is
// one argument of what stands before the first run.
CellRef level11(Parse &P, Text t, const Seen &seen) {
  if (!seen.any(prefixchars)) return level13(P, t, seen);
  Positions runs;
  for (size_t i = 0; i < t.size(); i = endof(P, t, i) + 1) {
    if (!isprefix(t[i])) continue;
    runs.push_back(i);
    while (i + 1 < t.size() && isprefix(t[i + 1])) i++;
  }
  if (runs.empty()) return level13(P, t, seen);
  CellRef acc = level13(P, t.substr(0, runs[0]), seen);
  for (size_t k = 0; k < runs.size(); k++) {
    size_t end = k + 1 < runs.size() ? runs[k + 1] : t.size();
    acc = pair(P, std::move(acc), prefixed(P, t.substr(runs[k], end - runs[k]), seen, level13));
  }
  return acc;
}

// Atoms. In a bracket literal a newline byte is layout and a NUL byte, the editor's line break,
// is a real newline; a NUL byte alone is the newline leaf as well. A parenthesis here groups.
CellRef level14(Parse &P, Text t) {
  if (!holds(P, !t.empty())) return leaf(P, '}');
  unsigned char c = t[0];
  if ((c >= '0' && c <= '9') || wordbyte(c)) return t.size() == 1 ? leaf(P, (char)c) : CellRef(std::string(t));
  if (c == '[') {
    std::string s;
    s.reserve(t.size());
    for (char b : t)
      if (b != '\n') s += b ? b : '\n';
    return CellRef(s);
  }
  if (c == '(') {
    const Group &g = groupat(P, t);
    if (!g.whole) return P.terms[g.first];
    if (!holds(P, !g.broken)) return leaf(P, '}');
    return P.terms[g.first + g.count];
  }
  if (!holds(P, t.size() == 1)) return leaf(P, '}');
  return leaf(P, c ? (char)c : '\n');
}

// Juxtaposition of tokens, to the left. A parenthesised token after the first is a call list:
// each of its comma pieces is one more argument.
CellRef level13(Parse &P, Text t, const Seen &) {
  Positions starts = lend(P);
  tokenstartsby(t, [&P, t](size_t i) { return endof(P, t, i); }, starts);
  if (!holds(P, !starts.empty())) return giveback(P, starts), leaf(P, '}');
  starts.push_back(t.size());
  CellRef acc = level14(P, t.substr(0, starts[1]));
  for (size_t k = 1; k + 1 < starts.size(); k++) {
    Text token = t.substr(starts[k], starts[k + 1] - starts[k]);
    if (token[0] != '(') {
      acc = pair(P, std::move(acc), level14(P, token));
      continue;
    }
    const Group &g = groupat(P, token);
    for (size_t i = 0; i < g.count; i++) acc = pair(P, std::move(acc), P.terms[g.first + i]);
  }
  giveback(P, starts);
  return acc;
}

// Reads the inside of a group of parentheses or wings whose inner groups are all read already.
void readgroup(Parse &P, size_t open) {
  Group &g = P.groups[P.link[open]];
  Text inside = P.text.substr(open + 1, g.close - open - 1);
  Seen seen = seenof(P, inside);
  g.first = P.terms.size();
  if (P.text[open] == '{') {
    P.terms.push_back(commas(P, inside, seen));
    g.count = 1;
    return;
  }
  Positions cs = seen.any(",") ? opps(P, inside, ",") : Positions();
  for (Text piece : pieces(P, inside, cs)) P.terms.push_back(level1(P, piece, seen));
  g.count = cs.size() + 1;
  if (cs.empty()) return;
  P.trying = true;
  P.broke = false;
  P.terms.push_back(level1(P, inside, seen));
  g.whole = true;
  g.broken = P.broke;
  P.trying = false;
}

// Links every group of the text and reads the inside of each pair of parentheses or wings as it
// closes, so that an outer group finds the terms of those within it. From an opening bracket only
// brackets count, since a bracket group is literal; parentheses and wings count as one kind.
void readgroups(Parse &P) {
  must(P.text.size() < (1ull << 32));
  P.link.assign(P.text.size(), 0);
  std::vector<size_t> open;
  size_t literal = 0;  // the depth of bracket groups around the byte
  for (size_t i = 0; i < P.text.size(); i++) {
    unsigned char c = P.text[i];
    if (literal && c != '[' && c != ']') continue;
    if (c == '(' || c == '[' || c == '{') {
      P.link[i] = (uint32_t)P.groups.size();
      P.groups.emplace_back();
      open.push_back(i);
      literal += c == '[';
      continue;
    }
    if (c != ')' && c != ']' && c != '}') continue;
    must(!open.empty() && (P.text[open.back()] == '[') == (c == ']'));
    size_t from = open.back();
    open.pop_back();
    P.link[i] = (uint32_t)from;
    P.groups[P.link[from]].close = i;
    if (c == ']') literal--;
    else readgroup(P, from);
  }
  must(open.empty());
}

// The tables of a parse keep their room for the next one, since a program is thousands of short
// parses. A parse started inside another, should one ever be, finds them empty and makes its own.
void swaproom(Parse &a, Parse &b) {
  std::swap(a.link, b.link);
  std::swap(a.groups, b.groups);
  std::swap(a.terms, b.terms);
  std::swap(a.spare, b.spare);
}

CellRef parse(Text text, Level top, Bytecells &bytes) {
  static Parse spare;
  Parse P;
  swaproom(P, spare);
  P.groups.clear();
  P.terms.clear();
  P.text = text;
  P.bytes = &bytes;
  readgroups(P);
  CellRef t = top(P, P.text, seenof(P, P.text));
  // The room of a text longer than a megabyte goes, so that one huge parse holds nothing after it.
  if (text.size() > (1u << 20)) return t;
  P.terms.clear();
  swaproom(P, spare);
  return t;
}

}  // namespace

CellRef parsetop(std::string_view text, Bytecells *bytes) {
  if (bytes) return parse(text, level1, *bytes);
  Bytecells own;
  return parse(text, level1, own);
}

CellRef parselist(std::string_view text) {
  Bytecells own;
  return parse(text, commas, own);
}

Bytecells::~Bytecells() {
  for (const Slot &s : pairs.slots)
    if (s.key) celldec((Cell *)(uintptr_t)s.value);
  for (Cell *c : cell)
    if (c) celldec(c);
}

std::string posname(int64_t n) {
  if (n == 0x40000000) return "!!!!!";
  must(n >= 0 && n < 0x40000000);
  std::string s(5, '_');
  for (int k = 4; k >= 0; k--, n /= 64) s[k] = blobdigits[n % 64];
  return s;
}

static bool failed(const char *status, int64_t at, const std::string &message, std::string &error,
                   int64_t &where) {
  where = at;
  error.assign(status).append("[").append(posname(at)).append("]").append(message);
  return false;
}

// Forward: every closing byte needs the open one of its kind on top, and a bracket literal
// swallows all but its own brackets. Backward: a comma directly inside a parenthesis is allowed
// only when that parenthesis is a call list, that is, when something other than glue stands
// before it.
bool matchcheck(const std::string &text, int64_t base, std::string &error, int64_t &where) {
  std::vector<size_t> open;
  for (size_t i = 0; i < text.size(); i++) {
    char c = text[i];
    if (!open.empty() && text[open.back()] == '[') {
      if (c == ']') open.pop_back();
      else if (c == '[') open.push_back(i);
    } else if (c == '(' || c == '[' || c == '{') {
      open.push_back(i);
    } else if (c == ')' || c == ']' || c == '}') {
      int64_t at = base + (int64_t)i;
      if (open.empty()) return failed("Match", at, "Left dangling " + bracketname(c) + ".", error, where);
      char o = text[open.back()];
      if (o != (c == ')' ? '(' : c == ']' ? '[' : '{'))
        return failed("Match", base + (int64_t)open.back(),
                      "Doesn't fit '" + std::string(1, c) + "' at [" + posname(at) + "].", error, where);
      open.pop_back();
    }
  }
  if (!open.empty())
    return failed("Match", base + (int64_t)open.back(), "Right dangling " + bracketname(text[open.back()]) + ".",
                  error, where);
  std::vector<size_t> stack;
  for (size_t i = text.size(); i-- > 0;) {
    char c = text[i];
    if (c == ']') {
      i = groupend(text, i);
    } else if (c == ')' || c == '}') {
      stack.push_back(i);
    } else if (c == ',') {
      if (stack.empty() || text[stack.back()] == '}') continue;
      if (text[stack.back()] == ')') stack.push_back(i);
      else stack.back() = i;
    } else if (c == '{') {
      must(!stack.empty());
      stack.pop_back();
    } else if (c == '(') {
      must(!stack.empty());
      bool comma = text[stack.back()] == ',';
      unsigned char before = i ? (unsigned char)text[i - 1] : 0;
      bool grouping = i == 0 ? stack.size() == 2 : comma && before != ')' && before != ']' && isglue(before);
      if (grouping)
        return failed("Comma", base + (int64_t)stack.back(), "Comma encountered in parenthesization which is not a call list.",
                      error, where);
      if (comma) stack.pop_back();
      stack.pop_back();
    }
  }
  return true;
}
