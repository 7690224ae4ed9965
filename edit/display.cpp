// The screen: a title row of a four-letter word, the alphabet block and the prompt line, then the
// text in rows of width bytes, each byte a cell coloured by its class and the document's state.
#include "edit/display.h"

#include <algorithm>
#include <cstdlib>

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

void paintdoc(const char *word, bool (*marked)(int64_t pos, unsigned char b)) {
  const Doc &d = cur();
  Look look = lookofcur();
  uint16_t *plane = newplane();
  int64_t h = headlen(d), n = (int64_t)d.now.size(), len = lenof(d);
  int64_t lo = std::min(d.point, mark), hi = std::max(d.point, mark);
  int64_t col = 0, row = 1, ccol = -1, crow = -1;
  bool wide = d.was.size() != d.now.size();
  for (int64_t pos = d.top; row < height; pos++) {
    if (pos == d.point) ccol = col, crow = row;
    unsigned char b = charat(d, pos);
    bool marks = marked && marked(pos, b);  // asked at every position: it follows the text
    bool selected = marks || (mark != -1 && lo <= pos && pos < hi);
    bool changed = h <= pos && pos < h + n && (wide || d.was[(size_t)(pos - h)] != d.now[(size_t)(pos - h)]);
    uint16_t *at = plane + row * width;
    if (b != 10) {
      at[col++] = cellwith(look, selected, changed, false, b);
    } else {
      uint16_t blank = blankwith(look, selected, false);
      at[col++] = pos < len ? cellwith(look, selected, changed, false, b) : blank;
      while (col < width) at[col++] = blank;
    }
    if (col == width) col = 0, row++;
  }
  painttitle(word);
  must(crow != -1);
  flushcells(ccol, crow);
}

int64_t painttitle(const char *word) {
  std::string w = word;
  bool plain = w == "Open" || w == "Save" || w == "Tabs";
  bool highlight = w == "Tabs" && listsel % height == 0;
  Look look = lookofcur();
  uint16_t *plane = newplane();
  for (int i = 0; i < 4; i++) plane[i] = cellwith(look, highlight, false, plain, (unsigned char)w[(size_t)i]);
  int block = w == "Byte" || w == "Line" ? kinkdigit(10) : kinkdigit(6 + alphabet);
  plane[4] = makecell(block, block, false, ' ');
  int64_t len = lenof(promptline);
  for (int64_t i = 0; i + 5 < width; i++) {
    int64_t at = promptline.top + i;
    plane[5 + i] = at < len ? cellwith(look, highlight, false, plain, charat(promptline, at))
                            : blankwith(look, highlight, plain);
  }
  int64_t col = promptline.point - promptline.top + 5;
  return col < width ? col : 4;
}

static void move(int64_t row, int64_t col) {
  screenout += "\x1b[" + std::to_string(row + 1) + ";" + std::to_string(col + 1) + "H";
}

static void colour(int c, int low, int high) {
  screenout += "\x1b[" + std::to_string(c + (c < 8 ? low : high)) + "m";
}

// The attributes and colours last written, so that each goes out only on change; 16 is unknown.
struct Pen {
  bool underline = false, bold = false, italic = false;
  int fore = 16, back = 16;
};

static void emitcell(Pen &pen, uint16_t cell) {
  int f = (cell >> 8) & 15, g = cell >> 12, c = cell & 0xFF, c7 = cell & 0x7F;
  bool same = f == g, blank = same && c7 == 32, printable = c7 >= 33 && c7 <= 126;
  bool underline = (c >= 161 && c <= 254) || (same && c == 160);
  bool bold = !printable && !blank;
  bool italic = same && c7 != 32;
  if ((pen.underline && !underline) || (pen.bold && !bold) || (pen.italic && !italic)) {
    screenout += "\x1b[0m";
    pen = Pen();
  }
  if (underline && !pen.underline) screenout += "\x1b[4m";
  if (bold && !pen.bold) screenout += "\x1b[1m";
  if (italic && !pen.italic) screenout += "\x1b[3m";
  pen.underline = underline, pen.bold = bold, pen.italic = italic;
  int fore = same ? (g < 8 ? 15 : 7) - (g & 7) : f;
  if (fore != pen.fore && !blank) colour(fore, 30, 82), pen.fore = fore;
  if (g != pen.back) colour(g, 40, 92), pen.back = g;
  static const char controls[] = "[ABCDEFGHIJKLMNOPQRSTUVWXYZ(){}]<";  // 0 to 32
  char ch = (char)c7;
  if (!printable && !blank) ch = c7 == 127 ? '>' : controls[c7];
  screenout += ch;
}

void flushcells(int64_t col, int64_t row) {
  uint16_t *fresher = newplane(), *older = oldplane();
  int64_t count = width * height;
  if (fresher[count - 1] <= 0x0FFF) fresher[count - 1] |= 0x5000;
  screenout += "\x1b[1;1H\x1b[0m";
  Pen pen;
  int64_t next = -1;  // where the terminal's cursor stands after the last cell written
  for (int64_t i = 0; i < count; i++) {
    if (fresher[i] == older[i]) continue;
    if (i != next) move(i / width, i % width);
    emitcell(pen, fresher[i]);
    next = i + 1;
  }
  move(row, col);
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
