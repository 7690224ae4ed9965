// The title row's line outside the pickers: scrolling it, and the texts that modes show on it.
// Plain keys and several modes share these steps, each ringing or not as its key says.
#pragma once

// Puts the line back to its first byte; false when it shows from there already.
bool prompthome();
// Scrolls the line one byte on while its end is beyond the screen's right edge; false at the end.
bool promptstep();
