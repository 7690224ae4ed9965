// Byte classes and glyphs of the editor, and the pattern classes of its search.
// Class 3 is 33 to 126, class 1 is 161 to 254, class 2 all the rest, white space included.
#include "edit/glyph.h"

#include <cctype>
#include <cstring>

int byteclass(unsigned char b) {
  if (b >= 33 && b <= 126) return 3;
  if (b >= 161 && b <= 254) return 1;
  return 2;
}

unsigned char glyphof(unsigned char b) {
  static const char low[] = "JABCDEFGHI,KLMNOPQRSTUVWXYZ(){}[_";      // bytes 0 to 32
  static const char high[] = "~!@#$%^&*<>-|+/=\\.`'\":;?0123456789";  // bytes 127 to 160
  switch (byteclass(b)) {
    case 3: return b;
    case 1: return (unsigned char)(b - 128);
  }
  if (b == 255) return ']';
  if (b <= 32) return (unsigned char)low[b];
  return (unsigned char)high[b - 127];
}

static bool among(const char *set, unsigned char g) { return g && strchr(set, g); }

// One pattern byte against one text byte: small letters match either case, capitals are classes
// over the glyph of the byte, anything else matches itself with capitals folded.
bool charlike(unsigned char p, unsigned char c) {
  if (p < 33 || p > 126) return p == c;
  unsigned char g = c == 10 ? 10 : glyphof(c);
  if (islower(p)) return g == p || g == toupper(p);
  unsigned char f = (unsigned char)tolower(g);
  bool r = islower(g) || g == '_', u = isupper(g), t = isdigit(g), x = !r && !u && !t;
  switch (p) {
    case 'G': return among("\\;", g);
    case 'H': return among("-.029:<acfhlnoqx", f);
    case 'I': return among("&|", g);
    case 'J': return among("<=>#", g);
    case 'K': return among("+,136;>bdgikmrty", f);
    case 'L': return among("+-.;", g);
    case 'M': return among("%'*/", g);
    case 'N': return among("^?@", g);
    case 'O': return among("!\"$`~", g);
    case 'P': return among("()[]{}", g);
    case 'Q': return among("~!@#$%^&*<>-|+/=\\.`'\":;?", g);
    case 'R': return r;
    case 'U': return u;
    case 'S': return r || u;
    case 'T': return t;
    case 'V': return r || t;
    case 'W': return u || t;
    case 'Z': return r || u || t;
    case 'X': return x;
    case 'Y': return r || x;
    case 'A': return u || x;
    case 'B': return r || u || x;
    case 'C': return t || x;
    case 'D': return r || t || x;
    case 'E': return u || t || x;
    case 'F': return true;
  }
  return p == f;
}
