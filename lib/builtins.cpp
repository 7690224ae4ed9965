// The built-in table's rows, each family's functions put into them, and the reading of the
// arguments of an application. The table itself lives with the other tables of the language.
#include "lib/builtins.h"

#include "core/base.h"
#include "lib/layout.h"

namespace {
struct Declared {
  const char *name;
  uint8_t arity;
};

// Every name with the arity it is declared with, in the table's order.
const Declared declared[] = {
    {"abort", 0}, {"abs", 1}, {"accept", 3}, {"acos", 1}, {"addrinfo", 0}, {"af_unspec", 0},
    {"ai_passive", 0}, {"asctime", 1}, {"asin", 1}, {"assert", 1}, {"atan", 1}, {"atof", 1},
    {"atoi", 1}, {"atol", 1}, {"bind", 3}, {"buck", 1}, {"bzero", 2}, {"calloc", 2}, {"ceil", 1},
    {"cent", 2}, {"clearerr", 1}, {"closedir", 1}, {"closesocket", 1}, {"cmpr", 2}, {"connect", 3},
    {"copy", 2}, {"cork", 3}, {"cos", 1}, {"cosh", 1}, {"ctime", 1}, {"dash", 2}, {"diff", 2},
    {"difftime", 2}, {"dirent", 0}, {"eacces", 0}, {"ebadf", 0}, {"econnaborted", 0},
    {"efault", 0}, {"eintr", 0}, {"einval", 0}, {"eio", 0}, {"emfile", 0}, {"enfile", 0},
    {"enodev", 0}, {"enomem", 0}, {"enotsock", 0}, {"enxio", 0}, {"eopnotsupp", 0},
    {"eoverflow", 0}, {"erf", 1}, {"erfc", 1}, {"errno", 0}, {"ewouldblock", 0}, {"exit", 1},
    {"exp", 1}, {"fabs", 1}, {"fclose", 1}, {"fd_set", 0}, {"fdopen", 2}, {"feof", 1},
    {"ferror", 1}, {"fflush", 1}, {"fgetc", 1}, {"fgetpos", 2}, {"fgets", 3}, {"fileno", 1},
    {"floor", 1}, {"fmod", 2}, {"fopen", 2}, {"fputc", 2}, {"fputs", 2}, {"fread", 4}, {"free", 1},
    {"freeaddrinfo", 1}, {"frexp", 2}, {"fseek", 3}, {"fsetpos", 2}, {"ftell", 1}, {"fwrite", 4},
    {"gai_strerror", 1}, {"getaddrinfo", 4}, {"getc", 1}, {"getchar", 0}, {"getenv", 1},
    {"gethostname", 2}, {"getnameinfo", 7}, {"getpeername", 3}, {"gets", 1}, {"gett", 1},
    {"getu", 1}, {"getv", 1}, {"getw", 1}, {"getx", 1}, {"gety", 1}, {"getz", 1}, {"gmtime", 1},
    {"gteq", 2}, {"htonl", 1}, {"htons", 1}, {"hypot", 2}, {"inet_ntop", 4}, {"inet_pton", 3},
    {"init", 1}, {"into", 3}, {"isalnum", 1}, {"isalpha", 1}, {"isascii", 1}, {"isblank", 1},
    {"isdigit", 1}, {"isgraph", 1}, {"islower", 1}, {"isprint", 1}, {"ispunct", 1}, {"isspace", 1},
    {"isupper", 1}, {"labs", 1}, {"ldexp", 2}, {"leaf", 1}, {"leak", 1}, {"left", 1}, {"less", 2},
    {"lisp", 1}, {"listen", 2}, {"load", 1}, {"localtime", 1}, {"log", 1}, {"look", 2},
    {"lord", 1}, {"lots", 1}, {"malloc", 1}, {"memchr", 3}, {"memcmp", 3}, {"memcpy", 3},
    {"memmove", 3}, {"memset", 3}, {"mktime", 1}, {"modf", 2}, {"mult", 2}, {"nextafter", 2},
    {"ntohl", 1}, {"ntohs", 1}, {"opendir", 1}, {"over", 2}, {"perror", 1}, {"plus", 2},
    {"pow", 2}, {"powa", 2}, {"putc", 2}, {"putchar", 1}, {"puts", 1}, {"raise", 1}, {"rand", 0},
    {"rand_max", 0}, {"rank", 1}, {"raws", 2}, {"read", 3}, {"readdir", 1}, {"real", 1},
    {"realloc", 2}, {"recv", 4}, {"recvfrom", 6}, {"remove", 1}, {"rename", 2}, {"rewind", 1},
    {"rght", 1}, {"rows", 1}, {"same", 2}, {"send", 4}, {"sendto", 6}, {"setbuf", 2},
    {"setsockopt", 5}, {"sett", 2}, {"setu", 2}, {"setw", 2}, {"setx", 2}, {"shutdown", 2},
    {"sin", 1}, {"sinh", 1}, {"sock_stream", 0}, {"socket", 3}, {"sqrt", 1}, {"srand", 1},
    {"stderr", 0}, {"stdout", 0}, {"strcasecmp", 2}, {"strcat", 2}, {"strchr", 2}, {"strcmp", 2},
    {"strcpy", 2}, {"strdup", 1}, {"strerror", 1}, {"strftime", 4}, {"strlen", 1},
    {"strncasecmp", 3}, {"strncat", 3}, {"strncmp", 3}, {"strncpy", 3}, {"strnlen", 2},
    {"strpbrk", 2}, {"strrchr", 2}, {"strspn", 2}, {"strstr", 2}, {"strtod", 2}, {"strtok", 2},
    {"strtok_r", 3}, {"strtol", 2}, {"strtoul", 2}, {"system", 1}, {"tan", 1}, {"tanh", 1},
    {"tern", 1}, {"time", 1}, {"time_t", 0}, {"tmpfile", 0}, {"tmpnam", 1}, {"toascii", 1},
    {"tolower", 1}, {"toupper", 1}, {"type", 1}, {"ungetc", 2}, {"wave", 1}, {"write", 3},
};

// Every row is declared first; each family then fills its own, and none may be left out.
CellRef unfilled(CellRef) {
  must(false);
  return CellRef("Z");
}

void fill(Builtins &table) {
  for (const Declared &d : declared) table[d.name] = builtinrow{d.arity, unfilled};
  must(table.size() == 222);
  fillstructure(table);
  fillarith(table);
  fillclib(table);
  fillsockets(table);
  fillload(table);
  for (const auto &[name, row] : table) must(row.run != unfilled);
}
}  // namespace

Cell *argof(Cell *app, int n, int i) {
  for (int k = n - 1; k > i; k--) {
    must(!isleafcell(app));
    app = app->left;
  }
  must(!isleafcell(app));
  return app->right;
}

void builtinsinstall() {
  builtinsource = fill;
  layoutsource = layouttable;
}
