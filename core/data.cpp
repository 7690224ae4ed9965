// Data: the bracket encoding of small numbers, the table of character trees, and the
// operations that take lists apart, flatten them and measure them without native recursion.
#include "core/data.h"

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <vector>

#include "core/byteorder.h"

// k is the integer square root of n - 1 and r what is left over; r decides which of the two
// smaller numbers stands first in the list and which is k.
std::string bracketcode(int n) {
  must(n >= 0 && n <= 676);
  if (n == 0) return "[]";
  int k = 0;
  while ((k + 1) * (k + 1) <= n - 1) k++;
  int r = n - k * k - 1;
  int first = r % 2 == 0 ? k : (r - 1) / 2, second = r % 2 == 0 ? r / 2 : k;
  return "[" + bracketcode(second) + bracketcode(first).substr(1);
}

// The character at place i of the byte order stands for the encoding of i + 145.
struct Trees {
  std::vector<CellRef> ofbyte;  // by byte value
  std::unordered_map<std::string, unsigned char> bytes;
  size_t shortest = SIZE_MAX, longest = 0;
};

static const Trees &trees() {
  static const Trees t = [] {
    Trees r;
    for (int byte = 0; byte < 256; byte++) {
      std::string code = bracketcode(placeof((unsigned char)byte) + 145);
      r.ofbyte.emplace_back(code);
      r.bytes.emplace(code, (unsigned char)byte);
      r.shortest = std::min(r.shortest, code.size());
      r.longest = std::max(r.longest, code.size());
    }
    return r;
  }();
  return t;
}

const CellRef &chartree(unsigned char byte) { return trees().ofbyte[byte]; }

int treechar(std::string_view text) {
  const Trees &t = trees();
  if (text.size() < t.shortest || text.size() > t.longest) return -1;
  auto i = t.bytes.find(std::string(text));
  return i == t.bytes.end() ? -1 : i->second;
}

static std::string_view leaftext(const Cell *c) { return std::string_view(textof(c), celllenof(c)); }

// Where the last element of the bracket text t[0, end) closed by a bracket starts: the byte
// before end, or the opening bracket of the group that ends there.
static size_t lastbefore(std::string_view t, size_t end) {
  size_t j = end - 1;
  if (t[j] != ']') return j;
  for (size_t depth = 0;; j--) {
    if (t[j] == ']') depth++;
    else if (t[j] == '[' && --depth == 0) return j;
    must(j > 0);
  }
}

// The same for a whole bracket text; "[]" has no last element.
static size_t laststart(std::string_view t) {
  must(t.size() >= 3);
  return lastbefore(t, t.size() - 1);
}

bool dataempty(const CellRef &x) {
  must(datakind(x.get()));
  return !cellispair(x) && leaftext(x.get()) == "[]";
}

CellRef datainit(const CellRef &x) {
  must(datakind(x.get()));
  if (cellispair(x)) return cellleft(x);
  std::string_view t = leaftext(x.get());
  std::string init(t.substr(0, laststart(t)));
  return CellRef(init + "]");
}

CellRef datalast(const CellRef &x) {
  must(datakind(x.get()));
  if (cellispair(x)) return cellright(x);
  std::string_view t = leaftext(x.get());
  size_t start = laststart(t);
  if (start == t.size() - 2) return chartree((unsigned char)t[start]);
  return CellRef(std::string(t.substr(start, t.size() - 1 - start)));
}

// Visits the leaves of a data term from left to right, calling mid on each pair between its
// children and post after them, with an explicit stack so that long ropes cost no native stack.
template <class Leaf, class Mid, class Post>
static void walkdata(Cell *x, Leaf leaf, Mid mid, Post post) {
  std::vector<std::pair<Cell *, bool>> pairs;  // a pair and whether its right child is under way
  for (;;) {
    for (; !isleafcell(x); x = x->left) pairs.emplace_back(x, false);
    leaf(x);
    for (;;) {
      if (pairs.empty()) return;
      auto &[p, right] = pairs.back();
      if (!right) {
        right = true;
        mid(p);
        x = p->right;
        break;
      }
      post(p);
      pairs.pop_back();
    }
  }
}

// The left list's text loses its closing bracket, the last element follows, and the bracket
// closes again. The trees of "[" and "]" stay groups, since those two have no character form
// in a bracket text.
CellRef dataflat(const CellRef &x) {
  must(datakind(x.get()));
  if (!cellispair(x)) return x;
  std::string out;
  std::vector<size_t> marks;
  walkdata(
      x.get(), [&](Cell *c) { out.append(leaftext(c)); },
      [&](Cell *) {
        out.pop_back();
        marks.push_back(out.size());
      },
      [&](Cell *) {
        size_t mark = marks.back();
        marks.pop_back();
        int c = treechar(std::string_view(out).substr(mark));
        if (c >= 0 && c != '[' && c != ']') {
          out.resize(mark);
          out += (char)c;
        }
        out += ']';
      });
  return CellRef(out);
}

std::string datatext(const CellRef &x) {
  CellRef flat = dataflat(x);
  std::string_view t = leaftext(flat.get());
  must(t.size() >= 2);
  return std::string(t.substr(1, t.size() - 2));
}

// A pair's field holds its length when that was known at analysis; otherwise the leaves add up.
uint64_t datalen(const CellRef &x) {
  must(datakind(x.get()));
  uint64_t n = 0;
  std::vector<Cell *> todo{x.get()};
  while (!todo.empty()) {
    Cell *c = todo.back();
    todo.pop_back();
    if (fieldof(c) >= 2) {
      n += fieldof(c);
    } else if (isleafcell(c)) {
      n += celllenof(c);
    } else {
      todo.push_back(c->left);
      todo.push_back(c->right);
    }
  }
  return n;
}

// Each pair adds its last element to its left list; a leaf counts its outermost elements.
uint64_t datacount(const CellRef &x) {
  must(datakind(x.get()));
  uint64_t n = 0;
  Cell *c = x.get();
  for (; !isleafcell(c); c = c->left) n++;
  std::string_view t = leaftext(c);
  size_t depth = 0;
  for (size_t i = 1; i + 1 < t.size(); i++) {
    if (t[i] == ']') depth--;
    else if (depth == 0) n++;
    if (t[i] == '[') depth++;
  }
  return n;
}

// A bracket text as J form: each group is a list that starts at K and takes its elements from
// the left, a character through the text of its tree. Nothing for a text whose outer group does
// not close at its last byte, as a cut inside an element can leave.
static std::optional<CellRef> listoftext(std::string_view t);

// A character's list: that of the text of its tree, which is balanced.
static CellRef charlist(unsigned char c) { return *listoftext(leaftext(chartree(c).get())); }

static std::optional<CellRef> listoftext(std::string_view t) {
  std::vector<CellRef> lists;
  for (size_t i = 0; i < t.size(); i++) {
    if (t[i] == '[') {
      lists.emplace_back("K");
    } else if (t[i] == ']') {
      CellRef done = std::move(lists.back());
      lists.pop_back();
      if (lists.empty()) return i + 1 == t.size() ? std::optional(std::move(done)) : std::nullopt;
      lists.back() = cellpair3(CellRef("J"), std::move(lists.back()), std::move(done));
    } else {
      lists.back() = cellpair3(CellRef("J"), std::move(lists.back()), charlist((unsigned char)t[i]));
    }
  }
  return std::nullopt;
}

// The list form as the last element and all but it define it, for a text that a cut left
// unbalanced: its elements are those found walking back from its end, each a group or a
// character, whose tree is balanced.
static CellRef listbyparts(std::string_view t) {
  std::vector<std::string_view> lasts;
  for (size_t end = t.size() - 1; end > 1;) {
    size_t start = lastbefore(t, end);
    must(start > 0);  // a cut before a closing bracket leaves "]" once the rest is taken
    lasts.push_back(t.substr(start, end - start));
    end = start;
  }
  CellRef out("K");
  for (size_t i = lasts.size(); i-- > 0;) {
    std::string_view e = lasts[i];  // a group, which is balanced, or one character
    out = cellpair3(CellRef("J"), std::move(out), e.size() == 1 ? charlist((unsigned char)e[0]) : *listoftext(e));
  }
  return out;
}

CellRef datalist(const CellRef &x) {
  must(datakind(x.get()));
  std::vector<CellRef> done;
  walkdata(
      x.get(),
      [&](Cell *c) {
        std::optional<CellRef> flat = listoftext(leaftext(c));
        done.push_back(flat ? std::move(*flat) : listbyparts(leaftext(c)));
      },
      [](Cell *) {},
      [&](Cell *) {
        CellRef last = std::move(done.back());
        done.pop_back();
        done.back() = cellpair3(CellRef("J"), std::move(done.back()), std::move(last));
      });
  return std::move(done.back());
}

CellRef databox(const std::string &text) { return CellRef("[" + text + "]"); }
