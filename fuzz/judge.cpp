// The judge of stops in the fuzz build: the one list of the stops that the language asks for on a
// misuse by a program, each named by its file, function and condition, some only inside a built-in.
#include <cstring>

#include "fuzz/harness.h"

namespace {

struct Called {
  const char *file;    // the end of the source path, or "" for a direct abort
  const char *func;    // the function that stops
  const char *cond;    // the condition that failed, as written; for a direct abort, its line
  const char *during;  // the built-ins one of which must be running innermost, or "" for any
};

const Called called[] = {
    // A blob whose length has a digit of value 63 can be made; reading its length stops.
    {"/core/cell.cpp", "digitvalue", "ok", ""},
    // The bracket code of a number above 676, as the text of a character tree.
    {"/core/data.cpp", "bracketcode", "n >= 0 && n <= 676", ""},
    // The last element of the empty text, which left and rght ask for without testing first.
    {"/core/data.cpp", "laststart", "t.size() >= 3", ""},
    {"/lib/structure.cpp", "viewpart", "!dataempty(x)", ""},
    // A text cut inside an element can hold more closing brackets than opening ones: the walk back
    // from its end then runs off its start, or taking its elements off leaves "]", no data.
    {"/core/data.cpp", "lastbefore", "j > 0", ""},
    {"/core/data.cpp", "listbyparts", "start > 0", ""},
    // Such a text can also leave its first bracket group open to its end; printed to the right of
    // a pair, the end of that group is looked for past the end of the text.
    {"/lang/print.cpp", "pairshape", "r.first != '[' || r.closed", ""},
    // A word local used inside an application keeps its word, a leaf with no definition; the
    // analysis stops on an undefined leaf that is no single letter.
    {"/lang/analysis.cpp", "sizename", "text.size() == 1", ""},
    {"/lang/analysis.cpp", "sizename", "first >= 'a'", ""},
    {"/lang/analysis.cpp", "sizename", "first <= 'z'", ""},
    // A parenthesis that groups, with a comma at its depth 0, read by the ladder: a token of a
    // single byte and a comma is one token of two bytes.
    {"/lang/parse.cpp", "holds", "P.trying", ""},
    // The magnitude of anything but a digit leaf or a list that begins with H, such as the
    // integer K or a list that begins with K, which an argument test for integers lets through.
    {"/core/number.cpp", "magnitude", "listof(c, \"H\")", ""},
    // A list that passes the one-level test of an integer but is no chain of bits down to K or a
    // digit leaf: the walk that reads its natural guards the representation, as every routine
    // on naturals does.
    {"/core/number.cpp", "termnatural", "digitleaf(c)", ""},
    {"/core/number.cpp", "termnatural", "b && (leafis(b, \"K\") || leafis(b, \"H\"))", ""},
    // A digit and a comma that the ladder reads as one token, as in "((4,4))", make a leaf that
    // begins with a digit: a number by its first byte, whose natural is then read from a text that
    // holds a byte that is no digit.
    {"/core/number.cpp", "naturalof", "alldigits(text)", ""},
    // fd_set, strtol and strtoul read one argument more than their rows declare.
    {"/lib/builtins.cpp", "argof", "!isleafcell(app)", "fd_set strtol strtoul"},
    // assert of H stops with the line it always gives.
    {"", "tolmabort", "242", "assert"},
    // A byte that alphabet 2 has no key for, typed in that alphabet: a byte above 127.
    {"/core/base.cpp", "tolmfail", "nopqchar", ""},
};

// The editor's checks of a record against the text, when the current document's log no longer
// fits its text: C-y types without a record, and Save onto a loaded document replaces its text
// and keeps its log, so that undoing past such a change may meet them, as the editor accepts.
const Called misfits[] = {
    // The byte that an overtype record replaced, or put, is not at its place.
    {"/edit/undo.cpp", "bytetodo", "charat(d, d.point) == a", ""},
    {"/edit/undo.cpp", "byteundo", "charat(d, d.point) == b", ""},
    // Removing or inserting at a place beyond the text.
    {"/edit/doc.cpp", "replace", "n >= 0 && p + n <= len", ""},
    // A Swap's range outside the text, or its occurrences not where the record has them.
    {"/edit/find.cpp", "swapspan", "0 <= start && start <= end && end <= lenof(d)", ""},
    {"/edit/find.cpp", "swapspan", "old.compare(i, from.size(), from) == 0", ""},
    {"/edit/find.cpp", "swapunspan", "j < len", ""},
    {"/edit/find.cpp", "swapunspan", "j + n <= len && textrange(d, j, j + n) == to", ""},
    // A Dent whose lines do not end where the record has them.
    {"/edit/dent.cpp", "denttodo", "nextcount(r) == l.end - l.trail", ""},
    {"/edit/dent.cpp", "dentundo", "e < lenof(d)", ""},
    {"/edit/dent.cpp", "dentundo", "(unsigned char)line[0] == r.b", ""},
    {"/edit/dent.cpp", "dentundo", "(int64_t)out.size() == length", ""},
};

bool endswith(const char *s, const char *end) {
  size_t n = strlen(s), m = strlen(end);
  return n >= m && strcmp(s + n - m, end) == 0;
}

// Whether the innermost running built-in is one of the names, a list split by blanks.
bool during(const char *names) {
  if (!*names) return true;
  if (running().empty()) return false;
  std::string list = " " + std::string(names) + " ";
  return list.find(" " + running().back() + " ") != std::string::npos;
}

template <size_t n>
bool listed(const Called (&list)[n], const Stop &stop) {
  std::string line = std::to_string(stop.line);
  bool direct = !*stop.file;
  for (const Called &c : list) {
    if (direct != !*c.file || strcmp(stop.func, c.func) != 0) continue;
    bool where = direct ? line == c.cond : endswith(stop.file, c.file) && strcmp(stop.cond, c.cond) == 0;
    if (where && during(c.during)) return true;
  }
  return false;
}

void judge(const Stop &stop) {
  if (listed(called, stop) || (logmisfit && listed(misfits, stop))) throw Ended{"stop"};
}

}  // namespace

bool logmisfit = false;

void judgeinstall() { stopjudge = judge; }
