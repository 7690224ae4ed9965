// The editor's key loop: a round reads keys from the terminal and dispatches them, and a change
// of the window's size reshapes the screen and repaints.
#pragma once
#include <cstdint>

// A window below 7 by 2 ends the process with its message; nothing can be shown in it.
void needwindow(int64_t w, int64_t h);
// The window is now w by h: the planes start over at zero and the current mode repaints.
void resized(int64_t w, int64_t h);
// One round: waits for the terminal, then hands each key to the dispatcher once keys holds only
// whole keys. A resize noticed in the same wait comes first.
void keyround();
