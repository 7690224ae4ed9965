// The fence of the fuzz build around the built-ins: what reaches outside the process answers Z,
// addresses must lie in memory the program got from malloc, and calls that would pass a bound end
// the input. Everything a program opens or allocates is tracked and undone after its input.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <map>
#include <set>
#include <sanitizer/allocator_interface.h>
#include <string_view>
#include <unistd.h>

#include "core/data.h"
#include "core/number.h"
#include "core/tables.h"
#include "fuzz/harness.h"
#include "lib/arith.h"
#include "lib/builtins.h"

namespace {

using Run = CellRef (*)(CellRef app);

std::map<std::string, Run> originals;
std::vector<std::string> inwork;
std::map<uint64_t, uint64_t> blocks;  // the program's own memory: start to size
std::set<uint64_t> files, listings;   // the streams and directory listings it opened
uint64_t written = 0;

[[noreturn]] void bound() { throw Ended{"bound"}; }

Cell *argat(Cell *app, int n, int i) { return argof(app, n, i); }
char classof(Cell *c) { return numclass(CellRef(c)); }
bool isint(Cell *c) { return intform(CellRef(c)); }
int64_t wordof(Cell *c) { return toword(CellRef(c)); }

// Whether len bytes from the address lie in one block of the program's own.
bool owns(uint64_t at, uint64_t len) {
  auto b = blocks.upper_bound(at);
  if (b == blocks.begin()) return false;
  --b;
  return at - b->first <= b->second && len <= b->second - (at - b->first);
}

// Whether a NUL ends a string from the address inside the block that holds it.
bool ownstring(uint64_t at) {
  auto b = blocks.upper_bound(at);
  if (b == blocks.begin() || !owns(at, 0)) return false;
  --b;
  uint64_t left = b->second - (at - b->first);
  return memchr((const void *)(uintptr_t)at, 0, left) != nullptr;
}

// An argument read as a C string: a post or a text is its own cell, an integer must be an own
// string, and any other class is refused by the built-in itself.
bool stringarg(Cell *c) { return classof(c) != 'i' || ownstring((uint64_t)wordof(c)); }

// An integer argument used as the address of len bytes; anything else is refused by the built-in.
bool bufferarg(Cell *c, int64_t len) {
  if (!isint(c)) return true;
  return len >= 0 && owns((uint64_t)wordof(c), (uint64_t)len);
}

// The address of a memory word, which the readers take untested: it must be an own address.
bool wordarg(Cell *c, int64_t len) { return isint(c) && bufferarg(c, len); }

// A number that is 0, 1 or -1, whose powers stay small whatever the exponent.
bool trivialbase(Cell *c) {
  return isleafcell(c) && (leafis(c, "0") || leafis(c, "1") || leafis(c, "01") || leafis(c, "00"));
}

// A null pointer, or the address of len own bytes.
bool nullorbuffer(Cell *c, int64_t len) { return !isint(c) || wordof(c) == 0 || bufferarg(c, len); }

// A stream the program opened, or one of the two standard streams it can name.
bool streamarg(Cell *c, bool ownonly = false) {
  if (!isint(c)) return true;
  uint64_t f = (uint64_t)wordof(c);
  if (files.count(f)) return true;
  return !ownonly && (f == (uint64_t)(uintptr_t)stdout || f == (uint64_t)(uintptr_t)stderr);
}

int64_t numarg(Cell *c) { return isint(c) ? wordof(c) : 0; }

// The bytes of a text, a post or the digits of a number, told without reading them all.
uint64_t sizeof_(Cell *c) {
  switch (classof(c)) {
    case 'a':
      return celllenof(c);
    case 'u':
      if (datakind(c) && !isleafcell(c) && fieldof(c) == 0) bound();  // 64 MB or more
      return datalen(CellRef(c));
    case 'i':
    case 'o': {
      uint64_t n = 0;
      for (; !isleafcell(c) && n < maxdigits * 4; c = c->right) n++;
      return n / 3 + celllenof(c);
    }
  }
  return 0;
}

void sizecheck(Cell *c) {
  char k = classof(c);
  if (sizeof_(c) > ((k == 'i' || k == 'o') ? maxdigits : maxvalue)) bound();
}

// Built-ins that reach outside the process: the shell, files outside the private folder, the
// network, the end of the process, signals, the standard input, descriptors the program did not
// open.
const char *const outside[] = {
    "system", "remove", "rename", "exit", "abort", "raise", "getchar", "tmpfile", "fdopen", "read",
    "write", "setbuf", "accept", "bind", "closesocket", "connect", "freeaddrinfo", "getaddrinfo",
    "gethostname", "getnameinfo", "getpeername", "inet_ntop", "inet_pton", "listen", "recv",
    "recvfrom", "send", "sendto", "setsockopt", "shutdown", "socket",
};

// Whether the call may go ahead; false answers Z. Calls past a bound end the input.
bool allowed(const std::string &name, Cell *app) {
  for (const char *o : outside)
    if (name == o) return false;
  auto a = [app](int n, int i) { return argat(app, n, i); };
  // The operators and the structure words that make values: their results are bounded first.
  if (name == "plus" || name == "dash" || name == "mult" || name == "over" || name == "cent" ||
      name == "powa" || name == "less" || name == "gteq" || name == "same" || name == "diff") {
    Cell *x = a(2, 0), *y = a(2, 1);
    sizecheck(x), sizecheck(y);
    char kx = classof(x), ky = classof(y);
    bool numbers = (kx == 'i' || kx == 'o') && (ky == 'i' || ky == 'o');
    if (name == "plus" && sizeof_(x) + sizeof_(y) > maxvalue) bound();
    if (name == "mult" && (kx == 'a' || kx == 'u') && ky == 'i') {
      int64_t n = wordof(y);
      if (n == 0) throw Ended{"stop"};  // the repetition of a text or post zero times never ends
      if (n > 0 && (uint64_t)n > maxvalue / std::max<uint64_t>(sizeof_(x), 1)) bound();
    }
    if (name == "powa" && numbers && !trivialbase(x)) {
      bool small = isleafcell(y) && celllenof(y) <= 6;
      uint64_t e = small ? (uint64_t)std::abs(wordof(y)) : ~0ull;
      if (e > maxdigits * 4 / std::max<uint64_t>(sizeof_(x), 1)) bound();
    }
    return true;
  }
  if (name == "cork") {
    Cell *i = a(3, 0), *x = a(3, 2);
    char k = classof(x);
    if ((k == 'i' || k == 'o') && isint(i) && std::abs(wordof(i)) > (int64_t)maxdigits * 3) bound();
    return true;
  }
  if (name == "wave" || name == "buck" || name == "lots" || name == "rows" || name == "init" ||
      name == "real" || name == "lisp" || name == "rank") {
    sizecheck(a(1, 0));
    return true;
  }
  // Raw memory.
  if (name == "getx" || name == "gety") return wordarg(a(1, 0), 1);
  if (name == "gett" || name == "getv") return wordarg(a(1, 0), 2);
  if (name == "getu" || name == "gets") return wordarg(a(1, 0), 4);
  if (name == "getz" || name == "getw") return wordarg(a(1, 0), 8);
  if (name == "setx") return bufferarg(a(2, 0), 1);
  if (name == "sett") return bufferarg(a(2, 0), 2);
  if (name == "setu") return bufferarg(a(2, 0), 4);
  if (name == "setw") return bufferarg(a(2, 0), 8);
  if (name == "copy") {
    Cell *v = a(2, 0);
    sizecheck(v);
    char k = classof(v);
    int64_t n = k == 'a' ? (int64_t)blobbytes(CellRef(v)).size() : k == 'e' ? 8
              : k == 'u' ? (int64_t)datatext(CellRef(v)).size()
              : (k == 'i' || k == 'o') ? (int64_t)numbertext(CellRef(v)).size() : 0;
    return bufferarg(a(2, 1), n);
  }
  if (name == "load") {
    // Each load runs a machine nested in the native stack of the one that called it.
    if (std::count(inwork.begin(), inwork.end(), "load") > 64) bound();
    sizecheck(a(1, 0));
    return stringarg(a(1, 0));
  }
  // Strings.
  if (name == "atof" || name == "atoi" || name == "atol" || name == "strlen" || name == "puts" ||
      name == "perror" || name == "getenv")
    return stringarg(a(1, 0));
  if (name == "strtod") return stringarg(a(2, 0)) && nullorbuffer(a(2, 1), 8);
  if (name == "strnlen" || name == "strchr" || name == "strrchr") return stringarg(a(2, 0));
  if (name == "strcmp" || name == "strcasecmp" || name == "strstr" || name == "strpbrk" || name == "strspn")
    return stringarg(a(2, 0)) && stringarg(a(2, 1));
  if (name == "strncmp" || name == "strncasecmp") return stringarg(a(3, 0)) && stringarg(a(3, 1));
  if (name == "strcpy" || name == "strcat") {
    Cell *d = a(2, 0), *s = a(2, 1);
    if (!stringarg(s) || !isint(d)) return true;
    CellRef src(s);
    char k = classof(s);
    int64_t len = (int64_t)strlen((const char *)(uintptr_t)toaddress(src));
    if (k != 'a' && k != 'u' && k != 'i') return true;
    if (name == "strcat") {
      if (!ownstring((uint64_t)wordof(d))) return false;
      len += (int64_t)strlen((const char *)(uintptr_t)wordof(d));
    }
    return bufferarg(d, len + 1);
  }
  if (name == "strncpy") {
    Cell *d = a(3, 0), *s = a(3, 1), *n = a(3, 2);
    return bufferarg(d, numarg(n)) && (!isint(s) || ownstring((uint64_t)wordof(s)) || bufferarg(s, numarg(n)));
  }
  if (name == "strncat") {
    Cell *d = a(3, 0), *s = a(3, 1), *n = a(3, 2);
    if (!isint(d) || !stringarg(s)) return true;
    if (!ownstring((uint64_t)wordof(d))) return false;
    int64_t len = (int64_t)strlen((const char *)(uintptr_t)wordof(d)) + numarg(n) + 1;
    return numarg(n) >= 0 && bufferarg(d, len);
  }
  if (name == "strtok") return isint(a(2, 0)) && wordof(a(2, 0)) != 0 && ownstring((uint64_t)wordof(a(2, 0))) && stringarg(a(2, 1));
  if (name == "strtok_r")
    return isint(a(3, 0)) && wordof(a(3, 0)) != 0 && ownstring((uint64_t)wordof(a(3, 0))) && stringarg(a(3, 1)) &&
           bufferarg(a(3, 2), 8);
  if (name == "frexp") return bufferarg(a(2, 1), 4);
  if (name == "modf") return bufferarg(a(2, 1), 8);
  if (name == "bzero") return numarg(a(2, 1)) <= 0 || bufferarg(a(2, 0), numarg(a(2, 1)));
  if (name == "memset") return isint(a(3, 0)) && isint(a(3, 2)) && bufferarg(a(3, 0), numarg(a(3, 2)));
  if (name == "memcpy" || name == "memmove" || name == "memcmp")
    return bufferarg(a(3, 0), numarg(a(3, 2))) && bufferarg(a(3, 1), numarg(a(3, 2)));
  if (name == "memchr") return bufferarg(a(3, 0), numarg(a(3, 2)));
  // Streams and directories the program opened.
  if (name == "fflush") return !isint(a(1, 0)) || wordof(a(1, 0)) == 0 || streamarg(a(1, 0));
  if (name == "fgetc" || name == "getc" || name == "feof" || name == "ferror" || name == "fileno" ||
      name == "ftell" || name == "clearerr" || name == "rewind")
    return streamarg(a(1, 0));
  if (name == "fgets") return bufferarg(a(3, 0), numarg(a(3, 1))) && streamarg(a(3, 2));
  if (name == "fputc" || name == "putc" || name == "ungetc") return streamarg(a(2, 1));
  if (name == "fputs") {
    if (!isint(a(2, 0)) || !ownstring((uint64_t)wordof(a(2, 0)))) return !isint(a(2, 0));
    written += strlen((const char *)(uintptr_t)wordof(a(2, 0)));
    return streamarg(a(2, 1));
  }
  if (name == "fgetpos" || name == "fsetpos") return streamarg(a(2, 0)) && bufferarg(a(2, 1), sizeof(fpos_t));
  if (name == "fseek") return streamarg(a(3, 0));
  if (name == "fread" || name == "fwrite") {
    int64_t size = numarg(a(4, 1)), count = numarg(a(4, 2));
    if (size < 0 || count < 0 || (size && count > (int64_t)maxvalue / size)) return false;
    Cell *buffer = a(4, 0);
    if (name == "fwrite" && !isint(buffer) && (uint64_t)(size * count) > sizeof_(buffer)) return false;
    if (name == "fwrite") written += (uint64_t)(size * count);
    return bufferarg(buffer, size * count) && streamarg(a(4, 3));
  }
  if (name == "readdir" || name == "closedir") return !isint(a(1, 0)) || listings.count((uint64_t)wordof(a(1, 0)));
  // Time: time values and broken-down times are reached through own addresses.
  if (name == "time") return nullorbuffer(a(1, 0), 8);
  if (name == "ctime" || name == "gmtime" || name == "localtime") return bufferarg(a(1, 0), 8);
  if (name == "mktime" || name == "asctime") return bufferarg(a(1, 0), sizeof(tm));
  if (name == "strftime")
    return bufferarg(a(4, 0), numarg(a(4, 1))) && stringarg(a(4, 2)) && bufferarg(a(4, 3), sizeof(tm));
  if (name == "tmpnam") return nullorbuffer(a(1, 0), L_tmpnam);
  return true;
}

// A file name in the private folder: no "/" in it, so that it names an entry of the working
// directory.
bool privatename(Cell *c) {
  if (!stringarg(c)) return false;
  char k = classof(c);
  if (k != 'a' && k != 'u' && k != 'i') return true;
  const char *s = (const char *)(uintptr_t)toaddress(CellRef(c));
  return *s && !strchr(s, '/');
}

// The built-ins that open, allocate or free: their results and arguments are tracked.
CellRef tracked(const std::string &name, Run run, CellRef app) {
  Cell *p = app.get();
  auto a = [p](int n, int i) { return argat(p, n, i); };
  if (name == "malloc" || name == "calloc" || name == "realloc" || name == "strdup") {
    int64_t size = 0;
    uint64_t old = 0;
    if (name == "malloc") size = numarg(a(1, 0));
    if (name == "calloc") {
      int64_t n = numarg(a(2, 0)), m = numarg(a(2, 1));
      size = n < 0 || m < 0 || (m && n > (int64_t)maxvalue / m) ? -1 : n * m;
    }
    if (name == "realloc") {
      old = (uint64_t)numarg(a(2, 0));
      size = numarg(a(2, 1));
      if (old && !blocks.count(old)) return CellRef("Z");
    }
    if (name == "strdup") {
      if (!stringarg(a(1, 0))) return CellRef("Z");
      char k = classof(a(1, 0));
      if (k == 'a' || k == 'u' || k == 'i') size = (int64_t)strlen((const char *)(uintptr_t)toaddress(CellRef(a(1, 0)))) + 1;
    }
    if (size < 0 || (uint64_t)size > maxvalue) bound();
    CellRef r = run(std::move(app));
    uint64_t got = intform(r) ? (uint64_t)toword(r) : 0;
    if (got && old) blocks.erase(old);
    if (got) blocks[got] = (uint64_t)size;
    return r;
  }
  if (name == "free") {
    Cell *x = a(1, 0);
    if (!isint(x)) return CellRef("Z");
    uint64_t at = (uint64_t)wordof(x);
    if (at && !blocks.count(at)) return CellRef("Z");
    blocks.erase(at);
    return run(std::move(app));
  }
  if (name == "fopen" || name == "opendir") {
    bool ok = name == "fopen" ? privatename(a(2, 0)) && stringarg(a(2, 1))
                              : isint(a(1, 0)) && ownstring((uint64_t)wordof(a(1, 0))) &&
                                    !strchr((const char *)(uintptr_t)wordof(a(1, 0)), '/');
    if (!ok || files.size() + listings.size() >= 16) return CellRef("Z");
    CellRef r = run(std::move(app));
    if (intform(r) && toword(r)) (name == "fopen" ? files : listings).insert((uint64_t)toword(r));
    return r;
  }
  if (name == "fclose" || name == "closedir") {
    Cell *x = a(1, 0);
    std::set<uint64_t> &open = name == "fclose" ? files : listings;
    if (isint(x) && !open.count((uint64_t)wordof(x))) return CellRef("Z");
    if (isint(x)) open.erase((uint64_t)wordof(x));
    return run(std::move(app));
  }
  return run(std::move(app));
}

bool istracked(const std::string &name) {
  for (const char *t : {"malloc", "calloc", "realloc", "strdup", "free", "fopen", "opendir", "fclose", "closedir"})
    if (name == t) return true;
  return false;
}

// Every row runs here: the name of the head finds the row's own function.
CellRef fenced(CellRef app) {
  Cell *head = app.get();
  while (!isleafcell(head)) head = head->left;
  std::string name(textof(head));
  Run run = originals.at(name);
  heldcheck();
  inwork.push_back(name);
  CellRef r("Z");
  if (istracked(name)) r = tracked(name, run, std::move(app));
  else if (allowed(name, app.get())) r = run(std::move(app));
  if (written > maxwritten) bound();
  inwork.pop_back();
  return r;
}

void (*librarysource)(Builtins &) = nullptr;

void fencedsource(Builtins &table) {
  librarysource(table);
  for (auto &[name, row] : table) {
    originals[name] = row.run;
    row.run = fenced;
  }
}

}  // namespace

const std::vector<std::string> &running() { return inwork; }

void heldcheck() {
  if (__sanitizer_get_current_allocated_bytes() > maxheld) bound();
}

void fenceinstall() {
  builtinsinstall();
  librarysource = builtinsource;
  builtinsource = fencedsource;
}

void fencereset() {
  for (uint64_t f : files) fclose((FILE *)(uintptr_t)f);
  for (uint64_t d : listings) {
    CellRef app = cellpair(CellRef("closedir"), fromuword(d));
    originals.at("closedir")(std::move(app));
  }
  for (auto [at, size] : blocks) free((void *)(uintptr_t)at);
  files.clear();
  listings.clear();
  blocks.clear();
  inwork.clear();
  written = 0;
  if (DIR *dir = opendir(".")) {
    while (dirent *e = readdir(dir))
      if (strcmp(e->d_name, ".") && strcmp(e->d_name, "..")) unlink(e->d_name);
    closedir(dir);
  }
}
