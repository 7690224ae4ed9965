// The byte order: its places are a permutation of the bytes under their alphabets, and the glyphs
// of each alphabet name the bytes the display shows them for.
#include <gtest/gtest.h>

#include <set>

#include "core/byteorder.h"
#include "tests/support.h"

TEST(ByteOrder, PlacesArePermutationOfBytesUnderTheirAlphabets) {
  std::set<int> bytes;
  int counts[4] = {};
  for (int i = 0; i < 256; i++) {
    const Place &p = byteorder(i);
    bytes.insert(p.byte);
    counts[p.alphabet]++;
    EXPECT_EQ(placeof(p.byte), i);
  }
  EXPECT_EQ(bytes.size(), 256u);
  EXPECT_EQ(counts[1], 94);
  EXPECT_EQ(counts[2], 68);
  // The letters run in the language's own order: U before S and T, Z before X and Y.
  EXPECT_EQ(byteorder(28).glyph, 'U');
  EXPECT_EQ(placeof(0), 19);
}

TEST(ByteOrder, GlyphsUnderEachAlphabet) {
  EXPECT_EQ(nopqchar(2, 'j'), 0);  // small letters as their capitals
  EXPECT_EQ(nopqchar(2, '?'), 150);
  EXPECT_EQ(nopqchar(2, ']'), 255);
  EXPECT_EQ(nopqchar(1, 'a'), 225);
  EXPECT_EQ(nopqchar(3, 'x'), 'x');
  Child c = runchild([] { nopqchar(2, '\t'); });
  EXPECT_EQ(c.out, "TOLMFAIL: nopqchar\n");
}
