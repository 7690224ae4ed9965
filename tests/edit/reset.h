// The editor's globals back to their start values, for the tests and the editor's fuzz target:
// the scratch document alone and current, no undo history, no mode, a screen of w by h cells.
#pragma once
#include <cstdint>

// Also empties what the log and the screen were captured into, when they are.
void editorreset(int64_t w = 80, int64_t h = 24);
