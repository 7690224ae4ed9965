// Normalisation, groups and token starts, the byte order with its alphabets, the pattern
// classes of one character, and the swap of NUL and newline.
#include <gtest/gtest.h>

#include <set>

#include "lang/chars.h"
#include "tests/support.h"

TEST(Normalise, WhiteSpaceNextToGlueAndInsideGroupsVanishes) {
  EXPECT_EQ(normalise("a b"), "a b");
  EXPECT_EQ(normalise("a + b"), "a+b");
  EXPECT_EQ(normalise("a\n\nb"), "a\nb");
  EXPECT_EQ(normalise("a \n b"), "a\nb");
  EXPECT_EQ(normalise("f (x)"), "f (x)");
  EXPECT_EQ(normalise("f ~x"), "f ~x");
  EXPECT_EQ(normalise("( a ) { b }"), "(a){b}");
  EXPECT_EQ(normalise("a\n,b"), "a,b");
  EXPECT_EQ(normalise("x  \n\n"), "x");
  EXPECT_EQ(normalise(" \n "), "");
  EXPECT_EQ(normalise(""), "");
}

TEST(Normalise, BracketGroupsStayWholeOrVanishWithLeadingWhiteSpace) {
  EXPECT_EQ(normalise("[a  b]"), "[a  b]");
  EXPECT_EQ(normalise("x+[a [b\n] c] y"), "x+[a [b\n] c] y");
  EXPECT_EQ(normalise(" [a  b]"), "");
  EXPECT_EQ(normalise("\nf [a] (g [b]) "), "f  (g )");
  // The neighbours of a run are bytes of the input, so a run beside a lost group stays.
  EXPECT_EQ(normalise(" f [x] y"), "f  y");
}

TEST(Groups, EndsOfGroupsInBothDirections) {
  EXPECT_EQ(groupend("(a[)]b)", 0), 6u);
  EXPECT_EQ(groupend("(a[)]b)", 6), 0u);
  EXPECT_EQ(groupend("[a[(]b]c", 0), 6u);
  EXPECT_EQ(groupend("[a[(]b]c", 6), 0u);
  EXPECT_EQ(groupend("x(a}", 1), 3u);  // parentheses and wings count as one kind
  EXPECT_EQ(groupend("{(a)}", 4), 0u);
  EXPECT_EQ(groupend("abc", 1), 1u);
  EXPECT_DEATH(groupend("(a", 0), "ASSERTION FAILED:b:");
  EXPECT_DEATH(groupend("a)", 2), "ASSERTION FAILED:b:");
}

TEST(Tokens, WordsDigitsGroupsAndSingleBytes) {
  using P = std::vector<size_t>;
  EXPECT_EQ(tokenstarts("ab12cd"), (P{0, 2, 4}));
  EXPECT_EQ(tokenstarts("f(x)(y)"), (P{0, 1, 4}));
  EXPECT_EQ(tokenstarts("SKK"), (P{0, 1, 2}));
  EXPECT_EQ(tokenstarts("Foo"), (P{0, 1}));
  EXPECT_EQ(tokenstarts("x_y1"), (P{0, 3}));
  EXPECT_EQ(tokenstarts("[a b]x[c]"), (P{0, 5, 6}));
  EXPECT_EQ(tokenstarts("(a)(b)c"), (P{0, 3, 6}));
  EXPECT_EQ(tokenstarts(std::string("a\x01\xff" "b", 4)), (P{0, 1, 2, 3}));
  EXPECT_EQ(tokenstarts(""), P{});
}

TEST(ByteOrder, PlacesArePermutationOfBytesUnderTheirAlphabets) {
  std::set<int> bytes;
  int counts[4] = {};
  for (int i = 0; i < 256; i++) {
    const Place &p = byteorder(i);
    bytes.insert(p.byte);
    counts[p.alphabet]++;
    EXPECT_EQ(placeof(p.byte), i);
    if (p.alphabet == 3) {
      EXPECT_EQ(p.byte, p.glyph) << i;
    } else if (p.alphabet == 1) {
      EXPECT_EQ(p.byte, (unsigned char)(p.glyph + 128)) << i;
    }
  }
  EXPECT_EQ(bytes.size(), 256u);
  EXPECT_EQ(counts[1], 94);
  EXPECT_EQ(counts[2], 68);
  EXPECT_EQ(counts[3], 94);
  // The letters run in the language's own order: U before S and T, Z before X and Y.
  EXPECT_EQ(byteorder(28).glyph, 'U');
  EXPECT_EQ(byteorder(28).byte, 21);
  EXPECT_EQ(byteorder(33).byte, 26);
  EXPECT_EQ(placeof('\n'), 245);
  EXPECT_EQ(placeof('['), 246);
  EXPECT_EQ(placeof(']'), 247);
  EXPECT_EQ(placeof(' '), 52);
  EXPECT_EQ(placeof(0), 19);
}

TEST(ByteOrder, GlyphsUnderEachAlphabet) {
  EXPECT_EQ(nopqchar(2, 'J'), 0);
  EXPECT_EQ(nopqchar(2, 'j'), 0);
  EXPECT_EQ(nopqchar(2, ','), '\n');
  EXPECT_EQ(nopqchar(2, 'q'), 17);
  EXPECT_EQ(nopqchar(2, '_'), ' ');
  EXPECT_EQ(nopqchar(2, '~'), 127);
  EXPECT_EQ(nopqchar(2, '?'), 150);
  EXPECT_EQ(nopqchar(2, '9'), 160);
  EXPECT_EQ(nopqchar(2, ']'), 255);
  EXPECT_EQ(nopqchar(1, 'a'), 225);
  EXPECT_EQ(nopqchar(1, ' '), ' ');
  EXPECT_EQ(nopqchar(2, '\n'), '\n');
  EXPECT_EQ(nopqchar(3, 'x'), 'x');
  Child c = runchild([] { nopqchar(2, '\t'); });
  EXPECT_EQ(c.out, "TOLMFAIL: nopqchar\n");
  EXPECT_NE(c.status, 0);
}

TEST(CharMatch, LettersClassesAndFoldedBytes) {
  EXPECT_TRUE(charmatch('a', 'a'));
  EXPECT_TRUE(charmatch('a', 'A'));
  EXPECT_TRUE(charmatch('a', 132));  // high bytes fold onto letters in pairs
  EXPECT_TRUE(charmatch('a', 133));
  EXPECT_FALSE(charmatch('a', 'b'));
  EXPECT_TRUE(charmatch(' ', ' '));
  EXPECT_FALSE(charmatch(' ', '\n'));
  EXPECT_TRUE(charmatch(200, 200));
  EXPECT_FALSE(charmatch(200, 201));
  // Operator classes test the raw byte.
  EXPECT_TRUE(charmatch('G', ';'));
  EXPECT_FALSE(charmatch('G', ':'));
  EXPECT_TRUE(charmatch('L', ';'));
  EXPECT_FALSE(charmatch('L', ':'));
  EXPECT_TRUE(charmatch('O', '`'));
  EXPECT_TRUE(charmatch('P', '}'));
  EXPECT_FALSE(charmatch('P', 127));
  EXPECT_TRUE(charmatch('Q', ','));
  EXPECT_TRUE(charmatch('Q', '`'));
  EXPECT_FALSE(charmatch('Q', 'a'));
  EXPECT_TRUE(charmatch('J', '#'));
  EXPECT_TRUE(charmatch('N', '@'));
  EXPECT_TRUE(charmatch('M', '\''));
  EXPECT_TRUE(charmatch('I', '|'));
  // Kind masks over the folded byte, a raw capital counting as its small letter.
  EXPECT_TRUE(charmatch('R', '_'));
  EXPECT_TRUE(charmatch('R', 'Q'));
  EXPECT_FALSE(charmatch('U', 'Q'));
  EXPECT_TRUE(charmatch('U', 204));  // folds to "A"
  EXPECT_TRUE(charmatch('T', 184));  // folds to "0"
  EXPECT_TRUE(charmatch('X', 3));    // folds to "!"
  EXPECT_TRUE(charmatch('X', '\n'));
  EXPECT_FALSE(charmatch('V', '+'));
  EXPECT_TRUE(charmatch('C', '+'));
  EXPECT_TRUE(charmatch('F', 0));
  EXPECT_TRUE(charmatch('H', 'X'));
  EXPECT_FALSE(charmatch('H', 'b'));
  EXPECT_TRUE(charmatch('K', 'B'));
  EXPECT_TRUE(charmatch('K', ','));
  // Any other printable pattern is its folded byte.
  EXPECT_TRUE(charmatch('-', 22));
  EXPECT_TRUE(charmatch('{', 127));
  EXPECT_TRUE(charmatch('%', 128));
  EXPECT_FALSE(charmatch('5', '6'));
}

TEST(SwapNewline, ExchangesOnlyNulAndNewline) {
  EXPECT_EQ(swapnewline(std::string("a\nb\0c\r", 6)), std::string("a\0b\nc\r", 6));
  EXPECT_EQ(swapnewline(swapnewline("x\ny")), "x\ny");
}
