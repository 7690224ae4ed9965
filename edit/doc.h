// Documents: the current and the saved text folded into head, one window (was, now) and tail.
// Every operation keeps the window canonical, so "unchanged" is an exact comparison.
#pragma once
#include <cstdint>
#include <string>

// The text common to both versions, head then tail, in one gap buffer: bytes move between head
// and tail by moving the split, and edits at the split cost what they move.
struct Common {
  std::string buf;    // bytes before gs and from ge on; the gap between holds nothing
  size_t gs = 0;      // gap start
  size_t ge = 0;      // gap end
  size_t split = 0;   // length of head; tail is the rest
};

struct Doc {
  int64_t top = 0;    // offset of the first byte on the first text row
  Common common;      // head and tail
  std::string was;    // the window as saved
  std::string now;    // the window as it stands
  int64_t point = 0;  // the cursor, 0 to the length
  int64_t edge = -1;  // offset just behind the last text row, -1 when not known
  uint8_t over = 0;   // 1 when typing overwrites
};

// The screen size that rows and scrolling are measured in.
extern int64_t width, height;

Doc newdoc(const std::string &text);
int64_t headlen(const Doc &d);
int64_t taillen(const Doc &d);
std::string headof(const Doc &d);
std::string tailof(const Doc &d);
std::string textof(const Doc &d);
int64_t lenof(const Doc &d);
unsigned char charat(const Doc &d, int64_t i);
bool isclean(const Doc &d);
bool isdirty(const Doc &d);
bool samedoc(const Doc &a, const Doc &b);
bool endswith(const Doc &d, const std::string &s);
int64_t colof(const Doc &d);
std::string restofline(const Doc &d);
std::string textrange(const Doc &d, int64_t from, int64_t to);

void settle(Doc &d);
void widen(Doc &d);
void widenover(Doc &d);
void insertbyte(Doc &d, unsigned char b);
void usedputo(Doc &d, unsigned char b);
void usedput(Doc &d, unsigned char b);
void dropback(Doc &d, bool one);
void dropspan(Doc &d, int64_t n);
void addspan(Doc &d, const std::string &s);
void flatten(Doc &d);
void setnow(Doc &d, const std::string &s);

void gobol(Doc &d);
void goeol(Doc &d);
void toend(Doc &d);
void toendkeep(Doc &d);
int64_t rowafter(const Doc &d, int64_t top);
void nextrow(Doc &d);
void snaprow(Doc &d);
void recentre(Doc &d, bool one);
bool onscreen(const Doc &d, bool one);
void keepvisible(Doc &d, bool one);
void measure(Doc &d);
void ensureedge(Doc &d);
void seek(Doc &d, const std::string &s, bool forward);
