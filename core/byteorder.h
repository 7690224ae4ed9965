// The byte order: 256 places, each with a typing alphabet (1, 2 or 3) and a glyph, which together
// give the byte at that place. Data texts, the display and typing all lean on it.
#pragma once

struct Place {
  unsigned char glyph, alphabet, byte;
};
const Place &byteorder(int place);
int placeof(unsigned char byte);
// The byte that a glyph stands for in a typing alphabet.
unsigned char nopqchar(int alphabet, unsigned char glyph);
