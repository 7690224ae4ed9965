// The in-memory terminal of the screen tests, on libvterm.
#include "tests/vterm.h"

#include <vterm.h>

Vterm::Vterm(int w, int h) {
  vt = vterm_new(h, w);
  vterm_set_utf8(vt, 1);
  screen = vterm_obtain_screen(vt);
  vterm_screen_reset(screen, 1);
}

Vterm::~Vterm() { vterm_free(vt); }

void Vterm::feed(const std::string &bytes) { vterm_input_write(vt, bytes.data(), bytes.size()); }

static int colourindex(const VTermColor &c, bool fore) {
  if (fore ? VTERM_COLOR_IS_DEFAULT_FG(&c) : VTERM_COLOR_IS_DEFAULT_BG(&c)) return -1;
  if (VTERM_COLOR_IS_INDEXED(&c)) return c.indexed.idx;
  return -2;  // a colour the editor never asks for
}

Shown Vterm::at(int row, int col) {
  VTermScreenCell cell;
  vterm_screen_get_cell(screen, VTermPos{row, col}, &cell);
  char ch = cell.chars[0] ? (char)cell.chars[0] : ' ';
  return {ch, colourindex(cell.fg, true), colourindex(cell.bg, false), cell.attrs.underline != 0,
          cell.attrs.bold != 0, cell.attrs.italic != 0};
}

std::string Vterm::row(int r) {
  int rows, cols;
  vterm_get_size(vt, &rows, &cols);
  std::string s;
  for (int c = 0; c < cols; c++) s += at(r, c).ch;
  return s;
}

int Vterm::cursorrow() {
  VTermPos p;
  vterm_state_get_cursorpos(vterm_obtain_state(vt), &p);
  return p.row;
}

int Vterm::cursorcol() {
  VTermPos p;
  vterm_state_get_cursorpos(vterm_obtain_state(vt), &p);
  return p.col;
}
