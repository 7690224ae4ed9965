// Cells: making, counting and releasing them, their texts, the total order and interning.
// Release, comparison and interning walk with explicit stacks, so term depth costs no native stack.
#include "core/cell.h"

#include <cstddef>
#include <cstdlib>
#include <malloc.h>
#include <sys/mman.h>
#include <utility>
#include <vector>

#include "core/halt.h"
#include "core/tables.h"

uint64_t cellsmade = 0, cellsfreed = 0;

// Cells of 24 bytes, every pair and every leaf of at most 15 text bytes, come from a free list
// carved out of one stretch of address space reserved at the first need, so that whether a cell
// came from there is told by its address alone, never by reading its text. Longer leaves, and
// every cell once the stretch is used up, come from the general heap. Sanitizer builds use the
// heap for all.
constexpr size_t smallcell = sizeof(Cell);
constexpr size_t smalltext = smallcell - offsetof(Cell, left) - 1;

// What terms hold: every live cell at the size of a small one, and what the general heap gave
// long leaves beyond that. The run's memory limit is checked against it where it grows.
static uint64_t textheld = 0;

uint64_t mallocheld = 0;

uint64_t memoryheld() { return (cellsmade - cellsfreed) * smallcell + textheld + mallocheld; }

static void *takelong(size_t n) {
  memorycheck(memoryheld() + n);
  void *block = malloc(n);
  must(block != nullptr);
  textheld += malloc_usable_size(block) - smallcell;
  return block;
}

// A small cell from the general heap; the limit is looked at once in a slab's worth of cells.
static Cell *takeheap() {
  if ((cellsmade & 4095) == 0) memorycheck(memoryheld());
  Cell *c = (Cell *)malloc(smallcell);
  must(c != nullptr);
  return c;
}

// A block of the general heap: a long leaf gives back what it held beyond a small cell. Kept out of
// line, so that the pool's own path stays small enough to be inlined where cells are freed.
[[gnu::noinline]] static void giveheap(Cell *c) {
  size_t n = malloc_usable_size(c);
  if (n > smallcell) textheld -= n - smallcell;
  free(c);
}

#ifdef TOLM_PLAINHEAP
static Cell *takesmall() { return takeheap(); }
static void givesmall(Cell *c) { giveheap(c); }
#else
static Cell *freecells = nullptr;
static char *poolstart = nullptr, *poolnext = nullptr, *poolend = nullptr;

// Kept out of line, as giveheap is, so that the pool's own path stays small enough to be inlined.
[[gnu::noinline]] static void poolreserve() {
  constexpr size_t reserve = 16ull << 30;  // address space only: pages are taken as they are touched
  static char none;                        // a refused reservation leaves the stretch empty
  void *p = mmap(nullptr, reserve, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  // Large pages where the system offers them: a run that builds long lists touches fresh pages
  // all the time, and the faults of small pages took a tenth of its time.
  if (p != MAP_FAILED) madvise(p, reserve, MADV_HUGEPAGE);
  poolstart = poolnext = p == MAP_FAILED ? &none : (char *)p;
  poolend = p == MAP_FAILED ? &none : poolstart + reserve;
}

static Cell *takesmall() {
  if (freecells) {
    Cell *c = freecells;
    freecells = (Cell *)(uintptr_t)c->word;
    return c;
  }
  if (!poolend) poolreserve();
  constexpr size_t slab = 4096 * smallcell;
  if ((size_t)(poolend - poolnext) < slab) return takeheap();
  memorycheck(memoryheld());
  Cell *block = (Cell *)poolnext;
  poolnext += slab;
  for (size_t i = slab / smallcell - 1; i > 0; i--) {
    block[i].word = (uint64_t)(uintptr_t)freecells;
    freecells = &block[i];
  }
  return &block[0];
}

static void givesmall(Cell *c) {
  if ((char *)c < poolstart || (char *)c >= poolend) return giveheap(c);
  c->word = (uint64_t)(uintptr_t)freecells;
  freecells = c;
}
#endif

static bool isdigitbyte(unsigned char c) { return c >= '0' && c <= '9'; }

Cell *newleafspace(size_t n, unsigned char first, size_t room) {
  room = room > n ? room : n;
  void *block = room <= smalltext ? (void *)takesmall() : takelong(offsetof(Cell, left) + room + 1);
  must(block != nullptr);
  cellsmade++;
  Cell *c = (Cell *)block;
  char *t = rawtext(c);
  t[0] = (char)first;
  t[n] = 0;
  c->word = leafbit;
  if ((isdigitbyte(first) || first == '[') && n < fieldmax) c->word |= (uint64_t)n << fieldshift;
  if (first == '[') c->word |= 0x40ull << 56;
  return c;
}

size_t leafroom(const Cell *c) {
#ifndef TOLM_PLAINHEAP
  if ((const char *)c >= poolstart && (const char *)c < poolend) return smalltext;
#endif
  return malloc_usable_size((void *)c) - offsetof(Cell, left) - 1;
}

Cell *newleaf(const char *text, size_t n) {
  Cell *c = newleafspace(n, n ? (unsigned char)text[0] : 0);
  if (n) memcpy(rawtext(c), text, n);
  return c;
}

Cell *newpair(Cell *left, Cell *right) {
  Cell *c;
  try {
    c = takesmall();
  } catch (const Overrun &) {  // the children's counts were given to a pair that is not made
    celldec(left);
    celldec(right);
    throw;
  }
  cellsmade++;
  c->word = 0;
  c->left = left;
  c->right = right;
  // A pair of two data cells is data, with the sum of the lengths while both are known.
  if (datakind(left) && datakind(right)) {
    uint64_t a = fieldof(left), b = fieldof(right);
    c->word = 0x40ull << 56;
    if (a >= 2 && b >= 2 && a + b < fieldmax) c->word |= (a + b) << fieldshift;
  }
  return c;
}

// A leaf goes back where it came from, which its address tells: the pool or the general heap.
static void freeleaf(Cell *c) {
  cellsfreed++;
  givesmall(c);
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

// The length of a digit or bracket leaf is in field, so that pending digits are not written
// for it; only a text too long for field is measured.
size_t celllenof(const Cell *c) {
  if (!isleafcell(c)) return 0;
  unsigned char first = headbyte(c);
  if (first == ' ') return 9;
  if ((isdigitbyte(first) || first == '[') && fieldof(c)) return fieldof(c);
  const char *t = textof(c);
  if (first == '(') {
    size_t n = 0, i = 1;
    for (; t[i] != ')'; i++) n = n * 64 + (size_t)digitvalue(t[i]);
    return i + 1 + n;
  }
  size_t n = strlen(t);
  if (isdigitbyte(first) || first == '[') must(n >= fieldmax);
  return n;
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

static uint64_t pairhash(uint64_t left, uint64_t right) {
  return mix(left * 31 + mix(right + 0x9e3779b97f4a7c15ull)) | 1;
}

static void keepnew(Keep &k, Cell *c, uint64_t h, bool (*lasting)(Cell *)) {
  if (!lasting || lasting(c)) keepadd(k, c, h);
  else keeppassing(k, c, h);
}

static Cell *findmember(const Keep &k, Cell *t, uint64_t h) {
  Cell *found = nullptr;
  flatscan(k.members, h, [&](uint64_t m) {
    if (comparecells(keepmember(m), t) != 0) return false;
    found = keepmember(m);
    return true;
  });
  return found;
}

// The term being interned, laid out in the order in which interning meets its cells: each cell
// with its hash and the number of entries its subterm takes. A member of the set or a cell met
// a second time takes one entry and is not gone into again. Only a cell with two counts or more
// can be either, so the cells that only this term holds cost no lookup at all.
struct Entry {
  Cell *c;
  uint64_t h;
  size_t size;
};

struct Layout {
  std::vector<Entry> entries;
  Flat first;  // a cell held more than once to the index of its first entry
};

static uint64_t cellkey(const Cell *c) { return (uint64_t)(uintptr_t)c; }

// A hash of 0 would mark a free slot of the tables, so every hash has its low bit set.
static void layout(Cell *t, const Keep &k, Layout &out) {
  std::vector<Entry> &e = out.entries;
  static std::vector<std::pair<size_t, bool>> open;  // entry of a pair, and whether its right is under way
  open.clear();
  for (;;) {
    if (t) {
      uint64_t h = 0;
      auto take = [&](uint64_t v) { return h = v, true; };
      auto fromfirst = [&](uint64_t i) { return h = e[i].h, true; };
      bool shared = countof(t) >= 2;
      if (shared && (flatscan(k.hashes, cellkey(t), take) || flatscan(out.first, cellkey(t), fromfirst))) {
        e.push_back({t, h, 1});
      } else if (isleafcell(t)) {
        e.push_back({t, leafhash(t) | 1, 1});
      } else {
        if (shared) flatput(out.first, cellkey(t), e.size());
        __builtin_prefetch(t->right);
        open.emplace_back(e.size(), false);
        e.push_back({t, 0, 0});
        t = t->left;
        continue;
      }
      t = nullptr;
    }
    if (open.empty()) return;
    auto &[i, right] = open.back();
    if (!right) {
      right = true;
      t = e[i].c->right;
      continue;
    }
    size_t l = i + 1, r = l + e[l].size;
    e[i].h = pairhash(e[l].h, e[r].h);
    e[i].size = e.size() - i;
    open.pop_back();
  }
}

// A term found yields the member; a leaf not found goes in; a pair not found has its children
// interned first and goes in itself, or as a new pair when a child came back as another cell.
// Each new member is asked of lasting after its children, when it is given.
CellRef cellkeepif(CellRef ref, bool (*lasting)(Cell *)) {
  Keep &k = keepset();
  // Nothing below calls back into interning, so one layout and one stack serve every call.
  static Layout lay;
  lay.entries.clear();
  if (lay.first.count) lay.first = Flat();
  layout(ref.get(), k, lay);
  const std::vector<Entry> &e = lay.entries;
  flatreserve(k.members, k.members.size() + e.size());
  flatreserve(k.hashes, k.hashes.size() + e.size());
  // The slots of all entries are asked for at once, so that their misses overlap: the slot of the
  // hash in members, and that of the cell in hashes, where a lasting member that keeps its own
  // cell goes.
  for (const Entry &x : e) {
    __builtin_prefetch(&k.members.slots[flathome(k.members, x.h)]);
    __builtin_prefetch(&k.hashes.slots[flathome(k.hashes, cellkey(x.c))]);
  }
  struct Frame {
    size_t i;
    Cell *left;  // the interned left child, once known
  };
  static std::vector<Frame> stack;
  stack.clear();
  Cell *result = nullptr;
  size_t enter = 0;
  bool entering = true;
  for (;;) {
    if (entering) {
      entering = false;
      const Entry &x = e[enter];
      if (Cell *m = findmember(k, x.c, x.h)) {
        result = m;
      } else if (isleafcell(x.c)) {
        keepnew(k, x.c, x.h, lasting);
        result = x.c;
      } else {
        // A cell met again that is still not in the set is interned from its first entry.
        size_t i = enter;
        if (x.size == 1) must(flatscan(lay.first, cellkey(x.c), [&](uint64_t f) { return i = f, true; }));
        stack.push_back({i, nullptr});
        enter = i + 1;
        entering = true;
        continue;
      }
    }
    if (stack.empty()) break;
    Frame &f = stack.back();
    if (!f.left) {
      f.left = result;
      enter = f.i + 1 + e[f.i + 1].size;
      entering = true;
      continue;
    }
    Cell *t = e[f.i].c;
    if (f.left != t->left || result != t->right) {
      cellinc(f.left);
      cellinc(result);
      t = newpair(f.left, result);
    }
    keepnew(k, t, e[f.i].h, lasting);
    result = t;
    stack.pop_back();
  }
  return CellRef(result);
}

CellRef cellkeep(CellRef ref) { return cellkeepif(std::move(ref), nullptr); }

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
