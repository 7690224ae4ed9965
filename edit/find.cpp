// Search and replace: Find (M-s), an incremental search whose painter marks every hit on the
// screen, and Swap (M-x), which replaces every occurrence in a range as one undoable record.
#include "edit/find.h"

#include <algorithm>
#include <cstring>

#include "core/base.h"
#include "core/halt.h"
#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/files.h"
#include "edit/glyph.h"
#include "edit/undo.h"
#include "edit/view.h"

// The pickers and the two search modes are never active at once, and each of them sets the
// string on entry, so the listing's directory and the search text can share one string: after
// a search the listing's directory is gone, and after a picker the failed text.
std::string &failtext = listdir;

uint64_t matchstep(const std::string &s, uint64_t state, unsigned char c) {
  must(state & 1);
  must(s.size() <= 63);
  uint64_t mask = 1;
  for (size_t i = 0; i < s.size(); i++)
    if (charlike((unsigned char)s[i], c)) mask |= 1ull << (i + 1);
  return mask & (2 * state + 1);
}

// The matcher of seek: bit i of mask[c] says that pattern byte i takes text byte c, for the first
// 64 bytes of the pattern; a longer pattern's other bytes are compared one by one. Candidates
// are found by two places of the pattern, r and r2, whose bytes have most bits in common: where
// the bytes of a place agree in the bits of keep, a text byte c can be one of them only when
// c & keep is their value there. Blocks of text are tested that way, and the whole pattern is
// tried only where both places pass.
struct Seeker {
  uint64_t mask[256];
  const std::string *s;
  int64_t m, w, r, r2;  // w: the places that have bits in the masks
  unsigned char keep, value, keep2, value2;
  bool blocks;  // whether the test of place r narrows enough to skip blocks of text
};

// The bits on which all bytes that place i takes agree, and their value there.
static void agreement(const Seeker &z, int64_t i, unsigned char &keep, unsigned char &value) {
  int ones = 0xFF, zeros = 0xFF;
  for (int c = 0; c < 256; c++)
    if (z.mask[c] >> i & 1) ones &= c, zeros &= ~c;
  keep = (unsigned char)(ones | zeros);
  value = (unsigned char)ones;
}

static Seeker seekerof(const std::string &s) {
  Seeker z{};
  z.s = &s;
  z.m = (int64_t)s.size();
  z.w = std::min<int64_t>(z.m, 64);
  for (int c = 0; c < 256; c++)
    for (int64_t i = 0; i < z.w; i++)
      if (charlike((unsigned char)s[(size_t)i], (unsigned char)c)) z.mask[c] |= 1ull << i;
  int best = -1, next = -1;
  for (int64_t i = 0; i < z.w; i++) {
    unsigned char keep, value;
    agreement(z, i, keep, value);
    int bits = __builtin_popcount(keep);
    if (bits > best) next = best, z.r2 = z.r, best = bits, z.r = i;
    else if (bits > next) next = bits, z.r2 = i;
  }
  agreement(z, z.r, z.keep, z.value);
  if (z.m > 1) agreement(z, z.r2, z.keep2, z.value2);
  z.blocks = best >= 3;
  return z;
}

static bool takes(const Seeker &z, unsigned char c) { return z.mask[c] >> z.r & 1; }

// Whether a candidate for place r may stand among the size bytes from p0 + i on (a multiple of
// 16), where the bytes of place r2 stand r2 - r further; those are read only when they lie
// within the n bytes at p0. The compiler turns the tests of whole blocks into the processor's
// vector instructions.
static bool blockhas(const Seeker &z, const char *p0, int64_t i, int64_t size, int64_t n) {
  typedef unsigned char v16 __attribute__((vector_size(16)));
  int64_t at = i + z.r2 - z.r;
  bool two = z.keep2 && at >= 0 && at + size <= n;
  v16 any = {};
  for (int64_t j = 0; j < size; j += 16) {
    v16 v, w;
    memcpy(&v, p0 + i + j, 16);
    v16 hit = (v16)((v & z.keep) == z.value);
    if (two) {
      memcpy(&w, p0 + at + j, 16);
      hit &= (v16)((w & z.keep2) == z.value2);
    }
    any |= hit;
  }
  uint64_t bits[2];
  memcpy(bits, &any, 16);
  return (bits[0] | bits[1]) != 0;
}

// The first of the n bytes at p from offset from on that place r takes, or n.
static int64_t firsttaken(const Seeker &z, const char *p, int64_t from, int64_t n) {
  int64_t i = from;
  if (z.blocks) {
    while (i + 64 <= n && !blockhas(z, p, i, 64, n)) i += 64;
    while (i + 16 <= n && !blockhas(z, p, i, 16, n)) i += 16;
  }
  while (i < n && !takes(z, (unsigned char)p[i])) i++;
  return i;
}

// The last of the n bytes at p that place r takes, or -1.
static int64_t lasttaken(const Seeker &z, const char *p, int64_t n) {
  int64_t i = n;
  if (z.blocks) {
    while (i >= 64 && !blockhas(z, p, i - 64, 64, n)) i -= 64;
    while (i >= 16 && !blockhas(z, p, i - 16, 16, n)) i -= 16;
  }
  while (i > 0 && !takes(z, (unsigned char)p[i - 1])) i--;
  return i - 1;
}

// Whether a match ends just before q.
static bool endsat(const Doc &d, const Seeker &z, int64_t q) {
  for (int64_t i = 0; i < z.w; i++)
    if (!(z.mask[charat(d, q - z.m + i)] >> i & 1)) return false;
  for (int64_t i = z.w; i < z.m; i++)
    if (!charlike((unsigned char)(*z.s)[(size_t)i], charat(d, q - z.m + i))) return false;
  return true;
}

// The first hit q in lo..hi, or the last when not forward; -1 when there is none. A match that
// ends at q has the byte of place r at q - m + r.
static int64_t hitin(const Doc &d, const Seeker &z, int64_t lo, int64_t hi, bool forward) {
  lo = std::max<int64_t>(lo, std::max<int64_t>(z.m, 1));
  if (lo > hi) return -1;
  if (z.m == 0) return forward ? lo : hi;
  int64_t shift = z.m - z.r;
  Runs rs = runsof(d, lo - shift, hi - shift + 1);
  for (size_t j = 0; j < rs.size(); j++) {
    const Run &run = rs[forward ? j : rs.size() - 1 - j];
    for (int64_t from = 0, to = run.n; from < to;) {
      int64_t i = forward ? firsttaken(z, run.p, from, to) : lasttaken(z, run.p, to);
      if (i < from || i >= to) break;
      if (endsat(d, z, run.at + i + shift)) return run.at + i + shift;
      if (forward) from = i + 1;
      else to = i;
    }
  }
  return -1;
}

// A hit at q is a match of s that ends just before q; none ends before offset 0, not even an
// empty s, so q = 0 is never a hit. Every offset of the text but the point's own is tried, from
// the point on around the text: forward the rest of the text, then its start up to the point.
void seek(Doc &d, const std::string &s, bool forward) {
  int64_t n = lenof(d), p = d.point % std::max<int64_t>(n, 1);
  if (n < 2) return;
  Seeker z = seekerof(s);
  int64_t q = forward ? hitin(d, z, p + 1, n - 1, true) : hitin(d, z, 0, p - 1, false);
  if (q == -1) q = forward ? hitin(d, z, 0, p - 1, true) : hitin(d, z, p + 1, n - 1, false);
  if (q == -1) return;
  d.point = q;
  keepvisible(d, false);
}

// Find.

// The painter of Find runs the matcher along the screen's text. It starts |s| bytes before top,
// so that a match that begins above the screen is still marked where it ends.
static std::string findtext;
static uint64_t findstate;
static int64_t findtop;

// A hit marks the cell behind the match. An empty text ends a match everywhere.
static bool findhit(int64_t pos, unsigned char b) {
  bool hit = findstate >> findtext.size() & 1;
  if (hit && pos == findtop) {
    std::string bits;
    for (int i = 0; i < 64; i++) bits += (char)('0' + (findstate >> i & 1));
    tolmlog("OMG I had that simple!\n" + bits + " [" + findtext + "]\n");
  }
  if (!findtext.empty()) findstate = matchstep(findtext, findstate, b);
  return hit;
}

static void findpainter() {
  const Doc &d = cur();
  findtext = textof(promptline);
  findstate = 1;
  findtop = d.top;
  for (int64_t i = -(int64_t)findtext.size(); i < 0; i++)
    findstate = matchstep(findtext, findstate, charat(d, d.top + i));
  paintdoc("Find", findhit);
}

// Seeks with the search text and tells whether the point went the way asked; a search that
// wraps around the text lands on the other side, which counts as no advance.
static bool seekon(bool forward) {
  Doc &d = cur();
  int64_t old = d.point;
  seek(d, textof(promptline), forward);
  return forward ? d.point > old : d.point < old;
}

// A byte for the search text, as it is, up to 63 bytes. While an earlier text failed no search
// is made, and a search that does not move keeps the text that failed.
static bool findtype(unsigned char b) {
  if (lenof(promptline) >= 63) return true;
  promptline.point = lenof(promptline);
  usedput(promptline, b);
  toendkeep(promptline);
  if (!failtext.empty()) return true;
  int64_t old = cur().point;
  bool on = seekon(true);
  if (cur().point == old) failtext = textof(promptline);
  return on;
}

// Backspace shortens the search text: while the search succeeds the point steps back with the
// end of the match, and the failure ends once the text is back to the one that failed.
static void findback() {
  Doc &d = cur();
  std::string old = textof(promptline);
  dropback(promptline, true);
  toendkeep(promptline);
  if (failtext.empty() && endswith(d, old)) {
    d.point--;
    keepvisible(d, false);
  }
  if (failtext == textof(promptline)) failtext.clear();
}

// listsel keeps the point where the search began, for C-g and Tab to go back to.
void tolmdoms() {
  std::string key = modekey("M-s", findpainter);
  Doc &d = cur();
  unsigned char b = key.size() == 1 ? (unsigned char)key[0] : 0;
  bool ok = true;
  if (key.empty()) {
    failtext.clear();
    listsel = d.point;
    promptline = newdoc("");
  } else if (key == "\x7f") {
    tolmlog("In tolmdoms I got a 7f!\n");
    if (lenof(promptline) == 0) {
      bell();
      return;
    }
    findback();
  } else if (key.size() == 1 && (b >= 32 || b == 10)) {
    ok = findtype(b);
  } else if (key == "\x14" || key == "\x08") {
    ok = seekon(key == "\x14");
  } else if (key == "\x07") {
    tolmlog("In tolmdoms I got C-g!\n");
    d.point = listsel;
    keepvisible(d, false);
    leavemode();
    return;
  } else if (key == "\t") {
    d.point = listsel;
    keepvisible(d, false);
  } else if (key == "\eh" || key == "\ef") {
    d.point = key == "\eh" ? 0 : lenof(d);
    d.edge = -1;
    keepvisible(d, false);
  } else if (modecommon(key, true)) {
    return;
  } else {
    tolmlog("In tolmdoms I bailed out!\n");
    passon(key);
    return;
  }
  repaint();
  if (!ok) bell();
}

// Swap.

// A Swap record keeps each of its texts behind a byte of 32 + its length.
constexpr int64_t swapmost = 255 - 32;

static bool bitat(const std::string &bits, size_t k) {
  must(k < bits.size() * 8);
  return (unsigned char)bits[k / 8] >> (k % 8) & 1;
}

std::string swapbits(const std::string &text, const std::string &from, const std::string &to) {
  std::string bits;
  size_t n = 0;
  auto put = [&](bool one) {
    if (n % 8 == 0) bits += '\0';
    if (one) bits.back() = (char)(bits.back() | 1 << (n % 8));
    n++;
  };
  auto occurrence = [&] {
    put(true);
    for (size_t k = 0; k < to.size(); k++) put(false);
  };
  for (size_t i = 0; i < text.size(); i++) {
    if (from.empty()) {
      if (i > 0) occurrence();
      put(false);
    } else if (text.compare(i, from.size(), from) == 0) {
      occurrence();
      i += from.size() - 1;
    } else {
      put(false);
    }
  }
  return bits;
}

// Puts mid for the len bytes at start. A point behind start moves with the change of length, but
// never to before start.
static void replacerange(Doc &d, int64_t start, int64_t len, const std::string &mid) {
  std::string text = textof(d);
  setnow(d, text.substr(0, (size_t)start) + mid + text.substr((size_t)(start + len)));
  settle(d);
  d.edge = -1;
  if (d.point > start) d.point = std::max(start, d.point + (int64_t)mid.size() - len);
}

// Both directions follow the bit vector and check that the text holds what it names: a log that
// does not fit the text is a broken invariant, as for every other record.
void swapspan(Doc &d, int64_t start, int64_t end, const std::string &from, const std::string &to,
              const std::string &bits) {
  must(0 <= start && start <= end && end <= lenof(d));
  std::string old = textrange(d, start, end), mid;
  size_t k = 0;
  for (size_t i = 0; i < old.size();) {
    if (!bitat(bits, k++)) {
      mid += old[i++];
      continue;
    }
    must(old.compare(i, from.size(), from) == 0);
    mid += to;
    i += from.size();
    k += to.size();
  }
  replacerange(d, start, end - start, mid);
}

void swapunspan(Doc &d, int64_t start, int64_t end, const std::string &from, const std::string &to,
                const std::string &bits) {
  must(0 <= start && start <= end);
  int64_t len = lenof(d), j = start, n = (int64_t)to.size();
  std::string old;
  size_t k = 0;
  while ((int64_t)old.size() < end - start) {
    if (!bitat(bits, k++)) {
      must(j < len);
      old += (char)charat(d, j++);
      continue;
    }
    must(j + n <= len && textrange(d, j, j + n) == to);
    old += from;
    j += n;
    k += to.size();
  }
  replacerange(d, start, j - start, old);
}

// The packed record: the end of the range in 4 bytes, lowest first; each text behind its length
// byte; then the bit vector to the end.
struct Packed {
  int64_t end;
  std::string from, to, bits;
};

static Packed unpack(const std::string &data) {
  Packed p;
  must(data.size() >= 6);
  p.end = 0;
  for (int i = 0; i < 4; i++) p.end |= (int64_t)(unsigned char)data[(size_t)i] << (8 * i);
  size_t at = 4;
  for (std::string *s : {&p.from, &p.to}) {
    must(at < data.size() && (unsigned char)data[at] >= 32);
    size_t n = (unsigned char)data[at++] - 32u;
    must(at + n <= data.size());
    *s = data.substr(at, n);
    at += n;
  }
  p.bits = data.substr(at);
  return p;
}

// The undo log keeps Swap's records as type 1 and calls these two to apply and reverse them
// (edit/undo.cpp); the base record of every document has type 1 too, with nothing to replace.
void swaptodo(Oper *o) {
  Packed p = unpack(o->data);
  swapspan(cur(), o->w, p.end, p.from, p.to, p.bits);
}

void swapundo(Oper *o) {
  Packed p = unpack(o->data);
  swapunspan(cur(), o->w, p.end, p.from, p.to, p.bits);
}

void logswap(int64_t start, int64_t end, const std::string &from, const std::string &to) {
  const Doc &d = cur();
  must(0 <= start && start <= end && end <= lenof(d));
  must((int64_t)from.size() <= swapmost && (int64_t)to.size() <= swapmost);
  Oper *o = new Oper;
  o->name = curname;
  o->t = 1;
  o->w = (uint64_t)start;
  for (int i = 0; i < 4; i++) o->data += (char)(end >> (8 * i));
  o->data += (char)(from.size() + 32);
  o->data += from;
  o->data += (char)(to.size() + 32);
  o->data += to;
  o->data += swapbits(textrange(d, start, end), from, to);
  addop(o);
  edittodo(o->v);
}

// Whether the swap of from for to in [start, end) puts in no more than textmost bytes beyond those
// it takes out. The new text is held a few times over on the way (the range, the text around it,
// the window), so a larger swap would end the editor, or have the system end it with no copy kept.
static bool swapfits(const Doc &d, int64_t start, int64_t end, const std::string &from, const std::string &to) {
  if (to.size() <= from.size()) return true;
  std::string text = textrange(d, start, end);
  uint64_t n = 0;  // the occurrences, as swapbits finds them
  if (from.empty()) n = text.empty() ? 0 : text.size() - 1;
  else
    for (size_t i = text.find(from); i != std::string::npos; i = text.find(from, i + from.size())) n++;
  return n <= textmost() / (to.size() - from.size());
}

// The word shows which text is being typed: "Swap" the search text, "With" its replacement.
static void swappainter() { paintdoc(failtext.empty() ? "Swap" : "With"); }

// The first Tab keeps the search text and asks for the replacement; the second replaces in the
// selection, or from the point to the end of the text. An empty search text is never kept, so
// Tab on an empty prompt keeps asking for the search text.
void tolmdomx() {
  std::string key = modekey("M-x", swappainter);
  unsigned char b = key.size() == 1 ? (unsigned char)key[0] : 0;
  if (key.empty()) {
    failtext.clear();
    promptline = newdoc("");
  } else if (key == "\t" && failtext.empty()) {
    failtext = textof(promptline);
    promptline = newdoc("");
  } else if (key == "\t") {
    Doc &d = cur();
    int64_t start = mark == -1 ? d.point : std::min(d.point, mark);
    int64_t end = mark == -1 ? lenof(d) : std::max(d.point, mark);
    if (!swapfits(d, start, end, failtext, textof(promptline))) return bell();  // waits to be mended
    logswap(start, end, failtext, textof(promptline));
    mark = -1;
    leavemode();
    return;
  } else if (key == "\x7f") {
    dropback(promptline, true);
    toendkeep(promptline);
  } else if (key == "\x07") {
    mark = -1;
    leavemode();
    return;
  } else if (modecommon(key, true)) {
    return;
  } else if (b == 10 || (b >= 32 && b < 127)) {
    if (lenof(promptline) < swapmost) {
      promptline.point = lenof(promptline);
      usedput(promptline, typed(alphabet, b));
      toendkeep(promptline);
    }
  } else {
    bell();
    return;
  }
  repaint();
}
