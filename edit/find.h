// Search and replace: the matcher of search patterns, the Find and Swap modes, and the undoable
// replacement of every occurrence of a text in a range.
#pragma once
#include <cstdint>
#include <string>

#include "edit/doc.h"

// The text at which the search of Find failed, empty while it succeeds; in Swap the search text
// while the replacement is typed. It is the same string as listdir (edit/files.h).
extern std::string &failtext;

// One step of the matcher of pattern s (at most 63 bytes) over the text byte c. Bit i of the state
// says that the first i bytes of s match the text just before; bit 0 is always set, and bit |s|
// of the result says that a match of s ends at c.
uint64_t matchstep(const std::string &s, uint64_t state, unsigned char c);

// A search over the current text that wraps around it: the point lands behind the first match
// of pattern s, then keepvisible; without a match nothing changes. The point's own position is
// tried last, and nothing ends at offset 0.
void seek(Doc &d, const std::string &s, bool forward);

// The occurrences of from in text, left to right without overlaps, as a bit vector (lowest bit of
// each byte first): a 0 for each byte that stays, and for each occurrence a 1 and then a 0 for
// each byte of its replacement to. An empty from occurs between every two bytes.
std::string swapbits(const std::string &text, const std::string &from, const std::string &to);
// Replaces the occurrences that bits records in the range start..end by to, and the reverse: the
// range that swapspan made, starting at start, back to the text of end - start bytes it replaced.
void swapspan(Doc &d, int64_t start, int64_t end, const std::string &from, const std::string &to,
              const std::string &bits);
void swapunspan(Doc &d, int64_t start, int64_t end, const std::string &from, const std::string &to,
                const std::string &bits);
// The undoable replacement of every occurrence of from by to in start..end of the current document.
void logswap(int64_t start, int64_t end, const std::string &from, const std::string &to);
