// A terminal in memory for screen tests: the exact bytes the editor writes go in, and the cells
// come out as a terminal would show them, with colours, attributes and the cursor.
#pragma once
#include <string>

struct VTerm;
struct VTermScreen;

// One cell as shown: its character, colour indexes (-1 for the terminal's default) and attributes.
struct Shown {
  char ch;
  int fore, back;
  bool underline, bold, italic;
};

struct Vterm {
  VTerm *vt;
  VTermScreen *screen;
  Vterm(int w, int h);
  ~Vterm();
  void feed(const std::string &bytes);
  Shown at(int row, int col);
  std::string row(int r);  // the characters of a row, blanks as spaces
  int cursorrow();
  int cursorcol();
};
