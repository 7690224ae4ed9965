// The screen: a title row of a four-letter word, the alphabet block and the prompt line, then the
// text in rows of width bytes, each byte a cell coloured by its class and the document's state.
#include "edit/display.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "core/base.h"
#include "edit/editor.h"
#include "edit/glyph.h"
#include "edit/term.h"
#include "edit/view.h"

std::vector<uint16_t> cells;
uint8_t flipped = 0;

void screenresize() { cells.assign((size_t)(width * height * 2), 0); }

uint16_t *newplane() { return cells.data() + (flipped ? width * height : 0); }

static uint16_t *oldplane() { return cells.data() + (flipped ? 0 : width * height); }

// The modes that painting counts on, back to their defaults in case output of a program's own,
// or of a command it started, set them: no scrolling region, no origin mode, wrapping on,
// insertion off, the cursor shown, and the ASCII character set in place of a line-drawing one.
// None of them changes what the screen shows.
void paintmodes() { screenout += "\x1b[r\x1b[?6l\x1b[?7h\x1b[4l\x1b[?25h\x1b(B\x0f"; }

// The plane of what the terminal shows is taken as unknown, as after a resize, so that the next
// paint writes every cell: output of a program's own, or of a command it started, goes away.
void screenforget() {
  std::fill(oldplane(), oldplane() + width * height, 0);
  paintmodes();
}

int kinkdigit(int n) { return (int)((kink >> (4 * n)) & 15); }

// The bit of digit 12 for the state of the current document: clean or changed, and inserting or
// overtyping. Its background is one of digits 3 to 6.
static bool statebit(bool dirty, bool over) {
  int bit = over ? (dirty ? 1 : 0) : (dirty ? 2 : 3);
  return (kinkdigit(12) >> bit) & 1;
}

static int statebackground(bool dirty, bool over) {
  return kinkdigit(over ? (dirty ? 5 : 6) : (dirty ? 4 : 3));
}

int pinkfore(bool dirty, bool over, int cls) {
  if (cls < 1 || cls > 3) tolmfail("pinkfore");
  return kinkdigit(statebit(dirty, over) ? cls - 1 : 6 + cls);
}

// The state of the current document that colours every cell, taken once for each paint.
struct Look {
  bool dirty, over;
};

static Look lookofcur() {
  const Doc &d = cur();
  return {isdirty(d), d.over == 1};
}

static int backfor(const Look &look, bool highlight, bool plain) {
  if (plain) return kinkdigit(highlight ? 10 : 11);
  if (highlight) return kinkdigit(statebit(look.dirty, look.over) ? 13 : 14);
  return statebackground(look.dirty, look.over);
}

static uint16_t makecell(int back, int fore, bool changed, unsigned char glyph) {
  return (uint16_t)(back << 12 | fore << 8 | (changed ? 0x80 : 0) | (glyph & 0x7F));
}

static uint16_t cellwith(const Look &look, bool highlight, bool changed, bool plain,
                         unsigned char byte) {
  int k = byteclass(byte);
  int fore = plain ? kinkdigit(6 + k) : pinkfore(look.dirty, look.over, k);
  return makecell(backfor(look, highlight, plain), fore, changed, glyphof(byte));
}

static uint16_t blankwith(const Look &look, bool highlight, bool plain) {
  int back = backfor(look, highlight, plain);
  return makecell(back, back, false, ' ');
}

uint16_t cellfor(bool highlight, bool changed, bool plain, unsigned char byte) {
  return cellwith(lookofcur(), highlight, changed, plain, byte);
}

uint16_t blankfor(bool highlight, bool plain) { return blankwith(lookofcur(), highlight, plain); }

// Every byte's cell under one look, for one kind of cell, so that a paint looks each byte up;
// the changed flag is OR-ed in where it applies. Each is made again only when kink changes.
struct Pens {
  uint16_t cell[256];
  uint16_t blank;
  uint64_t kink;
  bool made;
};

static const Pens &pensfor(const Look &look, bool highlight, bool plain) {
  static Pens memo[16];
  Pens &p = memo[look.dirty * 8 + look.over * 4 + highlight * 2 + plain];
  if (p.made && p.kink == kink) return p;
  int back = backfor(look, highlight, plain), fore[4] = {0, 0, 0, 0};
  for (int k = 1; k <= 3; k++) fore[k] = plain ? kinkdigit(6 + k) : pinkfore(look.dirty, look.over, k);
  for (int b = 0; b < 256; b++)
    p.cell[b] = makecell(back, fore[byteclass((unsigned char)b)], false, glyphof((unsigned char)b));
  p.blank = makecell(back, back, false, ' ');
  p.kink = kink;
  p.made = true;
  return p;
}

// Cells of one value from at on: the blank ends of rows are most of a screen.
static void fillcells(uint16_t *at, int64_t n, uint16_t cell) {
  uint64_t four = cell * 0x0001000100010001ull;
  for (; n >= 4; n -= 4, at += 4) memcpy(at, &four, 8);
  while (n-- > 0) *at++ = cell;
}

// What a paint of the text needs to know of each position, as offsets from top: the window,
// the selection, the text's end and the painter's own marks.
struct Sight {
  const Doc *d;
  int64_t wlo, whi, slo, shi, end;
  bool wide;
  bool (*marked)(int64_t pos, unsigned char b);
};

// A row that needs no question per byte: no marks asked, no byte selected or changed, and its
// newline, if any, inside the text.
static bool plainrow(const Sight &s, int64_t i, int64_t k) {
  return !s.marked && (i + k <= s.slo || i >= s.shi) && (i + k <= s.wlo || i >= s.whi) && i + k <= s.end;
}

// The k bytes of one row, one by one, as the painter's rules say; gives the row's blank.
static uint16_t paintrow(const Sight &s, const Pens *const pens[2], const char *t, int64_t i, int64_t k, uint16_t *at) {
  const Doc &d = *s.d;
  uint16_t blank = pens[0]->blank;
  for (int64_t j = 0; j < k; j++, i++) {
    unsigned char b = (unsigned char)t[j];
    bool marks = s.marked && s.marked(d.top + i, b);  // asked at every position: it follows the text
    const Pens &p = *pens[marks || (s.slo <= i && i < s.shi)];
    // Where both sides are as long, a byte is changed when the saved byte at its offset differs.
    bool changed = s.wlo <= i && i < s.whi && (s.wide || b != (unsigned char)d.saved[(size_t)(d.top + i)]);
    at[j] = b != 10 || i < s.end ? (uint16_t)(p.cell[b] | (changed ? 0x80 : 0)) : p.blank;
    blank = p.blank;
  }
  return blank;
}

void paintdoc(const char *word, bool (*marked)(int64_t pos, unsigned char b)) {
  const Doc &d = cur();
  Look look = lookofcur();
  const Pens *const pens[2] = {&pensfor(look, false, false), &pensfor(look, true, false)};
  Sight s{&d, headlen(d) - d.top, 0, 0, 0, lenof(d) - d.top, waslen(d) != nowlen(d), marked};
  s.whi = s.wlo + nowlen(d);
  if (mark != -1) s.slo = std::min(d.point, mark) - d.top, s.shi = std::max(d.point, mark) - d.top;
  // A row ends at a newline or after width bytes, so the text rows never take more than this.
  static std::string text;
  text.resize((size_t)(width * (height - 1)));
  copytext(d, d.top, (int64_t)text.size(), text.data());
  uint16_t *plane = newplane();
  int64_t i = 0, at = d.point - d.top, ccol = -1, crow = -1;
  for (int64_t row = 1; row < height; row++) {
    const char *t = text.data() + i;
    const char *nl = (const char *)memchr(t, '\n', (size_t)width);
    int64_t k = nl ? nl - t + 1 : width;
    uint16_t *line = plane + row * width, blank = pens[0]->blank;
    if (at >= i && at < i + k) ccol = at - i, crow = row;
    if (plainrow(s, i, k)) {
      for (int64_t j = 0; j < k; j++) line[j] = pens[0]->cell[(unsigned char)t[j]];
    } else {
      blank = paintrow(s, pens, t, i, k, line);
    }
    fillcells(line + k, width - k, blank);
    i += k;
  }
  painttitle(word);
  must(crow != -1);
  flushcells(ccol, crow);
}

int64_t painttitle(const char *word) {
  std::string w = word;
  bool plain = w == "Open" || w == "Save" || w == "Tabs";
  bool highlight = w == "Tabs" && listsel % height == 0;
  const Pens &pens = pensfor(lookofcur(), highlight, plain);
  uint16_t *plane = newplane();
  for (int i = 0; i < 4; i++) plane[i] = pens.cell[(unsigned char)w[(size_t)i]];
  int block = w == "Byte" || w == "Line" ? kinkdigit(10) : kinkdigit(6 + alphabet);
  plane[4] = makecell(block, block, false, ' ');
  int64_t n = std::clamp<int64_t>(lenof(promptline) - promptline.top, 0, width - 5);
  static std::string text;
  text.resize((size_t)n);
  copytext(promptline, promptline.top, n, text.data());
  for (int64_t i = 0; i < n; i++) plane[5 + i] = pens.cell[(unsigned char)text[(size_t)i]];
  fillcells(plane + 5 + n, width - 5 - n, pens.blank);
  int64_t col = promptline.point - promptline.top + 5;
  return col < width ? col : 4;
}

// Appends n in decimal.
static void number(std::string &out, int64_t n) {
  char digits[24];
  int k = 0;
  do digits[k++] = (char)('0' + n % 10), n /= 10;
  while (n);
  while (k) out += digits[--k];
}

static void move(std::string &out, int64_t row, int64_t col) {
  out += "\x1b[";
  number(out, row + 1);
  out += ';';
  number(out, col + 1);
  out += 'H';
}

// SGR 30 to 37 and 90 to 97 for a foreground, 40 to 47 and 100 to 107 for a background.
static void colour(std::string &out, int c, bool back) {
  out += "\x1b[";
  if (back && c >= 8) out += "10";
  else out += back ? '4' : c < 8 ? '3' : '9';
  out += (char)('0' + (c & 7));
  out += 'm';
}

// The attributes and colours last written, so that each goes out only on change; 16 is unknown.
// style is the colours and changed flag of the last cell when it was printable on a background
// of another colour, whose attributes those bits decide; -1 otherwise.
struct Pen {
  bool underline = false, bold = false, italic = false;
  int fore = 16, back = 16, style = -1;
};

static void emitcell(std::string &out, Pen &pen, uint16_t cell) {
  int f = (cell >> 8) & 15, g = cell >> 12, c = cell & 0xFF, c7 = cell & 0x7F;
  bool same = f == g, blank = same && c7 == 32, printable = c7 >= 33 && c7 <= 126;
  int style = printable && !same ? cell & 0xFF80 : -1;
  if (style != -1 && style == pen.style) {  // a run of text in one colour: the character alone
    out += (char)c7;
    return;
  }
  bool underline = (c >= 161 && c <= 254) || (same && c == 160);
  bool bold = !printable && !blank;
  bool italic = same && c7 != 32;
  if ((pen.underline && !underline) || (pen.bold && !bold) || (pen.italic && !italic)) {
    out += "\x1b[0m";
    pen = Pen();
  }
  if (underline && !pen.underline) out += "\x1b[4m";
  if (bold && !pen.bold) out += "\x1b[1m";
  if (italic && !pen.italic) out += "\x1b[3m";
  pen.underline = underline, pen.bold = bold, pen.italic = italic, pen.style = style;
  int fore = same ? (g < 8 ? 15 : 7) - (g & 7) : f;
  if (fore != pen.fore && !blank) colour(out, fore, false), pen.fore = fore;
  if (g != pen.back) colour(out, g, true), pen.back = g;
  static const char controls[] = "[ABCDEFGHIJKLMNOPQRSTUVWXYZ(){}]<";  // 0 to 32
  char ch = (char)c7;
  if (!printable && !blank) ch = c7 == 127 ? '>' : controls[c7];
  out += ch;
}

// The first cell from i on where the planes differ, or count. Changes come in runs, so the next
// few cells are looked at one by one before equal blocks of 16 are skipped.
static int64_t nextdiff(const uint16_t *a, const uint16_t *b, int64_t i, int64_t count) {
  for (int64_t near = std::min(i + 8, count); i < near; i++)
    if (a[i] != b[i]) return i;
  for (; i + 16 <= count; i += 16) {
    uint64_t x[4], y[4];
    memcpy(x, a + i, 32);
    memcpy(y, b + i, 32);
    if ((x[0] ^ y[0]) | (x[1] ^ y[1]) | (x[2] ^ y[2]) | (x[3] ^ y[3])) break;
  }
  while (i < count && a[i] == b[i]) i++;
  return i;
}

// Reaches cell i from the terminal's cursor at cell from, whose last cell out was written
// with pen: by a move, or by writing the unchanged cells between again when that is shorter.
// The cells look the same either way, so only the byte count decides.
static void reach(std::string &out, Pen &pen, const uint16_t *plane, int64_t from, int64_t i) {
  std::string jump, walk;
  move(jump, i / width, i % width);
  if (from >= 0 && i - from < (int64_t)jump.size()) {
    Pen walked = pen;
    for (int64_t j = from; j < i; j++) emitcell(walk, walked, plane[j]);
    std::string a, b;
    Pen aftera = walked, afterb = pen;
    emitcell(a, aftera, plane[i]);
    emitcell(b, afterb, plane[i]);
    if (walk.size() + a.size() < jump.size() + b.size()) {
      out += walk;
      pen = walked;
      return;
    }
  }
  out += jump;
}

void flushcells(int64_t col, int64_t row) {
  uint16_t *fresher = newplane(), *older = oldplane();
  int64_t count = width * height;
  if (fresher[count - 1] <= 0x0FFF) fresher[count - 1] |= 0x5000;
  // No move goes out before the first cell written, which moves there itself; attributes are
  // unknown, so they start from nothing.
  screenout += "\x1b[0m";
  Pen pen;
  int64_t next = -1;  // where the terminal's cursor stands after the last cell written
  for (int64_t i = nextdiff(fresher, older, 0, count); i < count; i = nextdiff(fresher, older, i + 1, count)) {
    if (i != next) reach(screenout, pen, fresher, next, i);
    emitcell(screenout, pen, fresher[i]);
    next = i + 1;
  }
  // After a cell at the end of a row the terminal waits to wrap, so the cursor is moved there.
  if (next != row * width + col || next % width == 0) move(screenout, row, col);
  if (col == 0 && row == 2) screenout += "\x1b[1;3H\x1b[3;1H";
  flushout();
  flipped = !flipped;
}

std::string showkink() {
  static const char hex[] = "0123456789ABCDEF";
  std::string s;
  for (int n = 15; n >= 0; n--) s += hex[kinkdigit(n)];
  return s;
}

void newkink() {
  kink = 0;
  for (int bit = 63; bit >= 0; bit--) kink |= (uint64_t)(rand() & 1) << bit;
  tolmlog("tolmkink: " + showkink() + "\n");
}

void defaultpainter() {
  if (curname == scratchname) {
    promptline = newdoc("Press escape and then the letter o to open a file.");
    paintdoc("Tolm");
  } else {
    paintdoc("File");
  }
}

void resetprompt() {
  promptline = newdoc(curname);
  toend(promptline);
}

void switchdoc(const std::string &name) {
  must(docs.count(name) == 1);
  curname = name;
  resetprompt();
}
