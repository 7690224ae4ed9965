// The C library bindings for maths, conversions, character classes, strings, memory, the process
// and the error constants, and the common marshalling that every binding runs through.
#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <malloc.h>
#include <map>
#include <string_view>
#include <strings.h>
#include <sys/wait.h>

#include "core/base.h"
#include "core/halt.h"
#include "core/number.h"
#include "lib/cbind.h"

namespace {
std::map<std::string, const Binding *, std::less<>> &registry() {
  static std::map<std::string, const Binding *, std::less<>> r;
  return r;
}

bool passes(char letter, const CellRef &x) {
  switch (letter) {
    case 'r':
      return isleafcell(x.get()) && cellhead(x) == ' ';
    case 'n':
      return intform(x);
    case 's':
      return isstringish(numclass(x));
  }
  return letter == '-';
}

uint64_t convert(char letter, const CellRef &x) {
  if (letter == 'r') return std::bit_cast<uint64_t>(realvalue(x));
  if (letter == 's') return toaddress(x);
  return (uint64_t)toword(x);
}

// The row of every binding. The head of the application names the binding; all arguments are
// tested before any is converted, so an untested argument is never read after a failed test.
CellRef runbinding(CellRef app) {
  Cell *head = app.get();
  while (!isleafcell(head)) head = head->left;
  auto found = registry().find(std::string_view(textof(head)));
  must(found != registry().end());
  const Binding &b = *found->second;
  int n = (int)strlen(b.letters);
  Cargs args{};
  for (int i = 0; i < n; i++)
    if (!passes(b.letters[i], CellRef(argof(app.get(), n, i)))) return CellRef("Z");
  for (int i = 0; i < n; i++) args.w[i] = convert(b.letters[i], CellRef(argof(app.get(), n, i)));
  return b.call(args);
}
}  // namespace

void fillbindings(Builtins &table, const Binding *first, size_t count) {
  for (size_t i = 0; i < count; i++) {
    const Binding &b = first[i];
    must(strlen(b.letters) <= 8);
    auto row = table.find(b.name);
    must(row != table.end());
    row->second.run = runbinding;
    registry()[b.name] = &b;
  }
}

CellRef fromaddress(const void *p) { return fromword((int64_t)(uintptr_t)p); }
CellRef truth(bool b) { return CellRef(b ? "K" : "H"); }
CellRef done() { return CellRef("I"); }

namespace {
CellRef real(double x) { return fromreal(x); }
CellRef word(int64_t n) { return fromword(n); }

// The larger of v and -v in 64 bits; the negation wraps, so the most negative word stays itself.
int64_t wideabs(int64_t v) {
  int64_t neg = (int64_t)(0 - (uint64_t)v);
  return v > neg ? v : neg;
}

// Exactly -1, 0 or 1, from the first byte that differs, read unsigned.
int64_t ownstrcmp(const unsigned char *a, const unsigned char *b) {
  while (*a && *a == *b) a++, b++;
  return *a < *b ? -1 : *a > *b ? 1 : 0;
}

char *ownstrcpy(char *d, const char *s) {
  size_t i = 0;
  while ((d[i] = s[i])) i++;
  return d;
}

char *ownstrcat(char *d, const char *s) {
  size_t i = 0;
  while (d[i]) i++;
  ownstrcpy(d + i, s);
  return d;
}

int64_t ownstrlen(const char *s) {
  int64_t n = 0;
  while (s[n]) n++;
  return n;
}

const Binding maths[] = {
    {"acos", "r", [](const Cargs &a) { return real(acos(a.r(0))); }},
    {"asin", "r", [](const Cargs &a) { return real(asin(a.r(0))); }},
    {"atan", "r", [](const Cargs &a) { return real(atan(a.r(0))); }},
    {"ceil", "r", [](const Cargs &a) { return real(ceil(a.r(0))); }},
    {"cos", "r", [](const Cargs &a) { return real(cos(a.r(0))); }},
    {"cosh", "r", [](const Cargs &a) { return real(cosh(a.r(0))); }},
    {"erf", "r", [](const Cargs &a) { return real(erf(a.r(0))); }},
    {"erfc", "r", [](const Cargs &a) { return real(erfc(a.r(0))); }},
    {"exp", "r", [](const Cargs &a) { return real(exp(a.r(0))); }},
    {"fabs", "r", [](const Cargs &a) { return real(fabs(a.r(0))); }},
    {"floor", "r", [](const Cargs &a) { return real(floor(a.r(0))); }},
    {"log", "r", [](const Cargs &a) { return real(log(a.r(0))); }},
    {"sin", "r", [](const Cargs &a) { return real(sin(a.r(0))); }},
    {"sinh", "r", [](const Cargs &a) { return real(sinh(a.r(0))); }},
    {"sqrt", "r", [](const Cargs &a) { return real(sqrt(a.r(0))); }},
    {"tan", "r", [](const Cargs &a) { return real(tan(a.r(0))); }},
    {"tanh", "r", [](const Cargs &a) { return real(tanh(a.r(0))); }},
    {"fmod", "rr", [](const Cargs &a) { return real(fmod(a.r(0), a.r(1))); }},
    {"hypot", "rr", [](const Cargs &a) { return real(hypot(a.r(0), a.r(1))); }},
    {"nextafter", "rr", [](const Cargs &a) { return real(nextafter(a.r(0), a.r(1))); }},
    {"pow", "rr", [](const Cargs &a) { return real(pow(a.r(0), a.r(1))); }},
    {"frexp", "rn", [](const Cargs &a) { return real(frexp(a.r(0), a.p<int>(1))); }},
    {"ldexp", "rn", [](const Cargs &a) { return real(ldexp(a.r(0), a.in(1))); }},
    {"modf", "rn", [](const Cargs &a) { return real(modf(a.r(0), a.p<double>(1))); }},
    {"abs", "n", [](const Cargs &a) { return word(wideabs(a.n(0))); }},
    {"labs", "n", [](const Cargs &a) { return word(wideabs(a.n(0))); }},
};

// strtoul reads the word of strtol as unsigned; both read three arguments though their rows
// declare two.
const Binding conversions[] = {
    {"atof", "s", [](const Cargs &a) { return real(atof(a.p(0))); }},
    {"atoi", "s", [](const Cargs &a) { return word(atoi(a.p(0))); }},
    {"atol", "s", [](const Cargs &a) { return word(atol(a.p(0))); }},
    {"strtod", "sn", [](const Cargs &a) { return real(strtod(a.p(0), a.p<char *>(1))); }},
    {"strtol", "snn", [](const Cargs &a) { return word(strtol(a.p(0), a.p<char *>(1), a.in(2))); }},
    {"strtoul", "snn",
     [](const Cargs &a) { return fromuword((uint64_t)strtol(a.p(0), a.p<char *>(1), a.in(2))); }},
    {"isalnum", "n", [](const Cargs &a) { return truth(isalnum(a.in(0))); }},
    {"isalpha", "n", [](const Cargs &a) { return truth(isalpha(a.in(0))); }},
    {"isblank", "n", [](const Cargs &a) { return truth(isblank(a.in(0))); }},
    {"isdigit", "n", [](const Cargs &a) { return truth(isdigit(a.in(0))); }},
    {"isgraph", "n", [](const Cargs &a) { return truth(isgraph(a.in(0))); }},
    {"islower", "n", [](const Cargs &a) { return truth(islower(a.in(0))); }},
    {"isprint", "n", [](const Cargs &a) { return truth(isprint(a.in(0))); }},
    {"ispunct", "n", [](const Cargs &a) { return truth(ispunct(a.in(0))); }},
    {"isspace", "n", [](const Cargs &a) { return truth(isspace(a.in(0))); }},
    {"isupper", "n", [](const Cargs &a) { return truth(isupper(a.in(0))); }},
    {"isascii", "n", [](const Cargs &a) { return truth(a.n(0) < 128); }},
    {"toascii", "n", [](const Cargs &a) { return word(a.n(0) & 127); }},
    {"tolower", "n", [](const Cargs &a) { return word(tolower(a.in(0))); }},
    {"toupper", "n", [](const Cargs &a) { return word(toupper(a.in(0))); }},
};

// The blocks a program takes from the C allocator count against the memory limit with its terms,
// so that a loop of malloc and memset stops there as a loop of joins does: an allocation past the
// limit gives a null pointer and halts the run. A block freed that was never counted takes the
// count to zero at most.
void *heldblock(void *p) {
  if (p) mallocheld += malloc_usable_size(p);
  return p;
}

void dropblock(void *p) {
  if (p) mallocheld -= std::min<uint64_t>(mallocheld, malloc_usable_size(p));
}

void *reblock(void *p, size_t n) {
  size_t old = p ? malloc_usable_size(p) : 0;
  if (n > old && !roomfor(n - old)) return nullptr;
  void *q = realloc(p, n);
  if (q || n == 0) {
    mallocheld -= std::min<uint64_t>(mallocheld, old);
    heldblock(q);
  }
  return q;
}

// A text reaches these with its brackets, as toaddress gives it.
const Binding strings[] = {
    {"strlen", "s", [](const Cargs &a) { return word(ownstrlen(a.p(0))); }},
    {"strnlen", "sn", [](const Cargs &a) { return word((int64_t)strnlen(a.p(0), (size_t)a.n(1))); }},
    {"strcmp", "ss", [](const Cargs &a) { return word(ownstrcmp(a.p<unsigned char>(0), a.p<unsigned char>(1))); }},
    {"strcasecmp", "ss", [](const Cargs &a) { return word(strcasecmp(a.p(0), a.p(1))); }},
    {"strncmp", "ssn", [](const Cargs &a) { return word(strncmp(a.p(0), a.p(1), (size_t)a.n(2))); }},
    {"strncasecmp", "ssn", [](const Cargs &a) { return word(strncasecmp(a.p(0), a.p(1), (size_t)a.n(2))); }},
    {"strcpy", "ns", [](const Cargs &a) { return fromaddress(ownstrcpy(a.p(0), a.p(1))); }},
    {"strcat", "ns", [](const Cargs &a) { return fromaddress(ownstrcat(a.p(0), a.p(1))); }},
    {"strncpy", "nnn", [](const Cargs &a) { return fromaddress(strncpy(a.p(0), a.p(1), (size_t)a.n(2))); }},
    {"strncat", "nsn", [](const Cargs &a) { return fromaddress(strncat(a.p(0), a.p(1), (size_t)a.n(2))); }},
    {"strchr", "sn", [](const Cargs &a) { return fromaddress(strchr(a.p(0), a.in(1))); }},
    {"strrchr", "sn", [](const Cargs &a) { return fromaddress(strrchr(a.p(0), a.in(1))); }},
    {"strstr", "ss", [](const Cargs &a) { return fromaddress(strstr(a.p(0), a.p(1))); }},
    {"strpbrk", "ss", [](const Cargs &a) { return fromaddress(strpbrk(a.p(0), a.p(1))); }},
    {"strspn", "ss", [](const Cargs &a) { return word((int64_t)strspn(a.p(0), a.p(1))); }},
    {"strdup", "s", [](const Cargs &a) { return fromaddress(heldblock(strdup(a.p(0)))); }},
    {"strtok", "ns", [](const Cargs &a) { return fromaddress(strtok(a.p(0), a.p(1))); }},
    {"strtok_r", "nsn", [](const Cargs &a) { return fromaddress(strtok_r(a.p(0), a.p(1), a.p<char *>(2))); }},
    {"strerror", "n", [](const Cargs &a) { return fromaddress(strerror(a.in(0))); }},
};

// free and memset test nothing; bzero refuses a negative length.
const Binding memory[] = {
    {"malloc", "n",
     [](const Cargs &a) { return fromaddress(roomfor((size_t)a.n(0)) ? heldblock(malloc((size_t)a.n(0))) : nullptr); }},
    {"calloc", "nn",
     [](const Cargs &a) {
       size_t n = (size_t)a.n(0), m = (size_t)a.n(1), all;
       bool fits = !__builtin_mul_overflow(n, m, &all) && roomfor(all);
       return fromaddress(fits ? heldblock(calloc(n, m)) : nullptr);
     }},
    {"realloc", "nn", [](const Cargs &a) { return fromaddress(reblock(a.p(0), (size_t)a.n(1))); }},
    {"free", "-", [](const Cargs &a) { return dropblock(a.p(0)), free(a.p(0)), done(); }},
    {"bzero", "nn",
     [](const Cargs &a) {
       if (a.n(1) < 0) return CellRef("Z");
       if (a.n(1) > 0) memset(a.p(0), 0, (size_t)a.n(1));
       return done();
     }},
    {"memset", "---", [](const Cargs &a) { return fromaddress(memset(a.p(0), a.in(1), (size_t)a.n(2))); }},
    {"memcpy", "nnn", [](const Cargs &a) { return fromaddress(memcpy(a.p(0), a.p(1), (size_t)a.n(2))); }},
    {"memmove", "nnn", [](const Cargs &a) { return fromaddress(memmove(a.p(0), a.p(1), (size_t)a.n(2))); }},
    {"memcmp", "nnn", [](const Cargs &a) { return word(memcmp(a.p(0), a.p(1), (size_t)a.n(2))); }},
    {"memchr", "nnn", [](const Cargs &a) { return fromaddress(memchr(a.p(0), a.in(1), (size_t)a.n(2))); }},
};

// system holds the interrupt key off this process while it waits, so a command that the key ended
// stops the run in its place.
int commandrun(const char *command) {
  int status = system(command);
  if (status != -1 && WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) runhalt = haltinterrupt;
  return status;
}

const Binding process[] = {
    {"abort", "", [](const Cargs &) -> CellRef { abort(); }},
    {"exit", "n", [](const Cargs &a) -> CellRef { exit(a.in(0)); }},
    {"raise", "n", [](const Cargs &a) { return word(raise(a.in(0))); }},
    {"system", "s", [](const Cargs &a) { return word(commandrun(a.p(0))); }},
    {"getenv", "s", [](const Cargs &a) { return fromaddress(getenv(a.p(0))); }},
    {"rand", "", [](const Cargs &) { return word(rand()); }},
    {"srand", "n", [](const Cargs &a) { return srand((unsigned)a.n(0)), done(); }},
    {"errno", "", [](const Cargs &) { return word(errno); }},
};

// The error numbers are this platform's own, so that a program compares what errno really holds.
const Binding constants[] = {
    {"eacces", "", [](const Cargs &) { return word(EACCES); }},
    {"ebadf", "", [](const Cargs &) { return word(EBADF); }},
    {"econnaborted", "", [](const Cargs &) { return word(ECONNABORTED); }},
    {"efault", "", [](const Cargs &) { return word(EFAULT); }},
    {"eintr", "", [](const Cargs &) { return word(EINTR); }},
    {"einval", "", [](const Cargs &) { return word(EINVAL); }},
    {"eio", "", [](const Cargs &) { return word(EIO); }},
    {"emfile", "", [](const Cargs &) { return word(EMFILE); }},
    {"enfile", "", [](const Cargs &) { return word(ENFILE); }},
    {"enodev", "", [](const Cargs &) { return word(ENODEV); }},
    {"enomem", "", [](const Cargs &) { return word(ENOMEM); }},
    {"enotsock", "", [](const Cargs &) { return word(ENOTSOCK); }},
    {"enxio", "", [](const Cargs &) { return word(ENXIO); }},
    {"eopnotsupp", "", [](const Cargs &) { return word(EOPNOTSUPP); }},
    {"eoverflow", "", [](const Cargs &) { return word(EOVERFLOW); }},
    {"ewouldblock", "", [](const Cargs &) { return word(EWOULDBLOCK); }},
    {"rand_max", "", [](const Cargs &) { return word(RAND_MAX); }},
    {"time_t", "", [](const Cargs &) { return word(sizeof(time_t)); }},
};
}  // namespace

void fillclib(Builtins &table) {
  fillbindings(table, maths);
  fillbindings(table, conversions);
  fillbindings(table, strings);
  fillbindings(table, memory);
  fillbindings(table, process);
  fillbindings(table, constants);
  fillfiles(table);
  filldirs(table);
}
