// The screen: a title row of a four-letter word and the prompt line, then the text in rows of
// width bytes, every byte shown by its glyph, and the cursor at the point.
#include "edit/display.h"

#include "core/base.h"
#include "edit/editor.h"
#include "edit/glyph.h"
#include "edit/term.h"

void screenresize() {}

static void moveto(int64_t row, int64_t col) {
  screenout += "\x1b[" + std::to_string(row + 1) + ";" + std::to_string(col + 1) + "H";
}

static void painttitle(const char *word) {
  moveto(0, 0);
  std::string row = std::string(word).substr(0, 4) + " ";
  for (int64_t i = 0; (int64_t)row.size() < width; i++) {
    int64_t at = promptline.top + i;
    row += at < lenof(promptline) ? (char)glyphof(charat(promptline, at)) : ' ';
  }
  screenout += row.substr(0, (size_t)width);
}

void paintdoc(const char *word) {
  const Doc &d = cur();
  int64_t crow = -1, ccol = 0, pos = d.top, len = lenof(d);
  for (int64_t row = 1; row < height; row++) {
    moveto(row, 0);
    std::string line;
    int64_t col = 0;
    for (; col < width; col++, pos++) {
      if (pos == d.point) crow = row, ccol = col;
      unsigned char b = charat(d, pos);
      if (b == 10) {
        if (pos < len) line += (char)glyphof(b);
        pos++;
        break;
      }
      line += (char)glyphof(b);
    }
    screenout += line + "\x1b[K";
  }
  painttitle(word);
  must(crow != -1);
  moveto(crow, ccol);
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
