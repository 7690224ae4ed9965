// Characters of the language: classes, names, groups, normalisation, tokens and patterns.
// A definable operator is written in brackets, "[+]"; a bare operator character is no name.
#include "lang/chars.h"

#include <array>
#include <cstring>

#include "core/base.h"

const char delimiters[] = "~!@#$%^&*<>-|+/=\\.`'\":;?(){},[] \n";
const char prefixchars[] = "~!\"$`";

// Membership of a byte in a set of characters; the NUL byte belongs to none.
static bool among(const char *set, unsigned char c) { return c && strchr(set, c); }

bool isglue(unsigned char c) { return c == '\n' || c == ' ' || among("#%&'*+,-./:;<=>?@\\^|", c); }

std::string bracketname(unsigned char c) {
  if (c == '(' || c == ')') return "parenthesis";
  if (c == '[' || c == ']') return "bracket";
  if (c == '{' || c == '}') return "wing";
  must(false);
  return "69";
}

bool isword(std::string_view s) {
  if (s.empty()) return false;
  for (unsigned char c : s)
    if (!wordbyte(c)) return false;
  return true;
}

bool isvarname(std::string_view s) { return s.size() == 1 && s[0] >= 'a' && s[0] <= 'z'; }

// The 27 operator characters that may stand as a name, in brackets or after namecore.
static bool operatorname(unsigned char c) { return among("{,}~!@#$%^&*<>-|+/=\\.`'\":;?", c); }

static bool singlename(unsigned char c) { return (c >= 1 && c <= 31) || (c >= 'A' && c <= 'Z') || c >= 127; }

bool isname(std::string_view s) {
  if (s.empty()) return false;
  unsigned char c = (unsigned char)s[0];
  if (wordbyte(c)) return isword(s);
  if (c != '[') return s.size() == 1 && singlename(c);
  return s.size() == 3 && s[2] == ']' && operatorname((unsigned char)s[1]);
}

bool isleafname(std::string_view s) {
  if (s.empty()) return false;
  unsigned char c = (unsigned char)s[0];
  if (wordbyte(c)) return isword(s);
  return s.size() == 1 && (singlename(c) || operatorname(c));
}

std::string namecore(const std::string &s) {
  must(isname(s));
  return s[0] == '[' ? s.substr(1, 1) : s;
}

static bool iswhite(unsigned char c) { return c == ' ' || c == '\n'; }

// From "[" or "]" only brackets count, since a bracket group is literal. From the other four,
// "(" and "{" open and ")" and "}" close alike, and a bracket group met on the way is jumped.
size_t groupend(std::string_view s, size_t i) {
  must(i < s.size());
  unsigned char c = s[i];
  if (!isbracket(c)) return i;
  bool forward = c == '(' || c == '[' || c == '{', literal = c == '[' || c == ']';
  unsigned char opener = forward ? '[' : ']', closer = forward ? ']' : '[';
  size_t depth = 0;
  for (size_t j = i;; j = forward ? j + 1 : j - 1) {
    must(j < s.size());  // running off either end wraps j past the size
    unsigned char d = s[j];
    if (!isbracket(d)) continue;
    if (literal) {
      if (d == opener) depth++;
      else if (d == closer) {
        must(depth > 0);
        depth--;
      }
    } else if (d == opener) {
      j = groupend(s, j);
    } else {
      must(d != closer);
      if ((d == '(' || d == '{') == forward) depth++;
      else {
        must(depth > 0);
        depth--;
      }
    }
    if (depth == 0) return j;
  }
}

// A bracket group is copied whole, white space included, unless the text begins with white
// space: then the test (which looks at the first byte of the text) drops every group entirely.
// A run of white space vanishes next to glue or inside a pair of parentheses or wings, and
// otherwise becomes one newline if it held one, else one blank.
std::string normalise(std::string_view s) {
  size_t first = 0, end = s.size();
  while (first < end && iswhite(s[first])) first++;
  while (end > first && iswhite(s[end - 1])) end--;
  std::string out;
  out.reserve(end - first);
  bool keepgroups = !s.empty() && !iswhite(s[0]);
  for (size_t i = first; i < end;) {
    unsigned char c = s[i];
    if (c == '[') {
      size_t depth = 0, j = i;
      do {
        if (s[j] == '[') depth++;
        else if (s[j] == ']') depth--;
        j++;
      } while (depth && j < end);
      if (keepgroups) out.append(s.substr(i, j - i));
      i = j;
    } else if (iswhite(c)) {
      size_t j = i;
      bool newline = false;
      for (; iswhite(s[j]); j++) newline |= s[j] == '\n';
      unsigned char p = s[i - 1], n = s[j];
      if (!isglue(p) && !isglue(n) && !among("{(}", p) && !among("}){", n)) out += newline ? '\n' : ' ';
      i = j;
    } else {
      out += (char)c;
      i++;
    }
  }
  return out;
}

std::vector<size_t> tokenstarts(std::string_view s) {
  std::vector<size_t> starts;
  tokenstartsby(s, [s](size_t i) { return groupend(s, i); }, starts);
  return starts;
}

// A text byte folds to a printable character for the pattern classes: control bytes pair up
// onto the operator characters and high bytes onto the letters and digits.
static unsigned char foldbyte(unsigned char c) {
  static const char low[] = "~!@#$%^&*<>-|+/=";
  static const char high[] = "_abcdefghijklmnopqrustvwzxy0123456789ABCDEFGHIJKLMNOPQRUSTVWZXY";
  if (c == '\n' || (c >= 32 && c <= 126)) return c;
  if (c < 32) return (unsigned char)low[c / 2];
  if (c == 127) return '{';
  if (c == 128) return '%';
  if (c == 129) return '}';
  return (unsigned char)high[(c - 130) / 2];
}

// One pattern character against one text character. Small letters match their letter in either
// case; capitals are classes; any other printable pattern matches itself with capitals folded.
bool charmatch(unsigned char p, unsigned char c) {
  if (p < 33 || p > 126) return p == c;
  unsigned char f = foldbyte(c), g = c >= 'A' && c <= 'Z' ? (unsigned char)(c + 32) : f;
  if (p >= 'a' && p <= 'z') return f == p || f == p - 32;
  switch (p) {
    case 'G': return among("\\;", c);
    case 'I': return among("&|", c);
    case 'J': return among("<=>#", c);
    case 'L': return among("+-.;", c);
    case 'M': return among("%'*/", c);
    case 'N': return among("^?@", c);
    case 'O': return among("~!\"$`", c);
    case 'P': return among("()[]{}", c);
    case 'Q': return among("!@#$%^&*<>-|+/=\\.'\":;?,`", c);
    case 'H': return among("-.029:<acfhlnoqx", g);
    case 'K': return among("+,136;>bdgikmrty", g);
  }
  // The remaining fifteen capitals are the masks 1 to 15 over four classes of g.
  static const char masks[] = "RUSTVWZXYABCDEF";
  if (among(masks, p)) {
    int mask = (int)(strchr(masks, p) - masks) + 1;
    int kind = wordbyte(g) ? 1 : g >= 'A' && g <= 'Z' ? 2 : isdigitbyte(g) ? 4 : 8;
    return mask & kind;
  }
  return g == p;
}

std::string swapnewline(std::string s) {
  for (char &c : s) c = c == '\n' ? '\0' : c == '\0' ? '\n' : c;
  return s;
}
