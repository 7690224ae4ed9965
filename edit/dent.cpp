// The Dent mode (M-i): one key changes the front of every whole line of the selection, or of the
// text, and takes the blanks off their ends, as one undoable record.
#include <algorithm>

#include "core/base.h"
#include "core/nat.h"
#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/prompt.h"
#include "edit/undo.h"
#include "edit/view.h"

// What the key does to the front of each line that is not blank: dentdrop takes the first byte
// away, denttrim leaves the front as it is, any other byte is put in front.
constexpr unsigned char dentdrop = 10, denttrim = 9;

// One line of the range: its first byte, where its trailing blanks begin, and its newline.
struct Line {
  int64_t start, trail, end;
};

// Gives each the lines from first up to last, each ending in a newline, until it answers false:
// then false, else true. The lines are found as they are walked, not listed, since a list of them
// takes 24 bytes a line, a dozen times a text of short lines, and the system ends an editor that
// runs out of memory with no copy kept.
template <class Each>
static bool eachline(const Doc &d, int64_t first, int64_t last, Each each) {
  for (int64_t s = first; s < last;) {
    int64_t e = s;
    while (charat(d, e) != 10) e++;
    int64_t t = e;
    while (t > s && charat(d, t - 1) == ' ') t--;
    if (!each(Line{s, t, e})) return false;
    s = e + 1;
  }
  return true;
}

// The record: the end of the range in 4 bytes, lowest first; the operation byte; then for each
// line as many 1 bits as it has trailing blanks and a 0, lowest bit of each byte first.
struct Dent {
  int64_t last;
  unsigned char b;
  std::string bits;
  int64_t at = 0;  // the next bit to read
};

static Dent unpack(const Oper *o) {
  must(o->data.size() >= 5);
  Dent r{0, (unsigned char)o->data[4], o->data.substr(5)};
  for (int i = 0; i < 4; i++) r.last |= (int64_t)(unsigned char)o->data[(size_t)i] << (8 * i);
  return r;
}

// The bits past the string's end read as 0, so the record need not hold the last line's 0.
static int64_t nextcount(Dent &r) {
  int64_t n = 0;
  while (getbit(r.at++, r.bits)) n++;
  return n;
}

// Puts text for the bytes from w to end and leaves the point at w.
static void replacelines(Doc &d, int64_t w, int64_t end, const std::string &text) {
  std::string all = textof(d);
  setnow(d, all.substr(0, (size_t)w) + text + all.substr((size_t)end));
  settle(d);
  d.edge = -1;
  d.point = w;
}

// The undo log keeps Dent's records as type 7 and calls denttodo and dentundo to apply and
// reverse them (edit/undo.cpp).
void denttodo(Oper *o) {
  Doc &d = cur();
  Dent r = unpack(o);
  std::string out;
  eachline(d, (int64_t)o->w, r.last, [&](const Line &l) {
    must(nextcount(r) == l.end - l.trail);
    int64_t from = l.start + (l.trail > l.start && r.b == dentdrop);
    if (l.trail > l.start && r.b != dentdrop && r.b != denttrim) out += (char)r.b;
    out += textrange(d, from, l.trail);
    out += '\n';
    return true;
  });
  replacelines(d, (int64_t)o->w, r.last, out);
}

// The lines are read back from the changed text until the range reaches its recorded end.
void dentundo(Oper *o) {
  Doc &d = cur();
  Dent r = unpack(o);
  int64_t w = (int64_t)o->w, from = w, length = r.last - w;
  std::string out;
  while ((int64_t)out.size() < length) {
    int64_t e = from;
    while (e < lenof(d) && charat(d, e) != 10) e++;
    must(e < lenof(d));
    std::string line = textrange(d, from, e);
    if (!line.empty() && r.b == dentdrop) line.insert(line.begin(), ' ');
    else if (!line.empty() && r.b != denttrim) {
      must((unsigned char)line[0] == r.b);
      line.erase(0, 1);
    }
    out += line + std::string((size_t)nextcount(r), ' ') + "\n";
    from = e + 1;
  }
  must((int64_t)out.size() == length);
  replacelines(d, w, from, out);
}

// The whole lines between min(point, mark) and the selection's end; without a mark, from the first
// line to the last newline of the text; a mark left beyond the text counts as its end. Taking a
// byte off refuses when a line that is not blank begins with something else, and shows that line;
// trimming a range with no trailing blanks does nothing.
void logdent(unsigned char b) {
  Doc &d = cur();
  int64_t lo = std::min(d.point, mark), hi = std::min(std::max(d.point, mark), lenof(d));
  if (mark == -1) hi = lenof(d);
  int64_t first = lo - 1, last = hi - 1;
  while (charat(d, first) != 10) first++;
  while (charat(d, last) != 10) last--;
  first = std::max<int64_t>(first + 1, 0);
  last++;
  if (first >= last) return;
  tolmlog("Wtf, my coed is:" + std::to_string(b) + "\n");
  int64_t refused = -1;
  if (b == dentdrop)
    eachline(d, first, last, [&](const Line &l) {
      if (l.trail > l.start && charat(d, l.start) != ' ') refused = l.start;
      return refused == -1;
    });
  if (refused != -1) {
    d.point = refused;
    keepvisible(d, false);
    return;
  }
  if (b == denttrim && eachline(d, first, last, [](const Line &l) { return l.trail == l.end; })) return;
  Oper *o = new Oper;
  o->name = curname;
  o->t = 7;
  o->w = (uint64_t)first;
  for (int i = 0; i < 4; i++) o->data += (char)(last >> (8 * i));
  o->data += (char)b;
  std::string bits;
  int64_t n = 0;
  eachline(d, first, last, [&](const Line &l) {
    for (int64_t k = l.trail; k < l.end; k++) setbit(n++, 1, bits);
    n++;
    return true;
  });
  o->data += bits;
  addop(o);
  edittodo(o->v);
}

// The key picks the operation: Tab trims; a typed "-" takes the first byte off and "+" puts a
// blank in front; Enter puts a "-" and the space bar a "+"; any other typed byte is put as it is.
static unsigned char dentbyte(unsigned char key) {
  if (key == '\t') return denttrim;
  unsigned char b = typed(alphabet, key);
  if (b == '-') return dentdrop;
  if (b == '\n') return '-';
  if (b == '+') return ' ';
  if (b == ' ') return '+';
  return b;
}

static void dentpainter() { paintdoc("Dent"); }

void tolmdomi() {
  std::string key = modekey("M-i", dentpainter);
  unsigned char b = key.size() == 1 ? (unsigned char)key[0] : 0;
  if (key.empty()) {
    promptline = newdoc("Type - or +");
  } else if (key == "\t" || b == '\n' || (b >= 32 && b != 127)) {
    logdent(dentbyte(b));
    mark = -1;
    return leavemode();
  } else if (modecommon(key, true)) {
    return;
  } else if (key == "\x08") {
    prompthome();
  } else if (key == "\x14") {
    promptstep();
  } else if (key == "\x07") {
    return leavemode();
  }
  repaint();
}
