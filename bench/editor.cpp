// Times keys through the dispatcher and the painter in a 200 by 50 window on a 1 MB and a 100 MB
// document: typing in the middle, the key mix of bench_keys there and far from another edit,
// moving by rows and pages, undoing, and loading and saving. Counts the bytes the mix writes.
// Then the keys at both ends of two extreme documents, 100 MB on one line and a million short
// lines, with the slowest of them, and edits that go back and forth between the two ends.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "core/base.h"
#include "core/file.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/save.h"
#include "edit/term.h"
#include "edit/undo.h"
#include "edit/view.h"

using Clock = std::chrono::steady_clock;

static std::string sink;

static double since(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

// Lines of 10 to 90 bytes of words, as program or prose text would have.
static std::string maketext(size_t size) {
  std::string text;
  text.reserve(size);
  unsigned seed = 1;
  while (text.size() < size) {
    seed = seed * 1103515245 + 12345;
    size_t line = 10 + (seed >> 16) % 80;
    for (size_t i = 0; i < line; i++) text += (i % 7 == 6) ? ' ' : (char)('a' + (seed >> (i % 13)) % 26);
    text += '\n';
  }
  text.resize(size);
  return text;
}

static size_t written = 0;

// Presses one key and gives the time it took, paint included.
static double press(const std::string &key) {
  Clock::time_point start = Clock::now();
  keys += key;
  keydispatch();
  double t = since(start);
  written += sink.size();
  sink.clear();
  return t;
}

static void report(const char *what, std::vector<double> times) {
  std::sort(times.begin(), times.end());
  double median = times[times.size() / 2], p99 = times[times.size() * 99 / 100];
  printf("  %-28s %7zu keys  median %8.1f us  p99 %8.1f us\n", what, times.size(), median, p99);
}

static void run(size_t size) {
  std::string path = "/tmp/tolmbench." + std::to_string(getpid()), text = maketext(size);
  filewrite(path, text);
  text.clear();
  text.shrink_to_fit();
  printf("%zu bytes:\n", size);

  Clock::time_point start = Clock::now();
  openlog(path);
  docs[path] = newdoc(fileread(path));
  printf("  load %.1f ms\n", since(start) / 1000);
  switchdoc(path);
  Doc &d = cur();
  d.point = lenof(d) / 2;
  keepvisible(d, false);
  repaint();
  sink.clear();

  std::vector<double> typing, mixing, moving, paging, undoing, all;
  static const char typed[] = "the quick brown fox jumps\n";
  for (int i = 0; i < 10000; i++) typing.push_back(press(std::string(1, typed[i % 26])));
  start = Clock::now();
  press("\x17");  // C-w, the paint included
  printf("  save %.1f ms\n", since(start) / 1000);
  // Three letters, down, up and three backspaces: the saved text turns changed and back.
  static const char *const mix[] = {"a", "b", "c", "\x1b[B", "\x1b[A", "\x7f", "\x7f", "\x7f"};
  written = 0;
  for (int i = 0; i < 8000; i++) mixing.push_back(press(mix[i % 8]));
  double mixbytes = (double)written / 8000;
  // The same mix at the end of the text while an edit stands at its start: the window of changes
  // spans the whole text, and narrows and widens again with every round.
  std::vector<double> apart;
  d.point = 100;
  press("z");
  d.point = lenof(d) - 100;
  keepvisible(d, false);
  for (int i = 0; i < 800; i++) apart.push_back(press(mix[i % 8]));
  d.point = 0;
  d.top = 0;
  d.edge = -1;
  for (int i = 0; i < 10000; i++) moving.push_back(press("\x0e"));
  while (cur().edge <= lenof(cur()) && paging.size() < 100000) paging.push_back(press("\x04"));
  while (canundo()) undoing.push_back(press("\x1f"));
  for (auto *v : {&typing, &mixing, &apart, &moving, &paging, &undoing}) all.insert(all.end(), v->begin(), v->end());
  report("typing in the middle", typing);
  report("the mix of bench_keys", mixing);
  printf("  %-28s %7.0f bytes to the terminal per key\n", "", mixbytes);
  report("the mix, another edit afar", apart);
  report("C-n", moving);
  report("C-d to the end", paging);
  report("undoing everything", undoing);
  report("all keys", all);
  closelog(path);
  docs.erase(path);
  switchdoc(scratchname);
  unlink(path.c_str());
}

// One key of a walk over an extreme document: what the user does and the keys for it.
struct Step {
  const char *what, *keys;
};

// Edits at the start, then at the end, then at the start again, each far from the one before,
// then 100 keys typed at each end: every key's time and the slowest.
static void bothends() {
  std::vector<std::pair<std::string, std::string>> walk = {
      {"to the start", "\eh"}, {"type at the start", "a"}, {"to the end", "\ef"},
      {"type at the end", "b"}, {"to the start", "\eh"},   {"type at the start", "c"}};
  static const char typed[] = "the quick brown fox jumps\n";
  for (const char *where : {"\ef", "\eh"}) {
    walk.push_back({"to the other end", where});
    for (int i = 0; i < 100; i++) walk.push_back({"type 100 keys", i % 10 == 9 ? "\x7f" : std::string(1, typed[i % 26])});
  }
  std::vector<double> times;
  double slowest = 0;
  std::string slowkey;
  for (const auto &[what, key] : walk) {
    double t = press(key);
    times.push_back(t);
    if (what != "type 100 keys") printf("  %-24s %10.2f ms\n", what.c_str(), t / 1000);
    if (t > slowest) slowest = t, slowkey = what;
  }
  std::sort(times.begin(), times.end());
  printf("  both ends, %zu keys: median %.2f ms, slowest %s, %.2f ms\n", times.size(),
         times[times.size() / 2] / 1000, slowkey.c_str(), slowest / 1000);
}

// Opens text, walks it with every step at its start and at its end, searches for the needle
// that stands near the end, goes to a line near the end, saves, and prints each step's time and
// the slowest key.
static void extreme(const char *name, const std::string &text, const std::string &needle) {
  std::string path = "/tmp/tolmbench." + std::to_string(getpid());
  filewrite(path, text);
  printf("%s, %zu bytes:\n", name, text.size());
  Clock::time_point start = Clock::now();
  openlog(path);
  docs[path] = newdoc(fileread(path));
  switchdoc(path);
  repaint();
  printf("  %-24s %10.2f ms\n", "open", since(start) / 1000);
  // Typing, the line and page motions, and Backspace; at the start first, then at the end.
  static const Step ends[] = {{"type", "a"}, {"type", "b"}, {"type", "\n"}, {"type", "c"},
                              {"C-a", "\x01"}, {"C-e", "\x05"}, {"C-a", "\x01"}, {"C-n", "\x0e"},
                              {"C-p", "\x10"}, {"C-f", "\x06"}, {"C-b", "\x02"}, {"Page Down", "\x04"},
                              {"Page Down", "\x04"}, {"Page Up", "\x15"}, {"Page Up", "\x15"},
                              {"C-e", "\x05"}, {"Backspace", "\x7f"}, {"C-l", "\x0c"}};
  std::vector<Step> walk(std::begin(ends), std::end(ends));
  walk.push_back({"to the end", "\ef"});
  walk.push_back({"C-e", "\x05"});
  walk.insert(walk.end(), std::begin(ends), std::end(ends));
  walk.push_back({"to the start", "\eh"});
  walk.push_back({"search", "\es"});
  std::vector<std::string> typed;
  for (char c : needle) typed.push_back(std::string(1, c));
  for (const std::string &k : typed) walk.push_back({"search", k.c_str()});
  walk.push_back({"leave search", "\x02"});
  // Line 999999: the last lines of the one, the end of the other.
  walk.push_back({"line prompt", "\el"});
  for (int i = 0; i < 6; i++) walk.push_back({"line prompt", "9"});
  walk.push_back({"go to the line", "\n"});
  walk.push_back({"save", "\x17"});
  walk.push_back({"undo", "\x1f"});
  walk.push_back({"to the end", "\ef"});
  double slowest = 0;
  const char *slowkey = "";
  for (const Step &s : walk) {
    double t = press(s.keys);
    printf("  %-24s %10.2f ms\n", s.what, t / 1000);
    if (t > slowest && strcmp(s.what, "save") != 0) slowest = t, slowkey = s.what;
  }
  printf("  slowest key but the save: %s, %.2f ms\n", slowkey, slowest / 1000);
  bothends();
  closelog(path);
  docs.erase(path);
  switchdoc(scratchname);
  unlink(path.c_str());
}

// Bytes of words and spaces without a newline, one line of the given size.
static std::string oneline(size_t size) {
  std::string text = maketext(size);
  for (char &c : text)
    if (c == '\n') c = ' ';
  return text;
}

// A million lines of 10 to 50 bytes.
static std::string millionlines() {
  std::string text;
  unsigned seed = 7;
  for (int line = 0; line < 1000000; line++) {
    seed = seed * 1103515245 + 12345;
    for (size_t i = 0, n = 10 + (seed >> 16) % 40; i < n; i++) text += (char)('a' + (seed >> (i % 13)) % 26);
    text += '\n';
  }
  return text;
}

// With the argument "ends" only the extreme documents are walked.
int main(int argc, char **argv) {
  bool endsonly = argc > 1 && strcmp(argv[1], "ends") == 0;
  std::string log;
  logcapture = &log;
  screencapture = &sink;
  width = 200;
  height = 50;
  screenresize();
  openlog(scratchname);
  docs[scratchname] = newdoc("");
  curname = scratchname;
  resetprompt();
  for (size_t size : {(size_t)1 << 20, (size_t)100 << 20}) {
    if (endsonly) break;
    run(size);
    log.clear();
  }
  // The needle has digits, which the texts around it never hold, so it is found only near the end.
  std::string needle = "needle42";
  std::string text = oneline((size_t)100 << 20);
  text.replace(text.size() - 1000, needle.size(), needle);
  extreme("one line", text, needle);
  log.clear();
  text = millionlines();
  text.replace(text.size() - 1000, needle.size(), needle);
  extreme("a million lines", text, needle);
}
