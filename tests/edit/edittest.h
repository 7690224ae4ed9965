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

// Hands one key to the dispatcher, as the key loop does.
inline void press(const std::string &key) {
  keys += key;
  keydispatch();
}

inline void typetext(const std::string &text) {
  for (char c : text) press(std::string(1, c));
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
