// Characters of the language: classes, names, groups, normalisation, tokens and the byte order.
// A definable operator is written in brackets, "[+]"; a bare operator character is no name.
#include "lang/chars.h"

#include <cstring>

#include "core/base.h"

bool isglue(unsigned char c) { return c == '\n' || c == ' ' || (c && strchr("#%&'*+,-./:;<=>?@\\^|", c)); }

std::string bracketname(unsigned char c) {
  if (c == '(' || c == ')') return "parenthesis";
  if (c == '[' || c == ']') return "bracket";
  if (c == '{' || c == '}') return "wing";
  must(false);
  return "69";
}

static bool wordbyte(unsigned char c) { return c == '_' || (c >= 'a' && c <= 'z'); }

bool isword(const std::string &s) {
  if (s.empty()) return false;
  for (unsigned char c : s)
    if (!wordbyte(c)) return false;
  return true;
}

bool isvarname(const std::string &s) { return s.size() == 1 && s[0] >= 'a' && s[0] <= 'z'; }

// The 27 operator characters that may stand as a name, in brackets or after namecore.
static bool operatorname(unsigned char c) { return c && strchr("{,}~!@#$%^&*<>-|+/=\\.`'\":;?", c); }

static bool singlename(unsigned char c) { return (c >= 1 && c <= 31) || (c >= 'A' && c <= 'Z') || c >= 127; }

bool isname(const std::string &s) {
  if (s.empty()) return false;
  unsigned char c = (unsigned char)s[0];
  if (wordbyte(c)) return isword(s);
  if (c != '[') return s.size() == 1 && singlename(c);
  return s.size() == 3 && s[2] == ']' && operatorname((unsigned char)s[1]);
}

bool isleafname(const std::string &s) {
  if (s.empty()) return false;
  unsigned char c = (unsigned char)s[0];
  if (wordbyte(c)) return isword(s);
  return s.size() == 1 && (singlename(c) || operatorname(c));
}

std::string namecore(const std::string &s) {
  must(isname(s));
  return s[0] == '[' ? s.substr(1, 1) : s;
}
