// The terminal layer: character mode, the window size and its changes, key bytes in and the
// buffered screen output. Everything else of the editor runs without a terminal.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

// Bytes for the terminal, written by flushout. Tests point screencapture at a string to receive
// exactly what the terminal would have received.
extern std::string screenout;
extern std::string *screencapture;
void flushout();

void consolemode();
void windowsize(int64_t &w, int64_t &h);
// A window below 7 by 2 ends the process with its message; nothing can be shown in it.
void needwindow(int64_t w, int64_t h);
void resized(int64_t w, int64_t h);

// Cuts the complete key units off the front of pending, with the terminal's spellings of the
// navigation keys turned into the bytes of their Control keys; an unfinished unit stays behind.
std::vector<std::string> takeunits(std::string &pending);

void keyround();
