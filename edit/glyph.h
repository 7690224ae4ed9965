// Byte classes and glyphs of the editor, and the pattern classes of its search.
// Every byte is visible: class 3 shows itself, class 1 its low half, class 2 a chosen glyph.
#pragma once

int byteclass(unsigned char b);
unsigned char glyphof(unsigned char b);
bool charlike(unsigned char p, unsigned char c);
