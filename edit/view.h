// A document on the screen: rows of width bytes from top, the edge behind the last row, and the
// motions that move the point by lines or keep it on the screen by moving top.
#pragma once
#include <cstdint>

#include "edit/doc.h"

// The screen size that rows and scrolling are measured in: one title row and height - 1 rows of
// text, each of width cells. A row ends at a newline or after width bytes.
extern int64_t width, height;

// The start of the line that holds offset at: just behind the last newline before it, or 0.
int64_t bolof(const Doc &d, int64_t at);

// The point to the start or the end of its line, then keepvisible.
void gobol(Doc &d);
void goeol(Doc &d);
// For the prompt line: the point to the end, and top so that the end shows in the cells after
// the word and the block, with one left for the cursor. toendkeep keeps an earlier top that
// already shows the end.
void toend(Doc &d);
void toendkeep(Doc &d);

// The start of the screen row after the one starting at top; top itself when the text ends first.
int64_t rowafter(const Doc &d, int64_t top);
// The start of the screen row that ends with the byte at last: a back scan of up to width - 1
// bytes for a newline, else a whole row of width bytes, never before offset 0.
int64_t rowup(const Doc &d, int64_t last);
// top one row on.
void nextrow(Doc &d);
// top up to a row boundary of its line; a line longer than 4096 bytes leaves it as it is.
void snaprow(Doc &d);
// top so that the point's row stands in the middle of the text rows, or of one row when one.
void recentre(Doc &d, bool one);
// Whether the point lies on the rows shown from top: all text rows, or one when one.
bool onscreen(const Doc &d, bool one);
// recentre only when the point is not on the screen.
void keepvisible(Doc &d, bool one);
// edge := the offset behind the last text row shown from top; past the text, rows are empty.
void measure(Doc &d);
// measure only when edge is not known (-1).
void ensureedge(Doc &d);
