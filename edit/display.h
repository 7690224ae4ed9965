// The screen: two planes of 16-bit cells, the colour word kink, and the painters that fill the
// new plane from a document and write only what differs from the old one.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

// Both planes, row after row: the new one first while flipped is 0, second while it is 1. A cell
// holds the glyph in bits 0 to 6, the changed flag in bit 7, foreground 8 to 11, background 12 to 15.
extern std::vector<uint16_t> cells;
extern uint8_t flipped;

// Digit n of kink: bits 4n to 4n + 3.
int kinkdigit(int n);
int pinkfore(bool dirty, bool over, int cls);
uint16_t cellfor(bool highlight, bool changed, bool plain, unsigned char byte);
uint16_t blankfor(bool highlight, bool plain);
// The new plane, for painters that draw their own rows.
uint16_t *newplane();

// A painter can mark more cells than the selection: marked is told every position from top on,
// in order, with its byte, and answers whether that cell is highlighted.
void paintdoc(const char *word, bool (*marked)(int64_t pos, unsigned char b) = nullptr);
int64_t painttitle(const char *word);
void flushcells(int64_t col, int64_t row);
std::string showkink();
void newkink();
void screenresize();
// The terminal's painting modes put back (after every run), and with them the whole screen taken
// as unknown so that the next paint writes every cell (C-l, a resize, a continue).
void paintmodes();
void screenforget();
