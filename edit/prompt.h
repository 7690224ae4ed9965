// Scrolling the title row's line back to its start and on by one byte. C-h and C-t outside modes
// and the keys of several modes share these steps, each ringing or not as its key says.
#pragma once

// Puts the line back to its first byte; false when it shows from there already.
bool prompthome();
// Scrolls the line one byte on while its end is beyond the screen's right edge; false at the end.
bool promptstep();
