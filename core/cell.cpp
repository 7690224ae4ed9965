// Cells: making, counting and releasing them, their texts, the total order and interning.
// Release, comparison and interning walk with explicit stacks, so term depth costs no native stack.
#include "core/cell.h"

#include <cstddef>
#include <cstdlib>
#include <unordered_map>
#include <utility>
#include <vector>

#include "core/tables.h"

uint64_t cellsmade = 0, cellsfreed = 0;

// Pairs take 24-byte blocks from a free list carved out of large slabs; leaves, whose size
// varies with their text, come from the general heap. Sanitizer builds use the heap for all.
constexpr size_t smallcell = sizeof(Cell);

#ifdef TOLM_PLAINHEAP
static Cell *takesmall() { return (Cell *)malloc(smallcell); }
static void givesmall(Cell *c) { free(c); }
#else
static Cell *freecells = nullptr;

static Cell *takesmall() {
  if (!freecells) {
    constexpr size_t slab = 4096;
    Cell *block = (Cell *)malloc(slab * smallcell);
    must(block != nullptr);
    for (size_t i = 0; i < slab; i++) {
      block[i].word = (uint64_t)(uintptr_t)freecells;
      freecells = &block[i];
    }
  }
  Cell *c = freecells;
  freecells = (Cell *)(uintptr_t)c->word;
  return c;
}

static void givesmall(Cell *c) {
  c->word = (uint64_t)(uintptr_t)freecells;
  freecells = c;
}
#endif

static bool isdigitbyte(unsigned char c) { return c >= '0' && c <= '9'; }

Cell *newleaf(const char *text, size_t n) {
  Cell *c = (Cell *)malloc(offsetof(Cell, left) + n + 1);
  must(c != nullptr);
  cellsmade++;
  c->word = leafbit;
  char *t = textof(c);
  if (n) memcpy(t, text, n);
  t[n] = 0;
  unsigned char first = n ? (unsigned char)t[0] : 0;
  if ((isdigitbyte(first) || first == '[') && n < fieldmax) c->word |= (uint64_t)n << fieldshift;
  return c;
}

Cell *newpair(Cell *left, Cell *right) {
  Cell *c = takesmall();
  cellsmade++;
  c->word = 0;
  c->left = left;
  c->right = right;
  return c;
}

static void freeleaf(Cell *c) {
  cellsfreed++;
  free(c);
}

// Drops one count of a child of a dying pair; a pair that dies too is chained through its header.
static inline void dropchild(Cell *c, Cell *&dying) {
  must((c->word & countmask) != 0);
  if ((--c->word & countmask) != 0) return;
  if (isleafcell(c)) {
    freeleaf(c);
    return;
  }
  c->word = (uint64_t)(uintptr_t)dying;
  dying = c;
}

void cellfree(Cell *c) {
  if (isleafcell(c)) {
    freeleaf(c);
    return;
  }
  c->word = 0;
  Cell *dying = c;
  while (dying) {
    Cell *p = dying;
    dying = (Cell *)(uintptr_t)p->word;
    Cell *l = p->left, *r = p->right;
    cellsfreed++;
    givesmall(p);
    dropchild(l, dying);
    dropchild(r, dying);
  }
}

void setfield(Cell *c, uint64_t value) {
  must(value < fieldmax);
  c->word = (c->word & ~((fieldmax - 1) << fieldshift)) | (value << fieldshift);
}

void setarity(Cell *c, int arity) {
  must(arity >= -52 && arity <= 11);
  uint64_t code = (uint64_t)(arity + 52);
  must(code < 64);
  c->word = (c->word & ~(0x3Full << 56)) | (code << 56);
}

void setredex(Cell *c, bool flag) { c->word = flag ? c->word | redexbit : c->word & ~redexbit; }

void settop(Cell *c, uint8_t top) { c->word = (c->word & ~(0xFFull << 56)) | ((uint64_t)top << 56); }

CellRef cellpair(CellRef left, CellRef right) {
  Cell *l = left.release(), *r = right.release();
  must(l != nullptr && r != nullptr);
  return CellRef(newpair(l, r));
}

CellRef cellpair3(CellRef a, CellRef b, CellRef c) {
  return cellpair(cellpair(std::move(a), std::move(b)), std::move(c));
}

CellRef cellpair4(CellRef a, CellRef b, CellRef c, CellRef d) {
  return cellpair(cellpair3(std::move(a), std::move(b), std::move(c)), std::move(d));
}

CellRef cellleft(const CellRef &ref) {
  must(!isleafcell(ref.get()));
  return CellRef(ref->left);
}

CellRef cellright(const CellRef &ref) {
  must(!isleafcell(ref.get()));
  return CellRef(ref->right);
}

size_t celllenof(const Cell *c) {
  if (!isleafcell(c)) return 0;
  const char *t = textof(c);
  unsigned char first = (unsigned char)t[0];
  if (first == ' ') return 9;
  if (first == '(') {
    size_t n = 0, i = 1;
    for (; t[i] != ')'; i++) n = n * 64 + (size_t)digitvalue(t[i]);
    return i + 1 + n;
  }
  if (isdigitbyte(first) || first == '[') {
    if (fieldof(c)) return fieldof(c);
    size_t n = strlen(t);
    must(n >= fieldmax);
    return n;
  }
  return strlen(t);
}

std::string celltextof(const Cell *c) { return std::string(textof(c), celllenof(c)); }


static int leafcompare(const Cell *a, const Cell *b) {
  size_t la = celllenof(a), lb = celllenof(b);
  int c = memcmp(textof(a), textof(b), la < lb ? la : lb);
  if (c) return c < 0 ? -1 : 1;
  return la < lb ? -1 : la > lb ? 1 : 0;
}

static int comparecells(Cell *a, Cell *b) {
  static std::vector<std::pair<Cell *, Cell *>> todo;
  todo.clear();
  todo.emplace_back(a, b);
  while (!todo.empty()) {
    auto [x, y] = todo.back();
    todo.pop_back();
    for (;;) {
      if (x == y) break;
      bool xl = isleafcell(x), yl = isleafcell(y);
      if (xl && yl) {
        int c = leafcompare(x, y);
        if (c) return c;
        break;
      }
      if (xl) return -1;
      if (yl) return 1;
      todo.emplace_back(x->right, y->right);
      x = x->left;
      y = y->left;
    }
  }
  return 0;
}

int cellcompare(const CellRef &a, const CellRef &b) { return comparecells(a.get(), b.get()); }

// Structural hashes of a term's cells, known for members and worked out here for the rest.
static uint64_t mix(uint64_t h) {
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdull;
  h ^= h >> 33;
  h *= 0xc4ceb9fe1a85ec53ull;
  return h ^ (h >> 33);
}

static uint64_t leafhash(const Cell *c) {
  uint64_t h = 0xcbf29ce484222325ull;
  const unsigned char *t = (const unsigned char *)textof(c);
  for (size_t i = 0, n = celllenof(c); i < n; i++) h = (h ^ t[i]) * 0x100000001b3ull;
  return mix(h);
}

using Hashes = std::unordered_map<Cell *, uint64_t>;

static bool knownhash(Cell *c, const Keep &k, const Hashes &memo, uint64_t &h) {
  auto m = k.hashes.find(c);
  if (m != k.hashes.end()) return h = m->second, true;
  auto i = memo.find(c);
  if (i != memo.end()) return h = i->second, true;
  return false;
}

static void hashterm(Cell *t, const Keep &k, Hashes &memo) {
  std::vector<Cell *> todo{t};
  uint64_t h, hl, hr;
  while (!todo.empty()) {
    Cell *c = todo.back();
    if (knownhash(c, k, memo, h)) {
      todo.pop_back();
    } else if (isleafcell(c)) {
      memo[c] = leafhash(c);
      todo.pop_back();
    } else {
      bool l = knownhash(c->left, k, memo, hl), r = knownhash(c->right, k, memo, hr);
      if (l && r) {
        memo[c] = mix(hl * 31 + mix(hr + 0x9e3779b97f4a7c15ull));
        todo.pop_back();
      } else {
        if (!r) todo.push_back(c->right);
        if (!l) todo.push_back(c->left);
      }
    }
  }
}

static Cell *findmember(const Keep &k, Cell *t, uint64_t h) {
  auto range = k.members.equal_range(h);
  for (auto i = range.first; i != range.second; ++i) {
    Cell *m = i->second.get();
    if (comparecells(m, t) == 0) return m;
  }
  return nullptr;
}

static void addmember(Keep &k, Cell *c, uint64_t h) {
  k.members.emplace(h, CellRef(c));
  k.hashes[c] = h;
}

// A term found yields the member; a leaf not found goes in; a pair not found has its children
// interned first and goes in itself, or as a new pair when a child came back as another cell.
CellRef cellkeep(CellRef ref) {
  Keep &k = keepset();
  Hashes memo;
  hashterm(ref.get(), k, memo);
  struct Frame {
    Cell *t;
    uint64_t h;
    Cell *left;  // the interned left child, once known
  };
  std::vector<Frame> stack;
  Cell *result = nullptr;
  Cell *enter = ref.get();
  for (;;) {
    if (enter) {
      uint64_t h = 0;
      must(knownhash(enter, k, memo, h));
      if (Cell *m = findmember(k, enter, h)) {
        result = m;
      } else if (isleafcell(enter)) {
        addmember(k, enter, h);
        result = enter;
      } else {
        stack.push_back({enter, h, nullptr});
        enter = enter->left;
        continue;
      }
      enter = nullptr;
    }
    if (stack.empty()) break;
    Frame &f = stack.back();
    if (!f.left) {
      f.left = result;
      enter = f.t->right;
      continue;
    }
    Cell *t = f.t;
    if (f.left != t->left || result != t->right) {
      cellinc(f.left);
      cellinc(result);
      t = newpair(f.left, result);
    }
    addmember(k, t, f.h);
    result = t;
    stack.pop_back();
  }
  return CellRef(result);
}

const char blobdigits[65] = "_abcdefghijklmnopqrustvwzxy0123456789ABCDEFGHIJKLMNOPQRUSTVWZXY~";

// The decoder refuses "~" although the encoder writes it for 63; reading such a length stops.
int digitvalue(char c) {
  bool ok = c == ',' || c == '_' || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
            (c >= 'A' && c <= 'Z');
  must(ok);
  if (c == ',') return 69;
  return (int)(strchr(blobdigits, c) - blobdigits);
}

std::string lengthdigits(uint64_t n) {
  std::string d;
  for (; n; n /= 64) d.insert(d.begin(), blobdigits[n % 64]);
  return d;
}

CellRef mkblob(const std::string &bytes) {
  return CellRef("(" + lengthdigits(bytes.size()) + ")" + bytes);
}

std::string blobbytes(const CellRef &blob) {
  must(cellhead(blob) == '(');
  const char *t = textof(blob.get());
  size_t n = celllen(blob), open = strchr(t, ')') - t + 1;
  return std::string(t + open, n - open);
}
