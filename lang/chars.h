// Characters of the language: classes, names, groups, normalisation, tokens and patterns.
// Program text stays a byte string; everything decided one character at a time is here.
#pragma once
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

// The 33 characters at which a token ends: the operators, brackets, blank and newline.
extern const char delimiters[];
// The five characters that may stand before an operand with no left operand.
extern const char prefixchars[];
inline bool wordbyte(unsigned char c) { return c == '_' || (c >= 'a' && c <= 'z'); }
inline bool isprefix(unsigned char c) { return c == '~' || c == '!' || c == '"' || c == '$' || c == '`'; }

bool isglue(unsigned char c);
std::string bracketname(unsigned char c);
bool isword(std::string_view s);
bool isvarname(std::string_view s);
bool isname(std::string_view s);
bool isleafname(std::string_view s);
std::string namecore(const std::string &s);

inline bool isbracket(unsigned char c) {
  return c == '(' || c == ')' || c == '[' || c == ']' || c == '{' || c == '}';
}
// The index of the other end of the group that s[i] opens or closes; i itself for other bytes.
size_t groupend(std::string_view s, size_t i);
std::string normalise(std::string_view s);
// Where the tokens of a text with no operator at its own level begin, in increasing order. The
// parser passes the group ends it knows already and a list to fill; the plain form finds them by
// scanning.
template <class End>
void tokenstartsby(std::string_view s, End end, std::vector<size_t> &starts);
std::vector<size_t> tokenstarts(std::string_view s);

inline bool isdigitbyte(unsigned char c) { return c >= '0' && c <= '9'; }

// A token is a word, a run of digits, a bracket or parenthesised group, or one other byte.
template <class End>
void tokenstartsby(std::string_view s, End end, std::vector<size_t> &starts) {
  starts.clear();
  if (s.empty()) return;
  starts.push_back(0);
  bool group = s[0] == '(' || s[0] == '[' || s[0] == '{';
  for (size_t i = group ? end(0) + 1 : 1; i < s.size(); i++) {
    unsigned char c = s[i], p = s[i - 1];
    bool word = wordbyte(c), digit = isdigitbyte(c);
    if (p == ']' || p == ')' || c == '[' || c == '(' || (word && !wordbyte(p)) ||
        (digit && !isdigitbyte(p)) || (!word && !digit && (!c || !strchr(delimiters, c))))
      starts.push_back(i);
    if (c == '[' || c == '(') i = end(i);
  }
}

bool charmatch(unsigned char p, unsigned char c);
std::string swapnewline(std::string s);
