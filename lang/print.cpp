// Printing of terms. Each cell's printed shape (length, edge bytes, whether its bytes are of one
// class, whether it is one bracket group) is worked out first, then the text is written once, so
// that long lists print in time proportional to their text and without native recursion.
#include "lang/print.h"

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "core/halt.h"
#include "core/number.h"
#include "lang/analysis.h"

namespace {

enum Form { leaf, flat, join, paren };

struct Shape {
  size_t len;
  unsigned char first, second, last;
  bool uniform;  // every byte of the class of the first
  bool single;   // one bracket group from the first byte to the last
  bool closed;   // a text that starts with "[" closes that group inside itself
  Form form;
};

// l for a word byte, n for a digit, m for anything else.
char cls(unsigned char c) {
  if (c == '_' || (c >= 'a' && c <= 'z')) return 'l';
  if (c >= '0' && c <= '9') return 'n';
  return 'm';
}

std::string leaftext(Cell *c) {
  unsigned char h = headbyte(c);
  if (h == 0 || h == ')' || h == ']') return "()";
  if (h == ' ') {
    CellRef r(c);
    needreal(r);
    sizeup(c);
    char buf[99];
    snprintf(buf, sizeof buf, "%e", realvalue(r));
    return "real[" + std::string(buf) + "]";
  }
  if (h == '(') {
    std::string out = "init[";
    for (char b : blobbytes(CellRef(c))) {
      if (b == '\n') out += "[p]";
      else if (b == '[') out += "[q]";
      else if (b == ']') out += "[r]";
      else if (b == 0) out += '\n';
      else out += b;
    }
    return out + "]";
  }
  return celltextof(c);
}

// Where the bracket group that opens a text closes, or npos when it stays open.
size_t groupclose(const std::string &t) {
  int depth = 0;
  for (size_t j = 0; j < t.size(); j++) {
    depth += t[j] == '[' ? 1 : t[j] == ']' ? -1 : 0;
    if (depth == 0) return j;
  }
  return std::string::npos;
}

Shape textshape(const std::string &t) {
  Shape s{t.size(), (unsigned char)t[0], t.size() > 1 ? (unsigned char)t[1] : (unsigned char)0,
          (unsigned char)t.back(), true, false, true, leaf};
  for (unsigned char b : t) s.uniform = s.uniform && cls(b) == cls(s.first);
  if (s.first == '[') {
    size_t end = groupclose(t);
    s.closed = end != std::string::npos;
    s.single = end == t.size() - 1;
  }
  return s;
}

using Shapes = std::unordered_map<Cell *, Shape>;

// The shape of a pair from the shapes of its two prints, by the first rule that applies.
Shape pairshape(const Shape &l, const Shape &r) {
  if (l.first == '(' && l.second != ')')
    return {l.len + r.len + 1, '(', l.second, ')', false, false, true, flat};
  must(r.first != '[' || r.closed);  // the group end of an open bracket text lies outside it
  bool together = r.first == '[' && r.single;
  if (!together) {
    bool apart = r.len > 1 && (!r.uniform || cls(r.first) == 'm');
    apart = apart || (cls(l.last) == 'l' && cls(r.first) == 'l') || (cls(l.last) == 'n' && cls(r.first) == 'n');
    if (apart) return {l.len + r.len + 3, '(', l.first, ')', false, false, true, paren};
  }
  // The joined text's first group is where the left part has it. One left open there stays open:
  // what joins it is one whole group, a word, a number or one byte that is no bracket.
  return {l.len + r.len, l.first, l.len > 1 ? l.second : r.first, r.last,
          l.uniform && r.uniform && cls(l.first) == cls(r.first), false, l.closed, join};
}

// Lengths stop growing here: a term that shares its parts can print to more bytes than a word
// counts, and no such text is ever written.
constexpr size_t lenmost = (size_t)1 << 60;

void shapeall(Cell *t, Shapes &shapes) {
  std::vector<Cell *> todo{t};
  while (!todo.empty()) {
    Cell *c = todo.back();
    if (shapes.count(c)) {
      todo.pop_back();
    } else if (isleafcell(c)) {
      shapes.emplace(c, textshape(leaftext(c)));
      todo.pop_back();
    } else if (shapes.count(c->left) && shapes.count(c->right)) {
      Shape s = pairshape(shapes.at(c->left), shapes.at(c->right));
      s.len = std::min(s.len, lenmost);
      shapes.emplace(c, s);
      todo.pop_back();
    } else {
      todo.push_back(c->right);
      todo.push_back(c->left);
    }
  }
}

// Writes the text of t by the forms already chosen, with an explicit stack of pending pieces.
void emit(Cell *t, const Shapes &shapes, std::string &out) {
  enum Piece { cell, blank, close, open, drop };
  std::vector<std::pair<Piece, Cell *>> todo{{cell, t}};
  while (!todo.empty()) {
    auto [piece, c] = todo.back();
    todo.pop_back();
    switch (piece) {
      case blank: out += ' '; continue;
      case close: out += ')'; continue;
      case open: out += '('; continue;
      case drop: out.pop_back(); continue;
      case cell: break;
    }
    Form form = shapes.at(c).form;
    if (form == leaf) {
      out += leaftext(c);
    } else if (form == flat) {
      todo.insert(todo.end(), {{close, nullptr}, {cell, c->right}, {blank, nullptr}, {drop, nullptr}, {cell, c->left}});
    } else if (form == join) {
      todo.insert(todo.end(), {{cell, c->right}, {cell, c->left}});
    } else {
      todo.insert(todo.end(), {{close, nullptr}, {cell, c->right}, {blank, nullptr}, {cell, c->left}, {open, nullptr}});
    }
  }
}

}  // namespace

// A text longer than the run may take is not written: the run is asked to halt for memory, as for
// any other growth past the limit.
std::string termprint(const CellRef &term) {
  Shapes shapes;
  shapeall(term.get(), shapes);
  std::string out;
  size_t len = shapes.at(term.get()).len;
  if (!roomfor(len)) return out;
  out.reserve(len);
  emit(term.get(), shapes, out);
  return out;
}
