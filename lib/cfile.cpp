// The C library bindings for files, descriptors and standard streams, and for time. Handles are
// integers; time values and broken-down times are reached through their addresses.
#include <cstdio>
#include <ctime>
#include <dlfcn.h>
#include <unistd.h>

#include "core/number.h"
#include "lib/cbind.h"

namespace {
CellRef word(int64_t n) { return fromword(n); }
FILE *file(const Cargs &a, int i) { return a.p<FILE>(i); }

// The C library warns at link time about every program that names tmpnam; the binding still calls
// that function, found when it is first asked for.
char *calltmpnam(char *buffer) {
  static auto fn = (char *(*)(char *))dlsym(RTLD_DEFAULT, "tmpnam");
  return fn(buffer);
}

const Binding files[] = {
    {"fopen", "ss", [](const Cargs &a) { return fromaddress(fopen(a.p(0), a.p(1))); }},
    {"fdopen", "ns", [](const Cargs &a) { return fromaddress(fdopen(a.in(0), a.p(1))); }},
    {"fclose", "n", [](const Cargs &a) { return word(fclose(file(a, 0))); }},
    {"fflush", "n", [](const Cargs &a) { return word(fflush(file(a, 0))); }},
    {"fgetc", "n", [](const Cargs &a) { return word(fgetc(file(a, 0))); }},
    {"getc", "n", [](const Cargs &a) { return word(getc(file(a, 0))); }},
    {"feof", "n", [](const Cargs &a) { return word(feof(file(a, 0))); }},
    {"ferror", "n", [](const Cargs &a) { return word(ferror(file(a, 0))); }},
    {"fileno", "n", [](const Cargs &a) { return word(fileno(file(a, 0))); }},
    {"ftell", "n", [](const Cargs &a) { return word(ftell(file(a, 0))); }},
    {"clearerr", "n", [](const Cargs &a) { return clearerr(file(a, 0)), done(); }},
    {"rewind", "n", [](const Cargs &a) { return rewind(file(a, 0)), done(); }},
    {"fgets", "nnn", [](const Cargs &a) { return fromaddress(fgets(a.p(0), a.in(1), file(a, 2))); }},
    {"fputc", "nn", [](const Cargs &a) { return word(fputc(a.in(0), file(a, 1))); }},
    {"putc", "nn", [](const Cargs &a) { return word(putc(a.in(0), file(a, 1))); }},
    {"ungetc", "nn", [](const Cargs &a) { return word(ungetc(a.in(0), file(a, 1))); }},
    {"fputs", "nn", [](const Cargs &a) { return word(fputs(a.p(0), file(a, 1))); }},
    {"fgetpos", "nn", [](const Cargs &a) { return word(fgetpos(file(a, 0), a.p<fpos_t>(1))); }},
    {"fsetpos", "nn", [](const Cargs &a) { return word(fsetpos(file(a, 0), a.p<fpos_t>(1))); }},
    {"fseek", "nnn", [](const Cargs &a) { return word(fseek(file(a, 0), (long)a.n(1), a.in(2))); }},
    {"setbuf", "nn", [](const Cargs &a) { return setbuf(file(a, 0), a.p(1)), done(); }},
    {"fread", "nnnn",
     [](const Cargs &a) { return fromuword(fread(a.p(0), (size_t)a.n(1), (size_t)a.n(2), file(a, 3))); }},
    {"fwrite", "snnn",
     [](const Cargs &a) { return word((int64_t)fwrite(a.p(0), (size_t)a.n(1), (size_t)a.n(2), file(a, 3))); }},
    {"read", "nnn", [](const Cargs &a) { return word(read(a.in(0), a.p(1), (size_t)a.n(2))); }},
    {"write", "nsn", [](const Cargs &a) { return word(write(a.in(0), a.p(1), (size_t)a.n(2))); }},
    {"getchar", "", [](const Cargs &) { return word(getchar()); }},
    {"putchar", "n", [](const Cargs &a) { return word(putchar(a.in(0))); }},
    {"puts", "s", [](const Cargs &a) { return word(puts(a.p(0))); }},
    {"perror", "s", [](const Cargs &a) { return perror(a.p(0)), done(); }},
    {"remove", "s", [](const Cargs &a) { return word(remove(a.p(0))); }},
    {"rename", "ss", [](const Cargs &a) { return word(rename(a.p(0), a.p(1))); }},
    {"tmpfile", "", [](const Cargs &) { return fromaddress(tmpfile()); }},
    {"tmpnam", "n", [](const Cargs &a) { return fromaddress(calltmpnam(a.p(0))); }},
    {"stdout", "", [](const Cargs &) { return fromaddress(stdout); }},
    {"stderr", "", [](const Cargs &) { return fromaddress(stderr); }},
};

// time_t is 64 bits here, so these are the C library's plain functions.
const Binding times[] = {
    {"time", "n", [](const Cargs &a) { return word(time(a.p<time_t>(0))); }},
    {"ctime", "n", [](const Cargs &a) { return fromaddress(ctime(a.p<time_t>(0))); }},
    {"gmtime", "n", [](const Cargs &a) { return fromaddress(gmtime(a.p<time_t>(0))); }},
    {"localtime", "n", [](const Cargs &a) { return fromaddress(localtime(a.p<time_t>(0))); }},
    {"mktime", "n", [](const Cargs &a) { return word(mktime(a.p<tm>(0))); }},
    {"asctime", "n", [](const Cargs &a) { return fromaddress(asctime(a.p<tm>(0))); }},
    {"difftime", "nn", [](const Cargs &a) { return fromreal(difftime((time_t)a.n(0), (time_t)a.n(1))); }},
    {"strftime", "nnsn",
     [](const Cargs &a) { return fromuword(strftime(a.p(0), (size_t)a.n(1), a.p(2), a.p<tm>(3))); }},
};
}  // namespace

void fillfiles(Builtins &table) {
  static_assert(sizeof(time_t) == 8);
  fillbindings(table, files);
  fillbindings(table, times);
}
