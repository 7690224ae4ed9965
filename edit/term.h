// The terminal layer: character mode, the window size and notice of its change, key bytes read
// and cut into the key units of the dispatch table, and the buffered screen output. Nothing else.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

// Bytes for the terminal, written by flushout. Tests point screencapture at a string to receive
// exactly what the terminal would have received.
extern std::string screenout;
extern std::string *screencapture;
void flushout();

// Character mode without echo, with the interrupt key alive, and the terminal's modes put back as
// they were; every way out of the editor puts them back (edit/signals.h). The restoring is safe
// in a signal handler.
void consolemode();
void consolerestore();
// The editor's modes set once more, after a program ran that may have changed them (a command it
// started with system, such as stty), and after the process went on from a stop: the terminal's
// line modes, and the ways it sends keys, which go out with the next flush.
void consoleagain();
// The window's size, each side at most windowmost. A terminal can be told any size up to 65535 by
// 65535 (stty cols, from a program too), and the screen's planes at that size would take 17 GB;
// no screen shows more than windowmost, and the cells past it are left as they are.
constexpr int64_t windowmost = 4096;
void windowsize(int64_t &w, int64_t &h);

// The length of the key unit at i of s, or 0 when s ends before the unit is whole: one byte, a
// UTF-8 sequence, Escape and the unit after it, or a CSI sequence up to its final byte.
size_t keyunit(const std::string &s, size_t i);
// Cuts the complete key units off the front of pending, with the terminal's spellings of the
// navigation keys turned into the bytes of their Control keys; an unfinished unit stays behind.
std::vector<std::string> takeunits(std::string &pending);
// Blocks until the terminal has something: returns the key units read, and sets resized when
// the window changed its size since the last call, or the process went on after a stop. A unit
// split across two reads waits here.
std::vector<std::string> readkeys(bool &resized);
