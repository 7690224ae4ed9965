// Helpers of the editor's command tests: a document to work on and keys to press.
#pragma once
#include <gtest/gtest.h>

#include <string>

#include "edit/editor.h"
#include "edit/undo.h"
#include "edit/view.h"
#include "tests/support.h"

// Opens a document of the given text under name and makes it current.
inline Doc &opendoc(const std::string &name, const std::string &text) {
  openlog(name);
  docs[name] = newdoc(text);
  switchdoc(name);
  return cur();
}

// Puts the point at p with the screen following it, as a motion would.
inline void moveto(Doc &d, int64_t p) {
  d.point = p;
  keepvisible(d, false);
}

// Hands one key to the dispatcher, as the key loop does.
inline void press(const std::string &key) {
  keys += key;
  keydispatch();
}

// Types the bytes one at a time, as a terminal sends them, and dispatches whenever keys holds
// whole keys: "\x1bt12x" is M-t, then 1, 2 and x.
inline void typetext(const std::string &text) {
  for (char c : text) {
    keys += c;
    if (keydone(keys)) keydispatch();
  }
}

// Presses a key and tells whether the bell rang.
inline bool rings(const std::string &key) {
  testscreen.clear();
  press(key);
  return testscreen.find('\a') != std::string::npos;
}

// The fixture of tests that start from a fresh editor on a screen of W by H cells.
template <int W, int H>
struct EditorTest : ::testing::Test {
  void SetUp() override { editorreset(W, H); }
};
