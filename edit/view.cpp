// Screen geometry of a document: rows of width bytes, top and edge, recentring, and the line
// motions that keep the point visible. The text itself is never changed here.
#include "edit/view.h"

#include <algorithm>
#include <cstring>
#include <string>

int64_t width = 80, height = 24;

// Past the end of the text every place reads as a newline, so a line starts there.
int64_t bolof(const Doc &d, int64_t at) {
  if (at > lenof(d)) return at;
  return findbyteback(d, 0, at, 10) + 1;
}

void gobol(Doc &d) {
  d.point = bolof(d, d.point);
  keepvisible(d, false);
}

void goeol(Doc &d) {
  d.point = findbyte(d, d.point, lenof(d), 10);
  keepvisible(d, false);
}

void toend(Doc &d) {
  d.edge = -1;
  d.point = lenof(d);
  d.top = std::max<int64_t>(lenof(d) - width + 6, 0);
}

void toendkeep(Doc &d) {
  d.edge = -1;
  d.point = lenof(d);
  d.top = std::min(std::max<int64_t>(lenof(d) - width + 6, 0), std::max<int64_t>(d.top, 0));
}

// n bytes of the text from offset from on, with newlines past its end as charat gives them:
// walks over many rows scan this copy instead of asking for each byte.
static const char *rowtext(const Doc &d, int64_t from, int64_t n) {
  static std::string text;
  text.resize((size_t)n);
  copytext(d, from, n, text.data());
  return text.data();
}

// The length of the row whose bytes start at t: through its newline, or width bytes.
static int64_t rowlength(const char *t) {
  const char *nl = (const char *)memchr(t, '\n', (size_t)width);
  return nl ? nl - t + 1 : width;
}

// rowafter over the copy t of the text from top on: a row that the text ends before its
// newline gives top itself.
static int64_t rowfrom(const char *t, int64_t top, int64_t len) {
  int64_t k = rowlength(t);
  if (t[k - 1] == '\n' && top + k - 1 >= len) return top;
  return top + k;
}

int64_t rowafter(const Doc &d, int64_t top) { return rowfrom(rowtext(d, top, width), top, lenof(d)); }

int64_t rowup(const Doc &d, int64_t last) {
  for (int64_t i = 1; i < width; i++)
    if (charat(d, last - i) == 10) return last - i + 1;
  return std::max<int64_t>(last - width + 1, 0);
}

void nextrow(Doc &d) {
  int64_t t = rowafter(d, d.top);
  if (t != d.top) d.edge = -1;
  d.top = t;
}

void snaprow(Doc &d) {
  for (int64_t i = 0; i < 4096; i++) {
    if (charat(d, d.top - i - 1) == 10) {
      int64_t s = d.top - i;
      while (s < d.top) s += width;
      d.top = s;
      return;
    }
  }
}

void recentre(Doc &d, bool one) {
  int64_t rows = one ? 1 : height - 1, x = d.point;
  for (int64_t i = 0;; i++) {
    x = d.point - i;
    if (charat(d, x - 1) == 10 || i + 1 >= width) break;
  }
  for (int64_t r = 0; r < (rows - 1) / 2 && x > 0; r++) {
    for (int64_t j = 0; j < width && x > 0; j++) {
      x--;
      if (charat(d, x - 1) == 10) break;
    }
  }
  d.top = std::max<int64_t>(x, 0);
  d.edge = -1;
  snaprow(d);
}

bool onscreen(const Doc &d, bool one) {
  if (d.top > d.point) return false;
  int64_t rows = one ? 1 : height - 1, len = lenof(d), t = d.top;
  // No row that starts at or before the point reads past a row's length beyond it.
  const char *text = rowtext(d, d.top, std::min(rows * width, d.point - d.top + width));
  for (int64_t count = 1; count <= rows; count++) {
    int64_t n = rowfrom(text + (t - d.top), t, len);
    if (n > d.point || n == t) return true;
    t = n;
  }
  return false;
}

void keepvisible(Doc &d, bool one) {
  if (!onscreen(d, one)) recentre(d, one);
}

void measure(Doc &d) {
  const char *text = rowtext(d, d.top, (height - 1) * width);
  int64_t n = 0;
  for (int64_t rows = 0; rows < height - 1; rows++) n += rowlength(text + n);
  d.edge = d.top + n;
}

void ensureedge(Doc &d) {
  if (d.edge == -1) measure(d);
}
