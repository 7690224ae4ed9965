// A slow reference for the number tests: schoolbook arithmetic on decimal digit strings, most
// significant digit first, written plainly so that it shares no code with the engine it checks.
#pragma once
#include <cstdint>
#include <random>
#include <string>

// Naturals as digit strings without leading zeros; zero is "0".
std::string refnorm(std::string a);
int refcmp(const std::string &a, const std::string &b);
std::string refadd(const std::string &a, const std::string &b);
std::string refsub(const std::string &a, const std::string &b);  // a >= b
std::string refmul(const std::string &a, const std::string &b);
void refdivmod(const std::string &a, const std::string &b, std::string &q, std::string &r);
std::string refpow(const std::string &a, unsigned n);
// The decimal value of a little-endian byte string.
std::string refofbytes(const std::string &bytes);

// Random naturals of 1 to maxdigits digits, shaped to catch carries: plain random digits, runs
// of nines, powers of ten, and values just around them.
std::string refrandom(std::mt19937_64 &g, size_t maxdigits);
