// Screen geometry of a document: rows of width bytes, top and edge, recentring, and the line
// motions that keep the point visible. The text itself is never changed here.
#include "edit/view.h"

#include <algorithm>

int64_t width = 80, height = 24;

int64_t colof(const Doc &d) {
  int64_t j = d.point - 1;
  while (j >= 0 && charat(d, j) != 10) j--;
  return (d.point - j - 1) % width;
}

void gobol(Doc &d) {
  int64_t j = d.point - 1;
  while (charat(d, j) != 10) j--;
  d.point = j + 1;
  keepvisible(d, false);
}

void goeol(Doc &d) {
  int64_t j = d.point, len = lenof(d);
  while (j < len && charat(d, j) != 10) j++;
  d.point = j;
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

int64_t rowafter(const Doc &d, int64_t top) {
  int64_t len = lenof(d);
  for (int64_t i = 0; i < width; i++) {
    if (top + i >= len) return top;
    if (charat(d, top + i) == 10) return top + i + 1;
  }
  return top + width;
}

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
  int64_t rows = one ? 1 : height - 1, count = 0, t = d.top;
  for (;;) {
    count++;
    if (count > rows) return false;
    int64_t n = rowafter(d, t);
    if (n > d.point || n == t) return true;
    t = n;
  }
}

void keepvisible(Doc &d, bool one) {
  if (!onscreen(d, one)) recentre(d, one);
}

void measure(Doc &d) {
  int64_t pos = d.top, rows = 0, col = 0;
  while (rows < height - 1) {
    unsigned char b = charat(d, pos++);
    if (b == 10 || ++col == width) {
      rows++;
      col = 0;
    }
  }
  d.edge = pos;
}

void ensureedge(Doc &d) {
  if (d.edge == -1) measure(d);
}
