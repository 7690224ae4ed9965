// The byte order of the language and the editor: the glyphs of the 256 places, their alphabets,
// and the byte each place holds. The letters run in the language's own order, on purpose.
#include "core/byteorder.h"

#include <array>
#include <cstring>

#include "core/base.h"

// The glyphs of the 256 places in order; the alphabet of a place follows from its range.
static const char placeglyphs[] =
    "0123456789ABCDEFGHIJKLMNOPQRUSTVWZXY~!@#$%^&*<>-|+/=__abcdefghijklmnopqrustvwzxy0123456789"
    "ABCDEFGHIJKLMNOPQRUSTVWZXY~!@#$%^&*<>-|+/=\\.`'\":;?(){},_abcdefghijklmnopqrustvwzxy0123456789"
    "ABCDEFGHIJKLMNOPQRUSTVWZXY~!@#$%^&*<>-|+/=\\.`'\":;?(){},[][](){},[]\\.`'\":;?";
static_assert(sizeof placeglyphs == 257);

static unsigned char placealphabet(int place) {
  if (place <= 52 || (place >= 239 && place <= 245) || place >= 248) return 2;
  if (place <= 144 || place >= 246) return 3;
  return 1;
}

struct Order {
  std::array<Place, 256> places;
  std::array<int, 256> placeofbyte;
};

static const Order &order() {
  static const Order o = [] {
    Order r;
    r.placeofbyte.fill(-1);
    for (int i = 0; i < 256; i++) {
      unsigned char glyph = (unsigned char)placeglyphs[i], alphabet = placealphabet(i);
      r.places[i] = {glyph, alphabet, nopqchar(alphabet, glyph)};
      must(r.placeofbyte[r.places[i].byte] < 0);  // the places are a permutation of the bytes
      r.placeofbyte[r.places[i].byte] = i;
    }
    return r;
  }();
  return o;
}

const Place &byteorder(int place) {
  must(place >= 0 && place < 256);
  return order().places[place];
}

int placeof(unsigned char byte) { return order().placeofbyte[byte]; }

// Alphabet 3 is the glyph itself and alphabet 1 the glyph's high twin. In alphabet 2 a glyph
// names a control byte or a byte from 127 up, as the display shows them: "J" is NUL and the
// comma is the newline, since the editor keeps those two swapped.
unsigned char nopqchar(int alphabet, unsigned char glyph) {
  must(alphabet >= 1 && alphabet <= 3);
  if (glyph == ' ' || glyph == '\n' || alphabet == 3) return glyph;
  if (alphabet == 1) return (unsigned char)(glyph - 128);
  static const char low[] = "JABCDEFGHI,KLMNOPQRSTUVWXYZ(){}[_";      // bytes 0 to 32
  static const char high[] = "~!@#$%^&*<>-|+/=\\.`'\":;?0123456789";  // bytes 127 to 160
  unsigned char g = glyph >= 'a' && glyph <= 'z' ? (unsigned char)(glyph - 32) : glyph;
  if (const char *at = g ? strchr(low, g) : nullptr) return (unsigned char)(at - low);
  if (const char *at = g ? strchr(high, g) : nullptr) return (unsigned char)(127 + (at - high));
  if (g == ']') return 255;
  tolmfail("nopqchar");
}
