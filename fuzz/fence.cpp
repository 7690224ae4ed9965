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

// A rule reads the application of its built-in and tells whether the call may go ahead; false
// answers Z. A call that would pass a bound ends the input instead.
using Rule = bool (*)(Cell *app);
Cell *arg1(Cell *app, int i) { return argat(app, 1, i); }
Cell *arg2(Cell *app, int i) { return argat(app, 2, i); }
Cell *arg3(Cell *app, int i) { return argat(app, 3, i); }
Cell *arg4(Cell *app, int i) { return argat(app, 4, i); }
bool isnumber(Cell *c) { return classof(c) == 'i' || classof(c) == 'o'; }

// The operators: each operand within the bounds of a value, and the result too where it can grow.
bool operands(Cell *app) {
  sizecheck(arg2(app, 0));
  sizecheck(arg2(app, 1));
  return true;
}

bool sum(Cell *app) {
  operands(app);
  if (sizeof_(arg2(app, 0)) + sizeof_(arg2(app, 1)) > maxvalue) bound();
  return true;
}

// A text or a post repeated zero times never ends, by the language's rule: the input ends there.
bool repeat(Cell *app) {
  operands(app);
  Cell *x = arg2(app, 0), *y = arg2(app, 1);
  if ((classof(x) != 'a' && classof(x) != 'u') || classof(y) != 'i') return true;
  int64_t n = wordof(y);
  if (n == 0) throw Ended{"stop"};
  if (n > 0 && (uint64_t)n > maxvalue / std::max<uint64_t>(sizeof_(x), 1)) bound();
  return true;
}

bool power(Cell *app) {
  operands(app);
  Cell *x = arg2(app, 0), *y = arg2(app, 1);
  if (!isnumber(x) || !isnumber(y) || trivialbase(x)) return true;
  uint64_t e = isleafcell(y) && celllenof(y) <= 6 ? (uint64_t)std::abs(wordof(y)) : ~0ull;
  if (e > maxdigits * 4 / std::max<uint64_t>(sizeof_(x), 1)) bound();
  return true;
}

bool corkbit(Cell *app) {
  Cell *i = arg3(app, 0);
  if (isnumber(arg3(app, 2)) && isint(i) && std::abs(wordof(i)) > (int64_t)maxdigits * 3) bound();
  return true;
}

bool onevalue(Cell *app) {
  sizecheck(arg1(app, 0));
  return true;
}

// Each load runs a machine nested in the native stack of the one that called it; the load itself
// halts the run before that stack runs out.
bool nestedload(Cell *app) { return onevalue(app) && stringarg(arg1(app, 0)); }

bool copyto(Cell *app) {
  CellRef v(arg2(app, 0));
  sizecheck(v.get());
  char k = numclass(v);
  size_t n = k == 'a' ? blobbytes(v).size() : k == 'e' ? 8 : k == 'u' ? datatext(v).size()
           : (k == 'i' || k == 'o') ? numbertext(v).size() : 0;
  return bufferarg(arg2(app, 1), (int64_t)n);
}

// The length of the C string at an address that the rule has found to be a string.
int64_t stringlength(Cell *c) { return (int64_t)strlen((const char *)(uintptr_t)toaddress(CellRef(c))); }
bool isstring(Cell *c) { return isstringish(classof(c)); }

// strcpy and strcat write the source, and strcat the destination's own text first, into the
// destination's block.
bool copystring(Cell *app, bool after) {
  Cell *d = arg2(app, 0), *s = arg2(app, 1);
  if (!stringarg(s) || !isint(d) || !isstring(s)) return stringarg(s);
  int64_t len = stringlength(s) + 1;
  if (after && !ownstring((uint64_t)wordof(d))) return false;
  if (after) len += stringlength(d);
  return bufferarg(d, len);
}

bool appendn(Cell *app) {
  Cell *d = arg3(app, 0), *s = arg3(app, 1);
  int64_t n = numarg(arg3(app, 2));
  if (!isint(d) || !stringarg(s)) return stringarg(s);
  return ownstring((uint64_t)wordof(d)) && n >= 0 && bufferarg(d, stringlength(d) + n + 1);
}

// strtok and strtok_r go on from where they stopped when the text is null, which may be memory
// given back since: only a fresh own text is taken.
bool tokens(Cell *app, int n) {
  Cell *t = argat(app, n, 0);
  bool fresh = isint(t) && wordof(t) != 0 && ownstring((uint64_t)wordof(t));
  return fresh && stringarg(argat(app, n, 1)) && (n == 2 || bufferarg(arg3(app, 2), 8));
}

bool outputs(Cell *app) {
  Cell *s = arg2(app, 0);
  if (!isint(s)) return true;
  if (!ownstring((uint64_t)wordof(s))) return false;
  written += strlen((const char *)(uintptr_t)wordof(s));
  return streamarg(arg2(app, 1));
}

// fread and fwrite move size times count bytes; fwrite reads a text or a post no further than it
// holds.
bool blockio(Cell *app, bool out) {
  int64_t size = numarg(arg4(app, 1)), count = numarg(arg4(app, 2));
  if (size < 0 || count < 0 || (size && count > (int64_t)maxvalue / size)) return false;
  Cell *buffer = arg4(app, 0);
  if (out && !isint(buffer) && (uint64_t)(size * count) > sizeof_(buffer)) return false;
  if (out) written += (uint64_t)(size * count);
  return bufferarg(buffer, size * count) && streamarg(arg4(app, 3));
}

struct Ruled {
  const char *names;  // split by blanks
  Rule rule;
};

// Built-ins that reach outside the process (the shell, files outside the private folder, the
// network, the end of the process, signals, the standard input, descriptors the program did not
// open) have the rule never.
const Ruled ruled[] = {
    {"system remove rename exit abort raise getchar tmpfile fdopen read write setbuf accept bind "
     "closesocket connect freeaddrinfo getaddrinfo gethostname getnameinfo getpeername inet_ntop "
     "inet_pton listen recv recvfrom send sendto setsockopt shutdown socket",
     [](Cell *) { return false; }},
    {"dash over cent less gteq same diff", operands},
    {"plus", sum},
    {"mult", repeat},
    {"powa", power},
    {"cork", corkbit},
    {"wave buck lots rows init real lisp rank", onevalue},
    {"load", nestedload},
    {"copy", copyto},
    {"getx gety", [](Cell *app) { return wordarg(arg1(app, 0), 1); }},
    {"gett getv", [](Cell *app) { return wordarg(arg1(app, 0), 2); }},
    {"getu gets", [](Cell *app) { return wordarg(arg1(app, 0), 4); }},
    {"getz getw", [](Cell *app) { return wordarg(arg1(app, 0), 8); }},
    {"setx", [](Cell *app) { return bufferarg(arg2(app, 0), 1); }},
    {"sett", [](Cell *app) { return bufferarg(arg2(app, 0), 2); }},
    {"setu", [](Cell *app) { return bufferarg(arg2(app, 0), 4); }},
    {"setw", [](Cell *app) { return bufferarg(arg2(app, 0), 8); }},
    {"atof atoi atol strlen puts perror getenv", [](Cell *app) { return stringarg(arg1(app, 0)); }},
    {"strtod", [](Cell *app) { return stringarg(arg2(app, 0)) && nullorbuffer(arg2(app, 1), 8); }},
    {"strnlen strchr strrchr", [](Cell *app) { return stringarg(arg2(app, 0)); }},
    {"strcmp strcasecmp strstr strpbrk strspn",
     [](Cell *app) { return stringarg(arg2(app, 0)) && stringarg(arg2(app, 1)); }},
    {"strncmp strncasecmp", [](Cell *app) { return stringarg(arg3(app, 0)) && stringarg(arg3(app, 1)); }},
    {"strcpy", [](Cell *app) { return copystring(app, false); }},
    {"strcat", [](Cell *app) { return copystring(app, true); }},
    {"strncpy",
     [](Cell *app) {
       Cell *s = arg3(app, 1);
       int64_t n = numarg(arg3(app, 2));
       return bufferarg(arg3(app, 0), n) && (!isint(s) || ownstring((uint64_t)wordof(s)) || bufferarg(s, n));
     }},
    {"strncat", appendn},
    {"strtok", [](Cell *app) { return tokens(app, 2); }},
    {"strtok_r", [](Cell *app) { return tokens(app, 3); }},
    {"frexp", [](Cell *app) { return bufferarg(arg2(app, 1), 4); }},
    {"modf", [](Cell *app) { return bufferarg(arg2(app, 1), 8); }},
    {"bzero", [](Cell *app) { return numarg(arg2(app, 1)) <= 0 || bufferarg(arg2(app, 0), numarg(arg2(app, 1))); }},
    {"memset",
     [](Cell *app) { return isint(arg3(app, 0)) && isint(arg3(app, 2)) && bufferarg(arg3(app, 0), numarg(arg3(app, 2))); }},
    {"memcpy memmove memcmp",
     [](Cell *app) {
       int64_t n = numarg(arg3(app, 2));
       return bufferarg(arg3(app, 0), n) && bufferarg(arg3(app, 1), n);
     }},
    {"memchr", [](Cell *app) { return bufferarg(arg3(app, 0), numarg(arg3(app, 2))); }},
    {"fflush", [](Cell *app) { return !isint(arg1(app, 0)) || wordof(arg1(app, 0)) == 0 || streamarg(arg1(app, 0)); }},
    {"fgetc getc feof ferror fileno ftell clearerr rewind", [](Cell *app) { return streamarg(arg1(app, 0)); }},
    {"fgets", [](Cell *app) { return bufferarg(arg3(app, 0), numarg(arg3(app, 1))) && streamarg(arg3(app, 2)); }},
    {"fputc putc ungetc", [](Cell *app) { return streamarg(arg2(app, 1)); }},
    {"fputs", outputs},
    {"fgetpos fsetpos", [](Cell *app) { return streamarg(arg2(app, 0)) && bufferarg(arg2(app, 1), sizeof(fpos_t)); }},
    {"fseek", [](Cell *app) { return streamarg(arg3(app, 0)); }},
    {"fread", [](Cell *app) { return blockio(app, false); }},
    {"fwrite", [](Cell *app) { return blockio(app, true); }},
    {"readdir", [](Cell *app) { return !isint(arg1(app, 0)) || listings.count((uint64_t)wordof(arg1(app, 0))) > 0; }},
    {"time", [](Cell *app) { return nullorbuffer(arg1(app, 0), 8); }},
    {"ctime gmtime localtime", [](Cell *app) { return bufferarg(arg1(app, 0), 8); }},
    {"mktime asctime", [](Cell *app) { return bufferarg(arg1(app, 0), sizeof(tm)); }},
    {"strftime",
     [](Cell *app) {
       return bufferarg(arg4(app, 0), numarg(arg4(app, 1))) && stringarg(arg4(app, 2)) && bufferarg(arg4(app, 3), sizeof(tm));
     }},
    {"tmpnam", [](Cell *app) { return nullorbuffer(arg1(app, 0), L_tmpnam); }},
};

// The rule of a name; the names without one need none.
Rule ruleof(const std::string &name) {
  static const std::map<std::string, Rule> rules = [] {
    std::map<std::string, Rule> r;
    for (const Ruled &x : ruled) {
      std::string names = std::string(x.names) + " ";
      for (size_t at = 0, end; (end = names.find(' ', at)) != std::string::npos; at = end + 1) r[names.substr(at, end - at)] = x.rule;
    }
    return r;
  }();
  auto r = rules.find(name);
  return r == rules.end() ? nullptr : r->second;
}

// A file name in the private folder: no "/" in it, so that it names an entry of the working
// directory.
bool privatename(Cell *c) {
  if (!stringarg(c)) return false;
  if (!isstring(c)) return true;
  const char *s = (const char *)(uintptr_t)toaddress(CellRef(c));
  return *s && !strchr(s, '/');
}

// The size that malloc, calloc, realloc or strdup asks for, or -1 for what no C call can give.
int64_t asked(const std::string &name, Cell *app, uint64_t &old) {
  if (name == "malloc") return numarg(arg1(app, 0));
  if (name == "calloc") {
    int64_t n = numarg(arg2(app, 0)), m = numarg(arg2(app, 1));
    return n < 0 || m < 0 || (m && n > (int64_t)maxvalue / m) ? -1 : n * m;
  }
  if (name == "realloc") {
    old = (uint64_t)numarg(arg2(app, 0));
    return numarg(arg2(app, 1));
  }
  Cell *s = arg1(app, 0);
  return isstring(s) ? stringlength(s) + 1 : 0;
}

// Memory the program gets: within the bound, and known as its own from then on. realloc takes
// only a block of its own and moves the knowledge with the block.
CellRef allocation(const std::string &name, Run run, CellRef app) {
  uint64_t old = 0;
  if (name == "realloc" && numarg(arg2(app.get(), 0)) && !blocks.count((uint64_t)numarg(arg2(app.get(), 0))))
    return CellRef("Z");
  if (name == "strdup" && !stringarg(arg1(app.get(), 0))) return CellRef("Z");
  int64_t size = asked(name, app.get(), old);
  if (size < 0 || (uint64_t)size > maxvalue) bound();
  CellRef r = run(std::move(app));
  uint64_t got = intform(r) ? (uint64_t)toword(r) : 0;
  if (got && old) blocks.erase(old);
  if (got) blocks[got] = (uint64_t)size;
  return r;
}

CellRef release(Run run, CellRef app) {
  Cell *x = arg1(app.get(), 0);
  if (!isint(x)) return CellRef("Z");
  uint64_t at = (uint64_t)wordof(x);
  if (at && !blocks.count(at)) return CellRef("Z");
  blocks.erase(at);
  return run(std::move(app));
}

// Streams and listings: opened in the private folder, at most sixteen at a time, and closed only
// by the program that opened them.
CellRef opening(const std::string &name, Run run, CellRef app) {
  bool file = name == "fopen";
  Cell *path = file ? arg2(app.get(), 0) : arg1(app.get(), 0);
  bool ok = file ? privatename(path) && stringarg(arg2(app.get(), 1))
                 : isint(path) && ownstring((uint64_t)wordof(path)) && !strchr((const char *)(uintptr_t)wordof(path), '/');
  if (!ok || files.size() + listings.size() >= 16) return CellRef("Z");
  CellRef r = run(std::move(app));
  if (intform(r) && toword(r)) (file ? files : listings).insert((uint64_t)toword(r));
  return r;
}

CellRef closing(const std::string &name, Run run, CellRef app) {
  Cell *x = arg1(app.get(), 0);
  std::set<uint64_t> &open = name == "fclose" ? files : listings;
  if (isint(x) && !open.erase((uint64_t)wordof(x))) return CellRef("Z");
  return run(std::move(app));
}

// The built-ins that open, allocate or free: what they give and take is tracked.
bool istracked(const std::string &name) {
  for (const char *t : {"malloc", "calloc", "realloc", "strdup", "free", "fopen", "opendir", "fclose", "closedir"})
    if (name == t) return true;
  return false;
}

CellRef tracked(const std::string &name, Run run, CellRef app) {
  if (name == "malloc" || name == "calloc" || name == "realloc" || name == "strdup")
    return allocation(name, run, std::move(app));
  if (name == "free") return release(run, std::move(app));
  if (name == "fopen" || name == "opendir") return opening(name, run, std::move(app));
  return closing(name, run, std::move(app));
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
  Rule rule = ruleof(name);
  if (istracked(name)) r = tracked(name, run, std::move(app));
  else if (!rule || rule(app.get())) r = run(std::move(app));
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

// The memory held when the input began, and the blocks allocated since, counted by a hook of the
// sanitizer's allocator. Past the bound the hook has the machine check at its next step, since
// one step can make a long list and thousands of steps go by between checks.
static uint64_t heldbase = 0, made = 0;

static void madeone(const volatile void *, size_t) {
  if (++made > maxmade) stepbudget = 0;
}

void heldbegin() {
  static bool hooked = false;
  if (!hooked) hooked = __sanitizer_install_malloc_and_free_hooks(madeone, [](const volatile void *) {});
  if (!hooked) abort();
  heldbase = __sanitizer_get_current_allocated_bytes();
  made = 0;
}

void heldcheck() {
  if (__sanitizer_get_current_allocated_bytes() > heldbase + maxheld || made > maxmade) bound();
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
  mallocheld = 0;  // the blocks above were all the input held, and none counts against the next
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
