// The file pickers: Open (M-o) and Save (M-w) over a directory listing drawn as a grid, with
// typing, completion and selection on the prompt line, and saving a document under a new name.
#include "edit/files.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>

#include "core/base.h"
#include "core/file.h"
#include "core/halt.h"
#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/rescue.h"
#include "edit/save.h"
#include "edit/undo.h"
#include "edit/view.h"

std::vector<std::string> listing;
std::string listdir = "/";
int64_t listwidth = 2;

// Listings.

// The entries of dir that a picker offers, in the order the directory gives them: for Open the
// subdirectories with a "/" behind and the regular files, for Save the subdirectories alone.
// Entries whose status cannot be read are left out; a directory that cannot be read gives none,
// and one whose reading fails midway gives what came before.
static std::vector<std::string> entries(const std::string &dir, bool open) {
  std::vector<std::string> names;
  DIR *d = opendir(dir.c_str());
  if (!d) return names;
  while (const dirent *e = readdir(d)) {
    std::string name = e->d_name;
    struct stat st;
    if (name == "." || name == ".." || stat((dir + name).c_str(), &st) != 0) continue;
    if (S_ISDIR(st.st_mode)) names.push_back(open ? name + "/" : name);
    else if (open && S_ISREG(st.st_mode)) names.push_back(name);
  }
  if (closedir(d) != 0) {
    perror("closedir");
    exit(1);
  }
  return names;
}

// The names of both pickers: the directory itself, its parent unless it is the root, then the
// entries in byte order. The first two stay in front whatever the order of the rest.
static void fill(const std::string &dir, bool open) {
  std::string normal = normaldir(dir);
  listdir = normal.empty() ? std::string(1, '/') : normal;  // a ".." above the root stays there
  listsel = 0;
  std::vector<std::string> names = entries(listdir, open);
  std::sort(names.begin(), names.end());
  listing.assign(1, open ? "./" : ".");
  if (listdir != "/") listing.push_back(open ? "../" : "..");
  listing.insert(listing.end(), names.begin(), names.end());
  listwidth = 2;
  for (const std::string &name : listing) listwidth = std::max(listwidth, (int64_t)name.size());
}

void listopen(const std::string &dir) { fill(dir, true); }
void listsave(const std::string &dir) { fill(dir, false); }

void closedoc(const std::string &name) {
  closelog(name);
  rescueready(name);
  docs.erase(name);
  must(!docs.empty());
  switchdoc(docs.begin()->first);
}

// The grid.

// Names run down columns of stride names, stride being a whole number of pages of rows; a page
// shows the same rows of every column. The count of columns is lowered while one fewer, times the
// pages, still reaches the count of names, and what the width leaves over is the gap between them.
struct Grid {
  int64_t n, rows, cols, pages, stride, gap;
};

static Grid gridof() {
  Grid g;
  g.n = (int64_t)listing.size();
  g.rows = height - 1;
  g.cols = std::max<int64_t>((width + 1) / (listwidth + 1), 1);
  g.pages = ((g.n + g.cols - 1) / g.cols + g.rows - 1) / g.rows;
  g.stride = g.rows * g.pages;
  while (g.cols > 1 && (g.cols - 1) * g.pages >= g.n) g.cols--;
  g.gap = g.cols > 1 ? std::max<int64_t>((width - listwidth * g.cols) / (g.cols - 1), 1) : 1;
  return g;
}

// One name in its slot of listwidth cells from column x, cut at the screen's edge; the selected
// name is highlighted over its whole slot.
static void paintname(uint16_t *row, int64_t x, const std::string &name, bool selected) {
  for (int64_t k = 0; k < listwidth && x + k < width; k++)
    row[x + k] = k < (int64_t)name.size() ? cellfor(selected, false, true, (unsigned char)name[(size_t)k])
                                          : blankfor(selected, true);
}

// The page of the selected name, in plain cells under the title; the cursor is on the prompt.
static void paintlist(const char *word) {
  Grid g = gridof();
  uint16_t *plane = newplane();
  std::fill(plane, plane + width * height, blankfor(false, true));
  int64_t page = listsel % g.stride / g.rows;
  for (int64_t c = 0; c < g.cols; c++) {
    for (int64_t r = 0; r < g.rows; r++) {
      int64_t i = c * g.stride + page * g.rows + r;
      if (i < g.n) paintname(plane + (r + 1) * width, c * (listwidth + g.gap), listing[(size_t)i], i == listsel);
    }
  }
  flushcells(painttitle(word), 0);
}

// The selection after a key that moves it, or -1 for a key that does not.
static int64_t moved(const std::string &key) {
  Grid g = gridof();
  int64_t s = listsel;
  if (key == "\x10" || key == "\x1b[A") return (s - 1 + g.n) % g.n;
  if (key == "\x0e" || key == "\x1b[B") return (s + 1) % g.n;
  if (key == "\x06" || key == "\x1b[C") return s + g.stride < g.n ? s + g.stride : s;
  if (key == "\x02" || key == "\x1b[D") return s >= g.stride ? s - g.stride : s;
  if (key == "\x15") return s >= g.rows ? s - g.rows : s;
  if (key == "\x04") {
    int64_t t = s - 1 + height;  // one page on, which may be the first page of the next column
    if (t < g.n) return t;
    return g.cols == 1 || t < g.stride ? g.n - 1 : t - g.stride;
  }
  return -1;
}

// The prompt line.

static void setprompt(const std::string &text) {
  promptline = newdoc(text);
  toend(promptline);
}

// The prompt's point stays at its end in the pickers: keys scroll it only through top.
static void putbyte(unsigned char b) {
  promptline.point = lenof(promptline);
  usedput(promptline, b);
  toendkeep(promptline);
}

static std::string lastsegment(const std::string &s) { return s.substr(s.rfind('/') + 1); }

// Completes the prompt's last segment with the longest prefix common to every name that starts
// with it; false when that adds nothing.
static bool complete() {
  std::string seg = lastsegment(textof(promptline)), common;
  bool any = false;
  for (const std::string &name : listing) {
    if (!name.starts_with(seg)) continue;
    if (!any) common = name;
    size_t k = 0;
    while (k < common.size() && k < name.size() && common[k] == name[k]) k++;
    common.resize(k);
    any = true;
  }
  if (common.size() <= seg.size()) return false;
  promptline.point = lenof(promptline);
  addspan(promptline, common.substr(seg.size()));
  toendkeep(promptline);
  return true;
}

// In Open a prompt that names a directory gets its "/" and the listing follows it.
static void followdir() {
  std::string text = textof(promptline);
  if (!fileisdir(text)) return;
  if (!text.ends_with("/")) putbyte('/');
  listopen(text);
}

// A typed byte in Open must leave the last segment the start of some listed name, else it is
// taken back at once; so the prompt always names something on show.
static void opentype(unsigned char b) {
  putbyte(typed(alphabet, b));
  std::string seg = lastsegment(textof(promptline));
  if (std::none_of(listing.begin(), listing.end(), [&](const std::string &n) { return n.starts_with(seg); })) {
    dropback(promptline, true);
    toendkeep(promptline);
    return;
  }
  followdir();
}

// The two pickers.

struct Picker {
  const char *key, *word;
  bool open;  // Open lists files too and checks what is typed; Save lists directories
  void (*painter)();
};

static const Picker openpicker = {"M-o", "Open", true, [] { paintlist("Open"); }};
static const Picker savepicker = {"M-w", "Save", false, [] { paintlist("Save"); }};

static void relist(const Picker &p, const std::string &dir) {
  if (p.open) listopen(dir);
  else listsave(dir);
}

// The prompt for the selected name: Open shows its path, Save resolves "." and ".." to the
// directories they stand for.
static std::string shown(const Picker &p) {
  const std::string &name = listing[(size_t)listsel];
  if (p.open) return pretty(listdir + name);
  if (name == ".") return listdir;
  if (name == "..") return normaldir(listdir + "..");
  return listdir + name;
}

// Backspace never empties the prompt. Taking back a "/" lists the directory that is now the
// prompt's last, with the name that was left selected when it is listed.
static bool backspace(const Picker &p) {
  std::string text = textof(promptline);
  if (text.empty() || text == "/") return false;
  unsigned char gone = charat(promptline, promptline.point - 1);
  dropback(promptline, true);
  toendkeep(promptline);
  std::string now = textof(promptline);
  size_t k = now.rfind('/');
  if (gone != '/' || k == std::string::npos) return true;
  relist(p, now.substr(0, k + 1));
  std::string rest = now.substr(k + 1);
  for (size_t i = 0; i < listing.size(); i++)
    if (listing[i] == rest || listing[i] == rest + "/") listsel = (int64_t)i;
  return true;
}

// Enter in Open: a document already loaded is switched to, with its unsaved changes; a regular
// file is loaded; a directory is listed. A file that cannot be read, or that is larger than a
// quarter of the memory limit, rings the bell and stays: editing and running it would end the
// session for want of memory.
static void openenter() {
  std::string p = textof(promptline);
  std::string name = p.empty() || p.ends_with("/") ? "" : normalpath(p);
  if (docs.count(name)) {
    switchdoc(name);
    leavemode();
    return;
  }
  if (!name.empty() && fileisplain(name)) {
    std::string text;
    if (!fileload(name, text, textmost())) {
      bell();
      return;
    }
    Doc d = newdoc(std::move(text));
    openlog(name);
    docs[name] = std::move(d);
    switchdoc(name);
    leavemode();
    return;
  }
  std::string dir = fileisdir(p) ? normaldir(p) : "";
  if (!dir.empty()) {
    listopen(dir);
    setprompt(dir);
  }
  repaint();
}

// Writes the current document under name and makes name its key: the document moves there, and
// the scratch document is copied instead, keeping its text. Nothing changes when the file cannot
// be written, and a name that exists as anything but a regular file is not written at all.
static bool saveas(const std::string &name) {
  if (name == curname) return true;
  struct stat st;
  if (stat(name.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) return false;
  if (!writedoc(name, cur())) return false;
  std::string text = textof(cur()), old = curname;
  if (!docs.count(name)) openlog(name);
  docs[name] = newdoc(text);
  if (old != scratchname) closedoc(old);
  return true;
}

// Enter in Save: a directory is listed; any other name is where the document goes. Enter on the
// document's own name writes nothing and leaves; C-w is the key that writes.
static void saveenter() {
  std::string p = textof(promptline);
  if (p.empty()) {
    repaint();
  } else if (p.ends_with("/") || fileisdir(p)) {
    if (!p.ends_with("/")) p += '/';
    setprompt(p);
    listsave(p);
    repaint();
  } else {
    std::string name = normalpath(p);
    if (name.empty() || !saveas(name)) {
      bell();
      return;
    }
    switchdoc(name);
    leavemode();
  }
}

static void pickerkey(const Picker &p) {
  std::string key = modekey(p.key, p.painter);
  unsigned char b = key.size() == 1 ? (unsigned char)key[0] : 0;
  int64_t sel = key.empty() ? -1 : moved(key);
  Doc &line = promptline;
  if (key.empty()) {
    // Keys of documents are normal paths, so the directory part of one is normal too.
    std::string dir = curname == scratchname ? "/" : dirpart(curname);
    relist(p, dir);
    setprompt(dir);
  } else if (modecommon(key, false)) {
    return;
  } else if (sel != -1) {
    if (sel != listsel) {
      listsel = sel;
      setprompt(shown(p));
    }
  } else if (key == "\n") {
    p.open ? openenter() : saveenter();
    return;
  } else if (key == "\t") {
    if (complete() && p.open && textof(line).ends_with("/")) followdir();
  } else if (key == "\x7f") {
    if (!backspace(p)) {
      bell();
      return;
    }
  } else if (b >= 32 && b < 127) {
    if (p.open) opentype(b);
    else putbyte(typed(alphabet, b));
  } else if (key == "\x08" || key == "\x01") {
    line.top = 0;
  } else if (key == "\x05") {
    line.top = std::max<int64_t>(line.point - width + 6, 0);
  } else if (key == "\x14") {
    if (line.top < line.point - width + 6) line.top++;
  } else if (key == "\x07") {
    leavemode();
    return;
  } else if (key == "\x12" || key == "\x17" || key == "\x18") {
    relist(p, key == "\x12" ? "/" : key == "\x17" ? workdir : homedir);
    setprompt(listdir);
  }
  repaint();
}

void tolmdomo() { pickerkey(openpicker); }
void tolmdomw() { pickerkey(savepicker); }
