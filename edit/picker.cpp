// The document picker (Tab): the keys of all documents, a page of rows under the title at a time,
// chosen by moving a selection or by typing a key's beginning on the title row's line.
#include <algorithm>

#include "core/base.h"
#include "edit/commands.h"
#include "edit/display.h"
#include "edit/editor.h"
#include "edit/files.h"
#include "edit/view.h"

// How many bytes of every key are scrolled off to the left.
static int64_t listshift = 0;

// The selection counts screen slots: a page is height slots, its first the title row and the rest
// one key each, so a page shows height - 1 keys. The count stands as it is written, although when
// the keys fill their last page exactly it ends at that page's title row, and the keys on that
// page are then reached only by typing and completing them.
static int64_t slots() {
  int64_t n = (int64_t)listing.size(), keysper = height - 1;
  return n % keysper + 1 + (n - 1) / keysper * height;
}

// The key on the selected slot, or -1 when the title row is selected.
static int64_t selectedkey() {
  int64_t row = listsel % height;
  return row == 0 ? -1 : listsel / height * (height - 1) + row - 1;
}

static void tabspainter() {
  uint16_t *plane = newplane();
  int64_t page = listsel / height, n = (int64_t)listing.size();
  for (int64_t r = 1; r < height; r++) {
    int64_t i = page * (height - 1) + r - 1;
    bool on = r == listsel % height;
    const std::string key = i < n ? listing[(size_t)i] : "";
    for (int64_t c = 0; c < width; c++) {
      size_t at = (size_t)(listshift + c);
      plane[r * width + c] = at < key.size() ? cellfor(on, false, true, (unsigned char)key[at]) : blankfor(on, true);
    }
  }
  flushcells(painttitle("Tabs"), 0);
}

static void setprompt(const std::string &text) {
  promptline = newdoc(text);
  toend(promptline);
}

// The keys that start with the prompt's text stand together in the sorted listing.
static std::vector<std::string> matching() {
  std::string text = textof(promptline);
  std::vector<std::string> found;
  for (const std::string &key : listing)
    if (key.starts_with(text)) found.push_back(key);
  return found;
}

// Tab completes the prompt to the longest beginning that all matching keys share.
static void complete() {
  std::vector<std::string> found = matching();
  if (found.empty()) return;
  std::string common = found[0];
  for (const std::string &key : found) {
    size_t k = 0;
    while (k < common.size() && k < key.size() && common[k] == key[k]) k++;
    common.resize(k);
  }
  setprompt(common);
}

// Enter takes the selected key; on the title row a whole key typed there, or else the first key
// that begins with the text takes the prompt's place and the picker stays.
static bool enter() {
  int64_t i = selectedkey();
  std::string text = textof(promptline);
  if (i == -1 && !docs.count(text)) {
    std::vector<std::string> found = matching();
    if (!found.empty()) setprompt(found[0]);
    return false;
  }
  switchdoc(i == -1 ? text : listing[(size_t)i]);
  return true;
}

// A byte that no key continues with is taken back at once.
static void typebyte(unsigned char b) {
  usedput(promptline, b);
  toendkeep(promptline);
  if (matching().empty()) {
    dropback(promptline, true);
    toendkeep(promptline);
  }
  listsel = 0;
}

static void start() {
  listsel = listshift = listwidth = 0;
  listing.clear();
  for (const auto &[key, doc] : docs) {
    tolmlog("wtf[" + key + "]\n");
    listing.push_back(key);
    listwidth = std::max(listwidth, (int64_t)key.size());
  }
  std::sort(listing.begin(), listing.end());
  setprompt("");
}

void tolmdoci() {
  std::string key = modekey("Tab", tabspainter);
  unsigned char b = key.size() == 1 ? (unsigned char)key[0] : 0;
  int64_t count = slots();
  if (key.empty()) {
    start();
  } else if (key == "\x10" || key == "\x1b[A") {
    listsel = (listsel - 1 + count) % count;
  } else if (key == "\x0e" || key == "\x1b[B") {
    listsel = (listsel + 1 + count) % count;
  } else if (key == "\x06" || key == "\x1b[C") {
    listshift = std::min(std::max<int64_t>(listwidth - width, 0), listshift + 1);
  } else if (key == "\x02" || key == "\x1b[D") {
    listshift = std::max<int64_t>(listshift - 1, 0);
  } else if (key == "\x08") {
    listsel -= listsel % height;
  } else if (key == "\t") {
    complete();
  } else if (key == "\n") {
    if (enter()) return leavemode();
  } else if (key == "\x7f") {
    tolmlog("In tolmdoci I got a 7f!\n");
    dropback(promptline, true);
    toendkeep(promptline);
  } else if (key == "\x07") {
    tolmlog("In tolmdoci I C-g out!\n");
    return leavemode();
  } else if (modecommon(key, true)) {
    return;
  } else if (b >= 32) {
    typebyte(b);
  }
  repaint();
}
