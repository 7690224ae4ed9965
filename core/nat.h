// Natural numbers over byte strings: the bit vector with a top sentinel (BitNat) and the decimal
// digit string with its least significant digit first (DecNat), each with its assertions.
#pragma once
#include <cstdint>
#include <string>

// ---- BitNat: bit i is bit i % 8 of byte i / 8. The highest set bit is the sentinel, which marks
// where the value bits end; the one-byte string 1 is the natural with no value bits. Arithmetic
// reads the whole string as a plain binary number, sentinel included.

bool isbits(const std::string &s);              // not empty, last byte not zero
int getbit(int64_t i, const std::string &s);    // 0 past the end
void setbit(int64_t i, int v, std::string &s);  // in place, growing by runs of eight zero bytes
int64_t topbit(const std::string &s);           // the sentinel's index: the count of value bits
int valuebit(int64_t i, const std::string &s);  // asserts 0 <= i < topbit(s)
int64_t bitsused(const std::string &s);         // top set bit plus one, 0 when none is set
bool isclear(const std::string &s);
bool nonzero(const std::string &s);
std::string trimbits(std::string s);                                // without zero bytes on top
std::string bitappend(const std::string &a, const std::string &b);  // b's value bits above a's
std::string bitsucc(std::string s);
std::string bitshift(int64_t n, const std::string &s);
std::string bitadd(const std::string &a, const std::string &b);  // one place wider than the longer
std::string bitaddsmall(const std::string &s, uint64_t m);
std::string bitmul(const std::string &s, int64_t m);   // over bits 0 to 62 of m
std::string bitdiv(const std::string &s, uint64_t d);  // as wide as s
std::string bithalf(const std::string &s);
int bitmod10(const std::string &s);
std::string zeros(size_t n);

// ---- DecNat: the characters 0 to 9, least significant first; reading past the end gives 0.
// Results carry no zero digits above their top digit, and so zero comes back as the empty string.

bool isdec(const std::string &s);
char digit(size_t i, const std::string &s);
bool decless(const std::string &a, const std::string &b);
bool declesseq(const std::string &a, const std::string &b);
bool deciszero(const std::string &s);  // all digits 0; the empty string too
bool decisone(const std::string &s);   // first digit 1, all others 0; the empty string is not one
bool deceven(const std::string &s);    // the empty string counts as even
std::string decadd(const std::string &a, const std::string &b);
std::string decsub(const std::string &a, const std::string &b);  // asserts b not above a
std::string decmuldigit(int k, const std::string &s);            // asserts 0 <= k <= 9
std::string decmul(const std::string &a, const std::string &b);
// The quotient of a by b, rounded down when the flag is set and up when it is clear.
std::string decdivmod(bool rounddown, const std::string &a, const std::string &b);
std::string dechalf(const std::string &s);
std::string decpow(const std::string &a, const std::string &n);
