// Characters of the language: classes, names, groups, normalisation, tokens and the byte order.
// Program text stays a byte string; everything decided one character at a time is here.
#pragma once
#include <string>

bool isglue(unsigned char c);
std::string bracketname(unsigned char c);
bool isword(const std::string &s);
bool isvarname(const std::string &s);
bool isname(const std::string &s);
bool isleafname(const std::string &s);
std::string namecore(const std::string &s);
