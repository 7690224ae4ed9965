// Cells and their counted handles: the one record every term of the language is made of.
// A cell is a 64-bit header word followed by two child pointers (pair) or inline text (leaf).
#pragma once
#include <cstdint>
#include <cstring>
#include <string>

#include "core/base.h"

// Header word, from the low bit: count (30), field (26), arity code (6), redex flag, leaf flag.
struct Cell {
  uint64_t word;
  Cell *left;   // pair only; a leaf's text starts where this field starts
  Cell *right;  // pair only
};

constexpr uint64_t countmask = (1ull << 30) - 1;
constexpr int fieldshift = 30;
constexpr uint64_t fieldmax = 1ull << 26;  // field values stay below this
constexpr uint64_t leafbit = 1ull << 63;
constexpr uint64_t redexbit = 1ull << 62;

// Cells made and freed since the start; the benchmarks read them.
extern uint64_t cellsmade, cellsfreed;
// The bytes that live cells and the texts of long leaves hold, and the blocks a program took from
// the C allocator (mallocheld, which the built-ins that allocate and free keep).
extern uint64_t mallocheld;
uint64_t memoryheld();

inline bool isleafcell(const Cell *c) { return c->word & leafbit; }
inline uint32_t countof(const Cell *c) { return (uint32_t)(c->word & countmask); }
inline uint32_t fieldof(const Cell *c) { return (uint32_t)((c->word >> fieldshift) & (fieldmax - 1)); }
inline uint8_t topbyte(const Cell *c) { return (uint8_t)(c->word >> 56); }
inline uint8_t aritycode(const Cell *c) { return topbyte(c) & 0x3F; }
inline bool redexflag(const Cell *c) { return c->word & redexbit; }
// The data mark: a "[" leaf, or a pair of two data cells. A cell gets it when it is made, so that
// telling data from the rest never needs the analysis of terms.
inline bool datakind(const Cell *c) { return (topbyte(c) & 0x7F) == 0x40; }
// The bytes of a leaf as they stand. A number leaf may hold its binary words in place of digits
// not yet written (core/numberleaf.h); its first byte is always the true one, and its second is
// then 1, which no digit text has.
inline const char *rawtext(const Cell *c) { return (const char *)&c->left; }
inline char *rawtext(Cell *c) { return (char *)&c->left; }
inline bool digitspending(const Cell *c) {
  const char *t = rawtext(c);
  return isleafcell(c) && (unsigned char)(t[0] - '0') <= 9 && t[1] == 1;  // a digit has a second byte
}
void numberwrite(Cell *c);  // writes the pending digits over the words
// The text of a leaf, its digits written first if they are pending.
inline const char *textof(const Cell *c) {
  if (digitspending(c)) numberwrite((Cell *)c);
  return rawtext(c);
}
inline char *textof(Cell *c) {
  if (digitspending(c)) numberwrite(c);
  return rawtext(c);
}
inline unsigned char headbyte(const Cell *c) { return isleafcell(c) ? (unsigned char)rawtext(c)[0] : 0; }

// The writers of the analysis bits; only the analysis of terms calls them.
inline void setfield(Cell *c, uint64_t value) {
  must(value < fieldmax);
  c->word = (c->word & ~((fieldmax - 1) << fieldshift)) | (value << fieldshift);
}

inline void setarity(Cell *c, int arity) {
  must(arity >= -52 && arity <= 11);
  uint64_t code = (uint64_t)(arity + 52);
  must(code < 64);
  c->word = (c->word & ~(0x3Full << 56)) | (code << 56);
}

inline void setredex(Cell *c, bool flag) { c->word = flag ? c->word | redexbit : c->word & ~redexbit; }

inline void settop(Cell *c, uint8_t top) { c->word = (c->word & ~(0xFFull << 56)) | ((uint64_t)top << 56); }

// The top byte that the analysis gives every leaf that is no name: a number, a real, a blob or a
// mark has arity 1 and no redex. The number makers set it at creation, so that no analysis has to
// read the digits of their results.
constexpr uint8_t plainleaftop = 0xB5;

// A leaf with room for n text bytes and the NUL after them, or for room bytes when that is more,
// whose text begins with first; the caller writes the rest. newleaf copies a whole text in.
Cell *newleafspace(size_t n, unsigned char first, size_t room = 0);
Cell *newleaf(const char *text, size_t n);
// The text bytes a leaf's block can hold before the NUL: at least its length.
size_t leafroom(const Cell *c);
Cell *newpair(Cell *left, Cell *right);  // takes over one count of each child
void cellfree(Cell *c);                  // the count has reached 0

inline void cellinc(Cell *c) {
  c->word++;
  must((c->word & countmask) != 0);
}

inline void celldec(Cell *c) {
  must((c->word & countmask) != 0);
  if ((--c->word & countmask) == 0) cellfree(c);
}

// The counted, never-null handle. A moved-from handle is empty and its destruction does nothing.
class CellRef {
 public:
  explicit CellRef(const char *text) {
    must(text != nullptr);
    p = newleaf(text, strlen(text));
    cellinc(p);
  }
  explicit CellRef(const std::string &text) : p(newleaf(text.data(), text.size())) { cellinc(p); }
  explicit CellRef(Cell *cell) : p(cell) {
    must(cell != nullptr);
    cellinc(p);
  }
  CellRef(const CellRef &o) : p(o.p) {
    must(p != nullptr);
    cellinc(p);
  }
  CellRef(CellRef &&o) noexcept : p(o.p) { o.p = nullptr; }
  ~CellRef() {
    if (p) celldec(p);
  }
  CellRef &operator=(const CellRef &o) {
    must(p != nullptr && o.p != nullptr);
    if (p == o.p) return *this;
    cellinc(o.p);
    celldec(p);
    p = o.p;
    return *this;
  }
  CellRef &operator=(CellRef &&o) noexcept {
    if (this != &o) {
      Cell *old = p;
      p = o.p;
      o.p = nullptr;
      if (old) celldec(old);
    }
    return *this;
  }
  Cell *get() const { return p; }
  Cell *operator->() const { return p; }
  // Hands the count over to the caller, leaving this handle empty.
  Cell *release() {
    Cell *c = p;
    p = nullptr;
    return c;
  }

 private:
  Cell *p;
};

CellRef cellpair(CellRef left, CellRef right);
CellRef cellpair3(CellRef a, CellRef b, CellRef c);
CellRef cellpair4(CellRef a, CellRef b, CellRef c, CellRef d);
CellRef cellleft(const CellRef &ref);
CellRef cellright(const CellRef &ref);
inline int cellispair(const CellRef &ref) { return isleafcell(ref.get()) ? 0 : 1; }
inline unsigned char cellhead(const CellRef &ref) { return headbyte(ref.get()); }
size_t celllenof(const Cell *c);
std::string celltextof(const Cell *c);
inline size_t celllen(const CellRef &ref) { return celllenof(ref.get()); }
inline std::string celltext(const CellRef &ref) { return celltextof(ref.get()); }
// True when a leaf's text is exactly s; false for every pair. Pending digits need not be written
// for it: no text that is asked for has the mark 1 after a digit.
inline bool leafis(const Cell *c, const char *s) {
  if (!isleafcell(c)) return false;
  const char *t = rawtext(c);
  while (*s && *t == *s) t++, s++;
  return *t == *s;
}

int cellcompare(const CellRef &a, const CellRef &b);
CellRef cellkeep(CellRef ref);
// Interning as one of a batch: a new member for which lasting is false passes (core/tables.h),
// shared by the rest of the batch and taken out when the batch settles.
CellRef cellkeepif(CellRef ref, bool (*lasting)(Cell *));

// The blob length digits, most significant first: "_" is 0, "~" is 63, in the language's own order.
extern const char blobdigits[65];
int digitvalue(char c);
std::string lengthdigits(uint64_t n);
CellRef mkblob(const std::string &bytes);
std::string blobbytes(const CellRef &blob);
