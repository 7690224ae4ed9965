// Documents as a whole: closing one, making a new one on a free temporary name, and walking the
// differences from the saved text.
#pragma once
#include <cstdint>
#include <string>

// The two counters whose bits make the number of a temporary name: a counts through 16 bits and
// b through the 15 above them, so that the pair counts through all 2^31 numbers before a repeat.
struct Namestreams {
  uint32_t a, b;
};
extern Namestreams namestreams;

// "/tmp/tolm.new." and six base-36 digits of n, in the language's order of digits and letters.
std::string tempname(uint32_t n);
// The next temporary name from s: bits drawn in turn from a and from b, low bits first, then
// both counters moved on by one.
std::string drawname(Namestreams &s);
