// Fuzz target: any byte string as keys pressed in the editor over a few documents of a few lines,
// with the screen written to nowhere; every document is checked after each key, and undone at the end.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

#include "core/file.h"
#include "edit/editor.h"
#include "edit/optree.h"
#include "edit/term.h"
#include "edit/undo.h"
#include "edit/view.h"
#include "fuzz/harness.h"
#include "tests/edit/reset.h"

namespace {

// The files under "/" as the editor sees it: two documents open at the start, a folder holding a
// third, the home folder, and the folder of temporary documents. A line is longer than the
// screen is wide, and lines end in blanks.
const std::map<std::string, std::string> files = {
    {"a", "fact 5\n,fact\\n\\\n  (n=0) 1 (n * fact (n - 1))  \n,swap\\p\\p(x\\y\\V y x)\n\n\tzz zz zz\n"},
    {"b", "aaaa bbbb\n\x80\xff\x01\x1b[A ~|\n  \n"},
    {"d/c", "[text] (1 2) {x}\n"},
    {"home/", ""},
    {"tmp/", ""},
};

// The screen: small, so that a few lines scroll and a long one wraps.
constexpr int64_t screenwidth = 12, screenheight = 5;

// The bounds of one input: bytes in all documents, the kill text and the title row's line
// together, and processor time, which is looked at between keys. A single key that runs on is a
// hang, which libFuzzer's own timeout reports.
constexpr size_t maxtext = 1 << 12;
constexpr double maxseconds = 1.0;

std::string screen;  // what the terminal would have received

// A finding: the assertion line, which the judge never lets pass.
void holds(bool cond) { must(cond); }

double cputime() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return (double)t.tv_sec + (double)t.tv_nsec * 1e-9;
}

// The files afresh, in the root that "/" names.
void makefiles() {
  namespace fs = std::filesystem;
  const std::string &root = fuzzroot();
  for (const fs::directory_entry &e : fs::directory_iterator(root)) fs::remove_all(e.path());
  for (const auto &[name, text] : files) {
    fs::create_directories(fs::path(root + "/" + name).parent_path());
    if (!name.ends_with("/")) std::ofstream(root + "/" + name, std::ios::binary) << text;
  }
}

// The bytes of a file under the root, and whether it is there.
bool filetext(const std::string &name, std::string &text) {
  std::ifstream f(fuzzroot() + name, std::ios::binary);
  if (!f) return false;
  std::ostringstream s;
  s << f.rdbuf();
  text = s.str();
  return true;
}

// The editor as its entry point leaves it, on the files b and a, with a current.
void editorstart() {
  makefiles();
  editorreset(screenwidth, screenheight);
  workdir = "/d/";
  homedir = "/home/";
  for (const char *name : {"/b", "/a"}) {
    openlog(name);
    docs[name] = newdoc(fileread(name));
    curname = name;
  }
  screenout += "\x1b[1;1H";
  keepvisible(cur(), false);
  repaint();
  resetprompt();
  repaint();
}

int64_t lastv(const std::string &name) {
  Oper *o = nodelast(name);
  return o ? (int64_t)o->v : -1;
}

// A document's two texts, its window, whether it overtypes, its point, and the number of its last
// record.
struct Seen {
  std::string text, saved, head, tail, was, now;
  uint8_t over;
  int64_t point, v;
};

Seen seen(const std::string &name, const Doc &d) {
  std::string head = headof(d), tail = tailof(d), was = wasof(d), now = nowof(d);
  return {head + now + tail, head + was + tail, head, tail, was, now, d.over, d.point, lastv(name)};
}

// What is known of a document's history. Its log fits its text until the text changes without a
// record (C-y types without one; Save onto a loaded document replaces it and keeps its log), or
// until records of both modes meet in it, since a typed byte is undone by the mode of the moment.
// Undoing everything gives back where it began until the log loses records (a redo, M-d), and
// only in the one mode, inserting or overtyping, in which all records were made and undone: a
// typed byte and Backspace are undone by what the mode of the moment does. A byte overtyped at
// the end of the text appends it, and its undo types back the newline that the end reads as,
// so that the text keeps one byte more.
struct History {
  std::string first;
  bool fits = true, whole = true;
  int mode = -1;  // over while the log changed, -1 before it first does
};

std::map<std::string, History> histories;

// The window was and now share no first and no last byte; a pure insertion or deletion stands as
// far right as it can; an unchanged document keeps everything in head.
bool settled(const Doc &d) {
  std::string tail = tailof(d), was = wasof(d), now = nowof(d);
  if (was == now) return was.empty() && tail.empty();
  if (was.empty() || now.empty()) {
    const std::string &w = was.empty() ? now : was;
    return tail.empty() || tail[0] != w[0];
  }
  return was[0] != now[0] && was.back() != now.back();
}

// What every document holds to after a key, with what it was before the key when it existed.
// Backspace leaves its window unsettled for the next edit to settle, so an unsettled window is
// one that the key left as it was or that lost the one byte at the point.
void docholds(const std::string &name, const Doc &d, const Seen *before) {
  // The changes stand in order inside the saved text, each but the last before the next.
  holds(!d.window.empty() && d.window[0].at >= 0 && d.window[0].len >= 0);
  for (size_t i = 1; i < d.window.size(); i++)
    holds(d.window[i].len >= 0 && d.window[i - 1].at + d.window[i - 1].len <= d.window[i].at);
  holds(d.window.back().at + d.window.back().len <= (int64_t)d.saved.size());
  Seen now = seen(name, d);
  holds(d.point >= 0 && d.point <= (int64_t)now.text.size() && d.over <= 1);
  holds(isclean(d) == (now.text == now.saved));
  Doc again = d;
  settle(again);
  holds(settled(again) && textof(again) == now.text && again.saved == now.saved);
  if (&d == &promptline || settled(d)) return;
  bool kept = before && before->head == now.head && before->tail == now.tail && before->was == now.was &&
              before->now == now.now;
  std::string less = before ? before->text : "";
  if (before && (size_t)d.point < less.size()) less.erase((size_t)d.point, 1);
  holds(kept || (before && less == now.text && before->text.size() == now.text.size() + 1));
}

// The saved text of a document is what its file held when it was read or last written: a new
// document's, and one whose saved text a key changed, is what the file holds after the key, or
// empty while there is none. The scratch document is never saved. Two keys may name one file
// ("/b" and "//b"), so a document's file may change under it afterwards.
void savedholds(const std::string &name, const Seen &now, const Seen *before) {
  if (before && before->saved == now.saved) return;
  std::string text;
  if (name == scratchname || !filetext(name, text)) text.clear();
  holds(now.saved == text);
}

// The history of a document after a key: a new one begins with its text, a changed text with no
// new record no longer fits the log, and a log that lost records cannot undo everything.
void follow(const std::string &name, const Seen &now, const Seen *before) {
  auto h = histories.find(name);
  if (!before || h == histories.end()) {
    if (now.v == 0) histories[name] = History{now.text};
    return;
  }
  History &k = h->second;
  bool appended = before->point == (int64_t)before->text.size() && now.text.size() == before->text.size() + 1;
  bool recorded = now.v != before->v;
  // Records of both modes in one log, or an overtype that appended, leave the text and the log
  // apart once they are undone or done again: the log then no longer fits as well.
  bool drifts = recorded && ((k.mode != -1 && k.mode != before->over) || (before->over && appended));
  if (now.v < before->v || drifts) k.whole = false;
  if (drifts || (!recorded && now.text != before->text)) k.fits = false;
  if (recorded) k.mode = before->over;
}

// Ends the input before a key that would pass the bounds: a count of Taps beyond the text's
// bound. On the key that enters Taps the line still shows the document's name.
void boundsbefore() {
  if (!keys.starts_with("\x1bt") || keys.size() == 2) return;
  std::string count = textof(promptline);
  if (count.empty() || !std::all_of(count.begin(), count.end(), isdigit)) return;
  if (count.size() > 6 || std::stoul(count) > maxtext) throw Ended{"bound"};
}

// One whole key: dispatched, then every document and the title row's line checked.
void press(double start) {
  if (cputime() - start > maxseconds) throw Ended{"time"};
  boundsbefore();
  std::map<std::string, Seen> before;
  for (const auto &[name, d] : docs) before.emplace(name, seen(name, d));
  auto h = histories.find(curname);
  logmisfit = h != histories.end() && !h->second.fits;
  keydispatch();
  logmisfit = false;
  screen.clear();
  size_t total = killtext.size() + (size_t)lenof(promptline);
  for (const auto &[name, d] : docs) {
    auto b = before.find(name);
    const Seen *was = b == before.end() ? nullptr : &b->second;
    docholds(name, d, was);
    Seen now = seen(name, d);
    savedholds(name, now, was);
    follow(name, now, was);
    total += now.text.size();
  }
  docholds("", promptline, nullptr);
  std::erase_if(histories, [](const auto &h) { return !docs.count(h.first); });
  if (total > maxtext) throw Ended{"bound"};
}

// Undoes everything in each document whose history allows it, and finds where it began. Each
// undo reverses one more record, so the records bound the count of undos.
void undoall(double start) {
  keys.clear();
  painter = defaultpainter;
  mark = -1;
  std::map<std::string, History> whole;
  for (const auto &[name, h] : histories)
    if (h.fits && h.whole) whole.emplace(name, h);
  for (const auto &[name, h] : whole) {
    if (!docs.count(name)) continue;
    switchdoc(name);
    if (h.mode != -1 && cur().over != h.mode) {
      keys = "\x18";
      press(start);
    }
    for (int64_t most = lastv(name) + 2;; most--) {
      holds(most > 0);
      int64_t v = lastv(name);
      keys = "\x1f";
      press(start);
      if (lastv(name) == v) break;
    }
    // The test of undo reads the offset of a Swap record as a link, so that undo may stop at a
    // Swap near the start of the text: the history that can be undone ends there.
    if (lastop()->t == 1) continue;
    holds(textof(cur()) == h.first);
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  fuzzstart();
  screencapture = &screen;
  starttime = 0;
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string pending((const char *)data, size);
  fuzzinput([&] {
    double start = cputime();
    histories.clear();
    editorstart();
    for (const auto &[name, d] : docs) histories[name] = History{textof(d)};
    for (const std::string &unit : takeunits(pending)) {
      keys += unit;
      if (keydone(keys)) press(start);
    }
    undoall(start);
  });
  return 0;
}
