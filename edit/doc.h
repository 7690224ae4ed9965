// Documents: the current and the saved text folded into head, one window (was, now) and tail.
// Every operation keeps the window canonical, so "unchanged" is an exact comparison.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

// One place in the window where the current text differs from the saved one: the saved bytes
// from at to at + len stand replaced by now. at is an offset into the saved text.
struct Change {
  int64_t at = 0;
  int64_t len = 0;
  std::string now;
};

// Current text = head + now + tail; saved text = head + was + tail. Offsets are bytes into the
// current text. top and edge say what the screen shows (edit/view.h).
//
// The saved text is kept whole and is not touched between saves. head is its part before the
// first change, tail its part behind the last, and was its part between. now is the changes'
// bytes with the saved bytes that stand between them, which both sides share and which are
// stored once: so a window that grows over unchanged text copies none of it, and an edit at
// either end of a wide window touches only the change there. A clean document has one change,
// empty, where head ends.
struct Doc {
  int64_t top = 0;             // offset of the first byte on the first text row
  std::string saved;           // the saved text
  std::vector<Change> window{Change{}};  // in order, never empty, saved bytes between any two
  int64_t point = 0;           // the cursor, 0 to the length
  int64_t edge = -1;           // offset just behind the last text row, -1 when not known
  uint8_t over = 0;            // 1 when typing overwrites
};

// Reading. None of these changes anything.

Doc newdoc(std::string text);
int64_t headlen(const Doc &d);
int64_t taillen(const Doc &d);
int64_t waslen(const Doc &d);
int64_t nowlen(const Doc &d);
std::string headof(const Doc &d);
std::string tailof(const Doc &d);
std::string wasof(const Doc &d);
std::string nowof(const Doc &d);
std::string textof(const Doc &d);
int64_t lenof(const Doc &d);
// Byte i of the current text; a newline for any i outside it, as if one stood before and after.
unsigned char charat(const Doc &d, int64_t i);
// Whether was equals now: the bytes that both sides share are passed over without a look.
bool isclean(const Doc &d);
bool isdirty(const Doc &d);
// How many bytes was and now have in common from offset o of the window on, at most n.
int64_t samefrom(const Doc &d, int64_t o, int64_t n);
// How many bytes was and now have in common at their ends, at most n.
int64_t sameend(const Doc &d, int64_t n);
// All fields equal: commands use it to notice that nothing moved.
bool samedoc(const Doc &a, const Doc &b);
// Whether the bytes just before the point are s.
bool endswith(const Doc &d, const std::string &s);
// From the point to its line's end, without the newline; "\n" on a newline, "" at the end.
std::string restofline(const Doc &d);
// A piece of the current text that stands in one block of memory: n bytes from offset at on.
// saved is the offset in the saved text where the piece is the saved text's own bytes, or -1
// where a change holds them.
struct Run {
  int64_t at;
  const char *p;
  int64_t n;
  int64_t saved;
};
// The pieces that hold from..to of the current text, in order: saved bytes before, between and
// behind the changes, and the changes. Offsets outside the text are left out.
using Runs = std::vector<Run>;
Runs runsof(const Doc &d, int64_t from, int64_t to);
// The first offset in from..to that holds byte b, or to when none does.
int64_t findbyte(const Doc &d, int64_t from, int64_t to, unsigned char b);
// The last offset in from..to that holds byte b, or from - 1 when none does.
int64_t findbyteback(const Doc &d, int64_t from, int64_t to, unsigned char b);
// The offset just behind the n-th newline from offset from on, or the length of the text when
// fewer follow; from itself when n is 0.
int64_t skiplines(const Doc &d, int64_t from, int64_t n);
// Bytes from..to of the current text.
std::string textrange(const Doc &d, int64_t from, int64_t to);
// The n bytes of the current text from offset from on, into out; as charat, every place outside
// the text reads as a newline.
void copytext(const Doc &d, int64_t from, int64_t n, char *out);

// The window. These move only its bounds: both texts and the point stay as they are, but for
// the placeholder of widenover.

// The canonical window: was and now share no first and no last byte, a pure insertion or
// deletion slides as far right as it can, and an unchanged document has all its text in head.
void settle(Doc &d);
// Settles, then opens the window so that the point lies inside it or on its edges: the place
// where an insertion goes.
void widen(Doc &d);
// As widen, but with a byte of the window at the point, to be overwritten. At the end of the
// text that byte is the placeholder "!" in now, which the caller always replaces.
void widenover(Doc &d);

// Editing. Each leaves the window settled, except dropback, which the next edit settles.

// Inserts b at the point, which moves behind it.
void insertbyte(Doc &d, unsigned char b);
// Overwrites the byte at the point with b, or appends b at the end of the text; the point moves
// behind it. Logs the window before, during and after.
void usedputo(Doc &d, unsigned char b);
// usedputo when the document overtypes, else insertbyte: what a typed byte does.
void usedput(Doc &d, unsigned char b);
// Backspace: the byte before the point goes, or in overtype the point only steps back. Scrolls
// as needed to keep the point shown: on one row when one, for the prompt line.
void dropback(Doc &d, bool one);
// Removes n bytes at the point; a span past the end of the text is a broken invariant.
void dropspan(Doc &d, int64_t n);
// Inserts s at the point, which moves behind it.
void addspan(Doc &d, const std::string &s);
// Puts all text into the window: was := the saved text, now := the current text, head and tail
// empty. A whole-text rewrite starts here and settles afterwards.
void flatten(Doc &d);
// flatten, then now := s: the current text replaced whole, not yet settled.
void setnow(Doc &d, const std::string &s);
// was := now, settled: the current text is now the saved one, as after writing it out.
void setsaved(Doc &d);
